"""Figures of the whole road, inside with-world: measure.py BUILD_FOLDER SCRATCH_FOLDER."""

import http.client
import os
import pathlib
import re
import signal
import statistics
import subprocess
import sys
import time
import urllib.parse
import urllib.request
from xml.sax.saxutils import escape

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools" / "world"))
from television import Television, announcements  # noqa: E402

ROUNDS = 5
CALLS = 200
ANNOUNCED_WITHIN = 20  # seconds, or something is wrong
AVT = "urn:schemas-upnp-org:service:AVTransport:1"


def enter_phone():
    """This process moves to the host "phone"; the TV has been started by then or is started with
    in_tv."""
    if os.environ["KETRA_WORLD"] == "namespaces":
        import ctypes

        libc = ctypes.CDLL(None, use_errno=True)
        with open("/run/netns/phone", "rb") as namespace:
            if libc.setns(namespace.fileno(), 0x40000000) != 0:
                raise OSError(ctypes.get_errno(), "setns")


def wait_for_alive(sock):
    """Location of the first announced renderer."""
    while True:
        text = sock.recv(4096).decode("latin-1")
        if "ssdp:alive" in text and "device:MediaRenderer:" in text:
            return re.search(r"(?im)^location:\s*(\S+)", text).group(1)


class Control:
    """AVTransport of the renderer over one kept connection."""

    def __init__(self, location):
        description = urllib.request.urlopen(location, timeout=5).read().decode()
        service = re.search(
            rf"<serviceType>{AVT}</serviceType>.*?<controlURL>(.*?)</controlURL>", description, re.S
        )
        url = urllib.parse.urlparse(urllib.parse.urljoin(location, service.group(1)))
        self.path = url.path
        self.connection = http.client.HTTPConnection(url.netloc, timeout=10)

    def call(self, action, **arguments):
        inner = "".join(f"<{name}>{escape(value)}</{name}>" for name, value in arguments.items())
        body = (
            '<?xml version="1.0"?><s:Envelope '
            'xmlns:s="http://schemas.xmlsoap.org/soap/envelope/" '
            's:encodingStyle="http://schemas.xmlsoap.org/soap/encoding/"><s:Body>'
            f'<u:{action} xmlns:u="{AVT}"><InstanceID>0</InstanceID>{inner}</u:{action}>'
            "</s:Body></s:Envelope>"
        )
        headers = {
            "Content-Type": 'text/xml; charset="utf-8"',
            "SOAPACTION": f'"{AVT}#{action}"',
        }
        self.connection.request("POST", self.path, body.encode(), headers)
        answer = self.connection.getresponse()
        text = answer.read().decode()
        if answer.status != 200:
            raise RuntimeError(f"{action}: {answer.status} {text}")
        return text


def processes():
    """Process ids by program; the player is two processes, the one that plays is a child."""
    found = {}
    for entry in pathlib.Path("/proc").iterdir():
        if entry.name.isdigit():
            try:
                program = os.path.basename(os.readlink(entry / "exe"))
            except OSError:
                continue
            if program in ("ketra-tv", "Vantor2", "zeGStreamerPlayer"):
                found.setdefault(program, []).append(int(entry.name))
    return found


def proportional_memory(process):
    """MiB of memory, shared pages counted in proportion."""
    text = pathlib.Path(f"/proc/{process}/smaps_rollup").read_text()
    return int(re.search(r"(?m)^Pss:\s+(\d+)", text).group(1)) / 1024


def show(what, values, unit):
    middle = statistics.median(values)
    low, high = min(values), max(values)
    print(f"{what:<52}{middle:8.1f} {unit:<4}({low:.1f}..{high:.1f})", flush=True)


class Measurement:
    def __init__(self, build, scratch):
        self.build, self.scratch = build, scratch
        self.sock = None
        self.figures = {}

    def add(self, what, value):
        self.figures.setdefault(what, []).append(value)

    def start(self, number):
        folder = self.scratch / str(number)
        folder.mkdir()
        environment = dict(os.environ, KETRA_STATE_DIR=str(folder))
        log = open(folder / "log", "w", encoding="utf-8")
        begun = time.monotonic()
        tv = Television(
            str(self.build / "bin/ketra-tv"),
            options=["--allow"],
            trace=str(folder / "trace"),
            environment=environment,
            log=log,
        )
        location = wait_for_alive(self.sock)
        self.add("start", (time.monotonic() - begun) * 1000)
        tv.ready()
        return tv, Control(location)

    def play(self, tv, control, uri):
        begun = time.monotonic()
        control.call("SetAVTransportURI", CurrentURI=uri, CurrentURIMetaData="")
        control.call("Play", Speed="1")
        tv.event("MM_START_PLAY")
        self.add("play", (time.monotonic() - begun) * 1000)

    def memory(self, when):
        for program, pids in processes().items():
            self.add(f"{program} {when}", sum(proportional_memory(pid) for pid in pids))

    def round(self, number, uri):
        tv, control = self.start(number)
        self.memory("idle")
        self.play(tv, control, uri)
        self.memory("playing")
        control.call("Stop")
        tv.event("MM_EXIT_FORCE")
        for _ in range(CALLS if number == 0 else 0):
            begun = time.monotonic()
            control.call("SetAVTransportURI", CurrentURI=uri, CurrentURIMetaData="")
            self.add("set", (time.monotonic() - begun) * 1000)
        if tv.quit() != 0:
            raise RuntimeError("the TV did not shut down well")
        # Whatever it said at its end is not the next one's beginning.
        self.sock.setblocking(False)
        try:
            while self.sock.recv(4096):
                pass
        except BlockingIOError:
            self.sock.settimeout(ANNOUNCED_WITHIN)

    def print(self):
        f = self.figures
        print(f"median (min..max) of {ROUNDS} rounds, SetAVTransportURI of {CALLS} calls\n")
        show("TV started until MediaRenderer announced", f["start"], "ms")
        show("SetAVTransportURI answered, kept connection", f["set"], "ms")
        show("SetAVTransportURI + Play until MM_START_PLAY", f["play"], "ms")
        for when in ("idle", "playing"):
            for program in ("ketra-tv", "Vantor2", "zeGStreamerPlayer"):
                show(f"memory (PSS) of {program}, {when}", f[f"{program} {when}"], "MiB")


def main():
    measurement = Measurement(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]))
    enter_phone()
    measurement.sock = announcements(ANNOUNCED_WITHIN)
    address = os.environ["KETRA_PHONE_ADDRESS"]
    server = subprocess.Popen(
        ["/usr/bin/python3", "-m", "http.server", "8000", "--bind", address],
        cwd=measurement.scratch / "media",
        stdout=subprocess.DEVNULL,
        stderr=subprocess.DEVNULL,
    )
    try:
        for number in range(ROUNDS):
            measurement.round(number, f"http://{address}:8000/film.mp4")
    finally:
        server.send_signal(signal.SIGTERM)
        server.wait()
    measurement.print()


if __name__ == "__main__":
    main()
