#!/usr/bin/python3
"""Serves and sends over device servers that others wrote: ser2net on a pseudo-terminal, as RFC 2217 and raw, and
pySerial's PortManager over a device whose modem lines drop and rise in mid-frame. Then on a network that loses all.

  network_peers.py PROGRAMS [HOLDS [WINDOWS]]   PROGRAMS: the folder of ncedl-console. HOLDS: 500 without it. WINDOWS:
                                                that of the Windows programs, which then run under Wine
  network_peers.py PROGRAMS SECONDS cut-off     only the last part, in the network of this process; SECONDS: how long a
                                                window stays closed
"""
import os
import random
import select
import shutil
import socket
import subprocess
import sys
import tempfile
import threading
import time
import tty

import serial.rfc2217

PROGRAMS = os.path.abspath(sys.argv[1])
COUNT = int(sys.argv[2]) if len(sys.argv) > 2 else 500
WINDOWS = os.path.abspath(sys.argv[3]) if len(sys.argv) > 3 else ""
WINE, WINE_SERVER = "/usr/lib/wine/wine64", "/usr/lib/wine/wineserver64"
# Below the ports that systems give to clients; another run on this computer most likely has others.
SER2NET_PORT, MANAGER_PORT = random.sample(range(20000, 32000), 2)


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
        windows = os.path.dirname(root) + "/windows"
        self.environment = {**os.environ, "HOME": root, "XDG_CONFIG_HOME": root + "/c", "NCEDL_DATA_DIR": root + "/d",
                            "WINEPREFIX": windows, "WINEDEBUG": "-all", "WINEDLLOVERRIDES": "mscoree=;mshtml="}
        settings = root + "/c"
        if WINDOWS:
            subprocess.run([WINE, "wineboot", "-i"], env=self.environment, check=True, stderr=subprocess.DEVNULL)
            user = next(name for name in os.listdir(windows + "/drive_c/users") if name != "Public")
            settings = f"{windows}/drive_c/users/{user}/AppData/Roaming"
        self.run("ncedl-setup", "--main", root + "/main", "--port", "COM1=" + address)
        os.makedirs(settings + "/Velmora/Plenova 2026", exist_ok=True)
        with open(settings + "/Velmora/Plenova 2026/NCE.INI", "w") as file:
            file.write(f"[Port Settings]\nport=COM1\nbaudrate={baud}\nflow control={flow}\ntransmit delay=0\n"
                       f"[Files]\nfile extension=MPG\nupload path={root}/nc/\ndownload path={root}/nc/\n")
        self.console = subprocess.Popen(self.program("ncedl-console"), env=self.environment, stdin=subprocess.PIPE,
                                        stdout=open(root + "/log", "wb"), stderr=subprocess.STDOUT)

    def program(self, name):
        return [WINE, f"{WINDOWS}/{name}.exe"] if WINDOWS else [PROGRAMS + "/" + name]

    def run(self, name, *arguments):
        done = subprocess.run([*self.program(name), *arguments], env=self.environment, capture_output=True, text=True)
        if done.returncode != 0:
            raise SystemExit(f"network-peers: {name} {arguments}: {done.returncode}\n{done.stdout}{done.stderr}")
        return done.stdout + done.stderr

    def type(self, line):
        self.console.stdin.write(line.encode() + b"\n")
        self.console.stdin.flush()

    def log(self):
        with open(self.root + "/log", encoding="utf-8") as file:
            return file.read()

    def expect(self, text, times=1, seconds=30):
        wait_for(text, lambda: self.log().count(text) >= times, seconds, self.log)

    def expect_refusal(self, address, reason):
        """A second program is told so. By another name of the server: that of this PC's own knows of the first."""
        self.run("ncedl-setup", "--port", "COM2=" + address)
        told = self.run("ncedl-setup", "--list", "--probe")
        # Windows drops what a server said when it then resets the connection.
        check(reason in told or (WINDOWS and "reset by peer" in told), f"a second client is told {told}")

    def quit(self):
        self.type("quit")
        begun = time.monotonic()
        if self.console.wait(5) != 0:
            raise SystemExit("network-peers: the console did not end well")
        return time.monotonic() - begun


def check(holds, what):
    if not holds:
        raise SystemExit("network-peers: " + what)


# --- ser2net ---


def start_ser2net(root, protocol, line):
    with open(root + "/ser2net.yaml", "w") as file:
        file.write(f"connection: &line\n  accepter: {protocol},127.0.0.1,{SER2NET_PORT}\n"
                   f"  connector: serialdev,{line},9600n81,local\n")
    server = subprocess.Popen(["ser2net", "-n", "-d", "-c", root + "/ser2net.yaml"], stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL)
    wait_for("ser2net", lambda: socket.socket().connect_ex(("127.0.0.1", SER2NET_PORT)) == 0)
    time.sleep(0.2)  # it is through with the connection that only looked
    return server


