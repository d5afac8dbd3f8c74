#!/usr/bin/env python3
"""The real window on the demo stick. With a display a person works it; without one the robot user
switches to an image and back, and prints everything that happened."""

import os
import signal
import sys

import make_stick
import stick
from prepare import RIG, STICK, prepare
from program_run import ProgramRun
from robot_user import box_text


def show_table(image, when):
    print(f"\nThe partition table {when}, as sfdisk reads it:")
    print(stick.run("sfdisk", "--list", "-o", "Device,Boot,Start,Sectors,Id,Type", image).rstrip())


def show_box(box):
    buttons = " ".join(f"[{part['text']}]" for part in box["controls"] if part["class"] == "Button")
    print(f"\nBox \"{box['title']}\":")
    for line in box_text(box).replace("\r", "").split("\n"):
        print(f"    {line}")
    print(f"    {buttons}   the robot answers OK")


def answer_boxes(robot):
    """Answers OK to every box until the program is idle."""
    while True:
        state = robot.wait("a box or idling", lambda now: now["boxes"] or robot.ask("idle 1500"))
        if not state["boxes"]:
            return
        show_box(state["boxes"][0])
        robot.answer("OK")


def play(run):
    image = run.image
    state = run.robot.wait_ready()
    print(f"The window \"{state['main']['title']}\" is open. Drives:")
    print("\n".join("    " + row for row in state["drives"]))
    print("Images on the stick:")
    print("\n".join("    " + row for row in state["images"]))
    show_table(image, "before")
    picture = os.path.join(RIG, "window.png")
    run.picture(picture)
    print(f"\nThe robot double-clicks {make_stick.RESCUE}.")
    run.robot.doubleclick(make_stick.RESCUE.replace("/", "\\"))
    run.robot.expect_box("Change partition table")
    answer_boxes(run.robot)
    show_table(image, "after the switch")
    run.picture(os.path.join(RIG, "window-switched.png"))
    print("\nThe robot clicks \"Restore TSD partitions\".")
    run.robot.do("click Restore TSD partitions")
    run.robot.expect_box("Restore TSD partition table")
    answer_boxes(run.robot)
    show_table(image, "after the restore")
    same = stick.read(image, 0) == stick.read(STICK, 0)
    print("\nSector 0 is " + ("byte for byte what it was before." if same else "NOT what it was."))
    print(f"Pictures of the window: {picture} and window-switched.png beside it.")
    return 0 if same else 1


def main():
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    prepare()
    image = os.path.join(RIG, "demo.img")
    stick.copy(STICK, image)
    display = os.environ.get("DISPLAY")
    with ProgramRun(os.path.join(RIG, "demo"), image, display=display, writable=True) as run:
        if not display:
            return play(run)
        print(f"The window is on display {display}; the stick is {image}. Close the window to end.")
        run.launched.wait()
    show_table(image, "now")
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        sys.exit(130)
