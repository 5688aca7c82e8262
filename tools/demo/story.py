"""What the demo shows, in order. Runs inside with-world: story.py BUILD_FOLDER OUT_FOLDER.

Prints one line per event in the order in which the TV's middleware received it, and between them
what the people do. Ends with 0 only when every expected event came.
"""

import os
import pathlib
import signal
import subprocess
import sys
import time

from meaning import Meaning

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "world"))
from television import Missing, Television, describe  # noqa: E402

PNG = b"\x89PNG\r\n\x1a\n"
REFUSED = 8  # exit status of ketra-push
INTERRUPTED = 130


class Story:
    def __init__(self, build, out):
        self.build, self.out = build, out
        self.started = time.monotonic()
        self.pushes = []
        self.pictures = []
        self.meaning = Meaning()
        environment = dict(os.environ, KETRA_SNAPSHOT_DIR=str(out), KETRA_STATE_DIR=str(out / "state"))
        self.tv = Television(
            str(build / "bin/ketra-tv"),
            trace=str(out / "trace.log"),
            environment=environment,
            on_line=self.show,
            log=open(out / "companions.log", "w", encoding="utf-8"),
        )

    def say(self, who, text):
        print(f"{time.monotonic() - self.started:6.2f}  {who:<8} {text}", flush=True)

    def show(self, line):
        if line["line"] == "event":
            meaning = self.meaning.of(line)
            self.say("event", describe(line) + (f"  ({meaning})" if meaning else ""))
        elif line["line"] in ("problem", "unreadable"):
            self.say("problem", line.get("text", ""))

    def push(self, file, who="phone"):
        self.say(who, f"pushes {file}")
        log = open(self.out / f"push-{len(self.pushes)}.log", "w", encoding="utf-8")
        process = subprocess.Popen(
            [
                f"in_{who}",
                str(self.build / "bin/ketra-push"),
                f"--as={who}",
                str(self.out / "media" / file),
            ],
            stdout=log,
            stderr=subprocess.STDOUT,
            stdin=subprocess.DEVNULL,
        )
        self.pushes.append(process)
        return process

    def remote(self, command):
        self.say("remote", command)
        reply = self.tv.reply(command)
        if not reply["ok"]:
            raise Missing(f"the TV refused {command!r}: {reply['text']}")

    def admit(self, title):
        request = self.tv.event("MM_REQ_TO_AUTH", title=title)
        self.say("viewer", f"yes, {request['controller']} may")
        self.remote("allow")

    def picture(self, name):
        self.remote(f"snapshot {name}")
        file = self.out / name
        deadline = time.monotonic() + 5
        while not (file.exists() and file.read_bytes().startswith(PNG)):
            if time.monotonic() > deadline:
                raise Missing(f"no picture of the screen in {file}")
            time.sleep(0.05)
        self.pictures.append(file)

    def position_from(self, seconds):
        """Waits until the film has reached a position; where it is then."""
        deadline = time.monotonic() + 10
        while True:
            position = self.tv.status()["position"]
            if position is not None and position >= seconds:
                return position
            if time.monotonic() > deadline:
                raise Missing(f"the position stays at {position}, {seconds} was expected")
            time.sleep(0.2)

    def film(self):
        push = self.push("film.mp4")
        self.admit("film")
        self.tv.event("MM_FILE_INIT_BEGIN", media="movie", title="film")
        self.tv.event("MM_START_PLAY", media="movie")
        self.tv.event("MM_METADATA", media="movie")
        self.position_from(2)
        self.picture("film-playing.png")
        self.remote("pause")
        self.tv.event("MM_MEDIA_PAUSE")
        time.sleep(1)  # for whoever watches
        self.remote("resume")
        self.tv.event("MM_MEDIA_RESUME_OK")
        self.remote("seek 30")
        # The TV shows where a seek leads from the moment it is asked for; only a later position
        # tells that the player got there.
        self.say("tv", f"plays on from there, and is at {self.position_from(31)} s")
        self.remote("ff 2")
        self.tv.event("MM_SPEED_CHANGE", speed="2x")
        self.position_from(34)
        self.picture("film-fast.png")
        self.remote("stop")
        self.tv.event("MM_EXIT_FORCE", media="movie")
        push.wait(15)

    def stranger(self):
        push = self.push("song.mp3", who="guest")
        request = self.tv.event("MM_REQ_TO_AUTH", media="music")
        self.say("viewer", f"no, {request['controller']} may not")
        self.remote("deny")
        status = push.wait(15)
        self.say("guest", f"was refused (ketra-push ends with {status})")
        if status != REFUSED:
            raise Missing(f"the second controller was not refused: ketra-push ended with {status}")

    def begins_unasked(self, media):
        """Waits until this media of the phone, which was let in with its film, begins."""
        questions = self.questions()
        self.tv.event("MM_FILE_INIT_BEGIN", media=media)
        if self.questions() != questions:
            raise Missing("the viewer was asked about the phone once more")
        self.say("viewer", "is not asked: the phone was let in before, and nobody else since")

    def questions(self):
        return sum(event["name"] == "MM_REQ_TO_AUTH" for event in self.tv.events())

    def song(self):
        push = self.push("song.mp3")
        self.begins_unasked("music")
        self.tv.event("MM_START_PLAY", media="music")
        self.tv.event("MM_METADATA", media="music")
        self.tv.event("MM_EXIT_OK", media="music", seconds=20)
        if push.wait(15) != 0:
            raise Missing("ketra-push does not say that the song was played")

    def photo(self):
        push = self.push("photo.jpg")
        self.begins_unasked("photo")
        self.tv.event("MM_PHOTO_DECODE_DONE", media="photo")
        self.picture("photo.png")
        if push.wait(15) != 0:
            raise Missing("ketra-push does not say that the photo was shown")
        self.remote("stop")
        self.tv.event("MM_EXIT_FORCE", media="photo")

    def tell(self):
        self.tv.ready()
        self.say("tv", "is on the network")
        self.film()
        self.stranger()
        self.song()
        self.photo()
        self.say("viewer", "switches the TV off")
        status = self.tv.quit()
        if status != 0:
            raise Missing(f"the TV ended with {status}")

    def close(self):
        for process in [*self.pushes, self.tv.process]:
            if process.poll() is None:
                process.send_signal(signal.SIGKILL)
                process.wait()

    def summary(self):
        print()
        seconds = time.monotonic() - self.started
        print("In brackets: what an event means where its name misleads.")
        print(f"Every expected event came: {len(self.tv.events())} events in {seconds:.1f} s.")
        for picture in self.pictures:
            print(f"picture of the screen: {os.path.relpath(picture, pathlib.Path.cwd())}")
        print(f"what the library printed: {os.path.relpath(self.out / 'trace.log')}")


def main():
    story = Story(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]))
    try:
        story.tell()
    except (Missing, subprocess.TimeoutExpired, BrokenPipeError) as missing:
        print(f"\ndemo: {missing}", file=sys.stderr)
        print(f"demo: what the library printed is in {story.out / 'trace.log'}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        print("\ndemo: interrupted", file=sys.stderr)
        return INTERRUPTED
    finally:
        story.close()
    story.summary()
    return 0


if __name__ == "__main__":
    sys.exit(main())
