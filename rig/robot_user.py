"""The robot user: works the program's window and reports what it shows."""

import json
import os
import subprocess
import time

from prepare import BIN, FAR_OFF, WINE


class Robot:
    """The robot user. A wait polls for the expected state and fails with the state found instead.
    The journal is the stick's: it shows whether the program is working. What Wine prints when the
    robot crashes goes into the file errors."""

    def __init__(self, environment, journal, ended, errors):
        self.journal, self.ended = journal, ended
        self.process = subprocess.Popen(
            [WINE, os.path.join(BIN, "robot.exe")], env=environment, text=True, encoding="utf-8",
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=errors)

    def ask(self, command):
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()
        answer = self.process.stdout.readline()
        if not answer:
            raise AssertionError(f"the robot ended at {command!r} with {self.process.wait():#x}")
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
        """Returns the first state that meets the condition."""
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
        """Waits until the window is open without a box and the program is idle: it answers at once,
        without an operation on the stick in between, as an action lets the window answer too."""
        self.wait("the window", lambda state: state["main"] and not state["boxes"])
        heard, end = None, time.monotonic() + FAR_OFF
        while heard != len(self.journal):
            if time.monotonic() > end:
                raise AssertionError(f"waited for an idle program; the robot saw {self.seen()}")
            heard = len(self.journal)
            self.idle()
        return self.wait("no box", lambda state: not state["boxes"])

    def idle(self):
        """Waits until the program has taken every key and click out of its queue."""
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
        """A box takes no key at first, so the key is pressed until the box is gone; each time only after
        the last press was handled, which would otherwise answer the next box."""
        box, end = self.state()["boxes"][0], time.monotonic() + FAR_OFF
        while box in self.state()["boxes"]:
            if time.monotonic() > end:
                raise AssertionError(f"key {key} didn't answer; the robot saw {self.seen()}")
            self.do(f"keys {key}")
            self.idle()

    def expect_tip(self, caption, tip):
        """Hovers over a button until its tip is shown. A tip disappears after some seconds, perhaps
        before a busy machine has looked, and reappears when the pointer returns."""
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
    """The text of a box."""
    return "\n".join(part["text"] for part in box["controls"]
                     if part["class"] == "Static" and "icon" not in part)


def control(state, text):
    """A control of the window by its caption."""
    return next(part for part in state["main"]["controls"] if part["text"] == text)
