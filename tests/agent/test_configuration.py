"""Managers create, change and delete management addresses, platforms and node names."""

import os
import random
import re
import signal
import sqlite3
import threading

import pytest
from lab import READER, REPOSITORY, ROOT, WRITER, eventually, v3

ADDRESS, ADDRESS_STATUS = f"{ROOT}.1.1.12.1.3", f"{ROOT}.1.1.12.1.5"
PLATFORM, NODE_NAME_STATUS = f"{ROOT}.1.1.18.1", f"{ROOT}.1.1.19.1.4"
NAME, TYPE, NODE_NAMES, ADDRESSES, SOURCE, VALIDATION, RESULT, STATUS = (f"{PLATFORM}.{c}" for c in range(2, 10))
ACTIVE, CREATE, DESTROY = "1", "4", "6"
KILLS = int(os.environ.get("FCS_KILLS", "20"))


def put(lab, *bindings, options=WRITER):
    """Sends a SET of (oid, type, value)s: "noError", or the error's name."""
    words = [word for binding in bindings for word in binding]
    answer = lab.run("snmpset", options, *words)
    for line in answer.splitlines():
        if line.startswith("Reason: "):
            return line.split()[1].strip("()")
    return "noError" if " = " in answer else answer


def name(index, text="new", vsan=1):
    return f"{NAME}.{vsan}.{index}", "s", text


def status(index, value, vsan=1):
    return f"{STATUS}.{vsan}.{index}", "i", value


def column(oid, index, value, vsan=1):
    return f"{oid}.{vsan}.{index}", "i", value


def address(text="192.0.2.99", row="90.1"):
    return f"{ADDRESS}.{row}", "s", text


def address_status(value, row="90.1"):
    return f"{ADDRESS_STATUS}.{row}", "i", value


def node_name(value, row="90.32.0.0.0.94.0.83.99"):
    return f"{NODE_NAME_STATUS}.{row}", "i", value


def row(lab, index, vsan=1, columns=(NAME, TYPE, NODE_NAMES, ADDRESSES, SOURCE, RESULT)):
    """The values of a platform's columns; nothing when there is no such platform."""
    values = [lab.get(f"{oid}.{vsan}.{index}") for oid in columns]
    return None if any("No Such Instance" in value for _, _, value in values) else [value for _, _, value in values]


@pytest.fixture(autouse=True)
def same_fabric_again(lab):
    """Each test begins with the sample fabric and an agent without pending rows."""
    assert lab.control("import", str(lab.fabric)).returncode == 0
    yield


# Each request with its status, and the status when its bindings come in the opposite order.
REQUESTS = [
    ("create an address", [address_status(CREATE), address()], "noError", "noError"),
    ("create an address that is there", [address("x", "11.1"), address_status(CREATE, "11.1")],
     "inconsistentValue", "inconsistentValue"),
    ("create without address", [address_status(CREATE)], "inconsistentValue", None),
    ("create with an empty address", [address_status(CREATE), address("")], "inconsistentValue", "inconsistentValue"),
    ("destroy an address", [address_status(DESTROY, "11.1")], "noError", None),
    ("destroy an address that is not there", [address_status(DESTROY)], "noError", None),
    ("address alone", [address()], "inconsistentValue", None),
    ("change an address", [address("x", "11.1")], "inconsistentValue", None),
    ("activate an address", [address_status(ACTIVE, "11.1")], "inconsistentValue", None),
    ("create a platform", [name(90), status(90, CREATE)], "noError", "noError"),
    ("create a platform that is there", [name(1), status(1, CREATE)], "inconsistentValue", "inconsistentValue"),
    ("create a platform without name", [status(90, CREATE)], "inconsistentValue", None),
    ("name alone", [name(90)], "inconsistentValue", None),
    ("name taken", [name(90, "web-1.example.net"), status(90, CREATE)], "genError", "genError"),
    ("unknown VSAN", [name(90, vsan=2), status(90, CREATE, vsan=2)], "genError", "genError"),
    ("destroy a platform", [status(1, DESTROY)], "noError", None),
    ("destroy a platform that is not there", [status(90, DESTROY)], "noError", None),
    ("wait", [name(90), status(90, "5")], "inconsistentValue", "inconsistentValue"),
    ("status 7", [status(90, "7")], "inconsistentValue", None),
    ("type behind the status", [name(90), status(90, CREATE), column(TYPE, 90, "8")], "noError",
     "inconsistentValue"),
    ("create a node name", [node_name(CREATE)], "noError", None),
    ("node name of another list", [node_name(CREATE, "90.32.0.0.0.94.0.83.161")], "genError", None),
    ("node name that is there", [node_name(CREATE, "1.32.0.0.0.94.0.83.161")], "inconsistentValue", None),
    ("destroy a node name", [node_name(DESTROY, "1.32.0.0.0.94.0.83.161")], "noError", None),
    ("destroy a node name that is not there", [node_name(DESTROY)], "genError", None),
    ("activate a node name", [node_name(ACTIVE)], "noError", None),
    ("a node name too short", [node_name(CREATE, "90.32.0.0.0.94.0.83")], "inconsistentName", None),
    ("a node name too long", [node_name(CREATE, "90.32.0.0.0.94.0.83.1.1")], "inconsistentName", None),
]


