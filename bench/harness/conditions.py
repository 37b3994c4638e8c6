"""What a manager gets that is built on Net-SNMP's library, on a machine that is doing something else, too."""

import os
import subprocess
import sys
import time
from contextlib import contextmanager

from . import built_in, measure
from .processes import Lab

SHAPE = {"vsans": 10, "switches": 20, "ports": 10, "platforms": 1}  # 2,000 ports.
# Busy loops beside the agent: how many, and whether they take only what nobody else wants (SCHED_IDLE).
CONDITIONS = {"quiet": (0, False), "two idle-class loops": (2, True), "one busy loop": (1, False),
              "two busy loops": (2, False)}
MODES = {"GETNEXT": 0, "GETBULK 10": 10, "GETBULK 25": 25, "GETBULK 50": 50}
TABLES = ("ports", "elements")
BEHIND = "GETBULK 25 behind GETNEXT"


@contextmanager
def busy(loops, idle_class):
    """Has so many processes compute for nothing."""
    def give_way():
        if idle_class:
            os.sched_setscheduler(0, os.SCHED_IDLE, os.sched_param(0))

    processes = [subprocess.Popen([sys.executable, "-c", "while True: pass"], preexec_fn=give_way)
                 for _ in range(loops)]
    try:
        time.sleep(0.2)
        yield
    finally:
        for process in processes:
            process.kill()
            process.wait()


def library_walk(lab, root, bulk, seconds):
    return measure.walk(lab, root, bulk, seconds, command="library-walk")


def round_of(lab, condition, seconds):
    """One round of a condition, as pairs of (condition, table, mode) and its sample."""
    roots = {**built_in.TABLES, **{table: measure.table_root(table) for table in TABLES}}
    with busy(*CONDITIONS[condition]):
        for mode, bulk in MODES.items():
            for table, root in roots.items():
                yield (condition, table, mode), library_walk(lab, root, bulk, seconds)
        for table in TABLES:
            library_walk(lab, roots[table], 0, seconds)
            yield (condition, table, BEHIND), library_walk(lab, roots[table], 25, seconds)


def measured(programs, directory, rounds, seconds, progress):
    """Rows of the report: condition, table and mode with their medians."""
    samples = {}
    with Lab(programs, directory / "conditions", SHAPE, built_in.view_lines()) as lab:
        for number in range(rounds):
            for condition in CONDITIONS:
                progress(f"{condition}: round {number + 1} of {rounds}")
                for cell, sample in round_of(lab, condition, seconds):
                    samples.setdefault(cell, []).append(sample)
    return [{"condition": condition, "table": table, "mode": mode, **measure.median_of(of_one)}
            for (condition, table, mode), of_one in samples.items()]


def consoles(programs, directory, rounds, seconds, progress):
    """The same walk where what the module prints goes nowhere, and where it goes to a file."""
    labs = {}
    try:
        for name, output in {"/dev/null": "/dev/null", "a file": directory / "console-file"}.items():
            labs[name] = Lab(programs, directory / f"console-{len(labs)}", SHAPE, output=output)
        return measure.interleaved(
            {name: lambda _, lab=lab: library_walk(lab, measure.table_root("ports"), 25, seconds)
             for name, lab in labs.items()}, rounds, progress)
    finally:
        for lab in labs.values():
            lab.stop()
