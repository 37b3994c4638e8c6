"""What managers of every kind are told, against the fabric description."""

import copy
import json
import random
import re
import time

import pytest
from fabric import EVERY_VSAN, expected_varbinds, labels
from lab import ADMIN, OPERATOR, READER, READER_V1, ROOT, numeric, parse_walk
from programs import SAMPLE

FABRIC = json.loads(SAMPLE.read_text())
OPERATOR_VSANS = range(1, 101)


def batches(names, size=40):
    """As many as fit into a message."""
    return [names[i:i + size] for i in range(0, len(names), size)]


def ordered(varbinds):
    return [(name, *varbinds[name]) for name in sorted(varbinds, key=numeric)]


@pytest.mark.parametrize("options, bulk, readable", [
    (READER_V1, False, EVERY_VSAN), (READER, False, EVERY_VSAN), (READER, True, EVERY_VSAN), (ADMIN, True, EVERY_VSAN),
    (OPERATOR, False, OPERATOR_VSANS), (OPERATOR, True, OPERATOR_VSANS)],
    ids=["v1", "v2c", "v2c-bulk", "v3-bulk", "restricted", "restricted-bulk"])
def test_walk_is_the_fabric(lab, options, bulk, readable):
    assert lab.walk(options, bulk=bulk) == ordered(expected_varbinds(FABRIC, ROOT, readable))


def test_get_is_the_walk(lab):
    expected = expected_varbinds(FABRIC, ROOT)
    hidden = expected.keys() - expected_varbinds(FABRIC, ROOT, OPERATOR_VSANS).keys()
    assert hidden
    for batch in batches(list(expected)):
        assert parse_walk(lab.run("snmpget", READER, *batch)) == [(name, *expected[name]) for name in batch]
    for batch in batches(sorted(hidden)):
        assert lab.run("snmpget", OPERATOR, *batch).count("No Such Instance") == len(batch)


def test_every_answer_is_of_the_fabric_of_its_time(lab):
    """The fabric changes between requests; what came along with an answer to one is not in the answer to the next."""
    half = copy.deepcopy(FABRIC)
    for vsan in half["vsans"]:
        for element in vsan["elements"]:
            del element["ports"][::2]
    views = [(fabric, ordered(expected_varbinds(fabric, ROOT))) for fabric in (FABRIC, half)]
    chance = random.Random(1)
    tables = [name for name, *_ in views[0][1] if name.startswith((f"{ROOT}.1.1.1", f"{ROOT}.1.2.2"))]
    with lab.showing(half):
        for request in range(24):
            fabric, view = views[request % 2]
            lab.show(fabric)
            asked = chance.sample(tables[:-50], 3)
            behind = [[varbind for varbind in view if numeric(varbind[0]) > numeric(name)][:20] for name in asked]
            bulk = parse_walk(lab.run("snmpbulkget", READER, "-Cn0", "-Cr20", *asked))
            assert [bulk[place::3] for place in range(3)] == behind
            assert parse_walk(lab.run("snmpgetnext", READER, *asked)) == [first for first, *_ in behind]


def test_absent_instances(lab):
    for instance in [
            "1.1.11.1.2", "1.1.11.1.2.1", "1.1.11.1.2.1.32.1.0.0.94.0.83.1.0", "1.1.11.1.2.2.32.1.0.0.94.0.83.1",
            "1.1.11.1.2.4294967295.255.255.255.255.255.255.255.255", "1.1.11.1.1.1.32.1.0.0.94.0.83.1",
            "1.1.11.1.9.1.2.3", "1.2.2.1.2", "1.2.2.1.1.2", "1.2.2.1.1.1.1", "1.2.2.1.1.4294967295", "1.1.10",
            "1.1.10.1", "1.3.3.0"]:
        assert "No Such" in lab.run("snmpget", READER, f"{ROOT}.{instance}"), instance
        assert "noSuchName" in lab.run("snmpget", READER_V1, f"{ROOT}.{instance}"), instance
    # The column's own last sub-identifier is taken for the VSAN, deliberately.
    column = parse_walk(lab.run("snmpget", READER, "fcsRxGetReqs"))
    assert column == [(f"{ROOT}.1.2.2.1.1.1", "Counter32", "3000000001")]


