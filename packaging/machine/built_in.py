"""Runs in the guest as the far side of the built-in port, at 9600 baud. It sends XOFF before a request, and prints
which bytes came during the hold and after it. The emulated port sends at once what it is given, so a hold within a
frame would come too late.
"""
import json
import os
import select
import subprocess

subprocess.run(["stty", "-F", "/dev/ttyS2", "9600", "raw", "-echo", "-ixon", "-ixoff"], check=True)
line = os.open("/dev/ttyS2", os.O_RDWR)


def ask(text, silence=3):
    """Sends the text, and returns what comes until the line has been silent for that many seconds."""
    os.write(line, text)
    came = b""
    while select.select([line], [], [], silence)[0]:
        came += os.read(line, 4096)
    return came.decode("latin-1")


ask(b"~\r")
print(json.dumps([ask(b"\x13XYZ\r"), ask(b"\x11")]))
