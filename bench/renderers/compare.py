"""Three renderers side by side, inside with-world on the host "phone":
compare.py BUILD_FOLDER SCRATCH_FOLDER [--write] [--rounds N] [--endurance]

They take turns, one at a time; every start is measured by renderer_probe.
"""

import argparse
import functools
import os
import pathlib
import subprocess
import sys

from renderers import Gmediarender, Ours, Rygel
from report import OURS, document, missed, table

TOP = pathlib.Path(__file__).resolve().parents[2]


class Comparison:
    def __init__(self, build, scratch):
        self.build, self.scratch = build, scratch
        self.renderers = [
            Ours(build, scratch / "ours"),
            Rygel(scratch / "rygel"),
            Gmediarender(),
        ]
        self.figures = {renderer.name: {} for renderer in self.renderers}
        self.endurance = {renderer.name: {} for renderer in self.renderers}
        self.failures = []
        self.pictures = scratch / "run" / "pictures"
        self.pictures.parent.mkdir(mode=0o700)

    def environment(self, renderer):
        shared = {
            "GST_PLUGIN_PATH": str(self.build / "bench/renderers/gstreamer"),
            "GST_REGISTRY": str(self.scratch / "registry" / "registry.bin"),
            "PICTURE_WITNESS": str(self.pictures),
            "XDG_RUNTIME_DIR": str(self.pictures.parent),
            "XDG_CACHE_HOME": str(self.scratch / "cache"),
            "XDG_DATA_HOME": str(self.scratch / "data"),
            "HOME": str(self.scratch),
        }
        (self.scratch / "registry").mkdir(exist_ok=True)
        return dict(os.environ, **shared, **renderer.environment)

    def probe(self, what, renderer, processes=(), admit=False):
        """What one start of it showed, as lists of words."""
        environment = self.environment(renderer)
        self.pictures.unlink(missing_ok=True)
        on_ready = (lambda: renderer.admit(environment)) if admit else None
        command = self._command(what, renderer, processes)
        with open(self.scratch / "log", "w", encoding="utf-8") as log:
            lines, status = self._run(command, environment, log, on_ready)
        if status != 0:
            said = (self.scratch / "log").read_text(errors="replace")
            raise RuntimeError(f"{renderer.name} could not be measured ({what}):\n{said[-2000:]}")
        return lines

    def _command(self, what, renderer, processes):
        return [
            str(self.build / "bin/renderer_probe"),
            what,
            "tv",
            str(self.scratch / "film.mp4"),
            str(self.pictures),
            ",".join(map(str, processes)),
            "--",
            *renderer.command,
        ]

    @staticmethod
    def _run(command, environment, log, on_ready):
        """Lines of the probe, and its exit status."""
        probe = subprocess.Popen(
            command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=log, text=True,
            env=environment
        )
        lines = []
        for line in probe.stdout:
            words = line.split()
            if words == ["ready"]:
                if on_ready:
                    on_ready()
                probe.stdin.write("\n")
                probe.stdin.flush()
            elif words and words[0] in KNOWN:  # renderers print there, too
                lines.append(words)
        return lines, probe.wait()

    def play(self, renderer):
        """With what it needs for a film; nobody is asked about the controller."""
        processes = renderer.beside(self.environment(renderer))
        try:
            return self.probe("play", renderer, processes, admit=True)
        finally:
            if processes:
                renderer.leave()

    def in_turn(self, number):
        """Whoever was first is last in the next round."""
        first = number % len(self.renderers)
        return self.renderers[first:] + self.renderers[:first]

    def round(self, number):
        for renderer in self.in_turn(number):
            progress(f"round {number + 1}: {renderer.name}")
            for measure in (functools.partial(self.probe, "alone"), self.play):
                for name, value in self.attempt(renderer, measure):
                    self.figures[renderer.name].setdefault(name, []).append(float(value))

    def endure(self):
        for renderer in self.renderers:
            progress(f"endurance: {renderer.name}")
            for name, *values in self.attempt(renderer, functools.partial(self.probe, "endure")):
                self.endurance[renderer.name][name] = values

    def attempt(self, renderer, measure):
        """Another one's crash is told and does not end the run; ours does."""
        try:
            return measure(renderer)
        except RuntimeError as error:
            if renderer.name == OURS:
                raise
            progress(str(error))
            self.failures.append(renderer.name)
            return []


KNOWN = {
    "announced", "found", "idle_cpu", "idle_switches", "memory_idle", "description", "poll_p50",
    "poll_p99", "kept", "polls_per_second", "memory_all_idle", "memory_all_playing", "set",
    "evented", "picture", "playing", "first_playing", "answered",
    "before", "after_polls", "after_subscriptions", "after_connections",
}  # fmt: skip


def progress(text):
    print(text, file=sys.stderr, flush=True)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("scratch", type=pathlib.Path)
    parser.add_argument("--write", action="store_true")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--endurance", action="store_true")
    asked = parser.parse_args()

    comparison = Comparison(asked.build, asked.scratch)
    progress("warming up: the registry of GStreamer's plugins, files in memory")
    for renderer in comparison.renderers:
        comparison.attempt(renderer, comparison.play)
    for number in range(asked.rounds):
        comparison.round(number)
    if asked.endurance:
        comparison.endure()
    text = table(comparison, asked.rounds)
    print(text)
    if asked.write:
        (TOP / "docs/performance.md").write_text(document(text, asked), encoding="utf-8")
    for line in missed(comparison):
        progress(line)


if __name__ == "__main__":
    main()
