"""What the parts of a lab may do, who may read its files, and that secrets stay where they belong."""

from lab import READER, ROOT, WRITER, v3

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
    for options in [READER, WRITER, v3("admin"), v3("operator"), ["-v2c", "-c", "a-guessed-community"]]:
        lab.run("snmpget", options, f"{ROOT}.1.1.7.0", timeout=0.5)
        lab.run("snmpset", options, f"{ROOT}.1.1.18.1.9.2100.1", "i", "4", f"{ROOT}.1.1.3.0", "x", "80", timeout=0.5)
    wrong = [word.replace("lab-admin-pass", "a-guessed-phrase") for word in v3("admin")]
    lab.run("snmpget", wrong, f"{ROOT}.1.1.7.0", timeout=0.5)
    assert lab.control("event", "address", "--vsan", "1", "--address", "192.0.2.5").returncode == 0
    lab.reconfigure()
    written = [path for path in lab.directory.iterdir() if path.is_file() and path.name not in CONFIGURATION]
    assert {"history", "snmpd.log", "snmpd.out", "fcsd.out", "traps.log"} <= {path.name for path in written}
    for path in written:
        assert [secret for secret in SECRETS if secret in path.read_bytes()] == [], path
    for pid in [lab.agent, lab.service]:
        command = open(f"/proc/{pid}/cmdline", "rb").read()
        assert not any(secret in command for secret in SECRETS)
