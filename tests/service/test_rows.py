"""Rows come in unsigned order; a VSAN that is local-only hides what is not local; a description says it all."""

import json
import random
from bisect import bisect_left, bisect_right

import pytest
from fabric import ELEMENTS, PLATFORMS, PORTS, STATISTICS, TABLES, VSANS, otherwise_said, records
from programs import SAMPLE, run
from service import FCS, Reply, words

WORD = 2**32 - 1
BY_VSAN = (VSANS, ELEMENTS, PORTS, PLATFORMS, STATISTICS)
# Ranges of the VSANs of the fabrics, and around them.
SHOWN = [(), (), [(1, 1), (3, 7), (9, 9), (100, 4093)], [(2, 2)], [(4, 4), (6, 6), (15, 4094)], [(WORD >> 16, WORD >> 16)]]


def answer(table, rows, operation, key, asked, shown):
    """What the service answers when it is asked for so many rows, by a user who sees these ranges of VSANs."""
    keys, room = sorted(rows), min(asked, 64 * 1024 // table.record.size)
    place = (bisect_left if operation == FCS.OP_GET else bisect_right)(keys, key)
    found, end, is_known = [], 0, True
    while place < len(keys) and len(found) < room and is_known:
        vsan = keys[place][0]
        found.append(rows[keys[place]])
        place += 1
        is_asked_for = operation == FCS.OP_GET and len(found) == 1
        if shown and not is_asked_for and not any(first <= vsan <= last for first, last in shown):
            later = [first for first, _ in shown if first > vsan]
            is_known = bool(later)
            place = bisect_left(keys, (later[0],)) if later else place
    if len(found) < room and is_known and table.ends_by_record:
        found.append(words(0xFFFFFFFF).ljust(table.record.size, b"\0"))
    elif len(found) < room and is_known:
        end = FCS.ERR_NO_SUCH_ROW
    if not found or operation == FCS.OP_GET and key not in rows:
        return Reply(FCS.ERR_NO_SUCH_ROW, 1, 0, b"")
    return Reply(FCS.OK, len(found), end, b"".join(found))


def odd_fabric():
    """More rows than an answer has room for, values at their ends, and VSANs that are local-only."""
    fabric = json.loads(run("fcsctl", "generate", *"--vsans 20 --switches 9 --ports 2 --platforms 2".split())[1])
    for vsan in fabric["vsans"][::2]:
        vsan["discovery"] = {"status": "localOnly", "completed": {"seconds": 2**31 - 1, "microseconds": 999999},
                             "takesSeconds": 86400}
        vsan["statistics"] = dict.fromkeys(vsan["statistics"], WORD)
        vsan["platforms"][0] |= {"name": "", "type": WORD, "validationResult": 0}
        for element in vsan["elements"]:
            element |= {"type": 99, "domainId": 239, "logicalName": {"hex": "ff00c3"}, "infoList": "a\0€\"\n"}
            for port in element["ports"]:
                port |= dict.fromkeys(("type", "txType", "moduleType", "physicalPort", "state"), WORD)
    return fabric


def expect_answers(client, questions, rows):
    for record_id, operation, request, probe, asked, shown in questions:
        assert client.record(operation, record_id, request, asked, shown) == answer(
            TABLES[record_id], rows[record_id], operation, probe, asked, shown), (record_id, probe, asked, shown)


@pytest.mark.parametrize("fabric", [json.loads(SAMPLE.read_text()), odd_fabric()], ids=["sample", "odd"])
@pytest.mark.parametrize("seed", range(2))
def test_rows_are_the_fabrics(service, fabric, seed):
    chance = random.Random(seed)
    visible, hidden = (records(fabric, shown) for shown in (True, False))
    totals = [len(fabric["vsans"]), *(len(visible[i]) + len(hidden[i]) for i in (ELEMENTS, PORTS, PLATFORMS))]
    assert service.import_(otherwise_said(chance, fabric)) == (
        "imported {} VSANs, {} elements, {} ports, {} platforms\n".format(*totals))
    assert json.loads(service.text()) == fabric
    assert [service.status()[part] for part in ("vsans", "elements", "ports", "platforms")] == totals
    client, questions = service.client(), []
    for record_id, table in TABLES.items():
        # Around rows and what may not show, and at both ends.
        low, high = (table.key.unpack(octet * table.key.size) for octet in (b"\x00", b"\xFF"))
        probes = [*visible[record_id], *hidden[record_id], low, high]
        probes = chance.sample(probes, min(len(probes), 50))
        for probe in [low, *probes, *((key[0], *high[1:]) for key in probes[:5])]:
            request = table.key.pack(*probe).ljust(table.request_length, b"\xEE")
            for operation, asked in ((operation, asked) for operation in (1, 2) for asked in (1, 2, 7, 1000)):
                shown = chance.choice(SHOWN) if record_id in BY_VSAN else ()
                questions.append((record_id, operation, request, probe, asked, shown))
    expect_answers(client, questions, visible)
    # What was told before is told again, but of the fabric that another program has put there.
    changed = fabric | {"vsans": fabric["vsans"][1:]}
    service.import_(changed)
    expect_answers(client, questions * 2, records(changed, True))
    service.import_(fabric)
    rejects = sum(vsan["statistics"]["rejects"] for vsan in fabric["vsans"]) % 2**32
    counts = [FCS.REC_TOTAL_REJECTS, FCS.REC_IE_COUNT, FCS.REC_PORT_COUNT, FCS.REC_PLATFORM_COUNT]
    assert [client.word(record_id) for record_id in counts] == [
        rejects, *(len(visible[i]) for i in (ELEMENTS, PORTS, PLATFORMS))]
