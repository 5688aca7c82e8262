"""The phone's side with renderers that are slower or busier than our own."""

import unittest

from house import HouseTest, media
from scripted_renderer import ScriptedRenderer

REFUSED, LOST = 8, 10
OTHER = "http://192.0.2.1/other.mp4"


class OtherRenderers(HouseTest):

    def renderer(self, told):
        renderer = ScriptedRenderer(self.folder, told)
        self.addCleanup(renderer.close)
        return renderer

    def test_a_file_replaced_before_its_first_look_is_told_as_never_begun(self):
        renderer = self.renderer(lambda _looks: (OTHER, "PLAYING"))
        phone = self.push(media("film.mp4"), "--to", "Scripted")
        self.assertEqual(phone.ended(), REFUSED, phone.tail())
        self.assertEqual(phone.lines[-1],
                         "Scripted was given something else; this file never began.")
        self.assertTrue(renderer.uri.startswith("http://"))

    def test_a_renderer_may_tell_what_it_played_before_for_a_while(self):
        renderer = self.renderer(
            lambda looks: (OTHER, "PLAYING") if looks < 3 else
            (renderer.uri, "PLAYING") if looks < 6 else (renderer.uri, "STOPPED"))
        phone = self.push(media("film.mp4"), "--to", "Scripted")
        self.assertEqual(phone.ended(), 0, phone.tail())
        self.assertEqual(phone.lines[-1], "Stopped on the television.")

    def test_a_file_replaced_while_it_plays_is_told_as_replaced(self):
        renderer = self.renderer(
            lambda looks: (renderer.uri if looks < 3 else OTHER, "PLAYING"))
        phone = self.push(media("film.mp4"), "--to", "Scripted")
        self.assertEqual(phone.ended(), 0, phone.tail())
        self.assertEqual(phone.lines[-1], "Scripted plays something else now.")

    def switched_off(self, position, politely):
        """What the phone says last of a renderer that is switched off there, and its status."""
        renderer = self.renderer(lambda _looks: (renderer.uri, "PLAYING"))
        renderer.position = position
        phone = self.push(media("film.mp4"), "--to", "Scripted")
        phone.wait_line(lambda line: line.startswith("playing"), "playing")
        if politely:
            renderer.leave()
            phone.wait_line(lambda line: "has left the network" in line, "the leave")
        renderer.close()
        return phone.ended(), phone.lines[-1]

    def test_a_renderer_that_is_switched_off_at_the_end_of_the_file_has_played_it(self):
        self.assertEqual(self.switched_off("0:09:59", True), (0, "Done."))

    def test_a_renderer_that_is_gone_at_the_end_of_the_file_has_played_it(self):
        self.assertEqual(self.switched_off("0:09:59", False), (0, "Done."))

    def test_a_renderer_that_is_gone_seconds_before_the_end_is_lost(self):
        status, said = self.switched_off("0:09:54", False)
        self.assertEqual(status, LOST, said)

    def test_a_renderer_that_is_switched_off_before_is_lost(self):
        self.assertEqual(self.switched_off("0:01:00", True),
                         (LOST, "Scripted has not come back."))


if __name__ == "__main__":
    unittest.main()
