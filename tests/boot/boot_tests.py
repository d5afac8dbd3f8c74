#!/usr/bin/env python3
"""Boots the sticks that the stories left: boot_tests.py.

Our boot records print on COM1 their name, their hidden-sectors field and the start in the partition
table. Under legacy firmware this covers the boot from the MBR to the partition's first sector; under
UEFI an EFI program in the FAT32 image prints. The sticks that the x64 executable left are booted; those
of the x86 one must be identical.
"""

import os
import select
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "rig"))

import stick  # noqa: E402
from architecture import KNOWN  # noqa: E402
from prepare import ALL, FAR_OFF, STICK  # noqa: E402

FIRMWARE = "/usr/share/OVMF/OVMF_{}_4M.fd"


def left_by(architecture, story):
    return os.path.join(ALL, architecture, "runs", story + ".img")


# Name, the story that left the stick, firmware, what must start.
CASES = (
    ("the demo stick as it is made", None, "bios", "Main volume"),
    ("after the switch to the NTFS image", "switch", "bios", "Rescue menu"),
    ("after the restore and two swaps", "way_back", "bios", "Main volume"),
    ("after the switch with a companion", "pack", "bios", "Pack menu"),
    ("after the switch to the FAT32 image", "keyboard", "bios", "UEBUNG"),
    ("the FAT32 image under UEFI", "keyboard", "uefi", "EFI program of the FAT32 image"),
)

# The same for sticks whose file systems each story makes itself, for both executables.
MADE_ANEW = (
    ("a FAT32 stick after the switch", "fat32_switched", "bios", "UEBUNG"),
    ("a FAT32 stick after the restore", "fat32", "bios", "FAT32 stick"),
    ("an exFAT stick after the switch", "exfat_switched", "bios", "Rescue menu"),
    ("an exFAT stick after the restore", "exfat", "bios", "exFAT stick"),
)


def machine(image, firmware, variables):
    """An emulated PC: KVM in a virtual machine takes ten times as long for real mode."""
    flash = [] if firmware == "bios" else [
        "-drive", f"if=pflash,format=raw,readonly=on,file={FIRMWARE.format('CODE')}",
        "-drive", f"if=pflash,format=raw,file={variables}"]
    memory = "64" if firmware == "bios" else "256"
    return ["qemu-system-x86_64", "-accel", "tcg", "-m", memory, "-display", "none", "-net", "none",
            "-serial", "file:/dev/stdout", *flash, "-snapshot",
            "-drive", f"file={image},format=raw,if=none,id=stick", "-device", "usb-ehci",
            "-device", "usb-storage,drive=stick,bootindex=0"]


def listen(serial, firmware, wanted):
    """What COM1 receives up to the wanted line, another line in its place, or the end of the wait."""
    said, end = "", time.monotonic() + FAR_OFF
    while wanted not in said:
        if firmware == "bios" and said.count("\n") >= 2:
            break  # the MBR's line, and a wrong one from what it started
        ready, _, _ = select.select([serial], [], [], max(0, end - time.monotonic()))
        more = os.read(serial.fileno(), 4096) if ready else b""
        if not more:
            break
        said += more.decode("latin-1")
    return said


def boot(image, firmware, wanted):
    with tempfile.TemporaryDirectory() as folder:
        variables = os.path.join(folder, "variables")
        if firmware == "uefi":
            stick.copy(FIRMWARE.format("VARS"), variables)
        with subprocess.Popen(machine(image, firmware, variables), stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL) as process:
            try:
                return listen(process.stdout, firmware, wanted)
            finally:
                process.kill()


def wanted_line(image, firmware, who):
    """The line that only the right boot record can write, with the start that sfdisk reads."""
    if firmware == "uefi":
        return who + "\r\n"
    start = stick.sfdisk(image)[1][1]
    return f"{who} hidden={start:08X} entry={start:08X}\r\n"


def fault_of(image, firmware, who):
    """What is wrong with the stick that a story left, or None."""
    if not os.path.exists(image):
        return f"no {image}; scripts/stories.sh makes it"
    wanted = wanted_line(image, firmware, who)
    said = boot(image, firmware, wanted)
    return None if wanted in said else f"expected {wanted!r}, COM1 said {said!r}"


def difference(story):
    """The difference between the sticks that the two executables left, or None."""
    try:
        stick.run("cmp", left_by("x64", story), left_by("x86", story))
    except RuntimeError as failure:
        return failure


def main():
    results = [(name, fault_of(left_by("x64", story) if story else STICK, firmware, who))
               for name, story, firmware, who in CASES]
    results += [(f"{name}, {architecture}", fault_of(left_by(architecture, story), firmware, who))
                for architecture in KNOWN for name, story, firmware, who in MADE_ANEW]
    results += [(f"the x86 executable leaves the same stick: {story}", difference(story))
                for story in sorted({story for _, story, _, _ in CASES if story})]
    for name, fault in results:
        print(f"FAIL {name}: {fault}" if fault else f"PASS {name}")
    failed = sum(bool(fault) for _, fault in results)
    print(f"{len(results) - failed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
