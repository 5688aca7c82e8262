"""A controller that was written elsewhere, by people who do not know this house."""

import json
import os
import unittest

from house import HouseTest, Process, find_renderer


class TheThirdPartyController(HouseTest):

    def test_pushes_a_film_and_gets_its_events(self):
        tv = self.television("--allow")
        server = self.serve()
        location = find_renderer()
        script = os.path.join(os.environ["KETRA_NODE_CONTROLLER"], "push_film.js")
        controller = Process(["node", script, location, server.uri("film.mp4")])
        self.addCleanup(controller.kill)
        tv.event("MM_REQ_TO_AUTH")
        tv.event("MM_FILE_INIT_BEGIN")
        tv.event("MM_START_PLAY")
        tv.event("MM_MEDIA_PAUSE")
        tv.event("MM_MEDIA_RESUME_OK")
        tv.event("MM_EXIT_FORCE")
        self.assertEqual(controller.ended(), 0, controller.tail())
        steps = [json.loads(line) for line in controller.lines if line.startswith("{")]
        self.assertEqual([step["step"] for step in steps],
                         ["playing", "paused", "playing", "sought", "stopped"],
                         controller.tail())
        self.assertGreaterEqual(steps[3]["position"], 29)
        self.assertEqual(steps[3]["duration"], 60)
        self.assert_quits(tv)


if __name__ == "__main__":
    unittest.main()
