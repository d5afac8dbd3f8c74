#!/usr/bin/env python3
"""Boots the sticks that the stories left: boot_tests.py.

Boot records of our own say on COM1 who they are, which hidden-sectors field they carry and which
start the partition table told them. Under legacy firmware that is the whole way of a stick from its
MBR to the partition's first sector; under UEFI it is an EFI program in the FAT32 image.
"""

import os
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "rig"))

import stick  # noqa: E402
from program_run import RIG, STICK  # noqa: E402

RUNS = os.path.join(RIG, "runs")
FAR_OFF = 300  # seconds, for a boot that never comes to its line, on however busy a machine
FIRMWARE = "/usr/share/OVMF/OVMF_{}_4M.fd"

# Name, stick, firmware, who has to come up.
CASES = (
    ("the demo stick as it is made", STICK, "bios", "Main volume"),
    ("after the switch to the NTFS image", os.path.join(RUNS, "switch.img"), "bios", "Rescue menu"),
    ("after the restore and two swaps", os.path.join(RUNS, "way_back.img"), "bios", "Main volume"),
    ("after the switch with a companion", os.path.join(RUNS, "pack.img"), "bios", "Pack menu"),
    ("after the switch to the FAT32 image", os.path.join(RUNS, "keyboard.img"), "bios", "UEBUNG"),
    ("the FAT32 image under UEFI", os.path.join(RUNS, "keyboard.img"), "uefi",
     "EFI program of the FAT32 image"),
    ("a FAT32 stick after the switch", os.path.join(RUNS, "fat32_switched.img"), "bios", "UEBUNG"),
    ("a FAT32 stick after the restore", os.path.join(RUNS, "fat32.img"), "bios", "FAT32 stick"),
    ("an exFAT stick after the switch", os.path.join(RUNS, "exfat_switched.img"), "bios",
     "Rescue menu"),
    ("an exFAT stick after the restore", os.path.join(RUNS, "exfat.img"), "bios", "exFAT stick"),
)


def machine(image, firmware, serial, variables):
    accelerators = ["-accel", "kvm", "-accel", "tcg"] if firmware == "bios" else ["-accel", "tcg"]
    flash = [] if firmware == "bios" else [
        "-drive", f"if=pflash,format=raw,readonly=on,file={FIRMWARE.format('CODE')}",
        "-drive", f"if=pflash,format=raw,file={variables}"]
    memory = "64" if firmware == "bios" else "256"
    return ["qemu-system-x86_64", *accelerators, "-m", memory, "-display", "none", "-net", "none",
            "-serial", f"file:{serial}", *flash, "-snapshot",
            "-drive", f"file={image},format=raw,if=none,id=stick", "-device", "usb-ehci",
            "-device", "usb-storage,drive=stick,bootindex=0"]


def boot(image, firmware, wanted):
    """What came over COM1 up to the wanted line, or to another one in its place."""
    with tempfile.TemporaryDirectory() as folder:
        serial = os.path.join(folder, "serial")
        variables = os.path.join(folder, "variables")
        if firmware == "uefi":
            stick.copy(FIRMWARE.format("VARS"), variables)
        with subprocess.Popen(machine(image, firmware, serial, variables),
                              stdin=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL) as process:
            try:
                said, end = "", time.monotonic() + FAR_OFF
                while time.monotonic() < end and process.poll() is None and wanted not in said:
                    if firmware == "bios" and said.count("\n") >= 2:
                        return said  # the MBR's line, and what it started says another one
                    time.sleep(0.2)
                    if os.path.exists(serial):
                        with open(serial, encoding="latin-1", newline="") as file:
                            said = file.read()
                return said
            finally:
                process.kill()


def wanted_line(image, firmware, who):
    """The line that only the right boot record can write, with the start that sfdisk reads."""
    if firmware == "uefi":
        return who + "\r\n"
    start = stick.sfdisk(image)[1][1]
    return f"{who} hidden={start:08X} entry={start:08X}\r\n"


def main():
    failed = 0
    for name, image, firmware, who in CASES:
        if not os.path.exists(image):
            print(f"FAIL {name}: no {image}; tests/wine/stories.py makes it")
            failed += 1
            continue
        wanted = wanted_line(image, firmware, who)
        said = boot(image, firmware, wanted)
        good = wanted in said
        failed += not good
        print(f"{'PASS' if good else 'FAIL'} {name}: " +
              (wanted.strip() if good else f"expected {wanted!r}, COM1 said {said!r}"), flush=True)
    print(f"{len(CASES) - failed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
