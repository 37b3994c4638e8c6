"""Programs that a transcript plays (see tests/played_program.h)."""
import os
import subprocess


class PlayedProgram:
    def __init__(self, path):
        program = [*os.environ.get("FCS_EMULATOR", "").split(), f"{os.environ['FCS_BUILD']}/tests/{path}"]
        self.process = subprocess.Popen(program, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def __enter__(self):
        return self

    def __exit__(self, *fault):
        self.process.stdin.close()
        assert self.process.wait(60) == 0, "the sanitizers tell what is wrong"

    def command(self, *words):
        """Gives a line for everything that happened."""
        self.process.stdin.write(" ".join(map(str, words)) + "\n")
        self.process.stdin.flush()
        lines = []
        while (line := self.process.stdout.readline().rstrip("\n")) != ".":
            assert self.process.poll() is None or line, f"the program has ended: {words}"
            lines.append(line)
        return lines

    def start(self):
        """Everything as at first."""
        self.command("start")

    def take(self, step):
        """Takes a step of a transcript; gives what came of it, as events."""
        return self.command(step)
