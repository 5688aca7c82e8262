"""docs/player.md names the commands, the custom commands and the errors that the player knows: all of
them, and no others.

player_page_test.py SOURCE_FOLDER
"""

import pathlib
import re
import sys
import unittest

ROOT = pathlib.Path(sys.argv.pop())
SOURCES = ROOT / "applications/zeGStreamerPlayer/src"


def source(name):
    return (SOURCES / name).read_text(encoding="utf-8")


def rows_of(title):
    """The tables' rows in the section of that title, as lists of cells."""
    page = (ROOT / "docs/player.md").read_text(encoding="utf-8")
    section = re.search(rf"(?ms)^## {title}$(.*?)(?=^## |\Z)", page).group(1)
    return [[cell.strip() for cell in line.strip("|").split("|")]
            for line in section.splitlines() if re.match(r"\| *(`|\d)", line)]


def words_in(cells):
    return [word for cell in cells for word in re.findall(r"`([^`]+)`", cell)]


class ThePlayersPage(unittest.TestCase):
    def assert_same(self, named, known):
        self.assertGreater(len(known), 0, "nothing was found in the sources")
        self.assertEqual(sorted(named), sorted(known))

    def test_names_every_command(self):
        named = words_in(row[0] for row in rows_of("Commands"))
        known = re.findall(r'\bRow\{"(\w+)"', source("bus/command_table.cpp"))
        self.assert_same(named, known)

    def test_names_every_custom_command_of_the_picture(self):
        named = words_in(row[0] for row in rows_of("Picture"))
        table = source("logic/picture.cpp")
        known = re.findall(r'^    \{"(\w+)",', table, re.M)
        known += re.findall(r'kApplyRectangles\[\] = "(\w+)"', table)
        # The table of the bus, where the picture is taken, has it among its own.
        self.assert_same(named, [*known, "Snapshot"])

    def test_names_every_other_custom_command_somewhere(self):
        page = (ROOT / "docs/player.md").read_text(encoding="utf-8")
        known = re.findall(r'\bCustomRow\{"(\w+)"', source("bus/command_table.cpp"))
        self.assertGreater(len(known), 0)
        for word in known:
            self.assertIn(f"`{word}`", page)

    def test_names_every_error_with_its_sentence(self):
        numbers = dict(re.findall(r"\b(k\w+) = (\d+),", source("logic/player_error.h")))
        sentences = re.findall(r'PlayerError::(k\w+), "(.*)"\}', source("logic/player_error.cpp"))
        self.assertEqual(len(sentences), len(numbers))
        known = [[numbers[name], sentence] for name, sentence in sentences if name != "kNone"]
        self.assert_same([row[:2] for row in rows_of("Errors")], known)


if __name__ == "__main__":
    unittest.main()
