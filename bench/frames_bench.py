"""Many captures as one table, four ways: a Python loop over items, to_pandas
per file, Dask's threaded scheduler and a dask.distributed cluster of two
worker processes. Prints items/s of each.

Usage: frames_bench.py FOLDER [LOOP_FILES]  (the module on PYTHONPATH; the
captures are FOLDER/*.isf). Every way reads every column but the payload
of every item; the loop reads LOOP_FILES captures (default 2), the others
all of them; to_pandas runs on one thread and on one per core. The Dask
ways count the items per type on the workers, so the figures are those of
the reads rather than of shipping rows back.
"""
import glob
import os
import sys
import time

import distributed
import pandas as pd

import quillon
import quillon.dask as qd

COLUMNS = ["index", "type", "type_text", "key_text", "name", "timestamp", "summary", "length",
           "color"]


def loop(paths):
    count = 0
    for path in paths:
        with quillon.open(path) as store:
            rows = [(i.index, i.type, i.type_text, i.key_text, i.name, i.timestamp, i.summary,
                     len(i.payload), i.color) for i in store]
        frame = pd.DataFrame(rows, columns=COLUMNS)
        count += len(frame)
    return count


def per_file(paths, threads):
    count = 0
    for path in paths:
        with quillon.open(path) as store:
            count += len(store.to_pandas(threads=threads))
    return count


def dask_counts(paths, **compute):
    return int(qd.read_items(paths).groupby("type").size().compute(**compute).sum())


def timed(what, run, *args, **kwargs):
    best = None
    for _ in range(2):
        start = time.perf_counter()
        count = run(*args, **kwargs)
        elapsed = time.perf_counter() - start
        best = elapsed if best is None else min(best, elapsed)
    rate = count / best
    print(f"{what:<44} {count:>9} items {best:7.2f} s {rate:>12,.0f} items/s", flush=True)
    return rate


def main(folder, loop_files=2):
    paths = sorted(glob.glob(os.path.join(folder, "*.isf")))
    cores = os.cpu_count() or 1
    print(f"{len(paths)} captures, {cores} cores")
    rates = {
        "loop": timed("Python loop over items", loop, paths[:loop_files]),
        "to_pandas": timed("to_pandas per file, 1 thread", per_file, paths, 1),
        "to_pandas_cores": timed(f"to_pandas per file, {cores} threads", per_file, paths, None),
        "threads": timed(f"Dask threaded ({cores} threads)", dask_counts, paths,
                         scheduler="threads", num_workers=cores),
    }
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  dashboard_address=None) as cluster:
        with distributed.Client(cluster):
            rates["distributed"] = timed("Dask distributed (2 workers x 1 thread)",
                                         dask_counts, paths)
    one = rates["to_pandas"]
    print(f"to_pandas / loop: {one / rates['loop']:.1f}x on 1 thread, "
          f"{rates['to_pandas_cores'] / rates['loop']:.1f}x on {cores}; against to_pandas on "
          f"1 thread: {cores} threads {rates['to_pandas_cores'] / one:.2f}x, Dask threaded "
          f"{rates['threads'] / one:.2f}x, distributed {rates['distributed'] / one:.2f}x")


if __name__ == "__main__":
    main(sys.argv[1], *(int(a) for a in sys.argv[2:]))
