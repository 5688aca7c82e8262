#!/usr/bin/env python3
"""Every line that the library can print stands in a golden file.

    check_printed_lines.py TREE

Looks at each place in the sources that prints, makes of its format, and of the operation that it
stands in, what the line looks like, and searches the golden files for one like it. Names the places
whose line nobody has written down, and how many places there are.
"""
import pathlib
import re
import sys

SOURCES = ["DMR/src/KetraSrv_DLNA_DMR", "DMR/src/ketraDMR", "KetraSrv_DLNA_Common"]
GOLDEN = "tests/DMR/golden"
# What the helpers themselves are made of is seen in every line that they write.
HELPERS = {"diagnostics.cpp", "diagnostics.h"}
# Steps of the two callbacks write under the callback's name.
CALLBACKS = {
    "authorization.cpp": "MediaRendererServiceEventCallback",
    "player_events.cpp": "ContentPlayerServiceEventCallback",
}
PRINTERS = re.compile(
    r"\b(KETRA_TRACE_ENTRY|KETRA_TRACE_AS|KETRA_TRACE|KETRA_INTERFACE_ERROR|KETRA_INTERFACE_FATAL"
    r"|KETRA_ASSERT_FAIL|diagnostics::assertFail|zeConsole_Printf|std::printf|std::puts)\("
    r"|std::(?:cout|cerr) <<")
OPERATION = re.compile(r"^(?:[\w:<>*& ]+ )?\*?(?:\w+::)?(~?\w+)\((?!.*;$)")
LITERAL = re.compile(r'"((?:[^"\\]|\\.)*)"')
CONVERSION = re.compile(r"%[0-9]*l?[dusx]")


def argument_text(text, start):
    """What stands between the parenthesis in front of `start` and the one that closes it."""
    depth, quoted, position = 1, False, start
    while depth:
        character = text[position]
        if character == '"' and text[position - 1] != "\\":
            quoted = not quoted
        elif not quoted:
            depth += {"(": 1, ")": -1}.get(character, 0)
        position += 1
    return text[start:position - 1]


def as_pattern(literal):
    text = literal.replace("\\n", "\n").replace("\\t", "\t").replace('\\"', '"')
    parts = CONVERSION.split(text)
    return ".*".join(re.escape(part.replace("%%", "%")) for part in parts)


def lines_of(path):
    """(line number, pattern) of each line that a source prints."""
    text = path.read_text()
    macros = dict(re.findall(r'#define (\w+) "((?:[^"\\]|\\.)*)"', text))
    operation = ""
    starts = {}
    for number, line in enumerate(text.split("\n"), 1):
        found = OPERATION.match(line)
        if found and not line.startswith((" ", "#", "/")):
            operation = found.group(1)
        starts[number] = operation
    for found in PRINTERS.finditer(text):
        number = text.count("\n", 0, found.start()) + 1
        if "#define" in text.split("\n")[number - 1]:
            continue
        tag = starts[number]
        printer = found.group(1)
        if printer is None:
            rest = text[found.end():text.index(";", found.end())]
            mark = "! " if "cerr" in found.group(0) else ""
            yield number, "^" + mark + as_pattern(LITERAL.search(rest).group(1)) + "$"
            continue
        argument = argument_text(text, found.end())
        for name, value in macros.items():
            argument = re.sub(rf"\b{name}\b", lambda _, v=value: f'"{v}"', argument)
        literals = LITERAL.findall(argument)
        # Only the literals of the format, which stand together; later ones are arguments.
        head = re.match(r'(?:\s*k\w+,)?((?:\s*"(?:[^"\\]|\\.)*")+)', argument)
        message = "".join(LITERAL.findall(head.group(1))) if head else "".join(literals[:1])
        pattern = as_pattern(message)
        if printer == "KETRA_TRACE_ENTRY":
            yield number, rf"^\\e\[0;35m\[{tag}\]\[NNNNNN\] \\e\[0m$"
        elif printer in ("KETRA_TRACE", "KETRA_TRACE_AS"):
            name = CALLBACKS.get(path.name, tag) if printer == "KETRA_TRACE_AS" else tag
            yield number, rf"^\\e\[0;35m\[{name}\]\[NNNNNN\] " + pattern + r"\\e\[0m$"
        elif printer in ("KETRA_INTERFACE_ERROR", "KETRA_INTERFACE_FATAL"):
            yield number, rf"^\[func:{tag}\] Error: " + pattern
            if printer == "KETRA_INTERFACE_FATAL":
                yield number, rf"^ASSERT FAIL: \S*/{path.name} .*::{tag}\(.*\) N$"
        elif printer == "KETRA_ASSERT_FAIL":
            yield number, rf"^ASSERT FAIL: \S*/{path.name} .*::{tag}\(.*\) N$"
        elif printer == "diagnostics::assertFail":
            line = {"kEngineAssertionLine": 212, "kManagerAssertionLine": 217}[
                argument.rsplit(",", 1)[1].strip()]
            yield number, rf"^ASSERT FAIL: \S*/{path.name} .*::{tag}\(.*\) {line}$"
        elif printer == "zeConsole_Printf":
            # The question leaves its line open.
            lines = pattern.split("\\\n")
            yield number, r"^\| (?:.*: )?" + lines[0] + ("$" if len(lines) > 1 else "")
        elif "func:%s,line:%d" in message:
            yield number, "^" + pattern.replace("func:.*,line:.*", f"func:{tag},line:N", 1)
        else:
            yield number, "^" + pattern


def main(tree):
    golden = "\n".join(path.read_text() for path in sorted((tree / GOLDEN).glob("*.txt")))
    places = missing = 0
    for folder in SOURCES:
        for path in sorted((tree / folder).glob("*.cpp")):
            if path.name in HELPERS:
                continue
            for number, pattern in lines_of(path):
                places += 1
                if not re.search(pattern, golden, re.MULTILINE):
                    missing += 1
                    print(f"{path.relative_to(tree)}:{number}: in no golden file: {pattern}")
    print(f"{places} printed lines, {missing} of them in no golden file")
    return 1 if missing or places == 0 else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
