// Lists the first items of an item store file through Quillon.dll.
// Usage: cscript //nologo list_items.js C:\path\capture.isf
var files = new ActiveXObject("Quillon.ItemStoreFiles");
var h = files.LoadItemStore(WScript.Arguments(0));
if (h === 4294967295) {
  WScript.Echo("cannot open " + WScript.Arguments(0));
  WScript.Quit(1);
}
var count = files.GetItemCount(h);
WScript.Echo(count + " items");
for (var i = 0; i < count && i < 10; i++) {
  var item = files.GetItem(h, i);
  WScript.Echo(i + "  " + item.GetItemTimestampText(true, true) + "  " +
               item.GetItemTypeText() + "  " + item.GetItemName() + "  " + item.GetItemSummary());
}
files.CloseItemStore(h);
