#!/bin/bash
# Runs in the guest. It uploads a different program each time, under three numbers in turn, and changes a setting after
# each upload.
#   uploads.sh FIRST LAST
set -eu
for version in $(seq "$1" "$2"); do
  yes "VERSION $version" | head -n 150 >/run/program
  number=000060$((version % 3))
  nce-controller --port /dev/ttyS2 --baud 115200 --retries 2 send /run/program --number $number --no-read-back \
    >/dev/null
  echo "set character-delay $version" >/run/ncedl/BUILTIN.commands
  sleep 0.3
done
