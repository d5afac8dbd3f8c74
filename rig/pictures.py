#!/usr/bin/env python3
"""Takes pictures of the window with a full list and of each kind of box, at 100, 150 and 200 % scaling,
to look at after a change of the window: pictures.py [--documents] [FOLDER], build/rig/pictures by
default. With --documents those of docs/ are renewed.

Whether something is cut off or overlaps is for the eye. A box that doesn't open is an error here.
"""

import os
import shutil
import sys
import time

import architecture
import make_stick
import stick
from prepare import ALL, RIG, ROOT, STICK, own, prepare
from program_run import ProgramRun

NAMES = [f"_ISO/LINUX/A system with a number, {number:02} of 40.volPAK" for number in range(1, 41)]
NAMES += ["_ISO/LINUX/" + "A very long name " * 9 + "indeed.volPAK", "_ISO/Größe  Üß   é.volPAK"]
TORN, COMPANION = "_ISO/WIN/In two pieces.volPAK", "_ISO/WIN/Wrong order"

# Pictures of the documents, for each executable: from their names here.
DOCUMENTS = {
    "x64": {"box-ok-cancel": "window", "window-end": "pictures/list",
            **{f"box-{kind}": f"pictures/box-{kind}" for kind in
               ("exclamation", "information", "plain", "stop", "type", "yes-no-cancel")}},
    "x86": {"window": "pictures/list-x86"}}


def add(image, name, size, at=0):
    """Adds each extent in a separate mount, which puts it after the existing files."""
    with stick.Mounted(image, own("look"), make_stick.MAIN_START,
                    make_stick.MAIN_SECTORS) as folder:
        with open(os.path.join(folder, name), "r+b" if at else "wb") as file:
            file.seek(at)
            file.write(b"\x5a" * size)


def full_stick(image):
    stick.copy(STICK, image)
    add(image, TORN, 1 << 16)
    add(image, "between.bin", 1 << 16)
    add(image, TORN, 1 << 16, at=1 << 16)
    add(image, COMPANION, 1 << 16)
    add(image, COMPANION + ".volPAK", 1 << 16)
    with stick.Mounted(image, own("look"), make_stick.MAIN_START,
                    make_stick.MAIN_SECTORS) as folder:
        for name in NAMES:
            with open(os.path.join(folder, name), "wb") as file:
                file.write(b"\x5a" * 4096)


class Camera:
    """Takes pictures of what the program shows, without the bare desktop around it."""

    def __init__(self, run, folder, dpi):
        self.run, self.folder, self.dpi = run, folder, dpi

    def take(self, name):
        time.sleep(0.5)  # it is painted after the messages still in the queue
        path = os.path.join(self.folder, f"{name}-{self.dpi * 100 // 96}.png")
        self.run.picture(path)
        stick.run("convert", path, "-trim", "+repage", path)

    def box(self, name, command, answer="OK"):
        """Takes the box that a command to the robot opens."""
        self.run.robot.wait_ready()
        self.run.robot.do(command)
        self.run.robot.wait(f"the box for {name}", lambda state: state["boxes"])
        self.take(name)
        self.run.robot.answer(answer)


def play(run, camera):
    robot = run.robot
    images = robot.wait_ready()["images"]
    robot.do("pointer 1599 1199")  # away from the controls, whose tool tips would cover the window
    robot.do("focus")
    camera.take("window")

    def doubleclick(text):
        return f"doubleclick {next(row for row, image in enumerate(images) if text in image)}"

    camera.box("box-plain", "click Help")
    camera.box("box-information", "label Double-click on a .volPAK file to switch to the CSM Menu")
    camera.box("box-exclamation", doubleclick("In two pieces"))
    robot.box("File invalid", "OK")
    robot.wait_ready()
    robot.do("keys 35")  # End
    camera.take("window-end")
    camera.box("box-yes-no-cancel", doubleclick("Wrong order"), "Cancel")
    camera.box("box-type", doubleclick("ext.volPAK"))
    robot.box("Change partition table", "Cancel")
    run.usb.disk(1).refused.add(0)
    camera.box("box-ok-cancel", doubleclick("Rescue volume"))
    robot.expect_box("SECTOR WRITE FAILED")
    camera.take("box-stop")


def renew_documents(folder):
    for name, document in DOCUMENTS[architecture.CHOSEN.name].items():
        stick.run("convert", os.path.join(folder, name + "-100.png"), "-strip", "-dither", "None",
                  "-colors", "64", "-define", "png:exclude-chunks=date,time",
                  "PNG8:" + os.path.join(ROOT, "docs", document + ".png"))


def main():
    arguments = [word for word in sys.argv[1:] if word != "--documents"]
    folder = os.path.abspath(arguments[0]) if arguments else os.path.join(ALL, "pictures")
    prepare()
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    image = os.path.join(RIG, "full.img")
    for dpi in (96, 144, 192):
        full_stick(image)
        run = ProgramRun(os.path.join(RIG, "pictured"), image, screen="1600x1200x24", dpi=dpi)
        with run:
            play(run, Camera(run, folder, dpi))
    if len(arguments) + 1 < len(sys.argv):
        renew_documents(folder)
    print(f"The pictures are in {folder}.")


if __name__ == "__main__":
    main()
