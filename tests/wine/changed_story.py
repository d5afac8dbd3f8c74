"""The story of a stick that has changed when the user answers a question: another program wrote a new
table, or another stick has its number. A table that was never saved is never replaced."""

import make_stick
import stick
from checks import (COMMIT, ORDER, RESTORE, RESTORE_QUESTION, SWAP, SWAP_QUESTION, TYPE, check,
                    check_writes, fresh_stick, pick, refused, started, switched_stick)
from extents_story import add, windows_name

CHANGED = "Drive has changed!"
IMAGE, COMPANION = "_ISO/MULTI/Order.volPAK", "_ISO/MULTI/Order"
HEAD = 61  # the sectors before any partition: the table and its copies


def lay_wrong_order(image):
    """Adds an image whose companion lies before it."""
    for name in (COMPANION, IMAGE):
        add(image, name, b"\xeb\x52\x90NTFS".ljust(1 << 16, b"\x5a"))


def with_another_table(sector):
    """The sector after a partition tool has made a fourth partition."""
    more = stick.entry(0x83, make_stick.TOTAL_SECTORS - 2048, 2048)
    return sector[:494] + more + sector[510:]


class Sticks:
    """Stick 1 with its images, stick 2 switched, and a third one that isn't plugged in."""

    def __init__(self, place):
        self.first, self.second = fresh_stick("changed"), switched_stick("changed_2", place)
        lay_wrong_order(self.first)
        self.third = fresh_stick("changed_3")
        table = stick.read(self.third, 0)
        stick.write(self.third, 0, table[:440] + b"\x01\x02\x03\x04" + table[444:])
        self.tables = {image: stick.read(image, 0) for image in (self.first, self.second)}
        self.third_head = stick.read(self.third, 0, HEAD)

    def images(self):
        return {1: self.first, 2: self.second}


class Turn:
    """One action up to a question, and what happens to the stick while the question is open."""

    def __init__(self, run, sticks, number, begin, saves, answer="OK", then=()):
        self.run, self.sticks, self.number = run, sticks, number
        self.begin, self.saves = begin, saves  # saves: LBA 60 and 30 are written before the question
        self.answer, self.then = answer, then  # then: questions that follow

    def play(self, meanwhile):
        self.run.usb.journal.clear()
        self.begin()
        meanwhile()
        self.run.robot.answer(self.answer)
        for title in self.then:
            self.run.robot.box(title, "OK")

    def stopped(self):
        refused(self.run, CHANGED, f"Drive {self.number}")
        check_writes(self.run, (60, 30) if self.saves else (), f"PhysicalDrive{self.number}")

    def table_changed(self):
        image = self.sticks.images()[self.number]
        before = self.sticks.tables[image]
        new = with_another_table(before)
        self.play(lambda: stick.write(image, 0, new))
        self.stopped()
        check("the new table", stick.read(image, 0), new)
        stick.write(image, 0, before)

    def replaced(self):
        image, usb = self.sticks.images()[self.number], self.run.usb
        self.play(lambda: usb.put_in(self.number, self.sticks.third))
        self.stopped()
        check("the other stick", stick.read(self.sticks.third, 0, HEAD), self.sticks.third_head)
        check("the stick pulled out", stick.read(image, 0), self.sticks.tables[image])
        usb.put_in(self.number, image)

    def renumbered(self):
        usb = self.run.usb
        self.play(lambda: usb.exchange_numbers(1, 2))
        self.stopped()
        for image, before in self.sticks.tables.items():
            check("sector 0 of " + image, stick.read(image, 0), before)
        usb.exchange_numbers(1, 2)


def asked(run, name, question):
    """A double-click on an image up to a question."""
    def begin():
        run.robot.doubleclick(windows_name(name))
        run.robot.expect_box(question)
    return begin


def clicked(run, caption, question):
    def begin():
        run.robot.do(f"click {caption}")
        run.robot.expect_box(question)
    return begin


def mended(turn):
    """A restore repairs a sector 0 that can't be read before and after the question."""
    turn.run.usb.disk(2).unreadable.add(0)
    turn.play(lambda: None)
    turn.run.robot.wait_ready()
    check("the boxes", [line for line in turn.run.usb.journal if line.startswith("box ")],
          [f"box none {RESTORE_QUESTION}"])
    check("sector 0 after the restore", stick.read(turn.sticks.second, 0),
          stick.read(turn.sticks.second, 30))


def changed_drive(place):
    """The table or the stick changes while a question is open: nothing is replaced."""
    sticks = Sticks(place)
    with started("changed", sticks.first, further=(sticks.second,)) as run:
        run.robot.wait_ready()
        order = Turn(run, sticks, 1, asked(run, IMAGE, ORDER), True, answer="No")
        kind = Turn(run, sticks, 1, asked(run, make_stick.EXT, TYPE), True, then=(COMMIT,))
        last = Turn(run, sticks, 1, asked(run, make_stick.RESCUE, COMMIT), True)
        swap = Turn(run, sticks, 1, clicked(run, SWAP, SWAP_QUESTION), False)
        for turn in (order, kind, swap):
            turn.table_changed()
        for turn in (last, swap):
            turn.replaced()
        last.renumbered()
        pick(run, "G")
        run.robot.wait_ready()
        restore = Turn(run, sticks, 2, clicked(run, RESTORE, RESTORE_QUESTION), False)
        restore.table_changed()
        restore.replaced()
        mended(restore)
