"""How the renderer daemon is found, and how it goes away, on IPv4 and on IPv6 at once."""

import contextlib
import http.client
import itertools
import re
import select
import socket
import struct
import sys
import threading
import time
import unittest

from networks import DEADLINE, RENDERER, Home, get, header, ip, until

SERVICE = "urn:schemas-upnp-org:service:"
PROMPT = 0.5  # seconds for answers that leave within a tenth of one on a quiet machine
SHORTEST_MX = 1.0  # seconds; no search may name less and mean it
SILENCE = 0.4  # seconds after which nobody is going to say anything
IP_RECVTTL = 12  # Linux's number, which the socket module lacks
ANNOUNCED = 6  # the root device, the device, its type and three services


class Searches(Home):

    def setUp(self):
        super().setUp()
        self.lay_cable(0, "10.1.0.1/24", "10.1.0.2/24")
        self.lay_cable(1, "fd00:1::1/64", "fd00:1::2/64")
        self.phones = [self.ssdp("10.1.0.2", "p0"), self.ssdp("fd00:1::2", "p1")]
        self.daemon = self.start()
        locations = [phone.found()[0] for phone in self.phones]
        self.uuid = re.search(r"<UDN>(.*)</UDN>", get(locations[0])[1]).group(1)
        # A search to everybody, and one to the television alone.
        self.ways = [(phone, group, f"{phone.group[0]} {group}", location)
                     for phone, address, location
                     in zip(self.phones, ("10.1.0.1", "fd00:1::1"), locations)
                     for group in (None, phone.unicast(address))]

    def answers(self, phone, count, seconds=PROMPT):
        """As many answers as there should be, or what there is of them in time."""
        heard = []
        end = time.monotonic() + seconds
        while len(heard) < count and time.monotonic() < end:
            heard += phone.answers()
            time.sleep(0.005)
        return heard + phone.answers()

    def test_are_answered_by_what_they_ask_for_and_however_long_they_would_wait(self):
        types = [RENDERER] + [f"{SERVICE}{name}:1" for name in
                              ("AVTransport", "RenderingControl", "ConnectionManager")]
        targets = ["upnp:rootdevice", self.uuid, *types]
        nothing = ["urn:schemas-upnp-org:device:MediaServer:1", RENDERER[:-1] + "2", RENDERER[:-2],
                   f"{SERVICE}AVTransport:2", f"{SERVICE}AVTransport:0", self.uuid[:-1], "", "*"]
        for phone, group, way, location in self.ways:
            for target in targets:
                phone.search(target, group)
                (answer,) = self.answers(phone, 1)
                self.assertTrue(answer.startswith("HTTP/1.1 200 OK\r\n"), answer)
                self.assertEqual(header(answer, "ST"), target, way)
                self.assertEqual(header(answer, "USN"), target if target == self.uuid else
                                 f"{self.uuid}::{target}")
                self.assertEqual(header(answer, "Location"), location)
                self.assertEqual(header(answer, "Ext"), "")
                self.assertRegex(header(answer, "Cache-Control"), r"^max-age=\d{3,}$")
                self.assertRegex(header(answer, "Server"), r"^\S+/\S+ UPnP/1\.\d \S+/\S+$")
            for mx in ("0", "-1", "999999", "99999999999999999999", "soon", "", None):
                phone.search(mx="" if mx is None else f"MX: {mx}\r\n", group=group)
                self.assertEqual(len(self.answers(phone, 1)), 1, f"{way}: MX {mx}")
            phone.search(man="ssdp:discover", group=group)  # some forget the quotation marks
            self.assertEqual(len(self.answers(phone, 1)), 1, way)
            phone.search("ssdp:all", group)
            self.assertEqual({header(answer, "ST") for answer in self.answers(phone, ANNOUNCED)},
                             set(targets), way)
            time.sleep(0.1)  # what one host may ask for is bounded
        for phone, group, way, _ in self.ways:
            for target in nothing:
                phone.search(target, group)
            phone.search(man='"ssdp:hello"', group=group)
        time.sleep(SILENCE)
        for phone, _, way, _ in self.ways:
            self.assertEqual(phone.answers(), [], way)

    @contextlib.contextmanager
    def polled(self, location):
        """Polls all the while, as fast as it is answered; the list of statuses."""
        statuses, enough = [], threading.Event()
        body = (f"<s:Envelope xmlns:s='http://schemas.xmlsoap.org/soap/envelope/'><s:Body>"
                f"<u:GetTransportInfo xmlns:u='{SERVICE}AVTransport:1'><InstanceID>0</InstanceID>"
                f"</u:GetTransportInfo></s:Body></s:Envelope>")

        def poll():
            connection = http.client.HTTPConnection(location.split("/")[2], timeout=DEADLINE)
            while not enough.is_set():
                connection.request("POST", "/AVTransport/control", body, {
                    "SOAPACTION": f'"{SERVICE}AVTransport:1#GetTransportInfo"'})
                answer = connection.getresponse()
                answer.read()
                statuses.append(answer.status)
            connection.close()
        pollers = [threading.Thread(target=poll, daemon=True) for _ in range(2)]
        for poller in pollers:
            poller.start()
        try:
            yield statuses
        finally:
            enough.set()
            for poller in pollers:
                poller.join()

    def search_in_every_way(self, state):
        targets = itertools.cycle([RENDERER, "upnp:rootdevice", self.uuid,
                                   f"{SERVICE}AVTransport:1", f"{SERVICE}RenderingControl:1"])
        for mx in ("0", "1", "5", "100000", "-1", None):
            for phone, group, way, _ in self.ways:
                target = next(targets)
                phone.search(target, group, "" if mx is None else f"MX: {mx}\r\n")
                heard = self.answers(phone, 1, SHORTEST_MX)
                self.assertEqual([header(answer, "ST") for answer in heard], [target],
                                 f"{way}, MX {mx}, {state}")

    def test_are_answered_in_time_at_rest_and_while_it_is_polled(self):
        self.search_in_every_way("at rest")
        with self.polled(self.ways[0][3]) as statuses:
            until(lambda: len(statuses) > 100, "polls that are answered")
            before = len(statuses)
            self.search_in_every_way("polled")
            self.assertGreater(len(statuses), before)
        self.assertEqual(set(statuses), {200})

    def test_are_answered_no_farther_than_a_home_reaches(self):
        for phone, option, kind in ((self.phones[0], IP_RECVTTL, socket.IPPROTO_IP),
                                    (self.phones[1], socket.IPV6_RECVHOPLIMIT,
                                     socket.IPPROTO_IPV6)):
            phone.voice.setsockopt(kind, option, 1)
            phone.search()
            select.select([phone.voice], [], [], DEADLINE)
            _, ((_, _, hops),), _, _ = phone.voice.recvmsg(4096, 64)
            self.assertLessEqual(struct.unpack("@i", hops)[0], 4)

    def test_among_nonsense_are_answered_all_the_same(self):
        sound = f"MAN: \"ssdp:discover\"\r\nMX: 1\r\nST: {RENDERER}\r\n"
        nonsense = [
            b"", b"\0" * 1400, bytes(range(256)) * 5, b"M-SEARCH", b"M-SEARCH *\r\n\r\n",
            b"M-SEARCH * HTTP/1.1", b"M-SEARCH * HTTP/1.1\r\n\r\n", b"\r\n" * 700,
            b"M-SEARCH * HTTP/1.1\r\nST: " + b"x" * 60000 + b"\r\n\r\n",
            b"M-SEARCH * HTTP/1.1\r\n" + b"ST: a\r\n" * 5000 + b"\r\n",
            b"M-SEARCH * HTTP/1.1\r\nST\r\nMAN\r\n: :\r\n\0: \0\r\n\r\n",
            f"M-SEARCH * HTTP/999999999999.1\r\n{sound}\r\n".encode(),
            f"M-FIND * HTTP/1.1\r\n{sound}\r\n".encode(),
            f"HTTP/1.1 200 OK\r\n{sound}Location: http://[\r\n\r\n".encode(),
            f"NOTIFY * HTTP/1.1\r\nNT: {RENDERER}\r\nNTS: ssdp:byebye\r\n"
            f"USN: {self.uuid}::{RENDERER}\r\n\r\n".encode(),
            b"NOTIFY * HTTP/1.1\r\nNTS: ssdp:alive\r\nCACHE-CONTROL: max-age=-1\r\n\r\n",
        ]
        for phone, group, way, location in self.ways:
            for text in nonsense:
                phone.voice.sendto(text, group or phone.group)
            phone.search(group=group)
            (answer,) = self.answers(phone, 1)
            self.assertEqual(header(answer, "Location"), location, way)
            self.assertEqual(get(location)[0], 200)

    def test_that_come_in_a_flood_get_few_answers_and_cost_others_none(self):
        for phone, other in zip(self.phones, self.others()):
            begin = time.monotonic()
            for _ in range(3000):
                try:
                    phone.search("ssdp:all")
                except BlockingIOError:
                    time.sleep(0.001)
            other.found(2)  # a search among thousands may get lost, not every one of them
            heard = len(self.answers(phone, 10000, SILENCE))
            passed = time.monotonic() - begin
            self.assertGreaterEqual(heard, 10)
            self.assertLessEqual(heard, 40 + 20 * passed + 1)
            until(lambda: (phone.search(), self.answers(phone, 1, 0.2))[1],
                  "an answer to who made the flood", 3)

    def others(self):
        """Second phones on the same cables."""
        for address, interface in (("10.1.0.9/24", "p0"), ("fd00:1::9/64", "p1")):
            ip("address", "add", address, "dev", interface, *(["nodad"] if ":" in address else []))
        return [self.ssdp("10.1.0.9", "p0"), self.ssdp("fd00:1::9", "p1")]

    def test_are_not_answered_while_it_is_hidden(self):
        for _ in range(2):
            for phone in self.phones:
                phone.announced("")
            self.write("mfVisible", "0")
            for phone in self.phones:
                self.assertEqual(len(set(phone.announced("ssdp:byebye"))), ANNOUNCED)
            for phone, group, _, location in self.ways:
                phone.search("ssdp:all", group)
                phone.search(mx="MX: 999999\r\n", group=group)
                self.assertEqual(get(location)[0], 503)
            time.sleep(SILENCE)
            for phone, _, way, _ in self.ways:
                self.assertEqual(phone.answers(), [], way)
            self.write("mfVisible", "1")
            for phone, group, way, location in self.ways:
                phone.search(group=group)
                self.assertEqual(len(self.answers(phone, 1)), 1, way)
                self.assertEqual(get(location)[0], 200)
            for phone in self.phones:
                heard = []
                until(lambda: heard.extend(phone.announced("ssdp:alive")) or
                      len(heard) >= ANNOUNCED, "an announcement of everything")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[1:]])
