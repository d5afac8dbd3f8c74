"""Stories of an impatient user, who presses keys before there is anything to read."""

import make_stick
from checks import (COMMIT, RESTORE_QUESTION, TYPE, check, check_changed, check_writes, fresh_stick,
                    pick, started, switched_stick)
from extents_story import windows_name
from robot_user import box_text

ALT, ENTER = 18, 13
SATA = 11


def select(run, name):
    """Clicks an image's row, so that Enter goes to it."""
    run.robot.wait_ready()
    run.robot.do(f"select {run.robot.row(windows_name(name))}")
    run.robot.do("focus")
    run.robot.wait("the list's focus", lambda now: now["focus"] == "ListBox")


def stays(run, title):
    """The box is open, and still is after the program has taken every key out of its queue."""
    run.robot.expect_box(title)
    run.robot.idle()
    return run.robot.expect_box(title)


def impatience(_):
    """Enter every 60 ms, and Enter held down: no question is answered unseen."""
    image = fresh_stick("impatience")
    with started("impatience", image) as run:
        for keys in (f"hammer {ENTER} 60", f"hold {ENTER} 30"):
            select(run, make_stick.RESCUE)
            run.robot.do(keys)
            stays(run, COMMIT)
            run.robot.answer("Cancel")
        select(run, make_stick.PACK)
        run.robot.do(f"hammer {ENTER} 60")
        stays(run, TYPE)
        run.robot.answer("Cancel")
        check("the type", "PTN4: Type=00" in box_text(run.robot.expect_box(COMMIT)), True)
        run.robot.answer("Cancel")
        run.robot.wait_ready()
        check_writes(run, (60, 30) * 3)
    check_changed(image, [30, 60])


def impatient_restore(place):
    """The same at the question before a restore."""
    with started("impatient_restore", switched_stick("impatient_restore", place)) as run:
        run.robot.wait_ready()
        run.robot.do("focus")
        run.robot.do(f"keys {ALT}+{ord('T')}")
        run.robot.do(f"hammer {ENTER} 60")
        stays(run, RESTORE_QUESTION)
        run.robot.answer("Cancel")
        run.robot.wait_ready()
        check_writes(run, ())


def impatient_warning(_):
    """The same at the warning before the first write to a drive 0 that isn't on USB."""
    warning = "WARNING: Writing to Drive 0!"
    image = fresh_stick("impatient_warning")
    with started("impatient_warning", image) as run:
        run.robot.wait_ready()
        with run.usb.mutex:
            disk = run.usb.disk(1)
            disk.renumber(0)
            disk.renumbered()
            disk.bus, disk.removable = SATA, False
        run.robot.do("click List all drives")
        run.robot.box("ROTATE_TSD", "OK")
        state = run.robot.wait_ready()
        check("drive 0", "E: DRIVE 0 " in [row[:11] for row in state["drives"]], True)
        pick(run, "E")
        select(run, make_stick.RESCUE)
        run.robot.do(f"hammer {ENTER} 60")
        stays(run, warning)
        run.robot.answer("Cancel")
        run.robot.box("SECTOR WRITE FAILED", "OK")
        run.robot.wait_ready()
        check_writes(run, ())
    check_changed(image, [])
