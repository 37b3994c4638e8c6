#!/usr/bin/env python3
"""Spoilt SNMP packets against a real agent whose module is built with sanitizers.

The packets come of real requests of every kind, v1 to v3. After every few of them the agent has to
answer a good request; at the end its sanitizers must have said nothing. FCS_BUILD names the build.
"""

import argparse
import collections
import random
import shutil
import socket
import sys
import tempfile
import time
from pathlib import Path

sys.path[:0] = [str(Path(__file__).resolve().parents[1] / "agent")]

import ber
import mutations
from lab import BUILD, ROOT, Lab, has_sanitizer
from message import GET, INTEGER, NULL, message
from recorder import record

WINDOW = 40  # Packets between two good requests: what the agent's socket has room for.
PATIENCE = 60.0
LONGEST = 8000  # The longest packet sent.


def good_request(number):
    """A GET of fcsVsanDiscoveryTimeOut.0 whose request id is `number`."""
    return message("public", GET, number, [(f"{ROOT}.1.1.7.0", NULL, b"")])


class Manager:
    def __init__(self, port):
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1 << 22)
        self.socket.connect(("127.0.0.1", port))
        self.number = 0x40000000
        self.answers = 0

    def send(self, packet):
        self.socket.send(packet)

    def ask(self):
        """Whether the agent answers a good request; counts what it has answered to others."""
        self.number += 1
        self.socket.send(good_request(self.number))
        wanted = ber.encode([[INTEGER, self.number.to_bytes(4, "big")], [INTEGER, b"\x00"]])
        deadline = time.monotonic() + PATIENCE
        while (left := deadline - time.monotonic()) > 0:
            self.socket.settimeout(left)
            try:
                answer = self.socket.recv(65535)
            except OSError:  # Nothing in time, or nobody is there any more.
                return False
            if wanted in answer:
                return True
            self.answers += 1
        return False


def attack(lab, count, seed):
    """\\return what has gone wrong; empty for nothing."""
    chance = random.Random(seed)
    parts = lab.agent, lab.service
    if not all(map(has_sanitizer, parts)):
        return f"{BUILD} is not built with AddressSanitizer (-DFCS_SANITIZE=address,undefined)"
    packets = record(lab)
    print(f"{len(packets)} requests recorded", flush=True)
    manager = Manager(lab.port)
    latest = collections.deque(maxlen=2 * WINDOW)
    started = time.monotonic()
    for sent in range(1, count + 1):
        packet = mutations.spoil(chance, packets)[:LONGEST]
        latest.append(packet)
        manager.send(packet)
        if (sent % WINDOW == 0 or sent == count) and not manager.ask():
            (lab.directory / "latest-packets").write_text("\n".join(p.hex() for p in latest) + "\n")
            return f"after {sent} packets the agent does not answer\n{lab.sanitizer_report()}"
        if sent % 100000 == 0:
            print(f"{sent} packets, {manager.answers} answers, {time.monotonic() - started:.0f} s", flush=True)
    print(f"{count} packets, {manager.answers} answers, {time.monotonic() - started:.0f} s", flush=True)
    if (lab.agent, lab.service) != parts:
        return "the agent or the service has died"
    if not lab.walk():
        return "a walk of the module finds nothing"
    return lab.sanitizer_report()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--packets", type=int, default=20000, metavar="N", help="how many packets (default 20000)")
    parser.add_argument("--seed", type=int, default=1, metavar="N", help="which packets (default 1)")
    options = parser.parse_args()
    directory = tempfile.mkdtemp(prefix="fcs-packets-")
    lab = Lab(directory)
    try:
        lab.up()
        fault = attack(lab, options.packets, options.seed)
    finally:
        lab.down()
    if fault:
        sys.exit(f"{fault}\nthe lab's files, with the latest packets, are in {directory}")
    shutil.rmtree(directory)


if __name__ == "__main__":
    main()
