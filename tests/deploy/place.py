"""A place as deploy/install makes it, started as its units say, on a server that is a namespace."""

import configparser
import ctypes
import os
import resource
import shutil
import subprocess
import time
from contextlib import contextmanager
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
HOST = "place.test"
SERVER, CLIENT = "198.51.100.10", "198.51.100.20"
WORK = Path("/run/place")
CLONE_NEWNET = 0x40000000

# What would reach beyond the namespace. `$calls` gets what it was asked.
STAND_INS = {
    "apt-get": 'printf "apt-get %s\\n" "$*" >>"$calls"',
    "dpkg": '[ ! -e "$fresh" ]',
    "systemctl": 'printf "systemctl %s\\n" "$*" >>"$calls"; [ "$1" != is-active ]',
    "certbot": 'printf "certbot %s\\n" "$*" >>"$calls"; [ -e "$obtained/fullchain.pem" ] || exit 1\n'
    'mkdir -p "/etc/letsencrypt/live/place.test"\n'
    'cp "$obtained"/*.pem /etc/letsencrypt/live/place.test/',
}


def run(*command, check=True, **options):
    return subprocess.run(command, check=check, text=True, capture_output=True, **options)


def make_certificate(folder, host=HOST, days=30):
    """fullchain.pem and privkey.pem there, signed by themselves."""
    folder.mkdir(parents=True, exist_ok=True)
    run(
        *("openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1"),
        *("-nodes", "-days", str(days), "-subj", f"/CN={host}", "-addext", f"subjectAltName=DNS:{host}"),
        *("-keyout", str(folder / "privkey.pem"), "-out", str(folder / "fullchain.pem")),
    )
    return folder


def make_network():
    """This network is the server's; the one with the name `client` is another computer's."""
    run("ip", "netns", "add", "client")
    run("ip", "link", "add", "wan", "type", "veth", "peer", "name", "eth0", "netns", "client")
    for interface, address, inside in (
        ("wan", SERVER, ()),
        ("eth0", CLIENT, ("-n", "client")),
    ):
        run("ip", *inside, "address", "add", f"{address}/24", "dev", interface)
        run("ip", *inside, "link", "set", interface, "up")
    with open("/etc/hosts", "a", encoding="utf-8") as hosts:
        hosts.write(f"{SERVER} {HOST}\n")


@contextmanager
def elsewhere():
    """What this thread connects to in here it connects to from the other computer."""
    libc = ctypes.CDLL(None, use_errno=True)
    with open("/proc/thread-self/ns/net", "rb") as home, open("/run/netns/client", "rb") as there:
        assert libc.setns(there.fileno(), CLONE_NEWNET) == 0
        try:
            yield
        finally:
            assert libc.setns(home.fileno(), CLONE_NEWNET) == 0


class Installation:
    def __init__(self):
        self.folder = WORK / "quorvin-place"
        self.calls = WORK / "calls"
        self.fresh = WORK / "fresh"  # where this is, no package is installed yet
        self.obtained = WORK / "obtained"  # what a certificate is asked for finds
        shutil.rmtree(WORK, ignore_errors=True)
        (self.folder / "page").mkdir(parents=True)
        (self.folder / "page" / "index.html").write_text("<!doctype html><title>Page</title>")
        for name in ("install", "files"):
            os.symlink(ROOT / "deploy" / name, self.folder / name)
        shutil.copy(ROOT / "deploy" / "install", self.folder / "real")
        os.replace(self.folder / "real", self.folder / "install")
        self.stand_ins = WORK / "bin"
        self.stand_ins.mkdir()
        for name, script in STAND_INS.items():
            (self.stand_ins / name).write_text(f"#!/bin/sh\n{script}\n")
            (self.stand_ins / name).chmod(0o755)
        self.environment = {
            "PATH": f"{self.stand_ins}:/usr/sbin:/usr/bin:/sbin:/bin",
            "calls": str(self.calls),
            "fresh": str(self.fresh),
            "obtained": str(self.obtained),
        }
        self.certificate = make_certificate(WORK / "certificate")

    def install(self, *arguments, check=True):
        self.calls.write_text("")
        done = run(str(self.folder / "install"), *arguments, env=self.environment, check=False)
        assert not check or done.returncode == 0, done.stderr
        return done

    def install_with_certificate(self, check=True):
        files = (self.certificate / name for name in ("fullchain.pem", "privkey.pem"))
        return self.install(HOST, "--certificate", *map(str, files), check=check)


class Unit:
    """A service of the installation, run as its file says."""

    def __init__(self, name):
        parser = configparser.ConfigParser(strict=False, interpolation=None)
        parser.optionxform = str
        parser.read(f"/etc/systemd/system/{name}.service")
        self.settings = parser["Service"]
        self.process = None
        self.log = open(WORK / f"{name}.log", "w", encoding="utf-8")

    def start(self):
        groups = [self.settings["Group"], self.settings["SupplementaryGroups"]]
        ids = [run("getent", "group", group).stdout.split(":")[2] for group in groups]
        user = self.settings["User"]
        # Only a manager that may do anything raises it beyond what it has itself.
        limit = min(int(self.settings["LimitNOFILE"]), resource.getrlimit(resource.RLIMIT_NOFILE)[1])
        become = ["setpriv", "--reuid", user, "--regid", ids[0], "--groups", ",".join(ids)]
        bound = ["prlimit", f"--nofile={limit}:{limit}", *become, "--inh-caps=-all", "--no-new-privs"]
        command = [*bound, *self.settings["ExecStart"].split()]
        self.process = subprocess.Popen(command, stdout=self.log, stderr=self.log)
        return self

    def reload(self):
        signal = self.settings["ExecReload"].split()[1].removeprefix("-")
        run("kill", f"-{signal}", str(self.process.pid))

    def stop(self):
        self.process.terminate()
        self.process.wait(30)
        self.log.close()


def until(what, condition):
    end = time.monotonic() + 30
    while True:
        try:
            result = condition()
        except OSError as error:
            result = error
        if result and not isinstance(result, OSError):
            return result
        if time.monotonic() > end:
            raise AssertionError(f"waited in vain for {what}; last: {result}")
        time.sleep(0.05)


def listens(*ports):
    def condition():
        return all(run("ss", "-Hlnt", f"sport = :{port}").stdout for port in ports)

    try:
        return until(f"ports {ports}", condition)
    except AssertionError as error:
        logs = (f"{log.name}:\n{log.read_text()}" for log in WORK.glob("*.log"))
        raise AssertionError("\n".join((str(error), *logs))) from error


def renew_place():
    """As quorvin-place.service does."""
    parser = configparser.ConfigParser(strict=False, interpolation=None)
    parser.optionxform = str
    parser.read("/etc/systemd/system/quorvin-place.service")
    service = parser["Service"]
    name, path = service["LoadCredential"].split(":")
    handed = WORK / "credentials"
    handed.mkdir(exist_ok=True)
    shutil.copy(path, handed / name)
    run(*service["ExecStart"].split(), env={**os.environ, "CREDENTIALS_DIRECTORY": str(handed)})
