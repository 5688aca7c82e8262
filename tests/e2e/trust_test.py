"""A server whose certificate only the house knows."""

import os
import subprocess
import unittest

from house import Controller, HouseTest, find_renderer, until


class AServerOfTheHouse(HouseTest):

    def setUp(self):
        super().setUp()
        key, certificate, self.both = (os.path.join(self.folder, name) for name in
                                       ("key.pem", "certificate.pem", "both.pem"))
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", key,
                        "-out", certificate, "-days", "2", "-subj", "/CN=house", "-addext",
                        "subjectAltName=IP:" + os.environ["KETRA_PHONE_ADDRESS"]],
                       check=True, stderr=subprocess.DEVNULL)
        with open(self.both, "wb") as both:
            for part in (key, certificate):
                with open(part, "rb") as file:
                    both.write(file.read())
        self.certificate = certificate
        self.addCleanup(os.environ.pop, "KETRA_CA_FILE", None)

    def push_list(self):
        """A playlist and its songs, all of them from that server."""
        tv = self.television("--allow")
        server = self.serve(self.both)
        controller = Controller(find_renderer())
        controller.load(server.uri("list.m3u"))
        controller.play()
        return tv, server, controller

    def test_is_trusted_for_its_playlist_and_its_songs_when_the_house_says_so(self):
        os.environ["KETRA_CA_FILE"] = os.path.relpath(self.certificate)
        tv, server, controller = self.push_list()
        tv.event("MM_START_PLAY")
        position = controller.call("GetPositionInfo", InstanceID=0)
        self.assertEqual(position["TrackURI"], server.uri("bell.mp3"))
        self.assertEqual(controller.call("GetMediaInfo", InstanceID=0)["NrTracks"], "2")
        self.assert_quits(tv)

    def test_is_not_trusted_otherwise(self):
        tv, server, controller = self.push_list()
        until(lambda: controller.transport()["CurrentTransportStatus"] == "ERROR_OCCURRED",
              "the failure")
        self.assertEqual(server.requests, [])
        self.assert_quits(tv)


if __name__ == "__main__":
    unittest.main()
