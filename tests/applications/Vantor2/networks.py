"""A television and a phone in one home: the renderer daemon on one side of cables that a test lays
and cuts as it needs them, and the test's own ear and voice on the other.

Run in a network namespace of its own (unshare --net), which is the television's. The test itself
moves to a second one, the phone's.
"""

import ctypes
import os
import re
import socket
import struct
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.error
import urllib.request

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "../../support"))
from waiting import DEADLINE, until  # noqa: E402  (its folder is known only now)

VANTOR2 = os.environ["VANTOR2_PROGRAM"]
SBUS = os.environ["SBUS_PROGRAM"]
CLONE_NEWNET = 0x40000000
LIBC = ctypes.CDLL(None, use_errno=True)
TV_NETWORK = os.open("/proc/self/ns/net", os.O_RDONLY | os.O_CLOEXEC)
MULTICAST_ALL = {socket.AF_INET: 49, socket.AF_INET6: 29}  # off: only what was joined on a link
RENDERER = "urn:schemas-upnp-org:device:MediaRenderer:1"


def check(result):
    if result != 0:
        raise OSError(ctypes.get_errno(), os.strerror(ctypes.get_errno()))


def enter_tv():
    check(LIBC.setns(TV_NETWORK, CLONE_NEWNET))


def on_tv(make):
    """What make() makes on the television's network, a socket say."""
    own = os.open("/proc/thread-self/ns/net", os.O_RDONLY | os.O_CLOEXEC)
    enter_tv()
    try:
        return make()
    finally:
        check(LIBC.setns(own, CLONE_NEWNET))
        os.close(own)


def ip(*arguments, on_tv=False):
    subprocess.run(["ip", *arguments], check=True, preexec_fn=enter_tv if on_tv else None)


class Ssdp:
    """The phone's ear and voice for announcements and searches on one of its addresses."""

    def __init__(self, address, interface):
        self.ipv6 = ":" in address
        family = socket.AF_INET6 if self.ipv6 else socket.AF_INET
        self.group = ("ff05::c", 1900, 0, socket.if_nametoindex(interface)) if self.ipv6 \
            else ("239.255.255.250", 1900)
        self.ear = socket.socket(family, socket.SOCK_DGRAM)
        self.ear.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.voice = socket.socket(family, socket.SOCK_DGRAM)
        group = socket.inet_pton(family, self.group[0])
        if self.ipv6:
            self.ear.setsockopt(socket.IPPROTO_IPV6, MULTICAST_ALL[family], 0)
            self.ear.bind(("::", 1900))
            for scope in ("ff05::c", "ff0e::c"):  # GSSDP announces in the wider one
                self.ear.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_JOIN_GROUP,
                                    socket.inet_pton(family, scope) +
                                    struct.pack("@I", self.group[3]))
            self.voice.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_MULTICAST_IF, self.group[3])
        else:
            self.ear.setsockopt(socket.IPPROTO_IP, MULTICAST_ALL[family], 0)
            self.ear.bind(self.group)
            own = socket.inet_pton(family, address)
            self.ear.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, group + own)
            self.voice.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, own)
        self.voice.bind((address, 0))
        self.ear.setblocking(False)
        self.voice.setblocking(False)

    def close(self):
        self.ear.close()
        self.voice.close()

    @staticmethod
    def _take(sock):
        messages = []
        while True:
            try:
                messages.append(sock.recv(4096).decode())
            except BlockingIOError:
                return messages

    def announced(self, kind):
        """Locations (alive) or names (byebye) heard since the last call."""
        wanted = "Location" if kind == "ssdp:alive" else "USN"
        return [header(message, wanted) for message in self._take(self.ear) if kind in message]

    def search(self, target=RENDERER, group=None, mx="MX: 1\r\n", man='"ssdp:discover"'):
        """Sends a search to the group, or to whom `group` names; `mx` is the whole line."""
        group = group or self.group
        host = f"[{group[0]}]" if self.ipv6 else group[0]
        text = (f"M-SEARCH * HTTP/1.1\r\nHOST: {host}:1900\r\nMAN: {man}\r\n{mx}"
                f"ST: {target}\r\n\r\n")
        self.voice.sendto(text.encode(), group)

    def unicast(self, address):
        """Where a search goes that is for one host alone."""
        return (address, 1900, 0, 0) if self.ipv6 else (address, 1900)

    def answers(self):
        """Whole answers that came since the last call."""
        return self._take(self.voice)

    def found(self, seconds=DEADLINE, group=None):
        """Searches until somebody answers; the locations."""
        def asked():
            try:
                self.search(group=group)
            except OSError:
                return []  # the phone may still be checking its own address
            end = time.monotonic() + 0.3
            while time.monotonic() < end:
                answers = self.answers()
                if answers:
                    return answers
                time.sleep(0.01)
            return []
        answers = until(asked, "an answer to a search", seconds)
        return sorted({header(text, "Location") for text in answers})


