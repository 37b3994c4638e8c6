"""The MIB file that managers load: it is well-formed, says of every object what objects.txt says, and resolves names
with and without the SMI modules at hand."""

import os
import re
import subprocess
from pathlib import Path

import pytest
from programs import REPOSITORY

MODULE, ROOT = "ZEPHRIN-FCS-MIB", ".1.3.6.1.4.1.32473.1.1"
MIB = REPOSITORY / "mibs" / f"{MODULE}.txt"
SMI = REPOSITORY / "build" / "smi"  # Where scripts/check unpacks the modules that the file imports.
# Name: OID below the root, type, access.
OBJECTS = {words[1]: (words[0], " ".join(words[2:-1]), words[-1]) for words in map(
    str.split, Path(__file__).with_name("objects.txt").read_text().splitlines()) if words[0] != "#"}


@pytest.fixture(autouse=True)
def no_configuration(tmp_path, monkeypatch):
    """The tools neither read nor write that of the machine."""
    monkeypatch.setenv("SNMPCONFPATH", str(tmp_path))
    monkeypatch.setenv("SNMP_PERSISTENT_DIR", str(tmp_path))


def translate(*arguments, directories=(MIB.parent, SMI)):
    """What snmptranslate prints, and what it complains of."""
    done = subprocess.run(["snmptranslate", *arguments], capture_output=True, text=True, timeout=60, env={
        **os.environ, "MIBS": MODULE, "MIBDIRS": ":".join(map(str, directories))})
    return done.stdout, re.sub("Created directory: .*\n", "", done.stderr)


def lint(mib):
    """What smilint has to say, except about the preloaded modules."""
    preloads = [word for name in ("SMI", "TC", "CONF") for word in ("-p", SMI / f"SNMPv2-{name}.mib")]
    done = subprocess.run(["smilint", "-c", "/dev/null", "-l", "6", "-s", "-m", *preloads, mib], text=True, timeout=60,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    said = [line for line in done.stdout.splitlines() if f"{SMI}/" not in line]
    return said + [f"exit status {done.returncode}"] * (done.returncode != 0)


def test_it_is_well_formed(tmp_path):
    assert lint(MIB) == []
    # Silence proves something only if a fault at the end of the same file is reported.
    stray = tmp_path / MIB.name
    stray.write_text(re.sub("(?m)^END$", "fcsStray OBJECT IDENTIFIER ::= { fcsNowhere 1 }\nEND", MIB.read_text()))
    assert "fcsNowhere" in "".join(lint(stray))


def test_tools_show_values_and_descriptions_whole():
    """They take some hints for more than a display: "1x:" for a MAC address, which has six octets, "255a" and its like
    for octets that are text, which names need not be. Of a notification they show the description's first line."""
    text = MIB.read_text()
    assert not re.findall(r'DISPLAY-HINT +"(?:1x:|[0-9]+[at])"', text)
    first_lines = re.findall(r' NOTIFICATION-TYPE\n(?:.*\n)*? +"(.*)', text)
    assert len(first_lines) == 3 and all(line.rstrip('"').endswith(".") for line in first_lines)


def test_guides_count_the_objects():
    registered = sum(access in ("RO", "RW") for _, _, access in OBJECTS.values())
    for guide in ("README.md", "docs/porting.md"):
        assert re.findall(r"\d+ objects", (REPOSITORY / guide).read_text()) == [f"{registered} objects"], guide


@pytest.mark.parametrize("directories", [(MIB.parent, SMI), (MIB.parent,)], ids=["with SMI modules", "without"])
def test_names_resolve_to_the_oids_of_the_registration(directories):
    """Quietly with the SMI modules; on a machine that has none, complaints about the imports are to be expected."""
    found, complaints = translate("-On", *(f"{MODULE}::{name}" for name in OBJECTS), directories=directories)
    assert found.split() == [f"{ROOT}.{oid}" for oid, *_ in OBJECTS.values()]
    assert SMI not in directories or complaints == ""


def declared(name):
    """Type and access that the MIB declares, as in objects.txt; None for what cannot be accessed."""
    text = translate("-Td", f"{MODULE}::{name}")[0]
    access = re.search(r"^  MAX-ACCESS\t(\S+)", text, re.MULTILINE)
    if re.search(rf"^{name} NOTIFICATION-TYPE$", text, re.MULTILINE):
        return "NOTIFICATION", "-"
    if not access or access[1] == "not-accessible":
        return None
    kind = re.search(r"^  SYNTAX\t(OCTET STRING|\w+)", text, re.MULTILINE)[1]
    return kind.replace("Integer32", "INTEGER"), access[1]


def test_type_and_access_of_all_that_can_be_accessed():
    """Nothing is missing, and nothing is promised that no agent serves. A writable column is of a row that managers
    create."""
    every = re.findall(r'"(\S+)"\s+"(\S+)"', translate("-Tz")[0])
    names = [name for name, oid in every if f".{oid}.".startswith(f"{ROOT}.")]
    access_of = {"RO": "read-only", "NOTIFY": "accessible-for-notify", "-": "-"}
    assert {name: kind for name in names if (kind := declared(name))} == {
        name: (kind, access_of.get(access) or ("read-write" if oid.count(".") == 2 else "read-create"))
        for name, (oid, kind, access) in OBJECTS.items()}


@pytest.mark.parametrize("name, highest", [
    ("fcsRejReasonCode", 10), ("fcsRejReasonCodeExpl", 20), ("fcsPortTxType", 5)])
def test_every_code_has_a_name(name, highest):
    """Nothing that the module makes of a reason code lacks one, nor does a transmitter type of FC-GS."""
    syntax = re.search(r"^  SYNTAX.*", translate("-Td", f"{MODULE}::{name}")[0], re.MULTILINE)[0]
    assert re.findall(r"\((\d+)\)", syntax) == [str(code) for code in range(1, highest + 1)]


WWN = "32.0.0.13.236.1.2.3"


@pytest.mark.parametrize("instance, indexes", [
    ("fcsDiscoveryStatus.4096", 1), (f"fcsIeType.1.{WWN}", 2), ("fcsMgmtAddr.7.1", 2), (f"fcsPortListIndex.7.{WWN}", 2),
    (f"fcsPortType.1.{WWN}", 2), (f"fcsAttachPortName.7.{WWN}.0.1.2.3", 2), ("fcsPlatformName.1.5", 2),
    (f"fcsNodeNameRowStatus.7.{WWN}", 2), ("fcsRejects.4096", 1)])
def test_row_indexes(instance, indexes):
    """An instance as the agent builds it is taken apart into exactly the table's indexes: names are fixed in length and
    have no length in front."""
    name, _, index = instance.partition(".")
    shown = translate("-OX", f"{ROOT}.{OBJECTS[name][0]}.{index}")[0]
    assert re.fullmatch(rf"{MODULE}::{name}(\[[^][]+\]){{{indexes}}}\n+", shown)
