"""The platform as a program, and the steps that are taken beside it."""
import os
import pathlib
import re
import tempfile

from played_program import PlayedProgram
from transcript import with_all


class PlayedPlatform(PlayedProgram):
    def __init__(self, directory):
        super().__init__("platform/played_platform")
        self.above = directory
        self.beside = {"connect": self.connect, "wait": self.wait, "configuration": self.configure, "stored": self.stored,
                       "size": self.size, "resize": self.resize}

    def start(self):
        """A new agent, with a directory of its own."""
        self.directory = tempfile.mkdtemp(dir=self.above)
        self.begin(self.directory)

    def take(self, step):
        """Takes a step of a transcript; gives what came of it, as events."""
        step = re.sub(r"(\S)\*(\d+)", lambda run: run[1] * int(run[2]), step.replace("~", self.directory))
        what, _, rest = step.partition(" ")
        events = self.beside[what](rest) if what in self.beside else self.command(step)
        replacements = [(self.directory, "~"), (f"user id {os.geteuid()}", "its own user id")]
        return [with_all(event, replacements) for event in events]

    def connect(self, _):
        """Has both connections up without a word."""
        for step in ("open", "pass 0"):
            self.command(step)
        return []

    def wait(self, _):
        """Passes the time by until something happens, at most for 20 seconds."""
        for waited in range(250, 20001, 250):
            if events := self.command("pass 250"):
                break
        return [*events, f"after {waited} ms"]

    def configure(self, lines):
        """Lines of a file that the agent is told to read behind one that is not there."""
        pathlib.Path(self.directory, "fcs.conf").write_text(lines.replace(";", "\n") + "\n")
        return self.command(f"files {self.directory}/none,{self.directory}/fcs.conf")

    def stored(self, _):
        """What the agent has stored of the switches since this was last shown."""
        if not (file := pathlib.Path(self.directory, "snmpd.conf")).exists():
            return []
        lines = file.read_text().splitlines()
        file.unlink()
        return [line for line in lines if line.startswith("fcs")]

    def size(self, file):
        return [f"{os.path.getsize(file)} octets" if os.path.exists(file) else "no file"]

    def resize(self, words):
        file, size = words.split()
        os.truncate(file, int(size))
        return []
