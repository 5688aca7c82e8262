"""The closed world itself: what it promises to everything that runs in it."""

import os
import signal
import subprocess
import time
import unittest

WORLD = os.path.join(os.path.dirname(__file__), "../../tools/world")
STAGE = os.environ["KETRA_STAGE"]

# A server on the television that the phone reaches in time.
SERVE_AND_REACH = r"""
in_tv /usr/bin/python3 -c 'import socket; socket.create_server(("", 8000)).accept()' &
in_phone /usr/bin/python3 -c '
import os, socket, time
end = time.monotonic() + 15
while True:
    try:
        socket.create_connection((os.environ["KETRA_TV_ADDRESS"], 8000), 5)
        break
    except OSError:
        assert time.monotonic() < end
        time.sleep(0.1)
'
"""


def world(*command, kind=None, **options):
    chosen = ["--kind", kind] if kind else []
    return subprocess.Popen([os.path.join(WORLD, "with-world"), "--stage", STAGE, *chosen, "--",
                             *command], stdout=subprocess.PIPE, text=True, **options)


def processes_with(word):
    found = []
    for entry in os.listdir("/proc"):
        try:
            with open(f"/proc/{entry}/environ", "rb") as environment:
                if entry.isdigit() and word.encode() in environment.read():
                    found.append(int(entry))
        except OSError:
            pass  # it ended while we looked, or is none
    return found


class World(unittest.TestCase):

    def setUp(self):
        self.mark = f"KETRA_WORLD_TEST={os.getpid()}-{time.monotonic_ns()}"
        self.environment = dict([*os.environ.items(), self.mark.split("=")])

    def start(self, *command, kind=None):
        process = world(*command, kind=kind, env=self.environment)
        self.addCleanup(process.wait)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.terminate)
        return process

    def said(self, *command, kind=None):
        process = self.start(*command, kind=kind)
        output, _ = process.communicate(timeout=30)
        self.assertEqual(process.returncode, 0)
        return output

    def assert_nothing_is_left(self):
        end = time.monotonic() + 10
        while processes_with(self.mark):
            self.assertLess(time.monotonic(), end, processes_with(self.mark))
            time.sleep(0.05)

    def test_passes_the_exit_status_on(self):
        self.assertEqual(self.start("sh", "-c", "exit 7").wait(30), 7)

    def test_ends_everything_with_its_command(self):
        self.said("sh", "-c", "sleep 1000 >/dev/null & in_tv sleep 1000 >/dev/null & exit 0")
        self.assert_nothing_is_left()

    def test_ends_when_it_is_told_to(self):
        process = self.start("sh", "-c", "echo runs; exec sleep 1000")
        self.assertEqual(process.stdout.readline(), "runs\n")
        process.terminate()
        self.assertEqual(process.wait(10), 128 + signal.SIGTERM)
        self.assert_nothing_is_left()

    def test_leaves_nothing_behind_when_it_is_killed(self):
        if self.said("sh", "-c", "echo $KETRA_WORLD").strip() == "installed":
            self.skipTest("without namespaces nobody is left to clear away; the next run does")
        process = self.start("sh", "-c", "in_tv sleep 1000 & echo runs; exec sleep 1000")
        self.assertEqual(process.stdout.readline(), "runs\n")
        process.kill()
        process.wait(10)
        self.assert_nothing_is_left()

    def test_shows_the_programs_to_its_command_and_to_nobody_else(self):
        process = self.start("sh", "-c", "echo $KETRA_WORLD; ls /applications/DLNA/release/bin; "
                             "exec sleep 1000")
        kind = process.stdout.readline().strip()
        seen = {process.stdout.readline().strip() for _ in range(2)}
        self.assertEqual(seen, {"Vantor2", "zeGStreamerPlayer"})
        if kind != "installed":
            self.assertFalse(os.path.exists("/applications/DLNA/release/bin/Vantor2"))

    def test_has_three_hosts_that_reach_each_other_and_nothing_else(self):
        kind = self.said("sh", "-c", "echo $KETRA_WORLD").strip()
        if kind != "namespaces":
            self.skipTest(f"this machine gives a world of the kind {kind}")
        for host in ("tv", "phone", "guest"):
            addresses = self.said(f"in_{host}", "ip", "-o", "-4", "address", "show", "dev", "eth0")
            self.assertIn("10.77.0.", addresses)
            routes = self.said(f"in_{host}", "ip", "route")
            self.assertNotIn("default", routes)
        self.assertEqual(self.said("ip", "route"), "", "the world itself is on no network")
        self.said("sh", "-c", SERVE_AND_REACH)

    def test_has_a_bus_of_its_own(self):
        buses = {self.said("sh", "-c", "echo $DBUS_SESSION_BUS_ADDRESS; "
                           "dbus-send --bus=$DBUS_SESSION_BUS_ADDRESS --print-reply=literal "
                           "--dest=org.freedesktop.DBus / org.freedesktop.DBus.GetId")
                 for _ in range(2)}
        self.assertEqual(len(buses), 2, "two worlds, two buses")

    def test_of_one_host_has_multicast_on_its_loopback(self):
        if self.said("sh", "-c", "echo $KETRA_WORLD").strip() == "installed":
            self.skipTest("this machine has no namespaces")
        output = self.said("sh", "-c", "echo $KETRA_INTERFACE $KETRA_TV_ADDRESS", kind="loopback")
        self.assertEqual(output, "lo 127.0.0.1\n")


if __name__ == "__main__":
    unittest.main()
