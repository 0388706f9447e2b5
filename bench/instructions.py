#!/usr/bin/env python3
"""instructions.py PROGRAM [--update]

Counts with callgrind the instructions that a round of each path and job takes (PROGRAM is strata-l3-instructions), and
fails if one takes more than its bound in instructions.txt. With --update writes the bounds: 5 % above what was counted.
"""
import pathlib
import subprocess
import sys
import tempfile

BOUNDS = pathlib.Path(__file__).with_suffix('.txt')
COUNTED = 'strataCounted'
HEADER = """\
# The most instructions that a round of a path or job may take: 5 % above what it took in the build that is packaged
# (build/package, g++ of Debian 12, x86-64). Written by `make update-bounds`.
"""


def counted(program):
    """The rows of the program, as (name, instructions of a round, goal)."""
    with tempfile.TemporaryDirectory() as directory:
        out = pathlib.Path(directory, 'counts')
        run = subprocess.run(
            ['valgrind', '--tool=callgrind', f'--callgrind-out-file={out}',
             f'--toggle-collect={COUNTED}', f'--dump-after={COUNTED}', program],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False)
        if run.returncode != 0:
            sys.exit(f'instructions.py: {program} failed:\n{run.stderr}')
        for number, line in enumerate(run.stdout.splitlines()):
            name, rounds, goal = line.split('|')
            few, many = (total(f'{out}.{2 * number + half}') for half in (1, 2))
            yield name, round((many - few) / int(rounds)), goal


def total(file):
    for line in pathlib.Path(file).read_text().splitlines():
        if line.startswith('totals:'):
            return int(line.split()[1])
    sys.exit(f'instructions.py: callgrind counted nothing in {file}')


def bounds():
    rows = (line.split(maxsplit=1) for line in BOUNDS.read_text().splitlines() if not line.startswith('#'))
    return {name: int(bound) for bound, name in rows}


def update(rows):
    BOUNDS.write_text(HEADER + ''.join(f'{-(-count * 105 // 100):>11} {name}\n' for name, count, _ in rows))


def check(rows):
    wanted = bounds()
    faults = [f"'{name}' is in {BOUNDS.name}, but is not measured" for name in wanted.keys() - {row[0] for row in rows}]
    print(f"{'':42} {'instructions':>12} {'bound':>11} {'goal':>5}")
    for name, count, goal in rows:
        bound = wanted.get(name)
        print(f"{name:42} {count:12} {bound or '-':>11} {goal or '-':>5}")
        if bound is None:
            faults.append(f"'{name}' has no bound in {BOUNDS.name}")
        elif count > bound:
            faults.append(f"'{name}' takes {count} instructions, more than its bound of {bound}")
    for fault in faults:
        print(f'instructions.py: {fault}', file=sys.stderr)
    return 1 if faults else 0


def main():
    program, *options = sys.argv[1:]
    rows = list(counted(program))
    if '--update' in options:
        update(rows)
    return check(rows)


sys.exit(main())
