"""Managers that do not stop: they walk, write, and ask the agent for something else."""

import threading
import time
from concurrent.futures import ThreadPoolExecutor

from lab import UPTIME, numeric, oid
from programs import eventually, timed
from snmp_message import GET, NULL, Manager, message, parse

PATIENCE = 60.0  # Seconds after which an agent counts as one that does not answer.


def ask(port, community, kind, bindings):
    """Sends a message and waits for its answer: the error status, or an error without one."""
    with Manager(port) as manager:
        manager.send(message(community, kind, 1, [(oid(name), *value) for name, *value in bindings]))
        for answer in manager.answers(PATIENCE):
            return parse(answer)[0][1][2][1][1][1][0]
    raise TimeoutError


class Waits:
    """While it is entered, asks for sysUpTime.0 again and again, and keeps the seconds that each answer takes; other
    parts are repeated besides. What fails there fails the test at the end."""

    def __init__(self, lab, *parts):
        self.lab, self.parts, self.seconds, self.ended = lab, [self.wait, *parts], [], threading.Event()

    def wait(self):
        self.seconds.append(timed(lambda: ask(self.lab.port, "public", GET, [(UPTIME, NULL, b"")]))[0])
        time.sleep(0.005)

    def repeat(self, part):
        while not self.ended.is_set():
            part()

    def __enter__(self):
        threads = ThreadPoolExecutor(len(self.parts))
        self.running = [threads.submit(self.repeat, part) for part in self.parts]
        eventually(lambda: self.seconds)
        return self

    def __exit__(self, *_):
        self.ended.set()
        for part in self.running:
            part.result()

    def percentile(self, share):
        """Milliseconds in which this share of the questions was answered."""
        return round(sorted(self.seconds)[int(share * (len(self.seconds) - 1))] * 1e3, 1)


class Load(Waits):
    """Besides, one manager walks and one writes: they see what a manager must see."""

    def __init__(self, lab):
        super().__init__(lab, self.walk, self.write)
        self.walks = self.writes = 0

    def walk(self):
        """Every varbind is one of the fabric, in order, or there are none."""
        names = [numeric(name) for name, *_ in self.lab.walk()]
        assert all(name < following for name, following in zip(names, names[1:]))
        self.walks += 1

    def write(self):
        """Creates a platform and deletes it again: noError, or an error that says why."""
        row = f"1.{5000 + self.writes % 50}"
        for bindings in ([f"fcsPlatformName.{row} s load-{row}", f"fcsPlatformRowStatus.{row} i 4"],
                         [f"fcsPlatformRowStatus.{row} i 6"]):
            assert self.lab.put(*bindings) in ("noError", "genError", "inconsistentValue")
        self.writes += 1
