"""scripts/lab: what it starts and stops, what it listens on, and what it leaves alone."""

import os
import re
import shutil
import signal
import subprocess
from pathlib import Path

import pytest
from lab import BUILD, REPOSITORY, ROOT, WRITER, Lab, eventually, v3


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
        links = [os.readlink(f"/proc/{pid}/fd/{fd}") for fd in os.listdir(f"/proc/{pid}/fd")]
    except FileNotFoundError:
        return set()  # It has ended since.
    return {link[len("socket:["):-1] for link in links if link.startswith("socket:[")}


def test_listens_on_loopback_and_in_its_directory_only(lab):
    running = processes(lab.directory)
    assert {lab.agent, lab.service} < set(running) and len(running) >= 4
    mine = set().union(*map(sockets, running))
    places = set()
    for table in ["tcp", "tcp6", "udp", "udp6", "raw", "raw6"]:
        rows = [line.split() for line in Path(f"/proc/net/{table}").read_text().splitlines()[1:]]
        places |= {row[1] for row in rows if row[9] in mine}
    loopback = {place for place in places if place.split(":")[0] in ("0100007F", "7F000001")}
    assert places == loopback
    assert {int(place.split(":")[1], 16) for place in loopback} > {lab.port, lab.trap_port}
    rows = [line.split() for line in Path("/proc/net/unix").read_text().splitlines()[1:]]
    assert {row[7] for row in rows if len(row) > 7 and row[6] in mine} == {str(lab.directory / "fcsd.sock")}


def test_logs_are_bounded(lab):
    """Each is cut when it has grown too large, and goes on from there."""
    def provoke():
        row = f"{ROOT}.1.1.18.1"
        lab.run("snmpset", v3("operator"), f"{row}.9.2100.1", "i", "6")
        lab.run("snmpset", WRITER, f"{row}.2.1.77", "s", "bounded", f"{row}.9.1.77", "i", "4")
        lab.run("snmpset", WRITER, f"{row}.9.1.77", "i", "6")
        lab.control("event", "address", "--vsan", "1", "--address", "192.0.2.9")

    last_lines = {"snmpd.log": "SET of", "fcsd.out": "platform 77", "traps.log": "fcsMgmtAddrChangeNotify"}
    for log in last_lines:
        with open(lab.directory / log, "a") as file:
            file.write("an older line\n" * 700_000)
    eventually(lambda: all((lab.directory / log).stat().st_size < 1e6 for log in last_lines))
    provoke()
    for log, text in last_lines.items():
        eventually(lambda: text in (lab.directory / log).read_text())
        assert (lab.directory / log).read_text()[0] != "\0"
        assert "an older line" in (lab.directory / f"{log}.old").read_text()
    stamps = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d")
    assert all(stamps.match(line) for log in last_lines for line in (lab.directory / log).read_text().splitlines() if line)


def test_labs_side_by_side_and_up_again(lab, tmp_path):
    other = Lab(tmp_path / "other")
    try:
        assert "core-a.example.net" in other.up()
        assert other.directory.stat().st_mode & 0o777 == 0o700
        pids = other.agent, other.service
        os.kill(pids[1], signal.SIGTERM)
        eventually(lambda: other.env()["FCS_SERVICE_PID"] == "")
        done = other.script("up")
        assert done.returncode == 0, done.stderr  # With the ports and programs that it runs with.
        assert other.agent == pids[0] and other.service != pids[1]
        for option, value, said in [
                ("--snmp-port", "1", f"--snmp-port: the lab in {other.directory} runs already, with {other.port};"),
                ("--trap-port", "1", f"--trap-port: the lab in {other.directory} runs already, with {other.trap_port};"),
                ("--fabric", REPOSITORY / "docs/architecture.dot", "has begun with another fabric")]:
            refused = other.script("up", option, value)
            assert refused.returncode == 1 and said in refused.stderr
    finally:
        other.down()
    assert "Timeticks" in lab.uptime()
    assert nothing_runs_in(other.directory)


def test_two_at_once_on_one_directory(tmp_path):
    lab = Lab(tmp_path / "lab")
    words = [REPOSITORY / "scripts" / "lab", "up", "--dir", lab.directory, "--build", BUILD, "--snmp-port", str(lab.port),
             "--trap-port", str(lab.trap_port)]
    try:
        both = [subprocess.Popen(words, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True) for _ in range(2)]
        said = [process.communicate(timeout=60) for process in both]
        assert [process.returncode for process in both] == [0, 0], said
        assert all("core-a.example.net" in output for output, _ in said)
        assert list(processes(lab.directory).values()).count("snmpd") == 1
    finally:
        lab.down()


def programs(directory, **instead):
    """A build directory with this build's programs, or with others in their place."""
    for path in ["service/fcsd", "tools/fcsctl", "platform/linux/fcs_mib.so"]:
        (directory / path).parent.mkdir(parents=True)
        shutil.copy(instead.get(Path(path).stem, BUILD / path), directory / path)
    return directory


@pytest.mark.parametrize("broken, part", [("fcsctl", "fcsd"), ("fcs_mib", "snmpd")])
def test_an_interrupted_up_stops_what_it_started(tmp_path, broken, part):
    """The part runs but is never ready, and so the interruption finds `up` waiting for it."""
    lab = Lab(tmp_path / "lab")
    build = programs(tmp_path / "build", **{broken: "/usr/bin/false"})
    up = subprocess.Popen([REPOSITORY / "scripts" / "lab", "up", "--dir", lab.directory, "--build", build, "--snmp-port",
                           str(lab.port), "--trap-port", str(lab.trap_port)], start_new_session=True,
                          stderr=subprocess.PIPE, text=True)
    try:
        eventually(lambda: (lab.directory / f"{part}.pid").exists())
        os.killpg(up.pid, signal.SIGINT)
        _, said = up.communicate(timeout=20)
        assert up.returncode == 130 and "stopped what it had started" in said
        assert nothing_runs_in(lab.directory)
    finally:
        lab.down()


