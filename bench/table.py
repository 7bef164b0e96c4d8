"""Prints bench/run's results as one markdown table: table.py RESULTS_DIR
[BIG_FILE]. Each benchmark's CSV (Google Benchmark) and the small text
files that bench/run writes beside them."""
import csv
import os
import sys


def load(results, name):
    """name -> row dict of one benchmark executable's CSV (empty if missing)."""
    path = os.path.join(results, name + ".csv")
    rows = {}
    if not os.path.exists(path):
        return rows
    with open(path) as f:
        lines = [line for line in f if line.startswith("name,") or line.startswith('"')]
    for row in csv.DictReader(lines):
        key = row["name"].split("/iterations:")[0]
        rows[key] = row
    return rows


def number(row, column):
    try:
        return float(row.get(column) or 0)
    except ValueError:
        return 0.0


def text(results, name):
    path = os.path.join(results, name)
    return open(path).read().split() if os.path.exists(path) else []


def main(results, big=""):
    out = []

    def add(area, what, rate, unit, extra=""):
        out.append(f"| {area} | {what} | {rate} | {unit} | {extra} |")

    def fmt(v):
        return f"{v:,.0f}" if v >= 100 else f"{v:,.2f}"

    isf = load(results, "bench_isf")
    seq = number(isf.get("BM_SequentialRead", {}), "bytes_per_second")
    for key, what in [("BM_AppendItems", "append (read-write class)"),
                      ("BM_ReadAllItems<ItemStoreFile>", "read every item, read-write class"),
                      ("BM_ReadAllItems<MappedItemStoreFile>", "read every item, mapped class"),
                      ("BM_SequentialRead", "plain sequential read of the same bytes")]:
        row = isf.get(key)
        if not row:
            continue
        mbs = number(row, "bytes_per_second") / 1e6
        ratio = f"{100 * number(row, 'bytes_per_second') / seq:.1f} % of a sequential read" if seq else ""
        add("item store file (1,000,000 items)", what, fmt(number(row, "items_per_second")),
            "items/s", f"{mbs:,.1f} MB/s; {ratio}")

    db = load(results, "bench_db_load")
    for key, what in [("BM_DbLoadUtf16", "load, UTF-16 tables"), ("BM_DbLoadAnsi", "load, ANSI tables")]:
        if key in db:
            add("database", what, fmt(number(db[key], "bytes_per_second") / 1e6), "MB/s")
    if "BM_BundledDatabaseStartUp" in db:
        row = db["BM_BundledDatabaseStartUp"]
        ms = number(row, "real_time") * {"ns": 1e-6, "us": 1e-3, "ms": 1, "s": 1e3}[row["time_unit"]]
        add("database", "start-up with the bundled database", f"{ms:,.1f}", "ms")

    parse = load(results, "bench_render_parse")
    for key, what in [("BM_ParseWithNamesAndTexts", "field parsing with names and texts"),
                      ("BM_ParsePlain", "field parsing without names and texts")]:
        if key in parse:
            add("rendering", what, fmt(number(parse[key], "fields/s")), "fields/s")
    texts = load(results, "bench_render_texts")
    for key, what in [("BM_ReadItems", "read items through the store (no texts)"),
                      ("BM_NamesAndSummaries", "read items with names and summaries"),
                      ("BM_NamesAndSummariesOnly", "names and summaries alone (items in memory)")]:
        if key in texts:
            add("rendering", what, fmt(number(texts[key], "items_per_second")), "items/s")

    auto = load(results, "bench_automation")
    core = number(auto.get("BM_CoreGetItemAndSummary", {}), "items_per_second")
    layer = number(auto.get("BM_GetItemAndSummary", {}), "items_per_second")
    if core:
        add("surfaces", "core: GetItem + summary", fmt(core), "items/s", "the yardstick")
    if layer:
        add("surfaces", "automation layer: GetItem + GetItemSummary", fmt(layer), "items/s",
            f"{core / layer:.2f} x the core's time" if core else "")
    com_path = os.path.join(results, "com.txt")
    com = {}
    if os.path.exists(com_path):
        for line in open(com_path):
            if line.startswith("portable automation layer"):
                com["portable"] = float(line.split()[-1])
            elif line.startswith("IDispatch (Quillon.dll)"):
                com["dispatch"] = float(line.split()[-1])
    if com.get("portable") and com.get("dispatch"):
        dispatch, portable = com["dispatch"], com["portable"]
        add("surfaces", "COM: GetItem + GetItemSummary through IDispatch (Wine)", fmt(dispatch),
            "items/s", f"{portable / dispatch:.2f} x the portable layer's time (same process)")
    surfaces = load(results, "bench_surfaces")
    cpp = number(next(iter(surfaces.values()), {}), "items_per_second")
    py = text(results, "python.txt")
    if cpp:
        add("surfaces", "C++: iterate with names and summaries", fmt(cpp), "items/s", "the yardstick")
    if py and cpp:
        add("surfaces", "Python: iterate with names and summaries", fmt(float(py[0])), "items/s",
            f"{cpp / float(py[0]):.2f} x the C++ time")
    pandas = text(results, "pandas.txt")
    if pandas and pandas[0] != "-":
        add("surfaces", "Python: to_pandas", fmt(float(pandas[0])), "items/s")
    else:
        add("surfaces", "Python: to_pandas", "-", "", "not in this build")

    write = text(results, "scale_write.txt")
    if write:
        size = os.path.getsize(big) / 1e6 if big and os.path.exists(big) else 0
        add("scale (10,000,000 items)", "write and close", f"{float(write[0]):.1f}", "s",
            f"{size:,.0f} MB, {1e7 / float(write[0]):,.0f} items/s")
    for name, what in [("scale_count_1k.txt", "open and count, 1,000 items"),
                       ("scale_count.txt", "open and count, 10,000,000 items")]:
        words = text(results, name)
        if words:
            add("scale (10,000,000 items)", what, words[1], "µs", "mapped class, best of 20")
    for name, what in [("dump.txt", "quillon dump (table) to /dev/null"),
                       ("copy.txt", "quillon copy"), ("info.txt", "quillon info")]:
        words = text(results, name)
        if words:
            note = f"peak resident {float(words[1]):.1f} MB"
            if words[2] != "0":
                note += f", exit {words[2]}"
            add("scale (10,000,000 items)", what, words[0], "s", note)

    print("| area | measure | rate | unit | notes |")
    print("|---|---|---:|---|---|")
    print("\n".join(out))


if __name__ == "__main__":
    main(*sys.argv[1:])
