"""Discoveries of VSANs and their ends, what a killed service leaves of them, and how notifications are delivered."""

import json
import resource
import signal
import subprocess
import time

from fabric import TABLES, VSANS
from programs import SAMPLE, command, eventually
from service import CONTROL, FCS, NOTIFICATION, words

COMPLETE, TIMEOUT, START = FCS.MSG_DISC_COMP_ON_VSAN, FCS.MSG_TIMEOUT_ON_VSAN, FCS.MSG_START_DISCOVERY
SET_TIMEOUT, INVALIDATE, RUNS, DONE, LOCAL = FCS.MSG_SET_DISC_TIMEOUT, FCS.MSG_INVALIDATE_CACHE, 1, 2, 3
FABRIC = {"vsans": [{"id": vsan, "discovery": {"status": status, "takesSeconds": seconds}} for vsan, status, seconds in [
    (5, "localOnly", 5), (6, "localOnly", 600), (7, "inProgress", 2000)]]}


class Manager:
    def __init__(self, service):
        self.client, self.listener, self.began = service.client(), service.client(NOTIFICATION), 0

    def asks(self, opcode, *payload):
        self.began = time.time()
        result, *_, octets = self.client.ask(opcode, 0 if opcode == START else FCS.OP_SET, words(*payload))
        return octets or result

    def starts(self, *vsans):
        return [self.asks(START, vsan, 0) for vsan in vsans] == [FCS.OK] * len(vsans)

    def status(self, vsan):
        """Its status, and the time of day at which a discovery was last completed."""
        row = TABLES[VSANS].record.unpack(self.client.record(FCS.OP_GET, VSANS, words(vsan)).payload)
        return row[1], row[2] + row[3] / 1e6

    def hears(self, *notifications):
        """How long it is then since the last request."""
        for opcode, vsan in notifications:
            self.listener.expect(opcode, vsan)
        return time.time() - self.began


def test_a_discovery_completes_after_its_time_or_times_out(start):
    service = start(fabric=FABRIC, scale=4)
    manager = Manager(service)
    manager.hears((TIMEOUT, 7))  # Left by an earlier service.
    assert manager.asks(SET_TIMEOUT, 300) == FCS.OK and manager.starts(6, 5) and manager.asks(SET_TIMEOUT, 1800) == FCS.OK
    assert manager.status(5) == (RUNS, 0) and manager.asks(INVALIDATE, 5) == FCS.ERR_IN_PROGRESS
    time.sleep(0.5)
    assert manager.starts(5) and 1.25 <= manager.hears((COMPLETE, 5)) < 4, "begun anew"
    state, completed = manager.status(5)
    assert state == DONE and manager.began + 1.24 < completed < time.time()
    assert manager.asks(INVALIDATE, 5) == FCS.OK and manager.status(5) == (LOCAL, completed)
    service.restart()
    manager = Manager(service)
    manager.hears((TIMEOUT, 6))
    assert manager.status(5) == (LOCAL, completed) and manager.status(6) == (LOCAL, 0)


def test_the_scale_and_the_time_out_of_each_start(start):
    service = start(fabric=FABRIC, scale=1000)
    manager = Manager(service)
    assert manager.asks(SET_TIMEOUT, 300) == FCS.OK and manager.starts(7)
    assert 0.3 <= manager.hears((TIMEOUT, 7), (TIMEOUT, 7)) < 10
    assert manager.asks(SET_TIMEOUT, 600) == FCS.OK and manager.starts(6) and 0.6 <= manager.hears((COMPLETE, 6)) < 10
    service.restart()
    manager = Manager(service)
    assert manager.starts(7) and 0.6 <= manager.hears((TIMEOUT, 7)) < 10


