import pytest
from lab import Lab
from service import Service


def pytest_addoption(parser):
    parser.addoption("--rounds", type=int, default=3, help="how often each fault is inflicted")
    parser.addoption("--margin", type=float, default=5, help="the seconds that a busy machine may need besides")
    parser.addoption("--packets", type=int, default=20000, help="how many spoilt packets are sent")
    parser.addoption("--seed", type=int, default=1, help="which packets")


@pytest.fixture
def rounds(request):
    return request.config.getoption("--rounds")


@pytest.fixture(scope="module")
def lab(request, tmp_path_factory):
    """One lab for the tests of a file, with the options that the file has in LAB; a test that harms it mends it."""
    with Lab(tmp_path_factory.mktemp("lab"), **getattr(request.module, "LAB", {})) as lab:
        yield lab


@pytest.fixture
def start(tmp_path):
    """Starts a service in the test's directory and stops it at the end."""
    services = []
    yield lambda *options, **settings: services.append(Service(tmp_path, *options, **settings)) or services[-1]
    for service in services:
        if service.process.returncode is None:
            service.stop()


@pytest.fixture
def service(start):
    """One of the sample fabric."""
    return start()
