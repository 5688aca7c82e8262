"""The middleware of docs/middleware.md in the place of the television."""

import os
import signal
import unittest

from house import BIN, HouseTest, Process, companion_pids, media, until


class TheSmallMiddleware(HouseTest):

    def test_plays_what_is_pushed_and_ends_with_it(self):
        tv = Process(["in_tv", os.path.join(BIN, "small_middleware")])
        self.addCleanup(tv.kill)
        tv.wait_line(lambda line: line == "ready", "the renderer on the network")
        phone = self.push(media("film.mp4"))
        asked = tv.wait_line(lambda line: line == "request 1 to play film", "the request")
        opened = tv.wait_line(lambda line: line == "opens film", "the opening", asked)
        played = tv.wait_line(lambda line: line == "plays", "the film", opened)
        phone.signal(signal.SIGINT)
        tv.wait_line(lambda line: line == "ended", "the end", played)
        self.assertEqual(tv.ended(), 0, tv.tail())
        for program in ("Vantor2", "zeGStreamerPlayer"):
            until(lambda: not companion_pids(program), f"the end of {program}", 5)

    def test_gives_up_a_renderer_that_does_not_come(self):
        os.environ["KETRA_PORT"] = "none"  # with which the daemon ends at once
        self.addCleanup(os.environ.pop, "KETRA_PORT")
        tv = Process(["in_tv", os.path.join(BIN, "small_middleware")])
        self.addCleanup(tv.kill)
        tv.wait_line(lambda line: line == "the renderer is not on the network", "the message")
        self.assertEqual(tv.ended(), 1, tv.tail())
        self.assertNotIn("ready", tv.lines)
        until(lambda: not companion_pids("zeGStreamerPlayer"), "the end of the player", 5)


if __name__ == "__main__":
    unittest.main()
