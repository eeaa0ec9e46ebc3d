#!/usr/bin/env bash
# Runs the Windows serial port's check under Wine, with COM1 on a pseudo-terminal.
#   wine_serial_check.sh CHECK.EXE
# Wine reads its port names when it starts, so the check has a prefix of its own, removed afterwards.
set -euo pipefail
check=$(realpath "$1")
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

# The far side prints the device's name, then echoes what arrives. Byte 1: it reads nothing for two seconds,
# then drops everything up to a byte 2. Byte 4: it hangs up and ends.
mkfifo "$work/name"
python3 - >"$work/name" <<'END' &
import os, time, tty
line, device = os.openpty()
tty.setraw(device)  # and kept open: it must not be hung up before the port is opened
print(os.ttyname(device), flush=True)
dropping = False
while True:
    for byte in os.read(line, 4096):
        if dropping:
            dropping = byte != 2
        elif byte == 1:
            time.sleep(2)
            dropping = True
        elif byte == 4:
            os._exit(0)
        else:
            os.write(line, bytes([byte]))
END
farSide=$!
read -r device <"$work/name"

mkdir "$WINEPREFIX"
start_server
"$wine" wineboot -i >/dev/null 2>&1
"$wine" reg add 'HKLM\Software\Wine\Ports' /v COM1 /d "$device" /f >/dev/null
stop_server
start_server
"$wine" "$check"
