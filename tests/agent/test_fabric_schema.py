"""The schema of fabric descriptions and the import have one verdict, as far as a schema can have one."""

import copy
import json
import operator
import re
from concurrent.futures import ThreadPoolExecutor
from functools import reduce

import jsonschema
from programs import REPOSITORY, SAMPLE, run

FABRIC = json.loads(SAMPLE.read_text())
FABRIC["vsans"] = FABRIC["vsans"][1:2]  # It has every member there is.
SCHEMA = (REPOSITORY / "lab" / "fabric.schema.json").read_text()
BEYOND_A_SCHEMA = re.compile("another|already|twice|there is no list")

HIGHEST = sorted({int(bound) for bound in re.findall(r'"maximum": (\d+)', SCHEMA)})
NUMBERS = [-1, 0, 1, 0.5, *HIGHEST, *(bound + 1 for bound in HIGHEST)]
ENUMS = [json.loads(words) for words in re.findall(r'"enum": (\[.*?\])', SCHEMA, re.DOTALL)]
WORDS = sorted({word for words in ENUMS for word in words})
TEXTS = ["", "zz", *("\u00e9" * count for count in (127, 128)), *("x" * count for count in (255, 256, 257)),
         *("0a" * count for count in (3, 4, 8, 9, 12, 13)), *("0A" + ":0b" * count for count in (2, 7, 8, 11)),
         "0a:0b0c", *({"hex": text} for text in ("", "0a0", "0A:0b")),
         *({"hex": "0a" + more * count} for more in ("0b", ":0b") for count in (254, 255, 256)),
         {"hex": "", "odd": 1}]
OTHERS = [None, True, "odd", 3, [], {}]


def places(node, path=()):
    yield path
    for key, value in node.items() if isinstance(node, dict) else enumerate(node) if isinstance(node, list) else ():
        yield from places(value, (*path, key))


def at(document, path):
    return reduce(lambda node, key: node[key], path, document)


def replacements(value):
    """What comes close to taking a value's place, and what does not."""
    if isinstance(value, str):
        return [*(WORDS + NUMBERS if value in WORDS else TEXTS), *OTHERS]
    return [*(NUMBERS if isinstance(value, (int, float)) else []), *OTHERS]


def changed(path, change):
    """The sample with a change to the member at a place: change(what holds it, its key)."""
    document = copy.deepcopy(FABRIC)
    change(at(document, path[:-1]), path[-1])
    return document


def mutations():
    """The sample with one place of each kind changed or left out, or with a member that is unknown."""
    kinds = {tuple("each" if isinstance(key, int) else key for key in path): path for path in places(FABRIC)}
    for path in kinds.values():
        value = at(FABRIC, path)
        if isinstance(value, dict):
            yield changed((*path, "odd"), lambda parent, key: parent.update({key: 1}))
        if path:
            yield changed(path, operator.delitem)
            for new in replacements(value):
                yield changed(path, lambda parent, key: operator.setitem(parent, key, new))


def test_the_schema_takes_what_the_import_takes(tmp_path):
    jsonschema.Draft7Validator.check_schema(json.loads(SCHEMA))
    schema = jsonschema.Draft7Validator(json.loads(SCHEMA))

    def verdicts(document):
        text = json.dumps(document)
        status, told = run("fcsctl", "import", "-", "--store", ":memory:", text=text, cwd=tmp_path)
        told = told if status else ""
        assert set(re.findall("is none of (.*)", told)) <= {", ".join(words) for words in ENUMS}, told
        counts_octets = "octets are more than" in told and "\\u00e9" in text
        return told, next((error.message for error in schema.iter_errors(document)), ""), counts_octets

    with ThreadPoolExecutor(2) as pool:
        results = list(pool.map(verdicts, [FABRIC, *mutations()]))
    assert results[0][:2] == ("", "")
    assert sum(imported == "" for imported, *_ in results) > 100
    for imported, said, counts_octets in results:
        beyond = counts_octets or BEYOND_A_SCHEMA.search(imported)
        assert bool(imported) == bool(said) or (not said and beyond), (imported, said)


def test_the_page_has_every_member():
    page = (REPOSITORY / "docs" / "fabric-json.md").read_text()
    members = set()
    json.loads(SCHEMA, object_hook=lambda node: members.update(node.get("properties") or ()) or node)
    assert len(members) > 40 and not [name for name in members if not re.search(f"[`\"]{name}[`\"]", page)]
