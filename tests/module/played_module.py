"""The module as a program: its commands, and what happens as events that a person can read."""
import pathlib
import re

from played_program import PlayedProgram
from transcript import words_of

OBJECT_LIST = pathlib.Path(__file__).resolve().parent.parent / "mib/objects.txt"
# Records by id and messages by opcode: their fields, in order. w: a word; i: one with a sign. s: a text in 255
# octets, behind an octet with its length. A number: so many octets. *: the rest.
FORMS = {"10": "w w w w", "20": "w 8 w w 4 8 s w 256 w", "30": "w w s w w", "40": "w 8", "50": "w 8 w w w w w w",
         "60": "w 12", "70": "w w s w w w w w w w", "80": "w 8 w w", "90": "w w w w w w w w w w",
         "1405": "w w", "1407": "w w", "1408": "*", "1415": "w 8", "w": "w", "i": "i"}
LENGTHS = {"w": 4, "i": 4, "s": 256}
TYPES = {"INTEGER": 2, "i": 2, "OCTET STRING": 4, "s": 4, "n": 5, "o": 6, "Counter32": 0x41, "Unsigned32": 0x42, "u": 0x42,
         "TimeTicks": 0x43}
TEXT, INTEGER = 4, 2


def text_of_octets(octets, shortest=3):
    """Parts with dots between them, each hexadecimal digits or a text, and possibly how many times: 80.00*254."""
    parts = []
    for part in re.finditer(rb"(.)\1{3,}|(?:(.)(?!\2{3}))+", octets, re.DOTALL):
        once, times = (part[1], f"*{len(part[0])}") if part[1] else (part[0], "")
        is_text = re.fullmatch(rb"[ !#-z|}~]*", once) and (times or len(once) >= shortest)
        parts.append((f'"{once.decode()}"' if is_text else once.hex()) + times)
    return ".".join(parts) or '""'


def octets_of_text(text):
    return b"".join((bytes.fromhex(digits) or quoted.encode()) * int(times or 1) for quoted, digits, times
                    in re.findall(r'(?:"([^"]*)"|([0-9a-f]+))(?:\*(\d+))?', text))


GET = re.compile(r"101 fcs_get_data:before sending cmi\x1f\n2>Before CMI\x1f\n((?:get|next) .*?(?: -> (-?\d+))?) \| (len = .*)\n"
                 r"101 fcs_get_data:err (\d+)\x1f(?:\n101 fcs_get_data:(len .*) \x1f\n1>(.*)\x1f)?")
SET = re.compile(r"101 fcs_set_data:before cmi set\x1f\n2>Before CMI\x1f\n((?:set|delete) .*)")


def without_usual(lines):
    """Takes out what goes with every exchange, where it is as it has to be."""
    def request(match):
        status = int(match[2] or 0) % 256
        usual = int(match[4]) == status and (match[3] == match[5] == match[6] if status == 0 else match[5] is None)
        return match[1] if usual else match[0]
    text = SET.sub(r"\1", GET.sub(request, "\n".join(lines)))
    return re.sub(r" \| len = .*", "", text).splitlines()


class Instance:
    """A variable and a name: "OBJECT.INDEX", "OBJECT@SUFFIX" for an OID elsewhere, "OBJECT#MAGIC" for another magic."""

    def __init__(self, module, text):
        self.name, mark, rest = re.fullmatch(r"(\w+)([.@#]?)(.*)", text).groups()
        self.column, _ = module.syntaxes[self.name]
        place = next(i for i, line in enumerate(module.registered) if line.startswith(self.column + " "))
        magic, self.type = map(int, module.registered[place].split()[1:3])
        if mark == "#":
            magic, mark, rest = rest.partition(".")
        self.oid = f"{module.root}.{rest}" if mark == "@" else self.column + mark + rest
        self.words = f"{place} {magic} {self.oid}"


