"""A volume of the virtual stick with a letter: its loop device, its links, its mount."""

import os
import struct

import fat
import stick


class Volume:
    """One volume with a letter."""

    def __init__(self, disk, letter, number, entry):
        self.disk, self.letter, self.number = disk, letter, number
        self.kind, self.start, self.sectors, _ = entry
        self.folder = os.path.join(disk.mounts, letter)
        self.mounted = False
        self.locked_by = None
        self.device = stick.attach(disk.image, self.start, self.sectors)
        os.makedirs(self.folder, exist_ok=True)
        os.symlink(self.folder, self.link(":"))
        os.symlink(self.device, self.link("::"))

    def link(self, colons):
        return os.path.join(self.disk.links, self.letter.lower() + colons)

    def mount(self):
        if self.mounted:
            return True
        try:
            stick.mount(self.device, self.folder, self.disk.options)
        except RuntimeError:
            return False
        self.mounted = True
        return True

    def dismount(self):
        if self.mounted:
            stick.unmount(self.folder)
        self.mounted = False

    def remove(self):
        self.dismount()
        os.remove(self.link(":"))
        os.remove(self.link("::"))
        stick.detach(self.device)

    def facts(self):
        """Label, serial number and file system name, read from the volume itself."""
        label = stick.run("blkid", "-p", "-o", "value", "-s", "LABEL", self.device).strip()
        system = self.system()
        at = {stick.NTFS: 72, stick.EXFAT: 100, stick.FAT32: 67}.get(system, 39)
        return label, self.boot_record()[at:at + 4], system or "RAW"

    def information(self):
        """FILE_FS_VOLUME_INFORMATION in hexadecimal."""
        label, serial, _ = self.facts()
        text = label.encode("utf-16-le")
        return (struct.pack("<Q4sIB", 0, serial, len(text), 0) + b"\0" + text).hex()

    def boot_record(self):
        return stick.read(self.disk.image, self.start)

    def system(self):
        return stick.file_system(self.boot_record())

    def first_cluster(self):
        """The sector of the volume from which its run lists count; None if it has none."""
        if self.system() == "":
            return None
        if self.system() == stick.NTFS:
            return 0
        return fat.data_area(self.boot_record())[1] // stick.SECTOR

    def runs(self, name):
        """A file's extents as (first cluster of the file, the one after the last, cluster of the
        volume, -1 for a hole)."""
        if self.system() != stick.NTFS:
            return fat.cluster_runs(self.device, name)
        return [(first, end, place or -1)
                for first, end, place in stick.cluster_runs(os.path.join(self.folder, name))]

    def clusters(self):
        """All clusters, free clusters, sectors per cluster; None if the NTFS driver answers that."""
        if self.system() == stick.NTFS:
            return None
        cluster, first = fat.data_area(self.boot_record())
        facts = os.statvfs(self.folder)
        return ((self.sectors * stick.SECTOR - first) // cluster,
                facts.f_bavail * facts.f_frsize // cluster, cluster // stick.SECTOR)
