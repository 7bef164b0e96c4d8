"""Many captures as one table, four ways: a Python loop over items, to_pandas
per file, Dask's threaded scheduler and a dask.distributed cluster of two
worker processes. Prints items/s of each, and items per CPU second of this
process (all its threads; the cluster's workers are other processes).

Usage: frames_bench.py FOLDER [LOOP_FILES]  (the module on PYTHONPATH; the
captures are FOLDER/*.isf). Every way reads every column but the payload
of every item; the loop reads LOOP_FILES captures (default 2), the others
all of them; to_pandas runs on one thread and on one per core. The Dask
ways count the items per type on the workers, so the figures are those of
the reads rather than of shipping rows back.
"""
import glob
import os
import resource
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


def cpu_seconds():
    """CPU time of this process, every thread (not the cluster's workers)."""
    usage = resource.getrusage(resource.RUSAGE_SELF)
    return usage.ru_utime + usage.ru_stime


def timed(what, run, *args, **kwargs):
    best = None
    for _ in range(2):
        start, cpu = time.perf_counter(), cpu_seconds()
        count = run(*args, **kwargs)
        elapsed, cpu = time.perf_counter() - start, cpu_seconds() - cpu
        if best is None or elapsed < best[0]:
            best = (elapsed, cpu)
    rate = count / best[0]
    cpu_rate = f"{count / best[1]:>12,.0f}" if best[1] > 0.1 * best[0] else f"{'-':>12}"
    print(f"{what:<42} {count:>8} items {best[0]:6.2f} s {rate:>11,.0f} items/s "
          f"{cpu_rate} items/CPU-s", flush=True)
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
