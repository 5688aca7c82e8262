"""The controller's side of UPnP AV, strict about what it reads: descriptions, calls, events, and a
server for the media that is pushed. Standard library only."""

import http.client
import os
import re
import socket
import threading
import time
import urllib.request
import xml.etree.ElementTree as ElementTree
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from urllib.parse import urljoin, urlsplit
from xml.sax.saxutils import escape

DEVICE = "{urn:schemas-upnp-org:device-1-0}"
SCPD = "{urn:schemas-upnp-org:service-1-0}"
AGENT = "renderer-conformance/1.0"
MOST_SILENCES = 3  # calls without an answer, one after the other


class Gone(Exception):
    """The device does not answer any more."""


class Variable:
    def __init__(self, node):
        self.name = node.findtext(SCPD + "name")
        self.type = node.findtext(SCPD + "dataType")
        self.evented = node.get("sendEvents", "yes") == "yes"
        self.allowed = [value.text for value in node.iter(SCPD + "allowedValue")]
        span = node.find(SCPD + "allowedValueRange")
        self.range = (float(span.findtext(SCPD + "minimum")),
                      float(span.findtext(SCPD + "maximum"))) if span is not None else None

    def objection(self, value):
        """Why a value does not fit the description, or None."""
        if self.type in ("ui1", "ui2", "ui4", "i1", "i2", "i4", "int"):
            if not re.fullmatch(r"[-+]?\d+", value):
                return f"{self.name}: not a number: {value!r}"
            if self.type.startswith("u") and int(value) < 0:
                return f"{self.name}: negative: {value}"
            if self.range and not self.range[0] <= int(value) <= self.range[1]:
                return f"{self.name}: out of its range: {value}"
        elif self.type == "boolean":
            if value not in ("0", "1", "true", "false", "yes", "no"):
                return f"{self.name}: not a boolean: {value!r}"
        elif self.allowed and value not in self.allowed and value != "NOT_IMPLEMENTED":
            return f"{self.name}: not an allowed value: {value!r}"
        return None


class Service:
    def __init__(self, node, base):
        self.type = node.findtext(DEVICE + "serviceType")
        self.name = self.type.split(":")[3]
        self.control = urljoin(base, node.findtext(DEVICE + "controlURL"))
        self.events = urljoin(base, node.findtext(DEVICE + "eventSubURL"))
        root = fetch_xml(urljoin(base, node.findtext(DEVICE + "SCPDURL")))
        self.variables = {variable.name: variable for variable in
                          map(Variable, root.iter(SCPD + "stateVariable"))}
        self.actions = {}  # name: [(argument, is_in, variable)]
        for action in root.iter(SCPD + "action"):
            self.actions[action.findtext(SCPD + "name")] = [
                (argument.findtext(SCPD + "name"), argument.findtext(SCPD + "direction") == "in",
                 argument.findtext(SCPD + "relatedStateVariable"))
                for argument in action.iter(SCPD + "argument")]


class Device:
    def __init__(self, location):
        self.location = location
        self.silences = 0
        root = fetch_xml(location)
        base = root.findtext(DEVICE + "URLBase") or location
        self.name = root.findtext(f".//{DEVICE}friendlyName")
        self.services = {service.name: service for service in
                         (Service(node, base) for node in root.iter(DEVICE + "service"))}

    def call(self, service, action, arguments):
        """The UPnP error code (0 for success, -1 for what is no answer of UPnP) and, on success,
        the out arguments in their order."""
        inside = "".join(f"<{name}>{escape(value)}</{name}>" for name, value in arguments)
        body = ('<?xml version="1.0" encoding="utf-8"?><s:Envelope '
                'xmlns:s="http://schemas.xmlsoap.org/soap/envelope/" '
                's:encodingStyle="http://schemas.xmlsoap.org/soap/encoding/"><s:Body>'
                f'<u:{action} xmlns:u="{service.type}">{inside}</u:{action}>'
                '</s:Body></s:Envelope>')
        try:
            status, answer = post(service.control, body.encode(), {
                "Content-Type": 'text/xml; charset="utf-8"', "User-Agent": AGENT,
                "SOAPACTION": f'"{service.type}#{action}"'})
            self.silences = 0
        except (OSError, http.client.HTTPException) as error:
            self.silences += 1
            if self.silences > MOST_SILENCES:
                raise Gone(f"the device does not answer any more: {error}") from error
            return -1, []
        try:
            root = ElementTree.fromstring(answer)
        except ElementTree.ParseError:
            return -1, []
        if status == 200:
            response = root.find(f".//{{{service.type}}}{action}Response")
            return (-1, []) if response is None else \
                (0, [(argument.tag, argument.text or "") for argument in response])
        code = root.findtext(".//{urn:schemas-upnp-org:control-1-0}errorCode")
        return (int(code) if status == 500 and code and code.isdigit() else -1), []


