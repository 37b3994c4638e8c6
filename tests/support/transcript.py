# Transcripts: tests of a program as pages to read. A line at the margin says what is done, and behind " => " and in the
# indented lines all that came of it, in order, " | " between two events. That part is written by this interpreter, and a
# person compares it with what the program is to do: with FCS_WRITE_TRANSCRIPTS in the environment the pages that differ are
# written anew.
#
#   == NAME          Begins a test. What stands in front of the first begins them all.
#   let NAME = TEXT  From here on NAME stands for the text, in what is done and in what comes of it,
#                    where it may be several events.
#
# What else a line may say is told where the pages are. Several steps may share a line, " ; " between them. Of a line with
# alternatives, {A,B}, each is played from the state in front of the line. What comes of all is written once, {A,B} where it
# differs; or it has a "*" there, and what is an alternative's own stands behind a "*" and its text. "2 x" is twice, and "x*600"
# a text of so many octets that are the same.
import itertools
import os
import pathlib
import re
from dataclasses import dataclass

WIDTH = 140


def words_of(line, separator=" "):
    """The words of a line; a text in quotation marks belongs to one word."""
    return re.findall(rf'(?:"[^"]*"|[^"{separator}])+', line)


def with_all(text, replacements):
    """The text with others in the place of its parts; longer ones are replaced first."""
    for part, other in sorted(replacements, key=lambda pair: len(pair[0]), reverse=True):
        text = text.replace(part, other)
    return text


class Player:
    def __init__(self, program):
        self.program = program
        self.texts = []  # Of names, as pairs.
        self.history = []
        self.line = self.last = ""  # With its alternatives, and with the last of them.
        self.is_spoilt = True  # The state is not that behind the history.

    def take(self, line):
        """Gives what comes of a line as (alternative, events), the alternative empty where they do not matter."""
        if not line or line[0] in "#=":
            return [("", [])]
        if let := re.fullmatch(r"let (.*?) = (.*)", line):
            self.texts.append(let.groups())
            return [("", [])]
        self.line = with_all(line, [(name, text) for name, text in self.texts if re.search("[{,]", text)])
        outcomes = self.alternatives(self.line)
        self.history.append(self.last)
        self.is_spoilt = False
        return outcomes

    def alternatives(self, line):
        if "{" not in line:
            self.last = with_all(line, self.texts)
            return [("", self.events_of(self.last))]
        before, choices, after = re.fullmatch(r"(.*?)\{(.*?)\}(.*)", line).groups()
        taken = {each: self.alternatives(before + each + after) for each in words_of(choices, ",")}
        first, *others = taken.values()
        if all(outcomes == first for outcomes in others):
            return first
        merged = {}
        for each, outcomes in taken.items():
            for label, events in outcomes:
                merged.setdefault(tuple(events), []).append(f"{each} {label}".rstrip())
        return [(",".join(labels), list(events)) for events, labels in merged.items()]

    def events_of(self, line):
        """What comes of a line that is played behind the history."""
        if self.is_spoilt:
            self.program.start()
        self.is_spoilt, lines = True, [*self.history, line] if self.is_spoilt else [line]
        for each in lines:
            events = [event for step in each.split(" ; ") for event in self.program.take(step)]
        return [re.sub(r"(.)\1{20,}", lambda run: f"{run[1]}*{len(run[0])}", event) for event in events]


# ---- Pages

def flow(start, events, indent, names):
    """Lines with the events, as many as they need; `indent` is that of the further ones."""
    lines = [start]
    runs = [(event, len(list(run))) for event, run in itertools.groupby(events or ["nothing"])]
    text = " | ".join(event if times == 1 else f"{times} x {event}" for event, times in runs)
    for event in with_all(text, names).replace(" | ", " |\n").split("\n"):
        if len(lines[-1]) + len(event) >= WIDTH:
            lines.append(indent[1:])
        lines[-1] += " " + event
    return lines


def take_common(outcomes, place):
    """Takes the events that all outcomes have at a place, again and again."""
    common = []
    while all(events and events[place] == outcomes[0][1][place] for _, events in outcomes):
        common.append([events.pop(place) for _, events in outcomes][0])
    return common


def abreast(texts):
    """Texts as one, {A,B} where they differ; nothing when that cannot be read."""
    start = re.match(r"(.*[ :=(.])?", os.path.commonprefix(texts))[0] if len(set(texts)) > 1 else texts[0]
    rests = [text[len(start):] for text in texts]
    end = re.match(r"(.*[ :=).])?", os.path.commonprefix([rest[::-1] for rest in rests]))[0][::-1]
    middles = [rest[:len(rest) - len(end)] for rest in rests]
    if not any(middles):
        return start
    can_be_read = (start or end) and all(re.fullmatch(r"[^,{}|]+", middle) for middle in middles)
    return start + "{" + ",".join(middles) + "}" + end if can_be_read else None


def page_of(request, choices, outcomes, names):
    """What is common to all outcomes, then what is each one's own; several on a line where they fit."""
    if len(outcomes) == 1:
        return flow(request + " =>", outcomes[0][1], "  ", names) if outcomes[0][1] else [request]
    each = {label: events for labels, events in outcomes for label in words_of(labels, ",")}
    columns = [each.get(label, [None]) for label in words_of(choices, ",")]
    events = [None not in texts and abreast(texts) for texts in zip(*columns)]
    merged = flow(request + " =>", events, "  ", names) if all(events) and len(set(map(len, columns))) == 1 else None
    common = [*take_common(outcomes, 0), "*", *reversed(take_common(outcomes, -1))]
    lines = flow(request + " =>", common, "  ", names)
    for label, events in outcomes:
        own = flow(f"  * {label}:", events, "    ", names)
        if len(own) == 1 and lines[-1].startswith("  *") and len(lines[-1]) + len(own[0]) < WIDTH:
            lines[-1] += own[0][1:]
        else:
            lines += own
    return merged if merged and len(merged) < len(lines) else lines


@dataclass
class Page:
    path: pathlib.Path
    preamble: list
    lines: list

    def played_by(self, program):
        """The lines of the test as they would have to be for what the program does."""
        player = Player(program)
        for line in self.preamble:
            player.take(line)
        page = []
        for line in self.lines:
            request = re.sub(r" =>( .*)?$", "", line)
            if not line.startswith("  "):
                outcomes = player.take(request)
                names = [(text, name) for name, text in player.texts]
                page += page_of(request, re.split("[{}]", player.line + "{")[1], outcomes, names)
        if page != self.lines and "FCS_WRITE_TRANSCRIPTS" in os.environ:
            self.path.write_text(self.path.read_text().replace("\n".join(self.lines), "\n".join(page)))
        return page


def pages_beside(file):
    """The tests of all transcripts in a file's folder, by their names."""
    pages = {}
    for path in sorted(pathlib.Path(file).parent.glob("*.transcript")):
        preamble, *texts = re.split(r"^(?=== )", path.read_text(), flags=re.MULTILINE)
        pages |= {f"{path.stem}_{text.split()[1]}": Page(path, preamble.splitlines(), text.splitlines()) for text in texts}
    return pages
