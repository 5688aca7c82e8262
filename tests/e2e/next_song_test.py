"""A controller names the next song while one plays: from the daemon to the player and back."""

import os
import sys
import unittest

from house import Controller, HouseTest, didl, find_renderer, until

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "../conformance"))
from upnp import Device, Events  # noqa: E402  (its folder is known only now)

CALLS = ("GetTransportInfo", "GetMediaInfo", "GetPositionInfo")
LIFE = ("MM_FILE_INIT_BEGIN", "MM_START_PLAY", "MM_EXIT_OK", "MM_EXIT_FORCE", "MM_EXIT_ERROR_FILE")


def changes(values):
    """The values without repetitions."""
    return [value for index, value in enumerate(values) if not index or values[index - 1] != value]


class TheNextSong(HouseTest):

    def start(self):
        """The bell plays, and the chime is to follow."""
        self.tv = self.television("--allow")
        self.server = self.serve()
        self.bell, self.chime = map(self.server.uri, ("bell.mp3", "chime.mp3"))
        location = find_renderer()
        self.controller = Controller(location)
        self.events = Events(Device(location).services["AVTransport"],
                             os.environ["KETRA_PHONE_ADDRESS"])
        self.addCleanup(self.events.close)
        self.controller.load(self.bell, didl(self.bell, "audio/mpeg", "Bell"))
        self.name_next(self.chime, didl(self.chime, "audio/mpeg", "Chime"))
        self.controller.play()
        self.assertTrue(self.events.await_latest("TransportState", "PLAYING"), self.tv.tail())
        self.heard = self.events.count()

    def name_next(self, uri, metadata=""):
        self.controller.call("SetNextAVTransportURI", InstanceID=0, NextURI=uri,
                             NextURIMetaData=metadata)

    def look(self):
        """What three questions to the renderer bring to light."""
        found = {}
        for action in CALLS:
            found.update(self.controller.call(action, InstanceID=0))
        return found

    def look_until_it_plays_no_more(self):
        """How each value changed until then, by its name."""
        looks = []

        def over():
            looks.append(self.look())
            return looks[-1]["CurrentTransportState"] != "PLAYING"
        until(over, "the end")
        looks.append(self.look())  # each of the values once after the end
        return {name: changes([look[name] for look in looks]) for name in looks[0]}

    def told(self, variable):
        """The values of a variable that the events told since the bell began."""
        return [values[variable] for _, _, values in self.events.since(self.heard)
                if variable in values]

    def lives(self):
        """Beginnings and ends at the television, from the first beginning on."""
        names = [name for name in self.tv.event_names() if name in LIFE]
        return names[names.index("MM_FILE_INIT_BEGIN"):]

    def test_begins_where_the_one_before_ends(self):
        self.start()
        seen = self.look_until_it_plays_no_more()
        self.assertEqual(seen["CurrentTransportState"], ["PLAYING", "STOPPED"], self.tv.tail())
        self.assertEqual(seen["CurrentTransportStatus"], ["OK"])
        self.assertEqual(seen["CurrentURI"], [self.bell, self.chime])
        self.assertEqual(seen["TrackURI"], [self.bell, self.chime])
        self.assertEqual(seen["NextURI"], [self.chime, ""])
        self.assertTrue(self.events.await_latest("TransportState", "STOPPED"))
        self.assertEqual(changes(["PLAYING"] + self.told("TransportState")),
                         ["PLAYING", "STOPPED"])
        whole = [values for _, _, values in self.events.since(self.heard)
                 if "AVTransportURI" in values]
        self.assertEqual([values["AVTransportURI"] for values in whole], [self.chime])
        self.assertEqual(whole[0].get("CurrentTrackURI"), self.chime)
        self.assertEqual(whole[0].get("NextAVTransportURI"), "")
        one = ["MM_FILE_INIT_BEGIN", "MM_START_PLAY", "MM_EXIT_OK"]
        until(lambda: len(self.lives()) >= 2 * len(one), "the television's last event")
        self.assertEqual(self.lives(), one + one, self.tv.tail())
        self.assertEqual([event["title"] for event in self.tv.events()
                          if event["name"] == "MM_FILE_INIT_BEGIN"], ["Bell", "Chime"])
        self.assert_quits(self.tv)

    def test_is_not_heard_when_it_is_taken_back_while_it_is_prepared(self):
        self.start()
        until(lambda: "/chime.mp3" in self.server.requests, "the player asking for the chime")
        self.name_next("")
        seen = self.look_until_it_plays_no_more()
        self.assertEqual(seen["CurrentTransportState"], ["PLAYING", "STOPPED"], self.tv.tail())
        self.assertEqual(seen["CurrentTransportStatus"], ["OK"])
        self.assertEqual(seen["CurrentURI"], [self.bell])
        self.assertEqual(seen["TrackURI"], [self.bell])
        self.assertEqual(seen["NextURI"], [""])
        self.assertTrue(self.events.await_latest("TransportState", "STOPPED"))
        self.assertEqual(self.told("NextAVTransportURI"), [""])
        self.assertEqual(self.told("AVTransportURI"), [])
        one = ["MM_FILE_INIT_BEGIN", "MM_START_PLAY", "MM_EXIT_OK"]
        until(lambda: len(self.lives()) >= len(one), "the television's last event")
        self.assertEqual(self.lives(), one, self.tv.tail())
        self.assert_quits(self.tv)


if __name__ == "__main__":
    unittest.main()
