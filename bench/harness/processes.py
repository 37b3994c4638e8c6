"""Processes on loopback with deadlines: the agents and services that a benchmark compares."""

import os
import shutil
import signal
import socket
import subprocess
import time
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
MODULE_ROOT = "1.3.6.1.4.1.32473.1.1"
SNMPD = shutil.which("snmpd", path=os.environ["PATH"] + ":/usr/sbin:/sbin")


class BenchError(Exception):
    """Something the benchmark needs does not work; the text says what, and where to look."""


class Programs:
    """The programs of a build directory."""

    def __init__(self, build):
        self.module = build / "platform/linux/fcs_mib.so"
        self.fcsd = build / "service/fcsd"
        self.fcsctl = build / "tools/fcsctl"
        self.snmpfcs = build / "tools/snmpfcs"
        self.manager = build / "bench/bench_manager"
        self.echo = build / "bench/bench_echo"
        self.tables = build / "bench/bench_tables.so"
        self.subagent = build / "bench/bench_subagent"
        self.agentx = build / "platform/linux/agentx/fcs-agentx"
        self.micro = build / "bench/bench_micro"


def run(*command, timeout=120):
    """What a command prints."""
    try:
        done = subprocess.run([str(word) for word in command], capture_output=True, text=True, timeout=timeout)
    except subprocess.TimeoutExpired as error:
        raise BenchError(f"{command[0]} does not end within {timeout} s") from error
    if done.returncode != 0:
        raise BenchError(f"{command[0]} ends with status {done.returncode}: {done.stderr.strip()}")
    return done.stdout


def free_port():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Running:
    """A process in the background, its output in a file."""

    def __init__(self, name, command, output, environment=None):
        self.name = name
        self.output = Path(output)
        with open(output, "wb") as sink:
            self.process = subprocess.Popen([str(word) for word in command], stdin=subprocess.DEVNULL, stdout=sink,
                                            stderr=sink, env={**os.environ, **(environment or {})})

    @property
    def pid(self):
        return self.process.pid

    def wait_until(self, condition, log, seconds=10):
        deadline = time.monotonic() + seconds
        while not condition():
            if self.process.poll() is not None or time.monotonic() > deadline:
                tail = "\n".join(log.read_text(errors="replace").splitlines()[-5:])
                raise BenchError(f"{self.name} does not come up; its last lines: {tail}")
            time.sleep(0.02)

    def children(self):
        """Process ids of the programs that the process has started."""
        return [int(pid) for pid in Path(f"/proc/{self.pid}/task/{self.pid}/children").read_text().split()]

    def stop(self):
        for signal_number in (signal.SIGTERM, signal.SIGKILL):
            if self.process.poll() is None:
                self.process.send_signal(signal_number)
                try:
                    self.process.wait(10)
                except subprocess.TimeoutExpired:
                    continue


CONFIGURATION = """\
agentAddress udp:127.0.0.1:{port}
dontLogTCPWrappersConnects yes
view everything included .1
com2sec all default public
group readers v2c all
access readers "" any noauth exact everything everything none
dlmod fcs {module}
fcsServiceSocket {directory}/fcsd.sock
fcsHistoryFile {directory}/history
"""


class Lab:
    """snmpd with the module in its default configuration, and the FCS service with a fabric."""

    def __init__(self, programs, directory, shape, configuration="", environment=None, output="/dev/null"):
        """shape: options of `fcsctl generate`. configuration: lines for snmpd.conf behind the usual ones.
        output: where snmpd's standard output and error go."""
        self.programs = programs
        self.directory = Path(directory)
        self.directory.mkdir()
        self.port = free_port()
        self.parts = []
        try:
            self._start_service(shape)
            self._start_agent(configuration, environment or {}, output)
        except BaseException:
            self.stop()
            raise

    def _start_service(self, shape):
        fabric = self.directory / "fabric.json"
        words = [word for option, value in shape.items() for word in (f"--{option}", value)]
        run(self.programs.fcsctl, "generate", "--seed", 1, *words, "--output", fabric)
        log = self.directory / "fcsd.out"
        self.service = Running("fcsd", [self.programs.fcsd, "--socket", self.directory / "fcsd.sock",
                                        "--store", self.directory / "fabric.db", "--fabric", fabric], log)
        self.parts.append(self.service)
        self.service.wait_until(lambda: "ready:" in log.read_text(), log, 120)

    def _start_agent(self, configuration, environment, output):
        path = self._configure(configuration)
        self.log = self.directory / "snmpd.log"
        persistent = self.directory / "agent"
        persistent.mkdir()
        self.agent = Running("snmpd", [SNMPD, "-f", "-LF", "i", self.log, "-C", "-c", path], output,
                             {"MIBS": "", "SNMP_PERSISTENT_DIR": str(persistent), **environment})
        self.parts.append(self.agent)
        self.agent.wait_until(lambda: self._connections() == 1, self.log)

    def _configure(self, configuration):
        path = self.directory / "snmpd.conf"
        path.write_text(CONFIGURATION.format(port=self.port, module=self.programs.module, directory=self.directory)
                        + configuration)
        path.chmod(0o600)
        return path

    def _connections(self):
        """How often the agent has connected to the service."""
        return self.log.read_text().count("exchanges: connected") if self.log.exists() else 0

    def reconfigure(self, configuration):
        """Has the running agent read other lines behind the usual ones."""
        before = self._connections()
        self._configure(configuration)
        self.agent.process.send_signal(signal.SIGHUP)
        self.agent.wait_until(lambda: self._connections() > before, self.log)

    def add(self, part):
        """A further process, stopped with the lab."""
        self.parts.append(part)
        return part

    def start_agent_behind(self):
        """Another agent with the module, of the same service: its process, and its port."""
        behind = Path(self.directory, "behind")
        behind.mkdir()
        port = free_port()
        path = behind / "snmpd.conf"
        path.write_text(CONFIGURATION.format(port=port, module=self.programs.module, directory=self.directory)
                        .replace("/history", "/behind/history"))
        log = behind / "snmpd.log"
        agent = self.add(Running("snmpd", [SNMPD, "-f", "-LF", "i", log, "-C", "-c", path], "/dev/null",
                                 {"MIBS": "", "SNMP_PERSISTENT_DIR": str(behind)}))
        agent.wait_until(lambda: log.exists() and "exchanges: connected" in log.read_text(), log)
        return agent, port

    def stop(self):
        for part in reversed(self.parts):
            part.stop()
        self.parts = []

    def __enter__(self):
        return self

    def __exit__(self, *error):
        self.stop()
