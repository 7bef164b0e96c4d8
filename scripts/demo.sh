#!/usr/bin/env bash
# Sets everything up, builds the quillon tool and dumps the bundled sample.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
# One compiler cache for every checkout of the project on this machine.
export CCACHE_BASEDIR=$root
cmake -S "$root" -B "$root/build/native" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$root/build/native" -j "$(nproc)" --target quillon
"$root/build/native/cli/quillon" dump "$root/samples/demo.isf"
