"""What managers of every kind are told, against the fabric description."""

import json
import random
import re
import subprocess
import time

import pytest
from fabric_view import expected_labels, expected_varbinds
from lab import READER, READER_V1, REPOSITORY, ROOT, WRITER, eventually, parse_walk, v3

OPERATOR_VSANS = range(1, 101)


@pytest.fixture(scope="module")
def fabric(lab):
    return json.loads(lab.fabric.read_text())


def numeric(oid):
    return [int(sub_identifier) for sub_identifier in oid.split(".")]


def batches(oids, size=40):
    """As many as fit into a message."""
    return [oids[i:i + size] for i in range(0, len(oids), size)]


@pytest.mark.parametrize("options, bulk, readable", [
    (READER_V1, False, range(1, 4097)),
    (READER, False, range(1, 4097)),
    (READER, True, range(1, 4097)),
    (v3("admin"), False, range(1, 4097)),
    (v3("admin"), True, range(1, 4097)),
    (v3("operator"), False, OPERATOR_VSANS),
    (v3("operator"), True, OPERATOR_VSANS),
], ids=["v1", "v2c", "v2c-bulk", "v3", "v3-bulk", "restricted", "restricted-bulk"])
def test_walk_is_the_fabric(lab, fabric, options, bulk, readable):
    walked = lab.walk(options, bulk=bulk)
    oids = [numeric(oid) for oid, _, _ in walked]
    assert oids == sorted(oids), "out of order"
    assert len(oids) == len({tuple(oid) for oid in oids}), "an instance came twice"
    assert {oid: (kind, value) for oid, kind, value in walked} == expected_varbinds(fabric, ROOT, readable)


def test_get_is_the_walk(lab, fabric):
    expected = expected_varbinds(fabric, ROOT)
    hidden = expected.keys() - expected_varbinds(fabric, ROOT, OPERATOR_VSANS).keys()
    assert hidden
    for batch in batches(list(expected)):
        assert parse_walk(lab.run("snmpget", READER, *batch)) == [(oid, *expected[oid]) for oid in batch]
    for batch in batches(sorted(hidden)):
        assert lab.run("snmpget", v3("operator"), *batch).count("No Such Instance") == len(batch)


def test_every_answer_is_of_the_fabric_of_its_time(lab, fabric, tmp_path):
    """The fabric changes between requests; what came along with an answer to one is not in the answer to the next."""
    other = json.loads(json.dumps(fabric))
    for vsan in other["vsans"]:
        for element in vsan["elements"]:
            del element["ports"][::2]
    view = {}
    for name, description in {"whole": fabric, "half": other}.items():
        (tmp_path / name).write_text(json.dumps(description))
        varbinds = expected_varbinds(description, ROOT)
        view[name] = [(oid, *varbinds[oid]) for oid in sorted(varbinds, key=numeric)]

    def behind(name, oid, rows):
        return [varbind for varbind in view[name] if numeric(varbind[0]) > numeric(oid)][:rows]

    chance = random.Random(1)
    tables = [varbind[0] for varbind in view["whole"] if varbind[0].startswith((f"{ROOT}.1.1.1", f"{ROOT}.1.2.2"))]
    try:
        for request in range(24):
            name = "half" if request % 2 else "whole"
            assert lab.control("import", str(tmp_path / name)).returncode == 0
            asked = chance.sample(tables[:-50], 3)
            bulk = parse_walk(lab.run("snmpbulkget", READER, "-Cn0", "-Cr20", *asked))
            for place, oid in enumerate(asked):
                assert bulk[place::3] == behind(name, oid, 20)
            answers = parse_walk(lab.run("snmpgetnext", READER, *asked))
            assert answers == [behind(name, oid, 1)[0] for oid in asked]
    finally:
        lab.control("import", str(lab.fabric))


