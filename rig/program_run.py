"""A run of the shipped executable in a real window: prefix, display, virtual stick, robot user."""

import fcntl
import json
import os
import re
import shutil
import subprocess
import time

import stick
from virtual_usb import VirtualUsb

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.realpath(os.path.join(HERE, ".."))
RIG = os.path.join(ROOT, "build", "rig")
BIN = os.path.join(RIG, "bin")
STICK = os.path.join(RIG, "stick.img")
WINE = next((path for path in ("/usr/lib/wine/wine64", "/usr/bin/wine64")
             if os.path.exists(path)), "wine64")
SERVER = os.path.join(os.path.dirname(WINE), "wineserver64")
FAR_OFF = 40  # seconds, for a wait that only a fault lets come to its end on a busy machine
_held = None


def prepare():
    """Builds the rig's Windows side, the pristine prefix and the demo stick, where not there yet.
    One run at a time: the folder is held until the process ends."""
    os.makedirs(RIG, exist_ok=True)
    global _held
    _held = open(os.path.join(RIG, "lock"), "w", encoding="utf-8")
    fcntl.flock(_held, fcntl.LOCK_EX)
    stick.release_leftovers(RIG)
    stick.run(os.path.join(HERE, "build.sh"), BIN)
    pristine = os.path.join(RIG, "prefix")
    if not os.path.exists(os.path.join(pristine, "system.reg")):
        shutil.rmtree(pristine, ignore_errors=True)
        environment = wine_environment(pristine)
        subprocess.run([WINE, "wineboot", "-i"], env=environment, check=True, capture_output=True)
        subprocess.run([SERVER, "-w"], env=environment, check=True)
    parts = [os.path.join(HERE, name) for name in ("make_stick.py", "stick.py")]
    parts += [os.path.join(HERE, "boot", name)
              for name in ("mbr.asm", "volume.asm", "say.inc", "efi_hello.c")]
    stale = not os.path.exists(STICK) or any(
        os.path.getmtime(part) > os.path.getmtime(STICK) for part in parts)
    if stale:
        stick.run(os.path.join(HERE, "make_stick.py"), STICK)


def wine_environment(prefix, **more):
    return dict(os.environ, WINEPREFIX=prefix, WINEDEBUG="-all", LC_ALL="C.UTF-8",
                WINEDLLOVERRIDES="mscoree,mshtml=", **more)


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

    def wait(self, what, condition, seconds=FAR_OFF):
        """The first state that meets the condition."""
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            state = self.state()
            if condition(state):
                return state
            if self.ended():
                raise AssertionError(f"waited for {what}; the program has ended")
            time.sleep(0.1)
        raise AssertionError(f"waited for {what}; the robot saw {self.seen()}")

    def wait_ready(self, seconds=FAR_OFF):
        """The window stands, no box is open and the program is at rest: it answers at once, and
        asks nothing of the stick meanwhile. An action lets the window answer now and then."""
        self.wait("the window", lambda state: state["main"] and not state["boxes"], seconds)
        heard, end = None, time.monotonic() + seconds
        while heard != len(self.journal):
            if time.monotonic() > end:
                raise AssertionError(f"waited for rest; the robot saw {self.seen()}")
            heard = len(self.journal)
            self.do(f"idle {seconds * 1000}")
        return self.wait("no box", lambda state: not state["boxes"])

    def expect_box(self, title, seconds=FAR_OFF):
        state = self.wait(f"the box {title!r}", lambda now: now["boxes"], seconds)
        box = state["boxes"][0]
        if box["title"] != title:
            raise AssertionError(f"expected the box {title!r}, got {self.seen()}")
        return box

    def answer(self, caption):
        before = self.state()["boxes"][0]
        self.do(f"answer {caption}")
        self.wait(f"{before['title']!r} to close", lambda now: before not in now["boxes"])

    def answer_by_key(self, key, seconds=FAR_OFF):
        """A box takes no key in its first moments, so the key is pressed until the box is gone."""
        box, end = self.state()["boxes"][0], time.monotonic() + seconds
        while box in self.state()["boxes"]:
            if time.monotonic() > end:
                raise AssertionError(f"key {key} didn't answer; the robot saw {self.seen()}")
            self.do(f"keys {key}")
            time.sleep(0.3)

    def box(self, title, answer, seconds=FAR_OFF):
        """Reads a box and answers it."""
        box = self.expect_box(title, seconds)
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


