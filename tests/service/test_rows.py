"""Rows come in unsigned order; a VSAN that is local-only hides what is not local; a description says it all."""

import json
from bisect import bisect_left, bisect_right

import pytest
from fabric import ELEMENTS, PLATFORMS, PORTS, TABLES, RandomFabric, records
from service import FCS, Reply, words


def answer(table, rows, operation, key, asked):
    """What the service answers when it is asked for so many rows."""
    keys, room = sorted(rows), min(asked, 64 * 1024 // table.record.size)
    start = (bisect_left if operation == FCS.OP_GET else bisect_right)(keys, key)
    found, end = [rows[key] for key in keys[start:start + room]], 0
    if len(found) < room and table.ends_by_record:
        found.append(words(0xFFFFFFFF).ljust(table.record.size, b"\0"))
    elif len(found) < room:
        end = FCS.ERR_NO_SUCH_ROW
    if not found or operation == FCS.OP_GET and key not in rows:
        return Reply(FCS.ERR_NO_SUCH_ROW, 1, 0, b"")
    return Reply(FCS.OK, len(found), end, b"".join(found))


@pytest.mark.parametrize("seed", range(6))
def test_random_fabric(service, seed):
    fabric = RandomFabric(seed)
    visible, hidden = (records(fabric.description, shown) for shown in (True, False))
    totals = [len(fabric.description["vsans"]), *(len(visible[i]) + len(hidden[i]) for i in (ELEMENTS, PORTS, PLATFORMS))]
    assert service.import_(fabric.otherwise_said(fabric.description)) == (
        "imported {} VSANs, {} elements, {} ports, {} platforms\n".format(*totals))
    assert json.loads(service.text()) == fabric.description
    assert [service.status()[part] for part in ("vsans", "elements", "ports", "platforms")] == totals
    client = service.client()
    for record_id, table in TABLES.items():
        # Around rows and what may not show, and at both ends.
        low, high = (table.key.unpack(octet * table.key.size) for octet in (b"\x00", b"\xFF"))
        probes = [*visible[record_id], *hidden[record_id], low, high]
        probes = fabric.sample(probes, min(len(probes), 50))
        for probe in [low, *probes, *((key[0], *high[1:]) for key in probes[:5])]:
            request = table.key.pack(*probe).ljust(table.request_length, b"\xEE")
            for operation, asked in ((operation, asked) for operation in (1, 2) for asked in (1, 2, 7, 1000)):
                assert client.record(operation, record_id, request, asked) == answer(
                    table, visible[record_id], operation, probe, asked), (record_id, probe, asked)
    rejects = sum(vsan["statistics"]["rejects"] for vsan in fabric.description["vsans"]) % 2**32
    counts = [FCS.REC_TOTAL_REJECTS, FCS.REC_IE_COUNT, FCS.REC_PORT_COUNT, FCS.REC_PLATFORM_COUNT]
    assert [client.word(record_id) for record_id in counts] == [
        rejects, *(len(visible[i]) for i in (ELEMENTS, PORTS, PLATFORMS))]
