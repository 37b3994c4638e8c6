#!/usr/bin/env python3
"""Writes the first inputs of the fuzzers into corpus/: real indexes, records, SETs and messages.

Run it when a fuzzer takes its input apart in another way. What the fuzzers have found stands beside
the files written here and stays, and so do the fabric descriptions, which are texts.
"""
import struct
from pathlib import Path

HERE = Path(__file__).resolve().parent

NAME = bytes.fromhex("200000005e005381")
WHOLE = b"\xff"  # All sub-identifiers of a column.
OK, REFUSED = b"\x01", b"\x00"


def word(*values):
    return struct.pack(f"={len(values)}I", *values)


def sized(octets):
    return struct.pack("=H", len(octets)) + octets


def sub_identifiers(*index):
    return bytes([len(index)]) + b"".join(bytes([i]) if i < 255 else b"\xff" + word(i) for i in index)


def text(octets):
    return bytes([len(octets)]) + octets.ljust(255, b"\0")


# Records of the service, in the layouts of fcs_protocol.h.
STATUS = word(1, 2, 1700000000, 5)
ELEMENT = (word(1) + NAME + word(1, 5) + bytes.fromhex("00fffc05") + NAME + text(b"director") + word(11) +
           b"vendor".ljust(256, b"\0") + word(3))
ADDRESS = word(11, 1) + text(b"192.0.2.11") + word(1, 1)
PORT_LIST = word(3) + NAME
PORT = word(1) + NAME + word(0x81, 2, 3, 4, 7, 1)
ATTACHED = word(7) + NAME + bytes(4)
PLATFORM = word(1, 2) + text(b"host") + word(9, 1, 11, 1, 2, 0, 1)
NODE_NAME = word(1) + NAME + word(1, 0)
COUNTERS = word(1, *range(10, 19))

# Table: an object's place in the registration, the index of a row, the row.
ROWS = {
    "discovery_status": (5, [1], STATUS),
    "completed_time": (6, [1], STATUS),
    "element": (15, [1, *NAME], ELEMENT),
    "address": (19, [11, 1], ADDRESS),
    "port_list": (22, [3, *NAME], PORT_LIST),
    "port": (24, [1, *NAME], PORT),
    "attached": (30, [7, *NAME, 0, 0, 0, 0], ATTACHED),
    "platform": (32, [1, 2], PLATFORM),
    "node_name": (40, [1, *NAME], NODE_NAME),
    "counters": (46, [1], COUNTERS),
}
RESTRICTED = b"\x01\x01" + struct.pack("=HB", 1, 99)  # To VSANs 1 to 100.
LISTS = b"\x10" + (b"\x01" + struct.pack("=HB", 7, 3)) * 8  # The module's own VSAN lists.


def reads():
    for name, (number, index, record) in ROWS.items():
        read = WHOLE + sub_identifiers(*index) + OK + sized(record)
        column_alone = WHOLE + b"\x00" + OK + sized(record)
        yield name, b"\x00" + bytes([number, 1]) + read + bytes([number, 0]) + column_alone
        yield f"{name}_restricted", RESTRICTED + bytes([number, 0]) + column_alone + OK + sized(record)
    for number in (0, 1, 2, 3, 4, 7, 8, 9, 10, 42, 44, 54):
        yield f"scalar_{number}", LISTS + bytes([number, 1]) + WHOLE + b"\x01\x00" + OK + sized(word(5))


def number(place, index, value):
    return bytes([place]) + WHOLE + sub_identifiers(*index) + b"\x00\x04" + word(value)  # Of the object's own type.


def octets(place, index, value):
    return bytes([place]) + WHOLE + sub_identifiers(*index) + bytes([0, len(value)]) + value


def set_of(*bindings):
    return bytes([len(bindings) - 1]) + b"".join(bindings)