@pytest.mark.parametrize("what, bindings, expected, reversed_too", REQUESTS, ids=[r[0] for r in REQUESTS])
def test_requests(lab, what, bindings, expected, reversed_too):
    before = lab.walk(suffix=".1.1")
    assert put(lab, *bindings) == expected
    if expected != "noError":
        assert lab.walk(suffix=".1.1") == before
    if reversed_too:
        assert lab.control("import", str(lab.fabric)).returncode == 0
        assert put(lab, *bindings[::-1]) == reversed_too


def test_integers_at_their_ends(lab):
    for oid, value, expected in [(TYPE, "13", "badValue"), (TYPE, "-2147483648", "badValue"), (TYPE, "12", "noError"),
                                 (NODE_NAMES, "-1", "genError"), (NODE_NAMES, "2147483647", "noError")]:
        before = lab.get(f"{oid}.1.1")[2]
        assert put(lab, column(oid, 1, value)) == expected
        assert lab.get(f"{oid}.1.1")[2] == (value if expected == "noError" else before)


def test_octets_at_their_ends(lab):
    for index, (text, expected) in enumerate([("", "wrongLength"), ("x", "noError"), ("x" * 255, "noError"),
                                              ("x" * 256, "wrongLength"), (" x", "wrongValue"),
                                              ("a b", "wrongValue"), ("x ", "wrongValue")], start=100):
        assert put(lab, name(index, text), status(index, CREATE)) == expected, text
        assert row(lab, index, columns=[NAME]) == ([text.encode().hex()] if expected == "noError" else None)
    for index, (length, expected) in enumerate([(1, "noError"), (255, "noError"), (256, "wrongLength")], start=1):
        place = f"91.{index}"
        assert put(lab, address("y" * length, place), address_status(CREATE, place)) == expected
    assert len(lab.walk(suffix=".1.1.12.1.3.91")) == 2


def test_indexes_at_their_ends(lab):
    """Indexes are positive; the service refuses others. Of an instance OID one sub-identifier long or short there is
    no live row, and its last two sub-identifiers count."""
    for index, expected in [("0", "genError"), ("2147483647", "noError"), ("2147483648", "genError"),
                            ("4294967295", "genError")]:
        place = f"{index}.1"
        assert put(lab, address(row=place), address_status(CREATE, place)) == expected
        assert put(lab, name(index, "at an end".replace(" ", "-"), vsan=2100), status(index, CREATE, vsan=2100)) == expected
        assert put(lab, node_name(CREATE, f"{index}.32.0.0.0.94.0.83.98")) == expected
        if expected == "noError":
            put(lab, node_name(DESTROY, f"{index}.32.0.0.0.94.0.83.98"))
    before = lab.walk(suffix=".1.1")
    for oid in ["11.1.1", "11"]:
        assert put(lab, address_status(DESTROY, oid)) == "noError"
        assert put(lab, (f"{STATUS}.{oid}", "i", DESTROY)) in ("noError", "genError")
    assert lab.walk(suffix=".1.1") == before


def test_validation_keeps_its_result(lab):
    def result():
        return lab.get(f"{RESULT}.1.90")[2]
    assert put(lab, name(90), status(90, CREATE), column(NODE_NAMES, 90, "90")) == "noError"
    assert result() == "1"
    assert put(lab, column(VALIDATION, 90, "1")) == "noError"
    assert result() == "3", "the list has no names yet"
    assert put(lab, node_name(CREATE)) == "noError"
    assert put(lab, column(VALIDATION, 90, "1")) == "noError"
    assert result() == "2"
    assert put(lab, column(TYPE, 90, "5")) == "noError"
    assert result() == "1", "changed since"


def test_a_row_that_failed_in_action_is_found_again(lab):
    place = "0.7"  # The service refuses list 0.
    assert put(lab, address(row=place), address_status(CREATE, place)) == "genError"
    assert put(lab, address("again", place)) == "noError"
    assert put(lab, address_status(CREATE, place)) == "genError", "the address is there already"
    assert "the user" not in lab.log().splitlines()[-1] and "a value is outside its range" in lab.log().splitlines()[-1]


