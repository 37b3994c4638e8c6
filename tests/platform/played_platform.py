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

    def start(self):
        """A new agent, with a directory of its own."""
        self.directory = tempfile.mkdtemp(dir=self.above)
        self.begin(self.directory)

    def take(self, step):
        """Takes a step of a transcript; gives what came of it, as events."""
        step = re.sub(r"(\S)\*(\d+)", lambda run: run[1] * int(run[2]), step.replace("~", self.directory))
        what, _, rest = step.partition(" ")
        own = getattr(self, "take_" + what.replace("-", "_"), None)
        events = own(rest) if own else self.command(step)
        replacements = [(self.directory, "~"), (f"user id {os.geteuid()}", "its own user id")]
        return [with_all(event, replacements) for event in events]

    def take_connect(self, _):
        """Has both connections up without a word."""
        for step in ("open", "pass 0"):
            self.command(step)
        return []

    def take_wait(self, _):
        """Passes the time by until something happens, at most for 20 seconds."""
        for waited in range(250, 20001, 250):
            if events := self.command("pass 250"):
                break
        return [*events, f"after {waited} ms"]

    def take_configuration(self, lines):
        """Lines of the file that the agent reads."""
        pathlib.Path(self.directory, "fcs.conf").write_text(lines.replace(";", "\n") + "\n")
        return []

    def take_stored(self, _):
        """What the agent has stored of the switches since this was last shown."""
        if not (file := pathlib.Path(self.directory, "snmpd.conf")).exists():
            return []
        lines = file.read_text().splitlines()
        file.unlink()
        return [line for line in lines if line.startswith("fcs")]

    def take_size(self, file):
        return [f"{os.path.getsize(file)} octets" if os.path.exists(file) else "no file"]

    def take_resize(self, words):
        file, size = words.split()
        os.truncate(file, int(size))
        return []