def test_a_killed_service_has_kept_what_it_has_acknowledged(start):
    service = start(fabric=FABRIC, scale=1)
    manager = Manager(service)
    assert manager.starts(5) and eventually(lambda: '"inProgress"' in service.text())
    assert manager.starts(6)
    resource.prlimit(service.process.pid, resource.RLIMIT_FSIZE, (0, 0))
    assert manager.asks(START, 7, 0) == FCS.ERR_STORE  # A change that is not made takes none with it that is.
    service.stop(signal.SIGKILL)
    with service.store.with_name("fabric.db-statuses").open("ab") as journal:
        journal.write(b"cut")
    service.start()
    assert Manager(service).starts(6)
    service.stop(signal.SIGKILL)
    service.import_(FABRIC)  # To which the changes do not belong.
    service.start()
    service.fcsctl("event", "complete", "--vsan", 5)
    Manager(service).hears((TIMEOUT, 7), (COMPLETE, 5))
    assert [line.partition("\n")[0] for line in service.log().split("discovery of VSAN ")[1:]] == [
        *(f"{vsan} has timed out" for vsan in (7, 5, 6, 7)), "5 is complete"]


def test_another_fabric_and_a_locked_store(start):
    service = start(fabric=FABRIC, scale=1)
    manager = Manager(service)
    assert manager.starts(5, 6, 7)
    tool = command("fcsctl", "--store", service.store, "import")
    importing = subprocess.Popen([*tool, "-"], stdin=subprocess.PIPE, bufsize=0)
    importing.stdin.write(b'{"vsans": [{"id": 5, "discovery": {"status": "completed", "completed": {"seconds": 77}}},')
    eventually(lambda: manager.asks(START, 6, 0) == FCS.ERR_STORE)
    assert "database is locked" in service.log() and manager.status(6)[0] == RUNS and service.status()["vsans"] == 3
    importing.communicate(b'{"id": 8, "discovery": {"status": "inProgress", "takesSeconds": 0.2}}]}', 20)
    manager.hears((TIMEOUT, 7), (COMPLETE, 5), (TIMEOUT, 6), (TIMEOUT, 7), (COMPLETE, 8))
    assert manager.status(5) == (DONE, 77) and manager.status(8)[0] == DONE
    # An import gets its turn however busily statuses change.
    importing = subprocess.Popen([*tool, SAMPLE])
    while importing.poll() is None:
        assert manager.asks(INVALIDATE, 5) in (FCS.OK, FCS.ERR_STORE, FCS.ERR_UNKNOWN_VSAN)
    assert importing.returncode == 0


def test_notifications_wait_for_a_client_and_reach_every_one_that_reads(service):
    control, limit = service.client(CONTROL), 2 * 4096

    def announce(number):
        assert control.ask(FCS.CTL_CHANGE_ADDRESS, 0, words(1, number, 0)).result == FCS.OK

    for number in range(limit + 3):
        announce(number)
    assert service.log().count(f"notification 1415 is lost: {limit} others wait for a client already\n") == 3
    with service.client(NOTIFICATION) as first:
        for number in range(3, 13):  # The newest, in their order.
            first.expect(FCS.MSG_IP_ADDR_CHANGE, 1, number, 0)
    service.logs("notification connection of pid")
    announce(limit + 3)
    reader = service.client(NOTIFICATION)
    left = [words(1, number, 0) for number in range(13, limit)]  # What the first has not taken.
    for number in range(left.index(reader.reply(0, FCS.MSG_IP_ADDR_CHANGE).payload) + 14, limit + 4):
        reader.expect(FCS.MSG_IP_ADDR_CHANGE, 1, number, 0)
    deaf = service.client(NOTIFICATION)
    for number in range(10000):
        announce(number)
        reader.expect(FCS.MSG_IP_ADDR_CHANGE, 1, number, 0)
    service.logs("does not read its notifications")
    assert service.status()["connections"] == {"exchange": 0, "notification": 1, "control": 2} and deaf


def test_it_sees_a_change_that_waits_for_its_writers_disk(service):
    log = service.store.with_name("fabric.db-wal")
    before = log.stat()
    writer = subprocess.Popen(command("fcsctl", "--store", service.store, "import", "-"), stdin=subprocess.PIPE, text=True)
    with writer.stdin as description:
        json.dump({"vsans": [{"id": 5, "discovery": {"status": "inProgress", "takesSeconds": 100}}]}, description)
    while (log.stat().st_size, log.stat().st_mtime_ns) == (before.st_size, before.st_mtime_ns) and writer.poll() is None:
        pass
    writer.send_signal(signal.SIGSTOP)
    time.sleep(2.5)
    writer.send_signal(signal.SIGCONT)
    assert writer.wait(20) == 0
    service.logs("discovery of VSAN 5 is complete")
