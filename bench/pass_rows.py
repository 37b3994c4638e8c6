#!/usr/bin/python3
"""Serves the tables of a row file to snmpd's pass_persist: pass_rows.py ROOT ROWS-FILE."""

import sys
from bisect import bisect_right

TYPES = {2: "integer", 4: "octet", 65: "counter", 66: "gauge"}


def read_rows(root, path):
    """The names in their order, and what pass_persist wants to hear of each."""
    rows = []
    with open(path) as lines:
        for line in lines:
            suffix, kind, value = line.split()
            if kind == "4":
                value = "" if value == "-" else " ".join(value[i : i + 2] for i in range(0, len(value), 2))
            name = f"{root}.{suffix}"
            rows.append((sub_identifiers(name), f".{name}\n{TYPES[int(kind)]}\n{value}\n"))
    rows.sort()
    return [name for name, _ in rows], [answer for _, answer in rows]


def sub_identifiers(name):
    return tuple(int(number) for number in name.strip(".").split("."))


def serve(names, answers):
    while command := sys.stdin.readline().strip():
        answer = "NONE\n"
        if command == "PING":
            answer = "PONG\n"
        elif command in ("get", "getnext"):
            asked = sub_identifiers(sys.stdin.readline().strip())
            place = bisect_right(names, asked) - (command == "get")
            if 0 <= place < len(names) and (command == "getnext" or names[place] == asked):
                answer = answers[place]
        sys.stdout.write(answer)
        sys.stdout.flush()


if __name__ == "__main__":
    serve(*read_rows(sys.argv[1].strip("."), sys.argv[2]))
