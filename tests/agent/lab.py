"""A lab of a test's own: the real agent with the real service, on free ports, in its own directory."""

import os
import re
import signal
import socket
import subprocess
import time
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("FCS_BUILD", REPOSITORY / "build"))
ROOT = "1.3.6.1.4.1.32473.1.1"
SANITIZERS = ("ERROR: AddressSanitizer", "ERROR: LeakSanitizer", "runtime error:")

# Ways to ask: the options of Net-SNMP's tools.
READER_V1 = ["-v1", "-c", "public"]
READER = ["-v2c", "-c", "public"]
WRITER = ["-v2c", "-c", "private"]


def v3(user):
    phrase = f"lab-{user}-pass"
    return ["-v3", "-l", "authPriv", "-u", user, "-a", "SHA-256", "-A", phrase, "-x", "AES", "-X", phrase]


def free_port():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def eventually(condition, seconds=20.0):
    """Polls until the condition holds; its last value, or an error when the time has passed."""
    deadline = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        assert time.monotonic() < deadline, f"not within {seconds} s"
        time.sleep(0.02)


def has_sanitizer(pid):
    return "libasan" in Path(f"/proc/{pid}/maps").read_text()


def resident_kilobytes(pid):
    """Resident size; 0 under AddressSanitizer, which keeps what has been freed for a while."""
    if has_sanitizer(pid):
        return 0
    return int(re.search(r"VmRSS:\s+(\d+)", Path(f"/proc/{pid}/status").read_text())[1])


def parse_walk(text):
    """Varbinds of `-On -Ox` output: [(oid, type, value)], octets as hexadecimal digits."""
    varbinds = []
    for line in text.splitlines():
        if line.startswith("."):
            oid, _, rest = line.partition(" = ")
            kind, colon, value = rest.partition(": ")
            varbinds.append([oid[1:], kind if colon else "", value if colon else rest])
        elif varbinds:
            varbinds[-1][2] += line  # A long octet string goes on.
    result = []
    for oid, kind, value in varbinds:
        if kind == "Hex-STRING" or value == '""':
            kind, value = "OCTETS", "".join(re.findall("[0-9A-F]{2}", value)).lower() if kind else ""
        result.append((oid, kind, value))
    return result


class Lab:
    """`exchange_timeout` is the agent's, in milliseconds: a loaded machine fails no test that is not about it."""

    def __init__(self, directory, fabric=None, exchange_timeout=5000):
        self.directory = Path(directory)
        self.settings = f"fcsExchangeTimeout {exchange_timeout}\n"
        self.fabric = fabric or REPOSITORY / "lab" / "sample-fabric.json"
        self.port = free_port()
        self.trap_port = free_port()
        self.environment = {**os.environ, "MIBS": "", "SNMP_PERSISTENT_DIR": str(self.directory / "manager"),
                            "SNMPCONFPATH": str(self.directory)}

    def script(self, *words):
        return subprocess.run([REPOSITORY / "scripts" / "lab", *words, "--dir", self.directory],
                              capture_output=True, text=True, timeout=60)

    def up(self):
        if not (self.directory / "lab.lock").exists():
            self.directory.mkdir(mode=0o700, exist_ok=True)
            (self.directory / "lab.lock").touch(0o600)  # By which a directory that holds files is a lab's.
            local = self.directory / "snmpd.local.conf"
            local.touch(0o600)
            local.write_text(self.settings)
        done = self.script("up", "--build", BUILD, "--snmp-port", str(self.port), "--trap-port",
                           str(self.trap_port), "--fabric", str(self.fabric), "--console")
        assert done.returncode == 0, done.stderr
        return done.stdout

    def down(self):
        self.script("down")
        report = self.sanitizer_report()
        assert not report, report

    def sanitizer_report(self):
        """What the sanitizers of a build with them have said in the agent and in the service; empty for nothing."""
        for part in ("snmpd.out", "fcsd.out"):
            output = self.directory / part
            text = output.read_text(errors="replace") if output.exists() else ""
            places = [place for sign in SANITIZERS if (place := text.find(sign)) >= 0]
            if places:
                return f"{part}: {text[min(places):][:4000]}"
        return ""

    def env(self):
        done = self.script("env")
        assert done.returncode == 0, done.stderr
        return dict(line.split("=", 1) for line in done.stdout.splitlines())

    @property
    def agent(self):
        return int(self.env()["FCS_AGENT_PID"])

    @property
    def service(self):
        return int(self.env()["FCS_SERVICE_PID"])

    def run(self, tool, options, *arguments, timeout=20):
        """A manager's command against the agent: its output, errors in it."""
        done = subprocess.run([tool, "-r", "0", "-t", str(timeout), "-On", "-Ox", *options, f"127.0.0.1:{self.port}",
                               *arguments], capture_output=True, text=True, timeout=timeout + 60,
                              env=self.environment)
        return done.stdout + done.stderr

    def walk(self, options=READER, suffix="", bulk=False):
        """The varbinds of a subtree; fails when the walk does not end as it should."""
        text = self.run("snmpbulkwalk" if bulk else "snmpwalk", options, f"{ROOT}{suffix}")
        varbinds = [v for v in parse_walk(text) if v[1]]
        assert "Timeout" not in text and "not increasing" not in text, text
        return varbinds

    def get(self, oid, options=READER):
        return parse_walk(self.run("snmpget", options, oid))[0]

    def uptime(self):
        return self.run("snmpget", READER, "1.3.6.1.2.1.1.3.0")

    def log(self):
        return (self.directory / "snmpd.log").read_text()

    def control(self, *words):
        return subprocess.run([self.env()["FCS_CTL"], *words], capture_output=True, text=True, timeout=20)

    def reconfigure(self, edit=lambda text: text):
        """Edits the agent's configuration and has it read again."""
        path = self.directory / "snmpd.conf"
        path.write_text(edit(path.read_text()))
        restarts = self.log().count("restarted")
        os.kill(self.agent, signal.SIGHUP)
        eventually(lambda: self.log().count("restarted") > restarts)
        eventually(lambda: "Timeticks" in self.uptime())
