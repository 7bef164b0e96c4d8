#!/usr/bin/env bash
# Installs everything Quillon needs to build and test on Debian 12.
# Safe to run again: it installs only what is missing.
set -euo pipefail
packages=(
  # native build and tests
  cmake ninja-build g++ ccache git python3 python3-minimal googletest libgtest-dev libbenchmark-dev
  libcli11-dev nlohmann-json3-dev pybind11-dev python3-dev python3-pytest python3-mypy
  python3-setuptools python3-pip
  # data frames: Store.to_pandas, quillon.dask (and their tests and benchmark)
  python3-numpy python3-pandas python3-dask python3-distributed
  # format check, fuzzing and sanitizer runtimes
  clang clang-format libclang-rt-14-dev libtsan2
  # Windows cross build and its tests under Wine
  mingw-w64 mingw-w64-tools g++-mingw-w64-x86-64-posix gcc-mingw-w64-x86-64-posix
  binutils-mingw-w64-x86-64 wine wine64 libwine-dev
  # the OTA decoder libraries run Wireshark's tshark (and their tests need it)
  tshark
)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  echo "setup: installing ${missing[*]}"
  SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO=sudo
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
