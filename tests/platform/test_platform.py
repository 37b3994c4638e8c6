# The transcripts of the platform. What a line says is found in played_platform.py and played_platform.cpp, and for the event
# history in history_steps.cpp, under its first word; "~" is a directory of the test's own.
import os

import pytest
import transcript
from played_platform import PlayedPlatform

PAGES = transcript.pages_beside(__file__)


@pytest.mark.parametrize("name", PAGES)
def test_transcript(tmp_path, name):
    if "Truncated" in name and os.environ.get("FCS_EMULATOR"):
        pytest.skip("QEMU swaps the words of the address that a signal handler is told")
    with PlayedPlatform(tmp_path) as platform:
        assert PAGES[name].played_by(platform) == PAGES[name].lines
