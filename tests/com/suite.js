// Every method of the four Quillon classes from JScript, on a store this
// script creates and on the bundled sample. Arguments: the sample's path,
// a folder for new files. Prints "N passed, M failed" last and exits with
// the failure count (a script error ends the run without that line).
var FAIL = 4294967295;
var passed = 0, failed = 0;

function check(what, ok) {
  if (ok) {
    passed++;
  } else {
    failed++;
    WScript.Echo("FAIL: " + what);
  }
}

var sample = WScript.Arguments(0);
var folder = WScript.Arguments(1);
var files = new ActiveXObject("Quillon.ItemStoreFiles");

// ---- ItemStoreFiles
var hNew = files.CreateItemStore(folder + "\\js_new.isf");
check("first handle", hNew === 0);
check("failed load", files.LoadItemStore(folder + "\\missing\\none.isf") === FAIL);
var hSample = files.LoadItemStore(sample);
check("second handle", hSample === 1);
check("sample count", files.GetItemCount(hSample) === 324);
check("unknown handle count", files.GetItemCount(9) === FAIL);
check("two lines", files.AddStringItem(hNew, 1, "alpha\r\nbeta") === 0);
check("string type 5", files.AddStringItem(hNew, 5, "x") === FAIL);
check("empty text", files.AddStringItem(hNew, 0, "") === FAIL);
check("copy keeping time", files.CopyItem(hSample, hNew, 19, true) === 2);
check("copy stamped now", files.CopyItem(hSample, hNew, 19, false) === 3);
check("copy within a store", files.CopyItem(hNew, hNew, 1, true) === 4);
check("copy bad index", files.CopyItem(hSample, hNew, 999, true) === FAIL);
check("item at count", files.GetItem(hSample, 324) === null);
check("CDMA revision", files.SetCDMAProtocolRevision(hSample, 3) === true);
check("WCDMA revision", files.SetWCDMAProtocolRevision(hSample, 1) === true);
check("missing parser", files.LoadParser(hSample, folder + "\\none.dll") === false);
check("unload parsers", files.UnloadParsers(hSample) === true);
check("revision unknown handle", files.SetWCDMAProtocolRevision(9, 1) === false);
check("unload unknown handle", files.UnloadParsers(9) === false);

// ---- ColorItem
var item = files.GetItem(hSample, 19);
check("type", item.GetItemType() === 5);
check("colour", typeof item.GetItemColor() === "number");
var date = item.GetItemTimestamp();           // a DATE: held, not used here
var specific = item.GetItemSpecificTimestamp();
check("timestamp as double", Math.abs(item.GetItemTimestamp2() - 45352.3958) < 0.001);
check("specific timestamp as double", typeof item.GetItemSpecificTimestamp2() === "number");
var bytes = item.GetItemBuffer(true);          // byte arrays are checked from C++
var dlf = item.GetItemDLFBuffer();
check("sizes", item.GetItemSize(true) === 40 && item.GetItemSize(false) === 24);
check("type text", item.GetItemTypeText() === "LOG");
check("key text", typeof item.GetItemKeyText() === "string");
check("timestamp text", item.GetItemTimestampText(true, true) === "03/01/2024 09:30:00.427");
check("timestamp text without date", item.GetItemTimestampText(false, true) === "09:30:00.427");
check("specific timestamp text", typeof item.GetItemSpecificTimestampText(false, false) === "string");
check("buffer text", typeof item.GetItemBufferText(false) === "string");
check("name", typeof item.GetItemName() === "string");
check("summary", typeof item.GetItemSummary() === "string");
check("parsed text", item.GetItemParsedText() === "");
check("field value", item.GetItemFieldValue(6, 32, 0, false) >= 0);
check("field value text", item.GetItemFieldValueText(6, 32, 0, false, false) ===
      String(item.GetItemFieldValue(6, 32, 0, false)));
check("field value past the end", typeof item.GetItemFieldValue(2, 8, 99999, true) === "undefined");
check("no fields for this log", item.GetItemFields() === null);
check("no named fields", item.GetNamedItemFields("no such entity") === null);

// ---- ColorItemFields
var message = files.GetItem(hSample, 18);
var fields = message.GetItemFields();
var n = fields.GetFieldCount();
check("field count", n === 11);
check("xml", fields.GetXML().length > 0);
check("offset", fields.GetFieldOffset(0) === 0);
check("size", fields.GetFieldSize(0) > 0);
check("value", typeof fields.GetFieldValue(0) !== "undefined");
check("value text", fields.GetFieldValueText(0).length > 0);
var name0 = fields.GetFieldName(0, true);
check("full name", fields.GetFieldName(0, false).slice(-(name0.length + 1)) === "." + name0);
check("find", fields.GetFieldIndex(name0, true) === 0);
check("find empty", fields.GetFieldIndex("", false) === FAIL);
check("find from", fields.GetFieldIndexFrom(name0, 1, true, true) === 0);
check("find by ID", fields.GetFieldIndexByID(4000000) === FAIL);
check("find by ID from", fields.GetFieldIndexFromByID(4000000, 0, false) === FAIL);
check("offset at count", fields.GetFieldOffset(n) === FAIL);
check("size at count", fields.GetFieldSize(n) === FAIL);
check("value at count", typeof fields.GetFieldValue(n) === "undefined");
check("value text at count", fields.GetFieldValueText(n) === "");
check("name at count", fields.GetFieldName(n, false) === "");
var configured = message.GetConfiguredItemFields("", true, false);
check("configured", configured.GetFieldCount() === n && configured.GetFieldName(0, true) === "");

// ---- EventService
var events = new ActiveXObject("Quillon.EventService");
var eventItem = files.GetItem(hSample, 20);
check("event name", events.GetName(276) === "EVENT_IDLE_HANDOFF");
check("unknown event", events.GetName(2) === "");
check("event summary", events.GetSummary(276, eventItem.GetItemBuffer(false)).length > 0);
check("summary of a number", events.GetSummary(276, 5) === "");
check("summary of text", events.GetSummary(276, "abc") === "");

// ---- Closing
check("close", files.CloseItemStore(hSample) === true);
check("close again", files.CloseItemStore(hSample) === false);
check("closed item", item.GetItemType() === FAIL && item.GetItemSize(false) === FAIL &&
      item.GetItemColor() === 0 && item.GetItemSummary() === "");
check("closed item fields", message.GetItemFields() === null);
message = null;
check("fields outlive", fields.GetFieldCount() === n);
check("close new", files.CloseItemStore(hNew) === true);
check("reload", files.GetItemCount(files.LoadItemStore(folder + "\\js_new.isf")) === 5);

WScript.Echo(passed + " passed, " + failed + " failed");
WScript.Quit(failed);
