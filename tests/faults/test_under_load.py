"""Faults while managers walk and write. Whatever happens to the service, the agent stays, answers for everything else,
shows the fabric's rows or none, and shows them all again when the fault is over."""

import os
import random
import resource
import signal
import socket
import time

import pytest
from lab import READER, ROOT, WRITER, eventually
from load import PLATFORM_NAME, PLATFORM_STATUS, Load, footprint

CHANCE = random.Random(7)
LAB = {"exchange_timeout": 200}


def moment(most=0.3):
    time.sleep(CHANCE.uniform(0, most))


def killed(lab):
    """SETs get genErr and walks end early, until the service is back."""
    os.kill(lab.service, signal.SIGKILL)
    moment()
    lab.up()


def restarted(lab):
    """As if killed, only that the service takes its leave."""
    os.kill(lab.service, signal.SIGTERM)
    eventually(lambda: lab.env()["FCS_SERVICE_PID"] == "")
    lab.up()


def stopped(lab):
    """One request waits for the time-out; from then on there are no rows, at no cost, until the service answers."""
    os.kill(lab.service, signal.SIGSTOP)
    moment(1)
    os.kill(lab.service, signal.SIGCONT)


def slowed(lab):
    """Answers take longer; those beyond the time-out are as if the service was stopped."""
    for _ in range(50):
        os.kill(lab.service, signal.SIGSTOP)
        time.sleep(0.01)
        os.kill(lab.service, signal.SIGCONT)
        time.sleep(0.002)


def socket_removed(lab):
    """Nothing, as long as the connections last; then no rows until the service is started anew."""
    (lab.directory / "fcsd.sock").unlink()
    moment()
    killed(lab)


def replaced_by_a_stranger(lab):
    """No rows: what does not speak the protocol is not listened to."""
    path = lab.directory / "fcsd.sock"
    os.kill(lab.service, signal.SIGKILL)
    eventually(lambda: lab.env()["FCS_SERVICE_PID"] == "")
    path.unlink()
    with socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET) as stranger:
        stranger.bind(str(path))
        stranger.listen(16)
        stranger.settimeout(2)
        for _ in range(2):
            connection, _ = stranger.accept()
            connection.send(os.urandom(CHANCE.randrange(1, 2000)))
            moment()
            connection.close()
    lab.up()


def disk_full(lab):
    """Reads go on. SETs that need room get genErr, and what they asked for is not done."""
    room = (0, resource.RLIM_INFINITY)
    before = resource.prlimit(lab.service, resource.RLIMIT_FSIZE, room)
    try:
        row = f"1.{CHANCE.randrange(6000, 7000)}"
        answer = lab.run("snmpset", WRITER, f"{PLATFORM_NAME}.{row}", "s", f"no-room-{row}", f"{PLATFORM_STATUS}.{row}", "i", "4")
        assert "genError" in answer
        assert "could not read or write its store" in lab.log()
        assert "No Such Instance" in lab.get(f"{PLATFORM_NAME}.{row}")[2]
        assert len(lab.walk()) > 100
    finally:
        resource.prlimit(lab.service, resource.RLIMIT_FSIZE, before)


def store_deleted(lab):
    """Reads go on. Nothing is acknowledged that would be gone once the service is started anew."""
    for file in lab.directory.glob("fabric.db*"):
        file.unlink()
    answer = lab.run("snmpset", WRITER, f"{PLATFORM_NAME}.1.7000", "s", "gone", f"{PLATFORM_STATUS}.1.7000", "i", "4")
    assert "genError" in answer
    assert "the FCS service's store was deleted or replaced" in lab.log()
    assert "deleted or replaced: changes are refused" in lab.control("status").stdout
    assert len(lab.walk()) > 100
    killed(lab)


@pytest.mark.parametrize("fault", [killed, restarted, stopped, slowed, socket_removed, replaced_by_a_stranger, disk_full,
                                   store_deleted],
                         ids=lambda fault: fault.__name__)
def test_fault(lab, rounds, fault):
    assert lab.control("import", str(lab.fabric)).returncode == 0
    rows = eventually(lambda: lab.walk())
    agent = lab.agent
    with Load(lab) as load:
        eventually(lambda: load.walks > 1 and load.writes > 5)
        descriptors, resident = footprint(agent)
        for _ in range(rounds):
            fault(lab)
            eventually(lambda: "INTEGER" in lab.run("snmpget", READER, f"{ROOT}.1.1.10.0"))
        writes = load.writes
        eventually(lambda: load.writes > writes)
    print(f"{fault.__name__}: {rounds} times, {load.walks} walks, {load.writes} writes ({load.refused} refused), another MIB "
          f"within {load.percentile(0.5) * 1e3:.0f} ms, 99 % within {load.percentile(0.99) * 1e3:.0f} ms")
    assert lab.agent == agent
    assert lab.control("import", str(lab.fabric)).returncode == 0
    assert lab.walk() == rows, "not the same rows as before"
    after = footprint(agent)
    assert after[0] <= descriptors + 1 and after[1] < resident + 2048


def test_agent_killed_while_a_discovery_runs(lab, rounds):
    """The discovery goes on; the agent that is started anew tells its status, and another one can be run and heard of."""
    status = f"{ROOT}.1.1.6.1.1.1"
    for _ in range(rounds):
        assert "= INTEGER" in lab.run("snmpset", WRITER, f"{ROOT}.1.1.3.0", "x", "80", f"{ROOT}.1.1.5.0", "i", "1")
        assert lab.get(status)[2] == "1"
        os.kill(lab.agent, signal.SIGKILL)
        eventually(lambda: lab.env()["FCS_AGENT_PID"] == "")
        lab.up()
        assert eventually(lambda: lab.get(status)[2] == "2")
    lab.run("snmpset", WRITER, f"{ROOT}.1.1.21.0", "i", "1")
    traps = (lab.directory / "traps.log").read_text().count("fcsDiscoveryCompleteNotify")
    lab.run("snmpset", WRITER, f"{ROOT}.1.1.3.0", "x", "80", f"{ROOT}.1.1.5.0", "i", "1")
    eventually(lambda: (lab.directory / "traps.log").read_text().count("fcsDiscoveryCompleteNotify") > traps)
