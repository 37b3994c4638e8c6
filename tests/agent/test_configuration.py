"""Managers create, change and delete management addresses, platforms and node names, and switch notifications."""

import os
import random
import signal
import sqlite3
import threading

import pytest
from lab import OPERATOR, READER
from programs import eventually

KILLS = 20
NAME = "32.0.0.0.94.0.83"  # Of a node, but for its last octet.


@pytest.fixture(autouse=True)
def same_fabric_again(lab):
    """Each test begins with the sample fabric and an agent without pending rows."""
    lab.show(lab.fabric)


# What is sent, the status, and the status when the bindings come in the opposite order.
REQUESTS = [
    (["fcsMgmtAddrRowStatus.90.1 i 4", "fcsMgmtAddr.90.1 s new"], "noError", "noError"),
    (["fcsMgmtAddrRowStatus.11.1 i 4", "fcsMgmtAddr.11.1 s there"], "inconsistentValue", "inconsistentValue"),
    (["fcsMgmtAddrRowStatus.90.1 i 4", "fcsMgmtAddr.90.1 s "], "inconsistentValue", "inconsistentValue"),
    (["fcsMgmtAddr.11.1 s changed"], "inconsistentValue", None),
    (["fcsMgmtAddr.2147483647.1 s last", "fcsMgmtAddrRowStatus.2147483647.1 i 4"], "noError", "noError"),
    (["fcsMgmtAddr.4294967295.1 s none", "fcsMgmtAddrRowStatus.4294967295.1 i 4"], "genError", "genError"),
    (["fcsMgmtAddrRowStatus.90.1 i 6"], "noError", None),
    (["fcsPlatformName.1.90 s new", "fcsPlatformRowStatus.1.90 i 4"], "noError", "noError"),
    (["fcsPlatformName.1.1 s there", "fcsPlatformRowStatus.1.1 i 4"], "inconsistentValue", "inconsistentValue"),
    (["fcsPlatformName.1.90 s web-1.example.net", "fcsPlatformRowStatus.1.90 i 4"], "genError", "genError"),
    (["fcsPlatformName.2.90 s new", "fcsPlatformRowStatus.2.90 i 4"], "genError", "genError"),
    ([f"fcsPlatformName.1.90 s {'x' * 255}", "fcsPlatformRowStatus.1.90 i 4"], "noError", "noError"),
    ([f"fcsPlatformName.1.90 s {'x' * 256}", "fcsPlatformRowStatus.1.90 i 4"], "wrongLength", "wrongLength"),
    (["fcsPlatformName.1.90 s a b", "fcsPlatformRowStatus.1.90 i 4"], "wrongValue", "wrongValue"),
    (["fcsPlatformName.1.90 s new", "fcsPlatformRowStatus.1.90 i 5"], "inconsistentValue", "inconsistentValue"),
    (["fcsPlatformName.1.90 s new", "fcsPlatformRowStatus.1.90 i 4", "fcsPlatformType.1.90 i 8"], "noError",
     "inconsistentValue"),
    (["fcsPlatformRowStatus.1.90 i 6"], "noError", None),
    (["fcsPlatformType.1.1 i 13"], "badValue", None),
    (["fcsPlatformType.1.1 i -2147483648"], "badValue", None),
    (["fcsPlatformType.1.1 i 12"], "noError", None),
    (["fcsPlatformNodeNameListIndex.1.1 i -1"], "genError", None),
    (["fcsPlatformNodeNameListIndex.1.1 i 2147483647"], "noError", None),
    ([f"fcsNodeNameRowStatus.90.{NAME}.99 i 4"], "noError", None),
    ([f"fcsNodeNameRowStatus.90.{NAME}.161 i 4"], "genError", None),  # Another list has the name.
    ([f"fcsNodeNameRowStatus.1.{NAME}.161 i 6"], "noError", None),
    ([f"fcsNodeNameRowStatus.90.{NAME}.99 i 6"], "genError", None),
    ([f"fcsNodeNameRowStatus.90.{NAME} i 4"], "inconsistentName", None),
    ([f"fcsNodeNameRowStatus.90.{NAME}.1.1 i 4"], "inconsistentName", None),
    (["fcsIeNumber.0 i 1"], "notWritable", None),
    (["fcsPlatformConfigSource.1.1 i 1"], "notWritable", None),
    (["fcsVsanDiscoverySpinLock.0 s x"], "wrongType", None),
    (["fcsVsanDiscoveryTimeOut.0 u 1801"], "badValue", None),
    ([f"fcsVsanDiscoveryList2k.0 x {'00' * 257}"], "wrongLength", None),
]


@pytest.mark.parametrize("bindings, expected, other_way_round", REQUESTS, ids=[sent[0][:40] for sent, *_ in REQUESTS])
def test_requests(lab, bindings, expected, other_way_round):
    before = lab.walk()
    assert lab.put(*bindings) == expected
    assert expected == "noError" or lab.walk() == before
    if other_way_round:
        lab.show(lab.fabric)
        assert lab.put(*bindings[::-1]) == other_way_round


