"""scripts/lab: what it starts and stops, what it listens on, and what it leaves alone."""

import os
import re
import shutil
import signal
import subprocess
from pathlib import Path

import pytest
from lab import OPERATOR, Lab
from programs import BUILD, REPOSITORY, eventually, output_of

SHOWN = "core-a.example.net"  # In what `up` prints of the fabric.


def processes(directory):
    """What runs in a lab's directory: process ids with the programs' names."""
    found = {}
    for entry in Path("/proc").glob("[0-9]*"):
        try:
            if os.readlink(entry / "cwd") == str(directory):
                found[int(entry.name)] = (entry / "comm").read_text().strip()
        except OSError:
            pass  # It has ended, or is somebody else's.
    return found


def nothing_runs_in(directory):
    return eventually(lambda: not processes(directory))


def sockets(pid):
    try:
        links = [os.readlink(entry) for entry in Path(f"/proc/{pid}/fd").iterdir()]
    except FileNotFoundError:
        return set()  # It has ended since.
    return {link[len("socket:["):-1] for link in links if link.startswith("socket:[")}


def kernel_table(name):
    return [line.split() for line in Path(f"/proc/net/{name}").read_text().splitlines()[1:]]


def test_listens_on_loopback_and_in_its_directory_only(lab):
    running = processes(lab.directory)
    assert {lab.agent, lab.service} < set(running) and len(running) >= 4
    mine = set().union(*map(sockets, running))
    places = {tuple(row[1].split(":")) for table in ["tcp", "tcp6", "udp", "udp6", "raw", "raw6"]
              for row in kernel_table(table) if row[9] in mine}
    assert {address for address, _ in places} <= {"0100007F", "7F000001"}
    assert {int(port, 16) for _, port in places} > {lab.port, lab.trap_port}
    paths = {row[7] for row in kernel_table("unix") if len(row) > 7 and row[6] in mine}
    assert paths == {str(lab.directory / "fcsd.sock")}


