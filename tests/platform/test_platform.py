# The transcripts of the platform. What a line says is found in played_platform.cpp under its first word, and in
# history_steps.cpp; "~" is a directory of the test's own.
import os
import re
import tempfile

import pytest
import transcript
from played_program import PlayedProgram

PAGES = transcript.pages_beside(__file__)


class PlayedPlatform(PlayedProgram):
    def start(self):
        self.directory = tempfile.TemporaryDirectory()
        self.command("start", self.directory.name)

    def take(self, step):
        step = re.sub(r"(\S)\*(\d+)", lambda run: run[1] * int(run[2]), step)
        events = self.command(step.replace("~", self.directory.name))
        replacements = [(self.directory.name, "~"), (f"user id {os.geteuid()}", "its own user id")]
        return [transcript.with_all(event, replacements) for event in events]


@pytest.fixture(name="platform", scope="session")
def the_platform():
    with PlayedPlatform("platform/played_platform") as platform:
        yield platform


@pytest.mark.parametrize("name", PAGES)
def test_transcript(platform, name):
    if "Truncated" in name and os.environ.get("FCS_EMULATOR"):
        pytest.skip("QEMU swaps the words of the address that a signal handler is told")
    assert PAGES[name].played_by(platform) == PAGES[name].text
