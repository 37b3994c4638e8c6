"""A fabric with more than 20,000 visible ports: every row once, and an agent that stays as it was."""

import json
import subprocess

import pytest
from fabric_view import expected_varbinds
from lab import BUILD, READER, ROOT, Lab, resident_kilobytes

VARBINDS = 300_000


@pytest.fixture(scope="module")
def large(tmp_path_factory):
    directory = tmp_path_factory.mktemp("large")
    fabric = directory / "fabric.json"
    subprocess.run([BUILD / "tools" / "fcsctl", "generate", "--seed", "1", "--vsans", "26", "--switches", "20",
                    "--ports", "50", "--platforms", "20", "--output", fabric], check=True, timeout=60)
    lab = Lab(directory / "lab", fabric)
    try:
        lab.up()
        yield lab
    finally:
        lab.down()


def test_every_row_once_and_no_growth(large):
    expected = expected_varbinds(json.loads(large.fabric.read_text()), ROOT)
    walked = large.walk(bulk=True)
    assert sum(oid.startswith(f"{ROOT}.1.1.13.1.1.") for oid, _, _ in walked) >= 20_000, "ports"
    assert len(walked) == len(expected)
    assert {oid: (kind, value) for oid, kind, value in walked} == expected

    agent, service = resident_kilobytes(large.agent), resident_kilobytes(large.service)
    received = 0
    while received < VARBINDS:
        text = large.run("snmpbulkwalk", [*READER, "-Cr50"], ROOT)
        received += sum(line.startswith(".1.3") for line in text.splitlines())
    assert resident_kilobytes(large.agent) - agent < 1024
    assert resident_kilobytes(large.service) - service < 20 * 1024, "the store's cache is bounded"
