"""The manual pages and the completion against the programs and the module's tokens."""

import os
import re
import subprocess
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("FCS_BUILD", REPOSITORY / "build"))
PAGES = REPOSITORY / "packaging" / "man"
PLACES = {"snmpfcs": ["agent"]}  # What stands between a program and its commands.


def help_of(program, *command):
    words = [program, *PLACES.get(program.name, []), *command, "--help"]
    return subprocess.run(words, capture_output=True, text=True, check=True).stdout


def options_in_help(program, *command):
    """{command: {(option or positional, name of its value)}} of a program and all of its commands."""
    text = help_of(program, *command)
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
    programs = {path.name: path for folder in ("service", "tools", "platform/linux/agentx") for path in (BUILD / folder).iterdir()}
    pages = {page: programs[name] for page in PAGES.iterdir() if (name := page.name.split(".")[0]) in programs}
    assert sorted(program.name for program in pages.values()) == ["fcs-agentx", "fcsctl", "fcsd", "snmpfcs"]
    for page, program in pages.items():
        said, written = options_in_help(program), options_in_page(page.read_text(), program.name)
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
    done = subprocess.run([shell, "-c", script], capture_output=True, text=True, cwd=cwd, env=environment)
    return done.stdout.split()


def test_the_completion_knows_commands_options_vsans_and_files(tmp_path):
    subprocess.run([BUILD / "tools/fcsctl", "--store", tmp_path / "store", "import",
                    REPOSITORY / "lab/sample-fabric.json"], check=True, capture_output=True)
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
