#!/usr/bin/env bash
# Builds the benchmarks in Release and prints one table of time, items/s and
# MB/s per benchmark executable (each row also relative to the executable's
# plain sequential read, when it has one).
# Usage: bench/run.sh [build-dir [bench-target...]]
#   default build dir: build/bench; default targets: every bench_* in
#   bench/CMakeLists.txt.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=${1:-$root/build/bench}
shift || true
if [ $# -gt 0 ]; then
  targets=("$@")
else
  mapfile -t targets < <(grep -o 'add_executable(bench_[A-Za-z0-9_]*' "$root/bench/CMakeLists.txt" |
                         sed 's/add_executable(//')
fi
cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQUILLON_BENCH=ON \
  -DQUILLON_TESTS=OFF >/dev/null
cmake --build "$dir" -j2 --target "${targets[@]}" >/dev/null
for target in "${targets[@]}"; do
  echo "== $target"
  "$dir/bench/$target" --benchmark_format=csv 2>"$dir/$target.log" | awk -F, '
    # Rates come from items_per_second or, for benchmarks that count other
    # things (fields), from their one "x/s" counter column.
    NR == 1 {
      for (i = 1; i <= NF; i++) {
        h = $i; gsub(/"/, "", h); col[h] = i
        if (h ~ /\/s$/) { counter = i; counter_name = h }
      }
      next
    }
    {
      name = $col["name"]; gsub(/"/, "", name); sub(/\/iterations:[0-9]+/, "", name)
      rows[++n] = name
      unit = $col["time_unit"]
      scale = (unit == "ns") ? 1e-6 : (unit == "us") ? 1e-3 : (unit == "s") ? 1e3 : 1
      ms[name] = $col["real_time"] * scale
      if ($col["items_per_second"] != "") {
        rate[name] = $col["items_per_second"]; what[name] = "items/s"
      } else if (counter && $counter != "") {
        rate[name] = $counter; what[name] = counter_name
      } else {
        rate[name] = 0; what[name] = "-"
      }
      mb[name] = $col["bytes_per_second"] / 1048576
      if (name ~ /SequentialRead/) seq = mb[name]
    }
    END {
      printf "%-42s %12s %14s %-9s %10s %9s\n", "benchmark", "ms", "rate", "per", "MB/s", "vs seq"
      for (i = 1; i <= n; i++) {
        name = rows[i]
        ratio = (seq > 0) ? sprintf("%8.1f%%", 100 * mb[name] / seq) : "-"
        printf "%-42s %12.4f %14.0f %-9s %10.1f %9s\n", name, ms[name], rate[name], what[name], mb[name], ratio
      }
    }'
done
