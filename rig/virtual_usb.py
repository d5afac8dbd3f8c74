"""The virtual USB bus as the system sees it: which disks are there, what is mounted, locked,
dismounted; a journal of every operation in its order.

It answers the library (virtual_usb.cpp) in the processes of the program and of the extents tool.
A volume is mounted by the first access to its files, unmounted by a dismount, and mounted afresh by
the next access, so that raw writes and the file system's cache never go apart. The letters follow
a table only when it is read anew.
"""

import os
import socketserver
import struct
import threading
from collections import namedtuple

import stick
from disk import CODES, DENIED, INVALID, OK, Disk

NOT_FOUND, NO_PATH, GONE = "fail C0000034", "fail C000003A", "fail C000009D"
END, NOT_RECOGNISED, NOT_ALIGNED = "fail C0000011", "fail C000014F", "fail C000000D"
ICONS = {0: "none", 1: "stop", 2: "question", 3: "exclamation", 4: "information"}

# An open handle. The stick that disk stands for has changed when plugs isn't the disk's.
Opened = namedtuple("Opened", "name disk plugs")
NOWHERE = Opened("?", None, 0)
# A control code's input, its first bytes, and the sizes of both buffers.
Request = namedtuple("Request", "data in_size out_size")


class VirtualUsb:
    """Serves until close(). The images are PhysicalDrive1, 2 and so on. Volumes are
    mounted read only unless writable is set, so that a story can say of every changed sector that
    the program changed it. A story may set fault to a function of a journal line, called before the
    operation: what it returns, such as "fail C0000185", is answered instead, and what it does, such
    as a write to an image or pulling a stick out, has happened by then. It may set filling to a
    function of a file's path and the bytes to be written there, which answers "pass" or "wait" and
    then is asked again. What else a stick does is set on its Disk."""

    def __init__(self, images, links, mounts, journal_path, writable=False, pointer=8):
        options = "rw,noatime" if writable else "ro"  # looking changes nothing, as on Windows
        self.journal, self.journal_file = [], open(journal_path, "w", encoding="utf-8")
        self.fault = lambda line: None
        self.filling = lambda path, count: "pass"
        self.handles = {}   # of the program: number to Opened
        self.volumes = {}   # letter to Volume, of all disks
        self.mutex = threading.RLock()
        self.disks = [Disk(number, links, mounts, options, self.volumes, pointer)
                      for number in range(1, len(images) + 1)]
        for disk, image in zip(self.disks, images):
            disk.put_in(image)
        self.server = socketserver.ThreadingTCPServer(("127.0.0.1", 0), self.handler())
        self.server.daemon_threads = True
        self.port = self.server.server_address[1]
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def handler(self):
        usb = self

        class Handler(socketserver.StreamRequestHandler):
            def handle(self):
                for line in self.rfile:
                    with usb.mutex:
                        try:
                            answer = usb.answer(line.decode("utf-8").rstrip("\r\n"))
                        except Exception as failure:  # said in the journal, which every story reads
                            usb.note(f"rig-failure {line!r} {failure!r}")
                            answer = INVALID
                    self.wfile.write((answer + "\n").encode("utf-8"))

        return Handler

    def close(self):
        self.server.shutdown()
        self.server.server_close()
        with self.mutex:
            for volume in self.volumes.values():
                volume.remove()
            self.volumes.clear()
            self.journal_file.close()

    def note(self, line):
        self.journal.append(line)
        self.journal_file.write(line + "\n")
        self.journal_file.flush()

    # What a person does with the sticks.

    def disk(self, number):
        return next((disk for disk in self.disks if disk.number == number), None)

    def pull_out(self, number):
        with self.mutex:
            self.disk(number).pull_out()

    def put_in(self, number, image):
        """In place of what had that number."""
        with self.mutex:
            self.disk(number).put_in(image)

    def exchange_numbers(self, one, other):
        """Both sticks out and in again in the other order: each keeps its letters."""
        with self.mutex:
            pair = [(self.disk(one), other), (self.disk(other), one)]
            for disk, number in pair:
                disk.renumber(number)
            for disk, _ in pair:
                disk.renumbered()

    # The answers.

    def answer(self, line):
        verb, _, rest = line.partition(" ")
        words = rest.split(" ", self.WORDS.get(verb, 0))
        opened = self.handles.get(words[0], NOWHERE)
        if opened.disk and opened.plugs != opened.disk.plugs and verb not in ("open", "close"):
            self.note(f"gone {opened.name}")
            return GONE
        return getattr(self, "do_" + verb)(*words)

    WORDS = {"open": 1, "runs": 1, "volume_of": 1, "read": 3, "write": 3, "control": 4, "seek": 1,
             "volume": 1, "box": 1, "fill": 1}

    def logged(self, line, otherwise="pass"):
        self.note(line)
        return self.fault(line) or otherwise

    def named(self, number):
        return self.handles.get(number, NOWHERE).name

    def disk_named(self, name):
        if name[1:2] == ":":
            volume = self.volumes.get(name[0])
            return volume and volume.disk
        return next((disk for disk in self.disks if disk.image and disk.name == name), None)

    def do_open(self, number, name):
        if len(name) == 2 and name[0].upper() not in self.volumes:
            return "pass" if name[0].upper() in "CZ" else NOT_FOUND
        name = name.upper() if len(name) == 2 else name
        disk = self.disk_named(name)
        self.handles[number] = Opened(name, disk, disk.plugs if disk else 0)
        return self.logged(f"open {name}")

    def do_unopened(self, number):
        if number in self.handles:
            self.note(f"failed {self.handles.pop(number).name}")
        return "pass"

    def do_close(self, number):
        opened = self.handles.pop(number, None)
        if opened is not None:
            held = [volume for volume in self.volumes.values() if volume.locked_by == number]
            for volume in held:
                volume.locked_by = None
            self.note(f"close {opened.name}" + (" and its lock" if held else ""))
        return "pass"

    def do_touch(self, path):
        """An access to files: mounts the volume unless somebody holds it locked."""
        letter = path[0].upper()
        if letter in "CZ":
            return "pass"
        volume = self.volumes.get(letter)
        if volume is None:
            return NO_PATH
        if volume.locked_by is not None:
            return DENIED
        return "pass" if volume.mount() else NOT_RECOGNISED

    def do_volume(self, number, kind):
        """FileFsVolumeInformation (1) and FileFsAttributeInformation (5) of a volume."""
        volume = self.volumes.get(self.named(number)[0])
        if volume is None:
            return "pass"
        if kind == "1":
            return OK + volume.information()
        if kind == "5":
            text = volume.facts()[2].encode("utf-16-le")
            return OK + (struct.pack("<III", 6, 255, len(text)) + text).hex()
        return "pass"

    def do_volume_of(self, kind, path):
        """FileFsVolumeInformation (1) and FileFsSizeInformation (3), asked of a file. Wine finds no
        serial number for up to a second after a mount. The drivers of FAT and exFAT count in blocks of
        their own, so the volume's boot record answers."""
        volume = self.holder(path)
        if volume and kind == "1":
            return OK + volume.information()
        clusters = volume.clusters() if volume and kind == "3" else None
        return OK + struct.pack("<QQII", *clusters, stick.SECTOR).hex() if clusters else "pass"

    def holder(self, path):
        """The volume that a file lies on when links are followed; None for one of another disk."""
        volume = self.volumes.get(path[0].upper())
        if volume is None:
            return None
        end = os.path.realpath(os.path.join(volume.folder, path[3:].replace("\\", "/")))
        return next((volume for volume in self.volumes.values()
                     if os.path.commonpath([end, volume.folder]) == volume.folder), None)

    def do_seek(self, number, offset):
        return self.logged(f"seek {self.named(number)} {int(offset) // stick.SECTOR}")

    def do_read(self, number, offset, count, beyond):
        opened = self.handles[number]
        injected = self.logged(f"read {opened.name} {self.sector_range(offset, count)}", "")
        return injected or self.of_disk(opened, "reading", offset, beyond) or "pass"

    def do_write(self, number, offset, count, beyond):
        opened = self.handles[number]
        line = f"write {opened.name} {self.sector_range(offset, count)}"
        if opened.disk and opened.disk.held_mounted(int(offset) // stick.SECTOR):
            return self.logged(line + " refused", DENIED)
        return self.logged(line, "") or self.of_disk(opened, "writing", offset, beyond) or "pass"

    @staticmethod
    def of_disk(opened, what, offset, beyond):
        """What the disk says to a transfer by its own name; it may have gone just now. Its driver
        takes memory only that begins with a page, as those of some disks do."""
        if opened.disk is None or opened.name[1:2] == ":":
            return ""
        if opened.plugs != opened.disk.plugs:
            return GONE
        if beyond != "0":
            return NOT_ALIGNED
        return getattr(opened.disk, what)(int(offset) // stick.SECTOR)

    @staticmethod
    def sector_range(offset, count):
        if int(offset) % stick.SECTOR or int(count) != stick.SECTOR:
            return f"offset={offset} bytes={count}"
        return str(int(offset) // stick.SECTOR)

    def do_fill(self, count, path):
        return self.filling(path, int(count))

    def do_flush(self, number):
        return self.logged(f"flush {self.named(number)}")

    def do_control(self, number, code, in_size, out_size, data):
        opened = self.handles.get(number)
        if opened is None:
            return "pass"
        what = CODES.get(code, code)
        injected = self.logged(f"{what} {opened.name}", "")
        if injected or opened.disk is None:
            return injected or "pass"
        volume = self.volumes.get(opened.name[0]) if len(opened.name) == 2 else None
        if volume is None and opened.name != opened.disk.name:
            return "pass"
        request = Request(bytes.fromhex(data), int(in_size), int(out_size))
        return opened.disk.control(what, number, volume, request)

    def do_runs(self, vcn, path):
        return self.logged(f"runs {vcn} {path}", "") or self.runs(int(vcn), path)

    def runs(self, vcn, path, shift=0):
        """RETRIEVAL_POINTERS_BUFFER of a file, from its file system at this moment. One run an
        answer, so that two runs take two questions. A run's place is moved by shift."""
        volume = self.volumes.get(path[0].upper())
        if volume is None:
            return INVALID  # as a file system answers that has no such places
        runs = volume.runs(path[3:].replace("\\", "/"))
        for at, (first, next_first, lcn) in enumerate(runs):
            if vcn < next_first:
                answer = "done " if at + 1 == len(runs) else "more "
                place = lcn if lcn < 0 else lcn + shift
                return answer + struct.pack("<IIQQq", 1, 0, first, next_first, place).hex()
        return END

    def do_box(self, style, title):
        """Message boxes stand in the journal too: a story sees what came in front of what."""
        self.note(f"box {ICONS[int(style) >> 4 & 15]} {title}")
        return "pass"
