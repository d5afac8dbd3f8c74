#!/usr/bin/env python3
"""Figures of the shipped executables under Wine, each with what it is compared with.

Runs on the rig. Compare figures of one run only: a busy machine makes all of them larger.
"""
import os
import shutil
import subprocess
import sys
import time

ROOT = os.path.realpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
sys.path[:0] = [os.path.join(ROOT, "rig"), os.path.join(ROOT, "tests", "wine")]
import make_stick
import prepare
import virtual_usb
from checks import fresh_stick, started

PAUSES = 3.55  # seconds: the designed pauses of a plain switch (see PlainSwitch)
FILES, FOLDERS, IMAGES = 100_000, 5_000, 1_000

times = []


def timed_note(usb, line, note=virtual_usb.VirtualUsb.note):
    times.append((time.monotonic(), line))
    note(usb, line)


virtual_usb.VirtualUsb.note = timed_note
answering = []  # seconds that the rig took to answer each question of the program


def timed_answer(usb, question, answer=virtual_usb.VirtualUsb.answer):
    begun = time.monotonic()
    try:
        return answer(usb, question)
    finally:
        answering.append(time.monotonic() - begun)


virtual_usb.VirtualUsb.answer = timed_answer


def tool_seconds(lines):
    """Sum of the times from the operation before each tool run to the program's next one after it."""
    total = 0
    for i in range(1, len(lines)):
        if lines[i][1].startswith("runs "):
            after = next(at for at, line in lines[i:] if line.startswith(("number ", "box ")))
            total += after - lines[i - 1][0]
    return total


def memory_of(process):
    """Resident size of a process and its private part, in MB."""
    with open(f"/proc/{process}/smaps_rollup", encoding="utf-8") as sizes:
        text = sizes.read()

    def megabytes(*keys):
        return sum(int(text.split(key)[1].split()[0]) for key in keys) / 1024

    return megabytes("Rss:"), megabytes("Private_Clean:", "Private_Dirty:")


def process_of(program):
    """The process that runs a program, given by its path in the prefix."""
    for process in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{process}/cmdline", "rb") as line:
                if line.read().decode().lower().strip('"').startswith(program.lower()):
                    return process
        except OSError:
            continue
    raise RuntimeError(f"nothing runs {program}")


def bare_memory(environment):
    """The same for a window that does nothing, once it has stopped growing."""
    program = os.path.join(ROOT, "build", "win64", "bare_window.exe")
    bare = subprocess.Popen([prepare.WINE, program], env=environment)
    try:
        before, now = None, (0, 0)
        while now != before or now[0] < 5:  # below that it is still loading
            time.sleep(1)
            before, now = now, memory_of(bare.pid)
        return now
    finally:
        bare.terminate()
        bare.wait()


def plain_switch():
    image = fresh_stick("figures")
    with started("figures", image) as run:
        run.robot.wait_ready()
        # The window is shown between the tool's answer and the first look at a drive.
        window, _ = next(entry for entry in times if "PhysicalDrive0" in entry[1])
        window -= max(at for at, line in times if line.startswith("runs ") and at < window)
        memory = (memory_of(process_of("C:\\rotate\\Rotate_TSD.exe")),
                  bare_memory(run.environment))
        del times[:], answering[:]
        clicked = time.monotonic()
        run.robot.doubleclick("Rescue volume")
        run.robot.expect_box("Change partition table")
        shown = next(at for at, line in times if line.startswith("box "))
        run.robot.box("Change partition table", "OK")
        run.robot.wait_ready()
        # Without a window manager Wine takes two seconds to close a box, so the second half counts
        # from the first operation after it.
        after = next(i for i, (_, line) in enumerate(times) if line.startswith("box ")) + 1
        busy = (shown - clicked) + (times[-1][0] - times[after][0])
        tools = tool_seconds(times)
    return {"window": window, "memory": memory, "wall": busy, "tools": tools,
            "asked": len(answering), "rig": sum(answering), "beyond": busy - PAUSES - tools}


def make_tree(folder):
    if os.path.exists(os.path.join(folder, "made")):
        return
    shutil.rmtree(folder, ignore_errors=True)
    for number in range(FOLDERS):
        where = os.path.join(folder, f"g{number // 100}", f"folder {number}")
        os.makedirs(where)
        for i in range(FILES // FOLDERS):
            ending = "volPAK" if i == 0 and number % (FOLDERS // IMAGES) == 0 else "txt"
            open(os.path.join(where, f"file {number} {i}.{ending}"), "w").close()
    open(os.path.join(folder, "made"), "w").close()


def search():
    tree = os.path.join(ROOT, "build", "bench-tree")
    make_tree(tree)
    prefix = os.path.join(ROOT, "build", "bench-prefix")
    shutil.rmtree(prefix, ignore_errors=True)
    subprocess.run(["cp", "-a", prepare.PRISTINE, prefix], check=True)
    os.symlink(tree, os.path.join(prefix, "dosdevices", "d:"))
    environment = prepare.wine_environment(prefix)
    try:
        out = subprocess.run(["xvfb-run", "-a", prepare.WINE,
                              os.path.join(ROOT, "build", "win64", "search_bench.exe"), "D:"],
                             env=environment, check=True, capture_output=True, text=True).stdout
    finally:
        subprocess.run([prepare.SERVER, "-k"], env=environment, capture_output=True)
        shutil.rmtree(prefix, ignore_errors=True)
    figures = {}
    for line in out.splitlines():
        name, value = line.split()
        figures.setdefault(name, []).append(float(value))
    return figures


def main():
    prepare.prepare()
    runs = [plain_switch() for _ in range(3)]
    best = min(runs, key=lambda run: run["beyond"])
    print(f"plain switch: {best['wall']:.2f} s, of which pauses {PAUSES:.2f} s, "
          f"extents tool {best['tools']:.2f} s, the rest {best['beyond'] * 1000:.0f} ms "
          f"= {100 * best['beyond'] / PAUSES:.0f} % of the pauses (the rig answered {best['asked']} "
          f"times, in {best['rig'] * 1000:.0f} ms of the whole)")
    window = min(run["window"] for run in runs)
    print(f"the tool's answer at start-up to the window shown: {window * 1000:.0f} ms")
    for name, (resident, private) in zip(("the program", "a bare window"), best["memory"]):
        print(f"{name}: resident {resident:.1f} MB, of which not shared {private:.1f} MB")
    found = search()
    ratio = min(found["search_ms"]) / min(found["dir_ms"])
    print(f"image search: {min(found['search_ms']):.0f} ms beside dir /s /b "
          f"{min(found['dir_ms']):.0f} ms = {ratio:.2f} ({found['images'][0]:.0f} images in "
          f"{FILES} files)")
    print(f"list of 10000 rows: added in {found['rows_added_ms'][0]:.0f} ms, measured in "
          f"{found['rows_measured_ms'][0]:.0f} ms")
    for folder in ("win64", "win32"):
        for name in ("Rotate_TSD.exe", "getFileExtents.exe"):
            size = os.path.getsize(os.path.join(ROOT, "build", folder, name))
            print(f"{folder}/{name}: {size / 1024:.0f} KB")


if __name__ == "__main__":
    main()
