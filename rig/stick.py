"""Disk images on the native side: tables, loop devices, mounts, places of files."""

import atexit
import fcntl
import os
import struct
import subprocess

SECTOR = 512
FIBMAP, FIGETBSZ = 1, 2
NTFS_TYPES = (0x07,)
FAT_TYPES = (0x01, 0x04, 0x06, 0x0B, 0x0C, 0x0E)

_loops = []
_mounts = []


def run(*command, **options):
    """Runs a command, gives its output; a failure raises with what the command said."""
    environment = dict(os.environ, LC_ALL="C.UTF-8", MTOOLS_SKIP_CHECK="1")
    done = subprocess.run(command, capture_output=True, text=True, env=environment, **options)
    if done.returncode != 0:
        raise RuntimeError(f"{' '.join(map(str, command))}: {done.stderr}{done.stdout}")
    return done.stdout


def attach(image, start=0, sectors=None):
    """A loop device over part of an image."""
    size = [] if sectors is None else ["--sizelimit", str(sectors * SECTOR)]
    place = ["--offset", str(start * SECTOR), *size]
    device = run("losetup", "--find", "--show", *place, image).strip()
    _loops.append(device)
    return device


def detach(device):
    if device in _loops:
        _loops.remove(device)
        run("losetup", "--detach", device)


def mount_ntfs(device, folder, options="rw"):
    os.makedirs(folder, exist_ok=True)
    run("ntfs-3g", "-o", options, device, folder)
    _mounts.append(folder)


def unmount(folder):
    """Unmounts for good, also where a file is still open: a dismount ends every handle."""
    if folder in _mounts:
        _mounts.remove(folder)
        try:
            run("umount", folder)
        except RuntimeError:
            run("umount", "--lazy", folder)


@atexit.register
def release_all():
    """Nothing of ours stays attached, whatever happened."""
    for folder in list(_mounts):
        unmount(folder)
    for device in list(_loops):
        detach(device)


def release_leftovers(folder):
    """Releases what a run that was killed outright left mounted or attached below folder."""
    with open("/proc/mounts", encoding="utf-8") as mounts:
        for place in [line.split(" ")[1] for line in mounts]:
            if place.startswith(folder + "/"):
                run("umount", "--lazy", place)
    for line in run("losetup", "--list", "--noheadings", "-O", "NAME,BACK-FILE").splitlines():
        device, _, file = line.strip().partition(" ")
        if file.strip().startswith(folder + "/"):
            run("losetup", "--detach", device)


class Ntfs:
    """with Ntfs(image, start, sectors, folder): the volume's files lie in folder."""

    def __init__(self, image, folder, start=0, sectors=None):
        self.image, self.folder, self.start, self.sectors = image, folder, start, sectors

    def __enter__(self):
        self.device = attach(self.image, self.start, self.sectors)
        mount_ntfs(self.device, self.folder)
        return self.folder

    def __exit__(self, *failure):
        unmount(self.folder)
        detach(self.device)


def cluster_runs(path):
    """The file's pieces as (first cluster of the file, the one behind the last, cluster of the
    volume), asked of the file system; 0 for a hole. No pieces where the data lies in the file table."""
    runs = []
    with open(path, "rb") as file:
        os.fsync(file.fileno())
        block = struct.unpack("i", fcntl.ioctl(file, FIGETBSZ, struct.pack("i", 0)))[0]
        facts = os.fstat(file.fileno())
        if 0 < facts.st_blocks * SECTOR < block:
            return []
        for index in range((facts.st_size + block - 1) // block):
            place = struct.unpack("i", fcntl.ioctl(file, FIBMAP, struct.pack("i", index)))[0]
            expected = runs and runs[-1][2] and runs[-1][2] + index - runs[-1][0]
            if runs and place == expected:
                runs[-1][1] = index + 1
            else:
                runs.append([index, index + 1, place])
    return [tuple(piece) for piece in runs]


def file_runs(path, volume_start):
    """The same in (byte offset, LBA of the disk, sectors). No pieces for a file with a hole."""
    cluster = os.statvfs(path).f_bsize
    runs = cluster_runs(path)
    if any(place == 0 for _, _, place in runs):
        return []
    return [(first * cluster, volume_start + place * cluster // SECTOR,
             (end - first) * cluster // SECTOR) for first, end, place in runs]


def read(image, lba, count=1):
    with open(image, "rb") as file:
        file.seek(lba * SECTOR)
        return file.read(count * SECTOR)


def write(image, lba, data):
    with open(image, "r+b") as file:
        file.seek(lba * SECTOR)
        file.write(data)


def entry(kind, start, sectors, active=False):
    """A table entry; its cylinder fields say "see the sector numbers", as the program's do."""
    return struct.pack("<B3sB3sII", 0x80 if active else 0, b"\xfe\xff\xff", kind, b"\xfe\xff\xff",
                       start, sectors)


def table(sector):
    """The four entries of an MBR as (type, start, sectors, active)."""
    entries = []
    for at in range(446, 510, 16):
        flag, _, kind, _, start, sectors = struct.unpack("<B3sB3sII", sector[at:at + 16])
        entries.append((kind, start, sectors, flag == 0x80))
    return entries


def sfdisk(image):
    """The table as sfdisk reads it: {entry number: (type, start, sectors, active)}."""
    found = {}
    for line in run("sfdisk", "--dump", image).splitlines():
        name, colon, fields = line.partition(" : ")
        if colon:
            facts = dict(part.strip().partition("=")[::2] for part in fields.split(","))
            number = int(name[len(image):])
            found[number] = (int(facts["type"], 16), int(facts["start"]), int(facts["size"]),
                             "bootable" in facts)
    return found


def copy(source, target):
    run("cp", "--sparse=always", source, target)
