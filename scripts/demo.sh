#!/usr/bin/env bash
# Sets everything up, builds the quillon tool and dumps the bundled sample.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
export CCACHE_DIR=${CCACHE_DIR:-$root/build/ccache}
"$root/scripts/build.sh" native -DQUILLON_TESTS=OFF
"$root/build/native/cli/quillon" dump "$root/samples/demo.isf"
