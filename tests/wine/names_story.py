"""The story of names that no single code page holds, from the list to the switched table, on a system
with a one-byte code page."""

import os

import make_stick
import stick
from checks import check, check_writes, doubleclick, fresh_stick, started
from extents_story import add, check_lines, mounted, windows_name

CHINESE = "容量" * 50 + ".volPAK"
NAMES = ("_ISO/Загрузка/" + CHINESE, "_ISO/Загрузка/Ё " + "Ж" * 120 + ".volPAK")


def lay_files(image):
    """Returns each image's (start, sectors)."""
    with mounted(image) as folder:
        os.makedirs(os.path.join(folder, os.path.dirname(NAMES[0])))
        with open(os.path.join(folder, make_stick.COMPANION), "rb") as file:
            data = file.read()
    found = {}
    for name in NAMES:
        add(image, name, data)
        with mounted(image) as folder:
            pieces = stick.file_runs(os.path.join(folder, name), make_stick.MAIN_START)
        check("pieces", len(pieces), 1)
        found[name] = pieces[0][1], len(data) // stick.SECTOR
    return found


def log_of(run):
    """The bytes of the log in the temp folder of Wine's user, whatever its name."""
    users = os.path.join(run.folder, "prefix", "drive_c", "users")
    path = next(os.path.join(at, name) for at, _, names in os.walk(users)
                for name in names if name == "Rotate_TSD.log")
    with open(path, "rb") as file:
        return file.read()


def every_alphabet(_):
    """Chinese and Cyrillic names, some over 259 bytes: listed, measured, switched, logged."""
    image = fresh_stick("every_alphabet")
    place = lay_files(image)
    with started("every_alphabet", image) as run:
        state = run.robot.wait_ready()
        for name, (start, sectors) in place.items():
            check(f"{name} is listed", windows_name(name) in state["images"], True)
            check_lines(run, name, [(0, start, sectors)])
        run.robot.do("density 192")
        check("the list scrolls twice as far, nearly",
              0.9 < run.robot.state()["extent"] / state["extent"] / 2 < 1.1, True)
        run.robot.do("label Double-click on a .volPAK file to switch to the CSM Menu")
        run.robot.box("ROTATE_TSD", "OK")
        name = NAMES[0]
        start, sectors = place[name]
        text = doubleclick(run, name)
        check("the name in the question", windows_name(name) in text, True)
        run.robot.wait_ready()
        check_writes(run, (60, 30, start, 0))
        line = log_of(run).split(b"GetFileStart started: fFILE=")[1].split(b"\r\n")[0]
        check("the name in the log", line, b"E:\\_ISO\\" + b"?" * 8 + b"\\" + b"?" * 100 + b".volPAK")
    check("the table", stick.sfdisk(image), {1: (7, start, sectors, True)})
