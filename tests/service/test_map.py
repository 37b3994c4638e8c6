"""The map of a fabric: what it shows, and that a person can read the drawing."""

import json
import re
import shutil
import subprocess

import pytest
from programs import SAMPLE, run

# As they stand in labels, which break long names.
HOSTILE = [
    ('"><b>&amp;</TD>\\N\\G --> ]]> {x|y};//',
     "&quot;&gt;&lt;b&gt;&amp;amp;&lt;/TD&gt;\\N\\G&#160;<BR/>--&gt;&#160;]]&gt;&#160;{x|y};//"),
    ("   ", "&#160;&#160;&#160;"), ("\0\n\t\x7f\x85", "[00][0a][09][7f][c285]"),
    ({"hex": "ff41c0afeda080f4908080e282"}, "[ff]A[c0][af][ed][a0][80][f4][90][80][80][e2][82]"),
    ("\ufffe\uffff€😀", "[efbfbe][efbfbf]€😀")]


needs_dot = pytest.mark.skipif(shutil.which("dot") is None, reason="the package graphviz is not installed")


def drawing(graph):
    """What dot makes of a graph, in inches: its width and height, the cards of elements, the visible lines' controls."""
    size, cards, lines = None, {}, []
    plain = subprocess.run(["dot", "-Tplain"], input=graph, capture_output=True, text=True, timeout=60)
    assert not plain.stderr, "no complaints"
    for row in map(str.split, plain.stdout.splitlines()):
        if row[0] == "graph":
            size = float(row[2]), float(row[3])
        elif row[0] == "node" and row[1][0] == "e":
            cards[row[1]] = [float(number) for number in row[2:6]]
        elif row[0] == "edge" and "invis" not in row:
            numbers = [float(number) for number in row[4:4 + 2 * int(row[3])]]
            lines.append((row[1], row[2], list(zip(numbers[::2], numbers[1::2]))))
    return size, cards, lines


def crossings(cards, lines):
    """Which lines, cubic curves, cross a card farther from its edge than a line ends."""
    edge = 4 / 72
    for tail, head, controls in lines:
        for first in range(0, len(controls) - 3, 3):
            for t in (step / 20 for step in range(21)):
                weights = (1 - t) ** 3, 3 * t * (1 - t) ** 2, 3 * t * t * (1 - t), t ** 3
                x, y = (sum(w * c[axis] for w, c in zip(weights, controls[first:])) for axis in (0, 1))
                for card, (middle, centre, width, height) in cards.items():
                    if abs(x - middle) < width / 2 - edge and abs(y - centre) < height / 2 - edge:
                        yield tail, head, card


@needs_dot
@pytest.mark.parametrize("shape, width, height", [
    ("--switches 12 --ports 24", 1600, 1080), ("--switches 1 --ports 1 --platforms 30", 640, 1080),
    ("--switches 30 --ports 8 --platforms 60", 4000, 4000)])
def test_a_map_fits_and_its_links_cross_no_card(shape, width, height):
    fabric = run("fcsctl", "generate", "--vsans", "1", *shape.split())[1]
    size, cards, lines = drawing(run("fcsctl", "map", "-", text=fabric)[1])
    assert cards and (lines or "--ports 1" in shape) and not list(crossings(cards, lines))
    assert size[0] * 96 <= width and size[1] * 96 <= height, "of pixels of which 96 are an inch"


def test_a_map_shows_every_link_and_device_and_hostile_names(tmp_path):
    fabric, file = json.loads(SAMPLE.read_text()), tmp_path / "map.json"
    elements, platforms = fabric["vsans"][0]["elements"], fabric["vsans"][0]["platforms"]
    for element, platform, (name, _) in zip(elements, platforms, HOSTILE):
        element["logicalName"] = platform["name"] = name
    elements[0]["ports"][0]["state"], elements[0]["ports"][1]["state"] = "testing", "fault"
    elements[1]["ports"][0]["attached"] = []  # The other end still knows of the link.
    elements[0]["ports"][3]["attached"] += ["21" * 12]  # A stranger.
    file.write_text(json.dumps(fabric))
    drawn = run("fcsctl", "map", file)[1]
    ends = re.findall(r"^ *(e\d+_\d+):p\d+:\w -- (\w+)(?::p\d+)?:\w \[color=.(#\w+)", drawn, re.MULTILINE)
    links = {(*sorted({tail for tail, knot, _ in ends if knot == end} if end[0] == "k" else {start, end}), colour)
             for start, end, colour in ends}
    good, testing, fault = "#16a34a", "#eab308", "#dc2626"
    assert links == {("e1_0", "e1_1", good), ("e1_0", "e1_1", testing), ("e1_0", "e1_2", fault), ("e1_0", "e1_3", good),
                     ("e1_0", "e1_4", good), ("e1_1", "e1_2", fault), ("e100_0", "e100_1", good),
                     ("e2100_0", "e2100_1", good)}
    assert all(drawn.count(shown) >= 2 for _, shown in HOSTILE), "on an element and on a platform"
    for shown, times in [("(no&#160;name)", 1), ("<B>20:01:00:00:5e:00:53:30</B>", 1),
                         ("6 elements &#183; 31 ports &#183; 7 platforms", 1), ("21:21:21:21:21:21:21:21", 1)]:
        assert drawn.count(shown) >= times, shown
    summary = run("fcsctl", "map", "--summary", file)[1]
    assert 'label="1 online, 1 testing"' in summary and ":p0" not in summary, "links bundled, no ports"
    tool = ["fcsctl", "--store", tmp_path / "db"]
    run(*tool, "import", file)
    assert run(*tool, "map")[1] == drawn, "the store's fabric is the file's"
    assert re.findall(r"cluster_vsan(\d+)", run(*tool, "map", "--vsan", "2000-4096", "--vsan", "1-99")[1]) == ["1", "2100"]
    for wrong, status, told in [("1,7", 1, "the fabric has no VSAN 7"), ("7-9", 1, "the fabric has no VSAN 7 to 9"),
                                *((faulty, 2, "") for faulty in ("0", "4097", "9-7", "1-", "1,,2", "all", "-1"))]:
        refused = run(*tool, "map", f"--vsan={wrong}")
        assert refused[0] == status and told in refused[1], wrong


def test_a_drawing_is_whole_or_none(tmp_path, monkeypatch):
    svg = tmp_path / "map.svg"
    svg.write_text("old")
    with monkeypatch.context() as without:
        without.setenv("PATH", "/nonexistent")
        assert run("fcsctl", "map", SAMPLE, "--format", "svg", "--output", svg) == (
            1, "fcsctl: drawing needs the program dot, which is not installed: install the package graphviz, or write the "
            "graph with --format dot\n")
    assert svg.read_text() == "old"
    if shutil.which("dot"):
        assert run("fcsctl", "map", SAMPLE, "--format", "svg", "--output", svg) == (0, ""), "no complaints"
        assert "20:01:00:00:5e:00:53:20" in svg.read_text() and svg.read_text().endswith("</svg>\n")
