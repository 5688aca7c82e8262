"""The house that the end-to-end tests look at: a television, phones, and what is between them.

A test runs on the host "phone" of a world of its own (tools/world/with-world). Every wait has a
deadline and, when it is in vain, tells what the television said last.
"""

import os
import re
import shutil
import signal
import socket
import ssl
import subprocess
import sys
import threading
import time
import unittest
import urllib.error
import urllib.request
import xml.etree.ElementTree as ElementTree
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from urllib.parse import urljoin
from xml.sax.saxutils import escape

for folder in ("../../tools/world", "../support"):
    sys.path.insert(0, os.path.join(os.path.dirname(__file__), folder))
import television  # noqa: E402  (their folders are known only now)
from waiting import DEADLINE, until  # noqa: E402

BIN = os.environ["KETRA_BIN"]
MEDIA = os.environ["KETRA_MEDIA"]
COMPANIONS = "/applications/DLNA/release/bin/"
AV_TRANSPORT = "urn:schemas-upnp-org:service:AVTransport:1"


def companion_pids(program):
    """Processes of this world that run one of the staged programs."""
    pids = []
    for entry in os.listdir("/proc"):
        try:
            if entry.isdigit() and os.readlink(f"/proc/{entry}/exe") == COMPANIONS + program:
                pids.append(int(entry))
        except OSError:
            pass  # it ended while we looked
    return pids


def bus_daemon():
    """The process id of this world's state bus."""
    address = "--address=" + os.environ["DBUS_SESSION_BUS_ADDRESS"]
    for entry in os.listdir("/proc"):
        try:
            if entry.isdigit():
                with open(f"/proc/{entry}/cmdline", encoding="utf-8") as words:
                    if address in words.read().split("\0"):
                        return int(entry)
        except OSError:
            pass  # it ended while we looked
    raise AssertionError("this world has no state bus")


class Process:
    """A child whose output is read line by line on a thread of its own."""

    def __init__(self, arguments, **options):
        self.arguments = arguments
        self.lines = []
        self._news = threading.Condition()
        self._child = subprocess.Popen(
            arguments, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
            text=True, encoding="utf-8", errors="replace", **options)
        self.pid = self._child.pid
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        for line in self._child.stdout:
            with self._news:
                self.lines.append(line.rstrip("\n"))
                self._news.notify_all()
        with self._news:
            self._news.notify_all()

    def wait_line(self, fits, what, start=0, seconds=DEADLINE):
        """Index of the first line from `start` on for which fits(line) is true."""
        end = time.monotonic() + seconds
        index = start
        with self._news:
            while True:
                while index < len(self.lines):
                    if fits(self.lines[index]):
                        return index
                    index += 1
                if not self._reader.is_alive() and index >= len(self.lines):
                    raise AssertionError(f"it ended before {what}\n{self.tail()}")
                left = end - time.monotonic()
                if left <= 0:
                    raise AssertionError(f"waited {seconds:g} s in vain for {what}\n{self.tail()}")
                self._news.wait(min(left, 0.2))

    def signal(self, number):
        self._child.send_signal(number)

    def ended(self, seconds=DEADLINE):
        """Its exit status; fails the test when it does not end in time."""
        try:
            status = self._child.wait(seconds)
        except subprocess.TimeoutExpired:
            raise AssertionError(f"it did not end within {seconds:g} s\n{self.tail()}") from None
        self._reader.join(5)
        return status

    def is_running(self):
        return self._child.poll() is None

    def kill(self):
        if self.is_running():
            self._child.kill()
        self._child.wait()
        self._reader.join(5)
        self._child.stdout.close()

    def tail(self):
        shown = "\n".join("    " + line for line in self.lines[-25:])
        return f"  last lines of {' '.join(self.arguments)}:\n{shown}"


