"""Runs stories side by side, each in a separate process: they mostly wait."""

import contextlib
import multiprocessing
import multiprocessing.connection
import os
import sys
import time
import traceback

import architecture
import stick

FORK = multiprocessing.get_context("fork")


def play(story, place, log, clear):
    """Runs in the story's process: its output goes to a file, its exit code is the verdict. What a
    failed story leaves is not cleared."""
    with open(log, "w", encoding="utf-8") as out:
        os.dup2(out.fileno(), 1)
        os.dup2(out.fileno(), 2)
    code = 1
    try:
        story(place)
        clear()
        code = 0
    except Exception:  # printed for the analysis of the failed story
        traceback.print_exc()
    finally:
        stick.release_all()
        sys.stdout.flush()
    sys.exit(code)


class Stories:
    """Starts each story when a slot is free and the story that it follows has ended."""

    def __init__(self, stories, follows, place, logs, clear):
        self.waiting, self.follows, self.place, self.logs = list(stories), follows, place, logs
        self.clear = clear
        self.running = {}  # process to (story, start time)
        self.passed = self.failed = 0

    def run(self, at_once):
        try:
            while self.waiting or self.running:
                while len(self.running) < at_once and self.start_one():
                    pass
                multiprocessing.connection.wait([process.sentinel for process in self.running])
                for process in [each for each in self.running if each.exitcode is not None]:
                    self.end(process)
        finally:
            for process in self.running:
                process.terminate()
                process.join()

    def start_one(self):
        """Starts the first story that may start; False if there is none."""
        ahead = self.waiting + [story for story, _ in self.running.values()]
        story = next((each for each in self.waiting if self.follows.get(each) not in ahead), None)
        if story is None:
            return False
        self.waiting.remove(story)
        process = FORK.Process(target=play, args=(story, self.place, self.log(story), self.clear))
        process.start()
        self.running[process] = story, time.monotonic()
        return True

    def log(self, story):
        return os.path.join(self.logs, story.__name__ + ".log")

    def end(self, process):
        story, begun = self.running.pop(process)
        good = process.exitcode == 0
        self.passed += good
        self.failed += not good
        if not good:
            with contextlib.suppress(OSError), open(self.log(story), encoding="utf-8") as log:
                print(log.read().rstrip())
        verdict = f"{'PASS' if good else 'FAIL'} {architecture.CHOSEN.name} {story.__name__}"
        print(f"{verdict}: {story.__doc__} ({time.monotonic() - begun:.0f} s)", flush=True)
