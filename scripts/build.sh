#!/usr/bin/env bash
# build.sh native|sanitize|tsan|windows [extra cmake args...]
# Configures and builds one of the builds under build/<kind>, with warnings
# as errors. tsan builds only the store's test executable, under
# ThreadSanitizer, for the test of one store used from several threads.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
source "$root/scripts/lib/commands.sh"
kind=${1:-native}; shift || true
targets=()
case "$kind" in
  native)   args=(-DCMAKE_BUILD_TYPE=RelWithDebInfo) ;;
  sanitize) args=(-DCMAKE_BUILD_TYPE=Debug -DQUILLON_SANITIZE=ON) ;;
  tsan)     args=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_FLAGS=-fsanitize=thread
                  -DCMAKE_EXE_LINKER_FLAGS=-fsanitize=thread
                  -DCMAKE_SHARED_LINKER_FLAGS=-fsanitize=thread)
            targets=(test_store) ;;
  windows)  args=(-DCMAKE_BUILD_TYPE=Release
                  -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake")
            require_commands x86_64-w64-mingw32-g++-posix x86_64-w64-mingw32-gcc-posix ;;
  *) echo "usage: build.sh native|sanitize|tsan|windows [cmake args...]" >&2; exit 2 ;;
esac
require_commands cmake ninja g++
mkdir -p "$root/build/$kind"
run_logged "$root/build/$kind/configure.log" \
  cmake -S "$root" -B "$root/build/$kind" -G Ninja -DQUILLON_WERROR=ON "${args[@]}" "$@"
cmake --build "$root/build/$kind" -j "$(nproc)" ${targets[@]:+--target "${targets[@]}"}
if [ "$kind" = windows ]; then
  # The layout a Windows user installs: bin/Quillon.dll beside Database/.
  run_logged "$root/build/windows/install.log" \
    cmake --install "$root/build/windows" --prefix "$root/build/windows/install"
fi
