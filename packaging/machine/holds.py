"""Runs in the guest while the service TRIAL serves the emulated chip. It tries every hold under every flow control, and
with an FT232 also the line errors, the modem outputs and the rates. It prints its findings as JSON.
  holds.py CHIP    a class of chips.py
"""
import json
import sys
import time

import chips

FIFO = "/run/ncedl/TRIAL.commands"
RATE = 2400  # slow, so that the cost of the emulation matters little
PROGRAM = b"0000555"
HOLDS = {"Xon/Xoff": ("XOFF",), "Hardware": ("CTS", "DSR"), "Combined": ("XOFF", "CTS", "DSR")}


class Trial:
    def __init__(self):
        self.chip = getattr(chips, sys.argv[1])()

    def tell(self, command, wait):
        with open(FIFO, "w") as fifo:
            fifo.write(command + "\n")
        self.chip.wait(wait)

    def set(self, key, value):
        """Changes a setting. The port is then opened anew and sets up the chip. A transfer would be in the way, so it
        is ended first."""
        self.ask(b"~\r")
        before = len(self.chip.controls)
        self.tell(f"set {key} {value}", 0)
        if not self.chip.wait(30, lambda: len(self.chip.controls) > before):
            raise SystemExit(f"the port isn't opened for {key} {value}")
        self.settle()

    def settle(self):
        """Waits until the port sends the chip no more settings."""
        self.chip.wait(20, lambda: time.monotonic() - self.chip.control_time > 2)

    def ask(self, text, seconds=60):
        """Returns the host's reply, up to its line end. A late reply to an earlier request is dropped first."""
        while self.chip.transmit:
            self.chip.wait(1)
        del self.chip.sent[:]
        self.chip.give(text)
        self.chip.wait(seconds, lambda: self.chip.sent.endswith(b"\r"))
        return bytes(self.chip.sent)

    def begin(self):
        """Asks for the program, up to the point where the next ">" brings the first frame."""
        self.ask(b"~\r")
        self.chip.wait(3)
        first = self.ask(b"FH " + PROGRAM + b"\r")
        second = self.ask(b">\r")
        if b"&LP" not in first or b"&FH" not in second:
            raise SystemExit(f"no download: {first} {second}")

    def frame(self, hold=None, after=10):
        """Fetches a frame. Returns it, how many of its bytes left after the hold, and the seconds that it took."""
        chip, at = self.chip, {}

        def on_byte():
            if len(chip.sent) == after and hold and not at:
                at["held"] = time.monotonic()
                self.hold(hold, True)

        del chip.sent[:]
        chip.on_byte = on_byte
        began = time.monotonic()
        chip.give(b">\r")
        if hold:
            chip.wait(20, lambda: bool(at))
            chip.wait(1.5)
        left = len(chip.sent) - after
        self.hold(hold, False)
        chip.wait(60, lambda: chip.sent.endswith(b"\r"))
        chip.on_byte = None
        return bytes(chip.sent), left, time.monotonic() - began

    def hold(self, which, on):
        if which == "XOFF":
            self.chip.give(b"\x13" if on else b"\x11")
        elif which:
            self.chip.set_line({"CTS": chips.CTS, "DSR": chips.DSR}[which], not on)


def is_whole(frame):
    """Returns whether length, block and checksum fit, as the controller checks them."""
    text = frame.rstrip(b"\r").decode("ascii", "replace")
    for digits in (2, 3, 4):
        block = text[digits:-2]
        if text[:digits] == f"{len(block):0{digits}X}":
            checksum = 0
            for character in block:
                checksum ^= ord(character)
            return f"{checksum:02X}" == text[-2:]
    return False


def try_holds(trial, found):
    for flow, holds in HOLDS.items():
        trial.set("flow-control", flow)
        for hold in holds:
            if hold == "CTS" and isinstance(trial.chip, chips.CdcAcm):
                continue
            trial.begin()
            frame, left, _ = trial.frame(hold)
            found["holds"].append({"flow": flow, "hold": hold, "after": left, "frame": len(frame),
                                   "whole": is_whole(frame)})


def try_speed(trial, found):
    """Measures the share of the line's time that a frame uses, with pieces and without."""
    for flow in ("None", "Xon/Xoff"):
        trial.set("flow-control", flow)
        shares = []
        for _ in range(3):
            trial.begin()
            frame, _, seconds = trial.frame()
            shares.append(len(frame) * 10 / trial.chip.baud / seconds)
        found["speed"][flow] = round(max(shares), 3)


def try_errors(trial, found):
    for error, name in ((chips.FRAMING, "framing"), (chips.PARITY, "parity"), (chips.OVERRUN, "overrun")):
        for _ in range(3):
            trial.chip.give(b"x", error)
            trial.chip.wait(0.2)
        found["errors"].append(name)
    trial.chip.give(b"\0", chips.BREAK)
    trial.tell("status", 2)


def try_rates(trial, found):
    trial.ask(b"~\r")
    for rate in (110, 150, 300, 115200, RATE):
        trial.tell(f"set baudrate {rate}", 4)
        found["rates"][rate] = round(trial.chip.baud)


def try_outputs(trial, found):
    trial.set("flow-control", "Hardware")
    found["outputs"]["Hardware"] = trial.chip.outputs, trial.chip.flow
    for switch in ("rts", "dtr"):
        trial.tell(f"{switch} off", 3)
        found["outputs"][f"{switch} off"] = trial.chip.outputs, trial.chip.flow
        trial.tell(f"{switch} on", 3)


def main():
    trial = Trial()
    found = {"holds": [], "speed": {}, "errors": [], "rates": {}, "outputs": {}}
    trial.chip.wait(60, lambda: trial.chip.controls)
    trial.settle()
    trial.set("baudrate", RATE)
    trial.set("transmit-delay", 0)
    parts = (try_speed, try_errors, try_rates, try_outputs) if isinstance(trial.chip, chips.Ft232) else ()
    for part in (try_holds, *parts):
        print(part.__name__, found, file=sys.stderr)
        part(trial, found)
    found["latency"] = trial.chip.latency
    print(json.dumps(found))


main()
