"""The programs of a build, and what tests ask of processes and wait for."""

import os
import re
import signal
import socket
import subprocess
import time
from contextlib import contextmanager
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("FCS_BUILD", REPOSITORY / "build"))
SAMPLE = REPOSITORY / "lab" / "sample-fabric.json"
EMULATOR = os.environ.get("FCS_EMULATOR", "").split()  # What runs the programs of another machine.
PROGRAMS = {path.name: path for path in map(BUILD.joinpath, (
    "service/fcsd", "tools/fcsctl", "tools/snmpfcs", "platform/linux/agentx/fcs-agentx"))}
SANITIZERS = ("ERROR: AddressSanitizer", "ERROR: LeakSanitizer", "runtime error:")


def command(name, *arguments):
    return [*EMULATOR, *map(str, [PROGRAMS[name], *arguments])]


def run(name, *arguments, text="", **options):
    """A program's exit status and what it printed, errors in it."""
    done = subprocess.run(command(name, *arguments), stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60,
                          input=text, encoding="utf-8", **options)
    return done.returncode, done.stdout


def output_of(words, **options):
    """A command's exit status, output and errors."""
    return subprocess.run(words, capture_output=True, text=True, timeout=80, **options)


def eventually(condition, seconds=20.0):
    """Polls until the condition holds; its last value, or an error when the time has passed."""
    deadline = time.monotonic() + seconds
    while not (value := condition()):
        assert time.monotonic() < deadline, f"not within {seconds} s"
        time.sleep(0.02)
    return value


def timed(action):
    """The seconds that an action takes, and its result."""
    began = time.monotonic()
    result = action()
    return time.monotonic() - began, result


def free_port(kind=socket.SOCK_DGRAM):
    """A port that nothing uses now, of UDP or of what the kind says."""
    with socket.socket(socket.AF_INET, kind) as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


@contextmanager
def paused(pid):
    """A process that does nothing meanwhile."""
    os.kill(pid, signal.SIGSTOP)
    try:
        yield
    finally:
        os.kill(pid, signal.SIGCONT)


def has_sanitizer(pid):
    return "libasan" in Path(f"/proc/{pid}/maps").read_text()


def footprint(pid):
    """Open descriptors and resident kilobytes: 0 under AddressSanitizer, which keeps for a while what was freed."""
    resident = re.search(r"VmRSS:\s+(\d+)", Path(f"/proc/{pid}/status").read_text())[1]
    return len(os.listdir(f"/proc/{pid}/fd")), 0 if has_sanitizer(pid) else int(resident)
