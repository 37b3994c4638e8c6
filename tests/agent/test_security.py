"""What the parts of a lab may do, who may read its files, that secrets stay where they belong, and that a spoilt file
spoils nothing else."""

import os
from pathlib import Path

from lab import ADMIN, OPERATOR, READER, WRITER, v3

SECRETS = [b"public", b"private", b"lab-admin-pass", b"lab-operator-pass", b"a-guessed-community", b"a-guessed-phrase"]
# What says who may do what, and so holds the secrets; the agent keeps its SNMPv3 users in a directory of its own.
CONFIGURATION = ["snmpd.conf", "snmptrapd.conf"]


def test_nobody_else_has_access(lab):
    modes = {path.name: path.stat().st_mode & 0o777 for path in [lab.directory, *lab.directory.iterdir()]}
    assert modes.pop("fcsd.sock") == 0o660  # For a group, if the service was given one.
    assert len(modes) > 12 and {name: mode for name, mode in modes.items() if mode & 0o077} == {}


def test_the_service_has_no_privileges(lab):
    status = open(f"/proc/{lab.service}/status").read()
    for line in ["CapPrm:\t0000000000000000", "CapEff:\t0000000000000000", "NoNewPrivs:\t1"]:
        assert line in status


def test_secrets_stay_out_of_logs_and_history(lab):
    guesses = [["-v2c", "-c", "a-guessed-community"], v3("admin", "a-guessed-phrase")]
    for options in [READER, WRITER, ADMIN, OPERATOR, *guesses]:
        lab.run("snmpget", options, "fcsVsanDiscoveryTimeOut.0", timeout=0.5)
        words = "fcsPlatformRowStatus.2100.1 i 4 fcsVsanDiscoveryList2k.0 x 80".split()
        lab.run("snmpset", options, *words, timeout=0.5)
    lab.control("event", "address", "--vsan", "1", "--address", "192.0.2.5")
    lab.reconfigure()
    written = [path for path in lab.directory.iterdir() if path.is_file() and path.name not in CONFIGURATION]
    assert {"history", "snmpd.log", "snmpd.out", "fcsd.out", "traps.log"} <= {path.name for path in written}
    for path in [*written, *(Path(f"/proc/{pid}/cmdline") for pid in (lab.agent, lab.service))]:
        assert [secret for secret in SECRETS if secret in path.read_bytes()] == [], path


def test_spoilt_event_history(lab):
    history = lab.directory / "history"
    agent, size = lab.agent, history.stat().st_size

    def move_oldest_record_behind_the_end():
        with history.open("r+b") as file:
            file.seek(16)
            file.write(b"\x7f" * 8)

    spoils = [lambda: os.truncate(history, 0), lambda: os.truncate(history, 3000),
              lambda: os.truncate(history, 0) or os.truncate(history, size), move_oldest_record_behind_the_end]
    for spoil in spoils:
        spoil()
        assert len(lab.walk()) > 100
        assert lab.agent == agent
        assert "return" in lab.control("history", "--lines", "1")
    assert lab.log().count("was truncated or overwritten and is started anew") == len(spoils)