class Events:
    """Subscribes to one service and keeps what it hears."""

    def __init__(self, service, own_address):
        self.service = service
        self.messages = []  # (when, sequence, {variable: value})
        self.faults = []
        self._news = threading.Condition()
        outer = self

        class Handler(BaseHTTPRequestHandler):
            def do_NOTIFY(self):
                body = self.rfile.read(int(self.headers["Content-Length"]))
                self.send_response(200)
                self.send_header("Content-Length", "0")
                self.end_headers()
                outer._take(int(self.headers["SEQ"]), body)

            def log_message(self, *_):
                pass

        family = socket.AF_INET6 if ":" in own_address else socket.AF_INET
        server = type("Server", (ThreadingHTTPServer,), {"address_family": family})
        self._server = server((own_address, 0), Handler)
        self._server.daemon_threads = True
        threading.Thread(target=self._server.serve_forever, daemon=True).start()
        where = urlsplit(service.events)
        connection = http.client.HTTPConnection(where.hostname, where.port, timeout=10)
        host = f"[{own_address}]" if ":" in own_address else own_address
        self.callback = f"http://{host}:{self._server.server_port}/"
        connection.request("SUBSCRIBE", where.path, headers={
            "CALLBACK": f"<{self.callback}>", "NT": "upnp:event",
            "TIMEOUT": "Second-300", "User-Agent": AGENT})
        answer = connection.getresponse()
        answer.read()
        self.status, self.sid = answer.status, answer.headers.get("SID")
        self._unsubscribe = lambda: connection.request("UNSUBSCRIBE", where.path,
                                                       headers={"SID": self.sid})

    def _take(self, sequence, body):
        values = {}
        try:
            for node in ElementTree.fromstring(body).iter():
                name = node.tag.split("}")[-1]
                if name == "LastChange":
                    change = ElementTree.fromstring(node.text)
                    (instance,) = list(change)
                    if instance.get("val") != "0":
                        self.faults.append("an InstanceID that is not 0")
                    for variable in instance:
                        values[variable.tag.split("}")[-1]] = variable.get("val")
                elif len(node) == 0:
                    values[name] = node.text or ""
        except (ElementTree.ParseError, ValueError) as error:
            self.faults.append(f"not well formed: {error}: {body[:200]!r}")
        with self._news:
            self.messages.append((time.monotonic(), sequence, values))
            self._news.notify_all()

    def count(self):
        with self._news:
            return len(self.messages)

    def since(self, start):
        with self._news:
            return self.messages[start:]

    def wait(self, fits, start=0, seconds=10.0):
        """Whether a message from `start` on fits, in time."""
        end = time.monotonic() + seconds
        with self._news:
            while not any(fits(values) for _, _, values in self.messages[start:]):
                left = end - time.monotonic()
                if left <= 0:
                    return False
                self._news.wait(left)
            return True

    def await_latest(self, variable, wanted, seconds=10.0):
        """Whether the newest value that was told of a variable is the wanted one, in time."""
        def newest():
            for _, _, values in reversed(self.messages):
                if variable in values:
                    return values[variable]
            return None
        end = time.monotonic() + seconds
        with self._news:
            while newest() != wanted:
                left = end - time.monotonic()
                if left <= 0:
                    return False
                self._news.wait(left)
            return True

    def close(self):
        try:
            self._unsubscribe()
        except OSError:
            pass  # the device is gone
        self._server.shutdown()
        self._server.server_close()


