"""The Windows check under Wine: as anybody starts it, and on a stick, where files have places."""

import os
import shutil
import subprocess

from checks import RUNS, check, check_writes, fresh_stick, started
from prepare import FAR_OFF, PROGRAMS, SERVER, WINE, copy_prefix, wine_environment
from program_run import start_display, windows_path

PROGRAM = os.path.join(PROGRAMS, "windows_check.exe")
# Wine's own drive reports neither its length nor where its files lie.
SILENT = "facts, disk 0: it doesn't say its length, error 50"
NO_PLACE = ["extents, " + name
            for name in ("one page and a byte.bin", "Übung (1) & more.bin", "three megabytes.bin")]


def check_rows(folder, command, environment, not_possible):
    """Runs the check in a folder. All rows of its table have passed but these."""
    done = subprocess.run([WINE, *command], env=environment, timeout=FAR_OFF,
                          stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
    with open(os.path.join(folder, "windows_check.txt"), encoding="utf-8", newline="") as file:
        text = file.read()
    print(text)
    check("its exit code", done.returncode, 0)
    table = text.rstrip().split("\r\n\r\n")[-2].strip().split("\r\n")
    rows = [(line[:19].rstrip(), line[19:].partition(": No disk offset")[0]) for line in table]
    check("what hasn't passed", [row for row in rows if row[0] != "passed"],
          [("not possible here", name) for name in not_possible])
    check("the parts that ran", sorted({name.partition(",")[0] for _, name in rows}),
          ["a folder of its own", "captions", "contract", "extents", "facts", "window"])


def windows_check(_):
    """The Windows check alone: all passes but what Wine's one disk can't report."""
    home = os.path.join(RUNS, "windows_check")
    prefix = os.path.join(home, "prefix")
    folder = os.path.join(prefix, "drive_c", "check")
    shutil.rmtree(home, ignore_errors=True)
    os.makedirs(home)
    copy_prefix(prefix)
    os.makedirs(folder)
    shutil.copy(PROGRAM, folder)
    display, server = start_display("1024x768x24")
    environment = wine_environment(prefix, DISPLAY=display)
    try:
        check_rows(folder, ["C:\\check\\windows_check.exe"], environment, [SILENT] + NO_PLACE)
        left = [path for path, _, _ in os.walk(prefix) if "Rotate_TSD" in path]
        check("what stays of its folder", left, [])
    finally:
        subprocess.run([SERVER, "-k"], env=environment, capture_output=True)
        server.terminate()
        server.wait()
        shutil.rmtree(prefix, ignore_errors=True)


def windows_check_on_a_stick(_):
    """The Windows check with its temp folder on a stick: files lie where the tool says."""
    with started("windows_check_on_a_stick", fresh_stick("windows_check"), writable=True) as run:
        run.robot.wait_ready()
        run.robot.do("click Exit")
        run.launched.wait(FAR_OFF)
        shutil.copy(PROGRAM, run.place)
        launcher, library = windows_path(run.command[1]), run.command[2]
        with open(os.path.join(run.place, "check.cmd"), "w", encoding="utf-8") as file:
            file.write(f'@set TMP=E:\\\n@"{launcher}" "{library}" C:\\rotate\\windows_check.exe '
                       "C:\\rotate\n")
        check_rows(run.place, ["cmd", "/c", "C:\\rotate\\check.cmd"], run.environment, [SILENT])
        check_writes(run, ())
