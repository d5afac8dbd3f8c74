"""Stories of a person who doesn't wait: keys pressed before anything is to be read."""

import make_stick
import stick
from checks import check, check_changed, check_writes, fresh_stick, started
from extents_story import windows_name
from program_run import STICK, box_text

ALT, ENTER = 18, 13
QUESTION, TYPE = "Change partition table", "Set partition type (hex)"
RESTORE = "Restore TSD partition table"


def select(run, name):
    """Clicks an image's row, so that Enter goes to it."""
    run.robot.wait_ready()
    run.robot.do(f"select {run.robot.row(windows_name(name))}")
    run.robot.do("focus")
    run.robot.wait("the list's focus", lambda now: now["focus"] == "ListBox")


def stays(run, title):
    """The box is there, and still is when the program has taken every key out of its queue."""
    run.robot.expect_box(title)
    run.robot.do("idle 25000")
    return run.robot.expect_box(title)


def impatience(_):
    """Enter every 60 ms, and an Enter that is held: no question is answered that nobody has seen."""
    image = fresh_stick("impatience")
    with started("impatience", image) as run:
        for keys in (f"hammer {ENTER} 60", f"hold {ENTER} 30"):
            select(run, make_stick.RESCUE)
            run.robot.do(keys)
            stays(run, QUESTION)
            run.robot.answer("Cancel")
        select(run, make_stick.PACK)
        run.robot.do(f"hammer {ENTER} 60")
        stays(run, TYPE)
        run.robot.answer("Cancel")
        check("the type", "PTN4: Type=00" in box_text(run.robot.expect_box(QUESTION)), True)
        run.robot.answer("Cancel")
        run.robot.wait_ready()
        check_writes(run, (60, 30) * 3)
    check_changed(image, [30, 60])


def impatient_restore(place):
    """The same at the question before a restore."""
    image = fresh_stick("impatient_restore")
    old = stick.read(STICK, 0)
    for lba in (30, 60):
        stick.write(image, lba, old)
    stick.write(image, 0, old[:446] + stick.entry(7, *place[make_stick.RESCUE], True) + bytes(48)
                + old[510:])
    with started("impatient_restore", image) as run:
        run.robot.wait_ready()
        run.robot.do("focus")
        run.robot.do(f"keys {ALT}+{ord('T')}")
        run.robot.do(f"hammer {ENTER} 60")
        stays(run, RESTORE)
        run.robot.answer("Cancel")
        run.robot.wait_ready()
        check_writes(run, ())
