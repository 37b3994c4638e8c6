"""The guides and the README, typed in as they are written."""

import json
import os
import re
import signal
import subprocess
import threading

import pytest
from lab import REPOSITORY, eventually


def guide_steps(text):
    """The commands of a guide, each with the lines that it is said to answer."""
    steps = []
    for block in re.findall(r"```\n(.*?)```", text, re.DOTALL):
        for line in block.splitlines():
            if line.startswith("$ "):
                steps.append((line[2:], []))
            else:
                steps[-1][1].append(line)
    return steps


def answer_of(shell, command):
    """What a command prints; an error when the shell has been ended meanwhile."""
    shell.stdin.write(f"{command}\necho '--'\n")
    shell.stdin.flush()
    lines = []
    for line in shell.stdout:
        if line == "--\n":
            return lines
        lines.append(line.rstrip())
    raise AssertionError(f"{command}: no end of it after a minute")


@pytest.mark.parametrize("guide", ["discovery.md", "configuration.md", "fabric-json.md"])
def test_the_guide_is_true(lab, guide):
    shell = subprocess.Popen(["bash"], cwd=REPOSITORY, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                             stderr=subprocess.DEVNULL, text=True, start_new_session=True)
    watchdog = threading.Timer(60, os.killpg, (shell.pid, signal.SIGKILL))  # With the command that hangs.
    watchdog.start()
    try:
        steps = guide_steps((REPOSITORY / "docs" / guide).read_text())
        assert len(steps) >= 2
        for command, expected in steps:
            command = command.replace("127.0.0.1:1161", f"127.0.0.1:{lab.port}")
            answer = answer_of(shell, command.replace("build/lab", str(lab.directory)))
            assert answer == [line.rstrip() for line in expected], command
    finally:
        watchdog.cancel()
        shell.stdin.close()
        shell.wait()


# What each command that the README has its reader try prints, in its order.
README_SHOWS = [
    ("export", "^$"),
    ("snmpwalk", r"(?s)\A(?!.*not increasing)(?:[^=]*=){600}"),
    ("snmptable", r"(?s)\A(?!.*not increasing).*21:1:0:0:5e:0:53:1"),
    ("snmpwalk", r"(?s)\A(?!.*Type\.2100\.).*Type\.100\."),
    ("build/lab/fcsctl status", "fabric +3 VSANs"),
    ("build/lab/fcsctl map", "^$"),
    ("build/lab/fcsctl export", "^$"),
    ("build/lab/fcsctl import", "imported 3 VSANs"),
    ("build/lab/fcsctl generate", "^$"),
    ("build/lab/fcsctl history --follow", "handle_fcs_reg_req_rej_notif"),
    ("build/lab/fcsctl watch", " reject "),
    ("snmpset", "(?s)= INTEGER: 1.*= INTEGER: 1"),
    ("build/lab/fcsctl event", "^$"),
    ("sleep 1; tail", "fcsReqRejNotify"),
]


def test_the_readme_is_true(lab, tmp_path):
    lab.control("import", REPOSITORY / "lab" / "sample-fabric.json")
    (tmp_path / "build").mkdir()
    (tmp_path / "build" / "lab").symlink_to(lab.directory)
    (tmp_path / "mibs").symlink_to(REPOSITORY / "mibs")
    section = (REPOSITORY / "README.md").read_text().split("## What you see\n")[1].split("\n## ")[0]
    commands = "".join(re.findall(r"```\n(.*?)```", section, re.DOTALL)).splitlines()
    assert len(commands) == len(README_SHOWS)
    endless = []
    try:
        for number, (command, (start, shown)) in enumerate(zip(commands, README_SHOWS)):
            assert command.startswith(start)
            output = tmp_path / f"output{number}"
            stays = start.endswith(("--follow", "watch"))
            line = f"exec >{output} 2>&1; {commands[0]}; {'exec ' if stays else ''}{command}"
            line = line.replace("127.0.0.1:1161", f"127.0.0.1:{lab.port}")
            if stays:
                endless.append((subprocess.Popen(["bash", "-c", line], cwd=tmp_path), shown, output))
                continue
            eventually(lambda: not endless or "2 notification" in lab.control("status").stdout)
            assert subprocess.run(["bash", "-c", line], cwd=tmp_path, timeout=30).returncode == 0, command
            assert re.search(shown, output.read_text()), command
        for _, shown, output in endless:
            eventually(lambda: re.search(shown, output.read_text()))
    finally:
        for process, *_ in endless:
            process.kill()
            process.wait()
    assert "<svg" in (tmp_path / "fabric.svg").read_text()
    assert len(json.loads((tmp_path / "big.json").read_text())["vsans"]) == 40
