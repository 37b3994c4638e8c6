"""A lab with the switches behind its agent, and what answers for each."""

import os

from lab import OPERATOR, Lab
from programs import output_of

# What answers for a switch, by the way that requests take to it.
PARTS = {"agentx": "fcs-agentx", "proxy": "snmpd"}


class FarLab(Lab):
    """A lab of two switches. Who asks its agent asks in the context of `switch`, as a user of v3 in that of the role."""

    def __init__(self, directory, way):
        super().__init__(directory)
        self.way, self.switch = way, "switch-1"

    def up(self):
        self.directory.mkdir(mode=0o700, exist_ok=True)
        local = self.directory / "fcs.local.conf"
        local.touch(0o600)
        local.write_text(self.settings)
        return super().up()

    def command_up(self, *words, **options):
        return super().command_up(*words, f"--{self.way}", "2", **options)

    def part(self):
        """What answers for the switch: its process id."""
        return self.pid(f"{self.switch}/{PARTS[self.way]}")

    def run(self, tool, options, *arguments, **more):
        context = self.switch + ("-operations" if options[:len(OPERATOR)] == OPERATOR else "")
        words = [f"{word}@{context}" if word in ("public", "private") else word for word in options]
        text = super().run(tool, [*words, "-n", context] if "-v3" in words else words, *arguments, **more)
        return text.replace("End of MIB\n", "")  # Where the plug-in's walk comes to the agent's own objects.

    def put(self, *bindings, **options):
        """The proxy says undoFailed of all SETs of several bindings that fail: the switch's own agent says why."""
        answer = super().put(*bindings, **options)
        if (self.way, answer) == ("proxy", "undoFailed") and len(bindings) > 1:
            switch = Lab(self.directory)
            switch.address = f"127.0.1.{self.switch[-1]}:{self.port}"
            return switch.put(*bindings, **options)
        return answer

    def control(self, *words):
        done = output_of([self.directory / self.switch / "fcsctl", *words])
        assert done.returncode == 0, done.stderr
        return done.stdout

    def log(self, since_restart=False):
        """That of what answers for the switch."""
        return (self.directory / self.switch / f"{PARTS[self.way]}.log").read_text()

    def answers_as(self, switch):
        """Whether a switch has an answer, whichever is asked otherwise."""
        options = ["-v2c", "-c", f"public@{switch}"]
        return "INTEGER" in Lab.run(self, "snmpget", options, "fcsIeNumber.0", timeout=5)

    def signal(self, number):
        os.kill(self.part(), number)
