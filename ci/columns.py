#!/usr/bin/env python3
"""columns.py: fails for a line of a document that is longer than 100 columns. Tables and code may be longer."""
import os
import sys
from pathlib import Path

MOST = 100

os.chdir(Path(__file__).parent.parent)
long = 0
for name in [*Path().glob("*.md"), *Path("docs").rglob("*.md")]:
    code = False
    for number, line in enumerate(name.read_text(encoding="utf-8").splitlines(), 1):
        code ^= line.startswith("```")
        if len(line) > MOST and not code and not line.startswith("    ") and not line.lstrip().startswith("|"):
            print(f"{name}:{number}: {len(line)} columns; break it before {line[MOST - 10:MOST]!r}", file=sys.stderr)
            long += 1
sys.exit(long > 0)
