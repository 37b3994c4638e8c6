"""Faulty descriptions are refused with their place; stores of other versions and of others."""

import json
import re

from programs import SAMPLE, run
from service import alter

SAME = object()
TEXTS = [  # The text of a description, and its fault.
    ("", "line 1, column 1: syntax error while parsing value - unexpected end of input; expected '[', '{', or a literal"),
    ('{\n  "vsans": [\n    {]\n}',
     "line 3, column 6: syntax error while parsing object key - unexpected ']'; expected string literal"),
    ('{"vsans":[]} x', 'line 1, column 14: syntax error while parsing value - invalid literal; last read: '
     "'\"vsans\":[]} x'; expected end of input"),
    ("[]", "the document must be an object"), ("7", "the document must be an object"),
    ("{}", 'the member "vsans" is missing'), ('{"vsans":[],"vsans":[]}', "vsans: member given twice"),
    ('{"vsans":[{"id":[2,1e999]}]}', "vsans[0].id[1]: number overflow parsing '1e999'"),
    ('{"vsans":[' + "[" * 17 + "]" * 17 + "]}", "vsans[0]" + "[0]" * 16 + ": nested too deeply"),
    ('{"vsans":[{"elements":[{"ports":[],"id":1,"ports":[]}]}]}', "vsans[0].elements[0].ports: member given twice"),
    ('{"vsans":[{"id":1,"elements":[' + "0," * 1000000 + "0]}]}",
     "vsans[0].elements[999997]: more than 1000000 values within vsans[0]"),
]
VSAN, SWITCH, PORT, PLATFORM = "vsans[0]", "vsans[0].elements[0]", "vsans[0].elements[0].ports[0]", "vsans[0].platforms[0]"
SECONDS = [  # Places that are given the value of the first of their kind.
    ("vsans[1].id", "another VSAN has this id"), (f"{VSAN}.elements[1].local", "the VSAN has another local element"),
    (f"{VSAN}.elements[1].portList", "another element has this port list"),
    (f"{SWITCH}.ports[1].attachedList", "another port has this attached port name list"),
    (f"{SWITCH}.ports[6].attached[1]", "the list has this name twice"),
    *((f"{place}s[1].{member}", f"another {place.rpartition('.')[2]} of this VSAN has this {member}")
      for place, member in [(f"{VSAN}.element", "name"), (f"{SWITCH}.port", "name"), (f"{VSAN}.platform", "index"),
                            (f"{VSAN}.platform", "name")]),
    ("nodeNameLists[1].index", "another list has this index"), ("mgmtAddrLists[1].index", "another list has this index"),
    ("nodeNameLists[3].names[1]", "this node name is listed already"),
    ("mgmtAddrLists[0].addresses[1].index", "another address of this list has this index")]
