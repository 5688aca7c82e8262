"""The whole road in the worlds that other machines allow, with what this one allows."""

import os
import pwd
import re
import shutil
import subprocess
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
WORLD = os.path.join(HERE, "../../tools/world/with-world")
WITH_APPLICATIONS = os.path.join(HERE, "../../tools/world/with-applications")
BARE_MACHINE = os.path.join(HERE, "bare_machine")
ROAD = ["in_phone", "/usr/bin/python3", os.path.join(HERE, "road_test.py"),
        "TheRoad.test_a_film_is_allowed_played_paused_sought_sped_up_and_stopped"]
LIMIT = 60  # seconds


def world(kind=None):
    chosen = ["--kind", kind] if kind else []
    return [WORLD, "--stage", os.environ["KETRA_STAGE"], *chosen, "--"]


class EveryWorld(unittest.TestCase):

    def setUp(self):
        # The test of the road makes a folder of its own name in it.
        self.folder = os.path.join(os.environ["KETRA_E2E_FOLDER"], self.id())
        os.makedirs(self.folder, exist_ok=True)

    def goes_the_road(self, *command):
        environment = dict(os.environ, KETRA_E2E_FOLDER=self.folder)
        done = subprocess.run([*command, *ROAD], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              text=True, timeout=LIMIT, env=environment, check=False)
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertIn("\nRan 1 test in", done.stdout)
        return done.stdout

    def need(self, *command):
        """Skips where the machine does not allow namespaces of this kind."""
        tried = subprocess.run(["unshare", *command, "true"], stdout=subprocess.PIPE,
                               stderr=subprocess.STDOUT, text=True, check=False)
        if tried.returncode != 0:
            self.skipTest(f"this machine does not allow it: {tried.stdout}")

    def test_is_made_by_an_ordinary_user(self):
        # Somebody without any privilege, whoever runs the tests.
        somebody = ["--user", "--map-user=1000", "--map-group=1000", "--"]
        self.need(*somebody)
        self.need(*somebody, "unshare", "--user", "--map-root-user", "--net")
        self.assertNotEqual(subprocess.run(["unshare", *somebody, "unshare", "--net", "true"],
                                           stderr=subprocess.DEVNULL, check=False).returncode, 0)
        self.goes_the_road("unshare", *somebody, *world())

    def test_of_one_host_has_the_road_too(self):
        self.need(*([] if os.getuid() == 0 else ["--user", "--map-root-user"]), "--net", "--mount")
        self.goes_the_road(*world("loopback"))

    def test_of_one_host_without_a_network_needs_no_setting(self):
        self.need(*([] if os.getuid() == 0 else ["--user", "--map-root-user"]), "--net", "--mount")
        self.goes_the_road(*world("loopback"), "env", "--unset=KETRA_INTERFACE")

    def test_is_the_machine_itself_where_there_are_no_namespaces(self):
        self.need(*([] if os.getuid() == 0 else ["--user", "--map-root-user"]), "--net", "--mount")
        said = self.goes_the_road(BARE_MACHINE, os.path.join(self.folder, "root"),
                                  *world("installed"))
        self.assertIn("installing /applications/DLNA until this ends", said)

    def test_clears_away_what_one_that_was_killed_has_left(self):
        self.need(*([] if os.getuid() == 0 else ["--user", "--map-root-user"]), "--net", "--mount")
        inside = " ".join(world("installed"))
        story = f"""
            {inside} sh -c 'echo first; exec sleep 1000' & killed=$!
            until [ -e /applications/DLNA/release/bin/Vantor2 ]; do sleep 0.05; done
            kill -KILL $killed
            wait $killed || true
            test -e /applications/DLNA/release/bin/Vantor2
            {inside} ls /applications/DLNA/release/bin
            test ! -e /applications/DLNA
            mkdir /applications/DLNA
            if {inside} true; then exit 1; fi
            rmdir /applications/DLNA /applications
        """
        done = subprocess.run([BARE_MACHINE, os.path.join(self.folder, "root"), "bash", "-ec",
                               story], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              timeout=LIMIT, check=False)
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertIn("zeGStreamerPlayer", done.stdout)
        self.assertIn("exists on this machine and is left alone", done.stdout)

    def test_says_why_a_user_cannot_have_it(self):
        somebody = ["--user", "--map-user=1000", "--map-group=1000", "--"]
        self.need(*somebody)
        self.need(*somebody, "unshare", "--user", "--map-root-user", "--mount")
        if os.getuid() != 0 or shutil.which("sudo"):
            self.skipTest("only root can give a folder away, and sudo would get it back")
        stage = os.path.join(self.folder, "stage")
        os.makedirs(os.path.join(stage, "applications/DLNA/release/bin"), exist_ok=True)
        os.chown(stage, pwd.getpwnam("games").pw_uid, -1)
        done = subprocess.run(
            ["unshare", *somebody, WITH_APPLICATIONS, "--stage", stage, "--", "true"],
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=LIMIT,
            check=False)
        self.assertEqual(done.returncode, 1, done.stdout)
        self.assertRegex(done.stdout, f"mkdir: .*{re.escape(stage)}/.root.*: Permission denied")
        self.assertNotIn("namespace", done.stdout)

    def test_is_made_by_root_for_a_user_who_may_not(self):
        if os.getuid() != 0:
            self.skipTest("only root can do it for somebody else")
        user = pwd.getpwnam("games")
        said = subprocess.run(
            [WITH_APPLICATIONS, "--for", f"{user.pw_uid}:{user.pw_gid}",
             "--stage", os.environ["KETRA_STAGE"], "--",
             "sh", "-c", "id -u; id -g; ls /applications/DLNA/release/bin"],
            stdout=subprocess.PIPE, text=True, timeout=LIMIT, check=True).stdout
        self.assertEqual(said.split(), [str(user.pw_uid), str(user.pw_gid), "Vantor2",
                                        "zeGStreamerPlayer"])


if __name__ == "__main__":
    unittest.main()
