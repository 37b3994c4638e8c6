"""The service gone, hung or lying, faulty configuration, loading and unloading: the agent stays itself."""

import os
import re
import signal
import socket
import struct
import threading
import time

import pytest
from false_service import false_service
from lab import READER, ROOT, WRITER, Lab, eventually, resident_kilobytes, v3

DEADLINE = 0.2  # The exchange deadline, in seconds.
DLMOD_STATUS = "1.3.6.1.4.1.2021.13.14.2.1.5"
MAGIC = b"FCS-IPC\0"


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
    assert seconds < 2 and [oid for oid, _, _ in walked][0] == f"{ROOT}.1.1.1.0"
    assert "Timeticks" in lab.uptime()
    lab.up()
    assert eventually(lambda: table_rows(lab) == rows)
    assert lab.agent == agent


def test_service_hung(lab):
    rows = table_rows(lab)
    service = lab.service
    os.kill(service, signal.SIGSTOP)
    try:
        waits = []
        stop = threading.Event()

        def ask_another_mib():
            while not stop.is_set():
                seconds, answer = timed(lab.uptime)
                waits.append(seconds)
                assert "Timeticks" in answer

        asking = threading.Thread(target=ask_another_mib)
        asking.start()
        seconds, walked = timed(lab.walk)
        assert seconds < 5 * DEADLINE, "more than about one deadline for the whole subtree"
        assert f"{ROOT}.1.1.7.0" in [oid for oid, _, _ in walked]
        time.sleep(0.5)
        stop.set()
        asking.join()
        assert max(waits) < DEADLINE + 0.5, "another MIB waited for the service"
        assert len(waits) > 10
    finally:
        os.kill(service, signal.SIGCONT)
    assert eventually(lambda: table_rows(lab) == rows, seconds=2)
    assert f"no answer within {int(DEADLINE * 1000)} ms" in lab.log()


def greet(connection, magic=MAGIC, order=0x01020304, version=2, accepted=1, reason=b""):
    connection.recv(64)
    connection.send(struct.pack("=8sIII108s", magic, order, version, accepted, reason))


@pytest.mark.parametrize("greeting, said", [
    (dict(version=9), "protocol version mismatch: this end speaks 2, the other end 9"),
    (dict(order=0x04030201), "the other end runs with another byte order"),
    (dict(magic=b"HTTP/1.1"), "the other end does not speak the FCS messaging protocol"),
    (dict(accepted=0, reason=b"user 1000 may not connect"), "refused: user 1000 may not connect"),
])
def test_wrong_peers(lab, greeting, said):
    def serve(connection):
        greet(connection, **greeting)
        connection.recv(2000)

    with false_service(lab, serve):
        eventually(lambda: said in lab.log())
        time.sleep(0.6)  # Some further attempts: the fault is reported once for each connection.
        reported = lab.log().rsplit("restarted", 1)[1].count(said)
        assert reported == 2, "exchanges and notifications"
        assert table_rows(lab) == [] and "Timeticks" in lab.uptime()


def frame(request, payload, sequence=0, result=0):
    """The reply to a request, with what a lying service would change."""
    asked, opcode = struct.unpack_from("=II", request)
    return struct.pack("=IIIiIIiI64s", asked + sequence, opcode, 0, result, 0, 0, 0, 0, b"") + payload


@pytest.mark.parametrize("replies", [
    lambda request: [frame(request, b"\0" * 1024, sequence=1)] * 50,
    lambda request: [frame(request, b"\0" * 1025)],
    lambda request: [b"short"],
    lambda request: [frame(request, b"\0" * 4, result=0x7F00)],
    lambda request: [frame(request, b"")],
    lambda request: [frame(request, b"\xff")],
    lambda request: [frame(request, b"\xff" * 1024)],
    lambda request: [],
], ids=["other sequence", "too long", "too short", "code x 256", "empty", "one octet", "all ones", "silence"])
def test_lying_service(lab, replies):
    def serve(connection):
        greet(connection)
        while request := connection.recv(2000):
            for reply in replies(request):
                connection.send(reply)

    with false_service(lab, serve):
        eventually(lambda: "exchanges: connected" in lab.log().rsplit("restarted", 1)[1])
        seconds, walked = timed(lab.walk)
        # Two tables' role walks may go in circles until the limit of a read ends them.
        assert seconds < 2 * 10 * DEADLINE + 2
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
        assert seconds < 10 * DEADLINE + 2
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

    lab = Lab(tmp_path / "lab")
    lab.directory.mkdir(mode=0o700)
    (lab.directory / "lab.lock").touch()  # By which a directory that holds files is a lab's.
    debug = lab.directory / "debug.log"
    (lab.directory / "snmpd.local.conf").write_text(
        f"[snmp] doDebugging 1\n[snmp] debugTokens fcs_request\n[snmp] logOption f {debug}\n"
        'com2sec lab-guest default guest\ngroup lab-guests v2c lab-guest\n'
        'access lab-guests "" any noauth exact everything none none\n'
        'createUser monitor SHA-256 monitor-phrase\nrouser monitor\niquerySecName monitor\nfcsRoleUser monitor operations\n'
        f"monitor -r 1 -u monitor elements {ROOT}.1.1.11.1.3 > 5000\n")
    monitored = "user 'monitor', role 'operations': reads VSANs 1-100, writes 1-50"
    try:
        lab.up()
        assert lab.walk(["-v2c", "-c", "guest"], ".1.1.11") == []
        eventually(lambda: debug.read_text().count(monitored) > 30, seconds=20)
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


