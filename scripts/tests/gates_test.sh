#!/usr/bin/env bash
# Shows that each CI gate fails when it should: the set-up check on a
# package that setup.sh forgets and on a command that no package list
# names, the format check on a misformatted file, and the warning gate on
# a compiler warning. Each gate is also run on a clean input, which must
# pass. Exits non-zero with a message when a gate misbehaves.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

expect() {  # expect pass|fail DESCRIPTION CMD...
  local want=$1 what=$2; shift 2
  local got=pass
  "$@" >"$work/out.log" 2>&1 || got=fail
  if [ "$got" != "$want" ]; then
    echo "gates: FAILED: $what: expected $want, got $got; output:" >&2
    cat "$work/out.log" >&2
    failures=$((failures + 1))
  else
    echo "gates: ok: $what"
  fi
}

# Set-up check: a copy of the scripts, then one fault at a time.
setup_copy() {
  rm -rf "$work/setup" && mkdir -p "$work/setup/scripts/lib"
  cp "$root/scripts/setup.sh" "$root/scripts/check_setup.py" "$work/setup/scripts/"
  cp "$root/scripts/lib/commands.sh" "$work/setup/scripts/lib/"
  printf '#!/usr/bin/env bash\nwine cmd /c exit 0\ncmake --version\n' >"$work/setup/scripts/run.sh"
}
setup_copy
expect pass "set-up check on the project's lists" python3 "$work/setup/scripts/check_setup.py" "$work/setup"
sed -i 's/ wine wine64 / wine64 /' "$work/setup/scripts/setup.sh"
expect fail "set-up check when setup.sh drops wine" python3 "$work/setup/scripts/check_setup.py" "$work/setup"
setup_copy
printf 'quillon-no-such-tool --help\n' >>"$work/setup/scripts/run.sh"
expect fail "set-up check on a command no package provides" python3 "$work/setup/scripts/check_setup.py" "$work/setup"
# A here-document's body is data, and arithmetic holds no commands; a
# command after them still counts.
setup_copy
printf 'n=$((n + 1))\ncat >x.txt <<TEXT\nproject(Words)\nTEXT\n' >>"$work/setup/scripts/run.sh"
expect pass "set-up check skips here-documents and arithmetic" python3 "$work/setup/scripts/check_setup.py" "$work/setup"
printf 'quillon-no-such-tool --help\n' >>"$work/setup/scripts/run.sh"
expect fail "set-up check on a command after a here-document" python3 "$work/setup/scripts/check_setup.py" "$work/setup"

# Format check: a small git work tree with the project's style.
mkdir -p "$work/format"
cp "$root/.clang-format" "$work/format/"
printf 'int Add(int a, int b) { return a + b; }\n' >"$work/format/ok.cpp"
git -C "$work/format" init -q && git -C "$work/format" add -A
expect pass "format check on a formatted file" "$root/scripts/check_format.sh" "$work/format"
printf 'int Add( int a,int b ){return a+b;}\n' >"$work/format/ok.cpp"
expect fail "format check on a misformatted file" "$root/scripts/check_format.sh" "$work/format"

# Warning gate: the project's warning set on a one-file project.
mkdir -p "$work/werror"
cat >"$work/werror/CMakeLists.txt" <<CMAKE
cmake_minimum_required(VERSION 3.25)
project(WerrorGate LANGUAGES CXX)
include($root/cmake/QuillonWarnings.cmake)
add_library(gate STATIC gate.cpp)
CMAKE
printf 'int Gate() { return 0; }\n' >"$work/werror/gate.cpp"
build_gate() {
  rm -rf "$work/werror/build"
  cmake -S "$work/werror" -B "$work/werror/build" -DQUILLON_WERROR=ON &&
    cmake --build "$work/werror/build"
}
expect pass "warning gate on clean code" build_gate
printf 'int Gate() { int unused = 1; return 0; }\n' >"$work/werror/gate.cpp"
expect fail "warning gate on an unused variable" build_gate

if ((failures)); then
  echo "gates: $failures gate check(s) failed" >&2
  exit 1
fi
