"""What people watch a fabric with, against the lab: Prometheus, trap handlers, checks."""

import contextlib
import json
import os
import re
import shlex
import signal
import subprocess
import time
import urllib.request

import pytest
from fabric import PLATFORM_TYPES, PORT_STATES, named, octets
from far_lab import FarLab
from lab import ROOT
from programs import REPOSITORY, SAMPLE, eventually, free_port, paused
from prometheus import MIBS, MONITORING, PROMETHEUS, UNPACKED, Prometheus, exporter, running

PAGE = (REPOSITORY / "docs" / "monitoring.md").read_text()
ENGINE = "0x80001F8804666373"
USER = 'traps SHA-256 "a pass phrase" AES "another one"'
RECEIVER = f"127.0.0.1:{free_port()}"  # Of each notification, by v2c and by v3.
LOG_MATCHES = r"```\n(logmatch .*?)```"  # What the page has for snmpd.conf.
FAILURES = "1.3.6.1.4.1.2021.16.2.1.5.1"  # Of logMatchTable: how often the first line has been logged.
LAB = {"exchange_timeout": 1000, "settings": f"""{re.search(LOG_MATCHES, PAGE, re.S)[1].replace("/var/log/", "")}
exactEngineID {ENGINE}
createUser {USER}
trap2sink {RECEIVER} public
trapsess -v 3 -l authPriv -u traps -a SHA-256 -A "a pass phrase" -x AES -X "another one" {RECEIVER}
"""}


@pytest.fixture(autouse=True)
def sample(lab):
    lab.show(SAMPLE)
    eventually(lab.answers)


def run(*command, **options):
    subprocess.run(command, check=True, timeout=60, **options)


def test_the_files_are_what_the_generators_make_and_promtool_takes(tmp_path):
    run("prometheus-snmp-generator", "--fail-on-parse-errors", "generate", "--output-path", tmp_path / "snmp.yml",
        cwd=PROMETHEUS, env=MIBS)
    assert (tmp_path / "snmp.yml").read_text() == (PROMETHEUS / "snmp.yml").read_text()
    run("snmpttconvertmib", f"--in={REPOSITORY}/mibs/ZEPHRIN-FCS-MIB.txt", f"--out={tmp_path}/traps", "--no_variables",
        env=MIBS)
    made = re.sub("(?m)^MIB: .*\n", "", (tmp_path / "traps").read_text())  # It bears the time.
    assert made == (MONITORING / "snmptt" / "zephrin-fcs.conf").read_text()
    run("promtool", "check", "config", PROMETHEUS / "prometheus.yml")
    run("promtool", "test", "rules", PROMETHEUS / "fcs.rules.test.yml")


@pytest.mark.parametrize("way", ["agentx", "proxy"])
def test_one_address_has_a_module_for_each_switch(way, tmp_path):
    module = re.search(r"```\n(  fcs_switch_2:\n.*?)```", PAGE, re.S)[1]
    modules = (PROMETHEUS / "generator.yml").read_text().replace("walk:\n", "walk: &fcs\n", 1)
    (tmp_path / "generator.yml").write_text(modules + module)
    run("prometheus-snmp-generator", "--fail-on-parse-errors", "generate", cwd=tmp_path, env=MIBS)
    with FarLab(tmp_path / "lab", way) as far, exporter(tmp_path / "snmp.yml") as address:
        far.switch = "switch-2"
        eventually(lambda: far.answers() and far.answers_as("switch-1"))
        scrape = f"http://{address}/snmp?target={far.address}&module=fcs_switch_2"
        series = urllib.request.urlopen(scrape, timeout=20).read().decode()
        rejects = re.findall(r'\nfcsRejects{fcsVsanIndex="(\d+)"} (\S+)', series)
        walk = far.walk(["-v2c", "-c", "public"], f"{ROOT}.1.2.2.1.9")
        assert len(walk) == 3 and {int(vsan): float(count) for vsan, count in rejects} == {
            int(name.split(".")[-1]): float(value) for name, _, value in walk}


def expected_rows(fabric):
    """What is to be seen of a fabric that is all discovered: ports, attached ports, platforms."""
    ports, attached, platforms = set(), set(), set()
    for vsan in fabric["vsans"]:
        for element, port in [(element, port) for element in vsan["elements"] for port in element.get("ports", [])]:
            place = (str(vsan["id"]), element["logicalName"] or element["name"], str(port["physicalPort"]))
            state = PORT_STATES.get(port["state"], (0, 6))[1]
            ports.add((*place, port["name"], state))
            attached |= {(*place, named(name)[:8].hex(":"), name[16:], state) for name in port.get("attached", [])}
        for platform in vsan["platforms"]:
            name = octets(platform["name"]).hex().upper()
            platforms.add((str(vsan["id"]), str(platform["index"]), name and f"0x{name}",
                           PLATFORM_TYPES.get(platform["type"], (0, platform["type"]))[1]))
    return ports, attached, platforms


