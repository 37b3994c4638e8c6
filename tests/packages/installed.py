"""The Debian packages in a fresh root: run as their units say, asked as a manager asks, upgraded and purged.

usage: unshare --mount --pid --fork tests/packages/installed.py ROOT PACKAGE...   (as root)
The namespaces end whatever is left running, with the mounts.
"""

import ctypes
import fcntl
import hashlib
import os
import re
import shlex
import shutil
import signal
import socket
import stat
import subprocess
import sys
import threading
from pathlib import Path

sys.dont_write_bytecode = True
sys.path[:0] = [str(Path(__file__).resolve().parents[1] / "support")]

from programs import REPOSITORY, eventually, timed  # noqa: E402

ROOT = Path(sys.argv[1])
PACKAGES = [Path(name) for name in sys.argv[2:]]
NAMES = [package.name.split("_")[0] for package in PACKAGES]
# What the README has its reader type: as root, as a manager, and as a member of the service's group.
README = (REPOSITORY / "README.md").read_text()
STEPS = re.search("\n## Packages\n.*?```\n(.*?)```", README, re.S)[1].replace("sudo ", "").replace('"$USER"', "member")
SETUP, ASK, *MEMBER = re.fullmatch("(.*)systemctl restart snmpd\n(.*?)\n(.*?)\n(.*?)\n(.*?)\n", STEPS, re.S).groups()
# What an administrator has edited.
EDITED = [ROOT / "etc/snmp" / name for name in ("snmpd.conf", "fcs.conf", "snmpd.conf.d/users.conf")]
# Of dpkg and its kin, and what they rewrite: caches, logs, and the previous state of their files.
NOT_COMPARED = re.compile(r"^(proc|dev|run|tmp|root|var/(log|cache|backups)|var/(agentx|lib/(apt|dpkg|snmp|systemd)))(/|$)|^etc/.*-$|"
                          r"^etc/(ld\.so\.cache|\.pwd\.lock|subuid|subgid)$")


