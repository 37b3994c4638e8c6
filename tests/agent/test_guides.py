"""The guides for managers, typed in as they are written."""

import re
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


@pytest.mark.parametrize("guide", ["discovery.md", "configuration.md"])
def test_the_guide_is_true(lab, guide):
    shell = subprocess.Popen(["bash"], cwd=REPOSITORY, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                             stderr=subprocess.DEVNULL, text=True)
    watchdog = threading.Timer(60, shell.kill)
    watchdog.start()
    try:
        steps = guide_steps((REPOSITORY / "docs" / guide).read_text())
        assert len(steps) > 15
        for command, expected in steps:
            command = command.replace("127.0.0.1:1161", f"127.0.0.1:{lab.port}")
            shell.stdin.write(command.replace("build/lab", str(lab.directory)) + "\necho '--'\n")
            shell.stdin.flush()
            answer = [line.rstrip("\n") for line in iter(shell.stdout.readline, "--\n")]
            assert [line.rstrip() for line in answer] == [line.rstrip() for line in expected], command
    finally:
        watchdog.cancel()
        shell.stdin.close()
        shell.wait()