def test_logs_are_bounded(lab):
    """Each is cut when it has grown too large, and goes on from there."""
    logs = {lab.directory / name: text for name, text in [
        ("snmpd.log", "SET of"), ("fcsd.out", "platform 77"), ("traps.log", "fcsMgmtAddrChangeNotify")]}
    for log in logs:
        with log.open("a") as file:
            file.write("an older line\n" * 700_000)
    eventually(lambda: all(log.stat().st_size < 1e6 for log in logs))
    lab.put("fcsPlatformRowStatus.2100.1 i 6", options=OPERATOR)
    lab.put("fcsPlatformName.1.77 s bounded", "fcsPlatformRowStatus.1.77 i 4")
    lab.control("event", "address", "--vsan", "1", "--address", "192.0.2.9")
    for log, text in logs.items():
        eventually(lambda: text in log.read_text())
        assert "an older line" in Path(f"{log}.old").read_text()
        assert all(re.match(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d", line) for line in log.read_text().splitlines() if line)


def test_labs_side_by_side_and_up_again(lab, tmp_path):
    with Lab(tmp_path / "other") as other:
        assert other.directory.stat().st_mode & 0o777 == 0o700
        agent, service = other.agent, other.service
        other.end("SERVICE", signal.SIGTERM)
        done = other.script("up")
        assert done.returncode == 0, done.stderr  # With the ports and programs that it runs with.
        assert other.agent == agent and other.service != service
        runs = f"the lab in {other.directory} runs already, with"
        for option, value, said in [("--snmp-port", "1", f"--snmp-port: {runs} {other.port};"),
                                    ("--trap-port", "1", f"--trap-port: {runs} {other.trap_port};"),
                                    ("--fabric", REPOSITORY / "README.md", "has begun with another fabric")]:
            refused = other.script("up", option, value)
            assert refused.returncode == 1 and said in refused.stderr
    assert "Timeticks" in lab.uptime()
    assert nothing_runs_in(other.directory)


def begin(command):
    """Starts a command that can be interrupted, even if the tests run in the background."""
    command = ["env", "--default-signal=INT", *command]
    return subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, start_new_session=True)


@pytest.fixture
def new_lab(tmp_path):
    """A lab that is not up; whatever of it runs at the end is ended."""
    lab = Lab(tmp_path / "lab")
    yield lab
    lab.script("down")
    assert nothing_runs_in(lab.directory)


def test_two_at_once_on_one_directory(new_lab):
    both = [begin(new_lab.command_up()) for _ in range(2)]
    said = [process.communicate(timeout=60) for process in both]
    assert [process.returncode for process in both] == [0, 0], said
    assert all(SHOWN in output for output, _ in said)
    assert list(processes(new_lab.directory).values()).count("snmpd") == 1


def programs(directory, **instead):
    """A build directory with this build's programs, or with others in their place."""
    for path in ["service/fcsd", "tools/fcsctl", "platform/linux/fcs_mib.so"]:
        (directory / path).parent.mkdir(parents=True)
        shutil.copy(instead.get(Path(path).stem, BUILD / path), directory / path)
    return directory


@pytest.mark.parametrize("broken, part", [("fcsctl", "fcsd"), ("fcs_mib", "snmpd")])
def test_an_interrupted_up_stops_what_it_started(new_lab, tmp_path, broken, part):
    """The part runs but is never ready, and so the interruption finds `up` waiting for it."""
    up = begin(new_lab.command_up(build=programs(tmp_path / "build", **{broken: "/usr/bin/false"})))
    eventually(lambda: (new_lab.directory / f"{part}.pid").exists())
    os.killpg(up.pid, signal.SIGINT)
    _, said = up.communicate(timeout=20)
    assert up.returncode == 130 and "stopped what it had started" in said
    assert nothing_runs_in(new_lab.directory)


def test_a_failed_up_starts_nothing_or_stops_it(lab, new_lab, tmp_path):
    """The next one, with what was wrong set right, starts from nothing."""
    (tmp_path / "fabric.json").write_text("{}")
    for words, said, started in [
            (["--trap-port", str(lab.port)], f"--trap-port {lab.port}: something uses this UDP port already", False),
            (["--fabric", tmp_path / "fabric.json"], "fabric.json", True)]:
        done = output_of(new_lab.command_up(*words))
        assert done.returncode == 1 and said in done.stderr
        assert (new_lab.directory / "fcsd.out").exists() == started and nothing_runs_in(new_lab.directory)
    assert SHOWN in new_lab.up()


@pytest.mark.parametrize("done_before, said", [
    ("chmod g+w .", "chmod go-w"), ("echo own >snmpd.conf", "holds files, but no lab"),
    ("touch lab.lock; ln -s ../precious snmpd.log", "snmpd.log is a link"),
    pytest.param("chown 65534 .", "belongs to ", marks=pytest.mark.skipif(os.geteuid() != 0, reason="only root can"))])
def test_a_directory_that_others_have_a_hand_in(tmp_path, done_before, said):
    (tmp_path / "precious").write_text("precious")
    directory = tmp_path / "lab"
    directory.mkdir(mode=0o755)
    subprocess.run(["sh", "-ec", done_before], cwd=directory, check=True, timeout=60)
    before = sorted(directory.iterdir())
    done = output_of(Lab(directory).command_up())
    assert done.returncode == 1 and said in done.stderr
    assert sorted(directory.iterdir()) == before and (tmp_path / "precious").read_text() == "precious"


def test_down_ends_only_what_up_started(new_lab):
    new_lab.up()
    receiver = new_lab.directory / "snmptrapd.pid"
    written = receiver.read_text()
    with subprocess.Popen(["sleep", "60"]) as stranger:
        start = int(Path(f"/proc/{stranger.pid}/stat").read_text().split()[21])
        sleep = os.path.realpath(shutil.which("sleep"))
        try:
            for claim in [f"{stranger.pid} {start - 1} {sleep}\n", f"{stranger.pid} {start} {written.split()[2]}\n"]:
                receiver.write_text(claim)
                new_lab.script("down")
                assert eventually(lambda: list(processes(new_lab.directory)) == [int(written.split()[0])])
                assert stranger.poll() is None
        finally:
            stranger.kill()
            receiver.write_text(written)


def test_blanks_in_the_path(tmp_path):
    """Of the checkout, its programs and the lab. This lab keeps nothing of what the module prints."""
    checkout = tmp_path / "my \"own\" & only"
    for part in ["scripts", "lab", "mibs"]:
        shutil.copytree(REPOSITORY / part, checkout / part)
    lab = Lab(programs(checkout / "build") / "lab")

    def script(*words):
        return output_of([checkout / "scripts" / "lab", *words])

    try:
        done = script(*lab.command_up(build=checkout / "build")[1:-2])  # Without a directory.
        assert done.returncode == 0 and SHOWN in done.stdout, done.stderr
        assert f"FCS_CTL={lab.directory}/fcsctl\n" in script("env").stdout
        assert "history" in os.listdir(lab.directory) and "snmpd.out" not in os.listdir(lab.directory)
        assert "VSANs" in lab.control("status")
    finally:
        script("down")
    assert nothing_runs_in(lab.directory)


def test_a_moved_checkout_builds_anew(tmp_path):
    old, new = tmp_path / "old place", tmp_path / "new place"
    shutil.copytree(REPOSITORY / "scripts", old / "scripts")
    (old / "CMakeLists.txt").write_text("""
        cmake_minimum_required(VERSION 3.25)
        project(place NONE)
        add_custom_command(OUTPUT place COMMAND echo "${CMAKE_SOURCE_DIR}" > place VERBATIM)
        add_custom_target(tell DEPENDS place)
    """)
    for checkout in [old, new]:
        if not checkout.exists():
            old.rename(new)
        build = '. scripts/common.sh; configured "$root/build" || configure "$root/build"; build "$root/build" tell'
        subprocess.run(["bash", "-euc", build], cwd=checkout, check=True, timeout=60)
        assert (checkout / "build" / "place").read_text().strip() == str(checkout)