def test_a_failed_up_starts_nothing_or_stops_it(lab, tmp_path):
    """The next one, with what was wrong set right, starts from nothing."""
    other = Lab(tmp_path / "other")
    broken = tmp_path / "fabric.json"
    broken.write_text("{}")
    common = ["up", "--build", BUILD, "--snmp-port", str(other.port)]
    try:
        for words, said, started in [
                (["--trap-port", str(lab.port)], f"--trap-port {lab.port}: something uses this UDP port already", False),
                (["--trap-port", str(other.trap_port), "--fabric", broken], "fabric.json", True)]:
            done = other.script(*common, *words)
            assert done.returncode == 1 and said in done.stderr
            assert (other.directory / "fcsd.out").exists() == started and nothing_runs_in(other.directory)
        assert "core-a.example.net" in other.up()
    finally:
        other.down()


def given_away(directory):
    if os.geteuid() == 0:
        os.chown(directory, 65534, -1)
        return directory
    return Path("/usr")  # Root's.


def with_a_link(directory):
    (directory / "lab.lock").touch()
    (directory / "snmpd.log").symlink_to(directory.parent / "precious")
    return directory


def open_to_others(directory):
    directory.chmod(0o775)
    return directory


def with_other_files(directory):
    (directory / "snmpd.conf").write_text("somebody's own")
    return directory


@pytest.mark.parametrize("prepare, said", [
    (given_away, "belongs to "), (with_a_link, "snmpd.log is a link"), (open_to_others, "chmod go-w"),
    (with_other_files, "holds files, but no lab")], ids=lambda value: getattr(value, "__name__", ""))
def test_a_directory_that_others_have_a_hand_in(tmp_path, prepare, said):
    (tmp_path / "precious").write_text("precious")
    (tmp_path / "lab").mkdir(mode=0o755)
    directory = prepare(tmp_path / "lab")
    before = sorted(directory.iterdir())
    lab = Lab(directory)
    done = lab.script("up", "--build", BUILD, "--snmp-port", str(lab.port), "--trap-port", str(lab.trap_port))
    assert done.returncode == 1 and said in done.stderr
    assert sorted(directory.iterdir()) == before and (tmp_path / "precious").read_text() == "precious"


def test_down_ends_only_what_up_started(tmp_path):
    lab = Lab(tmp_path / "lab")
    receiver = lab.directory / "snmptrapd.pid"
    lab.up()
    written = receiver.read_text()
    with subprocess.Popen(["sleep", "60"]) as stranger:
        start = int(Path(f"/proc/{stranger.pid}/stat").read_text().split()[21])
        sleep = os.path.realpath(shutil.which("sleep"))
        try:
            for claim in [f"{stranger.pid} {start - 1} {sleep}\n", f"{stranger.pid} {start} {written.split()[2]}\n"]:
                receiver.write_text(claim)
                lab.down()
                assert eventually(lambda: list(processes(lab.directory)) == [int(written.split()[0])])
                assert stranger.poll() is None
        finally:
            stranger.kill()
            receiver.write_text(written)
            lab.down()
    assert nothing_runs_in(lab.directory)


def test_blanks_in_the_path(tmp_path):
    """Of the checkout, its programs and the lab. This lab keeps nothing of what the module prints."""
    checkout = tmp_path / "my \"own\" & only checkout"
    for part in ["scripts", "lab", "mibs"]:
        shutil.copytree(REPOSITORY / part, checkout / part)
    build = programs(checkout / "build")
    ports = Lab(tmp_path)

    def script(*words):
        return subprocess.run([checkout / "scripts" / "lab", *words], capture_output=True, text=True, timeout=60)

    try:
        done = script("up", "--build", build, "--snmp-port", str(ports.port), "--trap-port", str(ports.trap_port))
        assert done.returncode == 0 and "core-a.example.net" in done.stdout, done.stderr
        directory = build / "lab"
        assert f"FCS_CTL={directory}/fcsctl\n" in script("env").stdout
        assert "history" in os.listdir(directory) and "snmpd.out" not in os.listdir(directory)
        assert "VSANs" in subprocess.run([directory / "fcsctl", "status"], capture_output=True, text=True, timeout=20).stdout
    finally:
        script("down")
    assert nothing_runs_in(directory)


def test_a_moved_checkout_builds_anew(tmp_path):
    old, new = tmp_path / "old place", tmp_path / "new place"
    shutil.copytree(REPOSITORY / "scripts", old / "scripts")
    (old / "CMakeLists.txt").write_text("""
        cmake_minimum_required(VERSION 3.25)
        project(place NONE)
        add_custom_command(OUTPUT place COMMAND echo "${CMAKE_SOURCE_DIR}" > place VERBATIM)
        add_custom_target(tell DEPENDS place)
    """)

    def built(checkout):
        build = '. scripts/common.sh; configured "$root/build" || configure "$root/build"; build "$root/build" tell'
        subprocess.run(["bash", "-euc", build], cwd=checkout, check=True, timeout=60)
        return (checkout / "build" / "place").read_text().strip()

    assert built(old) == str(old)
    old.rename(new)
    assert built(new) == str(new)
