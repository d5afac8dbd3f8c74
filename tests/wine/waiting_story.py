"""The story of a person who doesn't wait for a slow copy, but clicks and types."""

import os

from checks import COMMIT, ORDER, RUNS, check, check_writes, fresh_stick, started
from order_story import COMPANION, MOVED, check_files, contents, lay_files, order_question

ALT, F4, ENTER, ESCAPE, SPACE, DOWN = 18, 115, 13, 27, 32, 40
CLOSE_BUTTON = 20  # winuser.h, HTCLOSE
ALL_DRIVES = "List all drives"


class SlowCopy:
    """Lets so many bytes of the copy be written, and holds the rest back."""

    def __init__(self, size):
        self.size, self.written, self.allowed = size, 0, 0

    def filling(self, path, count):
        if not path.endswith(os.path.basename(COMPANION) + "xxx"):
            return "pass"
        if self.written + count > self.allowed:
            return "wait"
        self.written += count
        return "pass"

    def expect_title(self, run, share):
        """Lets a share of the copy be written; returns the state in which the title bar says so."""
        self.allowed = self.size * share // 100
        name = os.path.basename(COMPANION)

        def says_so(state):
            return state["main"]["title"] == (
                f"Copying {name}: {self.written * 100 // self.size} %, copy 1 of at most 33")

        return run.robot.wait("the title bar's words", lambda state: self.written and says_so(state))


def impatience(run):
    """With the real mouse and keyboard, all that could do something."""
    run.robot.do("focus")
    for caption in ("Exit", "Help", ALL_DRIVES):
        run.robot.do(f"hover {caption}")
        run.robot.do("press")
    run.robot.do(f"frame {CLOSE_BUTTON}")
    run.robot.do("press")
    run.robot.do(f"keys {ESCAPE} {ENTER} {SPACE} {DOWN} {ALT}+{ord('H')} {ALT}+{ord('L')} {ALT}+{F4}")


def at_rest(state):
    """What clicks and keys would change."""
    parts = state["main"]["controls"]
    return state["drive"], state["image"], state["focus"], [part.get("ticked") for part in parts], state["boxes"]


def slow_copy(_):
    """Clicks and keys during a slow copy: the title bar shows it, nothing is answered."""
    image = fresh_stick("slow_copy")
    files, _ = lay_files(image)
    slow = SlowCopy(len(files[COMPANION]))
    with started("slow_copy", image, writable=True, children=True, framed=True) as run:
        caption = run.robot.wait_ready()["main"]["title"]
        check("the program's title", caption.startswith("ROTATE_TSD  for NTFS"), True)
        run.usb.filling = slow.filling
        order_question(run, "Yes")
        before = slow.expect_title(run, 41)
        run.picture(os.path.join(RUNS, "slow_copy.png"))
        impatience(run)
        # The words change again only after the window has taken what was pressed by then.
        check("after clicks and keys", at_rest(slow.expect_title(run, 82)), at_rest(before))
        slow.allowed = 2 * slow.size  # in case of a second copy
        run.robot.box(MOVED, "OK")
        run.robot.box(COMMIT, "Cancel")
        state = run.robot.wait_ready()
        check("in the end", at_rest(state), at_rest(before))
        check("the title bar", state["main"]["title"], caption)
        check("the boxes", [line for line in run.usb.journal if line.startswith("box ")],
              [f"box none {title}" for title in (ORDER, MOVED, COMMIT)])
        check_writes(run, (60, 30))
        check_files("on the volume", contents(run.usb.volumes["E"].folder), files)
