"""Managers that do not stop: one walks, one writes, one asks the agent for something else."""

import os
import re
import threading
import time

from lab import ROOT, WRITER, resident_kilobytes

PLATFORM_NAME, PLATFORM_STATUS = f"{ROOT}.1.1.18.1.2", f"{ROOT}.1.1.18.1.9"


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
        oids = [[int(part) for part in oid.split(".")] for oid, _, _ in self.lab.walk()]
        assert oids == sorted(oids) and len(oids) == len({tuple(oid) for oid in oids})
        self.walks += 1

    def write(self):
        """Creates a platform and deletes it again: noError, or an error that says why."""
        row = f"1.{5000 + self.writes % 50}"
        for bindings in ([f"{PLATFORM_NAME}.{row}", "s", f"load-{row}", f"{PLATFORM_STATUS}.{row}", "i", "4"],
                         [f"{PLATFORM_STATUS}.{row}", "i", "6"]):
            answer = self.lab.run("snmpset", WRITER, *bindings)
            refused = re.search(r"Reason: \(?(\w+)", answer)
            assert refused is None or refused[1] in ("genError", "inconsistentValue"), answer
            assert refused or " = " in answer, answer
            self.refused += refused is not None
        self.writes += 1

    def ask(self):
        began = time.monotonic()
        assert "Timeticks" in self.lab.uptime()
        self.latencies.append(time.monotonic() - began)
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
        """Seconds in which this share of the questions to another MIB was answered."""
        return sorted(self.latencies)[int(share * (len(self.latencies) - 1))]


def footprint(pid):
    """Open descriptors and resident kilobytes."""
    return len(os.listdir(f"/proc/{pid}/fd")), resident_kilobytes(pid)
