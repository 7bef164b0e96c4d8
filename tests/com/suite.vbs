' Every method of the four Quillon classes from VBScript, on a store this
' script creates and on the bundled sample. Arguments: the sample's path,
' a folder for new files. Prints "N passed, M failed" last and exits with
' the failure count (a script error ends the run without that line).
Option Explicit

Const FAIL = 4294967295
Dim passed, failed
passed = 0
failed = 0

Sub Check(what, ok)
  If ok Then
    passed = passed + 1
  Else
    failed = failed + 1
    WScript.Echo "FAIL: " & what
  End If
End Sub

' Unsigned 32-bit results compare only after a conversion here.
Function U(x)
  U = CDbl(x)
End Function

Dim sample, folder, files, hNew, hSample, hOther
sample = WScript.Arguments(0)
folder = WScript.Arguments(1)
Set files = CreateObject("Quillon.ItemStoreFiles")

' ---- ItemStoreFiles: handles and failure values
hNew = files.CreateItemStore(folder & "\vbs_new.isf")
Check "first handle", U(hNew) = 0
Check "failed load uses no handle", U(files.LoadItemStore(folder & "\missing\none.isf")) = FAIL
Check "failed create", U(files.CreateItemStore("")) = FAIL
hSample = files.LoadItemStore(sample)
Check "second handle", U(hSample) = 1
Check "sample count", U(files.GetItemCount(hSample)) = 324
Check "unknown handle count", U(files.GetItemCount(7)) = FAIL
Check "three lines", U(files.AddStringItem(hNew, 0, "one" & vbCrLf & "two" & vbLf & vbLf & "three")) = 0
Check "count after lines", U(files.GetItemCount(hNew)) = 3
Check "string type 5", U(files.AddStringItem(hNew, 5, "x")) = FAIL
Check "empty text", U(files.AddStringItem(hNew, 0, "")) = FAIL
Check "read-only store", U(files.AddStringItem(hSample, 0, "x")) = FAIL
Check "unknown handle add", U(files.AddStringItem(7, 0, "x")) = FAIL
Check "copy keeping time", U(files.CopyItem(hSample, hNew, 19, True)) = 3
Check "copy stamped now", U(files.CopyItem(hSample, hNew, 19, False)) = 4
Check "copy within a store", U(files.CopyItem(hNew, hNew, 0, True)) = 5
Check "copy bad index", U(files.CopyItem(hSample, hNew, 324, True)) = FAIL
Check "copy to read-only", U(files.CopyItem(hNew, hSample, 0, True)) = FAIL
Check "copy unknown handle", U(files.CopyItem(7, hNew, 0, True)) = FAIL
Check "item at count", files.GetItem(hSample, 324) Is Nothing
Check "item of unknown handle", files.GetItem(7, 0) Is Nothing
Check "CDMA revision", files.SetCDMAProtocolRevision(hSample, 6) = True
Check "WCDMA revision", files.SetWCDMAProtocolRevision(hSample, 2) = True
Check "boolean is -1", CInt(files.SetCDMAProtocolRevision(hSample, 99)) = -1
Check "missing parser", files.LoadParser(hSample, folder & "\none.dll") = False
Check "unload parsers", files.UnloadParsers(hSample) = True
Check "CDMA unknown handle", files.SetCDMAProtocolRevision(7, 1) = False
Check "WCDMA unknown handle", files.SetWCDMAProtocolRevision(7, 1) = False
Check "parser unknown handle", files.LoadParser(7, "x.dll") = False
Check "unload unknown handle", files.UnloadParsers(7) = False

' ---- ColorItem: a LOG item of the sample
Dim item, copy
Set item = files.GetItem(hSample, 19)
Set copy = files.GetItem(hNew, 3)
Check "type", U(item.GetItemType()) = 5
Check "colour type", VarType(item.GetItemColor()) = 19
Check "date type", VarType(item.GetItemTimestamp()) = 7
Check "double type", VarType(item.GetItemTimestamp2()) = 5
Check "date equals double", CDbl(item.GetItemTimestamp()) = item.GetItemTimestamp2()
Check "specific date equals double", CDbl(item.GetItemSpecificTimestamp()) = item.GetItemSpecificTimestamp2()
Check "copy keeps the time", copy.GetItemTimestamp2() = item.GetItemTimestamp2()
Check "buffer is a byte array", VarType(item.GetItemBuffer(True)) = 8209
Check "buffer without header", VarType(item.GetItemBuffer(False)) = 8209
Check "sizes differ by the header", U(item.GetItemSize(True)) = U(item.GetItemSize(False)) + 16
Check "size", U(item.GetItemSize(True)) = 40
Check "type text", item.GetItemTypeText() = "LOG"
Check "key text", VarType(item.GetItemKeyText()) = 8
Check "timestamp text", item.GetItemTimestampText(True, True) = "03/01/2024 09:30:00.427"
Check "short timestamp text", item.GetItemTimestampText(False, False) = "09:30:00"
Check "specific timestamp text", VarType(item.GetItemSpecificTimestampText(True, False)) = 8
Check "buffer text", VarType(item.GetItemBufferText(True)) = 8
Check "name", VarType(item.GetItemName()) = 8
Check "summary", VarType(item.GetItemSummary()) = 8
Check "no parsed text", item.GetItemParsedText() = ""
Check "DLF buffer", VarType(item.GetItemDLFBuffer()) = 8209
Check "field value type", VarType(item.GetItemFieldValue(4, 16, 0, True)) = 18
Check "field value text", item.GetItemFieldValueText(4, 16, 0, True, False) = CStr(CLng(item.GetItemFieldValue(4, 16, 0, True)))
Check "field past the end", IsEmpty(item.GetItemFieldValue(2, 8, 99999, True))
Check "field too wide", IsEmpty(item.GetItemFieldValue(8, 65, 0, True))
Check "field text past the end", item.GetItemFieldValueText(2, 8, 99999, True, True) = ""
Check "no entity for this log", item.GetItemFields() Is Nothing
Check "no such entity", item.GetNamedItemFields("no such entity") Is Nothing

