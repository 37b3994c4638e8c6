"""The command of managers, against the real agent: what it shows, what it changes, and what it says of refusals."""

import fcntl
import json
import os
import pty
import signal
import socket
import struct
import subprocess
import termios
import threading
from contextlib import contextmanager

import pytest
from fabric import EVERY_VSAN
from lab import ADMIN, OBJECTS, OPERATOR, READER, READER_V1, WRITER, oid
from programs import REPOSITORY, command, eventually, output_of, run


def words_of(lab, options, *words, agent=None):
    return command("snmpfcs", *options, agent or lab.address, *words)


def snmpfcs(lab, options, *words, agent=None):
    """Exit status, output, errors."""
    done = output_of(words_of(lab, options, *words, agent=agent), env=lab.environment)
    return done.returncode, done.stdout, done.stderr


def rows(lab, options, *words):
    status, output, errors = snmpfcs(lab, options, *words, "--format", "json")
    assert status == 0, errors
    return [json.loads(line) for line in output.splitlines()]


@contextmanager
def relay(lab, passes):
    """The port of a relay to the agent, by which datagram n of a direction passes if `passes(n, to_agent)` says so."""
    front, back = (socket.socket(socket.AF_INET, socket.SOCK_DGRAM) for _ in range(2))
    front.bind(("127.0.0.1", 0))
    back.connect(("127.0.0.1", lab.port))
    manager = []

    def carry(source, to_agent):
        count = 0
        while True:
            datagram, sender = source.recvfrom(65536)
            if not datagram:
                return
            manager[:] = [sender] if to_agent else manager
            if passes(count, to_agent):
                back.send(datagram) if to_agent else front.sendto(datagram, manager[0])
            count += 1
    threads = [threading.Thread(target=carry, args=way, daemon=True) for way in [(front, True), (back, False)]]
    for thread in threads:
        thread.start()
    yield f"127.0.0.1:{front.getsockname()[1]}"
    for end in (front, back):
        end.shutdown(socket.SHUT_RDWR) if end is back else end.sendto(b"", front.getsockname())


def test_the_objects_are_those_of_the_mib():
    listed = run("snmpfcs", "help", "objects")[1].splitlines()
    assert {line.split()[1]: line.split()[0] for line in listed} == {
        name: place for name, place in OBJECTS.items()
        if name not in ("fcsNotifyVsan", "fcsNotifyMgmtAddr") and not name.endswith("Notify")}
    mib = (REPOSITORY / "mibs" / "ZEPHRIN-FCS-MIB.txt").read_text()
    for line in listed:
        name, terms = line.split()[1], line.split()[3:]
        syntax = mib.split(f"\n{name} OBJECT-TYPE")[1].split("MAX-ACCESS")[0]
        if "INTEGER {" in syntax:
            assert terms == syntax.split("{")[1].split("}")[0].replace(",", " ").split(), name


def test_the_guide_has_all_refusals():
    refusals = run("snmpfcs", "help", "refusals")[1]
    assert refusals and refusals in (REPOSITORY / "docs" / "configuration.md").read_text()


