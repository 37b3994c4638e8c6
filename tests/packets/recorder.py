"""Real requests of every kind: what Net-SNMP's tools send to the agent, heard on the way."""

import select
import socket
import subprocess
import threading

from lab import REPOSITORY, ROOT, v3

COMMUNITIES = [["-v1", "-c", "private"], ["-v2c", "-c", "private"]]
USERS = [v3("admin"), v3("operator")]
NAME = "32.0.0.0.94.0.83.161"

# What is written, in the order of a manager's work; the words of snmpset.
SETS = [
    ["1.1.1.0", "i", "0", "1.1.2.0", "s", "night", "1.1.3.0", "x", "80", "1.1.4.0", "x", "80"],
    ["1.1.5.0", "i", "1"],
    ["1.1.7.0", "u", "600"],
    ["1.1.8.0", "x", "40", "1.1.9.0", "x", "80"],
    ["1.1.20.0", "i", "1", "1.1.21.0", "i", "1"],
    ["1.1.12.1.3.11.9", "x", "c0000263", "1.1.12.1.5.11.9", "i", "4"],
    ["1.1.12.1.5.11.9", "i", "6"],
    ["1.1.18.1.2.1.9", "s", "host", "1.1.18.1.9.1.9", "i", "4"],
    ["1.1.18.1.3.1.9", "i", "6", "1.1.18.1.4.1.9", "i", "1", "1.1.18.1.5.1.9", "i", "11", "1.1.18.1.7.1.9", "i", "1"],
    ["1.1.18.1.9.1.9", "i", "6"],
    [f"1.1.19.1.4.1.{NAME}", "i", "4"],
    [f"1.1.19.1.4.1.{NAME}", "i", "6"],
]


def objects():
    """OID suffixes of the registered objects: scalars, columns."""
    suffixes = [line.split()[0] for line in (REPOSITORY / "tests/mib/objects.txt").read_text().splitlines()
                if line.endswith((" RO", " RW"))]
    return [s for s in suffixes if s.count(".") == 2], [s for s in suffixes if s.count(".") > 2]


def commands():
    """The tools' command lines, without the agent's address and the module root."""
    scalars, columns = objects()
    for asker in COMMUNITIES + USERS:
        by_user = asker in USERS  # Whose packets are signed: few of them get far when they are spoilt.
        yield ["snmpget", *asker], [f"{scalar}.0" for scalar in scalars]
        yield ["snmpgetnext", *asker], columns[:24]
        yield ["snmpgetnext", *asker], columns[24:]
        if "-v1" not in asker:
            yield ["snmpbulkget", "-Cn1", "-Cr20", *asker], [scalars[0], columns[2], columns[10]]
        for column in columns[:: 20 if by_user else 5]:
            yield ["snmpget", *asker], [f"{column}.1.{NAME}"]
        for words in SETS[:2] if by_user else SETS:
            yield ["snmpset", *asker], words


class Recorder:
    """Passes packets on between the tools and the agent, and keeps those of the tools."""

    def __init__(self, agent_port):
        self.packets = []
        self.tools = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.tools.bind(("127.0.0.1", 0))
        self.agent = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.agent.connect(("127.0.0.1", agent_port))
        self.port = self.tools.getsockname()[1]

    def pass_on(self, ended):
        tool = None
        while not ended.is_set():
            for ready in select.select([self.tools, self.agent], [], [], 0.1)[0]:
                if ready is self.tools:
                    packet, tool = self.tools.recvfrom(65535)
                    self.packets.append(packet)
                    self.agent.send(packet)
                elif tool:
                    self.tools.sendto(self.agent.recv(65535), tool)


def record(lab):
    """The requests, as lists of octets; every tool's answer has come."""
    recorder = Recorder(lab.port)
    ended = threading.Event()
    thread = threading.Thread(target=recorder.pass_on, args=(ended,))
    thread.start()
    try:
        for tool, words in commands():
            named = [f"{ROOT}.{word}" if "." in word else word for word in words]
            done = subprocess.run([tool[0], "-r", "0", "-t", "10", *tool[1:], f"127.0.0.1:{recorder.port}", *named],
                                  capture_output=True, text=True, timeout=30, env=lab.environment)
            assert "Timeout" not in done.stderr, (tool, words, done.stderr)
    finally:
        ended.set()
        thread.join()
    return recorder.packets
