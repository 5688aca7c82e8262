"""The television as a person starts it, on a bus that lives as long as it does."""

import fcntl
import os
import re
import signal
import subprocess
import termios
import time
import unittest

from house import BIN, DEADLINE, companion_pids, until
from television import announcements

# Takes a port of the host that it runs on and tells which.
OCCUPY = """
import socket, sys
taken = socket.create_server((sys.argv[1], 0))
print(taken.getsockname()[1], flush=True)
sys.stdin.read()
"""
WITH_BUS = os.path.join(os.path.dirname(__file__), "../../tools/world/with-bus")


class Terminal:
    """A program at a terminal of its own, and what is seen there."""

    def __init__(self, args, env):
        self.text = ""
        self._own, theirs = os.openpty()
        self._theirs = theirs  # kept open: the settings are still to be read after the program
        self._child = subprocess.Popen(
            args, env=env, stdin=theirs, stdout=theirs, stderr=theirs, start_new_session=True,
            preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))
        os.set_blocking(self._own, False)

    def _look(self):
        try:
            self.text += os.read(self._own, 65536).decode("utf-8", "replace")
        except BlockingIOError:
            pass
        return self.text

    def until_said(self, part):
        until(lambda: part in self._look(), repr(part))

    def type(self, keys):
        os.write(self._own, keys.encode())

    def echoes(self):
        return bool(termios.tcgetattr(self._theirs)[3] & termios.ECHO)

    def ended(self):
        """Its exit status; what it says is read meanwhile, or it would stand still."""
        until(lambda: (self._look(), self._child.poll() is not None)[1], "its end")
        self._look()
        return self._child.returncode

    def close(self):
        if self._child.poll() is None:
            os.killpg(self._child.pid, signal.SIGKILL)
            self._child.wait()
        os.close(self._own)
        os.close(self._theirs)


