"""Runs in the guest and plays the chips of serial adapters behind the kernel's virtual USB host controller, so that the
real drivers have modem lines and line errors. The kernel speaks USB/IP at one end of a pair of sockets, and this module
at the other.

The owner of a Chip plays the far side of the line: it sets the modem lines, gives bytes, and sees each byte leave at
the line's speed. One thread serves both; time passes in wait().
"""
import select
import socket
import struct
import subprocess
import time

CTS, DSR, RING, RLSD = 0x10, 0x20, 0x40, 0x80  # bits of an FT232's first status byte
OVERRUN, PARITY, FRAMING, BREAK = 0x02, 0x04, 0x08, 0x10  # bits of its second status byte
TRANSMITTER_EMPTY = 0x60
TRANSMIT_BUFFER = 128
SUBMIT, UNLINK, SUBMITTED, UNLINKED = 1, 2, 3, 4
CONNECTION_RESET = -104  # the status of a transfer that the host took back

STRINGS = ["Trial", "Adapter", "CHIP"]


def device(usb, maker, product, version, packet=64, kind=0):
    return struct.pack("<BBHBBBBHHHBBBB", 18, 1, usb, kind, 0, 0, packet, maker, product, version, 1, 2, 3, 1)


def configuration(*interfaces):
    """interfaces: for each, its descriptor and all that belongs to it."""
    return struct.pack("<BBHBBBBB", 9, 2, 9 + sum(map(len, interfaces)), len(interfaces), 1, 0, 0x80, 50) + \
        b"".join(interfaces)


def interface(number, kind, *endpoints, extra=b""):
    return bytes([9, 4, number, 0, len(endpoints), *kind, 0]) + extra + b"".join(endpoints)


VENDOR = (255, 255, 255)
BULK_IN, BULK_OUT = (struct.pack("<BBBBHB", 7, 5, address, 2, 64, 0) for address in (0x81, 0x02))
INTERRUPT_IN = struct.pack("<BBBBHB", 7, 5, 0x83, 3, 16, 1)


def string_descriptor(index):
    text = struct.pack("<H", 0x409) if index == 0 else STRINGS[index - 1].encode("utf-16-le")
    return bytes([len(text) + 2, 3]) + text


class Chip:
    """What all chips have in common. A derived class has its descriptors and requests, and hands bytes and states over
    in its own way."""
    def __init__(self):
        self.modem = CTS | DSR | RLSD
        self.outputs = 0  # 1: DTR, 2: RTS
        self.flow = 0  # 1: RTS/CTS, 2: DTR/DSR, 4: XON/XOFF by the chip
        self.latency = 16
        self.baud = 9600.0
        self.transmit = b""  # taken from the host, not yet on the line
        self.receive = []  # packets for the host: errors, bytes
        self.status_sent = None
        self.sent_until = time.monotonic()  # the line is busy until then
        self.sent = bytearray()  # what has left on the line
        self.on_byte = None  # called after each byte that leaves
        self.controls = []  # the requests to the chip, in order
        self.control_time = 0  # of the last of them
        self.pending_in, self.pending_out, self.pending_states = [], [], []
        self.line, other = socket.socketpair()
        subprocess.run(["modprobe", "vhci-hcd"], check=True)
        with open("/sys/devices/platform/vhci_hcd.0/attach", "w") as attach:
            attach.write(f"0 {other.fileno()} 1 2")  # device 1, of 12 Mbit/s
        other.close()

    # --- the far side of the line ---

    def give(self, data, errors=0):
        """Gives the chip bytes that arrive from the line; the errors belong to the first of them."""
        for at in range(0, len(data), 62):
            self.receive.append((errors if at == 0 else 0, data[at:at + 62]))
        self.work()

    def set_line(self, line, on):
        self.modem = self.modem | line if on else self.modem & ~line
        self.work()

    def wait(self, seconds, until=lambda: False):
        """Serves the host for that long, or until something is true. Returns whether it is true."""
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
        self.hand_over()

    def hand_over(self):
        while self.pending_in and self.receive:
            _, data = self.receive.pop(0)
            self.answer(self.pending_in.pop(0)[0], 0, len(data), data)
        if self.pending_states and self.modem != self.status_sent:
            self.status_sent = self.modem
            packet = self.states()
            self.answer(self.pending_states.pop(0)[0], 0, len(packet), packet)

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

    def control(self, kind, request, value, index, length, data):
        """Returns the answer to a request, and None when there is no such request."""
        if kind == 0x80 and request == 6:
            texts = {1: self.device, 2: self.configuration}
            text = string_descriptor(value & 255) if value >> 8 == 3 else texts.get(value >> 8)
            return text[:length] if text else None
        if kind & 0x60 == 0:
            return bytes(length)
        if not kind & 0x80:
            self.controls.append((request, value, index))
            self.control_time = time.monotonic()
        reply = self.request(kind, request, value, index, data)
        return (reply + bytes(length))[:length]

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
        elif endpoint == 3:
            self.pending_states.append((number, length))
        elif endpoint == 2:
            self.pending_out.append((number, data, 0))
        else:
            reply = self.control(*struct.unpack("<BBHHH", head[40:48]), data)
            if reply is None:
                self.answer(number, -32, 0)
            else:
                self.answer(number, 0, len(reply) if is_in else length, reply if is_in else b"")

    def answer(self, number, status, count, data=b""):
        self.line.sendall(struct.pack(">5I5i8x", SUBMITTED, number, 0, 0, 0, status, count, 0, 0, 0) + data)

    def call_back(self, number, wanted):
        waiting = False
        for pending in (self.pending_in, self.pending_out, self.pending_states):
            waiting = waiting or any(entry[0] == wanted for entry in pending)
            pending[:] = [entry for entry in pending if entry[0] != wanted]
        self.line.sendall(struct.pack(">5Ii24x", UNLINKED, number, 0, 0, 0, CONNECTION_RESET if waiting else 0))


