"""The renderer daemon on networks that are several, that come and go, and that speak IPv6 only.

Run in a network namespace of its own (unshare --net), which is the television's. The test itself
moves to a second one, the phone's; cables between them are laid as each test needs them.
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

VANTOR2 = os.environ["VANTOR2_PROGRAM"]
DEADLINE = 20.0  # seconds, for what takes a fraction of one on a machine with nothing else to do
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


def ip(*arguments, on_tv=False):
    subprocess.run(["ip", *arguments], check=True, preexec_fn=enter_tv if on_tv else None)


def until(condition, what, seconds=DEADLINE):
    end = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError(f"waited {seconds:g} s in vain for {what}")
        time.sleep(0.02)


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
        return [re.search(rf"(?im)^{wanted}:\s*(\S+)", message).group(1)
                for message in self._take(self.ear) if kind in message]

    def search(self, target=RENDERER, group=None):
        group = group or self.group
        host = f"[{group[0]}]" if self.ipv6 else group[0]
        text = (f"M-SEARCH * HTTP/1.1\r\nHOST: {host}:1900\r\nMAN: \"ssdp:discover\"\r\nMX: 1\r\n"
                f"ST: {target}\r\n\r\n")
        self.voice.sendto(text.encode(), group)

    def found(self, seconds=DEADLINE, group=None):
        """Searches until somebody answers; the locations."""
        def asked():
            self.search(group=group)
            end = time.monotonic() + 0.3
            while time.monotonic() < end:
                answers = self._take(self.voice)
                if answers:
                    return answers
                time.sleep(0.01)
            return []
        answers = until(asked, "an answer to a search", seconds)
        return sorted({re.search(r"(?im)^Location:\s*(\S+)", text).group(1) for text in answers})


def get(url, host=None):
    """Status and text of a page."""
    request = urllib.request.Request(url, headers={"Host": host} if host else {})
    try:
        with urllib.request.urlopen(request, timeout=5) as answer:
            return answer.status, answer.read().decode()
    except urllib.error.HTTPError as error:
        return error.code, ""


class Networks(unittest.TestCase):

    def setUp(self):
        ip("link", "set", "lo", "up", on_tv=True)
        check(LIBC.unshare(CLONE_NEWNET))  # every test has a phone, and so cables, of its own
        self.anchor = subprocess.Popen(["sleep", "1000"], preexec_fn=enter_tv)
        self.addCleanup(self._end, self.anchor)
        ip("link", "set", "lo", "up")
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.bus = subprocess.Popen(
            ["dbus-daemon", "--session", "--nofork", "--print-address",
             f"--address=unix:dir={self.folder.name}"], stdout=subprocess.PIPE, text=True)
        self.addCleanup(self.bus.stdout.close)
        self.addCleanup(self._end, self.bus)
        self.bus_address = self.bus.stdout.readline().strip()
        self.logs = []

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

    def start(self, name="one", **settings):
        log = open(os.path.join(self.folder.name, name + ".log"), "w+", encoding="utf-8")
        self.addCleanup(log.close)
        daemon = subprocess.Popen(
            [VANTOR2], stderr=log, preexec_fn=enter_tv,
            env={"KETRA_STATE_DIR": os.path.join(self.folder.name, name),
                 "DBUS_SESSION_BUS_ADDRESS": self.bus_address, "PATH": os.environ["PATH"],
                 **settings})

        daemon.log = log

        def end():
            if daemon.poll() is None:
                daemon.terminate()
            self.assertEqual(daemon.wait(DEADLINE), 0, self.read_log(log))
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

    def test_are_all_served_each_under_its_own_address(self):
        self.lay_cable(0, "10.1.0.1/24", "10.1.0.2/24")
        self.lay_cable(1, "10.2.0.1/24", "10.2.0.2/24")
        near, far = self.ssdp("10.1.0.2", "p0"), self.ssdp("10.2.0.2", "p1")
        self.start()
        for ssdp, address in ((near, "10.1.0.1"), (far, "10.2.0.1")):
            (location,) = ssdp.found()
            self.assertTrue(location.startswith(f"http://{address}:"), location)
            status, text = get(location)
            self.assertEqual(status, 200)
            self.assertIn("DMR-1.50", text)
            self.assertEqual(get(location, host="evil.example")[0], 400)

    def test_may_be_one_that_was_asked_for(self):
        self.lay_cable(0, "10.1.0.1/24", "10.1.0.2/24")
        self.lay_cable(1, "10.2.0.1/24", "10.2.0.2/24")
        near, far = self.ssdp("10.1.0.2", "p0"), self.ssdp("10.2.0.2", "p1")
        self.start(KETRA_INTERFACE="t1")
        (location,) = far.found()
        self.assertTrue(location.startswith("http://10.2.0.1:"), location)
        port = location.split(":")[2].split("/")[0]
        self.assertEqual(near.announced("ssdp:alive"), [])
        with self.assertRaises(urllib.error.URLError):
            get(f"http://10.1.0.1:{port}/description.xml")

    def test_may_go_away_and_come_back(self):
        self.lay_cable(0, "10.1.0.1/24", "10.1.0.2/24")
        self.lay_cable(1, "10.2.0.1/24", "10.2.0.2/24")
        near, far = self.ssdp("10.1.0.2", "p0"), self.ssdp("10.2.0.2", "p1")
        log = self.start().log
        (location,) = far.found()
        near.found()
        for times in range(1, 4):
            ip("address", "delete", "10.2.0.1/24", "dev", "t1", on_tv=True)
            until(lambda: self.read_log(log).count("10.2.0.1 on t1 has gone") == times,
                  "the daemon to notice")
            near.found()
            far.announced("ssdp:alive")
            ip("address", "add", "10.2.0.1/24", "dev", "t1", on_tv=True)
            until(lambda: location in far.announced("ssdp:alive"), "a new announcement")
            self.assertEqual(far.found(), [location], "the same port as before")
            self.assertEqual(get(location)[0], 200)

    def test_may_come_after_the_start(self):
        self.start()
        self.lay_cable(0, "10.1.0.1/24", "10.1.0.2/24")
        ssdp = self.ssdp("10.1.0.2", "p0")
        (location,) = ssdp.found()
        self.assertTrue(location.startswith("http://10.1.0.1:"), location)
        self.assertEqual(get(location)[0], 200)

    def test_may_speak_ipv6_only(self):
        self.lay_cable(0, "fd00:1::1/64", "fd00:1::2/64")
        ssdp = self.ssdp("fd00:1::2", "p0")
        daemon = self.start()
        (location,) = ssdp.found()
        self.assertTrue(location.startswith("http://[fd00:1::1]:"), location)
        self.assertEqual(ssdp.found(group=("ff02::c", *ssdp.group[1:])), [location],
                         "searches of the link's own scope are answered, too")
        status, text = get(location)
        self.assertEqual(status, 200)
        self.assertIn("DMR-1.50", text)
        self.assertEqual(get(location, host="[fd00:1::9]")[0], 400)
        self.assertEqual(self.first_event(location, "fd00:1::2"), 200)
        ssdp.announced("ssdp:byebye")
        daemon.terminate()
        until(lambda: ssdp.announced("ssdp:byebye"), "a goodbye")

    def test_may_have_no_address_yet(self):
        ip("link", "add", "p0", "type", "veth", "peer", "name", "t0")
        ip("link", "set", "t0", "netns", str(self.anchor.pid))
        self.addCleanup(ip, "link", "delete", "p0")
        ip("link", "set", "t0", "up", on_tv=True)
        ip("link", "set", "p0", "up")
        daemon = self.start(KETRA_INTERFACE="t0")
        until(lambda: "no network to serve on" in self.read_log(daemon.log), "the daemon to wait")
        ip("address", "add", "fd00:1::2/64", "dev", "p0", "nodad")
        ip("address", "add", "fd00:1::1/64", "dev", "t0", on_tv=True)  # usable a second later
        (location,) = self.ssdp("fd00:1::2", "p0").found()
        self.assertTrue(location.startswith("http://[fd00:1::1]:"), location)
        self.assertEqual(get(location)[0], 200)

    def test_may_still_be_checking_their_address(self):
        ip("link", "add", "p0", "type", "veth", "peer", "name", "t0")
        ip("link", "set", "t0", "netns", str(self.anchor.pid))
        self.addCleanup(ip, "link", "delete", "p0")
        ip("address", "add", "fd00:1::2/64", "dev", "p0", "nodad")
        ip("link", "set", "p0", "up")
        ip("link", "set", "t0", "up", on_tv=True)
        ip("address", "add", "fd00:1::1/64", "dev", "t0", on_tv=True)
        self.start()
        (location,) = self.ssdp("fd00:1::2", "p0").found()
        self.assertTrue(location.startswith("http://[fd00:1::1]:"), location)

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

    def test_hold_two_renderers_that_differ(self):
        self.lay_cable(0, "10.1.0.1/24", "10.1.0.2/24")
        ssdp = self.ssdp("10.1.0.2", "p0")
        self.start("one")
        # A bus holds one renderer; the second one has its own.
        other = subprocess.Popen(
            ["dbus-daemon", "--session", "--nofork", "--print-address",
             f"--address=unix:dir={self.folder.name}"], stdout=subprocess.PIPE, text=True)
        self.addCleanup(other.stdout.close)
        self.addCleanup(self._end, other)
        self.bus_address = other.stdout.readline().strip()
        self.start("two")
        locations = until(lambda: len(found := ssdp.found()) == 2 and found, "both renderers")
        names = {re.search(r"<UDN>(.*)</UDN>", get(location)[1]).group(1)
                 for location in locations}
        self.assertEqual(len(names), 2)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[1:]])