class PlayedModule(PlayedProgram):
    def __init__(self):
        super().__init__("module/played_module")
        self.begin()
        self.command("start")
        self.byte_order, *self.registered = self.command("objects")
        self.root = self.registered[0].split(".1.1.1 ")[0]
        told = (re.fullmatch(r"(\S+) +(\w+) +(\S.*)", line) for line in OBJECT_LIST.read_text().splitlines())
        self.syntaxes = {line[2]: (f"{self.root}.{line[1]}", " ".join(line[3].split())) for line in told if line}
        self.start()

    def start(self):
        self.hidden = None  # Functions whose names begin so do not tell of themselves.
        self.command("start")

    # ---- Records as texts

    def text_of(self, form, octets):
        """A record may end before its form does, or go on behind it (+: so many octets)."""
        if form in ("octets", "text"):
            return text_of_octets(octets, 3 if form == "octets" else 1)
        fields = FORMS.get(form.removeprefix("key"), "w").split()
        if form.startswith("key"):
            fields = fields[:0 if form[3:] not in FORMS else 1 if form[3:] in ("10", "90") else 2]
        texts = []
        for field in fields:
            if not octets:
                break
            length = len(octets) if field == "*" else LENGTHS.get(field) or int(field)
            part, octets = octets[:length], octets[length:]
            if field in "wi":
                texts.append(str(int.from_bytes(part.ljust(4, b"\0"), self.byte_order, signed=field == "i")))
            elif field == "s":
                texts.append(text_of_octets(part[1:] if any(part[1 + part[0]:]) else part[1:1 + part[0]], 1))
            else:
                texts.append(text_of_octets(part))
        return " ".join(texts + [f"+{len(octets)}"] * bool(octets))

    def record(self, form, texts):
        """A record of these fields; those that are missing are zero."""
        octets = b""
        for field, text in zip((fields := FORMS.get(form, "w").split()), texts + [""] * len(fields)):
            if field == "w":
                octets += (int(text or 0) % 2**32).to_bytes(4, self.byte_order)
            else:
                part = octets_of_text(text)
                part = bytes([len(part)]) + part if field == "s" else part
                octets += part if field == "*" else part.ljust(LENGTHS.get(field) or int(field), b"\0")
        assert len(texts) <= len(fields), f"too many fields: {texts}"
        return octets

    # ---- Commands of a transcript

    def take(self, step):
        """Takes a step of a transcript; gives what came of it, as events."""
        what, *words = words_of(step)
        if what in ("get", "next"):
            instance = Instance(self, words[0])
            return self.events(self.command("read", what, instance.words), [instance])
        if what.startswith("set"):
            instances = [Instance(self, word) for word in words[::2]]
            bindings = [f"{instance.words} {self.value(instance, value)}" for instance, value in zip(instances, words[1::2])]
            return self.events(self.command("set", what[4:] or "all", *bindings), instances)
        if what == "notify":
            payload = "-" if words[1] == "none" else "=" + self.record(words[0], words[1:]).hex()
            return self.events(self.command("notify", words[0], payload))
        if what in ("init", "deinit", "wwn"):
            return self.events(self.command(step))
        if what == "row":
            self.command("row", words[0], "=" + self.record(words[0], words[1:]).hex())
        elif what == "answer":
            self.answer(words)
        elif what == "hide":
            self.hidden = words[0].rstrip("*")
        else:
            self.command("state", what, *words)
        return []

    def answer(self, words):
        """To requests that begin with these words of their text; the last that fits counts."""
        arrow = words.index("->")
        (operation, *asked), (result, *response) = words[:arrow], words[arrow + 1:]
        form = asked[0].split("/")[0] if asked else ""
        response = "=" + self.record(form, response[1:]).hex() if response else "-"
        beginning = " ".join([operation] + asked[:1]) + ("/" if operation == "send" and "/" not in asked[0] else " ")
        if asked[1:]:
            key = "key" if operation in ("get", "next") else ""
            length = sum(LENGTHS.get(field) or int(field) for field in FORMS.get(form, "w").split()[:len(asked) - 1])
            beginning += f"<{key}{form} {self.record(form, asked[1:])[:length].hex()}"
        self.command("answer", result, response, beginning)

    def value(self, instance, text):
        """A value may begin with its type (i: u: s: o: n:) and end with the length that the handlers are told (#2)."""
        kind, text, told = re.fullmatch(r"(?:([iuson]):)?([^#]*)(?:#(\d+))?", text).groups()
        kind = TYPES[kind] if kind else instance.type
        octets = octets_of_text(text) if kind == TEXT else self.record("w", [text])
        return f"{kind} ={octets.hex()} {told or len(octets)}"

    # ---- Lines as events

    def events(self, lines, instances=()):
        events, phase, last, known = [], "", None, set()  # The function that traced last, and all that have.
        asked = instances[0] if instances else None
        for line in without_usual(lines):
            line = re.sub(r"( ?)<(\w+) ([0-9a-f]*)>", self.shown, line)
            if marker := re.fullmatch(r"\[(.)(.)\]", line):
                asked = instances["abcdef".index(marker[2])]
                phase = f"[{marker[1]}{marker[2] if len(instances) > 1 else ''}] "
                last, known = "write_" + asked.name, {"write_" + asked.name}
                continue
            line = line.removesuffix("\x1f")
            line = re.sub(r" $", r"\\s", line)
            if line.startswith("101 "):
                function, text = line[4:].split(":", 1)
                if self.hidden is not None and function.startswith(self.hidden):
                    continue
                of_a_kind = function in known and not function.startswith("fcs_")
                name = "" if function == last else function.split("_")[0] if of_a_kind else function
                line = f"{name}:{text}"
                last = function
                known.add(function)
            elif line.startswith("100 "):
                line = "!" + line[4:]
            elif line.startswith("2>") and asked:
                line = line.replace(asked.name, "~")
            elif line.startswith("role ") and asked:
                line = line.replace(" " + asked.oid, "")
            elif line.startswith("at "):
                if line == "at " + asked.oid:
                    continue
                line = line.replace(asked.column + ".", ".", 1)
            elif line.startswith("status "):
                line = "= " + re.match(r"\w+", line[7:].lstrip("("))[0]
            events.append(phase + line.replace(self.root + ".", ""))
            phase = ""
        return events

    def shown(self, match):
        text = self.text_of(match[2], bytes.fromhex(match[3]))
        return text and match[1] + text