@pytest.mark.parametrize("options, readable", [(ADMIN, EVERY_VSAN), (OPERATOR, range(1, 101)), (READER_V1, EVERY_VSAN)])
def test_it_shows_the_fabric(lab, options, readable):
    fabric = json.loads(lab.fabric.read_text())
    vsans = [vsan for vsan in fabric["vsans"] if vsan["id"] in readable]
    shown = {(row["vsan"], row["name"]): row for row in rows(lab, options, "ports")}
    expected = [(vsan["id"], element, port) for vsan in vsans for element in vsan.get("elements", [])
                for port in element.get("ports", [])]
    assert len(shown) == len(expected)
    for vsan, element, port in expected:
        row = shown[vsan, port["name"]]
        names = [name.replace(":", "") for name in port.get("attached", [])]
        assert sorted(name.replace(":", "") for name in row["attached"]) == sorted(name[:16] for name in names)
        assert row["element"] == (element.get("logicalName") or element["name"])
        assert row["number"] == port.get("physicalPort", 0)
        assert port.get("state") not in ("online", "offline", "fault") or row["state"] == port["state"]
    addresses = {each["index"]: [row["address"] for row in each["addresses"]] for each in fabric["mgmtAddrLists"]}
    nodes = {each["index"]: sorted(name if isinstance(name, str) else name["name"] for name in each["names"])
             for each in fabric["nodeNameLists"]}
    platforms = {(row["vsan"], row["index"]): row for row in rows(lab, options, "platforms")}
    assert {key: (row["name"], row["addresses"], row["nodeNames"]) for key, row in platforms.items()} == {
        (vsan["id"], each["index"]): (each["name"], addresses.get(each.get("mgmtAddrList"), []),
                                      nodes.get(each.get("nodeNameList"), []))
        for vsan in vsans for each in vsan.get("platforms", [])}
    assert [row["name"] for row in rows(lab, options, "elements", "--vsan", "1,4093-4096")] == [
        element["name"] for element in vsans[0]["elements"]]
    for row, vsan in zip(rows(lab, options, "statistics"), vsans, strict=True):
        assert row == {"vsan": vsan["id"], **vsan["statistics"]}
    offline = rows(lab, options, "ports", "--where", "state=OFFLINE", "--where", "element~core")
    assert offline and {row["state"] for row in offline} == {"offline"}


def test_its_map_has_the_links_of_the_fabric(lab):
    def links(graph):
        return [line for line in graph.splitlines() if " -- " in line]
    drawn = snmpfcs(lab, READER, "map", "--format", "dot")[1]
    assert links(drawn) and links(drawn) == links(lab.control("map", "--format", "dot"))
    assert "<svg" in snmpfcs(lab, READER, "map", "--format", "svg", "--summary", "--vsan", "1")[1]
    assert "core-a.example.net" in snmpfcs(lab, OPERATOR, "map", "--format", "html")[1]
    assert snmpfcs(lab, OPERATOR, "map", "--vsan", "2100")[:2] == (1, "")


def test_a_table_fits_the_terminal(lab):
    own, terminal = pty.openpty()
    fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 24, 60, 0, 0))
    subprocess.run(words_of(lab, READER, "platforms"), stdout=terminal, check=True, timeout=60,
                   env={**lab.environment, "LC_ALL": "C"})
    lines = os.read(own, 65536).decode().splitlines()
    assert len(lines) == 18 and max(map(len, lines)) == 60 and any("+" in line for line in lines)
    wide = snmpfcs(lab, READER, "platforms")[1].splitlines()
    assert len(wide) == 18 and any("ARCHIV K\\xd6LN" in line for line in wide) and "+" not in wide[1]


REFUSALS = [
    (OPERATOR, "discover --vsan 1-100", "fcsVsanDiscoveryList2k: notWritable: "),
    (OPERATOR, "discover --vsan 2100", "VSAN 2100: the agent has none, or your role may not read it"),
    (READER, "discover --vsan 1", "fcsVsanDiscoverySpinLock: noAccess: "),
    (WRITER, f"discover --vsan 1 --name {33 * 'n'}", "fcsVsanDiscoveryName: wrongLength: "),
    (OPERATOR, "invalidate --vsan 100", "fcsDiscoveryInvalidateCache2k: notWritable: "),
    (OPERATOR, "platform delete 100 1", "platform 1 of VSAN 100: fcsPlatformRowStatus: genErr: "),
    (WRITER, "platform add 1 42 db-1.example.net", "42 of VSAN 1: platform 1 of the VSAN has this name already"),
    (WRITER, "platform change 1 42 --type hba", "fcsPlatformType: inconsistentValue: "),
    (WRITER, "address delete 90 1", "address 1 of list 90: is not there"),
    (WRITER, f"address add 90 1 {256 * 'a'}", "fcsMgmtAddr: wrongLength: "),
    (WRITER, "node-name add 90 20:00:00:00:5e:00:53:a1", "list 1 has this name already"),
    (READER_V1, "notifications rejects on", "fcsReqRejNotifyEnable: noSuchName: "),
    (READER, "vsans --root 1.3.6.1.2", "the agent shows no FCS module under 1.3.6.1.2"),
]


