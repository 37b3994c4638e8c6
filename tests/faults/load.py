"""Managers that do not stop: they walk, write, and ask the agent for something else."""

import threading
import time

from lab import UPTIME, numeric, oid
from programs import eventually, timed
from snmp_message import GET, NULL, Manager, message, parse

PATIENCE = 60.0  # Seconds after which an agent counts as one that does not answer.


def ask(port, community, kind, bindings, fields=(0, 0)):
    """Sends a message and waits for its answer: the error status, or an error without one."""
    with Manager(port) as manager:
        manager.send(message(community, kind, 1, [(oid(name), *value) for name, *value in bindings], fields))
        for answer in manager.answers(PATIENCE):
            return parse(answer)[0][1][2][1][1][1][0]
    raise TimeoutError


class Work:
    """Runs while it is entered, each part again and again in a thread of its own. What fails there fails the test at
    the end."""

    def __init__(self, *parts):
        self.stopped, self.failures = threading.Event(), []
        self.threads = [threading.Thread(target=self.guard, args=(part,)) for part in parts]

    def guard(self, part):
        try:
            while not self.stopped.is_set():
                part()
        except Exception as failure:  # Reported by the test's own thread.
            self.failures.append(failure)

    def __enter__(self):
        for thread in self.threads:
            thread.start()
        return self

    def __exit__(self, *_):
        self.stopped.set()
        for thread in self.threads:
            thread.join()
        assert not self.failures, self.failures[0]


class Waits(Work):
    """Asks for sysUpTime.0 again and again, and keeps the seconds that each answer takes."""

    def __init__(self, lab, *parts):
        super().__init__(self.wait, *parts)
        self.lab, self.seconds = lab, []

    def wait(self):
        self.seconds.append(timed(lambda: ask(self.lab.port, "public", GET, [(UPTIME, NULL, b"")]))[0])
        time.sleep(0.005)

    def __enter__(self):
        super().__enter__()
        eventually(lambda: self.seconds)
        return self

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