def inside(*command, **options):
    """Runs a command in the root, and returns its output; it has to succeed."""
    done = subprocess.run(["chroot", *options.pop("how", []), ROOT, *command], capture_output=True, text=True, timeout=300,
                          env={"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "DEBIAN_FRONTEND": "noninteractive"}, **options)
    assert done.returncode == 0, (command, done.stdout[-3000:], done.stderr[-3000:])
    return done.stdout


def as_user(user, *command):
    return inside(*command, how=[f"--userspec={user}:", f"--groups={inside('id', '-G', user).strip().replace(' ', ',')}"])


def listing():
    """Every file of the root: mode, owner, and what is in it."""
    files = {}
    for path in [Path(top, name) for top, folders, names in os.walk(ROOT) for name in folders + names]:
        name = str(path.relative_to(ROOT))
        if not NOT_COMPARED.search(name):
            status = path.lstat()
            regular = stat.S_ISREG(status.st_mode)
            files[name] = (oct(status.st_mode), status.st_uid, status.st_gid,
                           hashlib.sha256(path.read_bytes()).hexdigest() if regular else "")
    return files


def receiver(path):
    """A datagram socket in the root that daemons write to."""
    made = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM | socket.SOCK_NONBLOCK)
    (ROOT / path).unlink(missing_ok=True)
    made.bind(str(ROOT / path))
    (ROOT / path).chmod(0o777)
    return made


def received(made):
    messages = []
    try:
        while True:
            messages.append(made.recv(4096).decode())
    except BlockingIOError:
        return messages


class SystemLog(threading.Thread):
    """Takes what is logged: who logs to a full socket waits."""

    def __init__(self):
        super().__init__(daemon=True)
        self.lines = 0
        self.socket = receiver("dev/log")
        self.socket.setblocking(True)
        self.start()

    def run(self):
        while self.socket.recv(4096):
            self.lines += 1


class Unit:
    """A service, run as its unit file and the drop-ins say; systemd does not run in such a root."""

    def __init__(self, name):
        self.settings = {"User": "root", "StandardOutput": "journal"}
        unit = ROOT / "lib/systemd/system" / name
        for file in [unit, *sorted(unit.parent.glob(f"{name}.d/*.conf"))]:
            self.settings.update(re.findall(r"^(\w+)=(.*)$", file.read_text(), re.M))
        self.user = self.settings["User"]
        self.journal = ROOT / "run" / f"{name}.journal"

    def become(self):
        os.chroot(ROOT)
        os.chdir("/")
        os.setgroups(self.groups[1:])
        os.setgid(self.groups[0])
        os.setuid(self.uid)

    def start(self):
        self.uid, *self.groups = map(int, (inside("id", "-u", self.user) + inside("id", "-G", self.user)).split())
        for setting, place in (("RuntimeDirectory", "run"), ("StateDirectory", "var/lib")):
            if setting in self.settings:
                directory = ROOT / place / self.settings[setting]
                directory.mkdir(exist_ok=True)
                os.chown(directory, self.uid, self.groups[0])
                directory.chmod(int(self.settings.get(f"{setting}Mode", "0755"), 8))
        output = open("/dev/null" if self.settings["StandardOutput"] == "null" else self.journal, "a")
        notifications = receiver("run/notify")
        watchdog = {"WATCHDOG_USEC": f"{self.settings['WatchdogSec']}000000"} if "WatchdogSec" in self.settings else {}
        self.process = subprocess.Popen(shlex.split(self.settings["ExecStart"]), preexec_fn=self.become,
                                        stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                                        env={"NOTIFY_SOCKET": "/run/notify", **watchdog})
        told = []
        eventually(lambda: told.extend(received(notifications)) or self.process.poll() is not None or
                   all(any(word in text for text in told) for word in ["READY=1", *(["WATCHDOG=1"] if watchdog else [])]), 30)
        assert self.process.poll() is None

    def end(self, signal_number):
        self.process.send_signal(signal_number)
        self.process.wait(10)


def walk():
    """The varbinds of the module, once the agent has its service."""
    answer = subprocess.run(["bash", "-c", ASK], capture_output=True, text=True, env={**os.environ, "MIBS": ""})
    varbinds = re.findall("^iso.* = .*", answer.stdout, re.M)
    return varbinds if len(varbinds) > 600 else None


def run_as_units_say(system_log):
    service, agent = Unit("fcsd.service"), Unit("snmpd.service")
    service.start()
    inside("sh", "-c", SETUP)
    agent.start()
    seconds, rows = timed(lambda: eventually(walk))
    print(f"{len(rows)} instances {seconds:.2f} s after the agent's start")
    assert not agent.journal.exists() and system_log.lines < 100  # Nothing for each object.
    for command, shown in zip(MEMBER, ("3 VSANs", "^$", "fcs"), strict=True):
        assert re.search(shown, as_user("member", "sh", "-c", f"cd /tmp; {command}")), command
    for unit in (service, agent):
        unit.end(signal.SIGKILL)
    agent.start()  # The agent waits for its service.
    service.start()
    assert eventually(walk) == rows
    for unit in (agent, service):
        unit.end(signal.SIGTERM)


def of_higher_version():
    """The same packages, as the next version would be."""
    for package in PACKAGES:
        directory = ROOT / "tmp" / package.stem
        subprocess.run(["dpkg-deb", "-R", package, directory], check=True)
        control = directory / "DEBIAN/control"
        version = re.search("^Version: (.*)$", control.read_text(), re.M)[1]
        control.write_text(control.read_text().replace(version, f"{version}+next"))
        subprocess.run(["dpkg-deb", "-b", directory, ROOT / "tmp" / package.name], check=True, stdout=subprocess.DEVNULL)
        shutil.rmtree(directory)


def main():
    subprocess.run(["mount", "--make-rprivate", "/"], check=True)
    subprocess.run(["mount", "-t", "proc", "proc", ROOT / "proc"], check=True)
    shutil.copy("/etc/resolv.conf", ROOT / "etc/resolv.conf")
    (ROOT / "run/lock").mkdir(exist_ok=True)
    for package in PACKAGES:
        shutil.copy(package, ROOT / "tmp")
    install = ["apt-get", "-qq", "install", "-y", "--no-install-recommends", *(f"/tmp/{p.name}" for p in PACKAGES)]
    inside("apt-get", "-qq", "update")
    inside("apt-get", "-qq", "install", "-y", "--no-install-recommends", "snmpd", "systemd")
    before = listing()
    inside(*install)
    for file in EDITED[:2]:
        file.write_text(file.read_text() + "# mine\n")
    inside("useradd", "member")

    # A network of its own: the agent listens on the port of every agent.
    assert ctypes.CDLL(None).unshare(0x40000000) == 0
    with socket.socket() as any_socket:
        fcntl.ioctl(any_socket, 0x8914, b"lo".ljust(16, b"\0") + b"\x01\0" + bytes(14))  # SIOCSIFFLAGS, IFF_UP
    system_log = SystemLog()
    run_as_units_say(system_log)
    edited = [file.read_text() for file in EDITED]
    of_higher_version()
    inside(*install)
    assert [file.read_text() for file in EDITED] == edited and "+next" in inside("dpkg-query", "-W", "fcsd")
    run_as_units_say(system_log)

    inside("apt-get", "-qq", "remove", "-y", *NAMES)
    assert [file.read_text() for file in EDITED] == edited and (ROOT / "var/lib/fcsd/fabric.db").exists()
    agent = Unit("snmpd.service")
    for _ in range(2):  # The first may wonder at what the module has left to the agent's memory, and forgets it.
        agent.journal.unlink(missing_ok=True)
        agent.start()
        agent.end(signal.SIGTERM)
    assert "fcs" not in agent.journal.read_text()
    inside("userdel", "member")
    EDITED[2].unlink()
    EDITED[0].write_text(edited[0].removesuffix("# mine\n"))
    inside("dpkg", "--purge", *NAMES)
    inside("apt-get", "-qq", "autoremove", "--purge", "-y")
    after = listing()
    differ = sorted(file for file in {*before, *after} if before.get(file) != after.get(file))
    assert not differ, [(file, before.get(file), after.get(file)) for file in differ]
    print("packages: installed, run, upgraded, and gone without a trace")


main()