def test_an_index_too_long_or_too_short(lab):
    """There is no live row, and the last two sub-identifiers count."""
    before = lab.walk()
    for place in ["11.1.1", "11"]:
        assert lab.put(f"fcsMgmtAddrRowStatus.{place} i 6") == "noError"
        assert lab.put(f"fcsPlatformRowStatus.{place} i 6") in ("noError", "genError")
    assert lab.walk() == before


def test_a_row_that_failed_in_action_is_found_again(lab):
    address, status = "fcsMgmtAddr.0.7 s new", "fcsMgmtAddrRowStatus.0.7 i 4"  # The service refuses list 0.
    assert [lab.put(address, status), lab.put(address), lab.put(status)] == ["genError", "noError", "genError"]
    latest = lab.log().splitlines()[-1]
    assert "the user" not in latest and "a value is outside its range" in latest


def test_roles_hold_and_the_log_says_who(lab):
    columns = [f"fcsPlatform{column}" for column in ("Type", "NodeNameListIndex", "MgmtAddrListIndex", "Validation")]

    def refused(instance):
        return f"{instance} (VSAN {vsan}) by user 'operator' refused" in lab.log().splitlines()[-1]

    for vsan, expected in [(1, "noError"), (100, "genError"), (2100, "genError")]:
        row = f"fcsPlatformRowStatus.{vsan}"
        assert lab.put(f"fcsPlatformName.{vsan}.120 s new", f"{row}.120 i 4", options=OPERATOR) == expected
        assert refused(f"{row}.120") == (expected != "noError")
        assert lab.put(f"{row}.1 i 6", options=OPERATOR) == expected
        assert ("No Such Instance" in lab.run("snmpget", READER, f"{row}.1")) == (expected == "noError")
        for instance in [f"{column}.{vsan}.2" for column in columns]:
            before = lab.get(instance)
            assert lab.put(f"{instance} i 2", options=OPERATOR) == expected
            assert expected == "noError" or (refused(instance) and lab.get(instance) == before)
    assert lab.put("fcsPlatformConfigSource.1.2 i 2", options=OPERATOR) == "notWritable", "as to everybody"
    taken = ["fcsPlatformName.1.121 s web-1.example.net", "fcsPlatformRowStatus.1.121 i 4"]
    assert lab.put(*taken, options=OPERATOR) == "genError"
    assert ("fcsPlatformRowStatus.1.121 (VSAN 1) by user 'operator' failed: another platform of the VSAN has this name"
            in lab.log())
    assert 'user "operator": platform 120 of VSAN 1 created' in (lab.directory / "fcsd.out").read_text()


def test_switches_rule_and_survive(lab):
    switches = {"fcsDiscoveryCompleteNotifyEnable.0": "1", "fcsReqRejNotifyEnable.0": "2"}
    lab.put(*(f"{name} i {value}" for name, value in switches.items()))
    rejections, changes = map(lab.traps, ("fcsReqRejNotify", "fcsMgmtAddrChangeNotify"))
    lab.control("event", "reject", "--vsan", "1")
    lab.control("event", "address", "--vsan", "1", "--address", "192.0.2.8")
    eventually(lambda: lab.traps("fcsMgmtAddrChangeNotify") > changes)
    assert lab.traps("fcsReqRejNotify") == rejections, "switched off"
    lab.end("AGENT")
    lab.up()
    for _ in range(2):
        assert {name: lab.get(name) for name in switches} == switches
        lab.reconfigure()
    lab.put("fcsReqRejNotifyEnable.0 i 1")
    eventually(lambda: not lab.control("event", "reject", "--vsan", "1") and lab.traps("fcsReqRejNotify") > rejections)


def platforms_in_the_store(lab):
    """As another program reads them: {index: (name, type)}. The store is whole."""
    with sqlite3.connect(f"file:{lab.directory}/fabric.db?mode=ro", uri=True) as store:
        assert store.execute("PRAGMA integrity_check").fetchone() == ("ok",)
        rows = store.execute("SELECT platform_index, name, type FROM platform WHERE vsan = 1").fetchall()
        assert store.execute("SELECT platforms FROM vsan WHERE id = 1").fetchone() == (len(rows),)
        return {index: (name.decode(errors="replace"), kind) for index, name, kind in rows}


def test_what_was_answered_survives_the_services_death(lab):
    """The service is killed at random moments of SETs. What was answered noError is there after its restart, whatever
    else there is was asked for, and the store opens as it is."""
    chance = random.Random(1)
    agent, index, stands = lab.agent, 1000, {}
    for _ in range(KILLS):
        killer = threading.Timer(chance.uniform(0, 0.03), os.kill, (lab.service, signal.SIGKILL))
        killer.start()
        while killer.is_alive():
            index += 1
            if lab.put(f"fcsPlatformName.1.{index} s n{index}", f"fcsPlatformRowStatus.1.{index} i 4") == "noError":
                stands[index] = 10 if lab.put(f"fcsPlatformType.1.{index} i 8") == "noError" else 1
        lab.up()
        eventually(lab.answers)
        assert lab.agent == agent
    found = platforms_in_the_store(lab)
    assert len(stands) > KILLS / 10, "the service was killed before anything was answered"
    assert all(found[index][1] in (kind, 10) for index, kind in stands.items())
    assert all(name == f"n{at}" for at, (name, _) in found.items() if 1000 < at <= index)
