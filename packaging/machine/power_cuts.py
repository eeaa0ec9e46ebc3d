"""Replays the writes to a disk that QEMU's blklogwrites has logged, up to a power cut. All writes before the last flush
are there, and a random part of the later ones, of which one may be torn. Then the file system is repaired and its files
are read.
"""
import random
import shutil
import struct
import subprocess

SECTOR = 512
MAGIC = 0x6a736677736872
FLUSH, FUA, DISCARD = 1, 2, 4


def read_log(path):
    """Returns the entries as (sector, sectors, flags, place of the data in the log)."""
    entries = []
    with open(path, "rb") as log:
        magic, _, _, size = struct.unpack("<QQQI", log.read(28))
        if magic != MAGIC:
            raise ValueError("no log of writes")
        at = size
        while True:
            log.seek(at)
            head = log.read(32)
            if len(head) < 32:
                return entries
            sector, count, flags, length = struct.unpack("<QQQQ", head)
            if count == 0 and flags == 0:
                return entries
            entries.append((sector, count, flags, at + size))
            at += size + (0 if flags & DISCARD else count * SECTOR)


class Disk:
    def __init__(self, path, log):
        self.path, self.log = path, open(log, "rb")

    def apply(self, entries):
        with open(self.path, "r+b") as disk:
            for sector, count, flags, place in entries:
                disk.seek(sector * SECTOR)
                self.log.seek(place)
                disk.write(bytes(count * SECTOR) if flags & DISCARD else self.log.read(count * SECTOR))


def surviving(entries, chance):
    """Returns the writes that survive although no flush covers them: all that were forced through, and some of the
    others, one of them torn."""
    kept = [entry for entry in entries if entry[2] & FUA or chance.random() < 0.5]
    torn = [at for at, entry in enumerate(kept) if entry[1] > 1 and not entry[2] & (FUA | DISCARD)]
    if torn:
        at = chance.choice(torn)
        sector, count, flags, place = kept[at]
        kept[at] = (sector, chance.randrange(1, count), flags, place)
    return kept


def files_of(image, folder):
    """Returns the paths of all files of the file system after its repair, and None when it can't be repaired."""
    if subprocess.run(["e2fsck", "-fy", image], capture_output=True).returncode > 1:
        return None
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir()
    subprocess.run(["debugfs", "-R", f"rdump / {folder}", image], capture_output=True, check=True)
    return [file for file in folder.rglob("*") if file.is_file()]


def cut(image, log, begin, end, count, faults_of, work, seed=1):
    """Cuts the power count times between two entries, and returns what was wrong, a line for each cut. image: an empty
    disk of that size. faults_of: returns what is wrong with the files of a list."""
    entries, chance = read_log(log), random.Random(seed)
    moments = sorted(chance.randrange(begin, end) for _ in range(count))
    disk, applied, found = Disk(image, log), 0, []
    for moment in moments:
        flushes = [at for at in range(applied, moment) if entries[at][2] & FLUSH]
        if flushes:
            disk.apply(entries[applied:flushes[-1] + 1])
            applied = flushes[-1] + 1
        trial = work / "cut.img"
        subprocess.run(["cp", "--sparse=always", image, trial], check=True)
        Disk(trial, log).apply(surviving(entries[applied:moment], chance))
        files = files_of(trial, work / "cut")
        faults = ["the file system can't be repaired"] if files is None else faults_of(files)
        if faults:
            found.append(f"cut before write {moment}: {'; '.join(faults)}")
    return found
