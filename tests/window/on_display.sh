#!/usr/bin/env bash
# Runs a program on a virtual display of its own, with a window manager and a session bus; everything
# ends with it.
#   on_display.sh PROGRAM [ARGUMENT...]
# SCREEN: size of the display (default 1280x1024x24).
set -u
work=$(mktemp -d)
xvfb="" manager=""
end() {
  [ -z "$manager" ] || kill "$manager" 2>/dev/null
  [ -z "$xvfb" ] || kill "$xvfb" 2>/dev/null
  rm -rf "$work"
}
trap end EXIT
trap 'exit 143' TERM INT HUP

mkfifo "$work/number"
Xvfb -displayfd 3 -screen 0 "${SCREEN:-1280x1024x24}" -nolisten tcp 3>"$work/number" >"$work/xvfb.log" 2>&1 &
xvfb=$!
read -r -t 30 number <"$work/number" || { cat "$work/xvfb.log" >&2; exit 1; }
export DISPLAY=:$number XDG_RUNTIME_DIR=$work HOME=$work NO_AT_BRIDGE=0 GDK_BACKEND=x11
openbox >/dev/null 2>&1 &
manager=$!
# The bus tells of each service that it starts; what the program says comes through.
dbus-run-session -- sh -c 'exec 2>&3 3>&-; exec "$@"' sh "$@" 3>&2 2>"$work/bus.log"
