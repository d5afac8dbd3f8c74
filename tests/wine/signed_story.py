"""The story of a switched stick on which Windows wrote a new disk signature, the mark of a switched
table: the saved table stays the first one, and is restored."""

import os

import make_stick
import stick
from checks import (RESTORE, RESTORE_QUESTION, SWAP, SWAP_QUESTION, cancel, check, check_writes,
                    doubleclick, fresh_stick, pick, started)
from extents_story import mounted

IMAGE = make_stick.RESCUE + "2"  # keeps entry 2, so that the table still has a partition near the start


def lay_stick(image):
    """The main volume is partition 2; returns the table."""
    with mounted(image) as folder:
        os.rename(os.path.join(folder, make_stick.RESCUE), os.path.join(folder, IMAGE))
    table = stick.read(image, 0)
    table = table[:446] + table[462:478] + table[446:462] + table[478:]
    stick.write(image, 0, table)
    return table


def sign(image):
    table = stick.read(image, 0)
    stick.write(image, 0, table[:440] + b"\x12\x34\x56\x78" + table[444:])


def once_more(run, image, first):
    """Another double-click on the switched stick leaves the saved tables unchanged."""
    run.usb.journal.clear()
    run.robot.doubleclick(IMAGE.replace("/", "\\"))
    cancel(run)
    check_writes(run, ())
    check("the saved tables", [stick.read(image, lba) == first for lba in (30, 60)], [True, True])


def agree(run, caption, question):
    run.robot.do(f"click {caption}")
    run.robot.box(question, "OK")
    run.robot.wait_ready()


def signed_anew(place):
    """A switched stick with a new signature, also after a swap: the first table is restored."""
    image = fresh_stick("signed_anew")
    first = lay_stick(image)
    with started("signed_anew", image) as run:
        run.robot.wait_ready()
        pick(run, "F")
        run.robot.wait_ready()
        doubleclick(run, IMAGE)
        run.robot.wait_ready()
        check_writes(run, (60, 30, place[make_stick.RESCUE][0], 0))
        sign(image)
        once_more(run, image, first)
        agree(run, SWAP, SWAP_QUESTION)
        once_more(run, image, first)
        pick(run, "E")
        run.robot.wait_ready()
        agree(run, RESTORE, RESTORE_QUESTION)
    check("sector 0 after the restore", stick.read(image, 0), first)
