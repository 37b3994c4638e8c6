"""The service gone, hung or lying, faulty configuration, loading and unloading: the agent stays itself."""

import os
import re
import signal
import struct
import time
from concurrent.futures import ThreadPoolExecutor

import pytest
from false_service import false_service
from lab import READER, ROOT, WRITER, Lab, eventually, resident_kilobytes, v3

DEADLINE = 0.2  # The exchange deadline, in seconds.
LAB = {"exchange_timeout": 200}
DLMOD_STATUS = "1.3.6.1.4.1.2021.13.14.2.1.5"


# Columns of all tables that are scoped by VSAN: discovery status, elements, ports, platforms, statistics.
VSAN_TABLES = tuple(f"{ROOT}.{table}." for table in ["1.1.6", "1.1.11", "1.1.15", "1.1.18", "1.2.2"])


def table_rows(lab, options=READER):
    return [v for v in lab.walk(options) if v[0].startswith(VSAN_TABLES)]


def timed(action):
    start = time.monotonic()
    result = action()
    return time.monotonic() - start, result


def test_service_gone_and_back(lab):
    rows = table_rows(lab)
    agent = lab.agent
    os.kill(lab.service, signal.SIGKILL)
    assert eventually(lambda: table_rows(lab) == [])
    seconds, walked = timed(lab.walk)
    assert seconds < 5 and [oid for oid, _, _ in walked][0] == f"{ROOT}.1.1.1.0"
    assert "Timeticks" in lab.uptime()
    lab.up()
    assert eventually(lambda: table_rows(lab) == rows)
    assert lab.agent == agent


def test_service_hung(lab):
    """A walk costs one deadline; what another manager asks for waits no longer than that."""
    rows = table_rows(lab)
    service = lab.service
    os.kill(service, signal.SIGSTOP)
    try:
        with ThreadPoolExecutor() as managers:
            walk = managers.submit(timed, lab.walk)
            waits = []
            while not walk.done() or len(waits) < 10:
                seconds, answer = timed(lab.uptime)
                assert "Timeticks" in answer
                waits.append(seconds)
            seconds, walked = walk.result()
        assert seconds < 5 * DEADLINE + 2, "more than about one deadline for the whole subtree"
        assert f"{ROOT}.1.1.7.0" in [oid for oid, _, _ in walked]
        assert max(waits) < DEADLINE + 2, "another MIB waited for the service"
        for oid, value in [("3", "FF" * 256), ("5", "1")]:
            assert "= " in lab.run("snmpset", WRITER, f"{ROOT}.1.1.{oid}.0", "x" if oid == "3" else "i", value)
    finally:
        os.kill(service, signal.SIGCONT)
    assert eventually(lambda: table_rows(lab) == rows)
    assert f"no answer within {int(DEADLINE * 1000)} ms" in lab.log()


def greet(connection):
    connection.recv(64)
    connection.send(struct.pack("=8sIII108s", b"FCS-IPC", 0x01020304, 2, 1, b""))


def frame(request, payload):
    asked, opcode = struct.unpack_from("=II", request)
    return struct.pack("=IIIiIIiI64s", asked, opcode, 0, 0, 0, 0, 0, 0, b"") + payload


@pytest.mark.parametrize("payload", [b"", b"\xff", b"\xff" * 1024], ids=["empty", "one octet", "all ones"])
def test_lying_service(lab, payload):
    def serve(connection):
        greet(connection)
        while request := connection.recv(2000):
            connection.send(frame(request, payload))

    with false_service(lab, serve):
        eventually(lambda: "exchanges: connected" in lab.log().rsplit("restarted", 1)[1])
        seconds, walked = timed(lab.walk)
        # Two tables' role walks may go in circles until the limit of a read ends them.
        assert seconds < 2 * 10 * DEADLINE + 5
        assert f"{ROOT}.1.1.7.0" in [oid for oid, _, _ in walked]
        assert "Timeticks" in lab.uptime()


@pytest.mark.parametrize("pause, readable", [(0.15, "1-100"), (0, "5-10")], ids=["slow", "in circles"])
def test_no_read_keeps_the_agent_for_long(lab, pause, readable):
    """Every exchange in time, and yet no end: a slow service, or one that names a hidden VSAN again and again."""
    def serve(connection):
        greet(connection)
        while request := connection.recv(2000):
            time.sleep(pause)
            connection.send(frame(request, struct.pack("=I", 1) + b"\0" * 548))

    role = "fcsRole operations "
    with false_service(lab, serve):
        lab.reconfigure(lambda text: text.replace(f"{role}1-100", f"{role}{readable}"))
        eventually(lambda: "exchanges: connected" in lab.log().rsplit("restarted", 1)[1])
        lab.run("snmpget", v3("operator"), "1.3.6.1.2.1.1.3.0")  # The manager has found the engine's id.
        seconds, _ = timed(lambda: lab.run("snmpbulkget", [*v3("operator"), "-Cr50"], f"{ROOT}.1.1.11"))
        assert seconds < 10 * DEADLINE + 5
        assert "Timeticks" in lab.uptime()
        lab.reconfigure(lambda text: text.replace(f"{role}{readable}", f"{role}1-100"))


