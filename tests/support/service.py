"""The service and its tools as programs, and a client of the service's socket."""

import json
import re
import signal
import sqlite3
import struct
import subprocess
from collections import namedtuple
from contextlib import closing
from socket import AF_UNIX, SOCK_SEQPACKET, socket
from types import SimpleNamespace

from programs import PROGRAMS, REPOSITORY, SAMPLE, SANITIZERS, command, eventually, run

ORDER = ">" if PROGRAMS["fcsd"].open("rb").read(6)[5] == 2 else "<"  # Of the words of the machine it is built for.
FCS = SimpleNamespace(**{name: int(value) for header in (
    "feature/fabric_conf_server/fcs_protocol.h", "service/protocol/fcs_control.h") for name, value in re.findall(
        r"\bFCS_(\w+) = (\d+)\b", (REPOSITORY / header).read_text())})
EXCHANGE, NOTIFICATION, CONTROL, MARK = 1, 2, 3, 0x01020304
MAGIC, VERSION = b"FCS-IPC\0", 3
HEADER, GREETING, GREETING_REPLY = (struct.Struct(ORDER + form) for form in ("IIIiIIiI64s32s", "8sIII", "8sIII108s"))
Reply = namedtuple("Reply", "result rows end payload")


def alter(store, *statements):
    """Alters the store of a service that does not run; what its statements find."""
    with closing(sqlite3.connect(store)) as database:
        return [row for statement in statements for row in database.execute(statement)]


def words(*values):
    return struct.pack(f"{ORDER}{len(values)}I", *values)


class Client(socket):
    def __init__(self, path, purpose=None):
        super().__init__(AF_UNIX, SOCK_SEQPACKET)
        self.settimeout(10)
        self.connect(str(path))
        self.sequence = 0
        assert purpose is None or self.greet(GREETING.pack(MAGIC, MARK, VERSION, purpose)) == ""

    def greet(self, greeting=GREETING.pack(MAGIC, MARK, VERSION, EXCHANGE)):
        """Why the greeting was refused; empty if it was not."""
        try:
            assert not greeting or self.send(greeting)
            *header, accepted, reason = GREETING_REPLY.unpack(self.recv(1000))
        except ConnectionError:
            return "dropped"
        assert header == [MAGIC, MARK, VERSION] and accepted == (reason[0] == 0)
        return reason.rstrip(b"\0").decode()

    def ask(self, opcode, flag, payload=b"", rows=0, shown=b"", processor=0):
        self.sequence += 1
        user = b'an operator\n"2\x7f'
        self.send(HEADER.pack(self.sequence, opcode, flag, 0, 7, rows, 0, processor, user, shown) + payload)
        return self.reply(self.sequence, opcode)

    def reply(self, *repeated):
        message = self.recv(100000)
        *header, flag, result, session, rows, end, processor, user, shown = HEADER.unpack_from(message)
        assert header == [*repeated] and not (flag or session or processor or any(user + shown))
        return Reply(result, rows, end, message[HEADER.size:])

    def record(self, operation, record_id, request=b"", rows=0, shown=()):
        """Shown are ranges of VSANs."""
        ranges = struct.pack(f"{ORDER}{2 * len(shown)}H", *(vsan for ends in shown for vsan in ends))
        return self.ask(FCS.MSG_REQUEST, operation, words(record_id) + request, rows, ranges)

    def word(self, record_id):
        return struct.unpack(ORDER + "I", self.record(FCS.OP_GET, record_id).payload)[0]

    def expect(self, opcode, *payload):
        """A notification with these words, or octets behind them."""
        octets = [part if isinstance(part, bytes) else words(part) for part in payload]
        assert self.reply(0, opcode).payload == b"".join(octets)

    def is_dropped(self):
        try:
            return not self.recv(1) or self.is_dropped()
        except ConnectionResetError:
            return True


class Service:
    """One that runs in a directory of its own. A discovery takes milliseconds."""

    def __init__(self, directory, *options, fabric=None, scale=1000):
        self.socket, self.store, self.log_file = directory / "s", directory / "store" / "fabric.db", directory / "log"
        self.store.parent.mkdir()
        if fabric:
            self.import_(fabric)
        self.options = ["--socket", self.socket, "--store", self.store, "--time-scale", scale, *options,
                        *([] if fabric else ["--fabric", SAMPLE])]
        self.start()

    def start(self):
        with self.log_file.open("a") as log:
            self.process = subprocess.Popen(command("fcsd", *self.options), stdout=log, stderr=log)
        self.logs(f"[{self.process.pid}]: ready: ")

    def stop(self, with_signal=signal.SIGTERM):
        self.process.send_signal(with_signal)
        assert self.process.wait(20) == (0 if with_signal == signal.SIGTERM else -with_signal), self.log()
        assert not any(sign in self.log() for sign in SANITIZERS), self.log()

    def restart(self):
        self.stop()
        self.start()

    def log(self):
        return self.log_file.read_text()

    def logs(self, text):
        eventually(lambda: text in self.log() or self.process.poll() is not None, seconds=20)
        assert text in self.log(), self.log()

    def client(self, purpose=EXCHANGE):
        return Client(self.socket, purpose)

    def fcsctl(self, *arguments, text=""):
        return run("fcsctl", "--socket", self.socket, "--store", self.store, *arguments, text=text)

    def import_(self, fabric):
        status, output = self.fcsctl("import", "-", text=json.dumps(fabric))
        assert status == 0, output
        return output

    def text(self):
        return self.fcsctl("export")[1]

    def status(self):
        return json.loads(self.fcsctl("status", "--json")[1])

    def is_alive(self):
        return self.client().word(FCS.REC_PORT_COUNT) == 48
