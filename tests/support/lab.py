"""A lab of a test's own: the real agent with the real service, on free ports, in its own directory."""

import json
import os
import re
import signal
from contextlib import contextmanager
from pathlib import Path

from programs import BUILD, REPOSITORY, SAMPLE, SANITIZERS, eventually, free_port, output_of

ROOT = "1.3.6.1.4.1.32473.1.1"
UPTIME = "1.3.6.1.2.1.1.3.0"
# The names of the module's objects and their OIDs below the root.
OBJECTS = {line.split()[1]: line.split()[0] for line in (REPOSITORY / "tests/mib/objects.txt").read_text().splitlines()
           if not line.startswith("#")}


def v3(user, phrase=None):
    phrase = phrase or f"lab-{user}-pass"
    return ["-v3", "-l", "authPriv", "-u", user, "-a", "SHA-256", "-A", phrase, "-x", "AES", "-X", phrase]


# Who asks, and how: the options of Net-SNMP's tools.
READER_V1, READER, WRITER = ["-v1", "-c", "public"], ["-v2c", "-c", "public"], ["-v2c", "-c", "private"]
ADMIN, OPERATOR = v3("admin"), v3("operator")


def oid(name):
    """The OID of `fcsIeType.1.2` and its like; another OID as it is."""
    first, dot, rest = name.partition(".")
    return f"{ROOT}.{OBJECTS[first]}{dot}{rest}" if first in OBJECTS else name


def numeric(name):
    return [int(sub_identifier) for sub_identifier in name.split(".")]


def parse_walk(text):
    """Varbinds of `-On -Ox` output: [(oid, type, value)], octets as hexadecimal digits."""
    varbinds = []
    for line in text.splitlines():
        if line.startswith("."):
            name, _, rest = line.partition(" = ")
            kind, colon, value = rest.partition(": ")
            varbinds.append([name[1:], kind if colon else "", value if colon else rest])
        elif varbinds:
            varbinds[-1][2] += line  # A long octet string goes on.
    for varbind in varbinds:
        if varbind[1] == "Hex-STRING" or varbind[2] == '""':
            varbind[1:] = "OCTETS", "".join(re.findall("[0-9A-F]{2}", varbind[2])).lower() if varbind[1] else ""
    return [tuple(varbind) for varbind in varbinds]