def try_ser2net(root, protocol, scheme):
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
    server = start_ser2net(root, protocol, root + "/line")
    try:
        host = Host(root, f"{scheme}://127.0.0.1:{SER2NET_PORT}", 9600, "Xon/Xoff")
        with open(program, "w") as file:
            file.writelines(f"N{i} X{i * 37 % 999}\n" for i in range(300))
        host.expect("1 Waiting...")
        check("in use" in host.run("ncedl-setup", "--list", "--probe").lower(), "a line in use was probed")
        host.expect_refusal(f"{scheme}://localhost:{SER2NET_PORT}", "Port already in use")
        order(f"fetch 1 --compare {program}", "frames, equal")
        order(f"send {program} --number 7 --read-back", "read back equal")
        lost, served = (host.log().count(text) + 1 for text in ("0 No Link", "1 Waiting..."))
        server.kill()
        server.wait()
        host.expect("0 No Link", lost)
        server = start_ser2net(root, protocol, root + "/line")
        host.expect("1 Waiting...", served)
        order(f"fetch 1 --compare {program}", "frames, equal", 2)
        host.quit()
        answers = "ser2net" if scheme == "rfc2217" else "answers"
        check(answers in host.run("ncedl-setup", "--list", "--probe"), "the server does not tell who it is")
        print(f"ser2net, {scheme}: served, lost and served again; a second client is told why")
    finally:
        for process in (controller, server, host and host.console):
            if process:
                process.kill()


# --- A controller's end of a line that is held in mid-frame ---


class Device:
    """A serial port that takes bytes at its speed and stops within a byte, as a UART with RTS/CTS does."""

    def __init__(self):
        self.baudrate, self.bytesize, self.parity, self.stopbits = 115200, 8, "N", 1
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

    def taken(self):
        with self.lock:
            return len(self.queue) + len(self.sent)

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

    def run(self, read, write):
        """Asks for the next frame when the line has carried one, until read returns None."""
        last, due = time.monotonic(), 0
        while (data := read()) is not None:
            with self.lock:
                self.queue += data
            now = time.monotonic()
            due += self.turn(now - last)
            if due and self.dsr:  # "Hardware" ignores what comes while DSR is off
                write(b">\r" * due)
                due = 0
            last = now


def text_of(frame):
    """The text between length and checksum, both right."""
    size = int(frame[:2], 16)
    body, checksum = frame[2:2 + size], 0
    for character in body:
        checksum ^= ord(character)
    check(frame[2 + size:] == f"{checksum:02X}", f"a frame is damaged: {frame}")
    return body.replace("!", "\n")


def text_in(sent):
    frames = sent.decode("latin-1").split("]")[0].split("UDL>")[0].split("\r")
    return "".join(text_of(frame) for frame in frames if frame)


def send_with_holds(host, device, ask, hold):
    """Sends a program through that many holds. hold(number, is_on); how many bytes came in one at most."""
    content = "".join(f"N{i} X{i * 7919 % 100003}\n" for i in range(COUNT * 30))
    with open(host.root + "/nc/1.MPG", "w") as file:
        file.write(content)
    host.type(f"send {host.root}/nc/1.MPG")
    host.expect("12 Downloading")
    time.sleep(1.2)  # a server that does not answer PURGE-DATA has its input dropped for a second
    ask(b">\r")
    wait_for("the first byte", lambda: device.sent)
    most = 0
    for number in range(COUNT):
        before = len(device.sent)
        wait_for("progress", lambda: len(device.sent) > before)
        hold(number, True)
        before = device.taken()
        time.sleep(0.03)
        most = max(most, device.taken() - before)
        before = device.taken()
        time.sleep(0.02)
        check(device.taken() == before, f"{device.taken() - before} bytes came late in a hold")
        hold(number, False)
    host.expect("18 Download Completed")
    wait_for("the rest", lambda: device.sent.endswith(b"\r") and len(device.sent) >= len(content))
    time.sleep(0.5)  # more than the rest would be a fault
    sent = text_in(device.sent)
    check(sent == content, f"{len(sent)} bytes of {len(content)} came, or others")
    return most


def try_raw_holds(root):
    """XOFF and XON through a server that only passes bytes on."""
    os.makedirs(root)
    device = Device()
    device.baudrate = 19200  # so slow that the holds come in mid-frame
    end, line = os.openpty()
    tty.setraw(line)
    server = start_ser2net(root, "tcp", os.ttyname(line))
    host = Host(root, f"tcp://127.0.0.1:{SER2NET_PORT}", device.baudrate, "Xon/Xoff")
    threading.Thread(target=device.run, daemon=True, args=(
        lambda: os.read(end, 1024) if select.select([end], [], [], 0.002)[0] else b"",
        lambda data: os.write(end, data))).start()
    try:
        host.expect("1 Waiting...")
        most = send_with_holds(host, device, lambda data: os.write(end, data),
                               lambda _, is_on: os.write(end, b"\x13" if is_on else b"\x11"))
        host.quit()
        print(f"ser2net, raw: {COUNT} holds by XOFF, nothing lost or doubled; at most {most} bytes came in one")
    finally:
        server.kill()
        host.console.kill()


# --- pySerial ---


class Connection:
    def __init__(self, peer):
        self.peer = peer

    def write(self, data):
        self.peer.sendall(data)


