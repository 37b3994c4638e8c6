"""What answers for a switch behind an AgentX master: who sees what, and who has a context."""

import signal
import subprocess
import time

import pytest
from far_lab import FarLab
from lab import OPERATOR
from programs import command, eventually, paused


@pytest.fixture(scope="module")
def lab(tmp_path_factory):
    with FarLab(tmp_path_factory.mktemp("agentx"), "agentx") as lab:
        yield lab


@pytest.fixture
def start(lab):
    """Starts another subagent of the lab's agent."""
    started = []

    def start(*options, config=lab.directory / "switch-1/fcs-agentx.conf", state=lab.directory / "other"):
        words = ["--master", f"unix:{lab.directory}/agentx", "--config", config, "--state", state]
        started.append(subprocess.Popen(command("fcs-agentx", *words, *options), text=True,
                                        stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE))
        return started[-1]
    yield start
    for process in started:
        process.kill()
        process.communicate()


SWITCH = ["--context", "switch-1"]


@pytest.mark.parametrize("options, config, fault", [
    (SWITCH, {}, "--user NAME says whose role everyone in context switch-1 has"),
    ([*SWITCH, "--user", "nobody"], {}, "gives user nobody of context switch-1 no role"),
    ([*SWITCH, "--context", "switch-1=admin"], {}, "--context switch-1 stands there twice"),
    (["--context", "s" * 33], {}, "has more than 32 octets"),
    (SWITCH, {"state": "/no/such"}, "--state /no/such: there is no directory /no"),
    (SWITCH, {"config": "/none"}, "cannot read /none: No such file or directory"),
    (SWITCH, {"config": "/"}, "cannot read /: Is a directory"),
], ids=["no user", "a user without role", "twice", "long", "nowhere", "no file", "no file either"])
def test_what_keeps_it_from_starting(start, options, config, fault):
    process = start(*options, **config)
    assert fault in process.communicate(timeout=10)[1] and process.returncode == 1


def test_roles_that_are_lost_show_nothing(lab):
    config = lab.directory / "switch-1/fcs-agentx.conf"
    good = config.read_text()
    assert len(lab.walk(of="fcsRxGetReqs")) == 3
    try:
        config.write_text(good.replace("fcsRoleUser admin", "fcsRoleUzer admin"))
        lab.signal(signal.SIGHUP)
        eventually(lambda: "gives user admin of context switch-1 no role; nothing of a VSAN is shown" in lab.log())
        assert "Unknown token: fcsRoleUzer" in lab.log()
        assert lab.walk(of="fcsRxGetReqs") == [] and len(lab.walk(OPERATOR, of="fcsRxGetReqs")) == 2
    finally:
        config.write_text(good)
        lab.signal(signal.SIGHUP)
    eventually(lambda: len(lab.walk(of="fcsRxGetReqs")) == 3)


def test_one_has_a_context_and_the_next_waits(lab, start):
    second = start(*SWITCH, "--user", "operator")
    while "Created directory" in (said := second.stderr.readline()):
        pass
    assert "has context switch-1 from another subagent or a module of its own; waiting for that to end" in said
    assert len(lab.walk(of="fcsRxGetReqs")) == 3
    lab.signal(signal.SIGTERM)
    eventually(lambda: len(lab.walk(of="fcsRxGetReqs")) == 2)  # By the second one's role.
    with paused(lab.agent):
        time.sleep(1.2)  # It asks the master whether it is there, and waits for the answer.
        began = time.monotonic()
        second.terminate()
        assert second.wait(5) == 0 and time.monotonic() - began < 2
