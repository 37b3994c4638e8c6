"""What a fabric's description means: the service's records, and what managers see of them."""

import re
from collections import namedtuple
from struct import Struct

from service import ORDER

EVERY_VSAN = range(1, 4097)

# The words of descriptions: the codes in records, and the values in the MIB.
STATUSES = {"inProgress": (1, 1), "completed": (2, 2), "localOnly": (3, 3)}
ELEMENT_TYPES = {"unknown": (0, 1), "switch": (1, 3), "hub": (2, 4), "bridge": (3, 5)}
PORT_TYPES = {"unidentified": (0, 1), "N_Port": (1, 9), "NL_Port": (2, 10), "Nx_Port": (0x7F, 11), "F_Port": (0x81, 2),
              "FL_Port": (0x82, 3), "E_Port": (0x84, 4), "B_Port": (0x85, 5)}
PORT_STATES = {"unknown": (0, 1), "online": (1, 2), "offline": (2, 3), "testing": (3, 4), "fault": (4, 5)}
PLATFORM_TYPES = {word: (value if value < 3 else value + 2, value) for value, word in enumerate((
    "unknown other gateway converter hba proxyAgent storageDevice host storageSubsystem module softwareDriver "
    "storageAccessDevice").split(), 1)}
# What the MIB has for codes without a word.
OTHER_PORT_TYPES = {0xF9: 18, 0xFA: 17, 0xFC: 13, 0xFD: 7, 0xFE: 12, 0xFF: 8}
ANY_OTHER = "any other"
COUNTERS = "rxGetReqs txGetReqs rxRegReqs rxDeregReqs txRegReqs txDeregReqs rxRscns txRscns rejects".split()

# Records that are served by key. Requests and answers begin with the key; what follows it in a request to read is of no
# account. The length of a request to write is 0 where there is none.
Table = namedtuple("Table", "record key request_length ends_by_record written_length", defaults=[False, 0])
VSANS, ELEMENTS, ADDRESSES, PORT_LISTS, PORTS, ATTACHED, PLATFORMS, NODE_NAMES, STATISTICS = range(10, 100, 10)
TABLES = {record_id: Table(Struct(ORDER + record), Struct(ORDER + key), *how) for record_id, record, key, *how in [
    (VSANS, "4I", "I", 4, True), (ELEMENTS, "I8sII4s8sB255sI256sI", "I8s", 12, True),
    (ADDRESSES, "IIB255sII", "II", 272, False, 272), (PORT_LISTS, "I8s", "I8s", 12, True), (PORTS, "I8s6I", "I8s", 12),
    (ATTACHED, "I12s", "I12s", 16, True), (PLATFORMS, "IIB255s7I", "II", 8, False, 292),
    (NODE_NAMES, "I8sII", "I8s", 20, False, 20), (STATISTICS, "10I", "I", 4)]}

# The entry of the MIB, how many values index its rows, whether roles have a say, and which value each column has.
VIEWS = {
    VSANS: ("1.1.6.1", 1, True, {1: 1, 2: 2}), ELEMENTS: ("1.1.11.1", 2, True, {n: n for n in range(2, 10)}),
    ADDRESSES: ("1.1.12.1", 2, False, {3: 2, 4: 3, 5: 4}), PORT_LISTS: ("1.1.13.1", 2, False, {1: 0}),
    PORTS: ("1.1.15.1", 2, True, {n: n for n in range(2, 8)}), ATTACHED: ("1.1.16.1", 2, False, {2: 1}),
    PLATFORMS: ("1.1.18.1", 2, True, {2: 2, 3: 3, 4: 4, 5: 5, 6: 6, 7: 8, 8: 7, 9: 9}),
    NODE_NAMES: ("1.1.19.1", 2, False, {3: 2, 4: 3}),
    STATISTICS: ("1.2.2.1", 1, True, {1: 1, 2: 2, 3: 3, 4: 5, 5: 4, 6: 6, 7: 8, 8: 7, 9: 9})}
