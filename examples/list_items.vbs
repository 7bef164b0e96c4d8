' Lists the first items of an item store file through Quillon.dll.
' Usage: cscript //nologo list_items.vbs C:\path\capture.isf
Set files = CreateObject("Quillon.ItemStoreFiles")
h = files.LoadItemStore(WScript.Arguments(0))
If CDbl(h) = 4294967295 Then
  WScript.Echo "cannot open " & WScript.Arguments(0)
  WScript.Quit 1
End If
count = CDbl(files.GetItemCount(h))
WScript.Echo count & " items"
For i = 0 To count - 1
  If i = 10 Then Exit For
  Set item = files.GetItem(h, i)
  WScript.Echo i & "  " & item.GetItemTimestampText(True, True) & "  " & _
    item.GetItemTypeText() & "  " & item.GetItemName() & "  " & item.GetItemSummary()
Next
files.CloseItemStore h
