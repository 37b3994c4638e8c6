"""The schema of fabric descriptions and the import have one verdict, as far as a schema can have one."""

import copy
import json
import re
import subprocess
from concurrent.futures import ThreadPoolExecutor
from functools import reduce

import jsonschema
from lab import BUILD, REPOSITORY

SAMPLE = json.loads((REPOSITORY / "lab" / "sample-fabric.json").read_text())
SAMPLE["vsans"] = SAMPLE["vsans"][1:2]  # It has every member there is.
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


def changed(path, *value):
    """The sample with another value at a place, or with none."""
    document = copy.deepcopy(SAMPLE)
    parent = at(document, path[:-1])
    if value:
        parent[path[-1]] = value[0]
    else:
        del parent[path[-1]]
    return document


def mutations():
    """The sample with one place of each kind changed or left out, or with a member that is unknown."""
    kinds = {tuple("each" if isinstance(key, int) else key for key in path): path for path in places(SAMPLE)}
    for path in kinds.values():
        value = at(SAMPLE, path)
        if isinstance(value, dict):
            yield changed((*path, "odd"), 1)
        if path:
            yield changed(path)
            yield from (changed(path, new) for new in replacements(value))


def test_the_schema_takes_what_the_import_takes(tmp_path):
    jsonschema.Draft7Validator.check_schema(json.loads(SCHEMA))
    schema = jsonschema.Draft7Validator(json.loads(SCHEMA))

    def verdicts(document):
        text = json.dumps(document)
        done = subprocess.run([BUILD / "tools" / "fcsctl", "import", "-", "--store", ":memory:"], cwd=tmp_path,
                              input=text, capture_output=True, text=True, timeout=60)
        assert set(re.findall("is none of (.*)", done.stderr)) <= {", ".join(words) for words in ENUMS}, done.stderr
        counts_octets = "octets are more than" in done.stderr and "\\u00e9" in text
        return done.stderr.strip(), next((error.message for error in schema.iter_errors(document)), ""), counts_octets

    with ThreadPoolExecutor(2) as pool:
        results = list(pool.map(verdicts, [SAMPLE, *mutations()]))
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