@pytest.mark.parametrize("options, words, cause", REFUSALS)
def test_a_refusal_names_object_and_cause(lab, options, words, cause):
    before = lab.walk(ADMIN)
    status, output, errors = snmpfcs(lab, options, *words.split())
    assert (status, output) == (1, "") and cause in errors and errors.count("\n") == 1, errors
    volatile = oid("fcsVsanDiscoverySpinLock")
    assert [v for v in lab.walk(ADMIN) if volatile not in v[0]] == [v for v in before if volatile not in v[0]]


def test_who_is_not_there_or_not_let_in(lab):
    for options, agent in [(["-v2c", "-c", "wrong"], None), (READER, "127.0.0.1:9"),
                           ([*ADMIN, "-A", "not-the-phrase"], None)]:
        assert snmpfcs(lab, [*options, "-t", "0.2", "-r", "1"], "vsans", agent=agent)[0] == 4
    assert snmpfcs(lab, READER, "vsans", "--vsan", "4097")[0] == 2


@pytest.mark.parametrize("lost", [lambda n, to_agent: n % 3 == 2, lambda n, to_agent: not to_agent and n % 3 == 1])
def test_lost_packets_do_nothing_twice(lab, lost):
    with relay(lab, lambda n, to_agent: not lost(n, to_agent)) as agent:
        options = [*WRITER, "-t", "0.3", "-r", "9"]
        for words in ["address add 91 1 192.0.2.91", "node-name add 91 20:00:00:00:5e:00:53:91",
                      "platform add 1 91 lossy --addresses 91 --node-names 91", "discover --vsan 1,2100 --again",
                      "platform delete 1 91", "node-name delete 91 20:00:00:00:5e:00:53:91", "address delete 91 1"]:
            lock = int(lab.get("fcsVsanDiscoverySpinLock.0"))
            status, output, errors = snmpfcs(lab, options, *words.split(), agent=agent)
            assert status == 0, (words, errors)
            assert int(lab.get("fcsVsanDiscoverySpinLock.0")) == lock + words.startswith("discover"), words
            assert "discover" not in words or output.count(" completed ") == 2


def test_a_lock_that_moves_on(lab):
    """Before each try of the discovery, another manager takes the lock: some times, then always."""
    for taken, status in [(3, 0), (99, 1)]:
        tries = []

        def move(n, to_agent):
            if to_agent and n >= 4 and len(tries) < taken:  # Behind the reading of what there is.
                lab.put(f"fcsVsanDiscoverySpinLock.0 i {lab.get('fcsVsanDiscoverySpinLock.0')}")
                tries.append(n)
            return True
        with relay(lab, move) as agent:
            done = snmpfcs(lab, [*WRITER, "-t", "20"], "discover", "--vsan", "1", "--again", agent=agent)
            assert done[0] == status, done
    assert "another manager has moved the lock on 5 times in a row" in done[2]


def test_an_interrupt_leaves_nothing_in_the_way(lab):
    for options in (WRITER, ADMIN):
        began = subprocess.Popen(words_of(lab, options, "discover", "--vsan", "1,2100", "--again"), text=True,
                                 stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=lab.environment)
        eventually(lambda: lab.get("fcsDiscoveryStatus.2100") == "1")
        began.send_signal(signal.SIGINT)
        output, errors = began.communicate(timeout=30)
        assert began.returncode == 130 and "inProgress" in output and "the discoveries go on" in errors
        status, output, errors = snmpfcs(lab, options, "discover", "--vsan", "1,2100")
        assert status == 0, errors


def test_a_watch_outlives_agent_and_service(lab):
    words = ["watch", "ports", "--interval", "1", "--format", "json"]
    with subprocess.Popen(words_of(lab, [*READER, "-t", "0.3", "-r", "0"], *words), stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, text=True, env=lab.environment) as watching:
        try:
            for part, told in [("SERVICE", "the FCS service behind the agent does not answer"), ("AGENT", "no answer")]:
                lab.end(part)
                assert told in watching.stderr.readline()
                lab.up()
                assert "it answers again" in watching.stderr.readline()
            fabric = json.loads(lab.fabric.read_text())
            fabric["vsans"][0]["elements"][0]["ports"][0]["state"] = "fault"
            with lab.showing(fabric):
                change = json.loads(watching.stdout.readline())
            assert (change["what"], change["before"], change["after"]) == ("state", "online", "fault")
        finally:
            watching.kill()
