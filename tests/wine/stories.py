#!/usr/bin/env python3
"""Whole stories with the shipped executable in a real window: stories.py [STORY...], started by
scripts/stories.sh. ROTATE_STORIES_AT_ONCE says how many run side by side.

Each story plays on its own copies of the demo stick in build/rig/ARCHITECTURE/runs and leaves the
journal and a picture there. The sticks of a failed story stay too, and those that the boot tests use.
"""

import os
import signal
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "rig"))

import changed_story
import dropped_story
import extents_story
import fat_story
import instance_story
import keys_story
import make_stick
import names_story
import order_story
import places_story
import signed_story
import stick
import two_sticks_story
import waiting_story
import windows_check_story
from checks import (COMMIT, RESTORE, RESTORE_QUESTION, RUNS, SWAP, SWAP_QUESTION, TYPE, backups,
                    boot_record, check, check_changed, check_image, check_sector_0, check_writes,
                    doubleclick, drop_sticks, fresh_stick, new_table, ordered, places, started)
from prepare import STICK, prepare
from robot_user import box_text, control
from side_by_side import Stories

TAB, ENTER, ESCAPE, DOWN, ALT = 9, 13, 27, 40, 18

STORIES = []


def story(function):
    STORIES.append(function)
    return function


@story
def switch(place):
    """A double-click on an NTFS image with blanks in its name."""
    image = fresh_stick("switch", kept=True)
    before = stick.read(image, 0)
    start, sectors = place[make_stick.RESCUE]
    with started("switch", image) as run:
        state = run.robot.wait_ready()
        check("the drives", [row[:11] for row in state["drives"]], ["E: DRIVE 1 ", "F: DRIVE 1 "])
        check("the label in the row", "TSD Stick Ü" in state["drives"][0], True)
        check("the stick's own name", "TSDDEMO Virtual Stick" in state["drives"][0], True)
        check("images on the stick", len(state["images"]), 4)
        check("restore is off", control(state, RESTORE)["enabled"], False)
        run.picture(os.path.join(RUNS, "switch.png"))
        text = doubleclick(run, make_stick.RESCUE)
        check("the question", text.replace("\r", "").split("\n"), [
            f"PTN1: Type=07 (NTFS)   Start={start} (0x{start:X}) ",
            "E:\\" + make_stick.RESCUE.replace("/", "\\"), "", "PTN2: -", "", "PTN3: -", "",
            "PTN4: -", "", "OK to write new MBR to Drive 1?"])
        state = run.robot.wait_ready()
        check("the order of the operations", ordered(run.usb.journal),
              backups() + [f"box none {COMMIT}"] + boot_record("EF", start)
              + new_table("EF", "E"))
        check_writes(run, (60, 30, start, 0))
        check("images on the new volume", state["images"], [])
        check("the new volume", "Rescue menu" in state["drives"][0], True)
        check("restore is on", control(state, RESTORE)["enabled"], True)
    check_sector_0(image, before)
    check_image(image, start, sectors)
    check_changed(image, [0, 30, 60, start])
    check("the table", stick.sfdisk(image), {1: (7, start, sectors, True)})
    check("the disk signature", stick.read(image, 0)[440:444], start.to_bytes(4, "little"))


