"""The virtual USB stick as the system sees it: which letters its table gives, what is mounted,
locked, dismounted; what each control code answers; a journal of every operation in its order.

It answers the library (virtual_usb.cpp) in the processes of the program and of the extents tool.
A volume is mounted by the first access to its files, unmounted by a dismount, and mounted afresh by
the next access, so that raw writes and the file system's cache never go apart. The letters follow
the table only when it is read anew. As on Windows, a raw write inside a volume is refused while
that volume is mounted and not locked.
"""

import os
import socketserver
import struct
import threading

import stick
from volume import Volume

DISK = "PhysicalDrive1"
LETTERS = "EFGHIJ"
OK, NOT_FOUND, NO_PATH, DENIED = "done ", "fail C0000034", "fail C000003A", "fail C0000022"
INVALID, END = "fail C0000010", "fail C0000011"
WRONG_REVISION, NOT_RECOGNISED = "fail C0000059", "fail C000014F"
CODES = {"90018": "lock", "9001C": "unlock", "90020": "dismount", "70140": "renew",
         "7405C": "length", "2D1400": "property", "4D004": "scsi", "2D1080": "number",
         "560000": "extents", "70048": "partition", "90234": "base"}
ICONS = {0: "none", 1: "stop", 2: "question", 3: "exclamation", 4: "information"}


