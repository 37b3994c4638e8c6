import pytest
from service import Service


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
