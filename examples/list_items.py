"""Lists the first items of an item store file through Quillon.dll (Windows,
pywin32). Usage: python list_items.py C:\\path\\capture.isf"""
import sys

import win32com.client

FAILURE = 0xFFFFFFFF

files = win32com.client.Dispatch("Quillon.ItemStoreFiles")
h = files.LoadItemStore(sys.argv[1])
if h == FAILURE:
    sys.exit(f"cannot open {sys.argv[1]}")
count = files.GetItemCount(h)
print(f"{count} items")
for i in range(min(count, 10)):
    item = files.GetItem(h, i)
    print(i, item.GetItemTimestampText(True, True), item.GetItemTypeText(),
          item.GetItemName(), item.GetItemSummary(), sep="  ")
files.CloseItemStore(h)