@story
def way_back(_):
    """Restore on the switched stick, then swap partitions 1 and 2, and swap again."""
    image = fresh_stick("way_back", os.path.join(RUNS, "switch.img"), kept=True)
    old = stick.read(STICK, 0)
    main = (7, make_stick.MAIN_START, make_stick.MAIN_SECTORS, True)
    second = (0x0E, make_stick.SECOND_START, make_stick.SECOND_SECTORS, False)
    with started("way_back", image) as run:
        state = run.robot.wait_ready()
        check("images before the restore", state["images"], [])
        run.usb.journal.clear()
        run.robot.do(f"click {RESTORE}")
        run.robot.box(RESTORE_QUESTION, "OK")
        state = run.robot.wait_ready()
        check("the order of the restore", ordered(run.usb.journal),
              [f"box none {RESTORE_QUESTION}"] + new_table("E", "EF"))
        check("sector 0 after the restore", stick.read(image, 0), old)
        check("the table after the restore", stick.sfdisk(image), {1: main, 2: second})
        check("images after the restore", len(state["images"]), 4)
        for table in ({1: second, 2: main}, {1: main, 2: second}):
            check("swap is on", control(state, SWAP)["enabled"], True)
            run.usb.journal.clear()
            run.robot.do(f"click {SWAP}")
            run.robot.box(SWAP_QUESTION, "OK")
            state = run.robot.wait_ready()
            check("the order of the swap", ordered(run.usb.journal),
                  [f"box none {SWAP_QUESTION}"]
                  + new_table("EF", "EF"))
            check("the table after the swap", stick.sfdisk(image), table)
        check("sector 0 after two swaps", stick.read(image, 0), old)


@story
def pack(place):
    """An image with a companion and a fourth file, for whose type the program asks."""
    image = fresh_stick("pack", kept=True)
    before = stick.read(image, 0)
    start, sectors = place[make_stick.PACK]
    with started("pack", image) as run:
        state = run.robot.wait_ready()
        row = "E:\\" + make_stick.PACK.replace("/", "\\") + " :&: Pack :&X4: persist"
        check("the row", row in state["images"], True)

        def type_question():
            box = run.robot.expect_box(TYPE)
            field = next(part for part in box["controls"] if part["class"] == "Edit")
            check("the type offered", field["text"], "0x83")
            check("the prompt", "for the 4th image file" in box_text(box), True)
            run.robot.answer("OK")

        text = doubleclick(run, make_stick.PACK, type_question)
        entry = f"PTN4: Type=83 Start={place[make_stick.FOURTH][0]} "
        check("entry 4 in the question", entry in text, True)
        run.robot.wait_ready()
        check_writes(run, (60, 30, start, 0))
    check_sector_0(image, before)
    check_image(image, start, sectors)
    check("the table", stick.sfdisk(image), {
        1: (7, start, sectors, True), 3: (7, *place[make_stick.COMPANION], False),
        4: (0x83, *place[make_stick.FOURTH], False)})


@story
def other_format(place):
    """An image of another format: the user types its type, its boot record stays unchanged."""
    image = fresh_stick("other_format")
    start, sectors = place[make_stick.EXT]
    with started("other_format", image) as run:
        run.robot.wait_ready()

        def type_question():
            run.robot.expect_box(TYPE)
            run.robot.do("type ox82")
            run.robot.answer("OK")

        doubleclick(run, make_stick.EXT, type_question)
        box = run.robot.box("Error in Adjusting Hidden Sectors in PBR", "OK")
        check("the box", box_text(box), "UNKNOWN PARTITION TYPE 130")
        run.robot.wait_ready()
        check("its icon", f"box stop {box['title']}" in run.usb.journal, True)
        check_writes(run, (60, 30, 0))
    check_changed(image, [0, 30, 60])
    check("the table", stick.sfdisk(image), {1: (0x82, start, sectors, True)})


def press(run, key, what):
    """Presses a key; returns the state after its part named what has changed."""
    before = run.robot.state()[what]
    run.robot.do(f"keys {key}")
    return run.robot.wait(f"another {what} than {before}", lambda now: now[what] not in ("", before))


