#!/usr/bin/env python3
"""Makes what runs on the rig start from: its Windows side, a pristine prefix, the demo stick. Run as a
program it makes the parts that need compilers, for a run in a Debian root without them."""

import contextlib
import ctypes
import fcntl
import os
import shutil
import subprocess

import architecture
import stick

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.realpath(os.path.join(HERE, ".."))
ALL = os.path.join(ROOT, "build", "rig")
RIG = os.path.join(ALL, architecture.CHOSEN.name)  # one per architecture: both may run at once
BIN = os.path.join(RIG, "bin")
STICK = os.path.join(ALL, "stick.img")
PRISTINE = os.path.join(RIG, "prefix")
PROGRAMS = os.path.join(ROOT, "build", architecture.CHOSEN.preset)
MODULES = os.path.join(ROOT, "build", "wine10", "modules")  # Wine's x86 side; see scripts/wine10.sh
WINE = next((path for path in ("/usr/lib/wine/wine64", "/usr/bin/wine64")
             if os.path.exists(path)), "wine64")
SERVER = os.path.join(os.path.dirname(WINE), "wineserver64")
ADDR_NO_RANDOMIZE = 0x40000  # sys/personality.h
FAR_OFF = 300  # seconds; even on a busy machine a wait lasts that long only after a fault
_held = []


def hold(path):
    """Waits until no other process holds the file."""
    os.makedirs(os.path.dirname(path), exist_ok=True)
    lock = open(path, "w", encoding="utf-8")
    fcntl.flock(lock, fcntl.LOCK_EX)
    return lock


def make_rig():
    """Makes the rig's Windows side and the demo stick if they are missing or outdated."""
    with contextlib.closing(hold(os.path.join(ALL, "lock"))):
        stick.run(os.path.join(HERE, "build.sh"), BIN, architecture.CHOSEN.triple)
        parts = [os.path.join(HERE, name) for name in ("make_stick.py", "stick.py")]
        parts += [os.path.join(HERE, "boot", name)
                  for name in ("mbr.asm", "volume.asm", "say.inc", "efi_hello.c")]
        if not os.path.exists(STICK) or any(
                os.path.getmtime(part) > os.path.getmtime(STICK) for part in parts):
            stick.run(os.path.join(HERE, "make_stick.py"), STICK)


def keep_addresses():
    """Makes the processes started from now on lie at fixed addresses. At random ones, one in ten
    thousand has its heap where Wine maps the page that all Windows processes share (0x7FFE0000), and
    doesn't start. A container that refuses this keeps the risk."""
    system = ctypes.CDLL(None)
    system.personality(system.personality(0xFFFFFFFF) | ADDR_NO_RANDOMIZE)


def prepare():
    """Makes whatever is missing. One run per architecture at a time: the folder is locked until the
    process ends."""
    keep_addresses()
    make_rig()
    _held.append(hold(os.path.join(RIG, "lock")))
    stick.release_leftovers(RIG)
    shutil.rmtree(os.path.join(RIG, "own"), ignore_errors=True)
    make_prefix()


def make_prefix():
    """Makes the prefix again if another version of Wine made it; made-by names the version."""
    made_by, version = os.path.join(PRISTINE, "made-by"), stick.run(WINE, "--version")
    if os.path.exists(made_by):
        with open(made_by, encoding="utf-8") as file:
            if file.read() == version:
                return
    shutil.rmtree(PRISTINE, ignore_errors=True)
    environment = wine_environment(PRISTINE)
    subprocess.run([WINE, "wineboot", "-i"], env=environment, check=True, capture_output=True)
    subprocess.run([SERVER, "-w"], env=environment, check=True)
    with open(made_by, "w", encoding="utf-8") as file:
        file.write(version)


def own(name):
    """The path of a folder private to this process: stories run side by side."""
    return os.path.join(RIG, "own", f"{os.getpid()}-{name}")


def copy_prefix(prefix):
    # Hard links do for all but the registry, which the server writes in place.
    stick.run("cp", "-al", PRISTINE, prefix)
    for name in os.listdir(PRISTINE):
        if name.endswith(".reg"):
            os.remove(os.path.join(prefix, name))
            shutil.copy(os.path.join(PRISTINE, name), prefix)


def wine_environment(prefix, **more):
    """Without a debugger, whose box would keep a crashed program from ending."""
    if architecture.CHOSEN.name == "x86":
        more["WINEDLLPATH"] = MODULES
    return dict(os.environ, WINEPREFIX=prefix, WINEDEBUG="-all", LC_ALL="C.UTF-8",
                WINEDLLOVERRIDES="mscoree,mshtml,winedbg.exe=", **more)


if __name__ == "__main__":
    make_rig()
