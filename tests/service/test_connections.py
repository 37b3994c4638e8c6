"""Who may connect and how, what ends a connection, how the service starts and stops, and what it needs for that."""

import os
import re
import signal
import time
from socket import SHUT_WR

import pytest
from programs import EMULATOR, REPOSITORY, SAMPLE, eventually, paused, run
from service import CONTROL, EXCHANGE, FCS, GREETING, HEADER, MARK, NOTIFICATION, VERSION, Client, words

NEW_NAME = words(77) + bytes.fromhex("2001005E00530101") + bytes(8)  # A node name of list 77.


def test_every_kind_of_connection_is_served(service):
    exchange, notification, control = (service.client(purpose) for purpose in (EXCHANGE, NOTIFICATION, CONTROL))
    assert exchange.ask(FCS.CTL_STATUS, 0).result == control.record(1, 100).result == FCS.ERR_NO_SUCH_RECORD
    assert control.ask(FCS.CTL_STATUS, 0, words(1)).result == FCS.ERR_BAD_LENGTH
    status = service.status()
    assert 0 <= status.pop("uptimeSeconds") < 60
    assert 0 < status.pop("busySeconds") == status.pop("longestSeconds") < 60
    assert status == {"pid": service.process.pid, "requests": 1, "failedRequests": 1, "refusedConnections": 0,
                      "droppedConnections": 0, "waitingNotifications": 0, "store": str(service.store),
                      "storeInPlace": True, "vsans": 3, "elements": 10, "ports": 48, "platforms": 17,
                      "connections": {"exchange": 1, "notification": 1, "control": 2}}
    told = service.fcsctl("status")[1].splitlines()
    assert told[0].startswith(f"running     pid {service.process.pid}, for 00:00:") and told[1:] == [
        f"store       {service.store}", "fabric      3 VSANs, 10 elements, 48 ports, 17 platforms",
        "requests    1 of the agent answered", "connections 1 exchange, 1 notification, 2 control"]
    notification.send(bytes(HEADER.size))
    assert notification.is_dropped() and service.is_alive()


def test_clients_that_misbehave_are_dropped_and_the_others_served(service):
    silent, patient, connected = Client(service.socket), service.client(), time.monotonic()
    for greeting, fault in [
            (GREETING.pack(b"FCS-IPC\0", MARK, 99, 1), "protocol version mismatch: this end speaks 3, the other end 99"),
            (GREETING.pack(b"FCS-IPC\0", MARK, VERSION, 77), "unknown purpose 77"),
            (b"x" * 2000, "greeting of 2000 octets instead of 20")]:
        client = Client(service.socket)
        assert client.greet(greeting) == fault and client.is_dropped()
        assert f"connection from pid {os.getpid()}, uid {os.geteuid()} refused: {fault}\n" in service.log()
    for spoil in (lambda client: client.send(bytes(HEADER.size - 1)), lambda client: client.shutdown(SHUT_WR),
                  lambda client: client.send(bytes(HEADER.size + 1025))):
        spoil(client := service.client())
        assert client.is_dropped()
    assert service.log().count("sent what is no message") == 2
    assert (status := service.status())["refusedConnections"] == 3 and status["droppedConnections"] == 2
    deaf = service.client()
    assert deaf.ask(FCS.MSG_REQUEST, FCS.OP_GET, bytes(1024)).result == FCS.ERR_NO_SUCH_RECORD
    with pytest.raises(ConnectionError):
        while deaf.send(bytes(HEADER.size)):
            pass
    service.logs("does not read its answers")
    assert service.is_alive() and silent.greet(b"") == "no greeting within 2000 ms"
    assert time.monotonic() - connected >= 1.9 and silent.is_dropped() and patient
    states = [time.sleep(0.01) or open(f"/proc/{service.process.pid}/stat").read().split()[2] for _ in range(50)]
    assert states.count("S") > 25, "it sleeps until there is something to do"


def test_the_number_of_clients_is_bounded(service):
    clients = [service.client() for _ in range(64)]
    assert Client(service.socket).greet() == "the service has 64 clients already"
    waiting = [Client(service.socket) for _ in range(17)]
    assert waiting[-1].greet() == "dropped" and "connection dropped: far too many clients" in service.log()
    del clients[0], waiting
    assert eventually(lambda: Client(service.socket).greet() == "")


def test_it_stops_cleanly_and_keeps_what_it_has_acknowledged(service):
    row = 'user "an operator??2?": node name 20:01:00:5e:00:53:01:01 of list 77'
    assert [os.stat(path).st_mode & 0o777 for path in (service.socket, service.store)] == [0o660, 0o600]
    assert service.client().record(FCS.OP_SET, FCS.REC_NODE_NAME, NEW_NAME).result == FCS.OK
    service.stop(signal.SIGKILL)
    assert row + " created\n" in service.log() and service.socket.exists(), "it could not tidy up"
    service.start()
    assert f"the store holds a fabric already, {SAMPLE} is not read\n" in service.log()
    client = service.client()
    assert client.record(FCS.OP_GET, FCS.REC_NODE_NAME, NEW_NAME).payload == NEW_NAME[:12] + words(1, 0)
    assert client.record(FCS.OP_SET, FCS.REC_NODE_NAME, NEW_NAME).result == FCS.ERR_ROW_EXISTS
    assert row + " not created: the row exists already\n" in service.log()
    service.stop()
    assert not service.socket.exists() and service.log().endswith("stopped\n")
    assert {*os.listdir(service.store.parent)} == {"fabric.db", "fabric.db-statuses"}


