/**
 * Transcripts: tests of the module as pages to read. Lines at the margin say what is done; the
 * indented lines behind each say all that came of it, in order, " | " between two events. The
 * interpreter writes those lines, and a person compares them with what the module is to do.
 *
 *   == NAME                   Begins a test. What stands in front of the first begins them all.
 *   let NAME = TEXT           From here on $NAME stands for the text.
 *   STATE VALUE...            Sets state of the module or the platform: see module_steps.cpp.
 *   row RECORD FIELD...       The service has this row. It answers reads in the order of keys.
 *   answer REQUEST -> RESULT  What it answers to requests that begin so; ": FIELD..." may follow.
 *   hide FUNCTIONS            Leaves out the traces of functions that begin so, up to a "*".
 *   get OBJECT.INDEX          The same for next. OBJECT@SUFFIX is an OID elsewhere, OBJECT#MAGIC an
 *                             object with another magic.
 *   set OBJECT.INDEX VALUE... A value may begin with its type (i: u: s: o: n:) and end with the
 *                             length that the handlers are told (#2). set/12A: these phases alone.
 *   notify OPCODE FIELD...    Or "none": there is no message.
 *
 * Several of these may share a line, " ; " between them. Of a line with alternatives, {A,B}, each
 * is played from the state in front of the line. What comes of all is written once, with a "*"
 * where they differ; what is an alternative's own stands behind a "*" and its text.
 *
 * Events: ":text" is a trace of the function that traced last, or of the write handler of a SET's
 * object; "var:", "header:" and "write:" are functions that have traced before. "!text" is an event
 * of the history; "1>" and "2>" are what is printed, with "~" for the object. "get", "next", "set",
 * "delete" and "send" are requests, "-> 2" the result, without the lines that go with every
 * exchange as long as those are right. "role" asks about the OID of the request. [1] [2] [A] [C]
 * [F] [U] is a phase of a SET, with a letter for the binding. NAME=VALUE is a change of state.
 */
#pragma once

#include <string>
#include <vector>

struct TranscriptTest {
  std::string file;
  std::string name;
  std::string preamble;
  std::string text;
};

/** The tests of the transcripts of a directory. */
std::vector<TranscriptTest> read_transcripts(const std::string &directory);

/** The text of a test as it would have to be for what the module does. */
std::string play(const TranscriptTest &test);
