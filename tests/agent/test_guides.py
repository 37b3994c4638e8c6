"""The guides and the README, typed in as they are written."""

import json
import os
import re
import signal
import subprocess
import threading
from contextlib import contextmanager

import pytest
from programs import REPOSITORY, eventually


def blocks(text):
    return "".join(re.findall(r"```\n(.*?)```", text, re.DOTALL))


@contextmanager
def shell(directory):
    """One that is ended after a minute, with the command that hangs."""
    with subprocess.Popen(["bash"], cwd=directory, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
                          stderr=subprocess.DEVNULL, start_new_session=True) as process:
        watchdog = threading.Timer(60, os.killpg, (process.pid, signal.SIGKILL))
        watchdog.start()
        try:
            yield process
        finally:
            watchdog.cancel()
            os.killpg(process.pid, signal.SIGKILL)


def answer_of(shell, command):
    """What a command prints; an error when the shell has been ended meanwhile."""
    shell.stdin.write(f"{command}\necho '--'\n")
    shell.stdin.flush()
    lines = iter(shell.stdout.readline, "--\n")
    return "\n".join(line.rstrip() for line in lines if line or pytest.fail(f"{command}: no end of it"))


@pytest.fixture
def checkout(lab, tmp_path):
    """A directory in which the lab is where the commands have it."""
    (tmp_path / "build").mkdir()
    (tmp_path / "build" / "lab").symlink_to(lab.directory)
    for name in ["docs", "lab", "mibs"]:
        (tmp_path / name).symlink_to(REPOSITORY / name)
    return tmp_path


def follow(text, lab, checkout):
    """Types the commands of a guide, and holds what they print against it."""
    steps = blocks(text).removeprefix("$ ").split("\n$ ")
    assert len(steps) >= 2
    with shell(checkout) as typed:
        for command, _, expected in (step.partition("\n") for step in steps):
            answer = answer_of(typed, command.replace("127.0.0.1:1161", lab.address))
            assert answer == "\n".join(map(str.rstrip, expected.splitlines())), command


@pytest.mark.parametrize("guide", ["discovery.md", "configuration.md", "fabric-json.md"])
def test_the_guide_is_true(lab, checkout, guide):
    follow((REPOSITORY / "docs" / guide).read_text(), lab, checkout)


# What each command that the README has its reader try prints, in its order.
README_SHOWS = [
    ("build/lab/snmpfcs", r"(?s)\Avsan  name .*offline"),
    ("build/lab/snmpfcs", r"(?s)  1  completed +\d.*100  completed +\d"),
    ("export", "^$"),
    ("snmpwalk", r"(?s)\A(?!.*not increasing)(?:[^=]*=){600}"),
    ("snmptable", r"(?s)\A(?!.*not increasing).*21:1:0:0:5e:0:53:1"),
    ("snmpwalk", r"(?s)\A(?!.*Type\.2100\.).*Type\.100\."),
    ("build/lab/fcsctl status", "fabric +3 VSANs"),
    ("build/lab/fcsctl map --format svg", "^$"),
    ("build/lab/fcsctl map --format html", "^$"),
    ("build/lab/fcsctl export", "^$"),
    ("build/lab/fcsctl import", "imported 3 VSANs"),
    ("build/lab/fcsctl generate", "^$"),
    ("build/lab/fcsctl history --follow", "handle_fcs_reg_req_rej_notif"),
    ("build/lab/fcsctl watch", " reject "),
    ("snmpset", "(?s)= INTEGER: 1.*= INTEGER: 1"),
    ("build/lab/fcsctl event", "^$"),
    ("sleep 1; tail", "fcsReqRejNotify"),
]


def test_the_readme_is_true(lab, checkout):
    lab.show(lab.fabric)
    rejections = lab.traps("fcsReqRejNotify")
    section = (REPOSITORY / "README.md").read_text().split("## What you see\n")[1].split("\n## ")[0]
    commands = blocks(section).splitlines()
    assert len(commands) == len(README_SHOWS)
    with shell(checkout) as typed:
        for number, (command, (start, _)) in enumerate(zip(commands, README_SHOWS)):
            assert command.startswith(start)
            goes_on = start.endswith(("--follow", "watch"))
            command = command.replace("127.0.0.1:1161", lab.address)
            ending = "&" if goes_on else "|| echo failed"
            answer_of(typed, f"{{ {{ {command}\n}} {ending}\n}} >output{number} 2>&1")
            if start.endswith("watch"):
                eventually(lambda: "2 notification" in lab.control("status"))
            elif start.endswith("event"):  # However long that takes; the reader sleeps.
                eventually(lambda: lab.traps("fcsReqRejNotify") > rejections)
        for number, (start, shown) in enumerate(README_SHOWS):
            eventually(lambda: re.search(shown, (checkout / f"output{number}").read_text()))
            assert "failed\n" not in (checkout / f"output{number}").read_text()
    assert "<svg" in (checkout / "fabric.svg").read_text() and "vsan-2100" in (checkout / "fabric.html").read_text()
    assert len(json.loads((checkout / "big.json").read_text())["vsans"]) == 40
