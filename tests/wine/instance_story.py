"""The story of a program that is started again while it runs."""

import glob
import os
import time

from checks import check, fresh_stick, started
from prepare import FAR_OFF

TITLE, RUNNING = "Rotate_TSD for .volPAK files", "Rotate_TSD is already running!"


def temp_files(run):
    """The temp folder's files and when each was last written. The walk follows no links: a prefix links
    the user's folders to the home folder, in which the rig itself may be."""
    users = os.path.join(run.folder, "prefix", "drive_c", "users")
    folders = [folder for folder, _, _ in os.walk(users) if os.path.basename(folder) == "Temp"]
    return sorted((path, os.stat(path).st_mtime_ns) for folder in folders
                  for path in glob.glob(os.path.join(folder, "*")))


def start_again(run, meanwhile=lambda: None):
    """Starts the program a second time; that instance must end by itself."""
    second = run.launch()
    meanwhile()
    check("the second start's exit code", second.wait(FAR_OFF), 0)


def start_again_early(run):
    """A second start before the first one shows anything. On a busy machine it may give up with a box,
    which the robot then answers."""
    second = run.launch()

    def over():
        if [box["title"] for box in run.robot.state()["boxes"]] == [RUNNING]:
            run.robot.ask("answer OK")
        return second.poll() is not None

    until("the end of the second start", over)
    check("its exit code", second.returncode, 0)


def until(what, condition):
    end = time.monotonic() + FAR_OFF
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"waited for {what}")
        time.sleep(0.1)


def second_start(_):
    """A second start brings the first instance to the front and ends, whatever that is doing."""
    with started("second_start", fresh_stick("second_start")) as run:
        until("the first sign of the first start", lambda: run.usb.journal)
        start_again_early(run)
        main = run.robot.wait_ready()["main"]["title"]
        before, asked = temp_files(run), len(run.usb.journal)
        check("the tool's copy is there", [os.path.basename(path) for path, _ in before],
              ["getFileExtents.exe"])
        run.robot.do("minimise")
        run.robot.wait("the window minimised", lambda now: now["minimised"])
        start_again(run)
        run.robot.wait("the window in front",
                       lambda now: now["front"] == main and not now["minimised"])
        run.robot.do("click Help")
        run.robot.expect_box(TITLE)
        start_again(run)
        run.robot.wait("the box in front", lambda now: now["front"] == TITLE)
        run.robot.answer("OK")
        run.robot.do("freeze")
        start_again(run, lambda: until("its box", lambda: run.robot.ask("answer OK")))
        run.robot.do("thaw")
        run.robot.wait_ready()
        check("what was asked of the system", run.usb.journal[asked:],
              [f"box none {TITLE}", f"box exclamation {RUNNING}"])
        check("the temp folder's files", temp_files(run), before)
        run.robot.do("click Help")
        run.robot.expect_box(TITLE)
        run.robot.do("endsession")
        check("the temp folder at the session's end", temp_files(run), [])
