"""A ketra-tv in a closed world, driven by its script commands and watched by its events.

For programs that run inside with-world: the demo and the end-to-end tests. A reader thread keeps the
events in the order in which the TV's middleware received them; the caller waits for them with a
deadline.
"""

import json
import os
import socket
import struct
import subprocess
import threading
import time


class Missing(Exception):
    """Something that was expected did not come in time."""


class Television:
    def __init__(self, program, options=(), trace=None, environment=None, on_line=None, log=None):
        """Starts ketra-tv on the host "tv"; `on_line` is called with every line it prints, decoded,
        on the reader thread. The standard error of the TV and its companions goes to the open file
        `log`, else where the caller's goes."""
        command = ["in_tv", program, "--json", "--script", "-", *options]
        if trace:
            command += ["--trace", trace]
        self._on_line = on_line
        self._changed = threading.Condition()
        self._lines = []
        self._taken = 0
        self._ended = False
        self.process = subprocess.Popen(
            command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=log, text=True,
            env=environment
        )
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        for text in self.process.stdout:
            try:
                line = json.loads(text)
            except ValueError:
                line = {"line": "unreadable", "text": text}
            if self._on_line:
                self._on_line(line)
            with self._changed:
                self._lines.append(line)
                self._changed.notify_all()
        with self._changed:
            self._ended = True
            self._changed.notify_all()

    def say(self, command):
        """One line to the TV's script."""
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()

    def wait_for(self, matches, what, seconds, start):
        """Index and text of the first line from `start` on that matches."""
        deadline = time.monotonic() + seconds
        with self._changed:
            while True:
                for index in range(start, len(self._lines)):
                    if matches(self._lines[index]):
                        return index, self._lines[index]
                left = deadline - time.monotonic()
                if left <= 0 or self._ended:
                    seen = [describe(line) for line in self._lines[start:]]
                    why = "the TV ended" if self._ended else f"{seconds} s are over"
                    raise Missing(f"{what} did not come ({why}); came instead: {seen}")
                self._changed.wait(left)

    def event(self, name, seconds=15, **details):
        """The next event of this name and with these details; others before it are skipped."""
        wanted = {"line": "event", "name": name, **details}
        index, line = self.wait_for(
            lambda line: wanted.items() <= line.items(), describe(wanted), seconds, self._taken
        )
        self._taken = index + 1
        return line

    def ready(self, seconds=20):
        return self.wait_for(lambda line: line["line"] == "ready", "ready", seconds, 0)[1]

    def status(self, seconds=5):
        return self._ask("status", lambda line: line["line"] == "status", seconds)

    def reply(self, command, seconds=10):
        """Sends a command and waits for what the TV says to it."""
        return self._ask(
            command, lambda line: line["line"] == "reply" and line["command"] == command, seconds
        )

    def _ask(self, command, matches, seconds):
        # Events that come meanwhile stay for those who wait for them.
        start = len(self._lines)
        self.say(command)
        return self.wait_for(matches, f"an answer to {command!r}", seconds, start)[1]

    def events(self):
        with self._changed:
            return [line for line in self._lines if line["line"] == "event"]

    def quit(self, seconds=30):
        """Shuts down as the remote's key does; the exit status."""
        self.say("quit")
        return self.wait_for_exit(seconds)

    def wait_for_exit(self, seconds):
        try:
            status = self.process.wait(seconds)
        except subprocess.TimeoutExpired:
            raise Missing(f"the TV did not end within {seconds} s") from None
        self._reader.join(5)
        return status


def announcements(seconds):
    """A socket that hears what is announced to everybody on the network of the host "phone", where
    the caller has to be; `seconds` is how long it waits for the next one."""
    own = socket.inet_aton(os.environ["KETRA_PHONE_ADDRESS"])
    group = socket.inet_aton("239.255.255.250")
    sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    sock.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    sock.bind(("", 1900))
    sock.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, struct.pack("4s4s", group, own))
    sock.settimeout(seconds)
    return sock


def describe(line):
    """A line of the TV for people."""
    kind = line.get("line", "?")
    if kind == "event":
        rest = {k: v for k, v in line.items() if k not in ("line", "code", "name", "media")}
        text = " ".join(f"{k}={v}" for k, v in rest.items())
        return f"{line['name']} {line.get('media', '')} {text}".strip()
    rest = " ".join(f"{k}={v}" for k, v in line.items() if k != "line")
    return f"{kind} {rest}".strip()
