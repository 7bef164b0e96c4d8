"""A tour of the quillon module: list a capture, write one, use the
automation classes. Run: python3 tour.py CAPTURE.isf OUT.isf"""
import sys

import quillon


def main(capture: str, out: str) -> int:
    with quillon.open(capture) as store:
        print(f"{len(store)} items")
        for item in store[:5]:
            print(item.index, item.timestamp.isoformat(), item.type_text, item.key_text, item.name)
        logs = [item for item in store.items(types=[5])]
        if logs:
            for field in logs[0].fields():
                print(f"  {field.name} = {field.text} ({field.size} bits at {field.offset})")
        with quillon.open(out, "w") as copy:
            for item in store.items(types=[6], stop=100):
                copy.copy_from(store, item.index)
            copy.add_text("copied the first debug messages")

    files = quillon.ItemStoreFiles()
    handle = files.LoadItemStore(out)
    if handle == 0xFFFFFFFF:
        return 1
    first = files.GetItem(handle, 0)
    if first is not None:
        print(first.GetItemTypeText(), first.GetItemTimestampText(True, True))
    files.CloseItemStore(handle)

    try:
        quillon.open("missing.isf")
    except quillon.Error as error:
        print(f"error {error.code} (category {error.category}): {error}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2]))
