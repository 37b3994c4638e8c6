#!/usr/bin/env python3
"""How long other questions to the agent wait while a manager or the service does its worst.

Each case has a lab of its own. While it lasts, sysUpTime.0 is asked for again and again. The table has the median, the
99th percentile and the longest of the waits, the limit of a quiet machine (exit status 1 when a wait was longer), and
by how much the agent has grown. FCS_BUILD names the build directory, as in the other tests (default build).
"""

import argparse
import ctypes
import os
import struct
import sys
import tempfile
import time
from contextlib import contextmanager
from pathlib import Path

sys.dont_write_bytecode = True
sys.path[:0] = [str(Path(__file__).resolve().parents[1] / "support")]

from false_service import slow_service  # noqa: E402
from lab import ADMIN, READER, ROOT, UPTIME, Lab  # noqa: E402
from load import PATIENCE, Waits, ask  # noqa: E402
from programs import SAMPLE, eventually, footprint, run  # noqa: E402
from snmp_message import GET, GETBULK, INTEGER, NULL, OCTETS, SET  # noqa: E402

LAB = {"exchange_timeout": 200}
# The agent's allocator gives nothing back: what it keeps for later or not would be most of the growth that is measured.
os.environ |= {"MALLOC_TRIM_THRESHOLD_": str(1 << 30), "MALLOC_MMAP_THRESHOLD_": str(1 << 30)}
ALL_2K, SOME_4K = b"\xff" * 256, b"\xff" * 244  # VSANs 1 to 2048, 2049 to 4000.


def write(lab, *bindings):
    assert ask(lab.port, "private", SET, bindings) == 0


@contextmanager
def renames_in(directory):
    """A function that tells how many files of a directory have been renamed since it was last called."""
    libc, moved_from = ctypes.CDLL(None), 0x40
    watch = libc.inotify_init1(os.O_NONBLOCK)
    assert libc.inotify_add_watch(watch, os.fsencode(directory), moved_from) >= 0

    def count():
        try:
            events, count = os.read(watch, 1 << 20), 0
        except BlockingIOError:
            return 0
        while events:
            events, count = events[16 + struct.unpack_from("I", events, 12)[0] :], count + 1
        return count

    try:
        yield count
    finally:
        os.close(watch)


@contextmanager
def announcements(lab, event, opcode):
    with slow_service(lab, 0.15, repeated=opcode):
        def act():
            lab.control("event", event, "--vsan", "1")
            time.sleep(3)
        yield act


def rejections(lab):
    """The service answers in 150 ms, and never stops rejecting."""
    return announcements(lab, "reject", 1407)


def completions(lab):
    """The service answers in 150 ms, and never stops completing a discovery."""
    return announcements(lab, "complete", 1409)


@contextmanager
def switches(lab):
    """One packet changes a notification switch 2,500 times."""
    def act():
        with renames_in(lab.directory / "agent") as writes_of_the_store:
            values = [bytes([1 + left % 2]) for left in reversed(range(2500))]
            write(lab, *[("fcsReqRejNotifyEnable.0", INTEGER, value) for value in values])
            return f"persistent file written {eventually(writes_of_the_store, seconds=60)} times"
    yield act


@contextmanager
def slow_invalidation(lab):
    """An invalidation of 2,048 VSANs, each exchange in 20 ms."""
    with slow_service(lab, 0.02):
        yield lambda: write(lab, ("fcsDiscoveryInvalidateCache2k.0", OCTETS, ALL_2K))


@contextmanager
def slow_walk(lab):
    """A GETBULK of 50 rows, each exchange in 150 ms."""
    with slow_service(lab, 0.15):
        yield lambda: ask(lab.port, "public", GETBULK, [(f"{ROOT}.1.1.11", NULL, b"")], (0, 50)) and None


@contextmanager
def start(lab):
    """A discovery of 4,000 VSANs is started."""
    write(lab, ("fcsVsanDiscoveryList2k.0", OCTETS, ALL_2K), ("fcsVsanDiscoveryList4k.0", OCTETS, SOME_4K))
    yield lambda: write(lab, ("fcsStartDiscovery.0", INTEGER, b"\x01"))


