"""The module without what stands around it here: by itself, as a subdirectory of somebody else's project on a platform of
theirs, which Debian's snmpd loads, and from the top of the tree when everything else is deleted."""
import os
import pathlib
import shutil
import socket
import subprocess
import time

import pytest
from programs import REPOSITORY as ROOT, free_port

DELETED = ("platform/linux", "common", "service", "tools", "lab")
MODULE_ROOT = "1.3.6.1.4.1.32473.1.1"
TRAP_OID = bytes.fromhex("2b0601040181fd590101010400 02")  # Of fcsDiscoveryComplete.


def run(*command, **options):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=300, **options)
    assert done.returncode == 0, f"{' '.join(map(str, command))}\n{done.stdout}"
    return done.stdout


def build(source, directory, *options):
    run("cmake", "-S", source, "-B", directory, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=None", *options)
    run("cmake", "--build", directory)


def test_module_builds_by_itself(tmp_path):
    build(ROOT / "feature/fabric_conf_server/snmp", tmp_path)


def test_top_builds_with_the_rest_deleted(tmp_path):
    tree = tmp_path / "tree"
    shutil.copytree(ROOT, tree, ignore=lambda folder, names: [
        name for name in names if name.startswith((".", "build"))
        or str((pathlib.Path(folder) / name).relative_to(ROOT)) in DELETED])
    build(tree, tmp_path / "build")
    assert "100% tests passed" in run("ctest", "--output-on-failure", "-LE", "agent", cwd=tmp_path / "build")


@pytest.fixture(name="agent")
def started_agent(tmp_path):
    """The address of an snmpd that has loaded the platform in memory, and where its notifications arrive."""
    build(ROOT / "tests/foreign", tmp_path)
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as receiver:
        receiver.bind(("127.0.0.1", 0))
        receiver.settimeout(20)
        address = f"127.0.0.1:{free_port()}"
        configuration = tmp_path / "snmpd.conf"
        configuration.write_text(f"agentaddress udp:{address}\nrwcommunity public\n"
                                 f"trap2sink 127.0.0.1:{receiver.getsockname()[1]} public\n"
                                 f"dlmod memory_fcs {tmp_path}/memory_fcs.so\n")
        with open(tmp_path / "log", "w") as log:
            snmpd = subprocess.Popen(["snmpd", "-f", "-Lo", "-C", "-c", configuration], stdout=log, stderr=log,
                                     env=os.environ | {"SNMP_PERSISTENT_DIR": str(tmp_path), "MIBS": ""})
        try:
            yield address, receiver
        finally:
            snmpd.terminate()
            assert snmpd.wait(20) == 0, (tmp_path / "log").read_text()


def ask(address, tool, *words):
    """What an SNMP tool prints."""
    return run(tool, "-v2c", "-cpublic", "-On", "-r20", "-t1", address, *words, env=os.environ | {"MIBS": ""})


def test_agent_serves_the_platform_in_memory(agent):
    address, receiver = agent
    walk = ask(address, "snmpwalk", MODULE_ROOT)
    for line in ("1.1.7.0 = Gauge32: 900", "1.1.10.0 = INTEGER: 1", "1.1.6.1.1.7 = INTEGER: 3",
                 '1.1.11.1.6.7.32.0.0.0.94.1.2.3 = STRING: "edge-1"'):
        assert f".{MODULE_ROOT}.{line}\n" in walk
    name, vsans, start = (f"{MODULE_ROOT}.1.1.{scalar}.0" for scalar in (2, 3, 5))
    ask(address, "snmpset", name, "s", "nightly", vsans, "x", "02", start, "i", "1")
    assert ask(address, "snmpget", name) == f'.{name} = STRING: "nightly"\n'
    deadline = time.monotonic() + 20
    while TRAP_OID not in receiver.recv(4096):
        assert time.monotonic() < deadline
