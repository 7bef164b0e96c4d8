#!/usr/bin/env bash
# Sets everything up, builds the quillon tool and dumps the bundled sample.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
source "$root/scripts/lib/commands.sh"
require_commands cmake ninja g++
# One compiler cache for every checkout of the project on this machine.
export CCACHE_BASEDIR=$root
mkdir -p "$root/build/native"
run_logged "$root/build/native/configure.log" \
  cmake -S "$root" -B "$root/build/native" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$root/build/native" -j "$(nproc)" --target quillon
"$root/build/native/bin/quillon" dump "$root/samples/demo.isf"