class Television(television.Television):
    """ketra-tv on the host "tv", told what to do on its standard input."""

    def __init__(self, folder, *options):
        self.trace = os.path.join(folder, "tv-trace.txt")
        self._said = []
        super().__init__(os.path.join(BIN, "ketra-tv"), options, self.trace,
                         on_line=self._said.append)
        self.name = self.told(self.ready)["name"]

    def told(self, ask, *arguments, **named):
        """ask(..), or a failure that shows what the television said last."""
        try:
            return ask(*arguments, **named)
        except television.Missing as missing:
            raise AssertionError(f"{missing}\n{self.tail()}") from None

    def event(self, name, seconds=DEADLINE, **details):
        return self.told(super().event, name, seconds, **details)

    def status(self, seconds=DEADLINE):
        return self.told(super().status, seconds)

    def texts(self, kind):
        """What it said in lines of this kind."""
        return [line["text"] for line in self._said if line["line"] == kind]

    def until_said(self, kind, text, seconds=DEADLINE):
        try:
            until(lambda: text in self.texts(kind), f"{kind} {text!r}", seconds)
        except AssertionError as failure:
            raise AssertionError(f"{failure}\n{self.tail()}") from None

    def event_names(self):
        return [event["name"] for event in self.events()]

    def do(self, command):
        """A line of the remote control that must be obeyed."""
        reply = self.told(self.reply, command, DEADLINE)
        if not reply["ok"]:
            raise AssertionError(f"{command}: {reply['text']}\n{self.tail()}")

    def until_status(self, fits, what, seconds=DEADLINE):
        try:
            return until(lambda: (said := self.status()) and fits(said) and said, what, seconds,
                         0.2)
        except AssertionError as failure:
            raise AssertionError(f"{failure}\n{self.tail()}") from None

    def ended(self, seconds=DEADLINE):
        return self.told(self.wait_for_exit, seconds)

    def kill(self):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        self._reader.join(5)
        self.process.stdin.close()
        self.process.stdout.close()

    def tail(self):
        said = "\n".join("    " + television.describe(line) for line in self._said[-25:])
        try:
            with open(self.trace, encoding="utf-8", errors="replace") as trace:
                traced = "".join("    " + line for line in trace.readlines()[-40:])
        except OSError:
            traced = "    (none)"
        return f"  it said last:\n{said}\n  end of its trace:\n{traced}"


def push(*arguments, host="phone"):
    """Starts ketra-push on a host."""
    return Process([f"in_{host}", os.path.join(BIN, "ketra-push"), *arguments])


def media(name):
    return os.path.join(MEDIA, name)


class UpnpError(Exception):
    """An action was refused; `code` is UPnP's, or 0 with the HTTP status alone."""

    def __init__(self, status, code):
        super().__init__(f"HTTP {status}, UPnP error {code}")
        self.status = status
        self.code = code


class Controller:
    """A controller that does nothing but what it is told, well or badly."""

    def __init__(self, location):
        self.location = location
        with urllib.request.urlopen(location, timeout=10) as answer:
            description = ElementTree.fromstring(answer.read())
        space = {"d": "urn:schemas-upnp-org:device-1-0"}
        self.controls = {}
        for service in description.iterfind(".//d:service", space):
            kind = service.findtext("d:serviceType", namespaces=space)
            path = service.findtext("d:controlURL", namespaces=space)
            self.controls[kind] = urljoin(location, path)

    def post(self, body, headers, service=AV_TRANSPORT):
        """Sends a body as it is; the status and the answer's body."""
        request = urllib.request.Request(self.controls[service], data=body, headers=headers)
        try:
            with urllib.request.urlopen(request, timeout=15) as answer:
                return answer.status, answer.read()
        except urllib.error.HTTPError as error:
            return error.code, error.read()

    def call(self, action, service=AV_TRANSPORT, **arguments):
        """The output arguments of an action as a dictionary."""
        inside = "".join(f"<{name}>{escape(str(value))}</{name}>"
                         for name, value in arguments.items())
        body = ('<?xml version="1.0"?><s:Envelope xmlns:s="http://schemas.xmlsoap.org/soap/'
                'envelope/" s:encodingStyle="http://schemas.xmlsoap.org/soap/encoding/"><s:Body>'
                f'<u:{action} xmlns:u="{service}">{inside}</u:{action}></s:Body></s:Envelope>')
        status, answer = self.post(body.encode(), {
            "Content-Type": 'text/xml; charset="utf-8"',
            "SOAPACTION": f'"{service}#{action}"'}, service)
        if status != 200:
            code = re.search(rb"<errorCode>(\d+)</errorCode>", answer)
            raise UpnpError(status, int(code.group(1)) if code else 0)
        response = ElementTree.fromstring(answer).find(f".//{{{service}}}{action}Response")
        return {argument.tag: argument.text or "" for argument in response}

    def load(self, uri, metadata=""):
        return self.call("SetAVTransportURI", InstanceID=0, CurrentURI=uri,
                         CurrentURIMetaData=metadata)

    def play(self):
        return self.call("Play", InstanceID=0, Speed="1")

    def transport(self):
        return self.call("GetTransportInfo", InstanceID=0)


