"""The television as a person starts it, on a bus that lives as long as it does."""

import os
import signal
import subprocess
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

    def test_that_finds_its_port_occupied_names_it_and_ends(self):
        address = os.environ["KETRA_TV_ADDRESS"]
        with subprocess.Popen(["in_tv", "/usr/bin/python3", "-c", OCCUPY, address],
                              stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True) as taker:
            port = taker.stdout.readline().strip()
            environment = dict(os.environ, KETRA_STATE_DIR=f"/run/{self.id()}", KETRA_PORT=port)
            tv = subprocess.run(
                ["in_tv", WITH_BUS, "--", f"{BIN}/ketra-tv", "--patience", "2"],
                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                text=True, env=environment, timeout=3 * DEADLINE, check=False,
            )
            taker.stdin.close()
        self.assertEqual(tv.returncode, 5, tv.stdout)
        self.assertIn(f"cannot serve on {address} port {port}: ", tv.stdout)
        self.assertIn("the renderer daemon did not appear", tv.stdout)

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
