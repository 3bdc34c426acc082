#!/usr/bin/env python3
"""FRU 4 of bmc.emu: board and product area, and the maker's own records in the internal use area.

Prints the emulator command; tests/sim/test_module.py holds bmc.emu against it.
"""
SIZE = 512


def checked(data):
    """These bytes and one more that makes their sum 0."""
    return bytes(data) + bytes([-sum(data) & 0xFF])


def padded(data):
    return bytes(data) + bytes(-len(data) % 8)


def area(start, fields):
    """An area of the FRU storage definition; fields are Latin 1 texts."""
    body = bytes(start) + b"".join(bytes([0xC0 | len(text)]) + text for text in fields) + b"\xc1"
    length = -(-(len(body) + 3) // 8)
    return checked((bytes([1, length]) + body).ljust(8 * length - 1, b"\0"))


def record(kind, data):
    """Type, length, version, checksum, data."""
    head = bytes([kind, 4 + len(data), 1])
    return head + checked(head + data)[-1:] + data


def bib(items):
    """BIOS information block: total length of the record, items with a check byte of their own, an end."""
    body = b"".join(bytes([kind, len(data)]) + data + bytes([sum(data) & 0xFF]) for kind, data in items) + b"\xff\0\0"
    return (6 + len(body)).to_bytes(2, "little") + body


RECORDS = [
    (0x0B, b"\x13Debian GNU/Linux 12\0"),                        # operating system name, and its length before it
    (0x0C, bytes([3, 0x12, 0x07, 0xA1])),                        # CPLD revisions, and their number
    (0x0D, bytes.fromhex("02005e100010 02005e100011")),          # two system MAC addresses
    (0x0E, bytes([0x2C, 0x01, 0x05, 0x01])),                     # PCBA test: 300, 5, passed
    (0x7F, b"unknown"),                                          # a type that nobody knows
    (0xC3, bib([(0, b"\x01\x04\x02"), (1, b"BIOS1.4"), (0xF0, b"skipped"), (2, b"2023-11-14"), (3, b"\x07\x03")])),
    (0xC4, bytes.fromhex("524231303041 000102030405")),          # board-specific data
]


def internal_use(start):
    """The maker's block with its directory, the records behind it; start: where in the image it begins."""
    end = 16 + 3 * len(RECORDS)  # of the directory, and the place of the checksum
    place = start + end + 1
    directory, records = b"", b""
    for kind, data in RECORDS:
        directory += bytes([kind]) + (place + len(records)).to_bytes(2, "little")
        records += record(kind, data)
    head = b"\x01KEST\0".ljust(13, b"\0") + bytes([end, 0, len(RECORDS)]) + directory
    return padded(checked(head) + records)


def image():
    board = area([0x19, 0x16, 0x68, 0xDB], [b"Example Boards", b"KB-200 OEM board", b"KB2002311000007", b"900-0200-B1",
                                            b"kb200.fru"])
    product = area([0x19], [b"Example Systems", b"KEST Server", b"KS-200", b"2.0", b"KS200-0000007", b"ASSET-0007",
                            b""])
    block = internal_use(8)
    at_board = 8 + len(block)
    header = checked([1, 1, 0, at_board // 8, (at_board + len(board)) // 8, 0, 0])
    return header + block + board + product


def command():
    data = ["0x%02x" % byte for byte in image()]
    lines = [" ".join(data[at:at + 16]) for at in range(0, len(data), 16)]
    return "mc_add_fru_data 0x20 4 %d data \\\n  " % SIZE + " \\\n  ".join(lines)


if __name__ == "__main__":
    print(command())