def seen_rows(prometheus):
    place = ("vsan", "element", "port")
    return (prometheus.rows("fcs:port:state", *place, "port_wwn"),
            prometheus.rows("fcs:attached_port:state", *place, "attached_wwn", "attached_address"),
            prometheus.rows("fcs:platform:type", "vsan", "platform_index", "platform_octets"))


def test_prometheus(lab, tmp_path):
    """Every row with its labels, whatever the names; the queries of the page; alerts for what fails."""
    sample, failed = (json.loads(SAMPLE.read_text()) for _ in range(2))
    failed["vsans"][0]["elements"][0]["ports"][2]["state"] = "fault"
    failed["vsans"][2]["platforms"][0]["name"] = {"hex": "0041ff0a225c" + "e9" * 200}
    with contextlib.ExitStack() as stack:
        prometheus = Prometheus(tmp_path, lab.address, stack)

        def shows(fabric):
            faults = {row[:4] for row in expected_rows(fabric)[0] if row[4] == 5}
            return (seen_rows(prometheus) == expected_rows(fabric)
                    and prometheus.alerts("FcsPortFault", "vsan", "element", "port", "port_wwn") == faults)

        eventually(lambda: shows(sample), 60)
        section = PAGE.split("## What people ask first")[1].split("\n## ")[0]
        queries = re.findall(r"^\|[^|]+\| `(.+)` \|$", section, re.M)
        assert len(queries) >= 10
        for query in queries:
            eventually(lambda: prometheus.query(query))
        assert not prometheus.alerts("FcsServiceLost") and not prometheus.alerts("FcsRejects")
        lab.show(failed)
        lab.control("event", "reject", "--vsan", "1")
        eventually(lambda: shows(failed) and prometheus.alerts("FcsRejects", "vsan") == {("1",)}, 60)
        with paused(lab.service):
            eventually(lambda: prometheus.alerts("FcsServiceLost")
                       and not prometheus.query("fcsIeNumber or fcsPortState")
                       and prometheus.rows('up{job=~"fcs|fcs_fabric"}', "job") == {("fcs", 1), ("fcs_fabric", 1)})
            assert not prometheus.alerts("FcsElementVanished")
        eventually(lambda: not prometheus.alerts("FcsServiceLost") and shows(failed), 60)
        with paused(lab.agent):
            eventually(lambda: prometheus.alerts("FcsAgentUnreachable"))


def test_traps_are_sentences(lab, tmp_path):
    log, traps, conf, ini = (tmp_path / name for name in ("snmptt.log", "traps.log", "snmptrapd.conf", "snmptt.ini"))
    text = (UNPACKED / "snmptt" / "etc" / "snmp" / "snmptt.ini").read_text()
    for option, value in [("log_file", log), ("ipv6_enable", 0), ("syslog_enable", 0), ("syslog_system_enable", 0)]:
        text = re.sub(rf"(?m)^{option} = .*", f"{option} = {value}", text)
    ini.write_text(text.replace("\n/etc/snmptt/snmptt.conf\n", f"\n{MONITORING}/snmptt/zephrin-fcs.conf\n"))
    conf.write_text(f"snmpTrapdAddr udp:{RECEIVER}\nauthCommunity log,execute public\n"
                    f"createUser -e {ENGINE} {USER}\nauthUser log,execute traps\n"
                    f"traphandle default {UNPACKED}/snmptt/usr/sbin/snmptt --ini={ini}\n")
    lab.put("fcsReqRejNotifyEnable.0 i 1", "fcsDiscoveryCompleteNotifyEnable.0 i 1", "fcsVsanDiscoveryName.0 x 4ae9")
    with running("snmptrapd", "-f", "-n", "-On", "-Lf", traps, "-C", "-c", conf,
                 env={**MIBS, "SNMP_PERSISTENT_DIR": str(tmp_path), "SNMPCONFPATH": str(tmp_path)}):
        eventually(lambda: traps.exists() and "NET-SNMP" in traps.read_text())
        lab.control("event", "reject", "--vsan", "1", "--explanation", "97")
        lab.control("event", "address", "--vsan", "100", "--address", "192.0.2.7")
        lab.control("event", "complete", "--vsan", "1")
        eventually(lambda: log.exists() and len(log.read_text().splitlines()) >= 6)
    assert sorted(line.split("127.0.0.1 - ")[1] for line in log.read_text().splitlines()) == sorted(2 * [
        "The FCS has rejected a registration request: unableToPerformRequest (platformNameAlreadyExists).",
        "A management address has changed in VSAN 100 to C0 00 02 07 00 00 00 00 .",
        "The discovery '4A E9 ' has completed."])


