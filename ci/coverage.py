"""Runs the tests of the preset "coverage", which is built, and prints how much of each room they run.

Fails if a room has fewer lines covered than are wanted of it. Pages with every line are in build/coverage/pages. A
branch is one of those that the source shows: those of exceptions are not counted. What runs in a copy of the process
that is killed is not seen.
"""
import argparse
import json
import os
import subprocess
import sys
from collections import defaultdict

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
BUILD = os.path.join(ROOT, "build/coverage")
WANTED = {"routing": 99, "platform": 98, "messages": 99, "sim": 98, "conformance": 98, "tool": 95, "agent": 95}


def run_tests():
    for folder, _, files in os.walk(BUILD):
        for file in files:
            if file.endswith(".gcda"):  # counts of an earlier run
                os.remove(os.path.join(folder, file))
    return subprocess.run(["sh", "ci/test.sh", "coverage"], cwd=ROOT, check=False).returncode == 0


def measured():
    """The files of the rooms, each with its lines, as gcovr's JSON has them."""
    os.makedirs(os.path.join(BUILD, "pages"), exist_ok=True)
    report = os.path.join(BUILD, "coverage.json")
    rooms = "|".join(WANTED)
    subprocess.run(
        ["gcovr", "--root", ROOT, "--filter", f"{ROOT}/({rooms})/", "-j", str(os.cpu_count() or 1)]
        + ["--exclude-throw-branches", "--exclude-unreachable-branches", "--json", report]
        + ["--html-details", os.path.join(BUILD, "pages/index.html"), BUILD],
        check=True,
    )
    with open(report, encoding="utf-8") as file:
        return json.load(file)["files"]


def ranges(numbers):
    texts, first, last = [], None, None
    for number in numbers + [None]:
        if last is not None and number == last + 1:
            last = number
            continue
        if last is not None:
            texts.append(str(first) if first == last else f"{first}-{last}")
        first = last = number
    return ", ".join(texts)


def main():
    parser = argparse.ArgumentParser(prog="coverage.py", description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--list", action="store_true", help="show the lines that no test runs")
    parser.add_argument("--keep", action="store_true", help="do not run the tests again")
    options = parser.parse_args()

    if not options.keep and not run_tests():
        return 1
    counts = defaultdict(lambda: [0, 0, 0, 0])
    missed = {}
    for file in measured():
        room = file["file"].split("/")[0]
        lines = [line for line in file["lines"] if not line["gcovr/noncode"]]
        branches = [branch["count"] > 0 for line in lines for branch in line["branches"]]
        for place, more in enumerate((sum(line["count"] > 0 for line in lines), len(lines), sum(branches), len(branches))):
            counts[room][place] += more
        missed[file["file"]] = sorted(line["line_number"] for line in lines if line["count"] == 0)

    short = False
    print(f"{'room':12} {'lines':>14} {'wanted':>8} {'branches':>16}")
    for room, wanted in WANTED.items():
        lines, all_lines, branches, all_branches = counts[room]
        share = 100 * lines / all_lines
        short = short or share < wanted
        print(
            f"{room:12} {lines:5} {share:6.1f} % {wanted:6} % {branches:7} {100 * branches / max(1, all_branches):6.1f} %"
            + ("  too few lines" if share < wanted else "")
        )
    if options.list:
        for file, numbers in sorted(missed.items()):
            if numbers:
                print(f"{file}: {ranges(numbers)}")
    return 1 if short else 0


if __name__ == "__main__":
    sys.exit(main())
