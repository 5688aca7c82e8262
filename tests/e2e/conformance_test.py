"""The conformance suite for renderers, on ours."""

import os
import unittest

from house import HouseTest, Process, find_renderer, media

SUITE = os.path.join(os.path.dirname(os.path.abspath(__file__)),
                     "../conformance/renderer_conformance.py")


class TheRenderer(HouseTest):

    def test_does_what_the_standards_say(self):
        tv = self.television("--allow")
        suite = Process(["/usr/bin/python3", SUITE, "--device", find_renderer(),
                         "--media", media("film.mp4")])
        self.addCleanup(suite.kill)
        status = suite.ended(300)
        self.assertEqual(status, 0, suite.tail())
        self.assertRegex(suite.lines[-1], r": [1-9]\d{2,} checks, 0 failed$")
        self.assert_quits(tv)


if __name__ == "__main__":
    unittest.main()
