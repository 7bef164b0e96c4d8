#!/usr/bin/env bash
# check_format.sh [DIR]: fails when a tracked C++ file of the git work tree
# DIR (default: this project) differs from its clang-format form, and names
# each such file. Fix with: git ls-files '*.cpp' '*.h' | xargs clang-format -i
set -euo pipefail
root=${1:-$(cd "$(dirname "$0")/.." && pwd)}
cd "$root"
mapfile -t files < <(git ls-files '*.cpp' '*.h' '*.c')
((${#files[@]})) || exit 0
bad=()
for f in "${files[@]}"; do
  clang-format --dry-run -Werror "$f" >/dev/null 2>&1 || bad+=("$f")
done
if ((${#bad[@]})); then
  echo "error: ${#bad[@]} file(s) differ from clang-format's form:" >&2
  printf '  %s\n' "${bad[@]}" >&2
  echo "run: git ls-files '*.cpp' '*.h' '*.c' | xargs clang-format -i" >&2
  exit 1
fi
echo "format: ${#files[@]} files clean"
