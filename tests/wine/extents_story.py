"""The story of getFileExtents.exe by itself, on files that the demo stick doesn't have."""

import os

import make_stick
import stick
from checks import check, fresh_stick, started
from program_run import RIG

CLUSTER = 4096
PIECES, HOLE, SMALL, EMPTY = "zwei Stücke.bin", "hole.bin", "small.bin", "empty.bin"
ONE_PIECE = (make_stick.UEBUNG, make_stick.RESCUE)


def content(clusters, seed):
    """No two clusters alike, on the whole stick: the bytes say where they belong."""
    return b"".join(f"{seed} {index:8}\n".encode().ljust(CLUSTER, seed.encode())
                    for index in range(clusters))


def mounted(image):
    return stick.Ntfs(image, os.path.join(RIG, "look"), make_stick.MAIN_START,
                      make_stick.MAIN_SECTORS)


def add(image, name, data, at=0):
    """Each file by a mount of its own, which puts it at the first free place: behind the last."""
    with mounted(image) as folder:
        with open(os.path.join(folder, name), "r+b" if at else "wb") as file:
            file.seek(at)
            file.write(data)


def lay_files(image):
    """Puts the files onto the stick; gives bytes and pieces of those that have a place."""
    data = content(20, "p")[:-1234]
    add(image, PIECES, data[:7 * CLUSTER])
    add(image, "between.bin", content(3, "b"))
    add(image, PIECES, data[7 * CLUSTER:], at=7 * CLUSTER)
    add(image, HOLE, content(1, "h"))
    add(image, HOLE, content(1, "i"), at=64 * CLUSTER)
    add(image, SMALL, b"in the file table")
    add(image, EMPTY, b"")
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


def check_place(run, name, data, expected):
    """The lines hold the figures expected, and the disk holds the file's bytes there."""
    run.usb.journal.clear()
    text, code = run.extents(windows_name(name))
    check(f"the lines of {name}", text, "".join(
        f"File offset {offset:X} LBA: {lba:X} Sectors: {sectors:X}\r\n"
        for offset, lba, sectors in expected))
    check(f"the exit code for {name}", code, 0)
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
    """The extents tool by itself: files in one piece and in two, and what it must refuse."""
    image = fresh_stick("extents")
    files = lay_files(image)
    with started("extents", image) as run:
        run.robot.wait_ready()
        for name, (data, pieces) in files.items():
            check_place(run, name, data, pieces)
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
        check_refusal(run, EMPTY, "the file is empty or lies inside the file table")
        check_refusal(run, "gone.bin", "can't open E:\\gone.bin: It is not there (error 2)")
