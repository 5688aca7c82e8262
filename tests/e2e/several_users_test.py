"""The programs as users of their own, on the bus that is made for that (docs/statebus.md)."""

import grp
import os
import pwd
import shutil
import subprocess
import tempfile
import unittest

from house import BIN, COMPANIONS, HouseTest, Process, companion_pids, media, until

POLICY = os.path.join(os.path.dirname(__file__), "../../platform/linux/policy/several_users.conf")
# Users that every system has play the parts of those that the policy names.
CAST = {"ketra-player": "daemon", "ketra-renderer": "bin", "ketra-tv": "games"}
STRANGER = "nobody"


def can_be_several():
    """Root can, but not one of a namespace with no other users in it."""
    with open("/proc/self/uid_map", encoding="ascii") as users:
        return os.getuid() == 0 and int(users.read().split()[2]) > 1


@unittest.skipUnless(can_be_several(), "only root can be several users")
class SeveralUsers(HouseTest):

    def setUp(self):
        super().setUp()
        # Open to all of them, as the build tree need not be.
        self.place = tempfile.mkdtemp(prefix="ketra-users-", dir="/tmp")
        self.addCleanup(shutil.rmtree, self.place)
        os.chmod(self.place, 0o755)
        with open(POLICY, encoding="utf-8") as file:
            policy = file.read()
        for part, user in CAST.items():
            self.assertIn(f'user="{part}"', policy)
            policy = policy.replace(f'user="{part}"', f'user="{user}"')
            os.makedirs(f"{self.place}/{user}")
            os.chown(f"{self.place}/{user}", pwd.getpwnam(user).pw_uid, -1)
        with open(f"{self.place}/policy", "w", encoding="utf-8") as file:
            file.write(policy)
        self.sbus_program = shutil.copy(os.path.join(BIN, "sbus"), self.place)
        os.environ["KETRA_BUS_ADDRESS"] = f"unix:path={self.place}/bus"
        os.environ["LD_LIBRARY_PATH"] = os.path.join(COMPANIONS, "../lib")
        os.environ.pop("GST_REGISTRY", None)
        self.start(["dbus-daemon", f"--config-file={self.place}/policy", "--nofork",
                    f"--address={os.environ['KETRA_BUS_ADDRESS']}", "--nopidfile"])
        until(lambda: os.path.exists(f"{self.place}/bus"), "the bus", 10)

    def start(self, command, **environment):
        process = Process(command, env=dict(os.environ, **environment))
        self.addCleanup(process.kill)
        return process

    def as_user(self, user, *command):
        entry = pwd.getpwnam(user)
        return ["setpriv", "--reuid", user, "--regid", grp.getgrgid(entry.pw_gid).gr_name,
                "--clear-groups", "--bounding-set=-all", "--inh-caps=-all", "--no-new-privs",
                "--", *command]

    def companion(self, user, program):
        own = f"{self.place}/{user}"
        return self.start(["in_tv", *self.as_user(user, COMPANIONS + program)], HOME=own,
                          KETRA_STATE_DIR=own, XDG_CACHE_HOME=own, XDG_RUNTIME_DIR=own, TMPDIR=own)

    def sbus(self, user, *words):
        """Exit status and output of sbus as this user."""
        done = subprocess.run(self.as_user(user, self.sbus_program, *words), text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=30,
                              check=False)
        return done.returncode, done.stdout

    def state(self, user):
        _, shown = self.sbus(user, "show", "ContentPlayerService$main")
        return next((line.split("(")[1].rstrip(")") for line in shown.splitlines()
                     if line.startswith("  mState =")), shown)

    def assert_has_no_privilege(self, program, user):
        pid, = companion_pids(program)
        with open(f"/proc/{pid}/status", encoding="ascii") as lines:
            status = dict(line.rstrip("\n").split(":\t", 1) for line in lines if ":\t" in line)
        self.assertEqual(set(status["Uid"].split()), {str(pwd.getpwnam(user).pw_uid)})
        self.assertEqual(status["NoNewPrivs"], "1")
        for kind in ("Inh", "Prm", "Eff", "Bnd", "Amb"):
            self.assertEqual(int(status["Cap" + kind], 16), 0, kind)

    def test_play_a_film_together_and_take_orders_from_nobody_else(self):
        companions = [self.companion("daemon", "zeGStreamerPlayer"),
                      self.companion("bin", "Vantor2")]
        until(lambda: len(self.sbus(STRANGER, "list")[1].splitlines()) == 3, "all three states")
        # The television's part: here a viewer who lets everybody in.
        self.assertEqual(self.sbus("games", "set", "MediaRendererService",
                                   "mPlayerControlAuthorization", "0")[0], 0,
                         "\n".join(companion.tail() for companion in companions))
        self.assert_has_no_privilege("Vantor2", "bin")
        self.push(media("film.mp4"))
        until(lambda: self.state(STRANGER) == "playing", "the film, seen by a stranger")
        refused = 1
        for user, state, word in ((STRANGER, "ContentPlayerService$main", "pause"),
                                  (STRANGER, "MediaRendererService", "authorize_operation"),
                                  ("daemon", "MediaRendererService", "authorize_operation"),
                                  ("bin", "MediaRendererService", "authorize_operation")):
            self.assertEqual(self.sbus(user, "command", state, word)[0], refused, (user, state))
        self.assertEqual(self.state(STRANGER), "playing")
        self.assertEqual(self.sbus("games", "command", "ContentPlayerService$main", "pause")[0], 0)
        until(lambda: self.state(STRANGER) == "paused", "the pause")


if __name__ == "__main__":
    unittest.main()
