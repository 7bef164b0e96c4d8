#!/usr/bin/env bash
# Many captures as one table: 20 captures of 200,000 items (written on the
# first run: the sample's items round robin, then copied) read by a Python
# loop, by to_pandas per file, by Dask threaded and by a two-worker
# dask.distributed cluster (bench/frames_bench.py), and exported by
# `quillon export --format csv` with one job and with one per core.
# Usage: bench/frames_run.sh [build-dir]   (default: build/bench)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
source "$root/scripts/lib/commands.sh"
require_commands cmake ninja python3
dir=${1:-$root/build/bench}
cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQUILLON_BENCH=ON \
  -DQUILLON_TESTS=OFF >/dev/null
cmake --build "$dir" -j2 --target quillon quillon_python >/dev/null
export PYTHONPATH=$dir/python
captures=$dir/frames
if [ ! -f "$captures/day19.isf" ]; then
  mkdir -p "$captures"
  /usr/bin/python3 - "$root/samples/demo.isf" "$captures/day00.isf" <<'EOF'
import sys
import quillon
with quillon.open(sys.argv[1]) as sample, quillon.open(sys.argv[2], "w") as store:
    for i in range(200000):
        store.copy_from(sample, i % len(sample))
EOF
  for n in $(seq -w 1 19); do cp "$captures/day00.isf" "$captures/day$n.isf"; done
fi
/usr/bin/python3 "$root/bench/frames_bench.py" "$captures"
for jobs in 1 "$(nproc)"; do
  start=$(date +%s.%N)
  "$dir/bin/quillon" export "$captures"/*.isf --format csv --jobs "$jobs" >/dev/null
  end=$(date +%s.%N)
  awk -v jobs="$jobs" -v start="$start" -v end="$end" 'BEGIN {
    printf "%-42s %8d items %6.2f s %11.0f items/s\n", "quillon export --format csv --jobs " jobs,
      4000000, end - start, 4000000 / (end - start) }'
done