def header(message, name):
    found = re.search(rf"(?im)^{name}:[ \t]*(.*?)[ \t]*\r?$", message)
    return found.group(1) if found else None


def get(url, host=None):
    """Status and text of a page."""
    request = urllib.request.Request(url, headers={"Host": host} if host else {})
    try:
        with urllib.request.urlopen(request, timeout=5) as answer:
            return answer.status, answer.read().decode()
    except urllib.error.HTTPError as error:
        return error.code, ""


class Home(unittest.TestCase):

    def setUp(self):
        ip("link", "set", "lo", "up", on_tv=True)
        check(LIBC.unshare(CLONE_NEWNET))  # every test has a phone, and so cables, of its own
        self.anchor = subprocess.Popen(["sleep", "1000"], preexec_fn=enter_tv)
        self.addCleanup(self._end, self.anchor)
        ip("link", "set", "lo", "up")
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.bus_address = self.start_bus()

    def start_bus(self):
        """A bus of this test's own; its address."""
        bus = subprocess.Popen(
            ["dbus-daemon", "--session", "--nofork", "--print-address",
             f"--address=unix:dir={self.folder.name}"], stdout=subprocess.PIPE, text=True)
        self.addCleanup(bus.stdout.close)
        self.addCleanup(self._end, bus)
        return bus.stdout.readline().strip()

    def write(self, path, value):
        """The television writes a field of the daemon's record."""
        subprocess.run([SBUS, "set", "MediaRendererService", path, value], check=True,
                       env={"DBUS_SESSION_BUS_ADDRESS": self.bus_address,
                            "PATH": os.environ["PATH"]})

    @staticmethod
    def _end(process):
        process.terminate()
        process.wait()

    def lay_cable(self, number, tv, phone):
        """A cable from the phone's p<number> to the television's t<number>."""
        ip("link", "add", f"p{number}", "type", "veth", "peer", "name", f"t{number}")
        ip("link", "set", f"t{number}", "netns", str(self.anchor.pid))
        for name, address, on_tv in ((f"t{number}", tv, True), (f"p{number}", phone, False)):
            more = ["nodad"] if ":" in address else []
            ip("address", "add", address, "dev", name, *more, on_tv=on_tv)
            ip("link", "set", name, "up", on_tv=on_tv)
        self.addCleanup(subprocess.run, ["ip", "link", "delete", f"p{number}"],
                        stderr=subprocess.DEVNULL, check=False)

    def launch(self, name="one", **settings):
        log = open(os.path.join(self.folder.name, name + ".log"), "w+", encoding="utf-8")
        self.addCleanup(log.close)
        daemon = subprocess.Popen(
            [VANTOR2], stderr=log, preexec_fn=enter_tv,
            env={"KETRA_STATE_DIR": os.path.join(self.folder.name, name),
                 "DBUS_SESSION_BUS_ADDRESS": self.bus_address, "PATH": os.environ["PATH"],
                 **settings})
        daemon.log = log
        return daemon

    def start(self, name="one", **settings):
        """A daemon that ends well with the test."""
        daemon = self.launch(name, **settings)

        def end():
            if daemon.poll() is None:
                daemon.terminate()
            self.assertEqual(daemon.wait(DEADLINE), 0, self.read_log(daemon.log))
        self.addCleanup(end)
        return daemon

    @staticmethod
    def read_log(log):
        with open(log.name, encoding="utf-8") as text:
            return text.read()

    def ssdp(self, address, interface):
        ssdp = Ssdp(address, interface)
        self.addCleanup(ssdp.close)
        return ssdp

    def first_event(self, location, own):
        """Subscribes with a callback to this address; the answer's status, once the event came."""
        authority = location.split("/")[2]
        host, port = authority.rsplit(":", 1)
        with socket.create_server((own, 0), family=socket.AF_INET6) as ear:
            ear.settimeout(DEADLINE)
            with socket.create_connection((host.strip("[]"), int(port)), DEADLINE) as call:
                call.sendall((f"SUBSCRIBE /AVTransport/event HTTP/1.1\r\nHost: {authority}\r\n"
                              f"CALLBACK: <http://[{own.upper()}]:{ear.getsockname()[1]}/>\r\n"
                              "NT: upnp:event\r\n\r\n").encode())
                status = int(call.recv(1024).split()[1])
            event, _ = ear.accept()
            with event:
                self.assertTrue(event.recv(1024).startswith(b"NOTIFY / HTTP/1.1"))
        return status
