"""Controllers that were written elsewhere, by people who do not know this house."""

import json
import os
import unittest

from house import HouseTest, Process, find_renderer

HERE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "third_party_controller")
INSTALLED = os.environ["KETRA_NODE_CONTROLLER"]
INTERFACE = os.environ.get("KETRA_INTERFACE", "eth0")


class TheThirdPartyController(HouseTest):

    def goes_the_road(self, *command):
        """It asks, is let in, plays, pauses, plays on, seeks and stops, and hears of all of it."""
        tv = self.television("--allow")
        server = self.serve()
        location = find_renderer()
        controller = Process([word.format(location=location, uri=server.uri("film.mp4"))
                              for word in command])
        self.addCleanup(controller.kill)
        for name in ("MM_REQ_TO_AUTH", "MM_FILE_INIT_BEGIN", "MM_START_PLAY", "MM_MEDIA_PAUSE",
                     "MM_MEDIA_RESUME_OK", "MM_EXIT_FORCE"):
            try:
                tv.event(name)
            except AssertionError as failure:
                raise AssertionError(f"{failure}\n{controller.tail()}") from None
        self.assertEqual(controller.ended(), 0, controller.tail())
        steps = [json.loads(line) for line in controller.lines if line.startswith("{")]
        self.assertEqual([step["step"] for step in steps],
                         ["playing", "paused", "playing", "sought", "stopped"],
                         controller.tail())
        self.assertGreaterEqual(steps[3]["position"], 29)
        self.assertEqual(steps[3]["duration"], 60)
        self.assert_quits(tv)

    def test_upnp_mediarenderer_client_goes_the_whole_road(self):
        self.goes_the_road("node", os.path.join(INSTALLED, "push_film_client.js"), "{location}",
                           "{uri}")

    def test_dlnacasts2_goes_the_whole_road(self):
        self.goes_the_road("node", os.path.join(INSTALLED, "push_film_dlnacasts2.js"), "{uri}")

    def test_gupnp_goes_the_whole_road(self):
        self.goes_the_road("/usr/bin/python3", os.path.join(HERE, "push_film_gupnp.py"), INTERFACE,
                           "{uri}")

    def test_net_upnp_of_perl_goes_the_whole_road(self):
        self.goes_the_road("perl", os.path.join(HERE, "push_film_perl.pl"), "{uri}")


if __name__ == "__main__":
    unittest.main()
