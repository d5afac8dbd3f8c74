"""The story of getFileExtents.exe alone, on files that the demo stick doesn't have."""

import os
import struct

import make_stick
import stick
from checks import check, fresh_stick, started
from prepare import RIG, own

CLUSTER = 4096
TAIL, NEVER = "tail.bin", "never written.bin"
PIECES, HOLE, SMALL, EMPTY = "zwei Stücke.bin", "hole.bin", "small.bin", "empty.bin"
ONE_PIECE = (make_stick.UEBUNG, make_stick.RESCUE)


def content(clusters, seed):
    """Content whose clusters are unique on the whole stick and name their offset."""
    return b"".join(f"{seed} {index:8}\n".encode().ljust(CLUSTER, seed.encode())
                    for index in range(clusters))


def mounted(image):
    return stick.Mounted(image, own("look"), make_stick.MAIN_START,
                      make_stick.MAIN_SECTORS)


def add(image, name, data, at=0):
    """Adds each file in a separate mount, which puts it at the first free place: after the last."""
    with mounted(image) as folder:
        with open(os.path.join(folder, name), "r+b" if at else "wb") as file:
            file.seek(at)
            file.write(data)


def set_valid_length(image, name, written):
    """Shortens a file's valid data length: what lies beyond stays on the disk, but the system shows
    zeros. Edits the file's record in the file table ([MS-FSCC] has the terms)."""
    with mounted(image) as folder:
        number = os.stat(os.path.join(folder, name)).st_ino
    boot = stick.read(image, make_stick.MAIN_START)
    table = struct.unpack_from("<Q", boot, 48)[0] * boot[13] + make_stick.MAIN_START
    record = bytearray(stick.read(image, table + 2 * number, 2))
    check("a record of the file table", bytes(record[:4]), b"FILE")
    at = struct.unpack_from("<H", record, 20)[0]
    while struct.unpack_from("<I", record, at)[0] != 0x80:  # $DATA
        at += struct.unpack_from("<I", record, at + 4)[0]
    struct.pack_into("<Q", record, at + 56, written)
    stick.write(image, table + 2 * number, record)


def lay_unwritten(image):
    """Adds files that were written in part or not at all; returns where they lie."""
    for name, written in ((TAIL, 5 * CLUSTER + 700), (NEVER, 0)):
        add(image, name, content(9, "t")[:-100])
        set_valid_length(image, name, written)
    places = {}
    with mounted(image) as folder:
        for name in (TAIL, NEVER):
            path = os.path.join(folder, name)
            with open(path, "rb") as file:
                check(f"the end of {name}", set(file.read()[-1000:]), {0})
            places[name] = stick.file_runs(path, make_stick.MAIN_START)
    last = places[TAIL][0][1] + 9 * CLUSTER // stick.SECTOR - 1
    check("what lies at the end of it", stick.read(image, last)[:1], b"t")
    return places


def link_target():
    """A folder outside the stick, the target of a link."""
    folder = os.path.join(RIG, "elsewhere")
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, "elsewhere.bin"), "wb") as file:
        file.write(content(3, "e"))
    return folder


def lay_files(image):
    """Puts the files onto the stick; returns bytes and extents of those that have a place."""
    data = content(20, "p")[:-1234]
    add(image, PIECES, data[:7 * CLUSTER])
    add(image, "between.bin", content(3, "b"))
    add(image, PIECES, data[7 * CLUSTER:], at=7 * CLUSTER)
    add(image, HOLE, content(1, "h"))
    add(image, HOLE, content(1, "i"), at=64 * CLUSTER)
    add(image, SMALL, b"in the file table")
    add(image, EMPTY, b"")
    with mounted(image) as folder:
        os.symlink(link_target(), os.path.join(folder, "link"))
    found = {}
    with mounted(image) as folder:
        for name in (PIECES, *ONE_PIECE):
            path = os.path.join(folder, name)
            with open(path, "rb") as file:
                found[name] = file.read(), stick.file_runs(path, make_stick.MAIN_START)
    check("the file's bytes", found[PIECES][0] == data, True)
    check("pieces", [len(pieces) for _, pieces in found.values()], [2, 1, 1])
    return found


def windows_name(name):
    return "E:\\" + name.replace("/", "\\")


def check_lines(run, name, expected):
    text, code = run.extents(windows_name(name))
    check(f"the lines of {name}", text, "".join(
        f"File offset {offset:X} LBA: {lba:X} Sectors: {sectors:X}\r\n"
        for offset, lba, sectors in expected))
    check(f"the exit code for {name}", code, 0)


def check_place(run, name, data, expected):
    """The lines hold the expected figures, and the disk holds the file's bytes there."""
    run.usb.journal.clear()
    check_lines(run, name, expected)
    check(f"the questions for {name}", [line for line in run.usb.journal if "runs" in line],
          [f"runs {offset // CLUSTER} {windows_name(name)}" for offset, _, _ in expected])
    on_disk = b"".join(stick.read(run.image, lba, sectors) for _, lba, sectors in expected)
    check(f"the disk holds {name} there", on_disk[:len(data)] == data, True)


def check_refusal(run, name, why, answer=None):
    run.usb.fault = lambda line: answer if line.startswith("runs ") else None
    text, code = run.extents(windows_name(name))
    run.usb.fault = lambda line: None
    check(f"the line of {name}", text, f"No disk offset of {windows_name(name)}: {why}\r\n")
    check(f"the exit code for {name}", code, 1)


def extents(_):
    """The extents tool alone: contiguous and fragmented files, and what it must refuse."""
    image = fresh_stick("extents")
    files = lay_files(image)
    unwritten = lay_unwritten(image)
    with started("extents", image) as run:
        run.robot.wait_ready()
        for name, (data, pieces) in files.items():
            check_place(run, name, data, pieces)
        for name, pieces in unwritten.items():
            check_lines(run, name, pieces)
        rescue = windows_name(make_stick.RESCUE)
        other = "the disk holds other data at the place found than the file"
        for shift in (1, -1):
            check_refusal(run, make_stick.RESCUE, other, run.usb.runs(0, rescue, shift))
        check_refusal(run, make_stick.RESCUE, "the system's list of the file's runs doesn't add up",
                      "pass")
        check_refusal(run, make_stick.RESCUE, "getNextTranslation: Incorrect function",
                      "fail C0000010")
        check_refusal(run, HOLE, "a piece of the file has no place on the disk")
        check_refusal(run, SMALL, "the file is empty or lies inside the file table")
        check_refusal(run, "link/elsewhere.bin", "the path leads to another volume")
        check_refusal(run, EMPTY, "the file is empty or lies inside the file table")
        check_refusal(run, "gone.bin", "can't open E:\\gone.bin: It is not there (error 2)")
        show_as_encrypted(run.usb.disk(1).volumes["E"], image)
        check_refusal(run, make_stick.RESCUE,
                      "the disk holds other data than \\\\.\\E: shows: the volume is encrypted")


def show_as_encrypted(volume, image):
    """Makes the volume's device show another first sector than the disk, as under encryption between
    volume and disk."""
    shown = os.path.join(RIG, "shown.img")
    with open(shown, "wb") as file:
        boot = stick.read(image, volume.start)
        file.write(boot[:300] + b"other" + boot[305:])
        file.truncate(volume.sectors * stick.SECTOR)
    os.remove(volume.link("::"))
    os.symlink(shown, volume.link("::"))
