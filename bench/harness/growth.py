"""How the module's cost grows, and what an idle lab takes: labs with nothing but the module."""

import itertools
import json
import sqlite3
import threading
import time
from contextlib import closing, contextmanager

from . import measure
from .processes import MODULE_ROOT, BenchError, Lab, run

# Ports, and the fabric that has as many.
SIZES = {
    1_000: {"vsans": 10, "switches": 10, "ports": 10, "platforms": 1},
    20_000: {"vsans": 20, "switches": 20, "ports": 50, "platforms": 1},
    200_000: {"vsans": 100, "switches": 40, "ports": 50, "platforms": 1},
}
MANY_VSANS = {"vsans": 4000, "switches": 1, "ports": 1, "platforms": 0}
STARTS = (10, 100, 4000)
ROLE_VSANS = 200
ROLE_SHAPE = {"vsans": ROLE_VSANS, "switches": 2, "ports": 5, "platforms": 0}
VISIBLE_ONE_IN = (1, 2, 10, 100)
PORT_COLUMNS = 6


def port_walk(lab, seconds, **options):
    return measure.walk(lab, measure.table_root("ports"), 25, seconds, **options)


def cost(sample):
    """CPU of agent and service for a varbind, in microseconds."""
    return sample["agent_us"] + sample["other_us"]


@contextmanager
def changing(lab):
    """Has another program change the store all the time, so that the service can keep no answer."""
    done = threading.Event()

    def change_it():
        with closing(sqlite3.connect(lab.directory / "fabric.db", isolation_level=None)) as store:
            store.execute("PRAGMA synchronous = OFF")
            for change in itertools.cycle((1, -1)):  # The same value would be no change.
                if done.wait(0.005):
                    return
                store.execute("UPDATE settings SET discovery_timeout = discovery_timeout + ?", (change,))

    thread = threading.Thread(target=change_it)
    thread.start()
    try:
        yield
    finally:
        done.set()
        thread.join()


def ports(programs, directory, rounds, seconds, progress):
    """Cost of a varbind by the number of ports and the answers, and the resident memory. Answers are those that the
    service has kept since the walk before, or made anew each time; each round begins in another VSAN."""
    labs = {}
    try:
        for size, shape in SIZES.items():
            progress(f"importing {size} ports")
            labs[size] = Lab(programs, directory / f"ports-{size}", shape)

        def contender(size, answers):
            def walk(number):
                start = f"1.2.{1 + number % rounds * SIZES[size]['vsans'] // rounds}"
                if answers == "kept":
                    return port_walk(labs[size], seconds, start=start, warm_up=2 * seconds)
                with changing(labs[size]):
                    return port_walk(labs[size], seconds, start=start)
            return walk

        samples = measure.interleaved({(size, answers): contender(size, answers) for answers in ("kept", "anew")
                                       for size in SIZES}, 3 * rounds, progress)
        return samples, {size: {"agent": measure.resident_kib(lab.agent), "service": measure.resident_kib(lab.service)}
                         for size, lab in labs.items()}
    finally:
        for lab in labs.values():
            lab.stop()


def history(programs, directory, rounds, seconds, progress):
    """Cost of a varbind with event history at detail level and without one, both of the same agent: the difference
    is smaller than that between two agents."""
    with Lab(programs, directory / "history", SIZES[1_000]) as lab:
        def contender(level):
            def measure_level(_):
                lab.reconfigure(f"fcsHistoryLevel {level}\n")
                return port_walk(lab, seconds)
            return measure_level

        return measure.interleaved({level: contender(level) for level in ("detail", "none")}, 3 * rounds, progress)


def role_lines(one_in):
    """A community `visibleN` whose role reads one VSAN in N: each VSAN that N divides."""
    name = f"visible{one_in}"
    vsans = ",".join(str(vsan) for vsan in range(one_in, ROLE_VSANS + 1, one_in))
    return (f"com2sec {name} default {name}\ngroup readers v2c {name}\n"
            f"fcsRole {name} {vsans} none\nfcsRoleUser {name} {name}\n")


def hidden_runs(one_in):
    """Runs of neighbouring VSANs that role_lines(one_in) hides: one in front of each visible VSAN."""
    return 0 if one_in == 1 else ROLE_VSANS // one_in


