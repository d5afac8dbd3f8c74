"""Where files lie on FAT and exFAT volumes, from the volumes' own tables. Mtools reads a FAT; exFAT's
tables are read here. The names are those of exFAT's documentation."""

import os
import re
import struct

import stick

EXFAT_CODE, EXFAT_HIDDEN = 120, 64  # in exFAT's boot record: boot code, and the partition's start
FILE, STREAM, NAME = 0x85, 0xC0, 0xC1  # directory entries
NO_FAT_CHAIN = 2  # of a stream: its clusters follow each other, and the FAT says nothing of them


def data_area(boot):
    """Bytes of a cluster, and the byte of the volume at which the first one begins."""
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
        """Of a folder: name to (flags of the stream, first cluster, bytes)."""
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
        """The flags of a file's stream, and its clusters."""
        flags, clusters = 0, self.chain(self.root)
        for part in path.split("/"):
            known = {name.upper(): facts for name, facts in self.entries(clusters).items()}
            flags, first, size = known[part.upper()]
            count = (size + self.cluster - 1) // self.cluster
            clusters = (list(range(first, first + count)) if flags & NO_FAT_CHAIN
                        else self.chain(first))
        return flags, clusters


def shown_by_mtools(device, path):
    """The clusters of a file on a FAT: mshowfat prints "::/path <4-90> <95>"."""
    text = stick.run("mshowfat", "-i", device, "::/" + path)
    found = []
    for first, last in re.findall(r"<(\d+)(?:-(\d+))?>", text):
        found += range(int(first), int(last or first) + 1)
    return found


def clusters_of(device, path):
    with open(device, "rb") as file:
        os.fsync(file.fileno())  # what the driver wrote must be on the disk, where the runs lead
        if stick.file_system(file.read(stick.SECTOR)) == stick.EXFAT:
            return ExFat(file).find(path)[1]
    return shown_by_mtools(device, path)


def is_chained(device, path):
    """Whether a file on exFAT has its clusters in the FAT."""
    with open(device, "rb") as file:
        return not ExFat(file).find(path)[0] & NO_FAT_CHAIN


def cluster_runs(device, path):
    """The file's pieces as (first cluster of the file, the one after the last, cluster of the
    volume). The volume's first cluster, which its tables call 2, is 0 here, as in a run list."""
    runs = []
    for index, cluster in enumerate(clusters_of(device, path)):
        if runs and runs[-1][2] + index - runs[-1][0] == cluster - 2:
            runs[-1][1] = index + 1
        else:
            runs.append([index, index + 1, cluster - 2])
    return [tuple(piece) for piece in runs]


def file_runs(device, path, volume_start):
    """The same in (byte offset, LBA of the disk, sectors)."""
    cluster, first = data_area(stick.read(device, 0))
    return [(begin * cluster, volume_start + (first + place * cluster) // stick.SECTOR,
             (end - begin) * cluster // stick.SECTOR)
            for begin, end, place in cluster_runs(device, path)]


def sign_exfat(image, start):
    """After a change of an exFAT volume's boot record: renews the checksum of the boot region and the
    backup of the region."""
    region = bytearray(stick.read(image, start, 11))
    total = 0
    for at, byte in enumerate(region):
        if at not in (106, 107, 112):  # these change without it
            total = ((total << 31 | total >> 1) + byte) & 0xFFFFFFFF
    region += struct.pack("<I", total) * (stick.SECTOR // 4)
    stick.write(image, start, region)
    stick.write(image, start + 12, region)
