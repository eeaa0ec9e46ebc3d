"""Runs in the guest: an FT232B behind the kernel's virtual USB host controller, so that the real driver, ftdi_sio, has
modem lines and line errors. The kernel speaks USB/IP on one end of a pair of sockets; this is the other end.

The far side of the line is the owner of a Chip: it sets the modem lines, gives bytes, and sees each byte leave at the
line's speed. One thread serves both; wait() is where time passes.
"""
import select
import socket
import struct
import subprocess
import time

CTS, DSR, RING, RLSD = 0x10, 0x20, 0x40, 0x80  # of the first status byte
OVERRUN, PARITY, FRAMING, BREAK = 0x02, 0x04, 0x08, 0x10  # of the second
TRANSMITTER_EMPTY = 0x60
TRANSMIT_BUFFER = 128
SUBMIT, UNLINK, SUBMITTED, UNLINKED = 1, 2, 3, 4
CONNECTION_RESET = -104  # the status of a transfer that was called back

DEVICE = struct.pack("<BBHBBBBHHHBBBB", 18, 1, 0x110, 0, 0, 0, 8, 0x0403, 0x6001, 0x400, 1, 2, 3, 1)
CONFIGURATION = (struct.pack("<BBHBBBBB", 9, 2, 32, 1, 1, 0, 0x80, 50) + bytes([9, 4, 0, 0, 2, 255, 255, 255, 0])
                 + struct.pack("<BBBBHB", 7, 5, 0x81, 2, 64, 0) + struct.pack("<BBBBHB", 7, 5, 0x02, 2, 64, 0))
STRINGS = ["Trial", "Adapter", "CHIP"]


def string_descriptor(index):
    text = struct.pack("<H", 0x409) if index == 0 else STRINGS[index - 1].encode("utf-16-le")
    return bytes([len(text) + 2, 3]) + text