' ---- ColorItemFields: a message item of the sample
Dim message, fields, bare, n, name0
Set message = files.GetItem(hSample, 18)
Set fields = message.GetItemFields()
n = U(fields.GetFieldCount())
Check "field count", n = 11
Check "xml", Len(fields.GetXML()) > 0
Check "first offset", U(fields.GetFieldOffset(0)) = 0
Check "first size", U(fields.GetFieldSize(0)) > 0
Check "first value", Not IsEmpty(fields.GetFieldValue(0))
Check "first value text", Len(fields.GetFieldValueText(0)) > 0
name0 = fields.GetFieldName(0, True)
Check "full name ends with own name", Right(fields.GetFieldName(0, False), Len(name0) + 1) = "." & name0
Check "find by name", U(fields.GetFieldIndex(name0, True)) = 0
Check "empty name", U(fields.GetFieldIndex("", True)) = FAIL
Check "find from without loop", U(fields.GetFieldIndexFrom(name0, 1, True, False)) = FAIL
Check "find from with loop", U(fields.GetFieldIndexFrom(name0, 1, True, True)) = 0
Check "unknown field ID", U(fields.GetFieldIndexByID(4000000)) = FAIL
Check "unknown field ID from", U(fields.GetFieldIndexFromByID(4000000, 0, True)) = FAIL
Check "offset at count", U(fields.GetFieldOffset(n)) = FAIL
Check "size at count", U(fields.GetFieldSize(n)) = FAIL
Check "value at count", IsEmpty(fields.GetFieldValue(n))
Check "name at count", fields.GetFieldName(n, True) = ""
Check "value text at count", fields.GetFieldValueText(n) = ""
Set bare = message.GetConfiguredItemFields("", False, False)
Check "configured count", U(bare.GetFieldCount()) = n
Check "configured without names", bare.GetFieldName(0, True) = ""

' ---- EventService
Dim events, eventItem, payload
Set events = CreateObject("Quillon.EventService")
Set eventItem = files.GetItem(hSample, 20)
payload = eventItem.GetItemBuffer(False)
Check "event name", events.GetName(276) = "EVENT_IDLE_HANDOFF"
Check "unknown event name", events.GetName(1) = ""
Check "event summary", Len(events.GetSummary(276, payload)) > 0
Check "summary of a value", events.GetSummary(276, eventItem.GetItemBuffer(False)) = events.GetSummary(276, payload)
Check "summary of nothing", events.GetSummary(276, Empty) = ""
Check "summary of text", events.GetSummary(276, "0102") = ""

' ---- Closing: items answer failure values, fields stay usable
Check "close", files.CloseItemStore(hSample) = True
Check "close again", files.CloseItemStore(hSample) = False
Check "closed count", U(files.GetItemCount(hSample)) = FAIL
Check "closed item type", U(item.GetItemType()) = FAIL
Check "closed item colour", U(item.GetItemColor()) = 0
Check "closed item size", U(item.GetItemSize(True)) = FAIL
Check "closed item date", item.GetItemTimestamp2() = 0
Check "closed item text", item.GetItemTypeText() = ""
Check "closed item buffer", VarType(item.GetItemBuffer(True)) = 8209
Check "closed item fields", message.GetItemFields() Is Nothing
Check "closed field value", IsEmpty(item.GetItemFieldValue(2, 8, 0, True))
Set message = Nothing
Check "fields outlive their item", U(fields.GetFieldCount()) = n
Check "close new", files.CloseItemStore(hNew) = True
hOther = files.LoadItemStore(folder & "\vbs_new.isf")
Check "handles are not reused", U(hOther) = 2
Check "reloaded count", U(files.GetItemCount(hOther)) = 6

WScript.Echo passed & " passed, " & failed & " failed"
WScript.Quit failed
