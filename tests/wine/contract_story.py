"""The platform's contract on the Windows implementation."""

import os
import shutil
import subprocess

from checks import RUNS, check
from prepare import FAR_OFF, PROGRAMS, SERVER, WINE, copy_prefix, wine_environment


def contract(_):
    """Every case of the platform's contract holds on the Windows implementation."""
    home = os.path.join(RUNS, "contract")
    prefix = os.path.join(home, "prefix")
    shutil.rmtree(home, ignore_errors=True)
    os.makedirs(home)
    copy_prefix(prefix)
    os.makedirs(os.path.join(prefix, "drive_c", "contract"))
    environment = wine_environment(prefix)
    try:
        program = os.path.join(PROGRAMS, "contract_win32.exe")
        done = subprocess.run([WINE, program, "C:\\contract\\"], env=environment, timeout=FAR_OFF,
                              stdin=subprocess.DEVNULL, capture_output=True)
    finally:
        subprocess.run([SERVER, "-k"], env=environment, capture_output=True)
        shutil.rmtree(prefix, ignore_errors=True)
    cases = done.stdout.decode().split("\r\n")[:-1]
    if not cases:
        raise AssertionError(f"nothing ran: {done.stderr.decode()}")
    check("cases that don't hold", [case for case in cases if not case.endswith(": ok")], [])
    check("its exit code", done.returncode, 0)
