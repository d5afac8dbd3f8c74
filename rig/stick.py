"""Disk images on the native side: tables, loop devices, mounts, places of files."""

import atexit
import fcntl
import os
import struct
import subprocess
import time

SECTOR = 512
FIBMAP, FIGETBSZ = 1, 2
NTFS_TYPES = (0x07,)
FAT_TYPES = (0x01, 0x04, 0x06, 0x0B, 0x0C, 0x0E)
NTFS, EXFAT, FAT32, FAT = "NTFS", "exFAT", "FAT32", "FAT"  # as Windows names them

_loops = []
_mounts = {}  # folder to the file system's driver, if that is our child


def run(*command, **options):
    """Runs a command and returns its output; a failure raises with what it printed."""
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


def file_system(boot):
    """The name of the file system with this first sector; "" if unknown."""
    if boot[3:11] in (b"NTFS    ", b"EXFAT   "):
        return NTFS if boot[3:7] == b"NTFS" else EXFAT
    if boot[82:90] == b"FAT32   ":
        return FAT32
    return FAT if boot[54:59] in (b"FAT12", b"FAT16") else ""


def mount(device, folder, options="rw"):
    """Mounts what the device holds. FAT is mounted read-only, whatever the options say: its driver
    doesn't write reliably."""
    system = file_system(read(device, 0))
    if system == "":
        raise RuntimeError(f"no file system on {device}")
    os.makedirs(folder, exist_ok=True)
    if system == NTFS:
        _mounts[folder] = start_driver(folder, "ntfs-3g", "-o", options + ",no_detach", device, folder)
    elif system == EXFAT:
        run("mount.exfat-fuse", "-o", options, device, folder)
        _mounts[folder] = None
    else:
        _mounts[folder] = start_driver(folder, "fusefat", "-f", "-s", "-o", "ro", device, folder)


def start_driver(folder, *command):
    """Starts it in the foreground, so that unmount() can wait for its end, which umount doesn't. The
    device's cache lives until the driver has closed it; another mount or a raw access would miss what
    is in there."""
    driver = subprocess.Popen(command, start_new_session=True, stdin=subprocess.DEVNULL,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    while not os.path.ismount(folder):
        if driver.poll() is not None:
            raise RuntimeError(f"{command[0]} can't mount {folder}")
        time.sleep(0.01)
    return driver


def unmount(folder):
    """Unmounts even if a file is still open: a dismount ends every handle."""
    if folder in _mounts:
        driver = _mounts.pop(folder)
        try:
            run("umount", folder)
        except RuntimeError:
            run("umount", "--lazy", folder)
            if driver:
                driver.terminate()
        if driver:
            driver.wait()


@atexit.register
def release_all():
    """Unmounts and detaches everything of ours, whatever happened."""
    for folder in list(_mounts):
        unmount(folder)
    for device in list(_loops):
        detach(device)


def release_leftovers(folder):
    """Releases what a killed run left mounted or attached below folder."""
    with open("/proc/mounts", encoding="utf-8") as mounts:
        for place in [line.split(" ")[1] for line in mounts]:
            if place.startswith(folder + "/"):
                run("umount", "--lazy", place)
    ours = images_below(folder)
    listed = run("losetup", "--list", "--noheadings", "--output", "NAME,BACK-MAJ:MIN,BACK-INO")
    for device, disk, number in map(str.split, listed.splitlines()):
        if (disk, int(number)) in ours:
            run("losetup", "--detach", device)


def images_below(folder):
    """The images below folder by device and inode: paths differ between roots."""
    found = set()
    for at, _, names in os.walk(folder):
        for facts in (os.stat(os.path.join(at, name)) for name in names if name.endswith(".img")):
            found.add((f"{os.major(facts.st_dev)}:{os.minor(facts.st_dev)}", facts.st_ino))
    return found


class Mounted:
    """with Mounted(image, folder, start, sectors): the volume's files are in folder."""

    def __init__(self, image, folder, start=0, sectors=None):
        self.image, self.folder, self.start, self.sectors = image, folder, start, sectors

    def __enter__(self):
        self.device = attach(self.image, self.start, self.sectors)
        mount(self.device, self.folder)
        return self.folder

    def __exit__(self, *failure):
        unmount(self.folder)
        detach(self.device)


def cluster_runs(path):
    """The extents of a file on NTFS, from the file system: (first cluster of the file, the one after the
    last, cluster of the volume, 0 for a hole). None if the data is in the file table."""
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
    """The same as (byte offset, LBA of the disk, sectors). None for a file with a hole."""
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
    """A table entry; its CHS fields mean "see the sector numbers", as the program's do."""
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
