#!/usr/bin/env python3
"""Finds runs of lines that occur twice in the sources.

Six equal lines in a row should be one function or one table. Blank lines, includes, comments, parameters and lines
that are only braces do not count. Not searched are tests, which repeat on purpose, and the functions of entries, which
are flat lists of calls.

Usage: repeats.py [DIRECTORY]   exits with 1 if there are any
"""

import re
import sys
from collections import defaultdict
from pathlib import Path

LENGTH = 6
ROOMS = ("platform", "messages", "routing", "sim", "conformance", "agent", "tool", "fuzz", "bench", "examples")
# The functions of entries are flat lists of calls: an entry's qualifiers and actions in their order.
ENTRIES = re.compile(r"routing/entries/.*\.cpp$")
LEFT_OUT = re.compile(
    r"#include .*|//.*|[{}();,\s]*|(public|private|protected):|namespace .*"
    # Parameters, which a declaration and a definition both have.
    r"|(const )?[\w:]+(<[\w:<> ]*>)?[&*]? \w+(,| \)[;,]?)( const [\w:<>]+& \w+,)?"
)


def lines_of(path):
    """The lines that count, each with its number."""
    found = []
    for number, line in enumerate(path.read_text().splitlines(), 1):
        text = line.strip()
        if text and not LEFT_OUT.fullmatch(text):
            found.append((number, text))
    return found


def main():
    root = Path(sys.argv[1] if len(sys.argv) > 1 else ".")
    sources = {}
    for room in ROOMS:
        for path in sorted((root / room).rglob("*")):
            name = str(path.relative_to(root))
            if path.suffix in (".cpp", ".h", ".def") and not ENTRIES.search(name):
                sources[name] = lines_of(path)

    places = defaultdict(list)
    for name, lines in sources.items():
        for at in range(len(lines) - LENGTH + 1):
            places[tuple(text for _, text in lines[at : at + LENGTH])].append((name, at))

    # Of overlapping runs only the first is printed, with the length of the whole run.
    shown = set()
    count = 0
    for where in places.values():
        for (one, i), (other, j) in ((a, b) for k, a in enumerate(where) for b in where[k + 1 :]):
            if (one, i - 1, other, j - 1) in shown:
                shown.add((one, i, other, j))
                continue
            shown.add((one, i, other, j))
            if one == other and j - i < LENGTH:
                continue
            first, second = sources[one], sources[other]
            length = LENGTH
            while (
                i + length < len(first)
                and j + length < len(second)
                and first[i + length][1] == second[j + length][1]
            ):
                length += 1
            print(f"{one}:{first[i][0]}: {length} lines are also in {other}:{second[j][0]}")
            count += 1
    if count:
        print(f"{count} repeated runs: write each of them once")
    return 1 if count else 0


if __name__ == "__main__":
    sys.exit(main())