class Chip:
    def __init__(self):
        self.modem = CTS | DSR | RLSD
        self.outputs = 0  # 1: DTR, 2: RTS
        self.flow = 0  # 1: RTS/CTS, 2: DTR/DSR, 4: XON/XOFF by the chip
        self.latency = 16
        self.baud = 9600.0
        self.transmit = b""  # taken from the host, not yet on the line
        self.receive = []  # packets for the host: second status byte, bytes
        self.status_sent = None
        self.sent_until = time.monotonic()  # the line is busy until then
        self.sent = bytearray()  # what has left on the line
        self.on_byte = None  # called after each byte that leaves
        self.controls = []  # the requests to the chip, in order
        self.control_time = 0  # of the last of them
        self.pending_in, self.pending_out = [], []
        self.line, other = socket.socketpair()
        subprocess.run(["modprobe", "vhci-hcd"], check=True)
        with open("/sys/devices/platform/vhci_hcd.0/attach", "w") as attach:
            attach.write(f"0 {other.fileno()} 1 2")
        other.close()

    # --- the far side of the line ---

    def give(self, data, errors=0):
        """Bytes that arrive from the line; errors go with the first."""
        for at in range(0, len(data), 62):
            self.receive.append((errors if at == 0 else 0, data[at:at + 62]))
        self.work()

    def set_line(self, line, on):
        self.modem = self.modem | line if on else self.modem & ~line
        self.work()

    def wait(self, seconds, until=lambda: False):
        """Serves the host for that long, or until something is true; whether it is."""
        end = time.monotonic() + seconds
        while not until():
            left = end - time.monotonic()
            if left <= 0:
                return False
            pause = 0.001 if self.transmit and not self.is_held() else min(left, 0.1)
            if select.select([self.line], [], [], pause)[0]:
                self.take_transfer()
            self.work()
        return True

    def is_held(self):
        return bool(self.flow & 1 and not self.modem & CTS or self.flow & 2 and not self.modem & DSR)

    # --- the chip ---

    def work(self):
        self.send_on_line()
        while self.pending_out and len(self.transmit) < TRANSMIT_BUFFER:
            number, data, taken = self.pending_out[0]
            piece = data[taken:taken + TRANSMIT_BUFFER - len(self.transmit)]
            self.transmit += piece
            self.pending_out[0] = number, data, taken + len(piece)
            if taken + len(piece) == len(data):
                self.pending_out.pop(0)
                self.answer(number, 0, len(data))
        while self.pending_in and (self.receive or self.status() != self.status_sent):
            number, _ = self.pending_in.pop(0)
            errors, data = self.receive.pop(0) if self.receive else (0, b"")
            status = self.status()
            self.status_sent = status
            packet = bytes([status[0], status[1] | errors]) + data
            self.answer(number, 0, len(packet), packet)

    def status(self):
        return self.modem | 1, TRANSMITTER_EMPTY if not self.transmit else 0

    def send_on_line(self):
        now = time.monotonic()
        while self.transmit and not self.is_held():
            if self.sent_until + 10 / self.baud > now:
                return
            self.sent_until += 10 / self.baud
            self.sent.append(self.transmit[0])
            self.transmit = self.transmit[1:]
            if self.on_byte:
                self.on_byte()
        self.sent_until = now  # nothing was on the line meanwhile

    def control(self, kind, request, value, index, length):
        if kind == 0x80 and request == 6:
            texts = {1: DEVICE, 2: CONFIGURATION}
            text = string_descriptor(value & 255) if value >> 8 == 3 else texts.get(value >> 8)
            return text[:length] if text else None
        if kind & 0x60 == 0x40:
            return self.vendor(kind, request, value, index)
        return b"\0\0"[:length]

    def vendor(self, kind, request, value, index):
        if kind & 0x80:
            return {5: bytes(self.status()), 10: bytes([self.latency])}.get(request, b"\0\0")
        self.controls.append((request, value, index))
        self.control_time = time.monotonic()
        if request == 0 and value in (0, 2):
            self.transmit = b""
        if request == 1:
            self.outputs = self.outputs & ~(value >> 8) | value & (value >> 8)
        if request == 2:
            self.flow = index >> 8
        if request == 3:
            eighths = (0, 4, 2, 1, 3, 5, 6, 7)[value >> 14 | (index & 1) << 2]
            self.baud = 3e6 / ((value & 0x3fff) + eighths / 8 or 1)
        if request == 9:
            self.latency = value
        return b""

    # --- USB/IP ---

    def take_exactly(self, count):
        data = b""
        while len(data) < count:
            piece = self.line.recv(count - len(data))
            if not piece:
                raise EOFError("the kernel has closed the line")
            data += piece
        return data

    def take_transfer(self):
        head = self.take_exactly(48)
        command, number, _, is_in, endpoint = struct.unpack(">5I", head[:20])
        if command == UNLINK:
            return self.call_back(number, *struct.unpack(">I", head[20:24]))
        length = struct.unpack(">i", head[24:28])[0]
        data = b"" if is_in else self.take_exactly(length)
        if endpoint == 1:
            self.pending_in.append((number, length))
        elif endpoint == 2:
            self.pending_out.append((number, data, 0))
        else:
            reply = self.control(*struct.unpack("<BBHHH", head[40:48]))
            if reply is None:
                self.answer(number, -32, 0)
            else:
                self.answer(number, 0, len(reply) if is_in else length, reply if is_in else b"")

    def answer(self, number, status, count, data=b""):
        self.line.sendall(struct.pack(">5I5i8x", SUBMITTED, number, 0, 0, 0, status, count, 0, 0, 0) + data)

    def call_back(self, number, wanted):
        waiting = [entry for entry in self.pending_in + self.pending_out if entry[0] == wanted]
        self.pending_in = [entry for entry in self.pending_in if entry[0] != wanted]
        self.pending_out = [entry for entry in self.pending_out if entry[0] != wanted]
        self.line.sendall(struct.pack(">5Ii24x", UNLINKED, number, 0, 0, 0, CONNECTION_RESET if waiting else 0))
