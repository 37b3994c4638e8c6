"""The module beside what else an agent can answer from: one agent, the same rows, in turn."""

import json
import sys

from . import built_in, measure
from .processes import MODULE_ROOT, REPOSITORY, BenchError, Lab, Running, run

SHAPE = {"vsans": 200, "switches": 2, "ports": 5, "platforms": 1}
MODES = {"GETNEXT": 0, "GETBULK 10": 10, "GETBULK 25": 25, "GETBULK 50": 50}
BENCH_ROOT = "1.3.6.1.4.1.32473.2"
# The module itself, by other ways: each has a context, and a community that leads there.
WAYS = ("fcs-agentx", "proxy")
# Where each contender has the module's rows. 32473 is the enterprise number for documentation.
ROOTS = {"memory": f"{BENCH_ROOT}.1", "AgentX": f"{BENCH_ROOT}.2", "pass_persist": f"{BENCH_ROOT}.3"}
# Octets of a request and of an answer on the service's socket: a header of 96, then the record.
ECHO_RECORDS = {"elements": (112, 648), "ports": (112, 132), "statistics": (104, 136)}


def write_rows(lab, path):
    """Writes what the module answers for its tables, as the row file of the other contenders."""
    with open(path, "w") as rows:
        for table, (number, _) in measure.TABLES.items():
            text = measure.manager(lab, "rows", "--root", measure.table_root(table), "--bulk", 25)
            rows.writelines(f"{number}.{line}\n" for line in text.splitlines())


def community_of(contender):
    return contender if contender in WAYS else "public"


class Comparison:
    """The running contenders."""

    def __init__(self, programs, directory, rows):
        self.rows = rows
        configuration = self._configuration(programs, directory, rows)
        self.lab = Lab(programs, directory / "comparison", SHAPE, configuration,
                       {"BENCH_MEMORY_ROOT": ROOTS["memory"], "BENCH_ROWS": str(rows)})
        try:
            self.behind, port = self.lab.start_agent_behind()
            self.lab.reconfigure(f"{configuration}proxy -Cn proxy -v2c -c public 127.0.0.1:{port} {MODULE_ROOT}\n")
            self.hosted = self._start_hosted(directory)
            self.subagent = self.lab.add(Running(
                "bench_subagent", [programs.subagent, f"unix:{directory}/agentx", directory / "subagent",
                                   ROOTS["AgentX"], rows], directory / "subagent.out"))
            self.subagent.wait_until(lambda: self._answers("AgentX"), self.subagent.output)
            self.same_rows()
        except BaseException:
            self.lab.stop()
            raise

    def _start_hosted(self, directory):
        place = self.lab.directory
        config = place / "fcs-agentx.conf"
        config.write_text(f"fcsServiceSocket {place}/fcsd.sock\nfcsHistoryFile {place}/fcs-agentx-history\n")
        hosted = self.lab.add(Running(
            "fcs-agentx", [self.lab.programs.agentx, "--master", f"unix:{directory}/agentx", "--context", "fcs-agentx",
                           "--config", config, "--state", place / "fcs-agentx"], place / "fcs-agentx.out"))
        hosted.wait_until(lambda: "answering for" in hosted.output.read_text(), hosted.output)
        return hosted

    @staticmethod
    def _configuration(programs, directory, rows):
        script = REPOSITORY / "bench" / "pass_rows.py"
        contexts = "".join(f"com2sec -Cn {way} all default {way}\naccess readers {way} any noauth exact everything none none\n"
                           for way in WAYS)
        return (f"{contexts}{built_in.view_lines()}dlmod bench_tables {programs.tables}\n"
                f"master agentx\nagentXSocket {directory}/agentx\n"
                f"pass_persist .{ROOTS['pass_persist']} {sys.executable} {script} {ROOTS['pass_persist']} {rows}\n")

    def root(self, contender, table):
        return measure.table_root(table) if contender in ("module", *WAYS) else \
            f"{ROOTS[contender]}.{measure.TABLES[table][0]}"

    def _rows_of(self, contender, table):
        return measure.manager(self.lab, "rows", "--root", self.root(contender, table), "--bulk", 25,
                               community=community_of(contender))

    def _answers(self, contender):
        return self._rows_of(contender, "statistics") != ""

    def same_rows(self):
        """Fails unless all contenders answer the same varbinds."""
        for table in measure.TABLES:
            expected = self._rows_of("module", table)
            for contender in (*ROOTS, *WAYS):
                if self._rows_of(contender, table) != expected:
                    raise BenchError(f"{contender} does not answer the {table} that the module answers")

    def processes(self, contender):
        """The agent, and the process that it asks."""
        pids = {"agent": self.lab.agent.pid}
        if contender in ("module", *WAYS):
            pids["service"] = self.lab.service.pid
        if contender == "fcs-agentx":
            pids["subagent"] = self.hosted.pid
        if contender == "proxy":
            pids["agent behind"] = self.behind.pid
        if contender == "AgentX":
            pids["subagent"] = self.subagent.pid
        if contender == "pass_persist":
            pids["script"] = self.lab.agent.children()[0]
        return pids

    def contenders(self, seconds):
        """Every cell of the comparison, as (contender, table, mode), with its measurement."""
        cells = {("built-in", "views", mode): self._walk(built_in.TABLES["vacmViewTreeFamilyTable"], bulk, seconds, "built-in")
                 for mode, bulk in MODES.items()}
        for table in measure.TABLES:
            for mode, bulk in MODES.items():
                for contender in ("module", *WAYS, *ROOTS):
                    cells[contender, table, mode] = self._walk(self.root(contender, table), bulk, seconds, contender)
            cells["socket echo", table, "exchange"] = self._echo(table, seconds)
        return cells

    def _walk(self, root, bulk, seconds, contender):
        processes = self.processes(contender)
        return lambda _: measure.walk(self.lab, root, bulk, seconds, processes=processes,
                                      community=community_of(contender))

    def _echo(self, table, seconds):
        request, reply = ECHO_RECORDS[table]
        return lambda _: measure.per_varbind(json.loads(run(
            self.lab.programs.echo, "--request", request, "--reply", reply, "--seconds", seconds)))
