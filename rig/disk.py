"""One disk of the virtual USB bus: the stick with its number, the letters of its volumes, and the
answers to each control code."""

import os
import struct

import scsi
import stick
from volume import Volume

LETTERS = "EFGHIJKL"
OK, DENIED, INVALID = "done ", "fail C0000022", "fail C0000010"
IO_ERROR, PROTECTED, DROPPED = "fail C0000185", "fail C00000A2", "dropped"
CODES = {"90018": "lock", "9001C": "unlock", "90020": "dismount", "70140": "renew",
         "7405C": "length", "2D1400": "property", "4D004": "scsi", "2D1080": "number",
         "560000": "extents", "70048": "partition", "90234": "base"}


class Disk:
    """volumes maps the letters of all disks to Volumes. A story may put sectors into unreadable
    (reads fail; a write repairs the sector, as on sticks that remap it), refused (writes fail) and
    dropped (a write is acknowledged but not done)."""

    def __init__(self, number, links, mounts, options, volumes, pointer):
        self.number, self.links, self.mounts, self.options = number, links, mounts, options
        self.volumes = volumes
        self.pointer = pointer  # size of a pointer in the program under test
        self.letter_of = {}  # start sector to a volume's last letter, which it gets again
        self.image, self.sectors = None, 0
        self.plugs = 0  # pulling the stick out invalidates its handles
        self.bus, self.removable = 7, True  # 7 is USB
        self.unreadable, self.refused, self.dropped = set(), set(), set()

    @property
    def name(self):
        return f"PhysicalDrive{self.number}"

    def link(self):
        return os.path.join(self.links, self.name.lower())

    def put_in(self, image):
        self.pull_out()
        self.image, self.sectors = image, os.path.getsize(image) // stick.SECTOR
        os.symlink(image, self.link())
        self.renew()

    def pull_out(self):
        self.plugs += 1
        for volume in self.own():
            self.drop(volume)
        if self.image:
            os.remove(self.link())
        self.image = None

    def renumber(self, number):
        """Renumbers the same stick, with its letters."""
        self.plugs += 1
        os.remove(self.link())
        self.number = number

    def renumbered(self):
        os.symlink(self.image, self.link())

    # The table.

    def own(self):
        return [volume for volume in self.volumes.values() if volume.disk is self]

    def drop(self, volume):
        volume.remove()
        del self.volumes[volume.letter]

    def renew(self):
        """Reads the table again. A volume that is still in it keeps its letter."""
        entries = stick.table(stick.read(self.image, 0))
        wanted = {(kind, start, sectors): number for number, (kind, start, sectors, _)
                  in enumerate(entries, 1) if kind in stick.NTFS_TYPES + stick.FAT_TYPES}
        for volume in self.own():
            key = (volume.kind, volume.start, volume.sectors)
            if key in wanted:
                volume.number = wanted.pop(key)
            else:
                self.drop(volume)
        known_first = sorted(wanted.items(), key=lambda item: item[0][1] not in self.letter_of)
        for (kind, start, sectors), number in known_first:
            free = [letter for letter in LETTERS if letter not in self.volumes]
            letter = self.letter_of.get(start)
            letter = letter if letter in free else free[0]
            self.letter_of[start] = letter
            self.volumes[letter] = Volume(self, letter, number, (kind, start, sectors, False))

    # The outcome of a transfer: "" to let the image answer.

    def reading(self, lba):
        return IO_ERROR if lba in self.unreadable else ""

    def writing(self, lba):
        if lba in self.refused:
            return PROTECTED
        if lba in self.dropped:
            return DROPPED
        self.unreadable.discard(lba)
        return ""

    def held_mounted(self, lba):
        """Windows refuses a raw write inside a volume that is mounted and not locked."""
        return any(volume.start <= lba < volume.start + volume.sectors and volume.mounted and
                   volume.locked_by is None for volume in self.own())

    # The control codes, on the disk (volume is None) or on one of its volumes.

    def control(self, what, handle, volume, request):
        return getattr(self, "control_" + what, lambda *_: INVALID)(handle, volume, request)

    def control_lock(self, handle, volume, _):
        if volume is None:
            return INVALID
        if volume.locked_by not in (None, handle):
            return DENIED
        volume.locked_by = handle
        return OK

    def control_unlock(self, handle, volume, _):
        if volume is None or volume.locked_by != handle:
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
        partition = 0 if volume is None else volume.number
        return OK + struct.pack("<III", 7, self.number, partition).hex()

    def control_property(self, _, __, ___):
        """STORAGE_DEVICE_DESCRIPTOR."""
        return OK + struct.pack("<IIBBBBIIIIII", 40, 40, 0, 0, self.removable, 0, 0, 0, 0, 0,
                                self.bus, 0).hex()

    def control_scsi(self, _, __, request):
        return scsi.answer(request, self.pointer, self.sectors, self.removable)

    def control_extents(self, _, volume, __):
        """VOLUME_DISK_EXTENTS."""
        if volume is None:
            return INVALID
        return OK + struct.pack("<IIIIQQ", 1, 0, self.number, 0, volume.start * stick.SECTOR,
                                volume.sectors * stick.SECTOR).hex()

    def control_partition(self, _, volume, __):
        """PARTITION_INFORMATION_EX."""
        start, sectors, number = ((0, self.sectors, 0) if volume is None
                                  else (volume.start, volume.sectors, volume.number))
        return OK + struct.pack("<IIQQI", 0, 0, start * stick.SECTOR, sectors * stick.SECTOR,
                                number).ljust(144, b"\0").hex()

    def control_base(self, _, volume, __):
        """RETRIEVAL_POINTER_BASE."""
        first = volume and volume.first_cluster()
        return INVALID if first is None else OK + struct.pack("<Q", first).hex()
