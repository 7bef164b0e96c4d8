#!/usr/bin/env bash
# build.sh native|sanitize|windows [extra cmake args...]
# Configures and builds one of the three builds under build/<kind>.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
kind=${1:-native}; shift || true
jobs=$(nproc)
case "$kind" in
  native)   args=(-DCMAKE_BUILD_TYPE=RelWithDebInfo) ;;
  sanitize) args=(-DCMAKE_BUILD_TYPE=Debug -DQUILLON_SANITIZE=ON) ;;
  windows)  args=(-DCMAKE_BUILD_TYPE=Release
                  -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake") ;;
  *) echo "usage: build.sh native|sanitize|windows" >&2; exit 2 ;;
esac
cmake -S "$root" -B "$root/build/$kind" -G Ninja "${args[@]}" "$@" >/dev/null
cmake --build "$root/build/$kind" -j "$jobs"