class ProgramRun:
    """with ProgramRun(folder, stick image) as run: the program runs and the robot looks at it.
    Everything that was started ends with the block, whatever happened in it. The further images
    are in from the start too. With places, the ends of paths to sectors, the extents tool is
    another one, which prints these."""

    def __init__(self, folder, image, program=None, display=None, writable=False,
                 screen="1024x768x24", dpi=96, further=(), places=None):
        self.folder, self.image, self.writable = folder, image, writable
        self.images = (image, *further)
        self.shown_on, self.screen, self.dpi = display, screen, dpi
        self.program = program or os.environ.get(
            "ROTATE_PROGRAM", os.path.join(ROOT, "build", "win64", "Rotate_TSD.exe"))
        self.tool = os.path.join(os.path.dirname(self.program), "getFileExtents.exe")
        self.places = places
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
        # Links are enough for all but the registry, which the server writes in place.
        pristine = os.path.join(RIG, "prefix")
        stick.run("cp", "-al", pristine, prefix)
        for name in os.listdir(pristine):
            if name.endswith(".reg"):
                os.remove(os.path.join(prefix, name))
                shutil.copy(os.path.join(pristine, name), prefix)
        set_density(prefix, self.dpi)
        place = os.path.join(prefix, "drive_c", "rotate")
        library = windows_path(os.path.join(BIN, "virtual_usb.dll"))
        os.makedirs(place)
        shutil.copy(self.program, os.path.join(place, "Rotate_TSD.exe"))
        shutil.copy(os.path.join(BIN, "launcher.exe"), os.path.join(place, "getFileExtents.exe"))
        os.remove(os.path.join(prefix, "dosdevices", "z:"))
        os.symlink("/", os.path.join(prefix, "dosdevices", "z:"))
        self.usb = VirtualUsb(self.images, os.path.join(prefix, "dosdevices"),
                              os.path.join(self.folder, "volumes"),
                              os.path.join(self.folder, "journal.txt"), self.writable)
        if self.places is not None:
            self.tool = os.path.join(BIN, "told_extents.exe")
            self.tell_places(self.places)
        self.environment = wine_environment(prefix, DISPLAY=self.shown_on or self.display(),
                                            ROTATE_RIG_PORT=str(self.usb.port),
                                            ROTATE_RIG_LIBRARY=library,
                                            ROTATE_RIG_TOOL=windows_path(self.tool),
                                            ROTATE_RIG_ANSWERS=windows_path(self.answers()))
        self.robot = Robot(self.environment, self.usb.journal, self.ended)
        self.children.append(self.robot.process)
        self.command = [WINE, os.path.join(BIN, "launcher.exe"), library,
                        "C:\\rotate\\Rotate_TSD.exe"]
        self.place = place
        self.launched = self.launch()

    def launch(self):
        """Starts the program, also once more."""
        self.children.append(subprocess.Popen(self.command, env=self.environment, cwd=self.place,
                                              stdin=subprocess.DEVNULL))
        return self.children[-1]

    def ended(self):
        return self.launched is not None and self.launched.poll() is not None

    def display(self):
        ready, told = os.pipe()
        server = subprocess.Popen(
            ["setpriv", "--pdeathsig", "TERM", "Xvfb", "-displayfd", str(told), "-screen", "0",
             self.screen, "-nolisten", "tcp"], pass_fds=[told], stderr=subprocess.DEVNULL)
        self.children.append(server)
        os.close(told)
        with os.fdopen(ready) as pipe:
            return ":" + pipe.readline().strip()

    def answers(self):
        return os.path.join(self.folder, "places.txt")

    def tell_places(self, places):
        """What the other extents tool prints from now on."""
        with open(self.answers(), "w", encoding="utf-8") as file:
            file.writelines(f"{end}\t{lba:X}\n" for end, lba in places.items())

    def extents(self, path):
        """What the extents tool prints of a file, and its exit code."""
        done = subprocess.run([WINE, "C:\\rotate\\getFileExtents.exe", path], env=self.environment,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=FAR_OFF)
        return done.stdout.decode("utf-8", "replace"), done.returncode

    def picture(self, path):
        subprocess.run(["import", "-window", "root", path], env=self.environment, check=True,
                       capture_output=True)

    def tell(self):
        """What a story that failed leaves to look at."""
        told = os.path.join(self.folder, "prefix", "drive_c", "rotate", "launcher.txt")
        if os.path.exists(told):
            with open(told, encoding="utf-8") as file:
                print(f"The launcher says: {file.read().rstrip()}")
        print("The program " + ("runs." if self.launched.poll() is None else "has ended."))
        print("\n".join(["The journal's end:", *self.usb.journal[-12:]]))

    def __exit__(self, *failure):
        if failure and failure[0] is not None:
            self.tell()
        if getattr(self, "environment", None):
            subprocess.run([SERVER, "-k"], env=self.environment, capture_output=True)
            subprocess.run([SERVER, "-w"], env=self.environment, capture_output=True)
        for child in reversed(self.children):
            child.terminate()
            child.wait()
        if self.usb:
            self.usb.close()
        shutil.rmtree(os.path.join(self.folder, "prefix"), ignore_errors=True)


def set_density(prefix, dpi):
    """Into the registry of a prefix that no server has open."""
    path = os.path.join(prefix, "user.reg")
    with open(path, encoding="latin-1") as file:
        text = file.read()
    head = r"(\[Control Panel\\\\Desktop\][^\n]*\n)"
    text, found = re.subn(head, lambda match: match[1] + f'"LogPixels"=dword:{dpi:08x}\n', text, 1)
    if not found:
        raise RuntimeError("no place for the density in the registry")
    with open(path, "w", encoding="latin-1") as file:
        file.write(text)


def windows_path(path):
    return "Z:" + path.replace("/", "\\")
