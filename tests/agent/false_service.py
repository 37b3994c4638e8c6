"""Services of a test's own making, in place of the lab's."""

import os
import socket
import threading
from contextlib import contextmanager

from lab import READER, ROOT, eventually


@contextmanager
def false_service(lab, serve):
    """An agent that is pointed at a service of the test's own making: serve(connection) for each connection."""
    path = str(lab.directory / "false.sock")
    listener = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
    listener.bind(path)
    listener.listen(16)
    connections = []

    def accept():
        while True:
            try:
                connection, _ = listener.accept()
            except OSError:
                return
            connections.append(connection)
            threading.Thread(target=run, args=(connection,), daemon=True).start()

    def run(connection):
        try:
            serve(connection)
        except OSError:
            pass

    threading.Thread(target=accept, daemon=True).start()
    real = f"fcsServiceSocket {lab.directory}/fcsd.sock"
    lab.reconfigure(lambda text: text.replace(real, f"fcsServiceSocket {path}"))
    try:
        yield
    finally:
        listener.shutdown(socket.SHUT_RDWR)
        listener.close()
        for connection in connections:
            connection.close()
        os.unlink(path)
        lab.reconfigure(lambda text: text.replace(f"fcsServiceSocket {path}", real))
        eventually(lambda: "INTEGER" in lab.run("snmpget", READER, f"{ROOT}.1.1.10.0"))
