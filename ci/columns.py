#!/usr/bin/env python3
"""columns.py: fails for a line of a document that is longer than 100 columns. Tables and code may be longer."""
import subprocess
import sys

MOST = 100

long = 0
for name in subprocess.run(["git", "ls-files", "*.md"], check=True, capture_output=True, text=True).stdout.split():
    code = False
    for number, line in enumerate(open(name, encoding="utf-8"), 1):
        line = line.rstrip("\n")
        code ^= line.startswith("```")
        if len(line) > MOST and not code and not line.startswith("    ") and not line.lstrip().startswith("|"):
            print(f"{name}:{number}: {len(line)} columns; break it before {line[MOST - 10:MOST]!r}", file=sys.stderr)
            long += 1
sys.exit(long > 0)