def test_notifications_are_received(lab):
    """Every message is taken, whatever it looks like."""
    taken = threading.Event()

    def serve(connection):
        purpose = struct.unpack_from("=I", connection.recv(64, socket.MSG_PEEK), 16)[0]
        greet(connection)
        if purpose == 2:
            for opcode in [1407, 1408, 1409, 1411, 1415, 4711]:
                for payload in [b"", b"\x01", b"A" * 1024]:
                    connection.send(struct.pack("=IIIiIIiI64s", 0, opcode, 0, 0, 0, 0, 0, 0, b"") + payload)
            taken.set()
        connection.recv(2000)

    with false_service(lab, serve):
        assert taken.wait(5)
        eventually(lambda: lab.log().count("notification with unknown opcode 4711") == 1)
        assert "Timeticks" in lab.uptime()
        assert "opcode 1408" not in lab.log()


def test_restricted_user_without_rows(lab):
    def empty_vsans_only(text):
        return text.replace("fcsRole operations 1-100 1-50", "fcsRole operations 2-99,101-2099,2101-4095 none")

    lab.reconfigure(empty_vsans_only)
    try:
        assert lab.walk(v3("operator")) and not table_rows(lab, v3("operator"))
    finally:
        lab.reconfigure(lambda text: re.sub("fcsRole operations .*", "fcsRole operations 1-100 1-50", text))


@pytest.mark.parametrize("line, fault", [
    ("fcsRole operations 1-100x 1-50", "fcsRole: VSAN list '1-100x': '1-100x' is not a VSAN or an ascending range"),
    ("fcsRoleUser somebody nonesuch", "fcsRoleUser: role 'nonesuch' is not defined above this line"),
    ("fcsExchangeTimeout soon", "fcsExchangeTimeout: 'soon' is not a number of milliseconds within 10 to 10000"),
    ("fcsServiceSocket relative", "fcsServiceSocket: 'relative' is not an absolute path"),
    ("fcsServiceUser no-such-user", "fcsServiceUser: there is no user 'no-such-user'"),
    ("fcsHistoryLevel loud", "fcsHistoryLevel: 'loud' is none of none, event, detail"),
])
def test_bad_configuration_lines(lab, line, fault):
    good = (lab.directory / "snmpd.conf").read_text()
    key = " ".join(line.split()[:2 if line.startswith("fcsRole ") else 1])
    kept = [text for text in good.splitlines() if not text.startswith(key) or line.startswith("fcsRoleUser")]
    number = next(i for i, text in enumerate(kept) if text.startswith("dlmod")) + 2
    kept.insert(number - 1, line)
    lab.reconfigure(lambda _: "\n".join(kept) + "\n")
    try:
        report = lab.log().rsplit("restarted", 1)[1]
        assert f"snmpd.conf: line {number}: Error: {fault}" in report
        if line.startswith("fcsRole "):
            assert table_rows(lab, v3("operator")) == []
    finally:
        lab.reconfigure(lambda _: good)
        eventually(lambda: table_rows(lab))


def test_unusable_event_history(lab):
    history = lab.directory / "history"
    keep = history.read_bytes()
    history.unlink()
    history.write_text("not a history\n")
    lab.reconfigure()
    eventually(lambda: f"fcs: event history {history}: exists and is not an event history" in lab.log())
    assert table_rows(lab) and history.read_text() == "not a history\n"
    history.write_bytes(keep)
    lab.reconfigure()
    eventually(lambda: footprint(lab.agent)[2] == 1)


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