class VirtualUsb:
    """Serves until close(). Volumes are mounted read only unless writable is set, so that a story
    can say of every changed sector that the program changed it. A story may set fault to a function
    of a journal line: what it returns, such as "fail C0000185", is answered instead."""

    def __init__(self, image, links, mounts, journal_path, writable=False):
        self.options = "rw,noatime" if writable else "ro"  # looking changes nothing, as on Windows
        self.image, self.links, self.mounts = image, links, mounts
        self.sectors = os.path.getsize(image) // stick.SECTOR
        self.journal, self.journal_file = [], open(journal_path, "w", encoding="utf-8")
        self.fault = lambda line: None
        self.names = {}     # open handles of the program: number to device
        self.volumes = {}   # letter to Volume
        self.letter_of = {}  # start sector to the letter that a volume had: it gets it again
        self.mutex = threading.Lock()
        os.symlink(image, os.path.join(links, DISK.lower()))
        self.renew()
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

    def dismount_all(self):
        """For a look at the image from outside."""
        with self.mutex:
            for volume in self.volumes.values():
                volume.dismount()

    def note(self, line):
        self.journal.append(line)
        self.journal_file.write(line + "\n")
        self.journal_file.flush()

    # The table.

    def renew(self):
        """Reads the table anew. A volume that is still there keeps its letter."""
        entries = stick.table(stick.read(self.image, 0))
        wanted = {(kind, start, sectors): number for number, (kind, start, sectors, _)
                  in enumerate(entries, 1) if kind in stick.NTFS_TYPES + stick.FAT_TYPES}
        for letter, volume in list(self.volumes.items()):
            key = (volume.kind, volume.start, volume.sectors)
            if key in wanted:
                volume.number = wanted.pop(key)
            else:
                volume.remove()
                del self.volumes[letter]
        known_first = sorted(wanted.items(), key=lambda item: item[0][1] not in self.letter_of)
        for (kind, start, sectors), number in known_first:
            free = [letter for letter in LETTERS if letter not in self.volumes]
            letter = self.letter_of.get(start)
            letter = letter if letter in free else free[0]
            self.letter_of[start] = letter
            self.volumes[letter] = Volume(self.image, letter, number, (kind, start, sectors, False),
                                          self.links, os.path.join(self.mounts, letter),
                                          self.options)

    # The answers.

    def answer(self, line):
        verb, _, rest = line.partition(" ")
        return getattr(self, "do_" + verb)(*rest.split(" ", self.WORDS.get(verb, 0)))

    WORDS = {"open": 1, "runs": 1, "read": 2, "write": 2, "control": 2, "seek": 1, "volume": 1, "box": 1}

    def logged(self, line, otherwise="pass"):
        self.note(line)
        return self.fault(line) or otherwise

    def do_open(self, number, name):
        if len(name) == 2 and name[0].upper() not in self.volumes:
            return "pass" if name[0].upper() in "CZ" else NOT_FOUND
        self.names[number] = name.upper() if len(name) == 2 else name
        return self.logged(f"open {self.names[number]}")

    def do_unopened(self, number):
        if number in self.names:
            self.note(f"failed {self.names.pop(number)}")
        return "pass"

    def do_close(self, number):
        name = self.names.pop(number, None)
        if name is not None:
            held = [volume for volume in self.volumes.values() if volume.locked_by == number]
            for volume in held:
                volume.locked_by = None
            self.note(f"close {name}" + (" and its lock" if held else ""))
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
        volume = self.volumes.get(self.names.get(number, "?")[0])
        if volume is None:
            return "pass"
        label, serial, system = volume.facts()
        if kind == "1":
            text = label.encode("utf-16-le")
            return OK + (struct.pack("<Q4sIB", 0, serial, len(text), 0) + b"\0" + text).hex()
        if kind == "5":
            text = system.encode("utf-16-le")
            return OK + (struct.pack("<III", 6, 255, len(text)) + text).hex()
        return "pass"

    def do_seek(self, number, offset):
        return self.logged(f"seek {self.names.get(number)} {int(offset) // stick.SECTOR}")

    def do_read(self, number, offset, count):
        return self.logged(f"read {self.names.get(number)} {self.sector_range(offset, count)}")

    def do_write(self, number, offset, count):
        line = f"write {self.names.get(number)} {self.sector_range(offset, count)}"
        for volume in self.volumes.values():
            inside = volume.start <= int(offset) // stick.SECTOR < volume.start + volume.sectors
            if inside and volume.mounted and volume.locked_by is None:
                return self.logged(line + " refused", DENIED)
        return self.logged(line)

    @staticmethod
    def sector_range(offset, count):
        if int(offset) % stick.SECTOR or int(count) != stick.SECTOR:
            return f"offset={offset} bytes={count}"
        return str(int(offset) // stick.SECTOR)

    def do_flush(self, number):
        return self.logged(f"flush {self.names.get(number)}")

    def do_control(self, number, code, data):
        name = self.names.get(number)
        if name is None:
            return "pass"
        what = CODES.get(code, code)
        injected = self.logged(f"{what} {name}", "")
        if injected:
            return injected
        volume = self.volumes.get(name[0]) if len(name) == 2 else None
        if volume is None and name != DISK:
            return "pass"
        return getattr(self, "control_" + what, lambda *_: INVALID)(number, volume, data)

    def control_lock(self, number, volume, _):
        if volume is None:
            return INVALID
        if volume.locked_by not in (None, number):
            return DENIED
        volume.locked_by = number
        return OK

    def control_unlock(self, number, volume, _):
        if volume is None or volume.locked_by != number:
            return "fail C000002A"  # STATUS_NOT_LOCKED
        volume.locked_by = None
        return OK

    def control_dismount(self, _, volume, __):
        if volume is None:
            return INVALID
        volume.dismount()
        return OK

    def control_renew(self, _, volume, __):
        if volume is not None:
            return INVALID
        self.renew()
        return OK

    def control_length(self, _, volume, __):
        sectors = self.sectors if volume is None else volume.sectors
        return OK + struct.pack("<Q", sectors * stick.SECTOR).hex()

    def control_number(self, _, volume, __):
        return OK + struct.pack("<III", 7, 1, 0 if volume is None else volume.number).hex()

    def control_property(self, _, __, ___):
        # STORAGE_DEVICE_DESCRIPTOR: removable, on bus 7, which is USB.
        return OK + struct.pack("<IIBBBBIIIIII", 40, 40, 0, 0, 1, 0, 0, 0, 0, 0, 7, 0).hex()

    def control_scsi(self, _, __, data):
        """SCSI_PASS_THROUGH in its 64-bit layout, the only one that Windows takes from a 64-bit
        process: command at 36, place of the data at 24."""
        header = bytes.fromhex(data)
        if len(header) < 56 or header[:2] != b"\x38\0":
            return WRONG_REVISION
        place = struct.unpack_from("<Q", header, 24)[0]
        reply = {0x25: struct.pack(">II", self.sectors - 1, stick.SECTOR),
                 0x12: bytes([0, 0x80, 4, 2, 31, 0, 0, 0]) + b"TSDDEMO " + b"Virtual Stick   1.00"}
        if header[36] not in reply:
            return "fail C0000185"  # STATUS_IO_DEVICE_ERROR
        return OK + (header[:56].ljust(place, b"\0") + reply[header[36]].ljust(192, b"\0")).hex()

    def control_extents(self, _, volume, __):
        """VOLUME_DISK_EXTENTS."""
        if volume is None:
            return INVALID
        return OK + struct.pack("<IIIIQQ", 1, 0, 1, 0, volume.start * stick.SECTOR,
                                volume.sectors * stick.SECTOR).hex()

    def control_partition(self, _, volume, __):
        """PARTITION_INFORMATION_EX."""
        start, sectors, number = ((0, self.sectors, 0) if volume is None
                                  else (volume.start, volume.sectors, volume.number))
        return OK + struct.pack("<IIQQI", 0, 0, start * stick.SECTOR, sectors * stick.SECTOR,
                                number).ljust(144, b"\0").hex()

    def control_base(self, _, volume, __):
        """RETRIEVAL_POINTER_BASE: NTFS counts its clusters from the volume's start."""
        ntfs = volume is not None and volume.kind in stick.NTFS_TYPES
        return OK + bytes(8).hex() if ntfs else INVALID

    def do_runs(self, vcn, path):
        return self.logged(f"runs {vcn} {path}", "") or self.runs(int(vcn), path)

    def runs(self, vcn, path, shift=0):
        """RETRIEVAL_POINTERS_BUFFER of an NTFS file, from the mounted file system at this moment.
        One run an answer, so that two runs take two questions. A run's place is moved by shift."""
        volume = self.volumes.get(path[0].upper())
        if volume is None or volume.kind not in stick.NTFS_TYPES:
            return INVALID  # as a file system answers that has no such places to tell
        native = os.path.join(volume.folder, path[3:].replace("\\", "/"))
        runs = stick.cluster_runs(native)
        for at, (first, next_first, lcn) in enumerate(runs):
            if vcn < next_first:
                answer = "done " if at + 1 == len(runs) else "more "
                place = -1 if lcn == 0 else lcn + shift
                return answer + struct.pack("<IIQQq", 1, 0, first, next_first, place).hex()
        return END

    def do_box(self, style, title):
        """Message boxes stand in the journal too: a story sees what came in front of what."""
        self.note(f"box {ICONS[int(style) >> 4 & 15]} {title}")
        return "pass"
