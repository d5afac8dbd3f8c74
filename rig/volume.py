"""A volume of the virtual stick that has a letter: its loop device, its links, its mount."""

import os
import shutil

import stick


class Volume:
    """One volume that has a letter."""

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
            if self.kind in stick.NTFS_TYPES:
                stick.mount_ntfs(self.device, self.folder, self.disk.options)
            else:  # no FAT in every kernel: a copy of its files, to be read only
                stick.run("mcopy", "-s", "-n", "-i", self.device, "::", self.folder)
        except RuntimeError as failure:
            if self.kind in stick.NTFS_TYPES or "no match" not in str(failure).lower():
                return False
        self.mounted = True
        return True

    def dismount(self):
        if self.mounted and self.kind in stick.NTFS_TYPES:
            stick.unmount(self.folder)
        elif self.mounted:
            shutil.rmtree(self.folder)
            os.makedirs(self.folder)
        self.mounted = False

    def remove(self):
        self.dismount()
        os.remove(self.link(":"))
        os.remove(self.link("::"))
        stick.detach(self.device)

    def facts(self):
        """Label, serial number and file system's name, read from the volume itself."""
        label = stick.run("blkid", "-p", "-o", "value", "-s", "LABEL", self.device).strip()
        record = stick.read(self.disk.image, self.start)
        ntfs = record[3:7] == b"NTFS"
        at = 72 if ntfs else 67 if record[82:87] == b"FAT32" else 39
        return label, record[at:at + 4], "NTFS" if ntfs else "FAT"
