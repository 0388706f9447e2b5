"""Proves `strata-l3 replay`: makes one-token faults in sources of the library, as mutants.py does, and replays recordings
of the scenarios, which were made without a fault. A replay has to report the first record that differs, which is found
by recording the same scenario with the fault.
"""
import argparse
import json
import os
import random
import sys
import time
from collections import Counter

sys.dont_write_bytecode = True
import mutants  # noqa: E402
from faults import Finder, Neighbours  # noqa: E402

INPUTS = {"input", "call", "make", "drop", "run", "set", "del", "timer"}
COMPARED = INPUTS | {"returned", "begin", "question", "notify", "fatal"}
WHEN = ("n", "t", "cause", "of", "now", "line")  # members that do not tell what a record is about
LARGEST = 20_000_000  # bytes of a recording
EXACT, NONE, WRONG = "exact", "changes no record", "WRONG"


def meaning(record):
    return record and {name: value for name, value in record.items() if name not in WHEN}


def compared(path):
    """The records that a replay compares. A fault may let the slice run on and on."""
    if os.path.getsize(path) > LARGEST:
        return []
    with open(path, encoding="latin-1") as file:
        records = [json.loads(line) for line in file if line.endswith("\n")]
    return [meaning(record) for record in records if record["record"] in COMPARED or record["record"] == "unit"]


def first_difference(a, b):
    """(the record of a, that of b); null where one has ended its event. Nothing if there is none."""
    for was, today in zip(a, b):
        if was != today:
            return was, today
    return None


def inputs(records):
    return [record for record in records if record["record"] in INPUTS | {"unit"}]


def changed(record, was):
    """The names of the arguments that are not as they were."""
    return {name for name, value in record["arguments"].items() if value != ((was or {}).get("arguments") or {}).get(name)}


def alike(told, truth, was):
    """Whether both are the same record. A number of the SDK, where a fault puts one, differs from run to run; and a further
    question has no recorded answer."""
    if told == truth:
        return True
    if not told or not truth or told["record"] != truth["record"] or "arguments" not in told:
        return False
    name = "call" if "call" in told else "question"
    return told.get(name) == truth.get(name) and isinstance(told["arguments"], dict) and changed(told, was) == changed(truth, was)


class Replays:
    """What replays report of a fault."""

    def __init__(self):
        self.scenarios = sorted(name[:-9] for name in os.listdir(os.path.join(mutants.WORK, "src/scenarios")) if name.endswith(".scenario"))
        self.folder = os.path.join(mutants.WORK, "replays")
        os.makedirs(self.folder, exist_ok=True)
        worker = mutants.Worker(0)
        mutants.shutil.copy(os.path.join(mutants.LIBRARY, "lib/libstrata-l3.so"), worker.library)
        self.base = {}
        for name in self.scenarios:
            self.base[name] = self.record(worker, name, self.path(name))
            status, output = worker.run([mutants.TOOL, "replay", self.path(name)], 60)
            if status != 0:
                mutants.fail(f"the replay of {name} differs without a fault:\n{output}")

    def path(self, name):
        return os.path.join(self.folder, name + ".recording")

    @staticmethod
    def record(worker, name, path):
        worker.run([mutants.TOOL, "record", f"scenarios/{name}.scenario", "-o", path], 60)
        return compared(path)

    def judge(self, worker):
        exact = 0
        for name in self.scenarios:
            own = self.record(worker, name, os.path.join(worker.temporary, "own.recording"))
            truth = first_difference(self.base[name], own)
            # A run that ended early has recorded an earlier switch of the scenario.
            if not truth or any(was != today for was, today in zip(inputs(self.base[name]), inputs(own))):
                continue
            _, output = worker.run([mutants.TOOL, "replay", self.path(name), "--json"], 60)
            lines = [line for line in output.splitlines() if line.startswith("{")]
            found = json.loads(lines[0]) if lines else {"kind": "nothing"}
            was, today = truth
            told_was, told_today = meaning(found.get("recorded")), meaning(found.get("today"))
            # At the end of an event, one of the two has nothing further: the next record is another event's.
            was_ends, today_ends = (record["record"] in INPUTS | {"returned"} for record in truth)
            right = (told_was == was or (was_ends and told_was is None)) and (alike(told_today, today, was) or (today_ends and told_today is None))
            if found.get("kind") != "divergence" or not right:
                return WRONG, f"{name}: told {told_was}, {told_today}; expected {was}, {today}"
            exact += 1
        return (EXACT, f"{exact} scenarios") if exact else (NONE, "")


def main():
    parser = argparse.ArgumentParser(prog="replays.py", description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("files", nargs="+", metavar="FILE", help="sources of the library, from the project's root; patterns are expanded")
    parser.add_argument("--number", type=int, default=100, metavar="N", help="judge so many that change a record (100)")
    parser.add_argument("--seed", type=int, default=1, help="of the drawing (1)")
    options = parser.parse_args()

    files = mutants.sources(options.files)
    texts = {file: mutants.read(os.path.join(mutants.ROOT, file)) for file in files}
    neighbours = Neighbours([texts[file] for file in sorted(texts)])
    faults = [fault for file in files for fault in Finder(file, texts[file], neighbours).find() if fault.kind != "trace"]
    random.Random(options.seed).shuffle(faults)
    mutants.snapshot(True)
    library, replays, worker = mutants.Library(), Replays(), mutants.Worker(0)
    counts, started = Counter(), time.monotonic()
    for fault in faults:
        if counts[EXACT] + counts[WRONG] >= options.number:
            break
        text = texts[fault.file]
        original = worker.original(library, fault.file, text)
        output = worker.compiled(library, fault.file, fault.apply(text))
        if not output:
            continue
        with open(output, "rb") as code:
            if code.read() == original:
                continue
        command = library.link_command({library.object_of(fault.file): output}, worker.library)
        status, _ = mutants.runner.run(command, 300, cwd=mutants.LIBRARY)
        if status != 0:
            continue
        outcome, by = replays.judge(worker)
        counts[outcome] += 1
        print(f"{fault.file}:{fault.line}: {fault.function}: [{fault.kind}] {fault.what}: {outcome} {by}", flush=True)
    print(f"\n{counts[EXACT]} mutants told exactly, {counts[WRONG]} not; {counts[NONE]} change no record; {time.monotonic() - started:.0f} s.")
    return 1 if counts[WRONG] else 0


if __name__ == "__main__":
    sys.exit(main())
