"""Where files lie on FAT and exFAT volumes, from the volumes' own tables. Mtools reads a FAT; this file
reads exFAT's tables. The names are those of exFAT's documentation."""

import os
import re
import struct

import stick

EXFAT_CODE, EXFAT_HIDDEN = 120, 64  # in exFAT's boot record: boot code, and the partition's start
FILE, STREAM, NAME = 0x85, 0xC0, 0xC1  # directory entries
NO_FAT_CHAIN = 2  # stream flag: the clusters are contiguous, and the FAT doesn't hold them


def data_area(boot):
    """The size of a cluster, and the offset of the first one in the volume, in bytes."""
    if stick.file_system(boot) == stick.EXFAT:
        sector = 1 << boot[108]
        return sector << boot[109], struct.unpack_from("<I", boot, 88)[0] * sector
    sector, cluster, reserved, fats, entries = struct.unpack_from("<HBHBH", boot, 11)
    each = struct.unpack_from("<H", boot, 22)[0] or struct.unpack_from("<I", boot, 36)[0]
    root = (entries * 32 + sector - 1) // sector
    return sector * cluster, (reserved + fats * each + root) * sector


class ExFat:
    """The tables of the exFAT volume on an open device."""

    def __init__(self, device):
        self.device = device
        boot = self.bytes_at(0, stick.SECTOR)
        self.cluster, self.first = data_area(boot)
        self.fat = struct.unpack_from("<I", boot, 80)[0] << boot[108]
        self.root = struct.unpack_from("<I", boot, 96)[0]

    def bytes_at(self, at, count):
        self.device.seek(at)
        return self.device.read(count)

    def chain(self, cluster):
        found = []
        while 2 <= cluster < 0xFFFFFFF7:
            found.append(cluster)
            cluster = struct.unpack("<I", self.bytes_at(self.fat + 4 * cluster, 4))[0]
        return found

    def entries(self, clusters):
        """The entries of a folder: name to (stream flags, first cluster, bytes)."""
        data = b"".join(self.bytes_at(self.first + (cluster - 2) * self.cluster, self.cluster)
                        for cluster in clusters)
        found, stream, name = {}, None, b""
        for at in range(0, len(data), 32):
            entry = data[at:at + 32]
            if entry[0] == STREAM:
                stream, name = entry, b""
            elif entry[0] == NAME and stream:
                name += entry[2:]
                text = name[:2 * stream[3]].decode("utf-16-le")
                found[text] = (stream[1], *struct.unpack_from("<IQ", stream, 20))
            elif entry[0] == FILE:
                stream = None
        return found

    def find(self, path):
        """A file's stream flags and its clusters."""
        flags, clusters = 0, self.chain(self.root)
        for part in path.split("/"):
            known = {name.upper(): facts for name, facts in self.entries(clusters).items()}
            flags, first, size = known[part.upper()]
            count = (size + self.cluster - 1) // self.cluster
            clusters = (list(range(first, first + count)) if flags & NO_FAT_CHAIN
                        else self.chain(first))
        return flags, clusters


def shown_by_mtools(device, path):
    """The clusters of a file on FAT: mshowfat prints "::/path <4-90> <95>"."""
    text = stick.run("mshowfat", "-i", device, "::/" + path)
    found = []
    for first, last in re.findall(r"<(\d+)(?:-(\d+))?>", text):
        found += range(int(first), int(last or first) + 1)
    return found


def clusters_of(device, path):
    with open(device, "rb") as file:
        os.fsync(file.fileno())  # what the driver wrote must be on the disk, where the runs point
        if stick.file_system(file.read(stick.SECTOR)) == stick.EXFAT:
            return ExFat(file).find(path)[1]
    return shown_by_mtools(device, path)


def is_chained(device, path):
    """Whether the FAT of an exFAT volume holds the file's clusters."""
    with open(device, "rb") as file:
        return not ExFat(file).find(path)[0] & NO_FAT_CHAIN


def cluster_runs(device, path):
    """The file's extents as (first cluster of the file, the one after the last, cluster of the
    volume). The volume's first cluster, 2 in its tables, is 0 here, as in a run list."""
    runs = []
    for index, cluster in enumerate(clusters_of(device, path)):
        if runs and runs[-1][2] + index - runs[-1][0] == cluster - 2:
            runs[-1][1] = index + 1
        else:
            runs.append([index, index + 1, cluster - 2])
    return [tuple(piece) for piece in runs]


def file_runs(device, path, volume_start):
    """The same as (byte offset, LBA of the disk, sectors)."""
    cluster, first = data_area(stick.read(device, 0))
    return [(begin * cluster, volume_start + (first + place * cluster) // stick.SECTOR,
             (end - begin) * cluster // stick.SECTOR)
            for begin, end, place in cluster_runs(device, path)]


def sign_exfat(image, start):
    """Renews the checksum and the backup of an exFAT volume's boot region after a change of its boot
    record."""
    region = bytearray(stick.read(image, start, 11))
    total = 0
    for at, byte in enumerate(region):
        if at not in (106, 107, 112):  # not part of the checksum
            total = ((total << 31 | total >> 1) + byte) & 0xFFFFFFFF
    region += struct.pack("<I", total) * (stick.SECTOR // 4)
    stick.write(image, start, region)
    stick.write(image, start + 12, region)
