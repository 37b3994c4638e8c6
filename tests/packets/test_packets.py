"""Spoilt SNMP packets against a real agent whose module is built with sanitizers.

The packets come of real requests of every kind, v1 to v3. After every few of them the agent has to answer a good
request; when the lab goes down, its sanitizers must have said nothing.
"""

import random
from collections import deque

import pytest
from lab import oid
from mutations import spoil
from programs import BUILD, has_sanitizer
from recorder import record
from snmp_message import GET, INTEGER, NULL, Manager, encode, message

WINDOW = 40  # Packets between two good requests: what the agent's socket has room for.
PATIENCE = 60.0
LONGEST = 8000  # The longest packet sent.


def answers_a_good_request(manager, number):
    manager.send(message("public", GET, number, [(oid("fcsVsanDiscoveryTimeOut.0"), NULL, b"")]))
    wanted = encode([[INTEGER, number.to_bytes(4, "big")], [INTEGER, b"\x00"]])
    return any(wanted in answer for answer in manager.answers(PATIENCE))


def test_spoilt_packets_do_no_harm(lab, request):
    parts, count = (lab.agent, lab.service), request.config.getoption("--packets")
    assert all(map(has_sanitizer, parts)), f"{BUILD} has no AddressSanitizer (-DFCS_SANITIZE=address,undefined)"
    chance, packets, manager = random.Random(request.config.getoption("--seed")), record(lab), Manager(lab.port)
    latest = deque(maxlen=2 * WINDOW)
    for sent in range(1, count + 1):
        latest.append(spoil(chance, packets)[:LONGEST])
        manager.send(latest[-1])
        if (sent % WINDOW == 0 or sent == count) and not answers_a_good_request(manager, 0x40000000 + sent):
            (lab.directory / "latest-packets").write_text("\n".join(packet.hex() for packet in latest))
            pytest.fail(f"no answer after {sent} packets; the latest are in {lab.directory}")
    assert lab.walk() and (lab.agent, lab.service) == parts