def subscription_request(service, method, headers):
    """The status that a request of the event side is answered with."""
    where = urlsplit(service.events)
    connection = http.client.HTTPConnection(where.hostname, where.port, timeout=10)
    connection.request(method, where.path, headers={"User-Agent": AGENT, **headers})
    status = connection.getresponse().status
    connection.close()
    return status


class MediaServer:
    """Serves one file, with ranges, under any name; /missing does not exist, and what is asked for
    as /slow never comes."""

    def __init__(self, path, own_address):
        with open(path, "rb") as file:
            content = file.read()
        kind = {".mp4": "video/mp4", ".mp3": "audio/mpeg", ".webm": "video/webm"}.get(
            os.path.splitext(path)[1], "application/octet-stream")

        closing = self._closing = threading.Event()

        class Handler(BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_GET(self):
                if self.path == "/slow":
                    closing.wait(60)
                    self.close_connection = True
                    return
                if self.path == "/missing":
                    self.send_error(404)
                    return
                asked = re.fullmatch(r"bytes=(\d+)-(\d*)", self.headers.get("Range", ""))
                first = int(asked[1]) if asked else 0
                last = int(asked[2] or len(content) - 1) if asked else len(content) - 1
                self.send_response(206 if asked else 200)
                if asked:
                    self.send_header("Content-Range", f"bytes {first}-{last}/{len(content)}")
                self.send_header("Accept-Ranges", "bytes")
                self.send_header("Content-Length", str(last - first + 1))
                self.send_header("Content-Type", kind)
                self.end_headers()
                if self.command == "GET":
                    self.wfile.write(content[first:last + 1])

            do_HEAD = do_GET

            def log_message(self, *_):
                pass

            def handle(self):
                try:
                    super().handle()
                except OSError:
                    pass  # the renderer has gone away, as it may

        family = socket.AF_INET6 if ":" in own_address else socket.AF_INET
        server = type("Server", (ThreadingHTTPServer,), {"address_family": family})
        self._server = server((own_address, 0), Handler)
        self._server.daemon_threads = True
        threading.Thread(target=self._server.serve_forever, daemon=True).start()
        host = f"[{own_address}]" if ":" in own_address else own_address
        self.base = f"http://{host}:{self._server.server_port}/"
        self.mime, self.size = kind, len(content)

    def uri(self, name):
        return self.base + name

    def didl(self, *names, title="Something"):
        """A description with an item for each of the names."""
        items = (f'<item id="{number}" parentID="0" restricted="1">'
                 f'<dc:title>{escape(title)}</dc:title>'
                 '<upnp:class>object.item.videoItem</upnp:class>'
                 f'<res protocolInfo="http-get:*:{self.mime}:DLNA.ORG_OP=01" size="{self.size}">'
                 f'{escape(self.uri(name))}</res></item>' for number, name in enumerate(names, 1))
        return ('<DIDL-Lite xmlns="urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/" '
                'xmlns:dc="http://purl.org/dc/elements/1.1/" '
                'xmlns:upnp="urn:schemas-upnp-org:metadata-1-0/upnp/">' + "".join(items) +
                '</DIDL-Lite>')

    def close(self):
        self._closing.set()
        self._server.shutdown()
        self._server.server_close()


def fetch_xml(url):
    with urllib.request.urlopen(url, timeout=10) as answer:
        return ElementTree.fromstring(answer.read())


def post(url, body, headers):
    request = urllib.request.Request(url, data=body, headers=headers)
    try:
        with urllib.request.urlopen(request, timeout=15) as answer:
            return answer.status, answer.read()
    except urllib.error.HTTPError as error:
        return error.code, error.read()


def own_address_towards(location):
    """Which of this machine's addresses the device sees."""
    where = urlsplit(location)
    family = socket.AF_INET6 if ":" in where.hostname else socket.AF_INET
    with socket.socket(family, socket.SOCK_DGRAM) as probe:
        probe.connect((where.hostname, where.port or 80))
        return probe.getsockname()[0]
