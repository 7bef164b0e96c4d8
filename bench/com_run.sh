#!/usr/bin/env bash
# Runs bench_com under Wine from the Windows build (scripts/build.sh
# windows): GetItem + GetItemSummary over 100,000 items through IDispatch
# and through the portable layer, and their ratio.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
source "$root/scripts/lib/commands.sh"
require_commands wine wineserver
build=$root/build/windows
export WINEPREFIX=$build/wineprefix WINEDEBUG=-all
[ -f "$WINEPREFIX/system.reg" ] || run_logged "$build/wineboot.log" wine wineboot -i
win() { printf 'Z:%s' "${1//\//\\}"; }
wine "$build/bench/bench_com.exe" "$(win "$build/install/bin/Quillon.dll")" \
  "$(win "$build/install/samples/demo.isf")" "$(win "$build/install/Database")" \
  "$(win "$build/bench_com_work.isf")"
