"""The service gone, hung or lying, faulty configuration, loading and unloading: the agent stays itself."""

import os
import re
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import pytest
from false_service import answering, false_service
from lab import OPERATOR, READER, ROOT, UPTIME, WRITER, Lab
from programs import eventually, footprint, paused, timed

DEADLINE = 0.2  # The exchange deadline, in seconds.
LAB = {"exchange_timeout": 200}
DLMOD_STATUS = "1.3.6.1.4.1.2021.13.14.2.1.5"
ROLE, ROW_1 = "fcsRole operations 1-100 1-50", b"\1\0\0\0" + b"\0" * 548
# Tables that are scoped by VSAN: discovery status, elements, ports, platforms, statistics.
VSAN_TABLES = tuple(f"{ROOT}.{table}." for table in ["1.1.6", "1.1.11", "1.1.15", "1.1.18", "1.2.2"])


def table_rows(lab, options=READER):
    return [varbind for varbind in lab.walk(options) if varbind[0].startswith(VSAN_TABLES)]


def test_service_hung(lab):
    """A walk costs one deadline; what another manager asks for waits no longer than that."""
    rows = table_rows(lab)
    with paused(lab.service), ThreadPoolExecutor() as managers:
        walk, waits = managers.submit(timed, lab.walk), []
        while not walk.done() or len(waits) < 10:
            seconds, answer = timed(lab.uptime)
            assert "Timeticks" in answer
            waits.append(seconds)
        seconds, walked = walk.result()
        assert seconds < 5 * DEADLINE + 2, "more than about one deadline for the whole subtree"
        assert f"{ROOT}.1.1.7.0" in [name for name, *_ in walked] and table_rows(lab) == []
        assert max(waits) < DEADLINE + 2, "another MIB waited for the service"
        assert lab.put(f"fcsVsanDiscoveryList2k.0 x {'FF' * 256}") == lab.put("fcsStartDiscovery.0 i 1") == "noError"
    assert eventually(lambda: table_rows(lab) == rows)
    assert f"no answer within {int(DEADLINE * 1000)} ms" in lab.log()


@pytest.mark.parametrize("payload", [b"", b"\xff", b"\xff" * 1024], ids=["empty", "one octet", "all ones"])
def test_lying_service(lab, payload):
    with false_service(lab, answering(payload)):
        seconds, walked = timed(lab.walk)
        # Two tables' role walks may go in circles until the limit of a read ends them.
        assert seconds < 2 * 10 * DEADLINE + 5
        assert f"{ROOT}.1.1.7.0" in [name for name, *_ in walked]
        assert "Timeticks" in lab.uptime()


def test_a_read_that_goes_in_circles_ends(lab):
    """Every exchange is in time, and yet there is no end: the service names a hidden VSAN again and again."""
    with false_service(lab, answering(ROW_1)), lab.configured(ROLE, "fcsRole operations 5-10 1-50"):
        lab.run("snmpget", OPERATOR, UPTIME)  # The manager has found the engine's id.
        seconds, _ = timed(lambda: lab.run("snmpbulkget", [*OPERATOR, "-Cr50"], f"{ROOT}.1.1.11"))
        assert seconds < 10 * DEADLINE + 5
        assert "Timeticks" in lab.uptime()


def test_who_looks_is_told_why_nothing_is_shown(tmp_path):
    """A user without a role, rows out of order, a spent budget: a line each under the debug token, or in the log. The
    agent's own requests, which are all one transaction, have a budget each."""
    debug = tmp_path / "lab" / "debug.log"
    monitored = "user 'monitor', role 'operations': reads VSANs 1-100, writes 1-50"
    with Lab(tmp_path / "lab", **LAB, settings=(
            f"[snmp] doDebugging 1\n[snmp] debugTokens fcs_request\n[snmp] logOption f {debug}\n"
            'com2sec lab-guest default guest\ngroup lab-guests v2c lab-guest\n'
            'access lab-guests "" any noauth exact everything none none\n'
            'createUser monitor SHA-256 monitor-phrase\nrouser monitor\niquerySecName monitor\n'
            f"fcsRoleUser monitor operations\nmonitor -r 1 -u monitor elements {ROOT}.1.1.11.1.3 > 5000\n")) as lab:
        assert lab.walk(["-v2c", "-c", "guest"], f"{ROOT}.1.1.11") == []
        eventually(lambda: debug.read_text().count(monitored) > 30)
        assert "no exchange" not in debug.read_text()

        def times_spent():
            lab.run("snmpbulkget", [*OPERATOR, "-Cr50"], f"{ROOT}.1.1.11", f"{ROOT}.1.1.15")
            return lab.log().count(f"GETBULK of .{ROOT}.1.1.11 by user 'operator' has spent its 2000 ms")

        with false_service(lab, answering(ROW_1, 0.08)):
            eventually(times_spent)  # A busy machine misses the deadline of an exchange, and so does not get there.
            assert times_spent() == 1, "a minute"
            said = debug.read_text()
    assert "user 'lab-guest', role '': reads VSANs none, writes none" in said
    assert "user 'operator', role 'operations': reads VSANs 1-100, writes 1-50" in said
    assert re.search(r"out of order: behind \S+32473\.1\.1\.1\.1\.11\.\S+ comes \S+11\.1\.2\.1\.0", said)
    assert "no exchange: the request has spent its time" in said


def module_footprint(pid):
    """Descriptors that are no network sockets, mappings of the module and of its history.

    A network socket is left out: the agent itself loses one with every SIGHUP, with or without the module.
    """
    maps = Path(f"/proc/{pid}/maps").read_text()
    local_sockets = {f"socket:[{line.split()[6]}]" for line in open("/proc/net/unix")}
    descriptors = [os.readlink(f"/proc/{pid}/fd/{fd}") for fd in os.listdir(f"/proc/{pid}/fd")]
    ours = [name for name in descriptors if not name.startswith("socket:") or name in local_sockets]
    return len(ours), maps.count("fcs_mib.so"), maps.count("/history")


def test_reloading_leaves_nothing_behind(lab):
    rows, agent = table_rows(lab), lab.agent

    def reload_by_manager():
        row = next(name for name, _, value in lab.walk(WRITER, DLMOD_STATUS) if value == "1")
        lab.put(f"{row} i 5")
        descriptors, *mapped = module_footprint(agent)
        assert mapped == [0, 0] and lab.walk() == []
        lab.put(f"{row} i 4")
        assert eventually(lambda: table_rows(lab) == rows)
        return descriptors

    def footprints_after_reloads(count):
        for _ in range(count):
            lab.reconfigure()
        assert eventually(lambda: table_rows(lab) == rows)
        return module_footprint(agent), footprint(agent)[1]

    bare = reload_by_manager()
    before, kilobytes_before = footprints_after_reloads(3)
    after, kilobytes = footprints_after_reloads(20)
    assert reload_by_manager() == bare
    assert after == before and lab.agent == agent and kilobytes < kilobytes_before + 4096
    # A module that a manager loads reads its own lines of the configuration: the roles still hold.
    assert {name.split(".")[-1] for name, *_ in lab.walk(OPERATOR, f"{ROOT}.1.2.2")} == {"1", "100"}
