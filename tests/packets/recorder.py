"""Real requests of every kind: what Net-SNMP's tools send to the agent."""

import re

from lab import ADMIN, OBJECTS, OPERATOR, WRITER

WRITER_V1 = ["-v1", *WRITER[1:]]
NAME = "32.0.0.0.94.0.83.161"
SCALARS = [name for name, oid in OBJECTS.items() if oid.count(".") == 2]
COLUMNS = [name for name, oid in OBJECTS.items() if oid.count(".") == 4]

# What is written, in the order of a manager's work.
SETS = [
    ["fcsVsanDiscoverySpinLock.0 i 0", "fcsVsanDiscoveryName.0 s night", "fcsVsanDiscoveryList2k.0 x 80",
     "fcsVsanDiscoveryList4k.0 x 80"],
    ["fcsStartDiscovery.0 i 1"],
    ["fcsVsanDiscoveryTimeOut.0 u 600"],
    ["fcsDiscoveryInvalidateCache2k.0 x 40", "fcsDiscoveryInvalidateCache4k.0 x 80"],
    ["fcsReqRejNotifyEnable.0 i 1", "fcsDiscoveryCompleteNotifyEnable.0 i 1"],
    ["fcsMgmtAddr.11.9 x c0000263", "fcsMgmtAddrRowStatus.11.9 i 4"],
    ["fcsMgmtAddrRowStatus.11.9 i 6"],
    ["fcsPlatformName.1.9 s host", "fcsPlatformRowStatus.1.9 i 4"],
    ["fcsPlatformType.1.9 i 6", "fcsPlatformNodeNameListIndex.1.9 i 1", "fcsPlatformMgmtAddrListIndex.1.9 i 11",
     "fcsPlatformValidation.1.9 i 1"],
    ["fcsPlatformRowStatus.1.9 i 6"],
    [f"fcsNodeNameRowStatus.1.{NAME} i 4"],
    [f"fcsNodeNameRowStatus.1.{NAME} i 6"],
]


def commands():
    """The tools, their options, and what they ask for."""
    for asker in (WRITER_V1, WRITER, ADMIN, OPERATOR):
        by_user = asker in (ADMIN, OPERATOR)  # Whose packets are signed: few of them get far when they are spoilt.
        yield "snmpget", asker, *(f"{scalar}.0" for scalar in SCALARS)
        yield "snmpgetnext", asker, *COLUMNS[:24]
        yield "snmpgetnext", asker, *COLUMNS[24:]
        if asker is not WRITER_V1:
            yield "snmpbulkget", ["-Cn1", "-Cr20", *asker], SCALARS[0], COLUMNS[2], COLUMNS[10]
        for column in COLUMNS[:: 20 if by_user else 5]:
            yield "snmpget", asker, f"{column}.1.{NAME}"
        for bindings in SETS[:2] if by_user else SETS:
            yield "snmpset", asker, *(word for binding in bindings for word in binding.split())


def record(lab):
    """The requests, as lists of octets; every tool's answer has come."""
    packets = []
    for tool, options, *words in commands():
        shown = lab.run(tool, ["-d", *options], *words)
        assert "Timeout" not in shown, (tool, words, shown)
        for dump in re.findall(r"^Sending \d+ bytes.*\n((?:[0-9A-F]{4}: .*\n)+)", shown, re.MULTILINE):
            packets.append(bytes.fromhex("".join(line[6:56] for line in dump.splitlines())))
    return packets