def serve(listener, device, ready):
    peer, _ = listener.accept()
    peer.settimeout(0.002)
    manager = serial.rfc2217.PortManager(device, Connection(peer))
    ready.append(manager)

    def read():
        try:
            data = peer.recv(1024)
            return b"".join(manager.filter(data)) if data else None
        except TimeoutError:
            return b""
        except ConnectionError:
            return None

    device.run(read, lambda data: peer.sendall(b"".join(manager.escape(data))))


def try_port_manager(root):
    os.makedirs(root)
    device, ready = Device(), []
    device.baudrate = 9600
    listener = socket.create_server(("127.0.0.1", MANAGER_PORT))
    threading.Thread(target=serve, args=(listener, device, ready), daemon=True).start()
    host = Host(root, f"rfc2217://127.0.0.1:{MANAGER_PORT}", 115200, "Hardware")

    def hold(number, is_on):
        setattr(device, ("cts", "dsr", "cd")[number % 3], not is_on)
        ready[0].check_modem_lines()

    try:
        host.expect("1 Waiting...")
        check((device.baudrate, device.rtscts, device.dtr, device.rts) == (115200, True, True, True), "settings")
        host.expect_refusal(f"rfc2217://localhost:{MANAGER_PORT}", "The server doesn't answer")
        most = send_with_holds(host, device, lambda data: ready[0].connection.write(data), hold)
        host.quit()
        print(f"pySerial: {COUNT} holds, nothing lost or doubled; at most {most} bytes came in one")
    finally:
        host.console.kill()


# --- A network that loses everything ---


def run(command):
    subprocess.run(command.split(), check=True)


def try_cut_off(root):
    run("ip link set lo up")
    os.makedirs(root + "/nc")
    listener = socket.socket()
    listener.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1)  # the least that the system has
    listener.bind(("127.0.0.1", MANAGER_PORT))
    listener.listen()
    listener.settimeout(20)
    host = Host(root, f"tcp://127.0.0.1:{MANAGER_PORT}", 115200, "None")
    content = "".join(f"N{i} X{i * 7919 % 100003}\n" for i in range(3000))
    with open(root + "/nc/1.MPG", "w") as file:
        file.write(content)

    def connect(times):
        peer, _ = listener.accept()
        host.expect("1 Waiting...", times)
        return peer

    def send_into_closed_window(peer, times, seconds):
        host.type(f"send {root}/nc/1.MPG")
        host.expect("12 Downloading", times)
        peer.sendall(b">\r" * 1000)  # far more frames than the window takes
        time.sleep(seconds)

    def cut_off():
        begun, losses = time.monotonic(), host.log().count("0 No Link")
        run("ip link set lo down")
        host.expect("0 No Link", losses + 1, 6)
        return time.monotonic() - begun

    try:
        peer = connect(1)
        idle = cut_off()
        run("ip link set lo up")
        peer = connect(2)
        send_into_closed_window(peer, 1, COUNT)
        check(host.log().count("1 Waiting...") == 2, "a closed window ended the line")
        sent = b""
        while "18 Download Completed" not in host.log() or select.select([peer], [], [], 0.5)[0]:
            sent += peer.recv(4096)
        check(text_in(sent) == content, "what waited for the window came otherwise")
        send_into_closed_window(peer, 2, COUNT)
        closed = cut_off()
        run("tc qdisc add dev lo root tbf rate 1mbit burst 1 latency 1ms")  # takes no packet
        run("ip link set lo up")
        host.quit()
        host = Host(root, f"tcp://127.0.0.1:{MANAGER_PORT}", 115200, "None")
        host.expect("0 No Link")
        host.expect("Connection timed out")
        print(f"cut off: missed after {idle:.1f} s, and after {closed:.1f} s with a window closed for {COUNT} s")
        check(host.quit() < 1, "the end waited for a server that can't be reached")
    finally:
        host.console.kill()


def end_wine(prefix):
    """Its server ends, and the folder of the server's sockets goes, which lies outside the prefix."""
    subprocess.run([WINE_SERVER, "-k"], env={**os.environ, "WINEPREFIX": prefix})
    with open(prefix + "/wineserver", encoding="ascii") as file:
        shutil.rmtree("/tmp/" + file.read().strip(), ignore_errors=True)


with tempfile.TemporaryDirectory() as folder:
    if sys.argv[3:] == ["cut-off"]:
        WINDOWS = ""
        try_cut_off(folder + "/cut-off")
        raise SystemExit
    try:
        try_ser2net(folder + "/ser2net", "telnet(rfc2217),tcp", "rfc2217")
        try_ser2net(folder + "/raw", "tcp", "tcp")
        try_raw_holds(folder + "/holds")
        try_port_manager(folder + "/manager")
    finally:
        if WINDOWS:
            end_wine(folder + "/windows")
if not WINDOWS:
    # As no user of this system, which gives it a network of its own. 8 s: longer than a silent server is borne.
    raise SystemExit(subprocess.run(["unshare", "-rn", sys.executable, __file__, PROGRAMS, "8", "cut-off"]).returncode)
