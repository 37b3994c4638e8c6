#!/usr/bin/env python3
"""Spoilt SNMP packets against a real agent whose module is built with sanitizers.

The packets come of real requests of every kind, v1 to v3. After every few of them the agent has to
answer a good request; at the end its sanitizers must have said nothing. FCS_BUILD names the build.
"""

import argparse
import collections
import random
import shutil
import sys
import tempfile
import time
from pathlib import Path

sys.path[:0] = [str(Path(__file__).resolve().parents[1] / "support")]

import mutations
from lab import Lab, oid
from programs import BUILD, has_sanitizer
from recorder import record
from snmp_message import GET, INTEGER, NULL, Manager, encode, message

WINDOW = 40  # Packets between two good requests: what the agent's socket has room for.
PATIENCE = 60.0
LONGEST = 8000  # The longest packet sent.


def answers_until_good(manager, number):
    """How many answers the packets before it have had when a good request has its own; None when that does not come."""
    manager.send(message("public", GET, number, [(oid("fcsVsanDiscoveryTimeOut.0"), NULL, b"")]))
    wanted = encode([[INTEGER, number.to_bytes(4, "big")], [INTEGER, b"\x00"]])
    return next((count for count, answer in enumerate(manager.answers(PATIENCE)) if wanted in answer), None)


def attack(lab, packets, count, chance):
    """\\return what has gone wrong; empty for nothing."""
    manager, answers = Manager(lab.port), 0
    latest = collections.deque(maxlen=2 * WINDOW)
    started = time.monotonic()
    for sent in range(1, count + 1):
        latest.append(mutations.spoil(chance, packets)[:LONGEST])
        manager.send(latest[-1])
        if sent % WINDOW == 0 or sent == count:
            more = answers_until_good(manager, 0x40000000 + sent)
            if more is None:
                (lab.directory / "latest-packets").write_text("\n".join(packet.hex() for packet in latest) + "\n")
                return f"after {sent} packets the agent does not answer\n"
            answers += more
        if sent % 100000 == 0 or sent == count:
            print(f"{sent} packets, {answers} answers, {time.monotonic() - started:.0f} s", flush=True)
    return "" if lab.walk() else "a walk of the module finds nothing\n"


def examine(lab, count, seed):
    """Attacks a lab that is up. \\return what has gone wrong; empty for nothing."""
    parts = lab.agent, lab.service
    if not all(map(has_sanitizer, parts)):
        return f"{BUILD} is not built with AddressSanitizer (-DFCS_SANITIZE=address,undefined)"
    packets = record(lab)
    print(f"{len(packets)} requests recorded", flush=True)
    fault = attack(lab, packets, count, random.Random(seed)) + lab.sanitizer_report()
    return fault or ("" if (lab.agent, lab.service) == parts else "the agent or the service has died")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--packets", type=int, default=20000, metavar="N", help="how many packets (default 20000)")
    parser.add_argument("--seed", type=int, default=1, metavar="N", help="which packets (default 1)")
    options = parser.parse_args()
    directory = tempfile.mkdtemp(prefix="fcs-packets-")
    try:
        with Lab(directory) as lab:
            fault = examine(lab, options.packets, options.seed)
    except AssertionError as failure:  # What a sanitizer says at the end counts, too.
        fault = str(failure)
    if fault:
        sys.exit(f"{fault}\nthe lab's files, with the latest packets, are in {directory}")
    shutil.rmtree(directory)


if __name__ == "__main__":
    main()
