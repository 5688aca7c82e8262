"""The whole road in a home that speaks IPv6 only."""

import os
import re
import socket
import subprocess
import unittest

from house import Controller, HouseTest, until

TV, PHONE = "fd00:77::2", "fd00:77::3"


def find_renderer():
    """Where the television is described, as it answers a search of this link."""
    with socket.socket(socket.AF_INET6, socket.SOCK_DGRAM) as voice:
        voice.bind((PHONE, 0))
        voice.settimeout(0.5)

        def answered():
            voice.sendto(b"M-SEARCH * HTTP/1.1\r\nHOST: [ff02::c]:1900\r\n"
                         b"MAN: \"ssdp:discover\"\r\nMX: 1\r\n"
                         b"ST: urn:schemas-upnp-org:device:MediaRenderer:1\r\n\r\n",
                         ("ff02::c", 1900, 0, socket.if_nametoindex("eth0")))
            try:
                return voice.recv(2000).decode()
            except TimeoutError:
                return None
        return re.search(r"(?im)^Location: (\S+)", until(answered, "an answer")).group(1)


@unittest.skipUnless(os.environ["KETRA_WORLD"] == "namespaces", "the hosts share one network here")
class AHomeOfToday(HouseTest):

    def setUp(self):
        super().setUp()
        for host, address in (("tv", TV), ("phone", PHONE)):
            for arguments in (("address", "flush", "dev", "eth0"),
                              ("address", "add", address + "/64", "dev", "eth0", "nodad")):
                subprocess.run([f"in_{host}", "ip", *arguments], check=True)
        os.environ["KETRA_PHONE_ADDRESS"] = PHONE

    def test_finds_asks_plays_seeks_and_stops_without_an_address_of_the_old_kind(self):
        tv = self.television("--ask")
        location = find_renderer()
        self.assertTrue(location.startswith(f"http://[{TV}]:"), location)
        server = self.serve()
        controller = Controller(location)
        controller.load(server.uri("film.mp4"))
        controller.play()
        tv.event("MM_REQ_TO_AUTH")
        tv.do("allow")
        playing = tv.until_status(lambda said: said["position"], "a position")
        self.assertEqual(playing["duration"], 60)
        controller.call("Seek", InstanceID=0, Unit="REL_TIME", Target="0:00:30")
        tv.until_status(lambda said: said["position"] and said["position"] >= 29, "the seek")
        told = controller.call("GetMediaInfo", InstanceID=0)
        self.assertEqual(told["CurrentURI"], server.uri("film.mp4"))
        self.assertEqual(told["MediaDuration"], "0:01:00")
        controller.call("Stop", InstanceID=0)
        tv.event("MM_EXIT_FORCE")
        self.assert_quits(tv)


if __name__ == "__main__":
    unittest.main()
