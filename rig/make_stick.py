#!/usr/bin/env python3
"""Makes the demo stick: make_stick.py STICK. Every file system on it is a real one.

Entry 1 is the NTFS volume with the image files, entry 2 a small FAT volume. The images:
  RESCUE  NTFS with the files of a menu volume; the name has blanks
  UEBUNG  FAT32 with the same files and an EFI program; the name has umlauts
  EXT     a file system whose type the program must ask for
  PACK    NTFS with a companion and a fourth file
"""

import os
import shutil
import sys
import tempfile

import stick

HERE = os.path.dirname(os.path.abspath(__file__))
BOOT = os.path.join(HERE, "boot")
MAIN_START, MAIN_SECTORS = 2048, 360 * 2048
SECOND_START, SECOND_SECTORS = MAIN_START + MAIN_SECTORS, 16 * 2048
TOTAL_SECTORS = SECOND_START + SECOND_SECTORS + 20 * 2048
SIGNATURE = bytes.fromhex("4D54530A")

RESCUE = "_ISO/WIN/Rescue volume 1.volPAK"
UEBUNG = "_ISO/LINUX/Übung Süd.volPAK"
EXT = "_ISO/LINUX/ext.volPAK"
PACK = "_ISO/MULTI/Pack.volPAKX4persist"
COMPANION = "_ISO/MULTI/Pack"
FOURTH = "_ISO/MULTI/persist"
MARKERS = ("tsd/unifont.hex.gz", "_ISO/tsd/grub/tsd.cfg", "menu.lst")
MENU_FILES = ("menu.lst", "boot6", "grldr", "tsd/unifont.hex.gz")
NTFS_CODE, FAT32_CODE = 0x54, 0x5A


def code(source, *defines):
    """Our boot code, assembled."""
    with tempfile.NamedTemporaryFile() as out:
        stick.run("nasm", "-f", "bin", *defines, "-I", BOOT + "/", os.path.join(BOOT, source), "-o",
                  out.name)
        return out.read()


def put_boot_code(image, start, offset, name, hidden=28):
    """Writes our boot code into a volume's boot record, after its parameter block, whose hidden-sectors
    field is at offset hidden."""
    record = bytearray(stick.read(image, start))
    record[offset:510] = code("volume.asm", f"-DCODE={offset}", f"-DNAME='{name}'",
                              f"-DHIDDEN={hidden}")
    stick.write(image, start, record)


def blank(path, sectors):
    with open(path, "wb") as file:
        file.truncate(sectors * stick.SECTOR)


def menu_files(folder):
    for name in MENU_FILES:
        path = os.path.join(folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(f"{name} of a menu volume\n")


def ntfs_image(path, megabytes, label, work):
    blank(path, megabytes * 2048)
    stick.run("mkntfs", "-F", "-Q", "-q", "-L", label, path)
    with stick.Mounted(path, os.path.join(work, "inside")) as folder:
        menu_files(folder)
    put_boot_code(path, 0, NTFS_CODE, label)


def fat32_image(path, label, work):
    blank(path, 40 * 2048)
    stick.run("mkfs.vfat", "-F", "32", "-s", "1", "-n", label, path)
    files = os.path.join(work, "fat")
    menu_files(files)
    program = os.path.join(files, "EFI", "BOOT", "BOOTX64.EFI")
    os.makedirs(os.path.dirname(program))
    stick.run("x86_64-w64-mingw32-gcc", "-O1", "-ffreestanding", "-nostdlib", "-shared", "-s",
              "-Wl,--subsystem,10", "-Wl,-e,efi_main", os.path.join(BOOT, "efi_hello.c"), "-o",
              program)
    stick.run("mcopy", "-s", "-i", path, *(os.path.join(files, name) for name in os.listdir(files)),
              "::")
    put_boot_code(path, 0, FAT32_CODE, label)


def make_images(work):
    """Image files by their path on the stick, in the order that they must have on the disk."""
    paths = {}
    for name in (RESCUE, UEBUNG, EXT, PACK, COMPANION, FOURTH):
        paths[name] = os.path.join(work, f"image{len(paths)}")
    ntfs_image(paths[RESCUE], 24, "Rescue menu", work)
    fat32_image(paths[UEBUNG], "UEBUNG", work)
    for name, megabytes in ((EXT, 8), (FOURTH, 4)):
        blank(paths[name], megabytes * 2048)
        stick.run("mke2fs", "-q", "-F", "-t", "ext2", paths[name])
    ntfs_image(paths[PACK], 16, "Pack menu", work)
    ntfs_image(paths[COMPANION], 8, "Companion", work)
    return paths


def write_table(path):
    sector = bytearray(code("mbr.asm") + SIGNATURE + b"\0\0" + bytes(64) + b"\x55\xaa")
    sector[446:462] = stick.entry(0x07, MAIN_START, MAIN_SECTORS, active=True)
    sector[462:478] = stick.entry(0x0E, SECOND_START, SECOND_SECTORS)
    stick.write(path, 0, sector)


def fill_main(folder, images):
    # The images start beyond the first 65536 sectors of the disk, as on a well-filled stick.
    with open(os.path.join(folder, "filler.bin"), "wb") as file:
        file.write(b"\xf1" * (48 << 20))
    for name in MARKERS:
        os.makedirs(os.path.dirname(os.path.join(folder, name)), exist_ok=True)
        with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
            file.write(f"{name} of the demo stick\n")
    for name, source in images.items():
        target = os.path.join(folder, name)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        with open(source, "rb") as data, open(target, "wb") as out:
            shutil.copyfileobj(data, out, 1 << 20)


def check_places(folder):
    """All contiguous and beyond the near start; companion after image, fourth file after both."""
    places = {}
    for name in (RESCUE, UEBUNG, EXT, PACK, COMPANION, FOURTH):
        pieces = stick.file_runs(os.path.join(folder, name), MAIN_START)
        if len(pieces) != 1:
            raise RuntimeError(f"{name} has {len(pieces)} extents")
        places[name] = pieces[0][1]
    in_order = places[PACK] < places[COMPANION] < places[FOURTH]
    if not in_order or min(places.values()) <= 65536:
        raise RuntimeError(f"wrong order on the stick: {places}")


def make(path):
    unfinished = path + ".new"
    with tempfile.TemporaryDirectory(dir=os.path.dirname(os.path.abspath(path))) as work:
        images = make_images(work)
        blank(unfinished, TOTAL_SECTORS)
        write_table(unfinished)
        device = stick.attach(unfinished, MAIN_START, MAIN_SECTORS)
        stick.run("mkntfs", "-Q", "-q", "-p", str(MAIN_START), "-H", "255", "-S", "63", "-L",
                  "TSD Stick Ü", device)
        stick.detach(device)
        with stick.Mounted(unfinished, os.path.join(work, "main"), MAIN_START, MAIN_SECTORS) as folder:
            fill_main(folder, images)
        with stick.Mounted(unfinished, os.path.join(work, "main"), MAIN_START, MAIN_SECTORS) as folder:
            check_places(folder)
        put_boot_code(unfinished, MAIN_START, NTFS_CODE, "Main volume")
        device = stick.attach(unfinished, SECOND_START, SECOND_SECTORS)
        stick.run("mkfs.vfat", "-F", "16", "-n", "SECOND", device)
        stick.detach(device)
    os.rename(unfinished, path)


if __name__ == "__main__":
    make(sys.argv[1])
