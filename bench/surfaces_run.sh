#!/usr/bin/env bash
# The Linux surfaces over one 1,000,000-item file (written on the first
# run): items/s of C++ and of the Python module iterating with names and
# summaries, and MB/s of `quillon dump --format jsonl`.
# Usage: bench/surfaces_run.sh [build-dir]   (default: build/bench)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
source "$root/scripts/lib/commands.sh"
require_commands cmake ninja
dir=${1:-$root/build/bench}
cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQUILLON_BENCH=ON \
  -DQUILLON_TESTS=OFF >/dev/null
cmake --build "$dir" -j2 --target bench_surfaces quillon quillon_python >/dev/null
file=$dir/surfaces_1m.isf

cpp=$("$dir/bench/bench_surfaces" "$file" --benchmark_format=csv 2>/dev/null |
      awk -F, 'NR > 1 { for (i = 1; i <= NF; i++) if (h[i] == "items_per_second") print $i; next }
               { for (i = 1; i <= NF; i++) { gsub(/"/, "", $i); h[i] = $i } }')
py=$(PYTHONPATH=$dir/python /usr/bin/python3 "$root/bench/python_bench.py" "$file")

start=$(date +%s.%N)
bytes=$("$dir/bin/quillon" dump "$file" --format jsonl | wc -c)
end=$(date +%s.%N)

awk -v cpp="$cpp" -v py="$py" -v bytes="$bytes" -v start="$start" -v end="$end" 'BEGIN {
  printf "%-44s %14s\n", "benchmark (1,000,000 items)", "rate"
  printf "%-44s %10.0f items/s\n", "C++: iterate with names and summaries", cpp
  printf "%-44s %10.0f items/s (%.0f %% of C++)\n", "Python: iterate with names and summaries", py, 100 * py / cpp
  printf "%-44s %10.1f MB/s (%.0f MB in %.2f s)\n", "quillon dump --format jsonl", bytes / 1e6 / (end - start), bytes / 1e6, end - start
}'
