"""Managers that do not stop: one walks, one writes, one asks the agent for something else."""

import threading
import time

from lab import numeric
from programs import timed


class Load:
    """Runs while it is entered. What a manager must never see fails the test when it ends."""

    def __init__(self, lab):
        self.lab = lab
        self.stopped = threading.Event()
        self.threads = [threading.Thread(target=self.guard, args=(work,)) for work in (self.walk, self.write, self.ask)]
        self.failures, self.latencies = [], []
        self.walks = self.writes = self.refused = 0

    def guard(self, work):
        try:
            while not self.stopped.is_set():
                work()
        except Exception as failure:  # Reported by the test's own thread.
            self.failures.append(failure)

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
            answer = self.lab.put(*bindings)
            assert answer in ("noError", "genError", "inconsistentValue")
            self.refused += answer != "noError"
        self.writes += 1

    def ask(self):
        seconds, answer = timed(self.lab.uptime)
        assert "Timeticks" in answer
        self.latencies.append(seconds)
        time.sleep(0.005)

    def __enter__(self):
        for thread in self.threads:
            thread.start()
        return self

    def __exit__(self, *_):
        self.stopped.set()
        for thread in self.threads:
            thread.join()
        assert not self.failures, self.failures[0]

    def percentile(self, share):
        """Milliseconds in which this share of the questions to another MIB was answered."""
        return round(sorted(self.latencies)[int(share * (len(self.latencies) - 1))] * 1e3, 1)
