"""The robot user: works the program's window and says what it shows."""

import json
import os
import subprocess
import time

from prepare import BIN, FAR_OFF, WINE


class Robot:
    """The robot user. Waits look until the thing is there, and fail with what there was instead.
    The journal is the stick's: it tells whether the program is at work."""

    def __init__(self, environment, journal, ended):
        self.journal, self.ended = journal, ended
        self.process = subprocess.Popen(
            [WINE, os.path.join(BIN, "robot.exe")], env=environment, text=True, encoding="utf-8",
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)

    def ask(self, command):
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()
        answer = self.process.stdout.readline()
        if not answer:
            raise AssertionError(f"the robot ended at {command!r}")
        return json.loads(answer)

    def do(self, command):
        if self.ask(command) is not True:
            raise AssertionError(f"the robot could not {command!r}; it saw {self.seen()}")

    def state(self):
        return self.ask("state")

    def seen(self):
        state = self.state()
        boxes = [box["title"] + ": " + box_text(box) for box in state["boxes"]]
        return {"boxes": boxes, "drives": state.get("drives"), "images": state.get("images")}

    def wait(self, what, condition):
        """The first state that meets the condition."""
        end = time.monotonic() + FAR_OFF
        while time.monotonic() < end:
            state = self.state()
            if condition(state):
                return state
            if self.ended():
                raise AssertionError(f"waited for {what}; the program has ended")
            time.sleep(0.1)
        raise AssertionError(f"waited for {what}; the robot saw {self.seen()}")

    def wait_ready(self):
        """The window stands, no box is open and the program is at rest: it answers at once, and
        asks nothing of the stick meanwhile. An action lets the window answer now and then."""
        self.wait("the window", lambda state: state["main"] and not state["boxes"])
        heard, end = None, time.monotonic() + FAR_OFF
        while heard != len(self.journal):
            if time.monotonic() > end:
                raise AssertionError(f"waited for rest; the robot saw {self.seen()}")
            heard = len(self.journal)
            self.idle()
        return self.wait("no box", lambda state: not state["boxes"])

    def idle(self):
        """Until the program has taken every key and click out of its queue."""
        self.do(f"idle {FAR_OFF * 1000}")

    def expect_box(self, title):
        state = self.wait(f"the box {title!r}", lambda now: now["boxes"])
        box = state["boxes"][0]
        if box["title"] != title:
            raise AssertionError(f"expected the box {title!r}, got {self.seen()}")
        return box

    def answer(self, caption):
        before = self.state()["boxes"][0]
        self.do(f"answer {caption}")
        self.wait(f"{before['title']!r} to close", lambda now: before not in now["boxes"])

    def answer_by_key(self, key):
        """A box takes no key in its first moments, so the key is pressed until the box is gone; not
        before the last one has gone its way, or it would answer what comes next."""
        box, end = self.state()["boxes"][0], time.monotonic() + FAR_OFF
        while box in self.state()["boxes"]:
            if time.monotonic() > end:
                raise AssertionError(f"key {key} didn't answer; the robot saw {self.seen()}")
            self.do(f"keys {key}")
            self.idle()

    def expect_tip(self, caption, tip):
        """Hovers over a button until its tip is there. A tip goes away by itself after seconds, in
        which a busy machine may not have looked, and comes again for a pointer that comes again."""
        end = time.monotonic() + FAR_OFF
        while time.monotonic() < end:
            self.do("pointer 0 0")
            self.do(f"hover {caption}")
            for _ in range(50):
                if self.state()["tip"] == tip:
                    return
                time.sleep(0.1)
        raise AssertionError(f"waited for the tip of {caption}")

    def box(self, title, answer):
        """Reads a box and answers it."""
        box = self.expect_box(title)
        self.answer(answer)
        return box

    def doubleclick(self, text):
        self.do(f"doubleclick {self.row(text)}")

    def row(self, text):
        images = self.state()["images"]
        rows = [row for row, image in enumerate(images) if text in image]
        if len(rows) != 1:
            raise AssertionError(f"no single row with {text!r} in {images}")
        return rows[0]


def box_text(box):
    """The words of a box."""
    return "\n".join(part["text"] for part in box["controls"]
                     if part["class"] == "Static" and "icon" not in part)


def control(state, text):
    """A control of the window by its caption."""
    return next(part for part in state["main"]["controls"] if part["text"] == text)
