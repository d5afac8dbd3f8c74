"""The story of places that can't be: another extents tool beside the program prints them, a
partition lies over a backup sector, and a table says that the disk has a GPT."""

import make_stick
import stick
from checks import (DISK, cancel, check, check_changed, fresh_stick, pick, refused, started,
                    switched_stick)
from extents_story import windows_name

BAD_START, BAD_PLACE, GPT = "Bad FStart", "Bad place of file!", "Drive has a GPT!"
SWAP, RESTORE = "Access Partition 2 on a Removable drive", "Restore TSD partitions"
SELF = "getFileExtents.exe"  # asked about at the start, whether the rights are enough
LINUX = 0x83


def end(name):
    return windows_name(name)[2:]


def ends(place):
    """What a true tool prints."""
    return {end(name): start for name, (start, _) in place.items()} | {SELF: 64}


def misplaced(run, place, name, start, title, *named, icon="exclamation"):
    run.tell_places(ends(place) | {end(name): start})
    run.robot.doubleclick(windows_name(name))
    refused(run, title, *named, icon=icon)
    run.tell_places(ends(place))


def impossible_starts(run, place):
    """Two images: of the first, the companion is measured last, in its true place."""
    pack, rescue = make_stick.PACK, make_stick.RESCUE
    total, other = make_stick.TOTAL_SECTORS, place[make_stick.UEBUNG][0]
    for name, start in ((pack, 5), (pack, 30)):
        misplaced(run, place, name, start, BAD_START, icon="stop")
    for name, start in ((pack, 60), (rescue, total + 8), (rescue, total - 100), (rescue, other)):
        misplaced(run, place, name, start, BAD_PLACE, windows_name(name), f"{start}")
    run.robot.doubleclick(windows_name(rescue))
    cancel(run)


def writes_of(run):
    return [line for line in run.usb.journal if line.startswith(("write", "rig-failure"))]


def add_entry(image, offset, kind, start, sectors):
    sector = stick.read(image, 0)
    stick.write(image, 0, sector[:offset] + stick.entry(kind, start, sectors) + sector[offset + 16:])


def covered_copy(run):
    """A partition at sectors 40 to 79: LBA 60 is its own, however blank it is."""
    pick(run, "G")
    run.robot.wait_ready()
    run.usb.journal.clear()
    run.robot.doubleclick("G:" + end(make_stick.RESCUE))
    cancel(run)
    check("the writes", writes_of(run), ["write PhysicalDrive2 30"])


def refused_gpt(run, letter, number, image, act):
    """The table says so only now, so that the buttons are as for any other table."""
    pick(run, letter)
    run.robot.wait_ready()
    before = stick.read(image, 0)
    add_entry(image, 494, 0xEE, 1, 2047)
    run.usb.journal.clear()
    act()
    refused(run, GPT, f"Drive {number}")
    check("the writes", writes_of(run), [])
    stick.write(image, 0, before)


def impossible_places(place):
    """Starts that can't be, a copy inside a partition, a GPT: a box each, and nothing is written."""
    first, second = fresh_stick("places_1"), fresh_stick("places_2")
    add_entry(second, 478, LINUX, 40, 40)
    third = switched_stick("places_3", place)
    with started("places", first, further=(second, third), places=ends(place)) as run:
        run.robot.wait_ready()
        impossible_starts(run, place)
        check("the other disks", [line for line in writes_of(run) if DISK not in line], [])
        check_changed(first, [30, 60])
        covered_copy(run)
        rescue = windows_name(make_stick.RESCUE)
        refused_gpt(run, "E", 1, first, lambda: run.robot.doubleclick(rescue))
        refused_gpt(run, "E", 1, first, lambda: run.robot.do(f"click {SWAP}"))
        refused_gpt(run, "I", 3, third, lambda: run.robot.do(f"click {RESTORE}"))
