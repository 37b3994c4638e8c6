"""Services of a test's own making, in place of the lab's."""

import os
import socket
import threading
import time
from contextlib import contextmanager

from lab import eventually
from service import GREETING, GREETING_REPLY, HEADER, MAGIC, MARK, NOTIFICATION, VERSION


@contextmanager
def false_service(lab, serve):
    """An agent that is pointed at a service of the test's own making, and connected: serve(connection) for each
    connection."""
    path = str(lab.directory / "false.sock")
    listener = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
    listener.bind(path)
    listener.listen(16)
    connections = []

    def accept():
        try:
            while True:
                connections.append(listener.accept()[0])
                threading.Thread(target=run, args=connections[-1:], daemon=True).start()
        except OSError:
            pass  # The listener is closed.

    def run(connection):
        try:
            serve(connection)
        except OSError:
            pass

    threading.Thread(target=accept, daemon=True).start()
    try:
        with lab.configured(f"fcsServiceSocket {lab.directory}/fcsd.sock", f"fcsServiceSocket {path}"):
            eventually(lambda: "exchanges: connected" in lab.log(since_restart=True))
            yield
            listener.shutdown(socket.SHUT_RDWR)
    finally:
        for end in [listener, *connections]:
            end.close()
        os.unlink(path)
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
