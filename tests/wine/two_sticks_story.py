"""The story of two sticks at once: no image of one gets into the other's table."""

import os

import make_stick
from checks import RUNS, check, check_writes, fresh_stick, pick, refused, same, started
from extents_story import mounted, windows_name
from prepare import STICK

OTHER_DRIVE = "File is on another drive!"


def companions(image):
    """Adds files that are companions of the first stick's images only by name."""
    with mounted(image) as folder:
        for name in (make_stick.EXT, make_stick.UEBUNG, make_stick.RESCUE):
            stem = os.path.splitext(os.path.basename(name))[0]
            with open(os.path.join(folder, "_ISO", stem), "wb") as file:
                file.write(b"of the second stick")


def misread(run, letter):
    """Selects a drive that can't be read: the list stays unchanged."""
    before = run.robot.state()["images"]
    pick(run, letter)
    run.robot.box("SECTOR READ FAILED", "OK")
    check("the images still shown", run.robot.wait_ready()["images"], before)


def old_row(run, *named):
    """Double-clicks an image of the first stick while the second is selected."""
    name = windows_name(make_stick.RESCUE)
    run.robot.doubleclick(name)
    refused(run, OTHER_DRIVE, name, "E:", "Drive 1", "G:", *named)


def two_sticks(_):
    """Two sticks: rows left from the first are refused for the second; companions stay separate."""
    first, second = fresh_stick("two_sticks"), fresh_stick("two_sticks_2")
    companions(second)
    before = fresh_stick("two_sticks_before", second)
    with started("two_sticks", first, further=(second,)) as run:
        state = run.robot.wait_ready()
        check("the drives", [row[:11] for row in state["drives"]],
              ["E: DRIVE 1 ", "F: DRIVE 1 ", "G: DRIVE 2 ", "H: DRIVE 2 "])
        run.picture(os.path.join(RUNS, "two_sticks.png"))
        for letter in "EGE":
            pick(run, letter)
            rows = run.robot.wait_ready()["images"]
            check("four images of the drive picked", [row[0] for row in rows], [letter] * 4)
            foreign = [row for row in rows if letter == "E" and ("G:" in row or "H:" in row)]
            check("rows with a companion on the other stick", foreign, [])
        run.usb.disk(2).unreadable.add(0)
        misread(run, "G")
        run.usb.disk(2).unreadable.clear()
        old_row(run, "Drive 2")
        pick(run, "E")
        run.robot.wait_ready()
        run.usb.pull_out(2)
        misread(run, "G")
        run.usb.put_in(2, second)
        old_row(run)
        check_writes(run, ())
    same(first, STICK)
    same(second, before)
