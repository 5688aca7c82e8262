"""What an event of the TV's middleware means where its name alone misleads.

The library posts an event for every change of the player's state and of its speed, also where nobody
asked for one: that is how televisions know it. The demo says so beside the event.
"""


class Meaning:
    """Follows the events in their order."""

    def __init__(self):
        self._media = None  # None: nothing has played yet; True while something is on
        self._paused = False
        self._has_metadata = False

    def of(self, event):
        """What to say beside this event, which comes next; "" when it speaks for itself."""
        name = event["name"]
        said = ""
        if name == "MM_FILE_INIT_BEGIN":
            said = self._places(event)
            self._has_metadata = False
        elif name == "MM_METADATA":
            said = "more is known of it" if self._has_metadata else ""
            self._has_metadata = True
        elif name == "MM_MEDIA_RESUME_OK" and not self._paused:
            said = "the player is at normal speed"
        elif name == "MM_EXIT_FORCE" and self._media is None:
            said = "the player is at rest, nothing has played yet"
        elif name == "MM_EXIT_FORCE" and not self._media:
            said = "what has ended is put away for the next"
        self._follow(name)
        return said

    def _follow(self, name):
        self._paused = name == "MM_MEDIA_PAUSE" or (
            self._paused and name in ("MM_SPEED_CHANGE", "MM_METADATA"))
        if name in ("MM_FILE_INIT_BEGIN", "MM_START_PLAY"):
            self._media = True
        elif name.startswith("MM_EXIT"):
            self._media = False

    @staticmethod
    def _places(event):
        by_bytes, by_time = event.get("byteSeek"), event.get("timeSeek")
        if event.get("media") == "photo" or (by_bytes and by_time):
            return ""  # nobody seeks in a photo
        if by_bytes:
            return "its server finds bytes, the player finds the times"
        return "its server finds times only" if by_time else "its server finds no places in it"
