"""A phone pushes, the viewer says yes, the television plays."""

import http.server
import os
import signal
import subprocess
import sys
import unittest

from house import Controller, HouseTest, find_renderer, free_port, media, until

FILM_TITLE = "film"  # its file's name: it has no title of its own
NO_SUCH_RENDERER, REFUSED, INTERRUPTED = 5, 8, 130


class TheRoad(HouseTest):

    def test_a_film_is_allowed_played_paused_sought_sped_up_and_stopped(self):
        tv = self.television("--ask")
        phone = self.push(media("film.mp4"), "--to", tv.name)
        request = tv.event("MM_REQ_TO_AUTH")
        self.assertEqual(request["title"], FILM_TITLE)
        self.assertEqual(request["mime"], "video/mp4")
        self.assertIn(tv.status()["state"], ("idle", "stopped"), "nothing plays before the answer")
        tv.do("allow")
        tv.event("MM_FILE_INIT_BEGIN", media="movie", title=FILM_TITLE)
        tv.event("MM_START_PLAY")
        self.assertEqual(tv.event("MM_METADATA")["media"], "movie")
        playing = tv.until_status(lambda said: said["position"], "a position")
        self.assertEqual(playing["duration"], 60)
        tv.do("pause")
        tv.event("MM_MEDIA_PAUSE")
        self.assertEqual(tv.status()["state"], "paused")
        tv.do("resume")
        tv.event("MM_MEDIA_RESUME_OK")
        tv.do("seek 30")
        tv.until_status(lambda said: said["position"] and 29 <= said["position"] < 45,
                        "a position behind the seek")
        tv.do("ff 2")
        self.assertEqual(tv.event("MM_SPEED_CHANGE")["speed"], "2x")
        tv.do("resume")
        tv.event("MM_MEDIA_RESUME_OK")
        self.assertEqual(tv.status()["speed"], "1x")
        tv.do("stop")
        tv.event("MM_EXIT_FORCE")
        self.assertEqual(phone.ended(), 0, phone.tail())
        self.assertEqual(phone.lines[-1], "Stopped on the television.")
        self.assert_quits(tv)

    def test_a_song_is_played_to_its_end_with_its_tags(self):
        tv = self.television("--allow")
        phone = self.push(media("song.mp3"))
        self.assertEqual(tv.event("MM_REQ_TO_AUTH")["title"], "Tick & <Tock>")
        self.assertEqual(tv.event("MM_FILE_INIT_BEGIN")["title"], "Tick & <Tock>")
        tv.event("MM_START_PLAY")
        metadata = tv.event("MM_METADATA")
        self.assertEqual(metadata["media"], "music")
        self.assertIn("The Testers", metadata.values())
        self.assertIn("Six Seconds", metadata.values())
        tv.until_status(lambda said: said["duration"] in (6, 7), "the length of the song", 5)
        tv.event("MM_EXIT_OK")
        self.assertEqual(phone.ended(), 0, phone.tail())
        self.assertIn("Done.", phone.lines)
        self.assert_quits(tv)

    def test_a_photo_is_shown_and_stays_when_the_phone_has_gone(self):
        tv = self.television("--allow")
        phone = self.push(media("photo.jpg"))
        tv.event("MM_FILE_INIT_BEGIN")
        tv.event("MM_PHOTO_DECODE_DONE")
        self.assertEqual(phone.ended(), 0, phone.tail())
        self.assertIn("Shown.", phone.lines)
        self.assertEqual(tv.status()["state"], "finished")
        self.assertEqual(tv.event_names()[-1], "MM_PHOTO_DECODE_DONE", tv.tail())
        self.assert_quits(tv)

    def test_what_the_viewer_refuses_is_not_played_and_the_phone_says_so(self):
        tv = self.television("--deny")
        phone = self.push(media("film.mp4"))
        tv.event("MM_REQ_TO_AUTH")
        self.assertEqual(phone.ended(), REFUSED, phone.tail())
        self.assertIn("its viewer said no", phone.lines[-1])
        self.assertNotIn("MM_FILE_INIT_BEGIN", tv.event_names())
        self.assert_quits(tv)

    def test_a_television_that_lets_nobody_in_refuses_at_once(self):
        tv = self.television()
        tv.do("policy deny")
        def refused():
            phone = self.push(media("film.mp4"), "--to", tv.name)
            return phone.ended() == REFUSED and phone
        phone = until(refused, "a refusal")
        self.assertTrue(any("606" in line for line in phone.lines), phone.tail())
        self.assertNotIn("MM_REQ_TO_AUTH", tv.event_names())
        self.assert_quits(tv)

    def test_a_second_controller_may_look_but_not_touch(self):
        tv = self.television("--allow")
        phone = self.push(media("film.mp4"))
        tv.event("MM_START_PLAY")
        location = find_renderer()

        def from_guest(action, *arguments):
            script = __file__.replace("road_test.py", "call_action.py")
            return subprocess.run(["in_guest", sys.executable, script, location, action,
                                   *arguments], stdout=subprocess.PIPE, text=True,
                                  check=True).stdout.strip()
        self.assertEqual(from_guest("Pause"), "606")
        self.assertEqual(from_guest("Stop"), "606")
        self.assertEqual(from_guest("Seek", "Unit=REL_TIME", "Target=0:00:40"), "606")
        self.assertEqual(from_guest("GetTransportInfo"), "ok")
        self.assertEqual(tv.status()["state"], "playing")
        self.assertTrue(phone.is_running(), phone.tail())
        self.assert_quits(tv)

    def test_ctrl_c_on_the_phone_stops_the_television(self):
        tv = self.television("--allow")
        phone = self.push(media("film.mp4"))
        tv.event("MM_START_PLAY")
        phone.signal(signal.SIGINT)
        tv.event("MM_EXIT_FORCE")
        self.assertEqual(phone.ended(), INTERRUPTED, phone.tail())
        self.assert_quits(tv)

    def test_a_hidden_television_is_not_found_until_it_shows_itself(self):
        tv = self.television("--allow")
        location = find_renderer()
        tv.do("hide")
        tv.until_status(lambda said: not said["visible"], "the television being hidden")
        phone = self.push("--list", "--timeout", "1.5")
        self.assertEqual(phone.ended(), 4, phone.tail())
        tv.do("show")
        tv.until_status(lambda said: said["visible"], "the television being shown")
        self.assertEqual(find_renderer(), location)
        self.assert_quits(tv)

    def test_a_television_that_hides_while_it_plays_is_told_at_the_phone(self):
        tv = self.television("--allow")
        phone = self.push(media("film.mp4"))
        tv.event("MM_START_PLAY")
        phone.wait_line(lambda line: line.startswith("playing"), "playing")
        tv.do("hide")
        self.assertEqual(phone.ended(), 10, phone.tail())
        self.assert_quits(tv)

    def test_a_picture_of_the_screen_is_there_when_the_television_says_so(self):
        os.environ["KETRA_SNAPSHOT_DIR"] = self.folder
        self.addCleanup(os.environ.pop, "KETRA_SNAPSHOT_DIR")
        tv = self.television("--allow")
        self.push(media("film.mp4"))
        tv.event("MM_START_PLAY")
        file = os.path.join(self.folder, "shot.png")
        for _ in range(2):
            tv.do("snapshot shot.png")
            with open(file, "rb") as picture:
                self.assertEqual(picture.read(4), b"\x89PNG")
            os.truncate(file, 0)
        self.assert_quits(tv)

    def test_a_television_that_gets_another_name_while_it_plays_keeps_its_phone(self):
        tv = self.television("--allow")
        phone = self.push(media("film.mp4"))
        tv.event("MM_START_PLAY")
        phone.wait_line(lambda line: line.startswith("playing"), "playing")
        tv.do("rename Attic")
        phone.wait_line(lambda line: line.endswith(" is called Attic now."), "the new name")
        at = tv.status()["position"] or 0
        tv.until_status(lambda said: said["position"] and said["position"] >= at + 3,
                        "a film that goes on")
        self.assertTrue(phone.is_running(), phone.tail())
        controller = Controller(find_renderer())
        self.assertEqual(controller.transport()["CurrentTransportState"], "PLAYING")
        self.assertTrue(controller.call("GetMediaInfo", InstanceID=0)["CurrentURI"]
                        .endswith(".mp4"))
        phone.signal(signal.SIGINT)
        self.assertEqual(phone.ended(), INTERRUPTED, phone.tail())
        self.assertIn("Interrupted; Attic goes on: ", phone.lines[-1])
        self.assertEqual(tv.status()["state"], "playing", "a new name lets nobody in")
        self.assert_quits(tv)

    def test_a_television_that_got_another_name_asks_about_the_next_phone(self):
        tv = self.television("--ask")
        phone = self.push(media("film.mp4"))
        tv.event("MM_REQ_TO_AUTH")
        tv.do("deny")
        phone.ended()
        tv.do("rename Attic")
        phone = self.push(media("film.mp4"))
        tv.event("MM_REQ_TO_AUTH")
        tv.do("allow")
        tv.event("MM_START_PLAY")
        self.assert_quits(tv)

    def test_a_phone_is_told_that_another_file_took_the_place_of_its_own(self):
        tv = self.television("--ask")
        asked = self.push(media("film.mp4"))
        tv.event("MM_REQ_TO_AUTH", title=FILM_TITLE)
        asked.wait_line(lambda line: line.startswith("Waiting for "), "waiting")
        played = self.push(media("song.mp3"))
        tv.event("MM_REQ_TO_AUTH", title="Tick & <Tock>")
        self.assertEqual(asked.ended(), REFUSED, asked.tail())
        self.assertIn(" was given something else; this file never began.", asked.lines[-1])
        tv.do("allow")
        tv.event("MM_START_PLAY")
        played.wait_line(lambda line: line.startswith("playing"), "playing")
        self.push(media("film.mp4"))
        self.assertEqual(played.ended(), 0, played.tail())
        self.assertTrue(played.lines[-1].endswith(" plays something else now."), played.tail())
        self.assert_quits(tv)

    def test_mistakes_at_the_phone_are_told_before_anything_is_pushed(self):
        tv = self.television("--allow")
        port = free_port()
        blocker = http.server.HTTPServer((os.environ["KETRA_PHONE_ADDRESS"], port),
                                         http.server.BaseHTTPRequestHandler)
        self.addCleanup(blocker.server_close)
        cases = (
            ((media("notes.txt"),), 3, "is not a film, a song or a picture"),
            ((media("film.mp4"), "--to", "Nowhere", "--timeout", "2"), NO_SUCH_RENDERER,
             'no television is called "Nowhere"'),
            ((media("film.mp4"), "--port", str(port)), 7, f"port {port} on"),
        )
        for arguments, status, sentence in cases:
            phone = self.push(*arguments)
            self.assertEqual(phone.ended(), status, phone.tail())
            self.assertTrue(any(sentence in line for line in phone.lines), phone.tail())
        self.assertEqual(tv.event_names(), [])
        self.assert_quits(tv)


if __name__ == "__main__":
    unittest.main()
