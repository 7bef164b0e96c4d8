# The commands that the project's scripts call, each with the Debian package
# that provides it. scripts/setup.sh installs these packages;
# scripts/check_setup.py fails CI when a script calls a command that is not
# listed here or whose package setup.sh does not install.
# Commands of Debian's essential and required packages (coreutils, grep,
# sed, dpkg, apt, bash ...) are always present and are not listed.
declare -gA QUILLON_COMMAND_PACKAGE=(
  [ccache]=ccache
  [clang]=clang
  [clang++]=clang
  [clang-format]=clang-format
  [cmake]=cmake
  [ctest]=cmake
  [g++]=g++
  [git]=git
  [ninja]=ninja-build
  [python3]=python3-minimal
  [tshark]=tshark
  [wine]=wine
  [wineserver]=wine
  [x86_64-w64-mingw32-g++-posix]=g++-mingw-w64-x86-64-posix
  [x86_64-w64-mingw32-gcc-posix]=gcc-mingw-w64-x86-64-posix
  [x86_64-w64-mingw32-windres]=binutils-mingw-w64-x86-64
  [x86_64-w64-mingw32-widl]=mingw-w64-tools
)

# require_commands CMD...: stops the calling script, naming the package to
# install, when one of the commands is not on the PATH.
require_commands() {
  local cmd missing=0
  for cmd in "$@"; do
    if ! command -v "$cmd" >/dev/null 2>&1; then
      echo "error: the command '$cmd' is missing; install the Debian package" \
           "'${QUILLON_COMMAND_PACKAGE[$cmd]:-unknown}' (scripts/setup.sh does)" >&2
      missing=1
    fi
  done
  ((missing == 0)) || exit 127
}

# run_logged LOG CMD...: runs a noisy step with its output in LOG, and
# prints that output when the step fails, so that no failure is silent.
run_logged() {
  local log=$1; shift
  if ! "$@" >"$log" 2>&1; then
    echo "error: '$*' failed; its output follows ($log):" >&2
    cat "$log" >&2
    return 1
  fi
}