def test_a_living_service_keeps_its_socket_and_its_store(service, tmp_path):
    with paused(service.process.pid):
        second, status = run("fcsd", *service.options), service.fcsctl("status")
    assert second[0] == 1 and second[1].endswith(f": cannot use the socket {service.socket}: another service owns it\n")
    assert status == (1, f"fcsctl: {service.socket}: the FCS service does not answer\n")
    (link := tmp_path / "link.db").symlink_to(service.store)
    third = run("fcsd", "--socket", tmp_path / "other", "--store", link)
    assert third[0] == 1 and f"the store {link}: another service has it, process {service.process.pid}\n" in third[1]
    assert service.is_alive()


@pytest.mark.parametrize("lose", [
    lambda store: store.unlink(), lambda store: store.with_name("fabric.db-wal").unlink(),
    lambda store: store.write_bytes(store.rename(store.with_name("moved")).read_bytes()),
    lambda store: store.parent.rename(store.parent.with_name("moved"))])
def test_a_store_that_is_gone_takes_no_changes(service, lose):
    client, control = service.client(), service.client(CONTROL)
    lose(service.store)
    assert {reply.result for reply in (
        client.record(FCS.OP_SET, FCS.REC_NODE_NAME, NEW_NAME), client.ask(FCS.MSG_SET_DISC_TIMEOUT, 3, words(300)),
        client.ask(FCS.MSG_START_DISCOVERY, 0, words(1, 0)), control.ask(FCS.CTL_REJECT, 0, words(1, 9, 0)),
        control.ask(FCS.CTL_WANT, 0, words(0, 0)))} == {FCS.ERR_STORE_GONE}
    assert f"{service.store} (deleted or replaced: changes are refused until the service is restarted)\n" in (
        service.fcsctl("status")[1])
    service.logs(f"discovery cannot use the store {service.store}: it was deleted or replaced")
    assert service.is_alive()


@pytest.mark.skipif(os.geteuid() != 0 or EMULATOR != [], reason="only root becomes others; emulators tell no groups")
def test_root_and_the_services_group_may_connect(start, tmp_path):
    service = start("--group", "games")
    group = service.socket.stat().st_gid
    for path, mode in [(path, 0o711) for path in (tmp_path, *tmp_path.parents[:2])] + [(service.socket, 0o666)]:
        path.chmod(mode)  # The files' modes would stop them first.
    for uid, gid, groups, answer in [(0, 1, [], ""), (65534, group, [], ""), (65534, 7, [42, group], ""),
                                     (65534, 0, [7, 42], "user id 65534 may not connect to the FCS service")]:
        child = os.fork()
        if child == 0:
            try:
                os.setgroups(groups), os.setgid(gid), os.setuid(uid)
                os._exit(0 if Client(service.socket).greet() == answer else 1)
            finally:
                os._exit(2)
        assert os.waitpid(child, 0)[1] == 0, uid
    assert group != 0 and "uid 65534 refused" in service.log()


def test_it_refuses_on_one_line_what_it_cannot_use(tmp_path):
    (tmp_path / "file").write_text("precious")
    (tmp_path / "bad.json").write_text('{"vsans": [{"id": 0}]}')
    for options, fault in [
            ("--socket none/s", "cannot use the directory none for the socket: No such file or directory"),
            ("--socket file", "cannot use the socket file: there is a file that is no socket"),
            ("--socket " + "x" * 108, f'cannot use the socket "{"x" * 108}": a socket\'s path has 1 to 107 octets'),
            ("--socket s --group no-such-group", "unknown group no-such-group"),
            ("--socket s --store db --fabric bad.json", "bad.json: vsans[0].id: 0 is not within 1 to 4096")]:
        status, output = run("fcsd", *options.split(), cwd=tmp_path)
        assert (status, output.partition("]: ")[2], (tmp_path / "s").exists()) == (1, f"{fault}\n", False)
    assert f"VERSION {run('fcsd', '--version')[1].split()[1]}" in (REPOSITORY / "CMakeLists.txt").read_text()
    assert run("fcsd", "--bogus")[0] == run("fcsd", "--time-scale", "0.5")[0] == 2


def test_it_runs_where_its_agent_does(service):
    def runs_at(processors):
        return os.sched_getaffinity(service.process.pid) == processors

    def asked_from(number):
        return exchange.ask(FCS.MSG_REQUEST, FCS.OP_GET, words(FCS.REC_PORT_COUNT), processor=number + 1).result == FCS.OK

    exchange, anywhere = service.client(), os.sched_getaffinity(service.process.pid)
    for number in (min(anywhere), max(anywhere)):
        eventually(lambda: asked_from(number) and runs_at({number}))
    for nowhere in (-1, (1 << 31) - 1):
        eventually(lambda: asked_from(nowhere) and runs_at(anywhere))
        eventually(lambda: asked_from(max(anywhere)) and runs_at({max(anywhere)}))
    eventually(lambda: asked_from(min(anywhere)) and runs_at({min(anywhere)}))
    assert service.status() and runs_at(anywhere), "what tools ask for may take long"
    eventually(lambda: asked_from(min(anywhere)) and runs_at({min(anywhere)}))
    eventually(lambda: runs_at(anywhere))


def test_nobody_wakes_it_for_nothing(service):
    def wakes():
        status = open(f"/proc/{service.process.pid}/status").read()
        return int(re.search(r"^voluntary_ctxt_switches:\s+(\d+)", status, re.MULTILINE)[1])

    def sleeps():
        before = wakes()
        time.sleep(2.5)
        return wakes() == before

    service.import_({"vsans": [{"id": 5, "discovery": {"status": "inProgress", "takesSeconds": 100}}]})
    eventually(lambda: '"completed"' in service.text())
    eventually(sleeps)
