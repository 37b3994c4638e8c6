#!/usr/bin/env python3
"""Writes the first inputs of the fuzzers into corpus/: real indexes, records, SETs and messages.

Run it when a fuzzer takes its input apart in another way. What the fuzzers have found stands beside
the files written here and stays.
"""
import json
import struct
from pathlib import Path

HERE = Path(__file__).resolve().parent

NAME = bytes.fromhex("200000005e005381")
WHOLE = b"\xff"  # All sub-identifiers of a column.
OK, REFUSED = b"\x01", b"\x00"
INTEGER_4 = b"\x00\x04"  # The object's own type, and the length.


def word(*values):
    return b"".join(struct.pack("=I", value) for value in values)


def sized(octets):
    return struct.pack("=H", len(octets)) + octets


def sub_identifiers(*index):
    octets = b"".join(bytes([i]) if i < 255 else b"\xff" + word(i) for i in index)
    return bytes([len(index)]) + octets


def padded(octets, length):
    return octets + bytes(length - len(octets))


def text(octets, room=255):
    return bytes([len(octets)]) + padded(octets, room)


# Records of the service, in the layouts of fcs_protocol.h.
STATUS = word(1, 2, 1700000000, 5)
ELEMENT = (word(1) + NAME + word(1, 5) + bytes.fromhex("00fffc05") + NAME + text(b"director") + word(11) +
           padded(b"vendor", 256) + word(3))
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


def binding(number, index, value, head):
    return bytes([number]) + WHOLE + sub_identifiers(*index) + head + value


def set_of(*bindings):
    return bytes([len(bindings) - 1]) + b"".join(bindings)


def writes():
    absent = REFUSED + word(2)
    taken = OK + sized(b"")
    create, destroy = (INTEGER_4, word(4)), (INTEGER_4, word(6))

    def row(number, index, head, value):
        return binding(number, index, value, head)

    address = row(19, [11, 9], b"\x00\x04", b"addr"), row(21, [11, 9], *create)
    yield "create_address", b"\x00" + set_of(*address) + absent * 5 + taken
    yield "create_address_fails_late", b"\x00" + set_of(*address) + absent * 5 + REFUSED + word(5)
    yield "destroy_address", b"\x00" + set_of(row(21, [11, 1], *destroy)) + (OK + sized(ADDRESS)) * 3 + taken
    platform = row(39, [1, 9], *create), row(32, [1, 9], b"\x00\x04", b"host")
    yield "create_platform", b"\x00" + set_of(*platform) + absent * 5 + taken
    yield "create_platform_restricted", RESTRICTED + set_of(*platform) + absent * 5 + taken
    for number in (33, 34, 35, 37):
        change = row(number, [1, 2], INTEGER_4, word(1))
        yield f"change_platform_{number}", b"\x00" + set_of(change) + (OK + sized(PLATFORM)) * 2 + taken
    yield "create_node_name", b"\x00" + set_of(row(41, [1, *NAME], *create)) + absent * 2 + taken
    yield "destroy_node_name", b"\x00" + set_of(row(41, [1, *NAME], *destroy)) + (OK + sized(NODE_NAME)) * 2 + taken
    discovery = (row(0, [0], INTEGER_4, word(0)), row(1, [0], b"\x00\x05", b"night"),
                 row(2, [0], b"\x00\x02", b"\x80\x40"), row(4, [0], INTEGER_4, word(1)))
    yield "discovery", LISTS + set_of(*discovery) + (OK + sized(STATUS)) * 8
    lists = (row(3, [0], b"\x00\x02", b"\x80\x40"), row(8, [0], b"\x00\x01", b"\x80"),
             row(9, [0], b"\x00\x01", b"\x80"), row(7, [0], INTEGER_4, word(600)))
    yield "lists", LISTS + set_of(*lists) + (OK + sized(STATUS)) * 8
    yield "switches", b"\x00" + set_of(row(42, [0], INTEGER_4, word(1)), row(43, [0], INTEGER_4, word(2)))


def notifications():
    wanted = OK + sized(word(1))
    payloads = (word(9, 0x30), b"nightly discovery", word(1), word(2049), word(1) + bytes(8))
    for choice, payload in enumerate(payloads):
        yield f"message_{choice}", LISTS + bytes([choice]) + sized(payload) + wanted
    yield "all", b"\x08" + b"".join(bytes([c]) + sized(p) + wanted for c, p in enumerate(payloads))


