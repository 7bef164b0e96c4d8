"""Iterates every item of FILE in Python with its name and summary and
prints the rate: python_bench.py FILE (the module on PYTHONPATH)."""
import sys
import time

import quillon


def main(path):
    best = None
    for _ in range(2):
        start = time.perf_counter()
        with quillon.open(path) as store:
            count = 0
            for item in store:
                item.name
                item.summary
                count += 1
        elapsed = time.perf_counter() - start
        best = elapsed if best is None else min(best, elapsed)
    print(f"{count / best:.0f}")


if __name__ == "__main__":
    main(sys.argv[1])
