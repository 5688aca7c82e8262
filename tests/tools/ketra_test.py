"""The script of the README as a person meets it: usage, and wrong use that is refused before anything
is installed or built. It runs as a copy beside an installer that only leaves a mark.

KETRA_SCRIPT, KETRA_TV_PROGRAM and KETRA_PUSH_PROGRAM name what is looked at.
"""

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest
import unittest.mock

MARK = "the installer ran\n"


def options_of(program):
    """The options that the program's own help names, with whether each takes a value."""
    text = subprocess.run([program, "--help"], stdout=subprocess.PIPE, text=True,
                          check=True).stdout
    listed = [line for line in text.splitlines() if re.match(r" +-", line)]
    return {name: bool(value) for line in listed
            for name, value in re.findall(r"(--[a-z]+)( [A-Z]+)?", line)}


class TheScript(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.place = pathlib.Path(folder.name)
        shutil.copy(os.environ["KETRA_SCRIPT"], self.place / "ketra")
        self.standing = self.place / "elsewhere"
        self.standing.mkdir()
        for file in ("film.mp4", "-strange name.mp4", "5"):
            (self.standing / file).touch()
        setup = self.place / "tools/setup"
        setup.mkdir(parents=True)
        source = pathlib.Path(os.environ["KETRA_SCRIPT"]).parent
        shutil.copy(source / "tools/setup/command_line.sh", setup)
        installer = setup / "install"
        installer.write_text(f"#!/bin/sh\nprintf '{MARK[:-1]}\\n'\nexit 1\n", encoding="utf-8")
        installer.chmod(0o755)

    def ketra(self, *arguments):
        done = subprocess.run([self.place / "ketra", *arguments], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, stdin=subprocess.DEVNULL, text=True,
                              cwd=self.standing, timeout=30, check=False)
        return done.returncode, done.stdout, done.stderr

    def assert_usage(self, beginning, *arguments):
        status, output, error = self.ketra(*arguments)
        self.assertEqual((status, error), (0, ""), arguments)
        self.assertTrue(output.startswith(beginning), output)

    def assert_refused(self, part, *arguments):
        status, output, error = self.ketra(*arguments)
        self.assertEqual((status, output), (2, ""), (arguments, error))
        self.assertTrue(error.startswith("ketra: "), error)
        self.assertIn(part, error)

    def test_shows_the_usage_of_each_command(self):
        for command in ("demo", "test", "run", "push"):
            usage = f"usage: ./ketra {command}"
            self.assert_usage(usage, command, "--help")
            self.assert_usage(usage, command, "-h")
            self.assert_usage(usage, "help", command)
        self.assert_usage("usage: ./ketra push", "push", "--he")
        self.assert_usage("usage: ./ketra push", "push", "-lh")
        self.assert_usage("usage: ./ketra COMMAND", "help")
        self.assert_usage("usage: ./ketra COMMAND")

    def test_refuses_what_it_does_not_know_before_it_installs(self):
        self.assert_refused("nonsense", "nonsense")
        self.assert_refused("nonsense", "help", "nonsense")
        self.assert_refused("--nonsense", "demo", "--nonsense")
        self.assert_refused("--nonsense", "test", "--nonsense")
        self.assert_refused("nonsense", "test", "dev", "nonsense")
        self.assert_refused("--nonsense", "run", "--json", "--nonsense")
        self.assert_refused("film.mp4", "run", "film.mp4")
        self.assert_refused("--nonsense", "push", "--nonsense", "film.mp4")
        self.assert_refused("option -- 'x'", "push", "film.mp4", "-x")
        self.assert_refused("--to", "push", "film.mp4", "--to")
        self.assert_refused("--script", "run", "--script")
        self.assert_refused("--script=x", "run", "--script=x")
        for marked in ("--script:", "--trace:", "--patience:"):
            self.assert_refused(f"unknown option: {marked}", "run", marked)
        self.assert_refused("'--list'", "push", "--list=x")
        self.assert_refused("push needs a file; ./ketra push --help", "push")
        self.assert_refused("one file at a time, not also b", "push", "a", "b")
        self.assert_refused("--list takes no file", "push", "--list", "film.mp4")
        self.assert_refused("option '--t' is ambiguous", "push", "film.mp4", "--t", "a")
        self.assert_refused("option -- 'x'", "push", "-lx")
        self.assert_refused("argument -- 't'", "push", "-lt")
        self.assert_refused("--js", "run", "--js")
        self.assert_refused("-hx", "run", "-hx")
        self.assert_refused("not also push", "help", "run", "push")

    def test_refuses_files_that_are_not_there_before_it_installs(self):
        self.assertEqual(self.ketra("push", "no.mp4"), (3, "", "ketra: cannot read no.mp4\n"))
        self.assert_refused("cannot read /none/at/all", "run", "--script", "/none/at/all")
        self.assert_accepted("run", "--script", "-")

    def test_says_that_there_can_be_no_folder_for_pictures(self):
        with unittest.mock.patch.dict(os.environ, KETRA_SNAPSHOT_DIR="/proc/a"):
            status, output, error = self.ketra("run")
        self.assertEqual((status, output), (1, ""))
        self.assertIn("\nketra: the folder for pictures, KETRA_SNAPSHOT_DIR, cannot be made", error)

    def test_makes_the_folder_for_pictures_where_the_person_stands(self):
        with unittest.mock.patch.dict(os.environ, KETRA_SNAPSHOT_DIR="my/pictures"):
            self.assert_accepted("run")
        self.assertTrue((self.standing / "my/pictures").is_dir())

    def test_refuses_what_its_program_refuses(self):
        """So that wrong use is told before something is built, and right use is not refused."""
        push = os.environ["KETRA_PUSH_PROGRAM"]
        for wrong in (["--t", "a", "f"], ["-lx"], ["-lt"], ["--list=x"], ["--nonsense"], ["-l=x"],
                      ["f", "g"], ["--list", "f"], [], ["--to"], ["--", "-l", "f"], ["-x", "f"]):
            done = subprocess.run([push, *wrong], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                  stdin=subprocess.DEVNULL, timeout=30, check=False)
            self.assertEqual(done.returncode, 2, wrong)
            self.assertEqual(self.ketra("push", *wrong)[0], 2, wrong)
        nowhere = "/nonexistent/film.mp4"
        for right in (["--li", "--vers"], ["-li", "lo", "--version"], ["--version", "--interf=lo"],
                      ["-lilo", "--version"], ["--tim", "2", "-ta", "--version"],
                      [nowhere, "--ke", "--por=80", "--v"], ["--version", "--", "-l"]):
            done = subprocess.run([push, *right], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                  stdin=subprocess.DEVNULL, timeout=30, check=False)
            self.assertEqual(done.returncode, 0, (right, done.stderr))
            self.assert_accepted("push", *right)

    def assert_accepted(self, *arguments):
        status, output, error = self.ketra(*arguments)
        self.assertEqual(output, MARK, (arguments, status, error))

    def test_goes_on_with_what_it_knows(self):
        self.assert_accepted("demo")
        self.assert_accepted("test", "format")
        self.assert_accepted("run")
        self.assert_accepted("push", "film.mp4", "--to=a TV", "-tb", "--timeout", "2", "-i", "lo")
        self.assert_accepted("push", "--", "-strange name.mp4")
        self.assert_accepted("push", "-l")

    def test_knows_and_shows_every_option_of_its_programs(self):
        for command, program in (("run", "KETRA_TV_PROGRAM"), ("push", "KETRA_PUSH_PROGRAM")):
            _, usage, _ = self.ketra(command, "--help")
            for option, takes_value in options_of(os.environ[program]).items():
                if option != "--help": # the one that shows the usage
                    self.assertIn(option, usage)
                    self.assert_accepted(command, option, *(["5"] if takes_value else []),
                                         *(["film.mp4"] if command == "push" and
                                           option not in ("--list", "--version") else []))


if __name__ == "__main__":
    unittest.main()