@story
def keyboard(place):
    """Keys only: the tab order, an accelerator, Enter on a row with umlauts."""
    image = fresh_stick("keyboard", kept=True)
    start, sectors = place[make_stick.UEBUNG]
    with started("keyboard", image) as run:
        state = run.robot.wait_ready()
        parts = state["main"]["controls"]
        check("the names that a screen reader says", [
            (before["class"], before["text"], before["visible"], part["class"])
            for before, part in zip(parts, parts[1:]) if part["class"] in ("ComboBox", "ListBox")],
              [("Static", "Drive", False, "ComboBox"),
               ("Static", "Partition image files", False, "ListBox")])
        run.robot.expect_tip("Refresh", "Use if you have inserted or removed a drive")
        run.robot.do("focus")
        check("the first stop", state["focus"], "ComboBox")
        stops = [press(run, TAB, "focus")["focus"] for _ in range(5)]
        check("the tab order, past what is off", stops,
              ["List all drives", "Refresh", SWAP, "Help", "Exit"])
        run.robot.do(f"keys {ALT}+{ord('L')}")
        warning = run.robot.expect_box("ROTATE_TSD")
        check("the warning", box_text(warning),
              "WARNING: Lists all drives containing grub4dos MBR!")
        run.robot.answer_by_key(ESCAPE)
        state = run.robot.wait_ready()
        check("unticked again", control(state, "List all drives")["ticked"], False)
        for _ in range(12):
            if run.robot.state()["focus"] == "ListBox":
                break
            press(run, TAB, "focus")
        rows = run.robot.state()["images"]
        wanted = next(row for row, text in enumerate(rows) if "Übung Süd" in text)
        for _ in range(len(rows)):
            if run.robot.state()["image"] == wanted:
                break
            press(run, DOWN, "image")
        run.usb.journal.clear()
        run.robot.do(f"keys {ENTER}")
        text = box_text(run.robot.expect_box(COMMIT))
        check("the type in the question", "PTN1: Type=0C (FAT32)  Start=" in text, True)
        name = "E:\\" + make_stick.UEBUNG.replace("/", "\\")
        check("the name in the question", name in text, True)
        run.robot.answer_by_key(ENTER)
        run.robot.wait_ready()
        check_writes(run, (60, 30, start, 0))
    check_image(image, start, sectors)
    check("the table", stick.sfdisk(image), {1: (0x0C, start, sectors, True)})


@story
def refused_write(place):
    """A cancel, and a stick that refuses sector 0: a box reports it, the old table stays."""
    image = fresh_stick("refused_write")
    with started("refused_write", image) as run:
        run.robot.wait_ready()
        run.robot.doubleclick(make_stick.RESCUE.replace("/", "\\"))
        run.robot.box(COMMIT, "Cancel")
        run.robot.wait_ready()
        check_writes(run, (60, 30))
        run.usb.disk(1).refused.add(0)
        doubleclick(run, make_stick.RESCUE)
        box = run.robot.box("SECTOR WRITE FAILED", "OK")
        check("the box", box_text(box), "WRITE SECTOR 0 to DRIVE 1 FAILED!")
        run.robot.wait_ready()
        check_writes(run, (60, 30, place[make_stick.RESCUE][0], 0))
        renewals = [line for line in run.usb.journal if "renew" in line]
        check("renewals after a failed write", renewals, [])
    check_changed(image, [30, 60, place[make_stick.RESCUE][0]])


story(extents_story.extents)
story(fat_story.fat32)
story(fat_story.exfat)
story(order_story.order_held)
story(waiting_story.slow_copy)
story(keys_story.impatience)
story(keys_story.impatient_restore)
story(keys_story.impatient_warning)
story(instance_story.second_start)
story(two_sticks_story.two_sticks)
story(signed_story.signed_anew)
story(dropped_story.dropped_writes)
story(names_story.every_alphabet)
story(windows_check_story.windows_check)
story(windows_check_story.windows_check_on_a_stick)

LONG = [order_story.order_repair, changed_story.changed_drive, places_story.impossible_places]
FOLLOWS = {way_back: switch}  # it starts with the stick that the other one leaves


def main(names):
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    prepare()
    os.makedirs(RUNS, exist_ok=True)
    chosen = [each for each in LONG + STORIES if not names or each.__name__ in names]
    stories = Stories(chosen, FOLLOWS, places(), RUNS, drop_sticks)
    stories.run(int(os.environ.get("ROTATE_STORIES_AT_ONCE", "2")))
    print(f"{stories.passed} passed, {stories.failed} failed")
    return 1 if stories.failed or not chosen else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
