#!/usr/bin/env bash
# Sets everything up and runs every test: the set-up and format checks, the
# native build (with a few dozen random kills of a writing process), the
# sanitizer build, a ThreadSanitizer run of one store used from several
# threads, and the Windows cross build under Wine.
# Exits non-zero on any failure.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
source "$root/scripts/lib/commands.sh"
require_commands cmake ctest ninja g++ git python3 clang-format wine wineserver \
  x86_64-w64-mingw32-g++-posix x86_64-w64-mingw32-gcc-posix
# One compiler cache for every checkout of the project on this machine.
export CCACHE_BASEDIR=$root

run_ctest() {  # build dir
  ctest --test-dir "$1" --output-on-failure --timeout 600 -j "$(nproc)"
}

echo "== set-up and format checks"
python3 "$root/scripts/check_setup.py"
"$root/scripts/check_format.sh"
"$root/scripts/tests/gates_test.sh"

echo "== native build and tests"
"$root/scripts/build.sh" native
run_ctest "$root/build/native"

echo "== sanitizer build and tests (ASan + UBSan)"
"$root/scripts/build.sh" sanitize
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 run_ctest "$root/build/sanitize"

echo "== ThreadSanitizer: one store read, added to and rendered from several threads"
"$root/scripts/build.sh" tsan
TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1" \
  "$root/build/tsan/tests/store/test_store" --gtest_filter='ItemStoreThreads.*'

echo "== Windows cross build and tests under Wine"
"$root/scripts/build.sh" windows
export WINEPREFIX="$root/build/windows/wineprefix" WINEDEBUG=-all
wineserver -k 2>/dev/null || true   # a server left over from an earlier run
if [ ! -f "$WINEPREFIX/system.reg" ]; then
  run_logged "$root/build/windows/wineboot.log" wine wineboot -i
fi
wineserver -w                      # let the boot's server finish, then keep one alive
wineserver -p
# Start the prefix's services now, outside ctest: a service started by the
# first test would inherit ctest's output pipe and keep it open for ever.
run_logged "$root/build/windows/wine-services.log" wine cmd /c exit 0 </dev/null
trap 'wineserver -k || true' EXIT
run_ctest "$root/build/windows"
