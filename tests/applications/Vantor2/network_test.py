"""The renderer daemon on networks that are several, that come and go, and that speak IPv6 only."""

import os
import re
import socket
import sys
import unittest
import urllib.error

from networks import DEADLINE, Home, get, ip, on_tv, until


class Networks(Home):

    def assert_tells_nothing_alarming(self, log):
        alarming = [line for line in self.read_log(log).splitlines()
                    if re.search("warning|error|critical", line, re.IGNORECASE)]
        self.assertEqual(alarming, [])

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
        self.assert_tells_nothing_alarming(log)

    def test_may_be_pulled_out_whole_and_plugged_in_again(self):
        self.lay_cable(0, "10.1.0.1/24", "10.1.0.2/24")
        near = self.ssdp("10.1.0.2", "p0")
        log = self.start().log

        def plug_in():
            self.lay_cable(1, "10.2.0.1/24", "10.2.0.2/24")
            for address, interface, on_tv in (("fd00:2::1/64", "t1", True),
                                              ("fd00:2::2/64", "p1", False)):
                ip("address", "add", address, "dev", interface, "nodad", on_tv=on_tv)
            return [self.ssdp(address, "p1") for address in ("10.2.0.2", "fd00:2::2")]

        before = [phone.found() for phone in plug_in()]
        for times in range(1, 4):
            ip("link", "delete", "p1")
            if times < 3:  # else it is back before the daemon looks
                for address in ("10.2.0.1", "fd00:2::1"):
                    until(lambda gone=address:
                          self.read_log(log).count(gone + " on t1 has gone") == times,
                          f"the daemon to notice that {address} has gone")
            phones = plug_in()
            for phone, locations in zip(phones, before):
                self.assertEqual(phone.found(), locations, "where it was before")
                self.assertEqual(get(locations[0])[0], 200)
            near.found()
        self.assert_tells_nothing_alarming(log)

    def test_may_give_it_another_address(self):
        self.lay_cable(0, "10.1.0.1/24", "10.1.0.2/24")
        ssdp = self.ssdp("10.1.0.2", "p0")
        self.start()
        (before,) = ssdp.found()
        ip("address", "delete", "10.1.0.1/24", "dev", "t0", on_tv=True)
        ip("address", "add", "10.1.0.7/24", "dev", "t0", on_tv=True)
        after = before.replace("10.1.0.1", "10.1.0.7")
        until(lambda: after in ssdp.announced("ssdp:alive"), "its new address to be announced")
        ssdp.answers()
        self.assertEqual(ssdp.found(), [after])
        self.assertEqual(get(after)[0], 200)

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

    def test_may_have_a_port_that_somebody_else_holds(self):
        self.lay_cable(0, "10.1.0.1/24", "10.1.0.2/24")
        self.lay_cable(1, "10.2.0.1/24", "10.2.0.2/24")
        ssdp = self.ssdp("10.1.0.2", "p0")
        holder = on_tv(lambda: socket.create_server(("10.2.0.1", 49500)))
        self.addCleanup(holder.close)
        daemon = self.start(KETRA_PORT="49500")
        self.assertEqual(ssdp.found(), ["http://10.1.0.1:49500/description.xml"])
        self.assertIn("cannot serve on 10.2.0.1 port 49500", self.read_log(daemon.log))

    def test_may_have_the_port_of_searches_taken_by_who_does_not_share(self):
        self.lay_cable(0, "10.1.0.1/24", "10.1.0.2/24")
        holder = on_tv(lambda: socket.socket(socket.AF_INET, socket.SOCK_DGRAM))
        self.addCleanup(holder.close)
        holder.bind(("", 1900))
        daemon = self.launch()
        self.assertEqual(daemon.wait(DEADLINE), 4)
        self.assertIn("error: cannot announce on t0: ", self.read_log(daemon.log))

    def test_hold_two_renderers_that_differ(self):
        self.assert_two_differ("two")

    def test_hold_two_renderers_that_differ_although_they_share_a_folder(self):
        self.assert_two_differ("one")

    def assert_two_differ(self, folder):
        self.lay_cable(0, "10.1.0.1/24", "10.1.0.2/24")
        ssdp = self.ssdp("10.1.0.2", "p0")
        self.start("one")
        ssdp.found()
        # A bus holds one renderer; the second one has its own.
        self.bus_address = self.start_bus()
        self.start("two", KETRA_STATE_DIR=os.path.join(self.folder.name, folder))
        locations = until(lambda: len(found := ssdp.found()) == 2 and found, "both renderers")
        names = {re.search(r"<UDN>(.*)</UDN>", get(location)[1]).group(1)
                 for location in locations}
        self.assertEqual(len(names), 2)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[1:]])
