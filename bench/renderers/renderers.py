"""The three renderers that are compared: how each is started so that it draws into the same
"picturewitness" and is silent, and what it needs beside itself."""

import itertools
import os
import pathlib
import shutil
import subprocess
import time

COMPANIONS = "/applications/DLNA/release/bin/"
RYGEL_PLUGINS = pathlib.Path("/usr/lib/x86_64-linux-gnu/rygel-2.8/plugins")
PATIENCE = 20  # seconds


def version(package):
    shown = subprocess.run(
        ["dpkg-query", "-W", "-f", "${Version}", package], capture_output=True, text=True
    )
    return shown.stdout.split("-")[0]


class Renderer:
    """One of the three. `command` starts it; `environment` is added to what all of them get."""

    name = ""
    environment = {}

    def version(self):
        raise NotImplementedError

    def beside(self, environment):
        """Starts what belongs to it beside itself: processes that end with `leave`."""
        return []

    def leave(self):
        pass

    def admit(self, environment):
        """Lets every controller play."""


class Ours(Renderer):
    name = "Vantor2"

    def __init__(self, build, folder):
        self.sbus = str(build / "bin/sbus")
        self.command = [COMPANIONS + "Vantor2"]
        self.environment = {
            "KETRA_STATE_DIR": str(folder / "state"),
            "KETRA_LOG": "warning",
            "KETRA_VIDEO_SINK": "picturewitness",
            "KETRA_AUDIO_SINK": "fakeaudiosink",
            "KETRA_SNAPSHOT_DIR": str(folder.parent / "run"),  # where its media worker may write
        }
        self.player = None

    def version(self):
        return ""

    def _until_accepted(self, environment, *words):
        end = time.monotonic() + PATIENCE
        while subprocess.run(
            [self.sbus, *words],
            env=environment,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
        ).returncode:
            if time.monotonic() > end:
                raise RuntimeError("in vain: sbus " + " ".join(words))
            time.sleep(0.05)

    def beside(self, environment):
        self.player = subprocess.Popen(
            ["in_tv", COMPANIONS + "zeGStreamerPlayer"],
            env=dict(environment, KETRA_TV_PID=str(os.getpid())),
        )
        self._until_accepted(environment, "show", "ContentPlayerService$main")
        return [self.player.pid, *children(self.player.pid)]

    def leave(self):
        self.player.terminate()
        self.player.wait(PATIENCE)

    def admit(self, environment):
        self._until_accepted(
            environment, "set", "MediaRendererService", "mPlayerControlAuthorization", "0"
        )


class Rygel(Renderer):
    name = "Rygel"
    command = ["rygel"]

    def __init__(self, folder):
        plugins = folder / "plugins"
        plugins.mkdir(parents=True)
        for file in ("librygel-playbin.so", "playbin.plugin"):
            shutil.copy(RYGEL_PLUGINS / file, plugins)
        # It reads no other file, whatever its options say.
        (folder / "rygel.conf").write_text(
            "[general]\n"
            "interface=eth0\n"
            f"plugin-path={plugins}\n"
            "log-level=*:1\n"
            "[Playbin]\n"
            "enabled=true\n"
            "video-sink=picturewitness\n"
            "audio-sink=fakeaudiosink\n",
            encoding="utf-8",
        )
        self.environment = {"XDG_CONFIG_HOME": str(folder)}

    def version(self):
        return version("rygel")


class Gmediarender(Renderer):
    name = "gmediarender"

    def __init__(self):
        # It waits for a port on which connections ended a moment ago; so each start has its own.
        self.ports = itertools.count(49200)

    @property
    def command(self):
        return [
            "gmediarender",
            "--interface-name=eth0",
            f"--port={next(self.ports)}",
            "--gstout-videosink=picturewitness",
            "--gstout-audiosink=fakeaudiosink",
        ]

    def version(self):
        return version("gmediarender")


def children(process):
    text = pathlib.Path(f"/proc/{process}/task/{process}/children").read_text()
    return [int(word) for word in text.split()]
