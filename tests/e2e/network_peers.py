#!/usr/bin/python3
"""Serves and sends over device servers that others wrote: ser2net on a pseudo-terminal, and pySerial's
PortManager over a device whose modem lines drop and rise in mid-frame.

  network_peers.py PROGRAMS [HOLDS]     PROGRAMS: the folder of ncedl-console; a command before it
                                        runs it, such as wine. HOLDS: 500 without it
"""
import os
import socket
import subprocess
import sys
import tempfile
import threading
import time

import serial.rfc2217

PROGRAMS = os.path.abspath(sys.argv[1])
HOLDS = int(sys.argv[2]) if len(sys.argv) > 2 else 500
SER2NET_PORT, MANAGER_PORT = 47301, 47302


def wait_for(what, holds, seconds=30, instead=str):
    end = time.monotonic() + seconds
    while not holds():
        if time.monotonic() > end:
            raise SystemExit(f"network-peers: {what} did not come {instead()}")
        time.sleep(0.005)


class Host:
    """ncedl-console in a folder of its own, on one line."""

    def __init__(self, root, address, baud, flow):
        self.root = root
        os.makedirs(root + "/nc", exist_ok=True)
        self.environment = {**os.environ, "HOME": root, "XDG_CONFIG_HOME": root + "/c", "NCEDL_DATA_DIR": root + "/d"}
        self.run("ncedl-setup", "--main", root + "/main", "--port", "COM1=" + address)
        with open(root + "/c/Velmora/Plenova 2026/NCE.INI", "w") as file:
            file.write(f"[Port Settings]\nport=COM1\nbaudrate={baud}\nflow control={flow}\ntransmit delay=0\n"
                       f"[Files]\nfile extension=MPG\nupload path={root}/nc/\ndownload path={root}/nc/\n")
        self.console = subprocess.Popen([PROGRAMS + "/ncedl-console"], env=self.environment, stdin=subprocess.PIPE,
                                        stdout=open(root + "/log", "wb"), stderr=subprocess.STDOUT)

    def run(self, name, *arguments, expect=0):
        done = subprocess.run([PROGRAMS + "/" + name, *arguments], env=self.environment, capture_output=True, text=True)
        if done.returncode != expect:
            raise SystemExit(f"network-peers: {name} {arguments}: {done.returncode}\n{done.stdout}{done.stderr}")
        return done.stdout + done.stderr

    def type(self, line):
        self.console.stdin.write(line.encode() + b"\n")
        self.console.stdin.flush()

    def log(self):
        with open(self.root + "/log", encoding="utf-8") as file:
            return file.read()

    def expect(self, text, times=1):
        wait_for(text, lambda: self.log().count(text) >= times)

    def quit(self):
        self.type("quit")
        if self.console.wait(5) != 0:
            raise SystemExit("network-peers: the console did not end well")


def check(holds, what):
    if not holds:
        raise SystemExit("network-peers: " + what)


# --- ser2net ---


def start_ser2net(root):
    with open(root + "/ser2net.yaml", "w") as file:
        file.write(f"connection: &line\n  accepter: telnet(rfc2217),tcp,127.0.0.1,{SER2NET_PORT}\n"
                   f"  connector: serialdev,{root}/line,9600n81,local\n")
    server = subprocess.Popen(["ser2net", "-n", "-d", "-c", root + "/ser2net.yaml"], stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL)
    wait_for("ser2net", lambda: socket.socket().connect_ex(("127.0.0.1", SER2NET_PORT)) == 0)
    time.sleep(0.2)  # it is through with the connection that only looked
    return server


def try_ser2net(root):
    os.makedirs(root)
    program = root + "/nc/1.MPG"
    host = None
    controller = subprocess.Popen([PROGRAMS + "/nce-controller", "--pty", root + "/line", "--baud", "9600", "run", "-"],
                                  stdin=subprocess.PIPE, stdout=open(root + "/controller", "wb"),
                                  stderr=subprocess.STDOUT)

    def order(line, answer, times=1):
        controller.stdin.write(line.encode() + b"\n")
        controller.stdin.flush()
        wait_for(line, lambda: open(root + "/controller").read().count(answer) == times, 25,
                 lambda: open(root + "/controller").read())

    wait_for("the line", lambda: os.path.exists(root + "/line"))
    server = start_ser2net(root)
    try:
        host = Host(root, f"rfc2217://127.0.0.1:{SER2NET_PORT}", 9600, "Xon/Xoff")
        with open(program, "w") as file:
            file.writelines(f"N{i} X{i * 37 % 999}\n" for i in range(300))
        host.expect("1 Waiting...")
        check("in use" in host.run("ncedl-setup", "--list", "--probe").lower(), "a line in use was probed")
        order(f"fetch 1 --compare {program}", "frames, equal")
        order(f"send {program} --number 7 --read-back", "read back equal")
        server.kill()
        server.wait()
        host.expect("0 No Link", 2)  # one while it connected
        server = start_ser2net(root)
        host.expect("1 Waiting...", 2)
        order(f"fetch 1 --compare {program}", "frames, equal", 2)
        host.quit()
        check("ser2net" in host.run("ncedl-setup", "--list", "--probe"), "the signature is missing")
        print("ser2net: served, lost and served again")
    finally:
        for process in (controller, server, host and host.console):
            if process:
                process.kill()