CODED = {(VSANS, 1): (STATUSES, {}), (ELEMENTS, 2): (ELEMENT_TYPES, {ANY_OTHER: 1}),
         (PORTS, 2): (PORT_TYPES, OTHER_PORT_TYPES), (PORTS, 7): (PORT_STATES, {ANY_OTHER: 6}),
         (PLATFORMS, 3): (PLATFORM_TYPES, {})}
TRUTHS = {(ADDRESSES, 4), (PLATFORMS, 6), (PLATFORMS, 7), (NODE_NAMES, 3)}  # True, or not.


class Text(bytes):
    """Octets that have their count in front of them in a record."""


def octets(text):
    """Those of a name in hexadecimal digits, or of a text."""
    return bytes.fromhex(text["hex"]) if isinstance(text, dict) else text.encode()


def named(text):
    return bytes.fromhex(text.replace(":", ""))


def code(words, word):
    return words[word][0] if word in words else word


def element_rows(vsan, element, shown):
    yield (ELEMENTS, shown, vsan, named(element["name"]), code(ELEMENT_TYPES, element.get("type", "unknown")),
           element.get("domainId", 0), b"\0" + named(element.get("mgmtId", "000000")),
           named(element.get("fabricName", "00" * 8)), Text(octets(element.get("logicalName", ""))),
           element.get("mgmtAddrList", 0), octets(element.get("infoList", "")).ljust(256, b"\0"),
           element.get("portList", 0))
    for port in element.get("ports", []):
        name, attached_list = named(port["name"]), port.get("attachedList", 0)
        yield PORT_LISTS, shown, element["portList"], name
        yield (PORTS, shown, vsan, name, code(PORT_TYPES, port.get("type", 0)), port.get("txType", 0),
               port.get("moduleType", 0), port.get("physicalPort", 0), attached_list,
               code(PORT_STATES, port.get("state", 0)))
        for attached in port.get("attached", []):
            yield ATTACHED, shown, attached_list, named(attached)


def rows(description):
    """The rows of a fabric: the table, whether it is shown, and the values that a record has."""
    for vsan in description["vsans"]:
        discovery, counters = vsan.get("discovery", {}), vsan.get("statistics", {})
        status, completed = discovery.get("status", "localOnly"), discovery.get("completed", {})
        yield (VSANS, True, vsan["id"], code(STATUSES, status), completed.get("seconds", 0),
               completed.get("microseconds", 0))
        yield STATISTICS, True, vsan["id"], *(counters.get(counter, 0) for counter in COUNTERS)
        for element in vsan.get("elements", []):
            yield from element_rows(vsan["id"], element, element.get("local", False) or status != "localOnly")
        for platform in vsan.get("platforms", []):
            yield (PLATFORMS, True, vsan["id"], platform["index"], Text(octets(platform.get("name", ""))),
                   code(PLATFORM_TYPES, platform.get("type", 1)), platform.get("nodeNameList", 0),
                   platform.get("mgmtAddrList", 0), platform.get("configured", False),
                   platform.get("validationResult", 1), 0, 1)
    for names in description.get("nodeNameLists", []):
        for name in names["names"]:
            name = name if isinstance(name, dict) else {"name": name}
            yield NODE_NAMES, True, names["index"], named(name["name"]), name.get("configured", False), 0
    for addresses in description.get("mgmtAddrLists", []):
        for address in addresses["addresses"]:
            yield (ADDRESSES, True, addresses["index"], address["index"], Text(octets(address["address"])),
                   address.get("configured", False), 1)


def packed(table, *values):
    """A record."""
    flat = [part for value in values for part in ([len(value), value] if isinstance(value, Text) else [value])]
    return TABLES[table].record.pack(*flat)


def records(description, shown):
    """Those of the rows that are shown, or of the others: {table: {key: record}}."""
    found = {table: {} for table in TABLES}
    for table, is_shown, *values in rows(description):
        if is_shown == shown:
            record = packed(table, *values)
            found[table][TABLES[table].key.unpack_from(record)] = record
    return found


