#!/usr/bin/env python3
"""Line and branch coverage of the library, after the tests of preset "coverage" have run.

Prints what share of DMR/ and KetraSrv_DLNA_Common/ was executed. Fails when that is too little, and
when what was left out is not what docs/coverage.md lists: a line of code that is new there, or an
entry that is no longer true.
"""

import collections
import json
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
LIST = ROOT / "docs" / "coverage.md"
BUILD = ROOT / "build" / "coverage"
FOLDERS = ("DMR/", "KetraSrv_DLNA_Common/")
LEAST_LINES = 98.0
LEAST_BRANCHES = 90.0


def measured():
    """What gcovr counted: a list of files with their lines and branches."""
    filters = [word for folder in FOLDERS for word in ("--filter", folder)]
    objects = [str(BUILD / folder) for folder in FOLDERS]
    command = ["gcovr", "--root", ".", *filters, "--json", "-", *objects]
    answer = subprocess.run(command, cwd=ROOT, check=True, stdout=subprocess.PIPE)
    files = json.loads(answer.stdout)["files"]
    if not files:
        sys.exit(f"coverage: nothing was counted in {BUILD}; build it and run its tests first")
    return files


def listed():
    """How often the document lists each (file, line of code): a heading is a file, an item a line."""
    entries, file = collections.Counter(), None
    for number, line in enumerate(LIST.read_text().splitlines(), 1):
        heading = re.fullmatch(r"## `(.+)`", line)
        item = re.fullmatch(r"- `(.+?)`: (.+)", line)
        if heading:
            file = heading[1]
        elif item and file:
            entries[file, item[1]] += 1
        elif line.startswith("- "):
            sys.exit(f"{LIST}:{number}: an entry is \"- `code`: reason\" below a file's name")
    return entries


def main():
    lines = branches = executed = taken = 0
    left = collections.defaultdict(list)  # (file, line of code) -> the places where it was left out
    for file in measured():
        source = (ROOT / file["file"]).read_text().splitlines()
        for line in file["lines"]:
            if line["gcovr/noncode"]:
                continue
            missed = [branch for branch in line["branches"] if branch["count"] == 0]
            lines += 1
            executed += line["count"] != 0
            branches += len(line["branches"])
            taken += len(line["branches"]) - len(missed)
            code = source[line["line_number"] - 1].strip()
            place = f"{file['file']}:{line['line_number']}"
            if line["count"] == 0:
                left[file["file"], code].append(f"{place}: never executed: {code}")
            elif missed:
                left[file["file"], code].append(f"{place}: a branch never taken: {code}")

    wrong = []
    for what, share, count, least in (
        ("lines", 100 * executed / lines, f"{executed} of {lines}", LEAST_LINES),
        ("branches", 100 * taken / branches, f"{taken} of {branches}", LEAST_BRANCHES),
    ):
        print(f"coverage of {' and '.join(FOLDERS)}: {share:.1f} % of the {what} ({count})")
        if share < least:
            wrong.append(f"fewer than {least:.0f} % of the {what} are executed")

    known = listed()
    print(f"left out: {sum(map(len, left.values()))} lines of code; "
          f"{LIST.relative_to(ROOT)} has the reasons of {known.total()}")
    for place, found in left.items():
        if len(found) > known[place]:
            wrong += [f"{line}\n    neither tested nor listed" for line in found]
    for (file, code), count in known.items():
        if count > len(left.get((file, code), [])):
            wrong.append(f"{file}: {code}\n    is listed, but tested or gone")
    for line in sorted(wrong):
        print(line, file=sys.stderr)
    return 1 if wrong else 0


sys.exit(main())
