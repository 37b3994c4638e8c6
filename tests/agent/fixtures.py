import pytest
from lab import Lab


@pytest.fixture(scope="module")
def lab(request, tmp_path_factory):
    """One lab for the tests of a file; a test that harms it mends it."""
    lab = Lab(tmp_path_factory.mktemp("lab"), **getattr(request.module, "LAB", {}))
    try:
        lab.up()
        yield lab
    finally:
        lab.down()
