"""Services of a test's own making, in place of the lab's."""

import socket
import sys
import threading
import time
from contextlib import contextmanager
from socketserver import ThreadingUnixStreamServer

from lab import eventually
from service import GREETING, GREETING_REPLY, HEADER, MAGIC, MARK, NOTIFICATION, VERSION


class Server(ThreadingUnixStreamServer):
    socket_type, daemon_threads = socket.SOCK_SEQPACKET, True

    def handle_error(self, *_):
        if not isinstance(sys.exception(), OSError):  # As it is when the agent has hung up.
            raise


@contextmanager
def false_service(lab, serve):
    """An agent that is pointed at a service of the test's own making, and connected: serve(connection) for each
    connection."""
    path = lab.directory / "false.sock"
    with Server(str(path), lambda connection, *_: serve(connection)) as server:
        threading.Thread(target=server.serve_forever, args=[0.02], daemon=True).start()
        try:
            with lab.configured(f"fcsServiceSocket {lab.directory}/fcsd.sock", f"fcsServiceSocket {path}"):
                eventually(lambda: "exchanges: connected" in lab.log(since_restart=True))
                yield
        finally:
            server.shutdown()
            path.unlink()
    eventually(lab.answers)


def answering(payload, pause=0):
    """Serves each request with the same octets, after a while."""
    def serve(connection):
        connection.recv(GREETING.size)
        connection.send(GREETING_REPLY.pack(MAGIC, MARK, VERSION, 1, b""))
        while request := connection.recv(2000):
            time.sleep(pause)
            sequence, opcode = HEADER.unpack_from(request)[:2]
            connection.send(HEADER.pack(sequence, opcode, 0, 0, 0, 0, 0, 0, b"", b"") + payload)

    return serve


def slow_service(lab, seconds, repeated=None):
    """The lab's service, but each answer takes a while, and the first notification with the opcode `repeated` comes
    again and again."""
    def serve(connection):
        with socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET) as service:
            service.connect(str(lab.directory / "fcsd.sock"))
            greeting = connection.recv(GREETING.size)
            service.send(greeting)
            connection.send(service.recv(GREETING_REPLY.size))
            if GREETING.unpack(greeting)[3] == NOTIFICATION:
                while notification := service.recv(1 << 17):
                    connection.send(notification)
                    while HEADER.unpack_from(notification)[1] == repeated:
                        connection.send(notification)
            while request := connection.recv(1 << 17):
                service.send(request)
                reply = service.recv(1 << 17)
                time.sleep(seconds)
                connection.send(reply)

    return false_service(lab, serve)