def message(opcode, flag, payload, kind=0, seconds=3):
    return struct.pack("=BBHH", kind, seconds, opcode, flag) + sized(payload)


def service_messages():
    requests = {10: word(1), 20: word(1) + NAME, 30: ADDRESS, 40: PORT_LIST, 50: word(1) + NAME, 60: ATTACHED,
                70: word(1, 2), 80: NODE_NAME, 90: word(1), 100: b"", 110: b"", 120: b"", 130: b"", 140: b"",
                150: b""}
    for record, key in requests.items():
        yield f"get_{record}", message(1402, 1, word(record) + key) + message(1402, 2, word(record) + key)
    for record, row in {30: ADDRESS, 70: PLATFORM, 80: NODE_NAME}.items():
        create = row[:-4] + word(4)
        yield f"set_{record}", message(1402, 3, word(record) + create) + message(1402, 3, word(record) + row)
        yield f"delete_{record}", message(1402, 4, word(record) + row)
    yield "discovery", message(1405, 0, word(1, 0)) + message(1410, 3, word(300)) + message(1412, 3, word(2))
    control = {2: word(1, 9, 0), 3: word(1) + bytes(8), 4: word(1), 5: word(1), 6: word(1, 2)}
    yield "control", b"".join(message(opcode, 0, payload, kind=7) for opcode, payload in control.items())
    yield "greeting", message(0, 0, b"FCS-IPC\0" + word(0x01020304, 1, 1))


def imports():
    fabric = json.loads((HERE.parents[1] / "lab" / "sample-fabric.json").read_text())
    first, *_, last = fabric["vsans"]
    for vsan in first, last:
        vsan["elements"] = vsan["elements"][:1]
        vsan["elements"][0]["ports"] = vsan["elements"][0]["ports"][:2]
        vsan["platforms"] = vsan.get("platforms", [])[:1]
    lists = {name: fabric[name][:2] for name in ("nodeNameLists", "mgmtAddrLists")}
    alone = {"nodeNameLists": [], "mgmtAddrLists": [], "vsans": [{"id": 7}]}
    for name, description in (("first_vsan", {"vsans": [first]}), ("last_vsan", {"vsans": [last]}),
                              ("lists", {**lists, "vsans": []}), ("small", alone)):
        yield name, json.dumps(description, separators=(",", ":")).encode()
    yield "not_json", b'{"vsans": [{"id": 1e99999}, "\\ud800"]'


def service_links():
    answer = struct.pack("=i", 0) + sized(word(5))

    def lie(sequence, opcode, payload, result=0):
        return struct.pack("=BHB", sequence, opcode, result) + sized(bytes(84) + payload)[:2] + payload

    exchange = b"\x00\x01\x00" + answer + struct.pack("=H", 8)
    yield "exchange", b"\x00\x00" + exchange * 2
    yield "late_replies", b"\x00\x00" + b"\x00\x01\x03" + lie(255, 1402, b"late") * 3 + answer + struct.pack("=H", 8)
    yield "hangs_up", b"\x00\x00" + b"\x00\x00\x01" + lie(9, 1402, b"") + struct.pack("=H", 8)
    yield "unasked", b"\x00\x00" + b"\x01\x01" + lie(0, 1402, b"?")
    yield "notifications", b"\x00\x00" + b"\x02\x02" + lie(0, 1408, b"night") + lie(0, 9999, b"")
    yield "refused_and_again", b"\x04\x00\x00" + b"\x03\x00\x00" + exchange
    yield "greeting_cut_short", b"\x01" + struct.pack("=H", 5) + b"\x00"


SEEDS = {"read_handlers_fuzz": reads, "write_handlers_fuzz": writes, "notifications_fuzz": notifications,
         "service_messages_fuzz": service_messages, "fabric_import_fuzz": imports,
         "service_link_fuzz": service_links}

for fuzzer, seeds in SEEDS.items():
    directory = HERE / "corpus" / fuzzer
    directory.mkdir(parents=True, exist_ok=True)
    for name, octets in seeds():
        (directory / name).write_bytes(octets)
