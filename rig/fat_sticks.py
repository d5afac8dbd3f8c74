"""Turns a copy of the demo stick into one whose main volume is FAT32 or exFAT, with contiguous images
of the demo stick and PIECES in two extents. The first cluster isn't aligned to the cluster size, so
that a place is right only if it is exact to the sector."""

import os
import struct
import tempfile

import fat
import make_stick
import stick

START, SECTORS = make_stick.MAIN_START, make_stick.MAIN_SECTORS
CHAINED, PIECES = "_ISO/MULTI/Chained.volPAK", "_ISO/MULTI/Pieces.volPAK"
PART = 9 * 4096  # bytes of each extent of PIECES
TYPE = {stick.FAT32: 0x0C, stick.EXFAT: 0x07, stick.NTFS: 0x07}


class MainVolume:
    """with MainVolume(image) as device: the loop device of the stick's main volume."""

    def __init__(self, image):
        self.image = image

    def __enter__(self):
        self.device = stick.attach(self.image, START, SECTORS)
        return self.device

    def __exit__(self, *failure):
        stick.detach(self.device)


def pattern(count):
    """Content in which all clusters differ and name their offset."""
    return b"".join(b"%16d" % at for at in range(count // 16))


def set_type(image, system):
    table = stick.read(image, 0)
    entry = stick.entry(TYPE[system], START, SECTORS, active=True)
    stick.write(image, 0, table[:446] + entry + table[462:])


def require(what, got, expected):
    if got != expected:
        raise RuntimeError(f"{what}: {got}, not {expected}")


def require_places(device, names):
    cluster, first = fat.data_area(stick.read(device, 0))
    require("the first cluster on a multiple of its size", first % cluster == 0, False)
    pieces = [len(fat.cluster_runs(device, name)) for name in (*names, PIECES)]
    require("pieces", pieces, [1] * len(names) + [2])


# FAT32: the driver is read-only, so mtools writes the files.

def put(device, name, data):
    with tempfile.NamedTemporaryFile() as file:
        file.write(data)
        file.flush()
        stick.run("mcopy", "-i", device, file.name, "::/" + name)


def search_from_the_start(device):
    """Makes mtools put the next file at the first free cluster, not after the last one taken."""
    with open(device, "r+b") as file:
        record = bytearray(file.read(2 * stick.SECTOR)[stick.SECTOR:])
        require("the mark of FSInfo", bytes(record[484:488]), b"rrAa")
        struct.pack_into("<I", record, 492, 0xFFFFFFFF)
        file.seek(stick.SECTOR)
        file.write(record)


def fill_fat32(device, images):
    folders = ("_ISO", "tsd", "_ISO/WIN", "_ISO/LINUX", "_ISO/MULTI", "_ISO/tsd", "_ISO/tsd/grub")
    stick.run("mmd", "-i", device, *("::/" + name for name in folders))
    for name in make_stick.MARKERS:
        put(device, name, b"of the stick\n")
    put(device, "gap", bytes(PART))
    for name, data in images.items():
        put(device, name, data)
    stick.run("mdel", "-i", device, "::/gap")
    search_from_the_start(device)
    put(device, PIECES, pattern(2 * PART))


def make_fat32(image, images):
    """images: name to bytes."""
    set_type(image, stick.FAT32)
    with MainVolume(image) as device:
        stick.run("mkfs.vfat", "-a", "-F", "32", "-s", "8", "-R", "33", "-h", str(START), "-n",
                  "TSD FAT", device)
        fill_fat32(device, images)
        require_places(device, images)
    make_stick.put_boot_code(image, START, make_stick.FAT32_CODE, "FAT32 stick")
    with MainVolume(image) as device:
        stick.run("fsck.vfat", "-n", device)


# exFAT: each file in a separate mount, which puts it at the first free place.

def add(image, folder, name, data, mode="wb"):
    with stick.Mounted(image, folder, START, SECTORS):
        path = os.path.join(folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, mode) as file:
            file.write(data)
            file.truncate()


def fill_exfat(image, folder, images):
    for name in make_stick.MARKERS:
        add(image, folder, name, b"of the stick\n")
    for name, data in images.items():
        add(image, folder, name, data)
    add(image, folder, PIECES, pattern(PART))
    for name in (CHAINED, PIECES):
        add(image, folder, name, pattern(PART), "ab")
    add(image, folder, CHAINED, images[CHAINED], "r+b")


def make_exfat(image, images):
    """images: name to bytes. CHAINED, which must be the last, has a FAT chain, like any file that was
    ever fragmented; the others have none."""
    set_type(image, stick.EXFAT)
    with MainVolume(image) as device:
        stick.run("mkfs.exfat", "-L", "TSD exFAT Ü", "-c", "32K", "-b", "512", device)
    with tempfile.TemporaryDirectory(dir=os.path.dirname(image)) as folder:
        fill_exfat(image, folder, images)
    with MainVolume(image) as device:
        require("FAT chains", [name for name in images if fat.is_chained(device, name)], [CHAINED])
        require_places(device, images)
    make_stick.put_boot_code(image, START, fat.EXFAT_CODE, "exFAT stick", fat.EXFAT_HIDDEN)
    record = bytearray(stick.read(image, START))
    struct.pack_into("<Q", record, fat.EXFAT_HIDDEN, START)
    stick.write(image, START, record)
    fat.sign_exfat(image, START)
    with MainVolume(image) as device:
        stick.run("fsck.exfat", "-n", device)
