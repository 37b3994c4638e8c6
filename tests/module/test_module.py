# The transcripts of the module, and whole ranges of values. What a line of a transcript says:
#
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
# Events: ":text" is a trace of the function that traced last, or of the write handler of a SET's object; "var:", "header:" and
# "write:" are functions that have traced before. "!text" is an event of the history; "1>" and "2>" are what is printed, with
# "~" for the object. "get", "next", "set", "delete" and "send" are requests, "-> 2" the result, without the lines that go with
# every exchange as long as those are right. "role" asks about the OID of the request. [1] [2] [A] [C] [F] [U] is a phase of a
# SET, with a letter for the binding. NAME=VALUE is a change of state.
import re

import played_module
import pytest
import transcript

PAGES = transcript.pages_beside(__file__)


@pytest.fixture(name="module", scope="session")
def the_module():
    with played_module.PlayedModule() as module:
        yield module


@pytest.mark.parametrize("name", PAGES)
def test_transcript(module, name):
    assert PAGES[name].played_by(module) == PAGES[name].lines


def steps(module, *lines):
    """The events of the last step."""
    module.start()
    return [module.take(line) for line in ("hide *", *lines)][-1]


def test_table_is_what_managers_are_told(module):
    types = {code: name for name, code in played_module.TYPES.items() if len(name) > 1}
    served = [line.split() for line in module.registered]
    told = [[oid, *syntax.rsplit(" ", 1)] for oid, syntax in module.syntaxes.values() if syntax.endswith((" RO", " RW"))]
    assert [[oid, types[int(code)], access] for oid, _, code, access in served] == told and len(told) == 56


EXPLANATIONS = [*range(2), *range(0x10, 0x18), 0x30, 0x31, 0x32, 0x34, 0x36, 0x50, *range(0x60, 0x64)]
PORT_TYPES = {0: 1, 1: 9, 2: 10, 0x7F: 11, 0x81: 2, 0x82: 3, 0x84: 4, 0x85: 5, 0xF9: 18, 0xFA: 17, 0xFC: 13, 0xFD: 7, 0xFE: 12,
              0xFF: 8}
FIRST = ".1.0.0.0.0.0.0.0.0"


@pytest.mark.parametrize("setting, asking, value_of", [
    ("notify 1407 {} 0", "get fcsRejReasonCode.0", lambda code: {7: 7, 9: 8, 11: 9, 255: 10}.get(code, code + 1)),
    ("notify 1407 0 {}", "get fcsRejReasonCodeExpl.0",
     lambda code: EXPLANATIONS.index(code) + 1 if code in EXPLANATIONS else code),
    ("row 20 1 00 {}", "get fcsIeType" + FIRST, lambda code: {1: 3, 2: 4, 3: 5}.get(code, 1)),
    ("row 50 1 00 {}", "get fcsPortType" + FIRST, lambda code: PORT_TYPES.get(code, code)),
    ("row 50 1 00 0 {}", "get fcsPortTxType" + FIRST, lambda code: code),
    ("row 50 1 00 0 0 0 0 0 {}", "get fcsPortState" + FIRST, lambda code: min(code + 1, 6)),
    ('row 70 1 0 "" {}', "get fcsPlatformType.1.0", lambda code: code - 2 if 5 <= code <= 14 else code)])
def test_codes_over_the_whole_range(module, setting, asking, value_of):
    shown = {code: steps(module, "row 140 1", setting.format(code), asking)[-1] for code in range(257)}
    assert shown == {code: f"= {value_of(code)}" for code in range(257)}


def test_platform_types_go_back_to_the_codes(module):
    sent = [steps(module, "row 70 1 0", f"set fcsPlatformType.1.0 {code}")[-1].split()[5] for code in range(1, 13)]
    assert sent == ["1", "2", *map(str, range(5, 15))]


@pytest.mark.parametrize("name", ["fcsMgmtAddr", "fcsPlatformName"])
def test_pending_rows_sort_by_first_then_second_signed_word(module, name):
    keys = [(a % 2**32, b % 2**32) for a, b in ((-2**31, 5), (-1, 9), (0, -7), (0, 0), (0, 3), (7, -2**31))]
    pending = steps(module, *(f'set/1 {name}.{a}.{b} "x"' for a, b in reversed(keys)))[-1]
    assert re.findall(r"(?:=|and )\d+ (\d+) (\d+) ", pending) == [(str(a), str(b)) for a, b in keys]


# The octet behind the half is read where the highest bit is no octet's last.
def test_list_ends_behind_its_highest_vsan(module):
    for bit in range(2048):
        image = steps(module, f"2k {bit} {bit // 2}", "get fcsVsanDiscoveryList2k.0")[-1]
        length = len(played_module.octets_of_text(image.removeprefix("= ")))
        assert length == (bit + 1) // 8 + (0 if bit % 8 == 7 else 2)


# The sanitizers watch that nothing is read or written outside of the response and the answer.
def test_responses_of_every_length_fit(module):
    for length in range(1, 1025):
        module.start()
        module.command("answer", 0, "=" + "11" * length, "get 110 ")
        events = module.take("get fcsIeNumber.0")
        word = int.from_bytes(bytes.fromhex("11" * min(length, 4)).ljust(4, b"\0"), module.byte_order)
        assert events[1:] == ["get 110", ":return ie number", f"= {word}"]


def test_phases_without_those_in_front_of_them_send_nothing(module):
    for name, (_, syntax) in module.syntaxes.items():
        for value in ("s:ff*600", "i:4") if syntax.endswith("RW") else ():
            for phase in "FA2CU":
                events = steps(module, f"set/{phase} {name}.0 {value}")
                assert not [event for event in events if event.split("] ")[-1].startswith(("set", "delete", "send"))]