def restricted(programs, directory, rounds, seconds, progress):
    """Cost of a visible varbind and number of messages of a whole walk, by how much a role shows."""
    lines = "".join(role_lines(one_in) for one_in in VISIBLE_ONE_IN)
    with Lab(programs, directory / "roles", ROLE_SHAPE, lines) as lab:
        messages = {one_in: count_messages(lab, one_in) for one_in in VISIBLE_ONE_IN}
        walks = {one_in: lambda _, name=f"visible{one_in}": port_walk(lab, seconds, community=name)
                 for one_in in VISIBLE_ONE_IN}
        return measure.interleaved(walks, rounds, progress), messages


def requests_served(lab):
    """Messages of the agent that the service has answered since its start."""
    return json.loads(run(lab.programs.fcsctl, "--socket", lab.directory / "fcsd.sock", "status", "--json"))["requests"]


def count_messages(lab, one_in):
    """Messages of one walk by GETBULK of 25."""
    before = requests_served(lab)
    sample = json.loads(measure.manager(lab, "walk", "--root", measure.table_root("ports"), "--bulk", 25,
                                        community=f"visible{one_in}"))
    messages = requests_served(lab) - before
    # One message a request is what any walk takes. At the end of a column, a second one begins the next.
    return {"visible": sample["varbinds"], "messages": messages, "extra": messages - sample["requests"],
            "hidden_runs": hidden_runs(one_in) * PORT_COLUMNS}


def vsan_lists(vsans):
    """The two halves of a VSAN list that holds VSANs 1 to `vsans`, in hexadecimal."""
    bits = "1" * vsans + "0" * (4096 - vsans)
    halves = (bits[:2048], bits[2048:])
    return [f"{int(half, 2):0512x}" if "1" in half else "00" for half in halves]


def starts(programs, directory, rounds, progress):
    """Time and CPU of setting the VSAN lists and starting a discovery, and the time of invalidating, by the number of
    VSANs. Each number has a lab of its own, for a list is checked against what has been started before."""
    labs = {}
    try:
        for vsans in STARTS:
            progress(f"importing {MANY_VSANS['vsans']} VSANs")
            labs[vsans] = Lab(programs, directory / f"starts-{vsans}", MANY_VSANS)
        return measure.interleaved({vsans: lambda _, vsans=vsans: start(labs[vsans], vsans) for vsans in STARTS},
                                   rounds, progress)
    finally:
        for lab in labs.values():
            lab.stop()


def start(lab, vsans):
    first, second = vsan_lists(vsans)
    await_discoveries(lab)
    # A VSAN starts again only when the list is written after its discovery has been forgotten.
    invalidation = json.loads(measure.manager(lab, "set", f"{MODULE_ROOT}.1.1.8.0=x:{first}",
                                              f"{MODULE_ROOT}.1.1.9.0=x:{second}"))
    sample = json.loads(measure.manager(lab, "set", f"{MODULE_ROOT}.1.1.3.0=x:{first}",
                                        f"{MODULE_ROOT}.1.1.4.0=x:{second}", f"{MODULE_ROOT}.1.1.5.0=i:1"))
    return {"ms": 1e3 * sample["seconds"], "agent_ms": sample["cpu_us"]["agent"] / 1e3,
            "service_ms": sample["cpu_us"]["service"] / 1e3, "invalidation_ms": 1e3 * invalidation["seconds"]}


def await_discoveries(lab, seconds=30):
    """Waits until no discovery is in progress."""
    deadline = time.monotonic() + seconds
    in_progress = " 2 1"
    while any(row.endswith(in_progress) for row in
              measure.manager(lab, "rows", "--root", f"{MODULE_ROOT}.1.1.6.1.1", "--bulk", 25).splitlines()):
        if time.monotonic() > deadline:
            raise BenchError(f"discoveries are in progress for more than {seconds} s")
        time.sleep(0.1)


def idle(lab):
    """CPU of agent and service, in microseconds, over a second in which nobody asks, right behind a walk."""
    port_walk(lab, 0.2)
    return sum(measure.cpu_over(1.0, (lab.agent.pid, lab.service.pid)))
