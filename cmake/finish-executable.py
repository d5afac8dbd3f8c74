#!/usr/bin/env python3
"""Sets what the linker has no switch for: the two run-from-swap flags, and the checksum."""
import struct
import sys

REMOVABLE_RUN_FROM_SWAP = 0x0400
NET_RUN_FROM_SWAP = 0x0800


def checksum(image, field):
    """The checksum of a PE image with its checksum field at offset field (imagehlp's rule)."""
    data = bytes(image[:field]) + b"\0\0\0\0" + bytes(image[field + 4:])
    data += b"\0" * (-len(data) % 2)
    total = sum(struct.unpack(f"<{len(data) // 2}H", data))
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    return total + len(image)


def finish(path):
    with open(path, "rb") as source:
        image = bytearray(source.read())
    pe = struct.unpack_from("<I", image, 0x3C)[0]
    if image[pe:pe + 4] != b"PE\0\0":
        sys.exit(f"{path}: not a PE executable")
    flags = struct.unpack_from("<H", image, pe + 22)[0]
    struct.pack_into("<H", image, pe + 22,
                     flags | REMOVABLE_RUN_FROM_SWAP | NET_RUN_FROM_SWAP)
    field = pe + 24 + 64
    struct.pack_into("<I", image, field, checksum(image, field))
    with open(path, "wb") as target:
        target.write(image)


if __name__ == "__main__":
    for name in sys.argv[1:]:
        finish(name)
