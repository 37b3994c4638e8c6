"""Programs that a transcript plays (see tests/played_program.h)."""
import os
import subprocess


class PlayedProgram:
    def __init__(self, path):
        self.words = [*os.environ.get("FCS_EMULATOR", "").split(), f"{os.environ['FCS_BUILD']}/tests/{path}"]
        self.process = None

    def __enter__(self):
        return self

    def __exit__(self, *fault):
        self.end()

    def begin(self, *arguments):
        """Begins anew."""
        self.end()
        self.process = subprocess.Popen([*self.words, *arguments], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def end(self):
        process, self.process = self.process, None
        if process:
            process.communicate(timeout=60)
            assert process.returncode == 0, "the sanitizers tell what is wrong"

    def command(self, *words):
        """Gives a line for everything that happened."""
        self.process.stdin.write(" ".join(map(str, words)) + "\n")
        self.process.stdin.flush()
        lines = []
        while (line := self.process.stdout.readline().rstrip("\n")) != ".":
            assert self.process.poll() is None or line, f"the program has ended: {words}"
            lines.append(line)
        return lines
