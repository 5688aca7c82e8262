"""What comes from the network and is wrong: the right error in the right place, and life goes on."""

import time
import unittest

from house import AV_TRANSPORT, DEADLINE, Controller, HouseTest, UpnpError, didl, find_renderer, until


PLAYER_WAITS = 20.0  # seconds, for a server that says nothing


class BadInput(HouseTest):

    def setUp(self):
        super().setUp()
        self.tv = self.television("--allow")
        self.server = self.serve()
        self.controller = Controller(find_renderer())

    def refused(self, code, action, *arguments, **named):
        with self.assertRaises(UpnpError) as raised:
            action(*arguments, **named)
        self.assertEqual(raised.exception.code, code, raised.exception)

    def still_plays(self):
        """The proof that nothing was lost: a film plays now."""
        uri = self.server.uri("film.mp4")
        self.controller.load(uri, didl(uri, title="After all"))
        self.controller.play()
        self.assertEqual(self.tv.event("MM_FILE_INIT_BEGIN")["title"], "After all")
        self.tv.event("MM_START_PLAY")
        self.assert_quits(self.tv)

    def fails_with(self, uri, error, mime="video/mp4", seconds=DEADLINE):
        self.controller.load(uri, didl(uri, mime))
        self.controller.play()
        self.assertEqual(self.tv.event("MM_EXIT_ERROR_FILE", seconds)["error"], error)
        transport = until(
            lambda: (told := self.controller.transport())["CurrentTransportState"] == "STOPPED"
            and told, "STOPPED towards the controller", 5)
        self.assertEqual(transport["CurrentTransportStatus"], "ERROR_OCCURRED")

    def test_addresses_that_are_not_of_the_web_are_not_found(self):
        for uri in ("file:///etc/passwd", "ftp://10.77.0.3/film.mp4", "rtsp://10.77.0.3/film",
                    "/etc/passwd", "javascript:alert(1)"):
            self.refused(716, self.controller.load, uri)
        self.assertEqual(self.tv.event_names(), [])
        self.still_plays()

    def test_a_file_that_is_missing_ends_with_its_own_error(self):
        self.fails_with(self.server.uri("missing"), 101)
        self.still_plays()

    def test_a_server_that_is_not_there_ends_with_its_own_error(self):
        self.fails_with("http://" + self.server.address + ":9/film.mp4", 100)
        self.still_plays()

    def test_a_text_that_says_it_is_a_film_ends_with_its_own_error(self):
        self.fails_with(self.server.uri("notes.txt"), 110)
        self.still_plays()

    def test_a_server_that_never_answers_can_be_left(self):
        uri = self.server.uri("silent")
        self.controller.load(uri, didl(uri))
        self.controller.play()
        self.tv.event("MM_FILE_INIT_BEGIN")
        self.assertEqual(self.controller.transport()["CurrentTransportState"], "TRANSITIONING")
        self.controller.call("Stop", InstanceID=0)
        self.tv.event("MM_EXIT_FORCE")
        self.still_plays()

    def test_a_server_that_never_answers_ends_with_its_own_error(self):
        begun = time.monotonic()
        self.fails_with(self.server.uri("silent"), 100, seconds=PLAYER_WAITS + DEADLINE)
        self.assertGreater(time.monotonic() - begun, PLAYER_WAITS - 1, "it is given its time")
        self.still_plays()

    def test_a_server_that_stops_answering_ends_with_its_own_error(self):
        self.fails_with(self.server.uri("stalls"), 100, seconds=2 * PLAYER_WAITS + DEADLINE)
        self.still_plays()

    def test_a_server_that_stops_answering_does_not_hang_the_shut_down(self):
        uri = self.server.uri("stalls")
        self.controller.load(uri, didl(uri))
        self.controller.play()
        self.tv.event("MM_FILE_INIT_BEGIN")
        self.assertIn(self.controller.transport()["CurrentTransportState"],
                      ("TRANSITIONING", "PLAYING"))
        self.assert_quits(self.tv)

    def test_a_film_without_length_and_ranges_plays_and_offers_no_seek(self):
        uri = self.server.uri("unsized")
        self.controller.load(uri, didl(uri))
        self.controller.play()
        self.tv.event("MM_START_PLAY")
        until(lambda: self.controller.transport()["CurrentTransportState"] == "PLAYING",
              "PLAYING towards the controller", 5)
        actions = self.controller.call("GetCurrentTransportActions", InstanceID=0)["Actions"]
        self.assertEqual(actions, "Play,Pause,Stop")
        self.refused(710, self.controller.call, "Seek", InstanceID=0, Unit="REL_TIME",
                     Target="0:00:05")
        self.still_plays()

    def test_ten_megabytes_of_metadata_are_turned_away(self):
        with self.assertRaises((UpnpError, OSError)) as raised:
            uri = self.server.uri("film.mp4")
            self.controller.load(uri, didl(uri, title="x" * 10_000_000))
        if isinstance(raised.exception, UpnpError):
            self.assertEqual(raised.exception.status, 413)
        self.assertEqual(self.tv.event_names(), [])
        self.still_plays()

    def test_calls_that_make_no_sense_get_the_error_that_the_standard_names(self):
        self.refused(401, self.controller.call, "Explode", InstanceID=0)
        self.refused(718, self.controller.call, "GetTransportInfo", InstanceID=7)
        self.refused(402, self.controller.call, "SetAVTransportURI", InstanceID=0)
        self.refused(402, self.controller.call, "Seek", InstanceID=0, Unit="REL_TIME")
        for body in (b"", b"<", b"\0\0\0", b"<a/>", b"<!DOCTYPE a [<!ENTITY b 'c'>]><a>&b;</a>",
                     b"<a>" * 5000):
            status, _ = self.controller.post(body, {
                "Content-Type": "text/xml", "SOAPACTION": f'"{AV_TRANSPORT}#Play"'})
            self.assertIn(status, (400, 500), body[:40])
        self.assertEqual(self.tv.event_names(), [])
        self.still_plays()

    def test_metadata_that_is_no_xml_does_not_keep_a_film_from_playing(self):
        uri = self.server.uri("film.mp4")
        self.controller.load(uri, "<DIDL-Lite><item>")
        self.controller.play()
        self.tv.event("MM_START_PLAY")
        self.assert_quits(self.tv)


if __name__ == "__main__":
    unittest.main()
