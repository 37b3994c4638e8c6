"""Faults while managers walk and write. Whatever happens to the service, the agent stays, answers for everything else,
shows the fabric's rows or none, and shows them all again when the fault is over."""

import os
import random
import resource
import signal
import socket
import time

import pytest
from load import Load
from programs import eventually, footprint, paused

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
    lab.end("SERVICE", signal.SIGTERM)
    lab.up()


def stopped(lab):
    """One request waits for the time-out; from then on there are no rows, at no cost, until the service answers."""
    with paused(lab.service):
        moment(1)


def slowed(lab):
    """Answers take longer; those beyond the time-out are as if the service was stopped."""
    service = lab.service
    for _ in range(50):
        with paused(service):
            time.sleep(0.01)
        time.sleep(0.002)


def replaced_by_a_stranger(lab):
    """No rows: what does not speak the protocol is not listened to. As long as the connections last, a removed socket
    does nothing."""
    path = lab.directory / "fcsd.sock"
    path.unlink()
    moment()
    lab.end("SERVICE")
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


def expect_refusal(lab, row, reason):
    """Reads go on. A SET that creates a platform gets genErr, and the log says why; nothing is there."""
    assert lab.put(f"fcsPlatformName.{row} s no-room", f"fcsPlatformRowStatus.{row} i 4") == "genError"
    assert reason in lab.log()
    assert "No Such Instance" in lab.get(f"fcsPlatformName.{row}")
    assert len(lab.walk()) > 100


def disk_full(lab):
    """SETs that need room are refused."""
    before = resource.prlimit(lab.service, resource.RLIMIT_FSIZE, (0, resource.RLIM_INFINITY))
    try:
        expect_refusal(lab, f"1.{CHANCE.randrange(6000, 7000)}", "could not read or write its store")
    finally:
        resource.prlimit(lab.service, resource.RLIMIT_FSIZE, before)


def store_deleted(lab):
    """Nothing is acknowledged that would be gone once the service is started anew."""
    for file in lab.directory.glob("fabric.db*"):
        file.unlink()
    expect_refusal(lab, "1.7000", "the FCS service's store was deleted or replaced")
    assert "deleted or replaced: changes are refused" in lab.control("status")
    killed(lab)


@pytest.mark.parametrize("fault", [
    killed, restarted, stopped, slowed, replaced_by_a_stranger, disk_full, store_deleted],
    ids=lambda fault: fault.__name__)
def test_fault(lab, rounds, fault):
    lab.show(lab.fabric)
    rows, agent = eventually(lab.walk), lab.agent
    with Load(lab) as load:
        eventually(lambda: load.walks > 1 and load.writes > 5)
        descriptors, resident = footprint(agent)
        for _ in range(rounds):
            fault(lab)
            eventually(lab.answers)
        writes = load.writes
        eventually(lambda: load.writes > writes)
    assert lab.agent == agent
    lab.show(lab.fabric)
    assert lab.walk() == rows, "not the same rows as before"
    after = footprint(agent)
    assert after[0] <= descriptors + 1 and after[1] < resident + 2048


def test_agent_killed_while_a_discovery_runs(lab, rounds):
    """The discovery goes on; the agent started anew tells its status, and another one can be run and heard of."""
    def discover():
        assert lab.put("fcsVsanDiscoveryList2k.0 x 80", "fcsStartDiscovery.0 i 1") == "noError"

    for _ in range(rounds):
        discover()
        assert lab.get("fcsDiscoveryStatus.1") == "1"
        lab.end("AGENT")
        lab.up()
        assert eventually(lambda: lab.get("fcsDiscoveryStatus.1") == "2")
    lab.put("fcsDiscoveryCompleteNotifyEnable.0 i 1")
    traps = lab.traps("fcsDiscoveryCompleteNotify")
    discover()
    eventually(lambda: lab.traps("fcsDiscoveryCompleteNotify") > traps)
