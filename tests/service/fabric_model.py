"""Random fabrics: descriptions as the service exports them, and the records that they give."""

import random
import re
from collections import namedtuple
from struct import Struct

from service import ORDER

WORD, INDEX = 2**32 - 1, 2**31 - 1
ELEMENT_TYPES = {"unknown": 0, "switch": 1, "hub": 2, "bridge": 3, 99: 99}
PORT_TYPES = {"unidentified": 0, "N_Port": 1, "NL_Port": 2, "Nx_Port": 0x7F, "F_Port": 0x81, "FL_Port": 0x82,
              "E_Port": 0x84, "B_Port": 0x85, 255: 255}
PORT_STATES = {"unknown": 0, "online": 1, "offline": 2, "testing": 3, "fault": 4, 5: 5, WORD: WORD}
PLATFORM_TYPES = {"unknown": 1, "other": 2, 3: 3, "gateway": 5, "converter": 6, "hba": 7, "proxyAgent": 8, WORD: WORD,
                  "storageDevice": 9, "host": 10, "storageSubsystem": 11, "module": 12, "softwareDriver": 13,
                  "storageAccessDevice": 14}
CODES = {**ELEMENT_TYPES, **PORT_TYPES, **PORT_STATES, **PLATFORM_TYPES}
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


class RandomFabric(random.Random):
    """Names and list indexes come in no order."""

    def __init__(self, seed):
        super().__init__(seed)
        self.indexes = iter(self.sample(range(1, INDEX), 1000))
        self.visible, self.hidden = ({record_id: {} for record_id in TABLES} for _ in range(2))
        self.lists, self.names = (sorted(next(self.indexes) for _ in range(4)) for _ in range(2))
        self.description = {
            "comment": self.choice(["", "line\nbreak"]),
            "nodeNameLists": [{"index": index, "names": [
                name if name["configured"] else name["name"] for name in self.times(3, lambda: self.row(
                    NODE_NAMES, True, index, name=self.name(), configured=self.flag(), packed=[0]))]}
                for index in self.names],
            "mgmtAddrLists": [{"index": index, "addresses": [
                self.row(ADDRESSES, True, index, index=at, address=self.text(), configured=self.flag(), packed=[1])
                for at in sorted(self.sample(range(1, INDEX), size))]} for index, size in zip(self.lists, (0, 250, 1, 2))],
            "vsans": [self.vsan(vsan) for vsan in sorted({1, 4096, *self.sample(range(1, 4097), 20)})]}

    def row(self, record_id, shown, *key, packed=(), **members):
        """Adds a row with what a member is, if that is a tuple, in a description and in records; the description."""
        values = [value for member in members.values() for value in (member[1:] if isinstance(member, tuple) else [member])]
        row = TABLES[record_id].record.pack(*key, *values, *packed)
        (self.visible if shown else self.hidden)[record_id][TABLES[record_id].key.unpack_from(row)] = row
        return {name: member[0] if isinstance(member, tuple) else member for name, member in members.items()}

    def number(self, limit=WORD):
        return self.choice([0, 1, limit, self.randint(0, limit)])

    def flag(self):
        return self.random() < 0.5

    def name(self):
        return (name := self.randbytes(8)).hex(":"), name

    def text(self):
        octets = self.choice([b"", b"x" * 255, "a\0€\"\n".encode(), b"\xFF\0\xC3"])
        return {"hex": octets.hex()} if b"\xFF" in octets else octets.decode(), len(octets), octets

    def times(self, most, make, *arguments):
        return sorted((make(*arguments) for _ in range(self.randint(0, most))), key=lambda made: made["name"])

    def vsan(self, vsan):
        status, locals_ = self.choice([("completed", 2), *[("localOnly", 3)] * 2]), iter([self.flag(), False, False])
        counters = {counter: self.number() for counter in COUNTERS}
        time = {"seconds": self.choice([1, INDEX]), "microseconds": self.number(999999)}
        self.row(VSANS, True, vsan, status=status, **time)
        discovery = {"status": status[0], "completed": time, "takesSeconds": self.choice([0, 0.1, 2, 86400])}
        return {"id": vsan, "discovery": discovery, "statistics": self.row(STATISTICS, True, vsan, **counters),
                "elements": self.times(3, lambda: self.element(vsan, next(locals_), status[1])),
                "platforms": [self.platform(vsan, at) for at in sorted(self.sample([1, 9, INDEX], 2))]}

    def element(self, vsan, local, status):
        shown, mgmt_id, port_list = local or status != 3, self.randbytes(3), next(self.indexes)
        element = self.row(ELEMENTS, shown, vsan, name=self.name(), type=self.choice([*ELEMENT_TYPES.items()]),
                           domainId=self.randint(1, 239), mgmtId=(mgmt_id.hex(), b"\0" + mgmt_id), fabricName=self.name(),
                           logicalName=self.text(), mgmtAddrList=self.choice([0, *self.lists]),
                           infoList=self.text()[::2], portList=port_list)
        return {**element, "local": local, "ports": self.times(4, self.port, vsan, port_list, shown)}

    def port(self, vsan, port_list, shown):
        name, index, attached = self.name(), next(self.indexes), self.randbytes(12)
        self.row(PORT_LISTS, shown, port_list, name=name)
        port = self.row(PORTS, shown, vsan, name=name, type=self.choice([*PORT_TYPES.items()]), txType=self.number(),
                        moduleType=self.number(), physicalPort=self.number(), attachedList=index,
                        state=self.choice([*PORT_STATES.items()]))
        self.row(ATTACHED, shown, index, attached=attached)
        return {**port, "attached": [attached.hex()]}

    def platform(self, vsan, at):
        name = self.choice(["", f"host {at}\0€"])
        return self.row(PLATFORMS, True, vsan, index=at, name=(name, len(name.encode()), name.encode()),
                        type=self.choice([*PLATFORM_TYPES.items()]), nodeNameList=self.choice([0, *self.names]),
                        mgmtAddrList=self.choice([0, *self.lists]), configured=self.flag(),
                        validationResult=self.randint(0, 3), packed=[0, 1])

    def otherwise_said(self, value):
        """The same description in other words and another order."""
        if isinstance(value, list):
            return [self.otherwise_said(item) for item in self.sample(value, len(value))]
        if isinstance(value, dict):
            required = {"name", "address", "type", "takesSeconds", "validationResult", "seconds"}
            return {key: CODES[item] if key in ("type", "state") and item != "unknown" and self.flag()
                    else self.otherwise_said(item) for key, item in self.sample([*value.items()], len(value))
                    if item or key in required or self.flag()}
        is_name = isinstance(value, str) and re.fullmatch("([0-9a-f]{2}:){7}[0-9a-f]{2}", value)
        return self.choice([value, value.upper(), value.replace(":", "")]) if is_name else value