@contextmanager
def invalidation(lab):
    """4,000 VSANs are invalidated."""
    yield lambda: write(lab, ("fcsDiscoveryInvalidateCache2k.0", OCTETS, ALL_2K),
                        ("fcsDiscoveryInvalidateCache4k.0", OCTETS, SOME_4K))


@contextmanager
def failing_sets(lab):
    """SETs that fail in ACTION leave 60,000 rows with the agent, if it keeps them."""
    def rows(first, count=600):
        for row in range(first, first + count):
            yield f"fcsMgmtAddr.91.{row}", OCTETS, b"x"
            yield f"fcsMgmtAddrRowStatus.91.{row}", INTEGER, b"\x01"  # active

    def act():
        answers = [ask(lab.port, "private", SET, list(rows(first))) for first in range(1, 60000, 600)]
        new = ["fcsMgmtAddr.91.1 s 192.0.2.91", "fcsMgmtAddrRowStatus.91.1 i 4"]
        assert lab.put(*new, options=ADMIN) == lab.put("fcsMgmtAddrRowStatus.91.1 i 6") == "noError", "another user"
        return f"error statuses {sorted(set(answers))}"
    yield act


@contextmanager
def spoilt_history(lab):
    """The event history says that its oldest record lies behind its end."""
    def act():
        with open(lab.directory / "history", "r+b") as history:
            history.seek(16)
            history.write(b"\xff" * 7 + b"\x7f")
        lab.run("snmpwalk", READER, ROOT)
    yield act


# The longest wait in seconds. A request begins no exchange when it has spent ten time-outs, of 200 ms.
CASES = {switches: 0.1, slow_walk: 2.3, slow_invalidation: 2.3, rejections: 0.3, completions: 0.3, start: 0.15,
         invalidation: 0.3, failing_sets: 0.1, spoilt_history: 0.1}
IN_4000_VSANS = (start, invalidation)


def inflict(lab, case):
    """\\return the waits of a case, the kilobytes by which the agent has grown, and what else there is to say."""
    with case(lab) as act, Waits(lab) as waits:
        for community, kind in (("public", GET), ("private", SET)):  # The agent keeps the room of its largest requests.
            ask(lab.port, community, kind, [(UPTIME, NULL, b"")] * 2500)
        before = footprint(lab.agent)[1]
        try:
            note = act() or ""
        except TimeoutError:
            note = f"not answered within {PATIENCE:.0f} s"
        growth = footprint(lab.agent)[1] - before
    return waits, growth, note


def report(case):
    """Prints the case's line. \return whether it has kept its limit."""
    with tempfile.TemporaryDirectory(prefix="fcs-hostile.") as directory:
        fabric = SAMPLE
        if case in IN_4000_VSANS:
            fabric = Path(directory, "fabric.json")
            run("fcsctl", "generate", *"--vsans 4000 --switches 1 --ports 1 --platforms 0 --output".split(), fabric)
        with Lab(Path(directory, "lab"), fabric, **LAB) as lab:
            waits, growth, note = inflict(lab, case)
    figures = [*map(waits.percentile, (0.5, 0.99, 1)), CASES[case] * 1e3]
    print(f"{case.__name__:18}", *(f"{figure:9.1f}" for figure in figures), f"{growth:9}", "", note, flush=True)
    return waits.percentile(1) <= CASES[case] * 1e3


def main():
    names = {case.__name__: case for case in CASES}
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter, epilog=(
        "cases:\n" + "\n".join(f"  {name:18}{case.__doc__}" for name, case in names.items())))
    parser.add_argument("case", nargs="*", help="which cases (default all)")
    chosen = parser.parse_args().case or list(names)
    if unknown := [name for name in chosen if name not in names]:
        parser.error(f"unknown case '{unknown[0]}'")
    print(f"{'milliseconds':18}", *(f"{title:>9}" for title in ("median", "99 %", "longest", "limit", "more kB")))
    return 0 if all([report(names[name]) for name in chosen]) else 1


if __name__ == "__main__":
    sys.exit(main())