def find_renderer():
    """Where the only renderer of this world is described."""
    def search():
        listing = subprocess.run(["in_phone", os.path.join(BIN, "ketra-push"), "--list",
                                  "--timeout", "1.5"], stdout=subprocess.PIPE, text=True,
                                 check=False)
        return listing.stdout.splitlines()
    lines = until(search, "a renderer on the network")
    if len(lines) != 1:
        raise AssertionError("more than one renderer in this world: " + repr(lines))
    return lines[0].split("\t")[2]


class MediaServer:
    """Serves the media with ranges, over TLS when it has a certificate (a PEM file with its key), and
    a playlist of two songs, /list.m3u. Four things go wrong: /missing answers 404, /silent takes the
    request and never answers, /stalls sends the first part of the film and no more, /unsized sends
    the film with neither length nor ranges."""

    def __init__(self, certificate=None):
        self.over = threading.Event()
        self.requests = []
        outer = self

        class Handler(BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_GET(self):
                outer.requests.append(self.path)
                if self.path.startswith("/silent"):
                    outer.over.wait()
                    self.close_connection = True
                    return
                if self.path == "/list.m3u":
                    self.send_list()
                    return
                film = self.path in ("/stalls", "/unsized")
                path = media("film.mp4" if film else self.path[1:])
                if "/" in self.path[1:] or not os.path.exists(path):
                    self.send_error(404)
                    return
                self.send_content(path)

            do_HEAD = do_GET

            def send_list(self):
                content = f"#EXTM3U\n{outer.uri('bell.mp3')}\n{outer.uri('chime.mp3')}\n".encode()
                self.send_response(200)
                self.send_header("Content-Type", "audio/x-mpegurl")
                self.send_header("Content-Length", str(len(content)))
                self.end_headers()
                if self.command != "HEAD":
                    self.wfile.write(content)

            def send_content(self, path):
                with open(path, "rb") as file:
                    content = file.read()
                if self.path == "/unsized":
                    self.send_response(200)
                    self.send_header("Content-Type", "video/mp4")
                    self.send_header("Connection", "close")
                    self.end_headers()
                    if self.command != "HEAD":
                        self.wfile.write(content)
                    return
                asked = re.fullmatch(r"bytes=(\d+)-(\d*)", self.headers.get("Range", ""))
                first = int(asked.group(1)) if asked else 0
                last = int(asked.group(2) or len(content) - 1) if asked else len(content) - 1
                self.send_response(206 if asked else 200)
                if asked:
                    self.send_header("Content-Range", f"bytes {first}-{last}/{len(content)}")
                self.send_header("Accept-Ranges", "bytes")
                self.send_header("Content-Length", str(last - first + 1))
                self.send_header("Content-Type", _TYPES.get(path.rsplit(".", 1)[-1], "video/mp4"))
                self.end_headers()
                if self.command == "HEAD":
                    return
                if self.path == "/stalls":
                    self.wfile.write(content[first:first + 200000])
                    self.wfile.flush()
                    outer.over.wait()
                    self.close_connection = True
                    return
                self.wfile.write(content[first:last + 1])

            def log_message(self, *_):
                pass

            def handle(self):
                try:
                    super().handle()
                except OSError:
                    pass  # the player has gone away, as it may

        self.address = os.environ["KETRA_PHONE_ADDRESS"]
        family = socket.AF_INET6 if ":" in self.address else socket.AF_INET
        server = type("Server", (ThreadingHTTPServer,), {"address_family": family})
        self.server = server((self.address, 0), Handler)
        self.server.daemon_threads = True
        self.scheme = "https" if certificate else "http"
        if certificate:
            tls = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            tls.load_cert_chain(certificate)
            # The handshake is the connection's own thread's: a stranger must not hold up the others.
            self.server.socket = tls.wrap_socket(self.server.socket, server_side=True,
                                                 do_handshake_on_connect=False)
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def uri(self, name):
        host = f"[{self.address}]" if ":" in self.address else self.address
        return f"{self.scheme}://{host}:{self.server.server_port}/{name}"

    def close(self):
        self.over.set()
        self.server.shutdown()
        self.server.server_close()


_TYPES = {"mp4": "video/mp4", "mp3": "audio/mpeg", "jpg": "image/jpeg", "txt": "text/plain"}


def didl(uri, mime="video/mp4", title="Something"):
    kind = "audioItem" if mime.startswith("audio/") else "videoItem"
    return ('<DIDL-Lite xmlns="urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/" '
            'xmlns:dc="http://purl.org/dc/elements/1.1/" '
            'xmlns:upnp="urn:schemas-upnp-org:metadata-1-0/upnp/">'
            '<item id="1" parentID="0" restricted="1">'
            f'<dc:title>{escape(title)}</dc:title><upnp:class>object.item.{kind}</upnp:class>'
            f'<res protocolInfo="http-get:*:{mime}:*">{escape(uri)}</res></item></DIDL-Lite>')


class HouseTest(unittest.TestCase):
    """One house a test, in a folder of its own."""

    def setUp(self):
        self.folder = os.path.join(os.environ["KETRA_E2E_FOLDER"], self.id())
        shutil.rmtree(self.folder, ignore_errors=True)
        os.makedirs(self.folder)
        for variable in ("HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME",
                         "XDG_STATE_HOME", "XDG_RUNTIME_DIR", "TMPDIR"):
            os.environ[variable] = self.folder
        for variable in ("DISPLAY", "WAYLAND_DISPLAY"):
            os.environ.pop(variable, None)
        os.environ["KETRA_STATE_DIR"] = self.folder

    def serve(self, certificate=None):
        server = MediaServer(certificate)
        self.addCleanup(server.close)
        return server

    def television(self, *options):
        tv = Television(self.folder, *options)
        self.addCleanup(tv.kill)
        return tv

    def push(self, *arguments, host="phone"):
        process = push(*arguments, host=host)
        self.addCleanup(process.kill)
        return process

    def assert_quits(self, tv, seconds=DEADLINE):
        """The television ends as asked, in time, and takes its companions along."""
        tv.say("quit")
        self.assertEqual(tv.ended(seconds), 0, tv.tail())
        for program in ("Vantor2", "zeGStreamerPlayer"):
            until(lambda: not companion_pids(program), f"the end of {program}", 5)


def kill(pids):
    for pid in pids:
        try:
            os.kill(pid, signal.SIGKILL)
        except ProcessLookupError:
            pass  # it went with the one before it


def free_port():
    with socket.socket() as probe:
        probe.bind((os.environ["KETRA_PHONE_ADDRESS"], 0))
        return probe.getsockname()[1]