# --- pySerial ---


class Device:
    """A serial port that takes bytes at its speed and stops within a byte, as a UART with RTS/CTS does."""

    def __init__(self):
        self.baudrate, self.bytesize, self.parity, self.stopbits = 9600, 8, "N", 1
        self.rtscts = self.xonxoff = self.dtr = self.rts = self.break_condition = False
        self.cts = self.dsr = self.cd = True
        self.ri = False
        self.queue, self.sent = bytearray(), bytearray()
        self.lock = threading.RLock()

    def reset_input_buffer(self):
        pass

    def reset_output_buffer(self):
        with self.lock:
            self.queue.clear()

    def turn(self, seconds):
        """What the line carries meanwhile; the frames that have ended."""
        with self.lock:
            if not (self.cts and self.dsr and self.cd):
                return 0
            count = int(seconds * self.baudrate / 10)
            frames = self.queue[:count].count(b"\r")
            self.sent += self.queue[:count]
            del self.queue[:count]
            return frames


class Connection:
    def __init__(self, peer):
        self.peer = peer

    def write(self, data):
        self.peer.sendall(data)


def text_of(frame):
    """The text between length and checksum, both right."""
    size = int(frame[:2], 16)
    body, checksum = frame[2:2 + size], 0
    for character in body:
        checksum ^= ord(character)
    check(frame[2 + size:] == f"{checksum:02X}", f"a frame is damaged: {frame}")
    return body.replace("!", "\n")


def serve(listener, device, ready):
    peer, _ = listener.accept()
    peer.settimeout(0.002)
    manager = serial.rfc2217.PortManager(device, Connection(peer))
    ready.append(manager)
    last, due = time.monotonic(), 0
    while True:
        try:
            data = peer.recv(1024)
            if not data:
                return
            with device.lock:
                device.queue += b"".join(manager.filter(data))
        except TimeoutError:
            pass
        except ConnectionError:
            return
        now = time.monotonic()
        due += device.turn(now - last)
        if due and device.dsr:  # "Hardware" ignores what comes while DSR is off
            peer.sendall(b"".join(manager.escape(b">\r" * due)))
            due = 0
        last = now


def try_port_manager(root):
    os.makedirs(root)
    device, ready = Device(), []
    listener = socket.create_server(("127.0.0.1", MANAGER_PORT))
    threading.Thread(target=serve, args=(listener, device, ready), daemon=True).start()
    host = Host(root, f"rfc2217://127.0.0.1:{MANAGER_PORT}", 115200, "Hardware")
    try:
        host.expect("1 Waiting...")
        check((device.baudrate, device.rtscts, device.dtr, device.rts) == (115200, True, True, True), "settings")
        content = "".join(f"N{i} X{i * 7919 % 100003}\n" for i in range(HOLDS * 30))
        with open(root + "/nc/1.MPG", "w") as file:
            file.write(content)
        host.type(f"send {root}/nc/1.MPG")
        host.expect("12 Downloading")
        time.sleep(1.2)  # a server that does not answer PURGE-DATA has its input dropped for a second
        ready[0].connection.write(b">\r")
        wait_for("the first byte", lambda: device.sent)
        most = 0
        for hold in range(HOLDS):
            line = ("cts", "dsr", "cd")[hold % 3]
            before = len(device.sent)
            wait_for("progress", lambda: len(device.sent) > before)
            setattr(device, line, False)
            ready[0].check_modem_lines()
            time.sleep(0.03)
            with device.lock:
                most = max(most, len(device.queue))
            setattr(device, line, True)
            ready[0].check_modem_lines()
        host.expect("18 Download Completed")
        wait_for("the rest", lambda: device.sent.endswith(b"\r") and len(device.sent) >= len(content))
        time.sleep(0.5)  # more than the rest would be a fault
        frames = device.sent.decode("latin-1").split("]")[0].split("UDL>")[0].split("\r")
        sent = "".join(text_of(frame) for frame in frames if frame)
        check(sent == content, f"{len(sent)} bytes of {len(content)} came, or others")
        host.quit()
        print(f"pySerial: {HOLDS} holds, nothing lost or doubled; at most {most} bytes were on their way in one")
    finally:
        host.console.kill()


with tempfile.TemporaryDirectory() as folder:
    try_ser2net(folder + "/ser2net")
    try_port_manager(folder + "/manager")
