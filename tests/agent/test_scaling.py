"""A switch behind another agent, by AgentX and by a proxy: what the plug-in answers, and what the engines change."""

import json
import re
import signal
import time
from concurrent.futures import ThreadPoolExecutor

import pytest
from fabric import expected_varbinds
from far_lab import PARTS, FarLab
from lab import ADMIN, OPERATOR, READER, ROOT, Lab
from programs import REPOSITORY, eventually, paused, run
from test_answers import (  # noqa: F401 - the same tests, of another lab
    ordered, test_absent_instances, test_every_answer_is_of_the_fabric_of_its_time, test_get_is_the_walk,
    test_getnext_from_anywhere, test_walk_is_the_fabric)
from test_configuration import (  # noqa: F401
    same_fabric_again, test_a_row_that_failed_in_action_is_found_again, test_requests)
from test_guides import checkout, follow  # noqa: F401


@pytest.fixture(scope="module", params=PARTS)
def lab(request, tmp_path_factory):
    with FarLab(tmp_path_factory.mktemp(request.param), request.param) as lab:
        yield lab


@pytest.fixture
def second(lab):
    """The lab, asked for its second switch."""
    lab.switch = "switch-2"
    yield lab
    lab.switch = "switch-1"


def test_the_guide_is_true(lab, checkout):  # noqa: F811
    section = (REPOSITORY / "docs/scaling.md").read_text().split("## In the lab\n")[1].split("\n## ")[0]
    assert "scripts/lab up --agentx 2" in section
    follow(section.replace("scripts/lab up --agentx 2", " ".join(map(str, lab.command_up()))), lab, checkout)


def test_another_switch_has_another_fabric(second):
    """Its VSANs have the numbers of counter columns, too, by which a master begins a search."""
    fabric = json.loads(second.control("export"))
    assert {2, 3} <= {vsan["id"] for vsan in fabric["vsans"]}
    expected = expected_varbinds(fabric, ROOT)
    for bulk in (False, True):
        assert [name for name, *_ in second.walk(bulk=bulk)] == [name for name, *_ in ordered(expected)]
    shown = run("snmpfcs", "-n", "switch-2", *ADMIN, second.address, "vsans", env=second.environment)[1]
    assert [line.split()[0] for line in shown.splitlines()[1:]] == [str(vsan["id"]) for vsan in fabric["vsans"]]


def test_a_context_shows_the_role_of_its_user(lab):
    for vsan, expected in [(1, "noError"), (100, "genError"), (2100, "genError")]:
        row = f"fcsPlatformRowStatus.{vsan}.120"
        assert lab.put(f"fcsPlatformName.{vsan}.120 s new", f"{row} i 4", options=OPERATOR) == expected
        assert (f"{row} (VSAN {vsan}) by user 'operator' refused" in lab.log()) == (expected != "noError")
    assert 'user "operator": platform 120 of VSAN 1 created' in (lab.directory / "switch-1/fcsd.out").read_text()
    foreign = Lab.run(lab, "snmpget", [*OPERATOR, "-n", "switch-1"], "fcsIeNumber.0")
    assert "authorizationError" in foreign, "the context where everything is shown"


def test_a_notification_tells_its_switch_and_waits_for_a_master(lab):
    def informs():
        return re.findall(r"INFORM, SNMP v3, user informer, context (switch-\d) .*= fcsReqRejNotify",
                          (lab.directory / "traps.log").read_text())
    before = len(informs())
    try:
        for lab.switch in ("switch-2", "switch-1"):
            assert lab.put("fcsReqRejNotifyEnable.0 i 1") == "noError"
        if lab.way == "agentx":
            lab.end("AGENT")
            eventually(lambda: "no AgentX master" in lab.log().rsplit("answering for", 1)[1])
        for lab.switch in ("switch-2", "switch-1"):
            lab.control("event", "reject", "--vsan", "1")
    finally:
        lab.switch = "switch-1"
    lab.up()
    eventually(lambda: sorted(informs()[before:]) == ["switch-1", "switch-2"])
    lab.signal(signal.SIGKILL)
    eventually(lambda: not lab.answers())
    lab.up()
    eventually(lab.answers)
    assert lab.get("fcsReqRejNotifyEnable.0") == "1", "kept by what was killed"


def test_a_silent_switch_costs_others_no_more_than_a_time_out(lab):
    with paused(lab.part()), ThreadPoolExecutor() as managers:
        began = time.monotonic()
        silent = managers.submit(lab.run, "snmpget", READER, "fcsIeNumber.0")
        assert lab.answers_as("switch-2")
        assert time.monotonic() - began < 2, "a read of another waits for nobody"
        others = Lab.run(lab, "snmpset", ["-v2c", "-c", "private@switch-2"], "fcsReqRejNotifyEnable.0", "i", "2")
        assert "INTEGER: 2" in others and time.monotonic() - began < 3 + 2, "a SET waits for the read"
        assert "INTEGER" not in silent.result()
    eventually(lab.answers)