class ARunningTelevision(unittest.TestCase):
    def start(self):
        environment = dict(os.environ, KETRA_STATE_DIR=f"/run/{self.id()}")
        tv = subprocess.Popen(
            ["in_tv", WITH_BUS, "--", f"{BIN}/ketra-tv", "--json", "--script", "-"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
            env=environment, start_new_session=True,
        )
        self.addCleanup(lambda: os.killpg(tv.pid, signal.SIGKILL) if tv.poll() is None else None)
        self.addCleanup(tv.stdout.close)
        self.addCleanup(tv.stdin.close)
        for line in tv.stdout:
            if line.startswith("state bus: export KETRA_BUS_ADDRESS=unix:path="):
                self.bus = line.split("unix:path=")[1].strip()
            if '"line":"ready"' in line:
                return tv
        self.fail("the television did not get ready")

    def occupied_port(self):
        address = os.environ["KETRA_TV_ADDRESS"]
        taker = subprocess.Popen(["in_tv", "/usr/bin/python3", "-c", OCCUPY, address],
                                 stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.addCleanup(taker.wait)
        self.addCleanup(taker.stdin.close)
        self.addCleanup(taker.stdout.close)
        return taker.stdout.readline().strip()

    def command(self, **settings):
        """How it is started, and in which environment; it has more patience than the test."""
        return {"args": ["in_tv", WITH_BUS, "--", f"{BIN}/ketra-tv", "--patience", "600"],
                "env": dict(os.environ, KETRA_STATE_DIR=f"/run/{self.id()}", **settings)}

    def test_that_finds_its_port_occupied_names_it_and_ends(self):
        port = self.occupied_port()
        tv = subprocess.run(
            **self.command(KETRA_PORT=port), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT, text=True, timeout=3 * DEADLINE, check=False,
        )
        self.assertEqual(tv.returncode, 3, tv.stdout)
        address = os.environ["KETRA_TV_ADDRESS"]
        self.assertIn(f"cannot serve on {address} port {port}: ", tv.stdout)
        self.assertIn("the renderer daemon ended before it appeared", tv.stdout)
        self.assertNotIn("the player", tv.stdout, "it is only not there yet")

    def at_a_terminal(self, **settings):
        """A television that a person starts at a terminal."""
        terminal = Terminal(**self.command(**settings))
        self.addCleanup(terminal.close)
        return terminal

    def test_at_a_terminal_tells_what_keeps_its_daemon_from_starting(self):
        port = self.occupied_port()
        address = os.environ["KETRA_TV_ADDRESS"]
        for setting, value, reason in (
            ("KETRA_PORT", port, f"cannot serve on {address} port {port}: "),
            ("KETRA_PORT", "80000", "KETRA_PORT"),
            ("KETRA_INTERFACE", "nope", "nope"),
        ):
            with self.subTest(setting=setting, value=value):
                terminal = self.at_a_terminal(**{setting: value})
                self.assertEqual(terminal.ended(), 3, terminal.text)
                self.assertIn("the renderer daemon ended before it appeared", terminal.text)
                self.assertRegex(terminal.text, f"problem Vantor2: error: .*{re.escape(reason)}")

    def test_at_a_terminal_gives_it_back_when_it_is_ended_by_force(self):
        terminal = self.at_a_terminal()
        terminal.until_said("ready name=")
        self.assertFalse(terminal.echoes())
        terminal.type("\x1c")
        terminal.ended()
        self.assertTrue(terminal.echoes())
        for program in ("Vantor2", "zeGStreamerPlayer"):
            until(lambda: not companion_pids(program), f"the end of {program}")

    def test_at_a_terminal_tells_once_of_a_setting_that_makes_no_sense(self):
        terminal = self.at_a_terminal(KETRA_SCREEN_SIZE="abc")
        told = "problem zeGStreamerPlayer: warning: KETRA_SCREEN_SIZE=abc is no size"
        terminal.until_said("ready name=")
        terminal.until_said(told)
        terminal.type("\x03")
        self.assertEqual(terminal.ended(), 0, terminal.text)
        self.assertEqual(terminal.text.count(told), 1, terminal.text)

    def test_at_a_terminal_answers_the_keys_that_cannot_be_seen_to_work(self):
        terminal = self.at_a_terminal(DISPLAY="", WAYLAND_DISPLAY="")
        terminal.until_said("ready name=")
        terminal.type("W")
        terminal.until_said("notice without a display there is no window")
        terminal.type("q")
        self.assertEqual(terminal.ended(), 0, terminal.text)
        self.assertNotIn("ERROR", terminal.text, "nothing has failed")

    def test_at_a_terminal_tells_what_its_companions_warn_of(self):
        terminal = self.at_a_terminal(
            KETRA_INTERFACE="10.9.0.77", KETRA_DOWNLOAD_DIR="/nonexistent/copies",
            KETRA_SNAPSHOT_DIR="/nonexistent/pictures")
        terminal.until_said("ready name=")
        for told in ("problem Vantor2: warning: there is no network to serve on at the moment "
                     "(KETRA_INTERFACE=10.9.0.77); no controller finds the renderer",
                     "problem zeGStreamerPlayer: warning: no folder for copies of films in "
                     "/nonexistent/copies (KETRA_DOWNLOAD_DIR): "):
            terminal.until_said(told)
        terminal.type("p")
        terminal.until_said("problem zeGStreamerPlayer: warning: no picture may be written to "
                            "/nonexistent/pictures/")
        terminal.type("q")
        self.assertEqual(terminal.ended(), 0, terminal.text)

    def check_end(self, tv, sock):
        said = []
        deadline = time.monotonic() + DEADLINE
        while time.monotonic() < deadline:
            text = sock.recv(4096).decode("latin-1")
            said.append(text.splitlines()[:6])
            if "ssdp:byebye" in text and "device:MediaRenderer:" in text:
                break
        else:
            self.fail(f"nobody was told goodbye: {said}")
        self.assertEqual(tv.wait(DEADLINE), 0)
        for program in ("Vantor2", "zeGStreamerPlayer"):
            until(lambda: not companion_pids(program), f"the end of {program}")
        until(lambda: not os.path.exists(self.bus), "the end of the bus")

    def after_ready(self):
        """A running television, and ears for what is said from now on."""
        tv = self.start()
        sock = announcements(DEADLINE)
        self.addCleanup(sock.close)
        return tv, sock

    def test_says_goodbye_on_ctrl_c(self):
        tv, sock = self.after_ready()
        os.killpg(tv.pid, signal.SIGINT)
        self.check_end(tv, sock)

    def test_says_goodbye_when_it_is_told_to_end(self):
        tv, sock = self.after_ready()
        tv.terminate()
        self.check_end(tv, sock)


if __name__ == "__main__":
    unittest.main()
