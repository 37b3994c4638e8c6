"""Measurements of one agent: walks and SETs, with the CPU time of the processes that serve them."""

import json
import re
import statistics
import time
from pathlib import Path

from .processes import MODULE_ROOT, run

# The tables that are walked: number in a row file, and place below the module root.
TABLES = {"elements": (1, "1.1.11"), "ports": (2, "1.1.15"), "statistics": (3, "1.2.2")}


def table_root(table):
    """OID of a table of the module."""
    return f"{MODULE_ROOT}.{TABLES[table][1]}"


def manager(lab, command, *arguments, processes=None, community="public", timeout=120):
    names = processes or {"agent": lab.agent.pid, "service": lab.service.pid}
    words = [word for name, pid in names.items() for word in ("--process", f"{name}={pid}")]
    return run(lab.programs.manager, command, "--port", lab.port, "--community", community, *words, *arguments,
               timeout=timeout)


def per_varbind(sample):
    """A sample of bench_manager or bench_echo in the units of the report, or None without a varbind."""
    varbinds = sample["varbinds"]
    return {
        "rate": varbinds / sample["seconds"],
        "us": 1e6 * sample["seconds"] / varbinds,
        "agent_us": sample["cpu_us"]["agent"] / varbinds,
        "other_us": sum(us for name, us in sample["cpu_us"].items() if name != "agent") / varbinds,
        "p50_us": sample["p50_us"],
        "p99_us": sample["p99_us"],
        "varbinds": varbinds,
    }


def walk(lab, root, bulk, seconds, start="", warm_up=0.05, command="walk", **options):
    arguments = ["--root", root, "--bulk", bulk, "--seconds", seconds, "--warm-up", warm_up]
    if start:
        arguments += ["--from", start]
    return per_varbind(json.loads(manager(lab, command, *arguments, **options)))


def median_of(samples):
    """Of samples in the same units: the median of each, and the spread of each."""
    return {key: statistics.median(sample[key] for sample in samples) for key in samples[0]} | {
        f"{key}_{name}": pick(sample[key] for sample in samples)
        for key in samples[0] for name, pick in (("min", min), ("max", max))}


def interleaved(contenders, rounds, progress):
    """Measures contenders in turn, several rounds: contenders maps a name to a function of the round."""
    samples = {name: [] for name in contenders}
    for number in range(rounds):
        progress(f"round {number + 1} of {rounds}")
        for name, measure in contenders.items():
            samples[name].append(measure(number))
    return samples


def resident_kib(process):
    return int(re.search(r"VmRSS:\s+(\d+)", Path(f"/proc/{process.pid}/status").read_text())[1])


def cpu_over(seconds, pids):
    """CPU time of processes, in microseconds, over so many seconds from now."""
    before = [cpu_us(pid) for pid in pids]
    time.sleep(seconds)
    return [cpu_us(pid) - start for pid, start in zip(pids, before)]


def cpu_us(pid):
    """CPU time of a process, by the clock that Linux has for it: its number is the inverted process id, times 8, plus
    2 for scheduler time (what clock_getcpuclockid computes)."""
    return time.clock_gettime_ns((~pid << 3) | 2) / 1e3
