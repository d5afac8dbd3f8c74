"""The stories of sticks whose main volume is FAT32 or exFAT. The volume's own tables show where the
files lie."""

import fat
import make_stick
import stick
from checks import (COMMIT, RESTORE, RESTORE_QUESTION, backups, boot_record, changed_sectors, check,
                    check_sector_0, check_writes, doubleclick, fresh_stick, new_table, ordered,
                    refused, started)
from extents_story import check_lines, windows_name
from fat_sticks import CHAINED, PIECES, START, TYPE, MainVolume, make_exfat, make_fat32
from prepare import STICK
from robot_user import box_text


def check_places(run, images):
    """The tool prints what the tables say, and the disk holds the images' bytes there. Returns the
    starts of the images."""
    with MainVolume(run.image) as device:
        runs = {name: fat.file_runs(device, name, START) for name in (*images, PIECES)}
    for name, pieces in runs.items():
        check_lines(run, name, pieces)
    run.usb.fault = lambda line: "fail C0000010" if line == "base E:" else None
    check_lines(run, *next(iter(runs.items())))  # as before Windows 7: only the boot record says it
    run.usb.fault = lambda line: None
    for name, data in images.items():
        (_, start, sectors), = runs[name]
        check(f"the disk holds {name} there",
              stick.read(run.image, start, sectors)[:len(data)] == data, True)
    return {name: pieces[0][1] for name, pieces in runs.items()}


def check_switch(run, source, name, data, start):
    doubleclick(run, name)
    run.robot.wait_ready()
    check("the order of the operations", ordered(run.usb.journal),
          backups() + [f"box none {COMMIT}"] + boot_record("EF", start) + new_table("EF", "E"))
    check_writes(run, (60, 30, start, 0))
    kind, sectors = TYPE[stick.file_system(data)], len(data) // stick.SECTOR
    check("the table", stick.sfdisk(run.image), {1: (kind, start, sectors, True)})
    moved = data[:28] + start.to_bytes(4, "little") + data[32:]
    check("the partition holds the image", stick.read(run.image, start, sectors) == moved, True)
    check_sector_0(run.image, stick.read(source, 0))
    check("the sectors changed by the switch", changed_sectors(run.image, source),
          [0, 30, 60, start])


def check_restore(run, source, start):
    run.usb.journal.clear()
    run.robot.do(f"click {RESTORE}")
    run.robot.box(RESTORE_QUESTION, "OK")
    state = run.robot.wait_ready()
    check_writes(run, (0,))
    check("the sectors changed after the restore", changed_sectors(run.image, source),
          [30, 60, start])
    check("images after the restore", len(state["images"]), 3)


def check_pieces_refused(run):
    run.usb.journal.clear()
    run.robot.doubleclick(windows_name(PIECES))
    box = run.robot.box("More than one extent", "OK")
    check("the words of the box", "File is not contiguous" in box_text(box), True)
    refused(run, "File invalid", windows_name(PIECES))
    check_writes(run, (60, 30))


def play(name, place, make, label, images):
    """Switches a stick to the first of its images and back. Leaves NAME.img as after the restore and
    NAME_switched.img as after the switch. images: name to the demo stick's name of the same bytes."""
    data = {new: stick.read(STICK, *place[old]) for new, old in images.items()}
    image = fresh_stick(name, kept=True)
    make(image, data)
    source = fresh_stick(name + "_before", image)
    chosen = next(iter(data))
    with started(name, image) as run:
        state = run.robot.wait_ready()
        check("the label in the row", label in state["drives"][0], True)
        check("images on the stick", len(state["images"]), 3)
        start = check_places(run, data)[chosen]
        check_pieces_refused(run)
        check_switch(run, source, chosen, data[chosen], start)
        fresh_stick(name + "_switched", image, kept=True)
        check_restore(run, source, start)


def fat32(place):
    """A FAT32 stick is switched and restored; a fragmented file is refused."""
    play("fat32", place, make_fat32, "TSD FAT",
         {make_stick.UEBUNG: make_stick.UEBUNG, make_stick.RESCUE: make_stick.RESCUE})


def exfat(place):
    """The same with exFAT, for files with and without a FAT chain."""
    play("exfat", place, make_exfat, "TSD exFAT Ü",
         {make_stick.RESCUE: make_stick.RESCUE, CHAINED: make_stick.PACK})
