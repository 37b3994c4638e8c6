"""Debian's monitoring programs, unpacked by scripts/check, with what monitoring/ has for them."""

import contextlib
import json
import os
import re
import socket
import subprocess
import urllib.parse
import urllib.request

from programs import REPOSITORY, eventually, free_port

MONITORING = REPOSITORY / "monitoring"
PROMETHEUS = MONITORING / "prometheus"
UNPACKED = REPOSITORY / "build" / "monitoring"
os.environ["PATH"] = ":".join(map(str, [*UNPACKED.glob("*/usr/*bin"), *UNPACKED.glob("*/usr/lib/nagios/plugins"),
                                        os.environ["PATH"]]))
MIBS = {**os.environ, "MIBS": "ZEPHRIN-FCS-MIB", "MIBDIRS": f"{REPOSITORY}/mibs:{REPOSITORY}/build/smi"}


@contextlib.contextmanager
def running(*command, **options):
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)
    try:
        yield
    finally:
        process.terminate()
        process.wait(10)


def listens(address):
    host, port = address.split(":")
    with socket.socket() as probe:
        return probe.connect_ex((host, int(port))) == 0


@contextlib.contextmanager
def exporter(modules):
    """The address of an exporter with the modules of this file, once it listens there."""
    address = f"127.0.0.1:{free_port(socket.SOCK_STREAM)}"
    with running("prometheus-snmp-exporter", f"--config.file={modules}", f"--web.listen-address={address}"):
        eventually(lambda: listens(address))
        yield address


class Prometheus:
    """Prometheus and its exporter with the files of monitoring/prometheus, but with short intervals."""

    def __init__(self, directory, agent, stack):
        scraped = stack.enter_context(exporter(PROMETHEUS / "snmp.yml"))
        self.address = f"127.0.0.1:{free_port(socket.SOCK_STREAM)}"
        for name, edits in [("prometheus.yml", [("127.0.0.1:9116", scraped), ("(interval|_timeout): .*", r"\1: 2s")]),
                            ("fcs.rules.yml", [(r"\bfor: .*", "for: 0s"), ("interval: .*", "interval: 2s")]),
                            ("fcs.targets.yml", [("127.0.0.1:1161", agent)])]:
            text = (PROMETHEUS / name).read_text()
            for old, new in edits:
                assert re.search(old, text)
                text = re.sub(old, new, text)
            (directory / name).write_text(text)
        stack.enter_context(running("prometheus", f"--config.file={directory}/prometheus.yml",
                                    f"--storage.tsdb.path={directory}/data", f"--web.listen-address={self.address}"))

    def query(self, expression):
        """[(labels, value)] of an instant query; empty as long as Prometheus does not answer."""
        url = f"http://{self.address}/api/v1/query?{urllib.parse.urlencode({'query': expression})}"
        try:
            with urllib.request.urlopen(url, timeout=20) as reply:
                answer = json.load(reply)
        except urllib.error.URLError as error:
            assert getattr(error, "code", 503) == 503, f"{expression}: {error.read().decode()}"
            return []
        return [(series["metric"], float(series["value"][1])) for series in answer["data"]["result"]]

    def rows(self, expression, *labels):
        """The series of a query as a set of tuples: these labels, then the value."""
        return {(*(metric.get(label, "") for label in labels), value) for metric, value in self.query(expression)}

    def alerts(self, name, *labels):
        return {row[:-1] for row in self.rows(f'ALERTS{{alertname="{name}", alertstate="firing"}}', *labels)}
