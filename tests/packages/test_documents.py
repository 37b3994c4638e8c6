"""The manual pages and the completion against the programs and the module's tokens."""

import os
import re

from programs import BUILD, PROGRAMS, REPOSITORY, SAMPLE, output_of, run

PAGES = REPOSITORY / "packaging" / "man"
PLACES = {"snmpfcs": ["agent"]}  # What stands between a program and its commands.


def options_in_help(program, *command):
    """{command: {(option or positional, name of its value)}} of a program and all of its commands."""
    status, text = run(program, *PLACES.get(program, []), *command, "--help")
    assert status == 0, text
    options = set(re.findall(r"^  (?:-\w,)?(--[\w-]+)(?: ([A-Z]+)(?=[ =:]))?", text, re.M))
    options |= {(name, "") for name in re.findall(r"^  ([A-Z]+) ", text, re.M)}
    found = {" ".join(command): options - ({("--help", "")} if command else set())}
    for name in re.findall(r"^  ([a-z][a-z-]*) ", text, re.M):
        found |= options_in_help(program, *command, name)
    return found


def options_in_page(page, name):
    """The same, as a page has them: a subsection for each command, or for all that have the same."""
    found = {}
    for part in re.split(rf"^\.Ss {name} ", page.split(".Sh SIGNALS")[0], flags=re.M):
        commands = [""] if part.startswith(".") else part.split("\n", 1)[0].split(", ")
        flags = re.findall(r"^\.It (?:Fl \w , )?Fl (-[\w-]+)(?: Ar (\S+))?$", part, re.M)
        positionals = re.findall(r"^\.It Ar (\S+)$", part, re.M)
        found |= {command: {(f"-{option}", value) for option, value in flags} | {(name, "") for name in positionals}
                  for command in commands}
    return found


def test_each_program_s_page_has_every_command_and_option():
    for program in PROGRAMS:
        page, = PAGES.glob(f"{program}.*")
        said, written = options_in_help(program), options_in_page(page.read_text(), program)
        said = {command: options for command, options in said.items() if options}  # Not those that have commands alone.
        assert said == written


def test_the_page_has_every_token():
    source = (REPOSITORY / "platform/linux/configuration_tokens.cpp").read_text()
    tokens = re.findall(r'^    \{"(\w+)", \w+, "(.*)"\}', source, re.M)
    page = (PAGES / "fcs_mib.conf.5.in").read_text()
    assert tokens and re.findall(r"^\.It Ic (\w+) Ar (.*)$", page, re.M) == tokens


def completed(shell, words, cwd):
    """What the completion offers for the last of the words."""
    line = f"COMP_WORDS=({words}); COMP_CWORD=$((${{#COMP_WORDS[@]}} - 1)); _fcs_words; printf '%s\\n' \"${{COMPREPLY[@]}}\""
    script = f"source {REPOSITORY}/packaging/completions/fcs_tools; {line}"
    environment = {**os.environ, "PATH": f"{BUILD}/tools:{os.environ['PATH']}", "FCS_STORE": f"{cwd}/store"}
    return output_of([shell, "-c", script], cwd=cwd, env=environment).stdout.split()


def test_the_completion_knows_commands_options_vsans_and_files(tmp_path):
    assert run("fcsctl", "--store", tmp_path / "store", "import", SAMPLE)[0] == 0
    (tmp_path / "my fabric.json").touch()
    for words, expected in {
        "fcsctl ex": "export", "fcsctl --socket x ev": "event", "fcsctl event re": "reject",
        "fcsctl event reject --rea": "--reason", "fcsctl map --format s": "svg", "fcsctl history --lev": "--level",
        "fcsctl map --vsan 21": "2100", "fcsctl event complete --vsan ''": "1 100 2100",
        "fcsctl import my": "my fabric.json", "fcsctl map --output my": "my fabric.json", "fcsctl status ''": "",
        "snmpfcs -v ''": "1 2c 3", "snmpfcs -l a": "authNoPriv authPriv",
        "snmpfcs -v2c -c watch 127.0.0.1 : 1161 platf": "platforms platform",
        "snmpfcs -n '' agent --root 1.3 node-name ''": "add delete", "snmpfcs agent ports --vsan ''": "",
        "snmpfcs agent notifications ''": "rejects completion on off", "snmpfcs agent watch ports --in": "--interval",
        "snmpfcs agent platform add 1 40 mail --type storageS": "storageSubsystem",
    }.items():
        assert completed("bash", words, tmp_path) == expected.split(), words