def test_roles_hold_and_the_log_says_who(lab):
    operator = v3("operator")
    columns = [line.split() for line in (REPOSITORY / "tests/mib/objects.txt").read_text().splitlines()
               if re.match(r"1\.1\.18\.1\.[3-8] .* RW$", line)]
    assert len(columns) == 4
    for vsan, expected in [(1, "noError"), (100, "genError"), (2100, "genError")]:
        created = put(lab, name(120, vsan=vsan), status(120, CREATE, vsan=vsan), options=operator)
        assert created == expected
        if expected != "noError":
            line = lab.log().splitlines()[-1]
            assert f"fcsPlatformRowStatus.{vsan}.120 (VSAN {vsan}) by user 'operator' refused" in line
        assert put(lab, status(1, DESTROY, vsan=vsan), options=operator) == expected
        for suffix, name_of_column, *_ in columns:
            before = lab.get(f"{ROOT}.{suffix}.{vsan}.2")
            assert put(lab, column(f"{ROOT}.{suffix}", 2, "2", vsan=vsan), options=operator) == expected
            if expected != "noError":
                assert f"{name_of_column}.{vsan}.2 (VSAN {vsan}) by user 'operator' refused" in lab.log().splitlines()[-1]
                assert lab.get(f"{ROOT}.{suffix}.{vsan}.2") == before
        assert (row(lab, 1, vsan) is None) == (expected == "noError")
    assert put(lab, column(SOURCE, 2, "2"), options=operator) == "notWritable", "as to everybody"
    assert put(lab, name(121, "web-1.example.net"), status(121, CREATE), options=operator) == "genError"
    assert ("fcsPlatformRowStatus.1.121 (VSAN 1) by user 'operator' failed: another platform of the VSAN has this name"
            in lab.log())
    assert 'user "operator": platform 120 of VSAN 1 created' in (lab.directory / "fcsd.out").read_text()


def test_an_address_of_a_switch_is_announced(lab):
    def announced():
        return (lab.directory / "traps.log").read_text().count("fcsMgmtAddrChangeNotify")
    before = announced()
    assert put(lab, address("192.0.2.77", "12.5"), address_status(CREATE, "12.5")) == "noError"
    eventually(lambda: announced() > before)
    assert "192.0.2.77" in lab.run("snmpget", [*READER, "-Oa"], f"{ADDRESS}.12.5")


def test_of_two_managers_one_wins(lab):
    for index in range(200, 220):
        answers = {}

        def create(who, bindings):
            answers[who] = put(lab, *bindings)
        one = threading.Thread(target=create, args=("one", [name(index, f"one-{index}"), status(index, CREATE)]))
        two = threading.Thread(target=create, args=("two", [status(index, CREATE), name(index, f"two-{index}")]))
        one.start(), two.start(), one.join(), two.join()
        assert sorted(answers.values()) == ["inconsistentValue", "noError"]
        winner = next(who for who, answer in answers.items() if answer == "noError")
        kind = "1" if winner == "one" else "0"
        assert row(lab, index, columns=[NAME, TYPE, RESULT]) == [f"{winner}-{index}".encode().hex(), kind, kind]


def store_of(lab):
    """The platforms in the store, as another program reads them, and whether the store is whole."""
    with sqlite3.connect(f"file:{lab.directory}/fabric.db?mode=ro", uri=True) as store:
        assert store.execute("PRAGMA integrity_check").fetchone() == ("ok",)
        counted = store.execute("SELECT platforms FROM vsan WHERE id = 1").fetchone()[0]
        rows = {index: (name.decode(errors="replace"), kind) for index, name, kind in store.execute(
            "SELECT platform_index, name, type FROM platform WHERE vsan = 1")}
        assert counted == len(rows)
        return rows


def test_what_was_answered_survives_the_services_death(lab):
    """The service is killed at random moments of SETs. What was answered noError is there after its restart, whatever
    else there is was asked for, and the store opens as it is."""
    chance = random.Random(1)
    agent, index = lab.agent, 1000
    stands, asked = {}, {}
    for _ in range(KILLS):
        killer = threading.Timer(chance.uniform(0, 0.03), os.kill, (lab.service, signal.SIGKILL))
        killer.start()
        while killer.is_alive():
            index += 1
            asked[index] = f"n{index}"
            if put(lab, name(index, asked[index]), status(index, CREATE)) == "noError":
                stands[index] = 1
                if put(lab, column(TYPE, index, "8")) == "noError":
                    stands[index] = 10
        lab.up()
        eventually(lambda: "INTEGER" in lab.run("snmpget", READER, f"{ROOT}.1.1.17.0"))
        assert lab.agent == agent
    found = store_of(lab)
    assert len(stands) > KILLS / 10, "the service was killed before anything was answered"
    for index, kind in stands.items():
        assert found[index][0] == asked[index] and found[index][1] in (kind, 10)
    assert all(asked[index] == text for index, (text, _) in found.items() if 1000 < index < 2**31 - 1)
