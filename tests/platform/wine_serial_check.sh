#!/usr/bin/env bash
# Runs the Windows serial port's check under Wine, with COM1 on a pseudo-terminal.
#   wine_serial_check.sh CHECK.EXE
# Wine reads its port names when it starts, so the check has a prefix of its own, removed afterwards. The
# far side of the line is compiled here with the machine's compiler (CXX, else c++).
set -euo pipefail
check=$(realpath "$1")
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
wine=/usr/lib/wine/wine64 server=/usr/lib/wine/wineserver64
work=$(mktemp -d)
export WINEPREFIX=$work/prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree=;mshtml=;winemenubuilder.exe="
unset DISPLAY

# Started apart from the programs: a server that is stopped dumps its objects to its standard error.
start_server() { "$server" -p >/dev/null 2>&1; }
stop_server() {
  "$server" -k >/dev/null 2>&1 || true
  "$server" -w >/dev/null 2>&1 || true
}

farSide=
clean_up() {
  stop_server
  [ -z "$farSide" ] || kill "$farSide" 2>/dev/null || true
  rm -rf "$work"
}
trap clean_up EXIT

"${CXX:-c++}" -std=c++20 -o "$work/far_side" "$here/pty_far_side.cpp"
mkfifo "$work/name"
"$work/far_side" >"$work/name" &
farSide=$!
read -r device <"$work/name"

mkdir "$WINEPREFIX"
start_server
"$wine" wineboot -i >/dev/null 2>&1
"$wine" reg add 'HKLM\Software\Wine\Ports' /v COM1 /d "$device" /f >/dev/null
stop_server
start_server
"$wine" "$check"
