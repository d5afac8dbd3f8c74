"""The story of an image whose companion lies before it: the program asks, and moves files."""

import os

import make_stick
import stick
from checks import (RUNS, backups, changed_sectors, check, check_not_planted, check_sector_0,
                    check_writes, fresh_stick, ordered, plant, started)
from extents_story import add, mounted, windows_name
from robot_user import box_text

IMAGE, COMPANION = "_ISO/MULTI/Order.volPAK", "_ISO/MULTI/Order"
MAIN = range(make_stick.MAIN_START, make_stick.MAIN_START + make_stick.MAIN_SECTORS)
QUESTION = "Run MOVE_VOLPAK? (fix bad file order)"
MOVED = windows_name(COMPANION) + " is now last"
COMMIT = "Change partition table"


def contents(folder):
    """Every file below a folder: name to bytes."""
    whole = {}
    for at, _, names in os.walk(folder):
        for path in (os.path.join(at, name) for name in names):
            with open(path, "rb") as file:
                whole[os.path.relpath(path, folder)] = file.read()
    return whole


def look(image):
    """Every file of the main volume, name to bytes, and where the two lie, name to (start, sectors)."""
    with mounted(image) as folder:
        whole = contents(folder)
        pieces = {name: stick.file_runs(os.path.join(folder, name), make_stick.MAIN_START)
                  for name in (IMAGE, COMPANION)}
    check("pieces", [len(places) for places in pieces.values()], [1, 1])
    return whole, {name: places[0][1:] for name, places in pieces.items()}


def lay_files(image):
    """Adds the companion first. Both hold volumes, because the program reads their boot records."""
    for name, source in ((COMPANION, make_stick.COMPANION), (IMAGE, make_stick.PACK)):
        with mounted(image) as folder, open(os.path.join(folder, source), "rb") as file:
            data = file.read()
        add(image, name, data)
    files, places = look(image)
    check("the companion lies in front", places[COMPANION] < places[IMAGE], True)
    return files, places


def hidden(data, start):
    """The bytes with the hidden-sectors field that the switch writes for a volume that starts there."""
    return data[:28] + start.to_bytes(4, "little") + data[32:]


def texts(run, title):
    return box_text(run.robot.expect_box(title)).replace("\r", "").split("\n")


def check_files(when, now, expected):
    check(f"the names {when}", sorted(now), sorted(expected))
    check(f"files with other bytes {when}",
          [name for name in expected if now[name] != expected[name]], [])


def order_question(run, answer):
    run.usb.journal.clear()
    run.robot.doubleclick(windows_name(IMAGE))
    check("the question", texts(run, QUESTION), [
        f"WARNING: File {windows_name(COMPANION)} is in wrong order for UEFI booting.", "",
        "Re-order files? (it may take some time - PLEASE WAIT!)"])
    check("its buttons", [(part["text"], part["default"])
                          for part in run.robot.expect_box(QUESTION)["controls"]
                          if part["class"] == "Button"],
          [("Yes", True), ("No", False), ("Cancel", False)])
    check("what came before", ordered(run.usb.journal), backups() + [f"box none {QUESTION}"])
    run.robot.answer(answer)


def shown_entries(run):
    """The lines of the last question about used entries."""
    return [line for line in texts(run, COMMIT) if "Start=" in line]


def entries(places):
    return [f"PTN{number}: Type=07 (NTFS)   Start={start} (0x{start:X}) "
            for number, start in ((1, places[IMAGE][0]), (3, places[COMPANION][0]))]


def refuse(image, places):
    """Cancel ends the run, No goes on with the wrong order: neither moves a file."""
    with started("order_refused", image) as run:
        run.robot.wait_ready()
        order_question(run, "Cancel")
        run.robot.wait_ready()
        check_writes(run, (60, 30))
        order_question(run, "No")
        check("the entries", shown_entries(run), entries(places))
        run.robot.answer("Cancel")
        run.robot.wait_ready()
        check_writes(run, (60, 30))


def repair(image):
    """Yes, and on to the switch; returns the last question's entries and the ended run."""
    with started("order_repair", image, writable=True) as run:
        plant(run, "cmd.exe")
        run.robot.wait_ready()
        order_question(run, "Yes")
        check("the outcome", texts(run, MOVED), ["OK - Files are now in correct order."])
        run.picture(os.path.join(RUNS, "order_repair.png"))
        run.robot.answer("OK")
        shown = shown_entries(run)
        run.robot.answer("OK")
        run.robot.wait_ready()
        check_not_planted(run)
        check("the boxes", [line for line in run.usb.journal if line.startswith("box ")],
              [f"box none {title}" for title in (QUESTION, MOVED, COMMIT)])
    return shown, run


def order_repair(_):
    """A companion before its image: refused twice, then moved by the system's copy command."""
    image, before = fresh_stick("order_repair"), fresh_stick("order_before")
    files, places = lay_files(image)
    stick.copy(image, before)
    refuse(image, places)
    check("the sectors changed by the refusals", changed_sectors(image, before), [30, 60])
    shown, run = repair(image)
    check("the sectors changed outside the volume",
          [lba for lba in changed_sectors(image, before) if lba not in MAIN], [0, 30, 60])
    check_sector_0(image, stick.read(before, 0))
    table = stick.sfdisk(image)
    on_disk = {name: stick.read(image, *table[number][1:3])
               for number, name in ((1, IMAGE), (3, COMPANION))}
    now, places = look(image)
    check("the image lies in front now", places[IMAGE] < places[COMPANION], True)
    check("the table", table,
          {1: (7, *places[IMAGE], True), 3: (7, *places[COMPANION], False)})
    check("the entries in the question", shown, entries(places))
    check_writes(run, (60, 30, places[IMAGE][0], 0))
    files[IMAGE] = hidden(files[IMAGE], places[IMAGE][0])
    check_files("on the volume", now, files)
    check("entries with other bytes", [name for name in on_disk if on_disk[name] != files[name]], [])


def order_held(_):
    """The same while another program has the companion open, and closes it after the repair."""
    image = fresh_stick("order_held")
    files, _ = lay_files(image)
    aside = COMPANION + "yyy"
    with started("order_held", image, writable=True) as run:
        run.robot.wait_ready()
        run.robot.do(f"open {windows_name(COMPANION)}")
        order_question(run, "Yes")
        check("the outcome", texts(run, MOVED), ["OK - Files are now in correct order."])
        check_files("while it is held", contents(run.usb.volumes["E"].folder),
                    {**files, aside: files[COMPANION]})
        run.robot.do("close")
        check_files("after that", contents(run.usb.volumes["E"].folder), files)
        run.robot.answer("OK")
        run.robot.box(COMMIT, "Cancel")
        run.robot.wait_ready()
        check_writes(run, (60, 30))
    now, places = look(image)
    check_files("on the stick", now, files)
    check("the image lies in front now", places[IMAGE] < places[COMPANION], True)