class Ft232(Chip):
    device = device(0x110, 0x0403, 0x6001, 0x400, packet=8)
    configuration = configuration(interface(0, VENDOR, BULK_IN, BULK_OUT))

    def status(self):
        return self.modem | 1, TRANSMITTER_EMPTY if not self.transmit else 0

    def hand_over(self):
        while self.pending_in and (self.receive or self.status() != self.status_sent):
            errors, data = self.receive.pop(0) if self.receive else (0, b"")
            self.status_sent = self.status()
            packet = bytes([self.status_sent[0], self.status_sent[1] | errors]) + data
            self.answer(self.pending_in.pop(0)[0], 0, len(packet), packet)

    def request(self, kind, request, value, index, _):
        if kind & 0x80:
            return {5: bytes(self.status()), 10: bytes([self.latency])}.get(request, b"")
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


def set_line(chip, kind, request, value, data):
    """Answers the requests of standard modems, which other chips have as well."""
    if request == 0x20 and len(data) >= 4:
        chip.baud = struct.unpack("<I", data[:4])[0] or 9600
    if request == 0x21 and kind & 0x80:
        return struct.pack("<IBBB", int(chip.baud), 0, 0, 8)
    if request == 0x22:
        chip.outputs = value & 3
    return b""


class CdcAcm(Chip):
    """A standard USB modem, which has no CTS."""
    device = device(0x200, 0x16c0, 0x05e1, 0x100, kind=2)
    configuration = configuration(
        interface(0, (2, 2, 1), INTERRUPT_IN,
                  extra=bytes([5, 36, 0, 16, 1, 5, 36, 1, 0, 1, 4, 36, 2, 2, 5, 36, 6, 0, 1])),
        interface(1, (10, 0, 0), BULK_IN, BULK_OUT))

    def states(self):
        state = (1 if self.modem & RLSD else 0) | (2 if self.modem & DSR else 0) | (8 if self.modem & RING else 0)
        return struct.pack("<BBHHHH", 0xa1, 0x20, 0, 0, 2, state)

    def request(self, kind, request, value, _, data):
        return set_line(self, kind, request, value, data)


class Pl2303(Chip):
    """A PL2303 HX."""
    device = device(0x110, 0x067b, 0x2303, 0x300)
    configuration = configuration(interface(0, VENDOR, INTERRUPT_IN, BULK_OUT, BULK_IN))

    def states(self):
        state = (1 if self.modem & RLSD else 0) | (2 if self.modem & DSR else 0) | (0x80 if self.modem & CTS else 0)
        return bytes(8) + bytes([state, 0])

    def request(self, kind, request, value, index, data):
        if kind & 0x60 == 0x40 and not kind & 0x80 and value == 0:
            self.flow = 1 if index & 0x40 else 0
        return set_line(self, kind, request, value, data) if kind & 0x60 == 0x20 else b""


class Cp210x(Chip):
    """A CP2102. The driver asks it for its states."""
    device = device(0x110, 0x10c4, 0xea60, 0x100)
    configuration = configuration(interface(0, VENDOR, BULK_IN, BULK_OUT))

    def request(self, kind, request, value, _, data):
        if kind & 0x80:
            return {0xff: b"\2", 0x08: bytes([self.modem]), 0x04: b"\0\x08",
                    0x10: struct.pack("<IIIIBBB", 0, 0, 0, len(self.transmit), 0, 0, 0)}.get(request, b"")
        if request == 0x1e:
            self.baud = struct.unpack("<I", data[:4])[0]
        if request == 0x13:
            self.flow = 1 if data[0] & 8 else 0
        if request == 0x12 and value & 3:
            self.transmit = b""
        if request == 0x07:
            self.outputs = self.outputs & ~(value >> 8) | value & (value >> 8) & 3
        return b""