def writes():
    absent, taken, create, destroy = REFUSED + word(2), OK + sized(b""), 4, 6
    discovery = (number(0, [0], 0), octets(1, [0], b"night"), octets(2, [0], b"\x80\x40"), number(4, [0], 1))
    lists = (octets(3, [0], b"\x80\x40"), octets(8, [0], b"\x80"), octets(9, [0], b"\x80"), number(7, [0], 600))
    for name, bindings in {"discovery": discovery, "lists": lists}.items():
        yield name, LISTS + set_of(*bindings) + (OK + sized(STATUS)) * 8
    yield "switches", b"\x00" + set_of(number(42, [0], 1), number(43, [0], 2))
    address = set_of(octets(19, [11, 9], b"addr"), number(21, [11, 9], create)) + absent * 5
    yield "create_address", b"\x00" + address + taken
    yield "create_address_fails_late", b"\x00" + address + REFUSED + word(5)
    platform = set_of(number(39, [1, 9], create), octets(32, [1, 9], b"host")) + absent * 5 + taken
    yield "create_platform", b"\x00" + platform
    yield "create_platform_restricted", RESTRICTED + platform
    yield "create_node_name", b"\x00" + set_of(number(41, [1, *NAME], create)) + absent * 2 + taken
    changes = {f"change_platform_{place}": (number(place, [1, 2], 1), PLATFORM, 2) for place in (33, 34, 35, 37)}
    changes["destroy_address"] = number(21, [11, 1], destroy), ADDRESS, 3
    changes["destroy_node_name"] = number(41, [1, *NAME], destroy), NODE_NAME, 2
    for name, (change, row, times) in changes.items():
        yield name, b"\x00" + set_of(change) + (OK + sized(row)) * times + taken


def notifications():
    wanted = OK + sized(word(1))
    payloads = (word(9, 0x30), b"nightly discovery", word(1), word(2049), word(1) + bytes(8))
    for choice, payload in enumerate(payloads):
        yield f"message_{choice}", LISTS + bytes([choice]) + sized(payload) + wanted
    yield "all", b"\x08" + b"".join(bytes([c]) + sized(p) + wanted for c, p in enumerate(payloads))


def message(opcode, flag, payload, kind=0, seconds=3):
    return struct.pack("=BBHH", kind, seconds, opcode, flag) + sized(payload)


def service_messages():
    keys = {10: word(1), 20: word(1) + NAME, 30: ADDRESS, 40: PORT_LIST, 50: word(1) + NAME, 60: ATTACHED,
            70: word(1, 2), 80: NODE_NAME, 90: word(1), **dict.fromkeys(range(100, 151, 10), b"")}
    for record, key in keys.items():
        yield f"get_{record}", b"".join(message(1402, flag, word(record) + key) for flag in (1, 2))
    for record, row in {30: ADDRESS, 70: PLATFORM, 80: NODE_NAME}.items():
        rows = row[:-4] + word(4), row
        yield f"set_{record}", b"".join(message(1402, 3, word(record) + r) for r in rows)
        yield f"delete_{record}", message(1402, 4, word(record) + row)
    yield "discovery", message(1405, 0, word(1, 0)) + message(1410, 3, word(300)) + message(1412, 3, word(2))
    control = {2: word(1, 9, 0), 3: word(1) + bytes(8), 4: word(1), 5: word(1), 6: word(1, 2)}
    yield "control", b"".join(message(opcode, 0, payload, kind=7) for opcode, payload in control.items())
    yield "greeting", message(0, 0, b"FCS-IPC\0" + word(0x01020304, 1, 1))


def service_links():
    answer = struct.pack("=i", 0) + sized(word(5))

    def lie(sequence, opcode, payload, result=0):
        return struct.pack("=BHB", sequence, opcode, result) + sized(bytes(84) + payload)[:2] + payload

    end = struct.pack("=H", 8)
    exchange = b"\x00\x01\x00" + answer + end
    yield "exchange", b"\x00\x00" + exchange * 2
    yield "late_replies", b"\x00\x00\x00\x01\x03" + lie(255, 1402, b"late") * 3 + answer + end
    yield "hangs_up", b"\x00\x00\x00\x00\x01" + lie(9, 1402, b"") + end
    yield "unasked", b"\x00\x00\x01\x01" + lie(0, 1402, b"?")
    yield "notifications", b"\x00\x00\x02\x02" + lie(0, 1408, b"night") + lie(0, 9999, b"")
    yield "refused_and_again", b"\x04\x00\x00\x03\x00\x00" + exchange
    yield "greeting_cut_short", b"\x01" + struct.pack("=H", 5) + b"\x00"


for fuzzer, seeds in {"read_handlers": reads, "write_handlers": writes, "notifications": notifications,
                      "service_messages": service_messages, "service_link": service_links}.items():
    directory = HERE / "corpus" / f"{fuzzer}_fuzz"
    directory.mkdir(parents=True, exist_ok=True)
    for name, contents in seeds():
        (directory / name).write_bytes(contents)
