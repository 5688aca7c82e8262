"""Processes that are killed: the others notice, go on where they can, and never stand still."""

import os
import signal
import unittest

from house import COMPANIONS, HouseTest, bus_daemon, companion_pids, find_renderer, kill, media, until


class Death(HouseTest):

    def playing_television(self):
        tv = self.television("--allow")
        self.push(media("film.mp4"))
        tv.event("MM_START_PLAY")
        return tv

    def test_of_the_player_while_it_plays_ends_the_film_with_an_error(self):
        tv = self.playing_television()
        kill(companion_pids("zeGStreamerPlayer"))
        self.assertEqual(tv.event("MM_EXIT_ERROR_FILE", seconds=5)["error"], 120)
        self.assert_quits(tv)

    def test_of_the_player_while_it_plays_reaches_the_phone_as_a_failure(self):
        tv = self.television("--allow")
        phone = self.push(media("film.mp4"))
        tv.event("MM_START_PLAY")
        phone.wait_line(lambda line: line.startswith("playing"), "playing")
        kill(companion_pids("zeGStreamerPlayer"))
        self.assertEqual(phone.ended(), 9, phone.tail())
        self.assertEqual(phone.lines[-1], f"Playback failed on {tv.name}.")
        self.assert_quits(tv)

    def test_of_the_daemon_while_it_is_visible_does_not_hang_the_shut_down(self):
        tv = self.television("--allow")
        find_renderer()
        kill(companion_pids("Vantor2"))
        until(lambda: not companion_pids("Vantor2"), "the daemon's end", 5)
        tv.until_status(lambda said: not said["visible"], "the renderer being gone", 5)
        self.assert_quits(tv)

    def test_of_the_daemon_while_a_film_plays_is_told_at_the_phone(self):
        tv = self.television("--allow")
        phone = self.push(media("film.mp4"))
        tv.event("MM_START_PLAY")
        phone.wait_line(lambda line: line.startswith("playing"), "playing")
        kill(companion_pids("Vantor2"))
        self.assertEqual(phone.ended(), 10, phone.tail())
        self.assertIn("does not answer any more", phone.lines[-1])
        self.assert_quits(tv)

    def test_of_both_companions_while_playing_does_not_hang_the_shut_down(self):
        tv = self.playing_television()
        kill(companion_pids("Vantor2") + companion_pids("zeGStreamerPlayer"))
        self.assert_quits(tv)

    def assert_quits_although_it_stands_still(self, tv, program):
        for pid in companion_pids(program):
            os.kill(pid, signal.SIGSTOP)
        self.assert_quits(tv)

    def test_is_what_a_daemon_gets_that_stands_still_at_the_shut_down(self):
        tv = self.television("--allow")
        find_renderer()
        self.assert_quits_although_it_stands_still(tv, "Vantor2")

    def test_is_what_a_daemon_gets_that_stands_still_while_a_film_plays(self):
        tv = self.playing_television()
        self.assert_quits_although_it_stands_still(tv, "Vantor2")
        self.assertEqual(tv.texts("problem"), [COMPANIONS + "Vantor2 does not react and was killed"])

    def test_of_the_state_bus_while_a_film_plays_is_told_and_does_not_hang_the_shut_down(self):
        tv = self.playing_television()
        daemon = bus_daemon()
        kill([daemon])
        tv.until_said("notice", "the state bus is gone", 5)
        self.assert_quits(tv)

    def test_is_what_a_player_gets_that_stands_still_at_the_shut_down(self):
        tv = self.playing_television()
        self.assert_quits_although_it_stands_still(tv, "zeGStreamerPlayer")

    def test_of_the_television_takes_both_companions_along(self):
        for playing in (False, True):
            tv = self.playing_television() if playing else self.television("--allow")
            for program in ("Vantor2", "zeGStreamerPlayer"):
                until(lambda: companion_pids(program), program, 5)
            tv.process.send_signal(signal.SIGKILL)
            tv.ended()
            for program in ("Vantor2", "zeGStreamerPlayer"):
                until(lambda: not companion_pids(program), f"the end of {program}", 5)

    def test_asked_for_by_ctrl_c_is_an_orderly_end(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            tv = self.playing_television()
            tv.process.send_signal(number)
            self.assertEqual(tv.ended(), 0, tv.tail())
            for program in ("Vantor2", "zeGStreamerPlayer"):
                until(lambda: not companion_pids(program), f"the end of {program}", 5)


if __name__ == "__main__":
    unittest.main()