def varbind(table, column, value):
    """A column's type and value, as the tools show them."""
    if (table, column) in CODED:
        words, others = CODED[table, column]
        value = {**dict(words.values()), **others}.get(value, others.get(ANY_OTHER, value))
    elif (table, column) in TRUTHS:
        value = 1 if value else 2
    elif (table, column) == (VSANS, 2):  # Discoveries of a description are taken to lie before the agent's start.
        return "Timeticks", "(0) 0:00:00.00"
    elif (table, column) == (ELEMENTS, 4):
        value = value[1:]
    elif (table, column) == (NODE_NAMES, 4):  # Every row is active.
        value = 1
    if isinstance(value, bytes):
        return "OCTETS", value.hex()
    return "Counter32" if table == STATISTICS else "INTEGER", str(value)


def expected_varbinds(description, root, readable=EVERY_VSAN):
    """The walk of a fresh agent, for a user who may read these VSANs: {oid: (type, value)}."""
    shown = [(table, values) for table, is_shown, *values in rows(description) if is_shown]
    varbinds = {
        "1.1.1.0": ("INTEGER", "0"), "1.1.5.0": ("INTEGER", "2"), "1.1.7.0": ("Gauge32", "900"),
        **{f"1.1.{scalar}.0": ("OCTETS", "") for scalar in (2, 3, 4, 8, 9)},
        **{f"{switch}.0": ("INTEGER", "2") for switch in ("1.1.20", "1.1.21")},
        **{f"{reason}.0": ("INTEGER", "1") for reason in ("1.3.1", "1.3.2")},
        # The counts are those of the whole fabric, whoever asks.
        **{f"1.1.{scalar}.0": ("INTEGER", str(sum(table == counted for table, _ in shown)))
           for scalar, counted in [(10, ELEMENTS), (14, PORTS), (17, PLATFORMS)]},
        "1.2.1.0": ("Counter32", str(sum(values[-1] for table, values in shown if table == STATISTICS) % 2**32))}
    for table, values in shown:
        entry, indexes, is_scoped, columns = VIEWS[table]
        index = ".".join(str(i) for value in values[:indexes] for i in (value if isinstance(value, bytes) else [value]))
        if not is_scoped or values[0] in readable:
            for column, place in columns.items():
                varbinds[f"{entry}.{column}.{index}"] = varbind(table, column, values[place])
    return {f"{root}.{name}": value for name, value in varbinds.items()}


def labels():
    """What the MIB file calls a column's values: {column's OID below the root: {value: label}}."""
    def label(word):
        letters, port, _ = word.partition("_Port")
        return f"{letters.lower()}Port" if port else word

    return {f"{VIEWS[table][0]}.{column}": {
        **{str(value): f"code{unnamed}" for unnamed, value in others.items() if others is OTHER_PORT_TYPES},
        **{str(value): label(word) for word, (_, value) in words.items()}}
        for (table, column), (words, others) in CODED.items()}


def otherwise_said(chance, value, key=""):
    """The same description in other words and another order, without some of what is the default."""
    words = {**ELEMENT_TYPES, **PORT_TYPES, **PORT_STATES, **PLATFORM_TYPES}
    if isinstance(value, list):
        return [otherwise_said(chance, item) for item in chance.sample(value, len(value))]
    if isinstance(value, dict):
        required = {"name", "address", "type", "takesSeconds", "validationResult", "seconds"}
        return {key: otherwise_said(chance, item, key) for key, item in chance.sample([*value.items()], len(value))
                if item or key in required or chance.random() < 0.5}
    if key in ("type", "state"):
        return words[value][0] if value in words and value != "unknown" and chance.random() < 0.5 else value
    is_name = isinstance(value, str) and re.fullmatch("([0-9a-f]{2}:){7}[0-9a-f]{2}", value)
    return chance.choice([value, value.upper(), value.replace(":", "")]) if is_name else value