def starting_points(instances, root):
    """OIDs in, before, behind and between the rows of every column, well-formed and not."""
    for name in instances:
        yield from (name, [*name, 0], [*name[:-1], name[-1] - 1, 7] if name[-1] else name)
    for column in map(list, sorted({tuple(name[:len(root) + 5]) for name in instances if len(name) > len(root) + 5})):
        index = next(name for name in instances if name[:len(column)] == column)[len(column):]
        yield from (column, [*column[:-1], column[-1] - 1, *index], [*column[:-1], column[-1] + 1, 0])
        for word in [0, 1, 99, 2**31 - 1, 2**31, 2**32 - 1]:
            yield from ([*column, word], [*column, word, *index[1:]])
        for length in range(1, len(index)):
            start = [*column, *index[:length]]
            yield from (start, [*start, 256], [*start, 300, *index[length + 1:]], [*start, 2**32 - 1])
        yield [*column, *index, *range(60)]


@pytest.mark.parametrize("options, readable", [
    (READER_V1, EVERY_VSAN), (READER, EVERY_VSAN), (OPERATOR, OPERATOR_VSANS)], ids=["v1", "v2c", "restricted"])
def test_getnext_from_anywhere(lab, options, readable):
    """The answer to any GETNEXT is the first instance behind it, in the order of OIDs."""
    instances = sorted(map(numeric, expected_varbinds(FABRIC, ROOT, readable)))
    for batch in batches([name for name in starting_points(instances, numeric(ROOT)) if name < instances[-1]]):
        answers = parse_walk(lab.run("snmpgetnext", options, *(".".join(map(str, name)) for name in batch)))
        assert [numeric(answer) for answer, *_ in answers] == [
            next(instance for instance in instances if instance > start) for start in batch]


def test_names_and_tables_for_people(lab):
    table = lab.run("snmptable", [*READER, "-Cib", "-CB"], "fcsStatsTable", mibs="ZEPHRIN-FCS-MIB")
    assert ["1", "3000000001", "12", "418", "4294967295", "17", "3", "96", "2147483648", "5"] in [
        line.split() for line in table.splitlines()]
    named = lab.run("snmpwalk", [*READER, "-OQn"], ROOT, mibs="ZEPHRIN-FCS-MIB")
    lines, labelled = set(named.splitlines()), 0
    for name, (_, value) in expected_varbinds(FABRIC, ROOT).items():
        column = next((labels for column, labels in labels().items() if name.startswith(f"{ROOT}.{column}.")), {})
        assert value not in column or f".{name} = {column[value]}" in lines
        labelled += value in column
    assert labelled > 100
    for shown in ["20:1:0:0:5e:0:53:1", "fffc01", '"core-a.example.net"', '"41 52 43 48 49 56 20 4B D6 4C 4E "']:
        assert f"= {shown}" in named


def test_completion_time_is_the_agents_uptime(lab):
    def ticks(text):
        return int(re.search(r"\((\d+)\)", text)[1])

    now, uptime = time.time(), ticks(lab.uptime())
    completions = {1: 0.0, 2: now - uptime / 100 - 1, 3: now, 4: now - uptime / 200}
    with lab.showing({"vsans": [{"id": vsan, "discovery": {"status": "completed", "completed": {
            "seconds": int(at), "microseconds": int(at % 1 * 1e6)}}} for vsan, at in completions.items()]}):
        shown = {vsan: ticks(lab.get(f"fcsDiscoveryCompletedTime.{vsan}")) for vsan in completions}
    assert shown[1] == 0 and shown[2] == 0, "never completed, or before the agent's start"
    assert abs(shown[3] - uptime) < 100 and abs(shown[4] - uptime / 2) < 100