def test_who_looks_is_told_why_nothing_is_shown(tmp_path):
    """A user without a role, rows out of order, a spent budget: a line each under the debug token, or in the log. The
    agent's own requests, which are all one transaction, have a budget each."""
    def serve(connection):
        greet(connection)
        while request := connection.recv(2000):
            time.sleep(0.15)
            connection.send(frame(request, struct.pack("=I", 1) + b"\0" * 548))

    lab = Lab(tmp_path / "lab", **LAB)
    debug = lab.directory / "debug.log"
    lab.settings += (
        f"[snmp] doDebugging 1\n[snmp] debugTokens fcs_request\n[snmp] logOption f {debug}\n"
        'com2sec lab-guest default guest\ngroup lab-guests v2c lab-guest\n'
        'access lab-guests "" any noauth exact everything none none\n'
        'createUser monitor SHA-256 monitor-phrase\nrouser monitor\niquerySecName monitor\nfcsRoleUser monitor operations\n'
        f"monitor -r 1 -u monitor elements {ROOT}.1.1.11.1.3 > 5000\n")
    monitored = "user 'monitor', role 'operations': reads VSANs 1-100, writes 1-50"
    try:
        lab.up()
        assert lab.walk(["-v2c", "-c", "guest"], ".1.1.11") == []
        eventually(lambda: debug.read_text().count(monitored) > 30)
        assert "no exchange" not in debug.read_text()
        with false_service(lab, serve):
            eventually(lambda: "exchanges: connected" in lab.log().rsplit("restarted", 1)[1])
            for _ in range(2):
                lab.run("snmpbulkget", [*v3("operator"), "-Cr50"], f"{ROOT}.1.1.11", f"{ROOT}.1.1.15")
            log, said = lab.log(), debug.read_text()
    finally:
        lab.down()
    assert log.count("GETBULK of .1.3.6.1.4.1.32473.1.1.1.1.11 by user 'operator' has spent its 2000 ms") == 1, "a minute"
    assert "user 'lab-guest', role '': reads VSANs none, writes none" in said
    assert "user 'operator', role 'operations': reads VSANs 1-100, writes 1-50" in said
    assert re.search(r"out of order: behind \S+32473\.1\.1\.1\.1\.11\.\S+ comes \S+11\.1\.2\.1\.0", said)
    assert "no exchange: the request has spent its time" in said


def test_a_bad_role_hides_everything(lab):
    good, bad = "fcsRole operations 1-100 1-50", "fcsRole operations 1-100x 1-50"
    lab.reconfigure(lambda text: text.replace(good, bad))
    number = (lab.directory / "snmpd.conf").read_text().splitlines().index(bad) + 1
    fault = "fcsRole: VSAN list '1-100x': '1-100x' is not a VSAN or an ascending range"
    assert f"snmpd.conf: line {number}: Error: {fault}" in lab.log().rsplit("restarted", 1)[1]
    assert lab.walk(v3("operator")) and not table_rows(lab, v3("operator"))
    lab.reconfigure(lambda text: text.replace(bad, good))
    eventually(lambda: table_rows(lab, v3("operator")))


def footprint(pid):
    """Descriptors that are no network sockets, mappings of the module and its history, resident kilobytes.

    A network socket is left out: the agent itself loses one with every SIGHUP, with or without the module.
    """
    maps = open(f"/proc/{pid}/maps").read()
    local_sockets = {f"socket:[{line.split()[6]}]" for line in open("/proc/net/unix")}
    descriptors = [os.readlink(f"/proc/{pid}/fd/{fd}") for fd in os.listdir(f"/proc/{pid}/fd")]
    ours = [name for name in descriptors if not name.startswith("socket:") or name in local_sockets]
    return len(ours), maps.count("fcs_mib.so"), maps.count("/history"), resident_kilobytes(pid)


def test_spoilt_event_history(lab):
    history = lab.directory / "history"
    agent, size = lab.agent, history.stat().st_size

    def truncate_and_grow():
        os.truncate(history, 0)
        os.truncate(history, size)

    def move_oldest_record_behind_the_end():
        with history.open("r+b") as file:
            file.seek(16)
            file.write(b"\x7f" * 8)

    spoils = [lambda: os.truncate(history, 0), lambda: os.truncate(history, 3000), truncate_and_grow,
              move_oldest_record_behind_the_end]
    for spoil in spoils:
        spoil()
        assert len(lab.walk()) > 100
        assert lab.agent == agent
        assert "return" in lab.control("history", "--lines", "1").stdout
    assert lab.log().count("was truncated or overwritten and is started anew") == len(spoils)


def test_reloading_leaves_nothing_behind(lab):
    rows = table_rows(lab)
    agent = lab.agent

    def reload_by_manager():
        row = re.search(rf"{re.escape(DLMOD_STATUS)}\.(\d+) = INTEGER: 1", lab.run("snmpwalk", WRITER, DLMOD_STATUS))[1]
        lab.run("snmpset", WRITER, f"{DLMOD_STATUS}.{row}", "i", "5")
        descriptors, library, history, _ = footprint(agent)
        assert (library, history) == (0, 0), "still mapped"
        assert lab.walk() == []
        lab.run("snmpset", WRITER, f"{DLMOD_STATUS}.{row}", "i", "4")
        assert eventually(lambda: table_rows(lab) == rows)
        return descriptors

    def footprint_after_reloads(count):
        for _ in range(count):
            lab.reconfigure()
        assert eventually(lambda: table_rows(lab) == rows)
        return footprint(agent)

    bare = reload_by_manager()
    before = footprint_after_reloads(3)
    after = footprint_after_reloads(20)
    assert reload_by_manager() == bare
    assert eventually(lambda: table_rows(lab) == rows)
    assert after[:3] == before[:3] and lab.agent == agent
    assert after[3] < before[3] + 4096, "resident kilobytes"
    # A module that a manager loads reads its own lines of the configuration: the roles still hold.
    assert {v[0].split(".")[-1] for v in lab.walk(v3("operator"), ".1.2.2")} == {"1", "100"}
