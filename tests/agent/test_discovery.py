"""Managers run discoveries: races, refusals, faults, notifications."""

import os
import signal
import threading

from lab import READER, ROOT, WRITER, eventually, v3

LIST_2K, LIST_4K = f"{ROOT}.1.1.3.0", f"{ROOT}.1.1.4.0"
START, LOCK = f"{ROOT}.1.1.5.0", f"{ROOT}.1.1.1.0"


def put(lab, *bindings, options=WRITER):
    return lab.run("snmpset", options, *bindings)


def traps(lab, name):
    return [line for line in (lab.directory / "traps.log").read_text().splitlines() if name in line]


def test_switches_rule_and_survive(lab):
    complete, rejected = f"{ROOT}.1.1.21.0", f"{ROOT}.1.1.20.0"
    put(lab, complete, "i", "1", rejected, "i", "2")
    before = len(traps(lab, "fcsReqRejNotify")), len(traps(lab, "fcsMgmtAddrChangeNotify"))
    lab.control("event", "reject", "--vsan", "1")
    lab.control("event", "address", "--vsan", "1", "--address", "192.0.2.8")
    eventually(lambda: len(traps(lab, "fcsMgmtAddrChangeNotify")) > before[1])
    assert len(traps(lab, "fcsReqRejNotify")) == before[0], "switched off"
    os.kill(lab.agent, signal.SIGKILL)
    eventually(lambda: lab.env()["FCS_AGENT_PID"] == "")
    lab.up()
    for _ in range(2):
        assert lab.get(complete)[2] == "1" and lab.get(rejected)[2] == "2"
        lab.reconfigure()
    put(lab, rejected, "i", "1")
    eventually(lambda: lab.control("event", "reject", "--vsan", "1").returncode == 0 and
               len(traps(lab, "fcsReqRejNotify")) > before[0])


def test_one_manager_wins_the_lock(lab):
    for _ in range(20):
        lock = lab.get(LOCK)[2]
        answers = []
        managers = [threading.Thread(target=lambda: answers.append(put(lab, LOCK, "i", lock))) for _ in range(3)]
        for manager in managers:
            manager.start()
        for manager in managers:
            manager.join()
        assert sum("inconsistentValue" in answer for answer in answers) == 2
        assert int(lab.get(LOCK)[2]) == int(lock) + 1


def test_refusals_leave_everything(lab):
    put(lab, LIST_2K, "x", "80")
    before = lab.walk(suffix=".1.1")
    for suffix, kind, value, status in [("1.1.1.0", "s", "x", "wrongType"), ("1.1.2.0", "s", "n" * 33, "wrongLength"),
                                        ("1.1.3.0", "x", "00" * 257, "wrongLength"), ("1.1.7.0", "u", "1801", "badValue")]:
        assert status in put(lab, f"{ROOT}.{suffix}", kind, value), suffix
    # VSAN 51 is one that the operator reads and may not write; its neighbours do not matter.
    for suffix in ["1.1.3.0", "1.1.8.0"]:
        assert "notWritable" in put(lab, f"{ROOT}.{suffix}", "x", "80" + "00" * 5 + "20", options=v3("operator"))
    assert "notWritable" in put(lab, LIST_4K, "x", "80", options=v3("operator"))
    assert lab.walk(suffix=".1.1") == before
    assert "user 'operator' refused: it names a VSAN" in lab.log()
    assert "= " in put(lab, LIST_2K, "x", "80" + "00" * 5 + "40", options=v3("operator")), "VSANs 1 and 50"


def test_every_vsan_starts_within_one_set(lab):
    put(lab, LIST_2K, "x", "FF" * 256)
    put(lab, LIST_4K, "x", "FF" * 255 + "FC")
    answer = put(lab, START, "i", "1")
    assert "INTEGER: 1" in answer, "the service knows three of the 4,094 VSANs; the SET succeeds all the same"
    events = lab.control("history", "--level", "event").stdout
    for failed in ["Discovery on VSAN 2048 fails with err 6", "Discovery on VSAN 2049 fails\n",
                   "Discovery on VSAN 4094 fails\n", "Discovery started successfully"]:
        assert failed in events
    eventually(lambda: "INTEGER: 2" in lab.run("snmpget", READER, f"{ROOT}.1.1.6.1.1.2100"))