def resolved(text, values):
    """A text with its $macros$ replaced, and those in their values."""
    while macro := re.search(r"\$(\w+)\$", text):
        text = text.replace(macro[0], values.get(macro[1], ""))
    return text


def nagios_line(check, given, port):
    text = (MONITORING / "nagios" / "fcs.cfg").read_text()
    line = re.search(rf"command_name +check_fcs_{check}\n +command_line +\$USER1\$/check_snmp (.+)", text)[1]
    return shlex.split(resolved(line, {"HOSTADDRESS": "127.0.0.1", "_HOSTFCS_SNMP": f"-p {port} -P 2c -C public",
                                       **{f"ARG{n}": word for n, word in enumerate(given.values(), 1)}}))


def icinga_line(check, given, port):
    text = (MONITORING / "icinga2" / "fcs.conf").read_text()
    blocks = dict(re.findall(r'CheckCommand "fcs-(\w+)" \{\n(.*?\n)\}', text, re.S))
    values = {**dict(re.findall(r'vars\.(\w+) = "?(.*?)"?\n', blocks["snmp"] + blocks[check])), "address": "127.0.0.1",
              "fcs_snmp_port": str(port), "fcs_community": "public", **given}
    options = re.findall(r'"(-\S+)" = (?:"(.*?)"|\{ set_if = "(.*?)" \})', blocks["snmp"])
    return [word for option, value, condition in options if resolved(value or condition, values)
            for word in ([option, resolved(value, values)] if value else [option])]


PORT = {"fcs_vsan": "100", "fcs_port": "33.10.0.0.94.0.83.2"}
REJECTS = {"fcs_vsan": "1", "fcs_warning": "0", "fcs_critical": "60000"}
CHECKS = [("elements", {"fcs_least": "10"}, 0, "elements 10"), ("elements", {"fcs_least": "11"}, 2, "elements *10*"),
          ("discovery", {"fcs_vsan": "100"}, 0, "discovery 2"), ("discovery", {"fcs_vsan": "5"}, 2, "No Such Instance"),
          ("port", {**PORT, "fcs_port": "33.9.0.0.94.0.83.2"}, 0, "port_state 2"), ("port", PORT, 2, "port_state *5*"),
          ("port", {**PORT, "fcs_port": "33.11.0.0.94.0.83.2"}, 1, "port_state *3*"),
          ("rejects", REJECTS, 0, "No previous data"), ("rejects", REJECTS, 1, "rejects_per_minute *")]


def test_checks(lab, tmp_path):
    """Nagios' commands do what they are for, and those for Icinga are the same."""
    def check(name, given):
        words = nagios_line(name, given, lab.port)
        assert sorted(icinga_line(name, given, lab.port)) == sorted(words)
        return subprocess.run(["check_snmp", *words], capture_output=True, text=True, timeout=60,
                              env={**os.environ, "MP_STATE_PATH": str(tmp_path)})

    for name, given, status, said in CHECKS:
        answer = check(name, given)
        assert answer.returncode == status and said in answer.stdout, answer
        if name == "rejects":
            time.sleep(1.1)  # A rate needs a second.
            lab.control("event", "reject", "--vsan", "1")
    with paused(lab.service):
        assert check("elements", {"fcs_least": "1"}).returncode == 2


def test_health(lab, tmp_path):
    """What is told of the service without SNMP, and of the agent through objects that it has anyhow."""
    metrics = tmp_path / "fcs.prom"
    lab.control("status", "--prometheus", "--output", metrics)
    run("promtool", "check", "metrics", stdin=metrics.open())
    assert re.search(r'(?s)\nfcs_service_up 1\n.*_connections{purpose="exchange"} 1\n', metrics.read_text())
    failures = int(lab.get(FAILURES))
    with paused(lab.service):
        with pytest.raises(AssertionError, match="does not answer"):
            lab.control("status", "--prometheus", "--output", metrics)
        assert metrics.read_text().splitlines()[-1] == "fcs_service_up 0" and not lab.answers()
        eventually(lambda: int(lab.get(FAILURES)) == failures + 1)
    eventually(lambda: re.search(r"exchanges: \d+ since the start, [1-9]\d* failed, \d+\.\d{3} s waited\n", lab.log()))
