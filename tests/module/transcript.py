# Transcripts: tests of the module as pages to read. A line at the margin says what is done, and behind " => " and in the
# indented lines all that came of it, in order, " | " between two events. That part is written by this interpreter, and a
# person compares it with what the module is to do.
#
#   == NAME                   Begins a test. What stands in front of the first begins them all.
#   let NAME = TEXT           From here on $NAME stands for the text.
#   STATE VALUE...            Sets state of the module or the platform: see played_module.cpp.
#   row RECORD FIELD...       The service has this row. It answers reads in the order of keys.
#   answer REQUEST -> RESULT  What it answers to requests that begin so; ": FIELD..." may follow.
#   hide FUNCTIONS            Leaves out the traces of functions that begin so, up to a "*".
#   get OBJECT.INDEX          The same for next. OBJECT@SUFFIX is an OID elsewhere, OBJECT#MAGIC an object with another magic.
#   set OBJECT.INDEX VALUE... A value may begin with its type (i: u: s: o: n:) and end with the length that the handlers are
#                             told (#2). set/12A: these phases alone.
#   notify OPCODE FIELD...    Or "none": there is no message.
#   init, deinit, wwn         The module's own functions.
#
# Several of these may share a line, " ; " between them. Of a line with alternatives, {A,B}, each is played from the state in
# front of the line. What comes of all is written once, {A,B} where it differs; or it has a "*" there, and what is an
# alternative's own stands behind a "*" and its text.
#
# Events: ":text" is a trace of the function that traced last, or of the write handler of a SET's object; "var:", "header:" and
# "write:" are functions that have traced before. "!text" is an event of the history; "1>" and "2>" are what is printed, with
# "~" for the object. "get", "next", "set", "delete" and "send" are requests, "-> 2" the result, without the lines that go with
# every exchange as long as those are right. "role" asks about the OID of the request. [1] [2] [A] [C] [F] [U] is a phase of a
# SET, with a letter for the binding. NAME=VALUE is a change of state.
import os
import re

from played_module import words_of

ASKING = ("get ", "next ", "set", "notify ", "init", "deinit", "wwn ")
WIDTH = 140


class Player:
    def __init__(self, module):
        self.module = module
        self.texts = {}  # Of names: those that are alternatives first, longer names first.
        self.history = []
        self.line = self.last = ""  # With its alternatives, and with the last of them.

    def take(self, line):
        """Gives what comes of a line as (alternative, events), the alternative empty where they do not matter."""
        if not line or line[0] in "#=":
            return []
        if let := re.fullmatch(r"let (\w+) = (.*)", line):
            self.texts["$" + let[1]] = let[2]
            self.texts = dict(sorted(self.texts.items(), key=lambda item: ("{" in item[1], item[0]), reverse=True))
            return []
        for name, text in self.texts.items():
            line = line.replace(name, text) if re.search("[{,]", text) else line
        self.line = line
        outcomes = self.alternatives(line)
        self.history.append(self.last)
        return outcomes

    def alternatives(self, line):
        if "{" not in line:
            for name, text in self.texts.items():
                line = line.replace(name, text)
            self.last = line
            return [("", self.from_the_beginning(line))]
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

    def from_the_beginning(self, line):
        self.module.start()
        for each in [*self.history, line]:
            events = [event for step in each.split(" ; ") for event in self.module.take(step)]
        return events


# ---- Pages

def flow(start, events, indent):
    """Lines with the events, as many as they need; `indent` is that of the further ones."""
    lines = [start]
    for event in " |\n".join(events or ["nothing"]).split("\n"):
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


def page_of(request, choices, outcomes):
    """What is common to all outcomes, then what is each one's own; several on a line where they fit."""
    if len(outcomes) == 1:
        return flow(request + " =>", outcomes[0][1], "  ")
    each = {label: events for labels, events in outcomes for label in words_of(labels, ",")}
    columns = [each.get(label, [None]) for label in words_of(choices, ",")]
    events = [None not in texts and abreast(texts) for texts in zip(*columns)]
    merged = flow(request + " =>", events, "  ") if all(events) and len(set(map(len, columns))) == 1 else None
    common = [*take_common(outcomes, 0), "*", *reversed(take_common(outcomes, -1))]
    lines = flow(request + " =>", common, "  ")
    for label, events in outcomes:
        own = flow(f"  * {label}:", events, "    ")
        if len(own) == 1 and lines[-1].startswith("  *") and len(lines[-1]) + len(own[0]) < WIDTH:
            lines[-1] += own[0][1:]
        else:
            lines += own
    return merged if merged and len(merged) < len(lines) else lines


def read(path):
    """The transcript as texts: what stands in front of the tests, and each test."""
    return re.split(r"^(?=== )", path.read_text(), flags=re.MULTILINE)


def play(module, preamble, text):
    """The text of a test as it would have to be for what the module does."""
    player = Player(module)
    page = []
    for line in preamble.splitlines():
        player.take(line)
    for line in text.splitlines():
        request = re.sub(r" =>( .*)?$", "", line)
        if not line.startswith("  "):
            outcomes = player.take(request)
            asks = outcomes and request.split(" ; ")[-1].startswith(ASKING)
            page += page_of(request, re.split("[{}]", player.line + "{")[1], outcomes) if asks else [line]
    return "\n".join(page) + "\n"
