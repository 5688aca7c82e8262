"""What compare.py prints and keeps: the table of figures, and the document around it."""

import os
import pathlib
import re
import statistics
import subprocess

OURS = "Vantor2"


class Row:
    """A line of the table. `limit` is what our renderer's median shall not exceed."""

    def __init__(self, key, what, unit, digits, limit=None):
        self.key, self.what, self.unit, self.digits, self.limit = key, what, unit, digits, limit

    def cell(self, figures):
        values = figures.get(self.key)
        if not values:
            return "-"
        middle, low, high = (
            f"{value:.{self.digits}f}"
            for value in (statistics.median(values), min(values), max(values))
        )
        return f"{middle} ({low}..{high})"

    def bound(self):
        return "" if self.limit is None else f"{self.limit:g}"


ROWS = [
    Row("announced", "start until the MediaRenderer is announced", "ms", 1, 100),
    Row("found", "start until a search is answered (MX 1, asked every 10 ms)", "ms", 1, 120),
    Row("answered", "search until it is answered, at rest (MX 1)", "ms", 2, 100),
    Row("description", "description, a new connection each", "ms", 3, 0.2),
    Row("poll_p50", "poll (GetTransportInfo), kept connection, p50", "ms", 3, 0.18),
    Row("poll_p99", "poll, kept connection, p99", "ms", 3, 0.5),
    Row("polls_per_second", "polls a second over eight kept connections", "", 0),
    Row("set", "SetAVTransportURI answered", "ms", 2, 2),
    Row("evented", "SetAVTransportURI and Play until PLAYING is evented", "ms", 1),
    Row("picture", "SetAVTransportURI and Play until the first picture is on the screen", "ms", 1),
    Row("playing", "SetAVTransportURI and Play until both are true", "ms", 1, 60),
    Row("first_playing", "both, for the first film of the process", "ms", 1),
    Row("memory_idle", "memory (PSS) of the process, idle", "MiB", 1, 11),
    Row("memory_all_idle", "memory of the whole renderer, player included, idle", "MiB", 1),
    Row("memory_all_playing", "memory of the whole renderer while a film plays", "MiB", 1),
    Row("idle_cpu", "processor while idle", "%", 4, 0.001),
    Row("idle_switches", "context switches while idle", "/s", 2, 0),
]

ENDURANCE = [
    ("before", "before"),
    ("after_polls", "after 100 000 polls"),
    ("after_subscriptions", "and 10 000 subscriptions that came and went"),
    ("after_connections", "and 2000 connections opened and closed"),
]


def lines_of(rows):
    yield from ("| " + " | ".join(row) + " |" for row in rows)


def table(comparison, rounds):
    renderers = comparison.renderers
    titles = [f"{renderer.name} {renderer.version()}".strip() for renderer in renderers]
    rows = [["", "", "at most", *titles], ["---"] * (3 + len(titles))]
    for row in ROWS:
        cells = [row.cell(comparison.figures[renderer.name]) for renderer in renderers]
        rows.append([row.what, row.unit, row.bound(), *cells])
    text = f"Median (lowest..highest) of {rounds} rounds:\n\n" + "\n".join(lines_of(rows)) + "\n"
    closing = [
        renderer.name
        for renderer in renderers
        if 0 in comparison.figures[renderer.name].get("kept", [])
    ]
    if closing:
        text += (
            f"\n{' and '.join(closing)} closes the connection after every answer, so its polls are"
            " a new connection each.\n"
        )
    for name in sorted(set(comparison.failures)):
        text += f"\n{comparison.failures.count(name)} starts of {name} could not be measured.\n"
    if comparison.endurance[OURS]:
        text += "\n" + endurance(comparison, titles)
    return text


def endurance(comparison, titles):
    head = ["open descriptors, own memory (private, written)", *titles]
    rows = [head, ["---"] * len(head)]
    for key, what in ENDURANCE:
        cells = []
        for renderer in comparison.renderers:
            values = comparison.endurance[renderer.name].get(key)
            if not values:
                cells.append("-")
            elif values[0] == "failed":
                cells.append(" ".join(values))
            else:
                cells.append(f"{values[0]}, {float(values[1]):.1f} MiB")
        rows.append([what, *cells])
    return "\n".join(lines_of(rows)) + "\n"


