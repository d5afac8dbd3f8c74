"""The story of impossible places: a substitute extents tool prints them, a partition covers a backup
sector, and a table says that the disk has a GPT."""

import make_stick
import stick
from checks import (RESTORE, SWAP, cancel, check_changed, check_writes, fresh_stick, pick, refused,
                    started, switched_stick)
from extents_story import windows_name

BAD_START, BAD_PLACE, GPT = "Bad FStart", "Bad place of file!", "Drive has a GPT!"
SELF = "getFileExtents.exe"  # measured at start-up, to test the rights
LINUX = 0x83


def end(name):
    return windows_name(name)[2:]


def ends(place):
    """What the real tool prints."""
    return {end(name): start for name, (start, _) in place.items()} | {SELF: 64}


def misplaced(run, place, name, start, title, *named, icon="exclamation"):
    run.usb.journal.clear()
    run.tell_places(ends(place) | {end(name): start})
    run.robot.doubleclick(windows_name(name))
    refused(run, title, *named, icon=icon)
    check_writes(run, (60, 30))
    run.tell_places(ends(place))


def impossible_starts(run, place):
    """Two images, one with a companion, which is measured last and in its true place."""
    pack, rescue = make_stick.PACK, make_stick.RESCUE
    for start in (5, 30):
        misplaced(run, place, pack, start, BAD_START, icon="stop")
    total = make_stick.TOTAL_SECTORS
    for start, *why in ((60,), (total - 100, f"{total}"), (place[make_stick.UEBUNG][0],)):
        misplaced(run, place, rescue, start, BAD_PLACE, windows_name(rescue), f"{start}", *why)
    run.robot.doubleclick(windows_name(rescue))
    cancel(run)


def add_entry(image, offset, kind, start, sectors):
    sector, entry = stick.read(image, 0), stick.entry(kind, start, sectors)
    stick.write(image, 0, sector[:offset] + entry + sector[offset + 16:])


def covered_copy(run):
    """A partition at sectors 40 to 79: LBA 60 belongs to it, although blank."""
    pick(run, "G")
    run.robot.wait_ready()
    run.usb.journal.clear()
    run.robot.doubleclick("G:" + end(make_stick.RESCUE))
    cancel(run)
    check_writes(run, (30,), "PhysicalDrive2")


def refused_gpt(run, letter, number, image, act):
    """The table says GPT only now, so that the buttons are enabled as for any other table."""
    pick(run, letter)
    run.robot.wait_ready()
    before = stick.read(image, 0)
    add_entry(image, 494, 0xEE, 1, 2047)
    run.usb.journal.clear()
    act()
    refused(run, GPT, f"Drive {number}")
    check_writes(run, ())
    stick.write(image, 0, before)


def impossible_places(place):
    """Impossible starts, a copy inside a partition, a GPT: only a free copy is written."""
    first, second = fresh_stick("places_1"), fresh_stick("places_2")
    add_entry(second, 478, LINUX, 40, 40)
    third = switched_stick("places_3", place)
    with started("places", first, further=(second, third), places=ends(place)) as run:
        run.robot.wait_ready()
        impossible_starts(run, place)
        check_changed(first, [30, 60])
        covered_copy(run)
        rescue = windows_name(make_stick.RESCUE)
        refused_gpt(run, "E", 1, first, lambda: run.robot.doubleclick(rescue))
        refused_gpt(run, "E", 1, first, lambda: run.robot.do(f"click {SWAP}"))
        refused_gpt(run, "I", 3, third, lambda: run.robot.do(f"click {RESTORE}"))
