"""The tools: import and export of files, events, notifications and history, fabrics made up."""

import hashlib
import re
import struct
import subprocess

import pytest
from programs import SAMPLE, command, run
from service import FCS, ORDER


def test_files_and_usage(tmp_path, monkeypatch):
    store, file, none = tmp_path / "fabric.db", tmp_path / "out.json", f"{tmp_path}/none"
    monkeypatch.setenv("FCS_SOCKET", f"{none}/s")
    full = "/dev/full: cannot be written: No space left on device"
    for words, status, told in [
            *((reads, 1, f"cannot open the store {store}: there is none") for reads in ("export", "map")),
            (f"import {none}", 1, f"{none}: cannot be opened: No such file or directory"),
            (f"import {SAMPLE}", 0, ""), *[(f"export {file}", 0, "")] * 2, ("export /dev/full", 1, full),
            (f"history --history {none}", 1, f"event history {none}: No such file or directory"),
            ("status", 1, f"{none}/s: the FCS service is not running"),
            (f"--socket {'x' * 108} status", 1, f"{'x' * 108}: cannot connect: File name too long"),
            *((wrong, 2, "") for wrong in ("|bogus|import|history --level loud|event complete --vsan 4097|map --format png|"
                                           "event wanted --completions 2|generate --seed x").split("|")),
            *((f"generate --{option} {value}", 2, f"--{option}: Value {value} not in range 1 to {limit}")
              for option, value, limit in [("vsans", 4097, 4096), ("switches", 0, 239), ("ports", 4096, 4095)]),
            ("generate --switches 239 --platforms 17", 1,
             "239 switches and 17 platforms in a VSAN: they may be 255 together"),
            ("generate --switches 17 --ports 4000", 1, "17 switches of 4000 ports: a VSAN may have 65536 ports"),
            (f"generate --output {none}/x", 1, f"{none}/x: cannot be written: No such file or directory"),
            ("generate --output /dev/full", 1, full)]:
        result = run("fcsctl", "--store", store, *words.split())
        assert result == (1, f"fcsctl: {told}\n") if status == 1 else result[0] == status and told in result[1], words
    assert file.read_text() == SAMPLE.read_text()


def test_events_are_printed_by_watch(service, tmp_path):
    with (tmp_path / "watch").open("w") as output:
        watch = subprocess.Popen(command("fcsctl", "--socket", service.socket, "watch"), stdout=output, stderr=output)
    service.logs("notification connection")
    events = ["reject --vsan 1 --reason 3 --explanation 16", *["reject --vsan 100"] * 6, "complete --vsan 100",
              "timeout --vsan 1", "address --vsan 1 --address 20010DB8000000FF", "address --vsan 100 --address 192.0.2.7"]
    for event, status, told in [
            *((event, 0, "") for event in events),
            ("complete --vsan 9", 1, f"fcsctl: VSAN 9: {service.socket}: the fabric has no such VSAN\n"),
            ("address --vsan 1 --address 1", 1,
             "fcsctl: --address: 1 is neither an IPv4 address nor 16 hexadecimal digits\n"),
            ("wanted --completions 0", 0, "rejects     wanted\ncompletions not wanted\n"),
            ("wanted --rejects 0", 0, "rejects     not wanted\ncompletions not wanted\n")]:
        assert service.fcsctl("event", *event.split()) == (status, told)
    assert service.client().word(FCS.REC_TOTAL_REJECTS) == 6, "a counter has wrapped"
    service.options += ["--complete-notifications", "1"]
    service.restart()
    assert [service.client().word(i) for i in (FCS.REC_REJECT_TRAP, FCS.REC_COMPLETE_TRAP)] == [0, 1]
    assert watch.wait(20) == 1
    assert re.sub(r"(?m)^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} ", "", (tmp_path / "watch").read_text()).splitlines() == [
        "reject reason 3, explanation 16", *["reject reason 9, explanation 0"] * 6, "complete VSAN 100", "timeout VSAN 1",
        "address VSAN 1, address 20:01:0d:b8:00:00:00:ff", "address VSAN 100, address c0:00:02:07:00:00:00:00",
        f"fcsctl: {service.socket}: the FCS service has closed the connection"]


def test_the_history_is_shown(tmp_path, monkeypatch):
    path, ring = tmp_path / "history", b""
    for number, (level, text) in enumerate([(100, b"first\n"), (101, b"second\tVSAN is 7\n"), (100, b"third")], 1):
        ring += struct.pack(ORDER + "QqIII", number, 1714557600250000000, 1, 4 + len(text), level) + text
        ring += bytes(-len(ring) % 8)
    path.write_bytes(b"FCSHIST\0" + struct.pack(ORDER + "IIQQ", 0x01020304, 2, 0, len(ring)) + ring.ljust(524832, b"\0"))
    monkeypatch.setenv("TZ", "UTC")
    first, second, third = (f"2024-05-01 10:00:00.250 {line}\n" for line in (
        "event first", "detail second\\x09VSAN is 7", "event third"))
    for options, shown in [("", first + second + third), ("--lines 2", second + third), ("--lines 0", ""),
                           ("--level detail", second), ("--vsan 1-7", second), ("--vsan 77", ""), ("--level event --lines 1", third)]:
        assert run("fcsctl", "history", "--history", path, *options.split()) == (0, shown), options


@pytest.mark.parametrize("vsans, switches, ports, platforms, seed, digest", [
    # On any machine, with any standard library.
    (3, 4, 9, 5, 1, "1ba39dfe52c7e112"), (3, 4, 9, 5, 2, "b48b4645bc95e07f"), (3, 4, 9, 5, 2**64 - 1, "8512fdc0fdbf4dfd"),
    # The last one has more loop devices than there are names for.
    (1, 1, 1, 0, 3, ""), (2, 239, 2, 16, 3, ""), (1, 1, 4095, 254, 3, ""), (4096, 2, 2, 1, 3, ""), (1, 2, 4095, 0, 3, "")])
def test_made_up_fabrics_are_valid_and_the_same_everywhere(tmp_path, vsans, switches, ports, platforms, seed, digest):
    status, made = run("fcsctl", "generate", "--vsans", vsans, "--switches", switches, "--ports", ports,
                       "--platforms", platforms, "--seed", seed)
    assert hashlib.sha256(made.encode()).hexdigest().startswith(digest)
    assert run("fcsctl", "--store", tmp_path / "db", "import", "-", text=made) == (
        0, f"imported {vsans} VSANs, {vsans * switches} elements, {vsans * switches * ports} ports, "
        f"{vsans * platforms} platforms\n")
    assert run("fcsctl", "--store", tmp_path / "db", "export") == (0, made)