class Lab:
    """Entered, it is up. Left, it is down, and its sanitizers have had nothing to say.

        with Lab(tmp_path / "lab", settings="dontLogTCPWrappersConnects no\\n") as lab:
            assert lab.put("fcsVsanDiscoveryTimeOut.0 u 600", options=ADMIN) == "noError"
            subprocess.run([program, "--agent", lab.address], ...)

    `exchange_timeout` is the agent's, in milliseconds: a loaded machine fails no test that is not about it. `settings`
    are further lines of the agent's configuration.
    """

    def __init__(self, directory, fabric=SAMPLE, exchange_timeout=5000, settings=""):
        self.directory, self.fabric = Path(directory), fabric
        self.settings = f"fcsExchangeTimeout {exchange_timeout}\n{settings}"
        self.port, self.trap_port = free_port(), free_port()
        self.address = f"127.0.0.1:{self.port}"
        self.environment = {**os.environ, "MIBS": "", "MIBDIRS": str(REPOSITORY / "mibs"),
                            "SNMP_PERSISTENT_DIR": str(self.directory / "manager"), "SNMPCONFPATH": str(self.directory)}

    def __enter__(self):
        try:
            self.up()
        except BaseException:
            self.script("down")
            raise
        return self

    def __exit__(self, *_):
        self.script("down")
        report = self.sanitizer_report()
        assert not report, report

    def command(self, *words):
        return [REPOSITORY / "scripts" / "lab", *words, "--dir", self.directory]

    def command_up(self, *words, build=BUILD):
        ports = ["--snmp-port", str(self.port), "--trap-port", str(self.trap_port)]
        return self.command("up", "--build", build, *ports, *words)

    def script(self, *words):
        return output_of(self.command(*words))

    def up(self):
        """Starts what does not run; what that prints."""
        if not (self.directory / "lab.lock").exists():
            self.directory.mkdir(mode=0o700, exist_ok=True)
            (self.directory / "lab.lock").touch(0o600)  # By which a directory that holds files is a lab's.
            (self.directory / "snmpd.local.conf").touch(0o600)
            (self.directory / "snmpd.local.conf").write_text(self.settings)
        done = output_of(self.command_up("--fabric", self.fabric, "--console"))
        assert done.returncode == 0, done.stderr
        return done.stdout

    def sanitizer_report(self):
        """What the sanitizers of a build with them have said in the lab's programs; empty for nothing."""
        for output in [*self.directory.rglob("*.out"), *self.directory.rglob("fcs-agentx.log")]:
            text = output.read_text(errors="replace")
            places = [place for sign in SANITIZERS if (place := text.find(sign)) >= 0]
            if places:
                return f"{output.name}: {text[min(places):][:4000]}"
        return ""

    def env(self):
        done = self.script("env")
        assert done.returncode == 0, done.stderr
        return dict(line.split("=", 1) for line in done.stdout.splitlines())

    def pid(self, program):
        """Of what was started last."""
        return int((self.directory / f"{program}.pid").read_text().split()[0])

    agent = property(lambda self: self.pid("snmpd"))
    service = property(lambda self: self.pid("fcsd"))

    def end(self, part, with_signal=signal.SIGKILL):
        """Ends the "AGENT" or the "SERVICE"; `up` starts it again."""
        os.kill(int(self.env()[f"FCS_{part}_PID"]), with_signal)
        eventually(lambda: self.env()[f"FCS_{part}_PID"] == "")

    def run(self, tool, options, *arguments, timeout=20, mibs=""):
        """A manager's command to the agent, with numbers, or the names of MIB modules: its output, errors in it."""
        words = ["-r", "0", "-t", str(timeout), *([] if mibs else ["-On", "-Ox"]), *options]
        done = output_of([tool, *words, self.address, *map(oid, arguments)], env={**self.environment, "MIBS": mibs})
        return done.stdout + done.stderr

    def walk(self, options=READER, of=ROOT, bulk=False):
        """The varbinds of a subtree; fails when the walk does not end as it should."""
        text = self.run("snmpbulkwalk" if bulk else "snmpwalk", options, of)
        assert "Timeout" not in text and "not increasing" not in text, text
        return [varbind for varbind in parse_walk(text) if varbind[1]]

    def get(self, name, options=READER):
        """An instance's value."""
        return parse_walk(self.run("snmpget", options, name))[0][2]

    def put(self, *bindings, options=WRITER):
        """Sends a SET of `fcsPlatformName.1.90 s text` and its like: "noError", or the error's name."""
        answer = self.run("snmpset", options, *(word for binding in bindings for word in binding.split(" ", 2)))
        refused = re.search(r"^Reason: \(?(\w+)", answer, re.MULTILINE)
        return refused[1] if refused else "noError" if " = " in answer else answer

    def uptime(self):
        return self.run("snmpget", READER, UPTIME)

    def answers(self):
        """Whether module and service have an answer."""
        return "INTEGER" in self.run("snmpget", READER, "fcsIeNumber.0")

    def log(self, since_restart=False):
        text = (self.directory / "snmpd.log").read_text()
        return text.rsplit("restarted", 1)[1] if since_restart else text

    def traps(self, name):
        """How many notifications of this name have come."""
        return (self.directory / "traps.log").read_text().count(name)

    def control(self, *words):
        """Runs fcsctl, which fails the test if it fails; what it prints."""
        done = output_of([self.directory / "fcsctl", *words])
        assert done.returncode == 0, done.stderr
        return done.stdout

    def show(self, fabric):
        """Imports a description, or that of a file."""
        if isinstance(fabric, dict):
            path = self.directory / "imported.json"
            path.touch(0o600)
            path.write_text(json.dumps(fabric))
            fabric = path
        self.control("import", str(fabric))

    @contextmanager
    def showing(self, fabric):
        """The lab with another fabric for a while."""
        try:
            self.show(fabric)
            yield
        finally:
            self.show(self.fabric)

    def reconfigure(self, old="", new=""):
        """Replaces a text of the agent's configuration, and has it read again and put to use."""
        path = self.directory / "snmpd.conf"
        path.write_text(path.read_text().replace(old, new) if old else path.read_text())
        restarts = self.log().count("restarted")
        os.kill(self.agent, signal.SIGHUP)
        eventually(lambda: self.log().count("restarted") > restarts)
        # The module's first turn, by which the rest is done.
        eventually(lambda: "Gauge32" in self.run("snmpget", READER, "fcsVsanDiscoveryTimeOut.0"))

    @contextmanager
    def configured(self, old, new):
        """The agent with another text in its configuration for a while."""
        self.reconfigure(old, new)
        try:
            yield
        finally:
            self.reconfigure(new, old)