def missed(comparison):
    """A sentence for every figure of ours that is worse than it shall be."""
    ours = comparison.figures[OURS]
    for row in ROWS:
        if row.limit is not None and statistics.median(ours[row.key]) > row.limit:
            yield f"above its limit: {row.what}: {row.cell(ours)} {row.unit}"
    mine = statistics.median(ours["polls_per_second"])
    for name, figures in comparison.figures.items():
        if name != OURS and statistics.median(figures.get("polls_per_second", [0])) >= mine:
            yield f"{name} answers more polls a second"


def machine():
    cpuinfo = pathlib.Path("/proc/cpuinfo").read_text()
    model = re.search(r"(?m)^model name\s*:\s*(.*)$", cpuinfo)
    memory = re.search(r"MemTotal:\s+(\d+)", pathlib.Path("/proc/meminfo").read_text())
    system = re.search(r'(?m)^PRETTY_NAME="(.*)"$', pathlib.Path("/etc/os-release").read_text())
    return (
        f"{os.cpu_count()} processors ({model.group(1) if model else os.uname().machine}),"
        f" {int(memory.group(1)) / 1024 / 1024:.0f} GiB of memory, {system.group(1)}, Linux"
        f" {os.uname().release.split('-')[0]}, GStreamer {gstreamer()}"
    )


def gstreamer():
    shown = subprocess.run(
        ["gst-launch-1.0", "--gst-version"], capture_output=True, text=True
    ).stdout
    return shown.split()[-1]


DOCUMENT = """# Performance of the renderer

The renderer daemon beside two others from Debian, in one run. This page is written by

```
cmake --preset bench && cmake --build --preset bench
{command}
```

as root, or as a user who may make namespaces. It installs the two others.

## Figures

{machine}; load of the machine when the run ended: {load} (1 minute).

{table}
"At most" is the limit that Vantor2 is held to: its median shall not be above it, and `compare` names
the lines where it is. Lines without a limit are there to be compared.

The renderers take turns, one at a time: in each round every one is started and measured alone, then
started again and measured with a film; who was first in one round is last in the next.

## What is measured

- All three run on the same host of the same closed network (`tools/world/with-world`) and are asked
  by the same program, `build/bench/bin/renderer_probe`, from another host of it, through raw sockets.
- "Start" is the moment before the process is made. GStreamer's registry and all files are warm, the
  state bus is up. Vantor2 is the daemon alone, without its player; the others play in their own
  process.
- Rygel answers a search after a random time within MX, as the standard allows. At rest fifteen are
  sent, each once the one before was answered; their median counts.
- For a film Vantor2 has its player beside it and the policy "allow". All three draw into the same
  video sink, which shows nothing and tells when it was given something to show
  (`bench/renderers/picture_witness.cpp`). The film is 640x360 H.264 with AAC in MP4, over HTTP from
  the controller's host; four are played in a row, and the first of a process, for which GStreamer
  loads its plugins, has a line of its own. gmediarender says PLAYING before it plays.
- Memory is the proportional set size (PSS): a page that several processes share counts in parts. Of
  "the process" only the daemon runs; of "the whole renderer" the player's two processes run beside
  it, which share libraries with it, and all three are added up.
- Idle: for seven seconds, nobody connected. The processor's time is the kernel's for the process;
  context switches are those of all its threads.
- Endurance, one run each: polls over eight connections; subscriptions sixteen at once, each waits for
  its first event before it goes; connections that ask once and are closed by the controller. Before
  each look eight seconds pass, so that what is kept for a while has gone.
"""


def document(text, asked):
    command = "bench/renderers/compare --build build/bench"
    if asked.rounds != 5:
        command += f" --rounds {asked.rounds}"
    if asked.endurance:
        command += " --endurance"
    command += " --write"
    return DOCUMENT.format(
        command=command, machine=machine(), load=f"{os.getloadavg()[0]:.1f}", table=text
    )