VALUES = [  # Other values at a place, and their fault.
    (f"{VSAN}.id", 0, ": 0 is not within 1 to 4096"), (f"{PORT}.state", 2**32, f": {2**32} is not within 0 to {2**32 - 1}"),
    (f"{VSAN}.discovery.takesSeconds", -0.5, ": -0.5 is not within 0.0 to 86400.0"),
    ("vsans", {}, ": must be an array"), ("comment", [], ": must be a string"), ("ports", [], ": unknown member"),
    (VSAN, 7, ": must be an object, not 7"), (VSAN, "x" * 80, ': must be an object, not "' + "x" * 55 + '..."'),
    (VSAN, {}, ': the member "id" is missing'), (VSAN, {"id": 1, "line\nbreak": 2}, '["line\\nbreak"]: unknown member'),
    (f"{VSAN}.elements", {}, ": must be an array, not an object"), (f"{VSAN}.id", 1.5, ": must be a whole number, not 1.5"),
    (f"{VSAN}.id", "1", ': must be a number, not "1"'),
    (f"{VSAN}.discovery.status", "done", ': "done" is none of inProgress, completed, localOnly'),
    (f"{SWITCH}.local", 1, ": must be true or false, not 1"),
    (f"{SWITCH}.fabricName", "20:01-02:03:04:05:06:07", ': "20:01-02:03:04:05:06:07" is not 8 octets in hexadecimal'),
    (f"{SWITCH}.mgmtId", "fffcg1", ': "fffcg1" is not 3 octets in hexadecimal'),
    (f"{SWITCH}.logicalName", "x" * 256, ": 256 octets are more than 255"),
    (f"{SWITCH}.logicalName", 7, ': must be a string or {"hex": "..."}, not 7'),
    (f"{SWITCH}.logicalName", {"hex": "abc"}, '.hex: "abc" is not a string of hexadecimal octets'),
    (f"{SWITCH}.mgmtAddrList", 500, ": there is no list 500 in mgmtAddrLists"),
    (SWITCH, {"name": "20" * 8, "type": 1, "ports": [{}]}, '.ports[0]: the element has no "portList" to hold its ports'),
    (PORT, {"name": "21" * 8, "type": 1, "attached": [7]},
     '.attached[0]: the port has no "attachedList" to hold its attached port names'),
    (f"{PORT}.state", "up", ': "up" is none of unknown, online, offline, testing, fault'),
    (f"{PORT}.state", None, ": must be a string or a number, not null"),
    (f"{PLATFORM}.nodeNameList", 500, ": there is no list 500 in nodeNameLists"),
    ("nodeNameLists[1].names[0]", "20:00:00:00:5e:00:53:a1", ": this node name is listed already")]


class Object(dict):
    __getattr__, __setattr__ = dict.__getitem__, dict.__setitem__


def faulty(place, value=SAME):
    """The sample with another value at a place, or with that of the first of its kind."""
    sample = json.loads(SAMPLE.read_text(), object_hook=Object)
    first = re.sub(r"\d+(\D*)$", r"0\1", place)
    exec(f"sample.{place} = {f'sample.{first}' if value is SAME else 'value'}")
    return json.dumps(sample)


def test_faulty_descriptions_are_refused_with_their_place(tmp_path):
    fabric = ["fcsctl", "--store", tmp_path / "fabric.db"]
    assert run(*fabric, "import", SAMPLE) == (0, "imported 3 VSANs, 10 elements, 48 ports, 17 platforms\n")
    for text, fault in [*TEXTS, *((faulty(place), f"{place}: {fault}") for place, fault in SECONDS),
                        *((faulty(place, value), place + fault) for place, value, fault in VALUES)]:
        assert run(*fabric, "import", "-", text=text) == (1, f"fcsctl: standard input: {fault}\n")
    assert run(*fabric, "export") == (0, SAMPLE.read_text()), "the text, too, is the same"


def test_stores_of_older_versions_are_taken_up_and_others_refused(tmp_path):
    text, foreign, store = (tmp_path / name for name in ("text.db", "foreign.db", "fabric.db"))
    run("fcsctl", "--store", store, "import", SAMPLE)
    undo = ["ALTER TABLE fabric DROP COLUMN generation", "DROP INDEX element_mgmt_addr_list", "DROP TABLE settings"]
    for version in (4, 3, 2):
        alter(store, *undo[:5 - version], f"PRAGMA user_version = {version}")
        assert run("fcsctl", "--store", store, "export") == (0, SAMPLE.read_text())
    assert alter(store, "SELECT discovery_timeout FROM settings", undo[1]) == [(900,)]
    text.write_text("x" * 100)
    alter(foreign, "CREATE TABLE t (x)")
    for version, path, fault in [
            (0, text, "file is not a database"), *((i, foreign, "it is a database of another program") for i in (0, 5)),
            *((i, store, f"it has the schema version {i}, this program knows version 5") for i in (1, 99)),
            (0, tmp_path / "none" / "db", "No such file or directory"), (0, f"{tmp_path}/", "Is a directory")]:
        if version:
            alter(path, f"PRAGMA user_version = {version}")
        assert run("fcsctl", "--store", path, "import", SAMPLE) == (1, f"fcsctl: cannot open the store {path}: {fault}\n")
