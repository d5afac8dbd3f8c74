"""SCSI_PASS_THROUGH as the system checks it: the layout for the program's pointer size, and every offset
within the record."""

import struct
from collections import namedtuple

WRONG_REVISION, INVALID_PARAMETER, IO_ERROR = "fail C0000059", "fail C000000D", "fail C0000185"
READ_CAPACITY, INQUIRY = 0x25, 0x12
DATA_IN = 1

# By pointer size. DataBufferOffset has that size: in a 64-bit record it has 8 bytes, starts after a
# gap of 4, and moves what follows.
Layout = namedtuple("Layout", "length data_place sense_place command")
LAYOUTS = {4: Layout(44, "<20xI", "<24xI", 28), 8: Layout(56, "<24xQ", "<32xI", 36)}


def data_offset(request, pointer):
    """Returns the offset of the record's data, or the status that refuses the record."""
    layout, record = LAYOUTS[pointer], request.data
    if len(record) < layout.length or struct.unpack_from("<H", record)[0] != layout.length:
        return WRONG_REVISION  # Windows refuses the other layout likewise
    command_bytes, sense_bytes, direction = record[6:9]
    data_bytes = struct.unpack_from("<12xI", record)[0]
    data = struct.unpack_from(layout.data_place, record)[0]
    sense = struct.unpack_from(layout.sense_place, record)[0]
    sound = (command_bytes <= 16 and direction == DATA_IN and layout.length <= sense
             and sense + sense_bytes <= data and data + data_bytes <= request.out_size
             and request.in_size == request.out_size)
    return data if sound else INVALID_PARAMETER


def answer(request, pointer, sectors, removable):
    """What a stick answers to READ CAPACITY and INQUIRY."""
    place = data_offset(request, pointer)
    if isinstance(place, str):
        return place
    layout = LAYOUTS[pointer]
    facts = bytes([0, 0x80 if removable else 0, 4, 2, 31, 0, 0, 0])
    replies = {READ_CAPACITY: struct.pack(">II", sectors - 1, 512),
               INQUIRY: facts + b"TSDDEMO " + b"Virtual Stick   1.00"}
    reply = replies.get(request.data[layout.command])
    if reply is None:
        return IO_ERROR
    size = struct.unpack_from("<12xI", request.data)[0]
    record = request.data[:layout.length].ljust(place, b"\0") + reply[:size].ljust(size, b"\0")
    return "done " + record.hex()
