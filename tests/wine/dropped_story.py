"""The story of a worn stick, which acknowledges a write and loses it: the write counts as failed, and
the run ends or goes on as after any failed write."""

import make_stick
import stick
from checks import (check, check_image, check_sector_0, check_writes, doubleclick, fresh_stick,
                    started)
from robot_user import box_text

WRITE_FAILED, PATCH_FAILED = "SECTOR WRITE FAILED", "Error Adjusting Hidden Sectors in PBR"


def reported(run, title, text):
    check("the box", box_text(run.robot.box(title, "OK")), text)
    run.robot.wait_ready()
    check("its icon", f"box stop {title}" in run.usb.journal, True)


def dropped_copy(run, lba, writes):
    """A copy of the table that never arrives ends the run before anything else is changed."""
    run.usb.disk(1).dropped = {lba}
    run.usb.journal.clear()
    run.robot.doubleclick(make_stick.RESCUE.replace("/", "\\"))
    reported(run, WRITE_FAILED, f"WRITE SECTOR {lba} to DRIVE 1 FAILED!")
    check_writes(run, writes)
    check(f"LBA {lba}", stick.read(run.image, lba), bytes(512))


def dropped_table(run, start, table):
    run.usb.disk(1).dropped = {0}
    doubleclick(run, make_stick.RESCUE)
    reported(run, WRITE_FAILED, "WRITE SECTOR 0 to DRIVE 1 FAILED!")
    check_writes(run, (60, 30, start, 0))
    check("renewals", [line for line in run.usb.journal if line.startswith("renew")], [])
    check("sector 0", stick.read(run.image, 0), table)


def dropped_boot_record(run, start):
    """The table is written nevertheless, as after any failure to patch."""
    record = stick.read(run.image, start)
    run.usb.disk(1).dropped = {start}
    doubleclick(run, make_stick.UEBUNG)
    reported(run, PATCH_FAILED, f"WRITE ERROR TO SECTOR {start}")
    check_writes(run, (60, 30, start, 0))
    check("the boot record", stick.read(run.image, start), record)


def dropped_writes(place):
    """Writes to LBA 60, 30, 0 and a boot record that never arrive: each is reported as failed."""
    image = fresh_stick("dropped")
    table = stick.read(image, 0)
    with started("dropped", image) as run:
        run.robot.wait_ready()
        dropped_copy(run, 60, (60,))
        dropped_copy(run, 30, (60, 30))
        dropped_table(run, place[make_stick.RESCUE][0], table)
        dropped_boot_record(run, place[make_stick.UEBUNG][0])
    check_sector_0(image, table)
    check_image(image, *place[make_stick.RESCUE])
    check("the table", stick.sfdisk(image), {1: (0x0C, *place[make_stick.UEBUNG], True)})
