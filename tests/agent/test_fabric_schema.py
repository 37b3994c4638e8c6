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
BEYOND_A_SCHEMA = re.compile("another|already|twice|there is no list|octets are more than")

HIGHEST = sorted({int(bound) for bound in re.findall(r'"maximum": (\d+)', SCHEMA)})
NUMBERS = [-1, 0, 1, 0.5, *HIGHEST, *(bound + 1 for bound in HIGHEST)]
ENUMS = [json.loads(words) for words in re.findall(r'"enum": (\[.*?\])', SCHEMA, re.DOTALL)]
WORDS = sorted({word for words in ENUMS for word in words})
TEXTS = ["", "zz", *("\u00fc" * count for count in (127, 128)), *("x" * count for count in (255, 256, 257)),
         *("0a" * count for count in (3, 8, 12)), *("0A" + ":0b" * count for count in (2, 7, 11)), "0a:0b0c",
         *({"hex": text} for text in ("", "0a0", "0A:0b", *("0a" * count for count in (255, 256, 257)))),
         {"hex": "", "odd": 1}]
OTHERS = [None, True, "odd", 3, [], {}]


def places(node, path=()):
    yield path
    for key, value in node.items() if isinstance(node, dict) else enumerate(node) if isinstance(node, list) else ():
        yield from places(value, (*path, key))


def likely(value):
    """What may come close to taking a value's place."""
    if isinstance(value, str):
        return [*WORDS, *NUMBERS] if value in WORDS else TEXTS
    return NUMBERS if isinstance(value, (int, float)) else []


def mutations():
    """The sample with one place of each kind left out or replaced, and with a member too many."""
    kinds = {tuple("each" if isinstance(key, int) else key for key in path): path for path in places(SAMPLE)}
    for *parent_path, key in filter(None, kinds.values()):
        value = reduce(lambda node, step: node[step], (*parent_path, key), SAMPLE)
        for change in [lambda parent: parent.pop(key), lambda parent: isinstance(parent, dict) and parent.update({"odd": 1}),
                       *(lambda parent, new=new: parent.__setitem__(key, new) for new in [*likely(value), *OTHERS])]:
            document = copy.deepcopy(SAMPLE)
            change(reduce(lambda node, step: node[step], parent_path, document))
            yield document


def test_the_schema_takes_what_the_import_takes(tmp_path):
    jsonschema.Draft7Validator.check_schema(json.loads(SCHEMA))
    schema = jsonschema.Draft7Validator(json.loads(SCHEMA))

    def verdicts(document):
        done = subprocess.run([BUILD / "tools" / "fcsctl", "import", "-", "--store", ":memory:"], cwd=tmp_path,
                              input=json.dumps(document), capture_output=True, text=True, timeout=60)
        assert set(re.findall("is none of (.*)", done.stderr)) <= {", ".join(words) for words in ENUMS}, done.stderr
        return done.stderr.strip(), next((error.message for error in schema.iter_errors(document)), "")

    with ThreadPoolExecutor(2) as pool:
        results = list(pool.map(verdicts, [SAMPLE, *mutations()]))
    assert results[0] == ("", "")
    for imported, validated in results:
        assert bool(imported) == bool(validated) or (not validated and BEYOND_A_SCHEMA.search(imported)), (imported, validated)
    assert sum(imported == "" for imported, _ in results) > 100
