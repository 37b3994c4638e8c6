from fixtures import lab  # noqa: F401 - for every test of this directory
