"""A Debian 12 in QEMU: its file system, which is made once and kept in the cache folder, and the running machine.

The guest has these serial lines, none of which needs anything outside QEMU:
  ttyS0      the kernel's console, written to the file "console" in the work folder
  ttyS1      joined with ttyS2
  ttyUSB...  the adapter, an FTDI chip to the guest, joined with ttyS3; plug() and pull() move it
"""
import json
import os
import shutil
import socket
import subprocess
import time
from pathlib import Path

CACHE = Path(os.environ.get("XDG_CACHE_HOME", Path.home() / ".cache")) / "ncedl-machine"
HERE = Path(__file__).parent
PACKAGES = ("systemd,systemd-sysv,udev,dbus,kmod,procps,e2fsprogs,linux-image-amd64,initramfs-tools,"
            "python3-minimal,libpython3-stdlib,modemmanager,eatmydata")
DATA_SIZE = 48 << 20  # bytes of the disk whose writes are logged
# Units that would cost minutes of an emulated processor and that no trial needs.
UNNEEDED = ("ModemManager", "polkit", "systemd-logind", "getty@tty1", "serial-getty@ttyS0", "systemd-binfmt",
            "systemd-random-seed", "systemd-update-utmp")
UNIT = """[Unit]
Description=Takes the commands of the trial
[Service]
ExecStart=/bin/sh -c 'mkdir -p /try && tar -xf /dev/vdb -C /try && exec python3 /try/agent.py'
[Install]
WantedBy=multi-user.target
"""


