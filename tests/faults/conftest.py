import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "agent"))
from fixtures import lab  # noqa: E402,F401 - for every test of this directory


def pytest_addoption(parser):
    parser.addoption("--rounds", type=int, default=3, help="how often each fault is inflicted")


@pytest.fixture
def rounds(request):
    return request.config.getoption("--rounds")