@pytest.mark.parametrize("instance", [
    "1.1.11.1.2", "1.1.11.1.2.1", "1.1.11.1.2.1.32.1.0.0.94.0.83.1.0", "1.1.11.1.2.2.32.1.0.0.94.0.83.1",
    "1.1.11.1.2.4294967295.255.255.255.255.255.255.255.255", "1.1.11.1.1.1.32.1.0.0.94.0.83.1", "1.1.11.1.9.1.2.3",
    "1.2.2.1.2", "1.2.2.1.1.2", "1.2.2.1.1.1.1", "1.2.2.1.1.4294967295", "1.1.10", "1.1.10.1", "1.3.3.0",
])
def test_absent_instances(lab, instance):
    assert "No Such" in lab.run("snmpget", READER, f"{ROOT}.{instance}")
    assert "noSuchName" in lab.run("snmpget", READER_V1, f"{ROOT}.{instance}")


def test_bare_counter_column_names_a_vsan(lab):
    """The column's own last sub-identifier is taken for the VSAN, deliberately."""
    assert lab.get(f"{ROOT}.1.2.2.1.1")[::2] == (f"{ROOT}.1.2.2.1.1.1", "3000000001")


def starting_points(ordered, root):
    """OIDs in, before, behind and between the rows of every column, well-formed and not."""
    for oid in ordered:
        yield oid
        yield [*oid, 0]
        yield [*oid[:-1], oid[-1] - 1, 7] if oid[-1] else oid
    columns = sorted({tuple(oid[:len(root) + 5]) for oid in ordered if len(oid) > len(root) + 5})
    for column in map(list, columns):
        index = next(oid for oid in ordered if oid[:len(column)] == column)[len(column):]
        yield column
        yield [*column[:-1], column[-1] - 1, *index]
        yield [*column[:-1], column[-1] + 1, 0]
        for word in [0, 1, 99, 2**31 - 1, 2**31, 2**32 - 1]:
            yield [*column, word]
            yield [*column, word, *index[1:]]
        for length in range(1, len(index)):
            yield [*column, *index[:length]]
            yield [*column, *index[:length], 256]
            yield [*column, *index[:length], 300, *index[length + 1:]]
            yield [*column, *index[:length], 2**32 - 1]
        yield [*column, *index, *range(60)]


@pytest.mark.parametrize("options", [READER_V1, READER, v3("operator")], ids=["v1", "v2c", "restricted"])
def test_getnext_from_anywhere(lab, fabric, options):
    """The answer to any GETNEXT is the first instance behind it, in the order of OIDs."""
    readable = OPERATOR_VSANS if "operator" in options else range(1, 4097)
    ordered = sorted(numeric(oid) for oid in expected_varbinds(fabric, ROOT, readable))
    starts = [oid for oid in starting_points(ordered, numeric(ROOT)) if oid < ordered[-1]]
    for batch in batches(starts):
        answers = parse_walk(lab.run("snmpgetnext", options, *(".".join(map(str, oid)) for oid in batch)))
        assert len(answers) == len(batch)
        for start, (answer, _, _) in zip(batch, answers):
            assert numeric(answer) == next(oid for oid in ordered if oid > start), f"behind {start}"


def test_getbulk_crosses_tables(lab, fabric):
    expected = expected_varbinds(fabric, ROOT)
    start = f"{ROOT}.1.1.11.1.8.2100"
    behind = [oid for oid in sorted(expected, key=numeric) if numeric(oid) > numeric(start)]
    answers = parse_walk(lab.run("snmpbulkget", [*READER, "-Cr60"], start))
    assert answers == [(oid, *expected[oid]) for oid in behind[:len(answers)]]
    assert answers[0][0].startswith(start) and answers[-1][0].startswith(f"{ROOT}.1.1.12.")


def test_read_only_objects_stay(lab):
    before = lab.walk()
    for suffix in ["1.1.10.0", "1.1.12.1.4.1.1", "1.1.18.1.8.1.1", "1.1.18.1.6.1.1"]:
        assert "notWritable" in lab.run("snmpset", WRITER, f"{ROOT}.{suffix}", "i", "1")
    assert lab.walk() == before


