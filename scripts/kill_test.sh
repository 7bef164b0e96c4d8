#!/usr/bin/env bash
# kill_test.sh [KILLS]: the crash-consistency test at full length. Builds the
# store's tests (native build) and kills a writing process KILLS times
# (default 1,000) at random moments, half of them around block boundaries;
# after each kill the file must recover with every acknowledged item intact.
# Prints the number of kills and of acknowledged appends. CI runs a few
# dozen kills as part of the native tests.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
source "$root/scripts/lib/commands.sh"
require_commands cmake ninja g++
export CCACHE_BASEDIR=$root
kills=${1:-1000}
if [ ! -f "$root/build/native/build.ninja" ]; then
  run_logged "$root/build/kill_test.configure.log" \
    cmake -S "$root" -B "$root/build/native" -G Ninja -DQUILLON_WERROR=ON \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo
fi
cmake --build "$root/build/native" -j "$(nproc)" --target test_store >/dev/null
QUILLON_KILL_ROUNDS=$kills "$root/build/native/tests/store/test_store" \
  --gtest_filter='IsfCrash.RandomKillsNeverLoseAnAcknowledgedItem'
