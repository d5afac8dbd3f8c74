"""Checks of the stories: the disk from outside, and the order of the operations on it."""

import os
import shutil

import make_stick
import stick
from prepare import BIN, RIG, STICK, own
from program_run import ProgramRun
from robot_user import box_text

RUNS = os.path.join(RIG, "runs")
DISK = "PhysicalDrive1"
COMMIT, TYPE = "Change partition table", "Set partition type (hex)"
ORDER = "Run MOVE_VOLPAK? (fix bad file order)"
RESTORE, RESTORE_QUESTION = "Restore TSD partitions", "Restore TSD partition table"
SWAP, SWAP_QUESTION = ("Access Partition 2 on a Removable drive",
                       "Make 2nd partition accessible on Removable drive?")
ORDERED = ("write", "flush", "lock", "unlock", "dismount", "renew", "box")
_fresh = set()


def check(what, got, expected):
    if got != expected:
        raise AssertionError(f"{what}:\n  expected {expected!r}\n  got      {got!r}")


def fresh_stick(name, source=STICK, kept=False):
    """A copy of a stick, in runs/NAME.img. It goes when its story has passed, unless it is kept for
    the boot tests or for another story."""
    os.makedirs(RUNS, exist_ok=True)
    image = os.path.join(RUNS, name + ".img")
    if not kept:
        _fresh.add(image)
    stick.copy(source, image)
    return image


def drop_sticks():
    """Deletes what fresh_stick() made in this process; all of them together are several GB."""
    while _fresh:
        os.remove(_fresh.pop())


def started(name, image, writable=False, **more):
    return ProgramRun(os.path.join(RUNS, name), image, writable=writable, **more)


def switched_stick(name, place):
    """The demo stick after the switch to the image with a menu volume."""
    image, (start, sectors) = fresh_stick(name), place[make_stick.RESCUE]
    table = stick.read(image, 0)
    record = bytearray(stick.read(image, start))
    record[28:32] = start.to_bytes(4, "little")
    entries = stick.entry(7, start, sectors, active=True) + bytes(48)
    new = table[:440] + record[28:32] + table[444:446] + entries + table[510:]
    for lba, data in ((30, table), (60, table), (start, record), (0, new)):
        stick.write(image, lba, data)
    return image


def places():
    """Where the images lie, from the demo stick's file system: name to (start, sectors)."""
    found = {}
    probe = fresh_stick("places")
    with stick.Mounted(probe, own("look"), make_stick.MAIN_START,
                    make_stick.MAIN_SECTORS) as folder:
        for name in (make_stick.RESCUE, make_stick.UEBUNG, make_stick.EXT, make_stick.PACK,
                     make_stick.COMPANION, make_stick.FOURTH):
            path = os.path.join(folder, name)
            found[name] = (stick.file_runs(path, make_stick.MAIN_START)[0][1],
                           os.path.getsize(path) // stick.SECTOR)
    drop_sticks()
    return found


def ordered(journal):
    """The operations whose order matters around a write; a close only if it ends a lock."""
    return [line.replace(" " + DISK, "") for line in journal
            if line.split(" ")[0] in ORDERED or line.endswith("and its lock")]


def each(letters, *steps):
    """The steps for each letter in turn."""
    return [step.replace("?", letter + ":") for letter in letters for step in steps]


def written(lba):
    return [f"write {lba}", "flush"]


DISMOUNT = ("lock ?", "dismount ?", "close ? and its lock")


def new_table(letters_before, letters_after):
    """The order in which a new sector 0 reaches the disk and the volumes return."""
    return (each(letters_before, *DISMOUNT) + written(0) + ["renew"]
            + each(letters_after, "lock ?", "dismount ?") + each(letters_after, "unlock ?")
            + ["renew", "renew"])


def backups():
    return written(60) + written(30)


def boot_record(letters, start):
    """The order around the image's boot record: the volumes stay locked during the write."""
    return (each(letters, *DISMOUNT) + each(letters, "lock ?", "dismount ?") + written(start)
            + each(letters, "unlock ?"))


def check_sector_0(image, before):
    after = stick.read(image, 0)
    for first, end in ((0, 440), (444, 446), (510, 512)):
        check(f"bytes {first} to {end - 1} of sector 0", after[first:end], before[first:end])
    for lba in (30, 60):
        check(f"the backup at LBA {lba}", stick.read(image, lba), before)


def check_image(image, start, sectors):
    """Entry 1's sectors hold the image file, except for the hidden-sectors field."""
    expected = bytearray(stick.read(STICK, start, sectors))
    expected[28:32] = start.to_bytes(4, "little")
    if stick.read(image, start, sectors) != bytes(expected):
        raise AssertionError("the partition does not hold the image file's bytes")


def changed_sectors(image, source):
    """The sectors in which two sticks differ, on the whole disk."""
    changed, step = [], 4096
    for first in range(0, make_stick.TOTAL_SECTORS, step):
        now, before = stick.read(image, first, step), stick.read(source, first, step)
        if now != before:
            changed += [first + at // stick.SECTOR for at in range(0, len(now), stick.SECTOR)
                        if now[at:at + stick.SECTOR] != before[at:at + stick.SECTOR]]
    return changed


def check_changed(image, sectors):
    """On the whole disk only these sectors differ from the demo stick."""
    check("the sectors changed on the disk", changed_sectors(image, STICK), sectors)


def check_writes(run, sectors, disk=DISK):
    """Checks the writes to all disks."""
    writes = [line for line in run.usb.journal if line.split(" ")[0] in ("write", "rig-failure")]
    check("the writes of the whole run", writes, [f"write {disk} {lba}" for lba in sectors])


def refused(run, title, *named, icon="exclamation"):
    """Answers the box of an action that stops, and checks that it names what matters."""
    box = run.robot.box(title, "OK")
    missing = [what for what in named if what.casefold() not in box_text(box).casefold()]
    check(f"what {title!r} doesn't name in {box_text(box)!r}", missing, [])
    check("its icon", f"box {icon} {title}" in run.usb.journal, True)
    run.robot.wait_ready()


def cancel(run):
    run.robot.box(COMMIT, "Cancel")
    run.robot.wait_ready()


def pick(run, letter):
    """Selects the row of a letter."""
    rows = [row[:2] for row in run.robot.state()["drives"]]
    run.robot.do(f"pick {rows.index(letter + ':')}")


def plant(run, name):
    """Puts another program into the program's folder, under the name of one that it starts."""
    shutil.copy(os.path.join(BIN, "planted.exe"), os.path.join(run.place, name))


def check_not_planted(run):
    """No planted program has run."""
    check("the planted program's file",
          os.path.exists(os.path.join(run.folder, "prefix", "drive_c", "planted.txt")), False)


def same(image, source):
    """Byte for byte, the whole disk."""
    stick.run("cmp", image, source)


def doubleclick(run, name, before_question=lambda: None):
    """Double-clicks an image and agrees; returns the words of the last question."""
    run.usb.journal.clear()
    run.robot.doubleclick(name.replace("/", "\\"))
    before_question()
    box = run.robot.expect_box(COMMIT)
    check("the default button", [part["text"] for part in box["controls"] if part.get("default")],
          ["OK"])
    run.robot.answer("OK")
    return box_text(box)