def test_names_and_tables_for_people(lab, fabric):
    environment = {**lab.environment, "MIBS": "ZEPHRIN-FCS-MIB", "MIBDIRS": str(REPOSITORY / "mibs")}
    agent = f"127.0.0.1:{lab.port}"
    table = subprocess.run(["snmptable", *READER, "-Cib", "-CB", agent, "ZEPHRIN-FCS-MIB::fcsStatsTable"],
                           capture_output=True, text=True, timeout=20, env=environment).stdout
    rows = [line.split() for line in table.splitlines()]
    assert ["1", "3000000001", "12", "418", "4294967295", "17", "3", "96", "2147483648", "5"] in rows
    named = subprocess.run(["snmpwalk", *READER, "-OQn", agent, ROOT], capture_output=True, text=True, timeout=20,
                           env=environment).stdout
    lines = set(named.splitlines())
    for oid, label in expected_labels(fabric, ROOT).items():
        assert f".{oid} = {label}" in lines
    assert '= 20:1:0:0:5e:0:53:1' in named and '= fffc01' in named
    assert '= "core-a.example.net"' in named and '= "41 52 43 48 49 56 20 4B D6 4C 4E "' in named


def test_a_new_fabric_shows_at_once(lab, fabric, tmp_path):
    smaller = {"vsans": [{"id": 4094, "elements": [{"name": "10:00:00:00:5e:00:53:ff", "type": "hub"}],
                          "discovery": {"status": "completed"}},
                         {"id": 7, "discovery": {"status": "localOnly"}, "elements": [
                             {"name": "ff:00:00:00:5e:00:53:00", "type": "switch", "local": True, "domainId": 239},
                             {"name": "10:00:00:00:5e:00:53:00", "type": "switch", "domainId": 2}]}]}
    path = tmp_path / "smaller.json"
    path.write_text(json.dumps(smaller))
    try:
        done = lab.control("import", str(path))
        assert done.returncode == 0, done.stderr
        walked = {oid: (kind, value) for oid, kind, value in lab.walk()}
        assert walked == expected_varbinds(smaller, ROOT)

        path.write_text(json.dumps({"vsans": [{"id": 5000}]}))
        done = lab.control("import", str(path))
        assert done.returncode == 1 and f"{path}: vsans[0].id: 5000" in done.stderr
        assert len(done.stderr.splitlines()) == 1
        assert {oid: (kind, value) for oid, kind, value in lab.walk()} == walked
    finally:
        assert lab.control("import", str(lab.fabric)).returncode == 0
    assert len(lab.walk()) == len(expected_varbinds(fabric, ROOT))


def test_completion_time_is_the_agents_uptime(lab, tmp_path):
    now = time.time()
    uptime = int(re.search(r"\((\d+)\)", lab.uptime())[1])
    completions = {1: 0.0, 2: now - uptime / 100 - 1, 3: now, 4: now - uptime / 200}
    fabric = {"vsans": [{"id": vsan, "discovery": {"status": "completed", "completed": {
        "seconds": int(at), "microseconds": int(at % 1 * 1e6)}}} for vsan, at in completions.items()]}
    path = tmp_path / "completed.json"
    path.write_text(json.dumps(fabric))
    try:
        assert lab.control("import", str(path)).returncode == 0
        shown = {oid.rsplit(".", 1)[1]: int(re.search(r"\((\d+)\)", value)[1])
                 for oid, _, value in lab.walk(suffix=".1.1.6.1.2")}
        assert shown["1"] == 0, "never completed"
        assert shown["2"] == 0, "completed before the agent's start"
        assert abs(shown["3"] - uptime) < 100 and abs(shown["4"] - uptime / 2) < 100
    finally:
        assert lab.control("import", str(lab.fabric)).returncode == 0


def test_event_history_is_read_along(lab, tmp_path):
    lines = tmp_path / "lines"
    with lines.open("w") as output:
        follower = subprocess.Popen([lab.env()["FCS_CTL"], "history", "--follow", "--lines", "0"], stdout=output)
    try:
        def is_followed():
            lab.get(f"{ROOT}.1.1.5.0")
            recent = lab.control("history", "--lines", "3").stdout
            return all("detail var_zephrinFcsMIB:return Disc\n" in text for text in (recent, lines.read_text()))
        eventually(is_followed)
    finally:
        follower.kill()
        follower.wait()
