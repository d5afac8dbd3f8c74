"""A run of the shipped executable in a real window: prefix, display, virtual stick, robot user."""

import glob
import os
import re
import shutil
import subprocess

import architecture
import stick
from prepare import BIN, FAR_OFF, PROGRAMS, SERVER, WINE, copy_prefix, wine_environment
from robot_user import Robot
from virtual_usb import VirtualUsb


class ProgramRun:
    """with ProgramRun(folder, stick image) as run: the program runs and the robot works it.
    Everything that was started ends with the block, whatever happens in it. The further images are
    plugged in from the start too. With places (ends of paths to sectors) a substitute extents tool
    prints these. With children, the library is in what the program starts too. With framed, Wine
    draws the windows' frames, which it otherwise leaves to a window manager."""

    def __init__(self, folder, image, program=None, display=None, writable=False,
                 screen="1024x768x24", dpi=96, further=(), places=None, children=False,
                 framed=False):
        self.folder, self.image, self.writable = folder, image, writable
        self.images = (image, *further)
        self.shown_on, self.screen, self.dpi = display, screen, dpi
        self.program = program or os.environ.get(
            "ROTATE_PROGRAM", os.path.join(PROGRAMS, "Rotate_TSD.exe"))
        self.tool = os.path.join(os.path.dirname(self.program), "getFileExtents.exe")
        self.places, self.asks_children, self.framed = places, children, framed
        self.children = []
        self.usb = self.launched = None

    def __enter__(self):
        try:
            self.start()
        except BaseException:
            self.__exit__()
            raise
        return self

    def start(self):
        shutil.rmtree(self.folder, ignore_errors=True)
        os.makedirs(self.folder)
        prefix = os.path.join(self.folder, "prefix")
        copy_prefix(prefix)
        set_density(prefix, self.dpi)
        if self.framed:
            draw_frames(prefix)
        place = os.path.join(prefix, "drive_c", "rotate")
        library = windows_path(os.path.join(BIN, "virtual_usb.dll"))
        os.makedirs(place)
        shutil.copy(self.program, os.path.join(place, "Rotate_TSD.exe"))
        shutil.copy(os.path.join(BIN, "launcher.exe"), os.path.join(place, "getFileExtents.exe"))
        os.remove(os.path.join(prefix, "dosdevices", "z:"))
        os.symlink("/", os.path.join(prefix, "dosdevices", "z:"))
        self.usb = VirtualUsb(self.images, os.path.join(prefix, "dosdevices"),
                              os.path.join(self.folder, "volumes"),
                              os.path.join(self.folder, "journal.txt"), self.writable,
                              architecture.CHOSEN.pointer)
        if self.places is not None:
            self.tool = os.path.join(BIN, "scripted_extents.exe")
            self.tell_places(self.places)
        self.environment = wine_environment(prefix, DISPLAY=self.shown_on or self.display(),
                                            ROTATE_RIG_PORT=str(self.usb.port),
                                            ROTATE_RIG_LIBRARY=library,
                                            ROTATE_RIG_CHILDREN="1" * self.asks_children,
                                            ROTATE_RIG_TOOL=windows_path(self.tool),
                                            ROTATE_RIG_ANSWERS=windows_path(self.answers()))
        with open(self.robot_errors(), "w", encoding="utf-8") as errors:
            self.robot = Robot(self.environment, self.usb.journal, self.ended, errors)
        self.children.append(self.robot.process)
        self.command = [WINE, os.path.join(BIN, "launcher.exe"), library,
                        "C:\\rotate\\Rotate_TSD.exe"]
        self.place = place
        self.launched = self.launch()

    def launch(self):
        """Starts the program, or a second instance of it."""
        self.children.append(subprocess.Popen(self.command, env=self.environment, cwd=self.place,
                                              stdin=subprocess.DEVNULL))
        return self.children[-1]

    def ended(self):
        return self.launched is not None and self.launched.poll() is not None

    def display(self):
        name, server = start_display(self.screen)
        self.children.append(server)
        return name

    def answers(self):
        return os.path.join(self.folder, "places.txt")

    def tell_places(self, places):
        """Sets what the substitute extents tool prints from now on."""
        with open(self.answers(), "w", encoding="utf-8") as file:
            file.writelines(f"{end}\t{lba:X}\n" for end, lba in places.items())

    def extents(self, path):
        """What the extents tool prints for a file, and its exit code."""
        done = subprocess.run([WINE, "C:\\rotate\\getFileExtents.exe", path], env=self.environment,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=FAR_OFF)
        return done.stdout.decode("utf-8", "replace"), done.returncode

    def picture(self, path):
        subprocess.run(["import", "-window", "root", path], env=self.environment, check=True,
                       capture_output=True)

    def robot_errors(self):
        return os.path.join(self.folder, "robot.txt")

    def report(self):
        """Prints the evidence of a failed story."""
        report = os.path.join(self.folder, "prefix", "drive_c", "rotate", "launcher.txt")
        for who, said in (("launcher", report), ("robot", self.robot_errors())):
            if os.path.exists(said) and os.path.getsize(said):
                with open(said, encoding="utf-8", errors="replace") as file:
                    print(f"The {who} says: {file.read().rstrip()}")
        temp = glob.glob(os.path.join(self.folder, "prefix", "drive_c", "users", "**", "Temp", "*"),
                         recursive=True)
        print("Its temp folder:", {os.path.basename(each): os.path.getsize(each) for each in temp})
        print("The program " + ("is running." if self.launched.poll() is None else "has ended."))
        print("\n".join(["The end of the journal:", *self.usb.journal[-12:]]))

    def __exit__(self, *failure):
        if failure and failure[0] is not None:
            self.report()
        if getattr(self, "environment", None):
            subprocess.run([SERVER, "-k"], env=self.environment, capture_output=True)
            subprocess.run([SERVER, "-w"], env=self.environment, capture_output=True)
        for child in reversed(self.children):
            child.terminate()
            child.wait()
        if self.usb:
            self.usb.close()
        shutil.rmtree(os.path.join(self.folder, "prefix"), ignore_errors=True)


def start_display(screen):
    """A free display of that size, and its server."""
    ready, written = os.pipe()
    server = subprocess.Popen(
        ["setpriv", "--pdeathsig", "TERM", "Xvfb", "-displayfd", str(written), "-screen", "0", screen,
         "-nolisten", "tcp"], pass_fds=[written], stderr=subprocess.DEVNULL)
    os.close(written)
    with os.fdopen(ready) as pipe:
        return ":" + pipe.readline().strip(), server


def set_density(prefix, dpi):
    """Writes the density into the registry of a prefix that no server has open."""
    path = os.path.join(prefix, "user.reg")
    with open(path, encoding="latin-1") as file:
        text = file.read()
    head = r"(\[Control Panel\\\\Desktop\][^\n]*\n)"
    text, found = re.subn(head, lambda match: match[1] + f'"LogPixels"=dword:{dpi:08x}\n', text, 1)
    if not found:
        raise RuntimeError("no place for the density in the registry")
    with open(path, "w", encoding="latin-1") as file:
        file.write(text)


def draw_frames(prefix):
    """Into the registry, as set_density does."""
    with open(os.path.join(prefix, "user.reg"), "a", encoding="latin-1") as file:
        file.write('\n[Software\\\\Wine\\\\X11 Driver] 1\n"Decorated"="N"\n')


def windows_path(path):
    return "Z:" + path.replace("/", "\\")
