"""What the demo says beside events that surprise whoever reads them for the first time."""

import os
import sys
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "../../tools/demo"))
from meaning import Meaning  # noqa: E402  (its folder is known only now)


def meanings(*events):
    """What is said beside each; an event is its name or its name with details."""
    meaning = Meaning()
    lines = [{"name": event} if isinstance(event, str) else {"name": event[0], **event[1]}
             for event in events]
    return [meaning.of(line) for line in lines]


BEGIN = ("MM_FILE_INIT_BEGIN", {"byteSeek": True, "timeSeek": True})


class AnEvent(unittest.TestCase):
    def test_that_speaks_for_itself_is_left_alone(self):
        self.assertEqual(
            meanings(BEGIN, "MM_START_PLAY", "MM_METADATA", "MM_MEDIA_PAUSE",
                     "MM_MEDIA_RESUME_OK", "MM_EXIT_FORCE"), [""] * 6)
        self.assertEqual(meanings(BEGIN, "MM_START_PLAY", "MM_METADATA", "MM_EXIT_OK"), [""] * 4)

    def test_of_a_player_that_has_not_played_yet_is_no_end(self):
        speed, rest, begin = meanings("MM_MEDIA_RESUME_OK", "MM_EXIT_FORCE", BEGIN)
        self.assertIn("normal speed", speed)
        self.assertIn("nothing has played yet", rest)
        self.assertEqual(begin, "")

    def test_that_follows_the_end_of_a_media_is_no_second_end(self):
        *_, again = meanings(BEGIN, "MM_START_PLAY", "MM_EXIT_OK", "MM_EXIT_FORCE")
        self.assertIn("put away", again)

    def test_of_a_stop_while_fast_says_what_resumed(self):
        *_, speed, end = meanings(BEGIN, "MM_START_PLAY", "MM_MEDIA_PAUSE", "MM_MEDIA_RESUME_OK",
                                  "MM_SPEED_CHANGE", "MM_MEDIA_RESUME_OK", "MM_EXIT_FORCE")
        self.assertIn("normal speed", speed)
        self.assertEqual(end, "")

    def test_of_metadata_that_comes_again_says_why(self):
        self.assertIn("more is known", meanings(BEGIN, "MM_METADATA", "MM_METADATA")[2])
        self.assertEqual(meanings(BEGIN, "MM_METADATA", "MM_EXIT_OK", BEGIN, "MM_METADATA")[4], "")

    def test_of_a_beginning_says_how_its_server_finds_places(self):
        def begin(by_bytes, by_time, media="movie"):
            return meanings(("MM_FILE_INIT_BEGIN", {"media": media, "byteSeek": by_bytes,
                                                    "timeSeek": by_time}))[0]
        self.assertIn("finds bytes, the player finds the times", begin(True, False))
        self.assertIn("finds times", begin(False, True))
        self.assertIn("finds no places", begin(False, False))
        self.assertEqual(begin(True, False, "photo"), "")


if __name__ == "__main__":
    unittest.main()