def output(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def dependencies(deb):
    fields = output("dpkg-deb", "-f", deb, "Depends").split(",")
    return ",".join(field.split("(")[0].split("|")[0].strip() for field in fields)


def make_base(deb):
    """Makes the file system with what the package depends on, and puts the kernel and the initial RAM disk beside it.
    This needs no root."""
    wanted = f"{PACKAGES},{dependencies(deb)}"
    known = CACHE / "packages"
    if known.exists() and known.read_text() == wanted + UNIT:
        return
    print("try-machine: making a Debian 12 for the trial", flush=True)
    shutil.rmtree(CACHE, ignore_errors=True)
    new = CACHE / "new"
    new.mkdir(parents=True)
    (new / "try-machine.service").write_text(UNIT)
    modules = "mkdir -p $1/etc/initramfs-tools/conf.d && echo MODULES=list >$1/etc/initramfs-tools/conf.d/machine && " \
              "printf 'virtio_pci\\nvirtio_blk\\next4\\n' >$1/etc/initramfs-tools/modules"
    unused = [f"--dpkgopt=path-exclude=/usr/share/{folder}/*" for folder in ("doc", "man", "locale")]
    subprocess.run(["mmdebstrap", "--variant=minbase", '--aptopt=APT::Install-Recommends "false"', *unused,
                    f"--include={wanted}", f"--essential-hook={modules}",
                    f"--customize-hook=copy-in {new}/try-machine.service /etc/systemd/system",
                    '--customize-hook=chroot "$1" systemctl enable try-machine',
                    '--customize-hook=chroot "$1" systemctl mask apt-daily.timer apt-daily-upgrade.timer '
                    'dpkg-db-backup.timer e2scrub_all.timer e2scrub_reap.service fstrim.timer',
                    f"--customize-hook=copy-out /boot {new}", "bookworm", new / "root.tar"], check=True)
    # fakeroot remembers owners that an ordinary user can't give.
    subprocess.run(["fakeroot", "sh", "-ec", "mkdir root; tar -xf root.tar -C root --exclude=./dev/*;"
                    "mke2fs -q -t ext4 -d root base.img 2G; rm -rf root root.tar"], cwd=new, check=True)
    for file, name in (("vmlinuz", "kernel"), ("initrd.img", "initrd")):
        next(new.glob(f"boot/{file}-*")).rename(CACHE / name)
    (new / "base.img").rename(CACHE / "base.img")
    shutil.rmtree(new)
    known.write_text(wanted + UNIT)


class Guest:
    """One machine. work: a folder for its sockets and logs; files: the files that the guest finds in /try."""

    def __init__(self, work, files):
        self.work = work
        self.is_plugged = False
        subprocess.run(["tar", "-cf", "try.tar", *files], cwd=work, check=True)
        subprocess.run(["cp", "--sparse=always", CACHE / "base.img", work / "root.img"], check=True)
        with open(work / "data.img", "wb") as data:
            data.truncate(DATA_SIZE)
        (work / "data.log").touch()
        self.power_on()

    def power_on(self):
        self.process = subprocess.Popen(self.command(), stdin=subprocess.DEVNULL, stderr=open(self.work / "qemu", "ab"))
        self.agent = self.connect("agent")
        self.monitor = self.connect("monitor").makefile("rw")
        self.monitor.readline()
        self.qmp("qmp_capabilities")
        self.lines = self.agent.makefile("rw")

    def restart(self, prepare):
        """Shuts the machine down and boots it. prepare is called as soon as the machine is on."""
        self.is_plugged = False
        self.run("(sleep 1; systemctl poweroff) >/dev/null 2>&1 &")
        self.process.wait(300)
        self.power_on()
        prepare()
        self.wait_boot()

    def command(self):
        drive = "driver=raw,file.driver=file,node-name="
        logged = f"driver=blklogwrites,node-name=data,file.driver=raw,file.file.driver=file,file.file.filename=" \
                 f"{self.work}/data.img,log.driver=file,log.filename={self.work}/data.log"
        pair = "socket,id={0},path={1}/{2}"
        chardevs = [pair.format("one", self.work, "built-in") + ",server=on,wait=off",
                    pair.format("two", self.work, "built-in"),
                    pair.format("three", self.work, "adapter") + ",server=on,wait=off",
                    pair.format("usb", self.work, "adapter"),
                    pair.format("agent", self.work, "agent") + ",server=on,wait=off"]
        disks = ["virtio-blk-pci,drive=root", "virtio-blk-pci,drive=try", "virtio-blk-pci,drive=data"]
        return ["nice", "-n", "19", "qemu-system-x86_64", "-machine", "pc,accel=tcg", "-cpu", "qemu64,-svm",
                "-smp", "1", "-m", "768",
                "-nodefaults", "-display", "none",
                "-kernel", CACHE / "kernel", "-initrd", CACHE / "initrd", "-append",
                "root=/dev/vda rw console=ttyS0 quiet mitigations=off nokaslr systemd.show_status=no "
                "modprobe.blacklist=floppy,pcspkr,ata_piix,ata_generic,i2c_piix4 " +
                " ".join(f"systemd.mask={unit}.service" for unit in UNNEEDED),
                "-drive", f"if=none,id=root,format=raw,cache=unsafe,file={self.work}/root.img",
                "-blockdev", f"{drive}try,file.filename={self.work}/try.tar,read-only=on", "-blockdev", logged,
                *[word for disk in disks for word in ("-device", disk)],
                *[word for chardev in chardevs for word in ("-chardev", chardev)],
                "-chardev", f"file,id=console,append=on,path={self.work}/console",
                *[word for name in ("console", "one", "two", "three") for word in ("-serial", f"chardev:{name}")],
                "-device", "virtio-rng-pci",
                "-device", "virtio-serial-pci", "-device", "virtserialport,chardev=agent,name=agent",
                "-device", "qemu-xhci,id=usb", "-qmp", f"unix:{self.work}/monitor,server=on,wait=off"]

    def connect(self, name):
        for _ in range(100):
            try:
                line = socket.socket(socket.AF_UNIX)
                line.connect(str(self.work / name))
                return line
            except OSError:
                time.sleep(0.1)
        raise RuntimeError(f"QEMU doesn't start: {(self.work / 'qemu').read_text()}")

    def qmp(self, command, **arguments):
        json.dump({"execute": command, "arguments": arguments}, self.monitor)
        self.monitor.flush()
        while True:
            answer = json.loads(self.monitor.readline())
            if "error" in answer:
                raise RuntimeError(f"{command}: {answer['error']['desc']}")
            if "return" in answer:
                return answer["return"]

    def wait_boot(self, seconds=600):
        self.agent.settimeout(seconds)
        while self.lines.readline().strip() != "ready":
            if self.process.poll() is not None:
                raise RuntimeError("QEMU has ended")

    def run(self, command, seconds=120, check=True):
        """Runs the command as root in bash, and returns what it printed. check: fails when the command does."""
        self.agent.settimeout(seconds + 30)
        self.lines.write(json.dumps({"command": command, "seconds": seconds}) + "\n")
        self.lines.flush()
        answer = json.loads(self.lines.readline())
        if check and answer["code"] != 0:
            raise Failed(f"{command}: exit code {answer['code']}\n{answer['output']}")
        return answer["output"]

    def plug(self, socket_number=1):
        self.is_plugged = True
        self.qmp("device_add", driver="usb-serial", id="adapter", bus="usb.0", port=str(socket_number), chardev="usb",
                 serial="TRIAL", **{"always-plugged": True})

    def pull(self):
        self.is_plugged = False
        self.qmp("device_del", id="adapter")

    def suspend(self):
        """Suspends the machine to memory for a moment."""
        self.run("(sleep 1; echo mem >/sys/power/state) >/dev/null 2>&1 &")
        while json.loads(self.monitor.readline()).get("event") != "SUSPEND":
            pass
        time.sleep(2)
        self.qmp("system_wakeup")

    def end(self):
        self.process.kill()
        self.process.wait()


class Failed(Exception):
    """Raised when a trial finds something that doesn't hold."""
