"""The guides for managers, typed in as they are written."""

import os
import re
import signal
import subprocess
import threading

import pytest
from lab import REPOSITORY


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


@pytest.mark.parametrize("guide", ["discovery.md", "configuration.md"])
def test_the_guide_is_true(lab, guide):
    shell = subprocess.Popen(["bash"], cwd=REPOSITORY, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                             stderr=subprocess.DEVNULL, text=True, start_new_session=True)
    watchdog = threading.Timer(60, os.killpg, (shell.pid, signal.SIGKILL))  # With the command that hangs.
    watchdog.start()
    try:
        steps = guide_steps((REPOSITORY / "docs" / guide).read_text())
        assert len(steps) > 15
        for command, expected in steps:
            command = command.replace("127.0.0.1:1161", f"127.0.0.1:{lab.port}")
            answer = answer_of(shell, command.replace("build/lab", str(lab.directory)))
            assert answer == [line.rstrip() for line in expected], command
    finally:
        watchdog.cancel()
        shell.stdin.close()
        shell.wait()
