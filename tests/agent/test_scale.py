"""A fabric with more than 20,000 visible ports: every row once, and an agent that stays as it was; a busy machine."""

import json
import os
import subprocess
import sys

from fabric import expected_varbinds
from lab import READER, ROOT, Lab
from programs import eventually, footprint, run
from service import EXCHANGE, FCS, Client

VARBINDS = 300_000


def test_every_row_once_and_no_growth(tmp_path):
    fabric = tmp_path / "fabric.json"
    shape = "--seed 1 --vsans 26 --switches 20 --ports 50 --platforms 20 --output"
    assert run("fcsctl", "generate", *shape.split(), fabric)[0] == 0
    expected = expected_varbinds(json.loads(fabric.read_text()), ROOT)
    with Lab(tmp_path / "lab", fabric) as lab:
        walked = lab.walk(bulk=True)
        assert sum(name.startswith(f"{ROOT}.1.1.13.1.1.") for name, *_ in walked) >= 20_000, "ports"
        assert len(walked) == len(expected)
        assert {name: (kind, value) for name, kind, value in walked} == expected
        agent, service = footprint(lab.agent)[1], footprint(lab.service)[1]
        received = 0
        while received < VARBINDS:
            received += lab.run("snmpbulkwalk", [*READER, "-Cr50"], ROOT).count("\n.1.3")
        assert footprint(lab.agent)[1] - agent < 1024
        client = Client(lab.directory / "fcsd.sock", EXCHANGE)
        assert 30e6 < sum(len(client.record(FCS.OP_GETNEXT, FCS.REC_PORT, bytes(12), rows).payload)
                          for rows in range(900, 1600))
        assert footprint(lab.service)[1] - service < 20 * 1024, "the store's cache and what is kept are bounded"


def test_where_no_processor_sleeps_the_scheduler_decides(tmp_path):
    loops = [subprocess.Popen([sys.executable, "-c", "while True: pass"],
                              preexec_fn=lambda: os.sched_setscheduler(0, os.SCHED_IDLE, os.sched_param(0)))
             for _ in range(os.cpu_count())]
    try:
        with Lab(tmp_path / "lab") as lab:
            anywhere = os.sched_getaffinity(0)
            eventually(lambda: lab.walk(bulk=True) and os.sched_getaffinity(lab.service) == anywhere)
            for _ in range(10):
                assert lab.walk(bulk=True) and os.sched_getaffinity(lab.service) == anywhere
    finally:
        for loop in loops:
            loop.kill()
            loop.wait()
