"""Proves tests: makes one-token faults in sources of the library, one at a time, and names the test that fails.

For each fault the library is linked below build/mutants from the objects of build/mutants-library, one of them
compiled from a faulty copy of its source; the sources and the builds are not changed. Tests load the faulty library in
place of their own. Fast tests run first: the scenarios with their expectations, then the unit tests; the first failure
ends a mutant. A difference from a golden transcript alone is not a proof, because `make update-golden` accepts it with
all others: it is reported if no test fails.
"""
import argparse
import glob
import json
import os
import queue
import random
import re
import shlex
import shutil
import signal
import subprocess
import sys
import threading
import time
from collections import Counter
from dataclasses import dataclass

sys.dont_write_bytecode = True
from faults import Finder, Neighbours  # noqa: E402

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
BUILD = os.path.join(ROOT, "build/debug")
LIBRARY = os.path.join(ROOT, "build/mutants-library")
WORK = os.path.join(ROOT, "build/mutants")
TESTS = os.path.join(WORK, "bin/strata-l3-tests")
TOOL = os.path.join(WORK, "bin/strata-l3")
ROOMS = ("platform", "messages", "routing")  # the library's directories
FAST = 1000  # milliseconds that the first batch of unit tests may take
KILLED, GOLDEN, SURVIVED, SAME, UNPARSABLE = "killed", "golden alone", "SURVIVED", "same code", "does not compile"


class Stopped(Exception):
    pass


class Runner:
    """Runs programs with a time limit; stop() ends all of them."""

    def __init__(self):
        self.stopped = False
        self.running = set()
        self.lock = threading.Lock()

    def run(self, command, limit, env=None, cwd=None):
        """(status, output); the status is None if the time limit was reached."""
        with self.lock:
            if self.stopped:
                raise Stopped
            process = subprocess.Popen(
                command,
                stdin=subprocess.DEVNULL,
                stdout=subprocess.PIPE,
                stderr=subprocess.STDOUT,
                env=env,
                cwd=cwd,
                start_new_session=True,
            )
            self.running.add(process)
        try:
            output, _ = process.communicate(timeout=limit)
            status = process.returncode
        except subprocess.TimeoutExpired:
            self._end(process)
            output, status = process.communicate()[0], None
        with self.lock:
            self.running.discard(process)
            if self.stopped:
                raise Stopped
        return status, output.decode(errors="replace")

    def stop(self):
        with self.lock:
            self.stopped = True
            for process in self.running:
                self._end(process)

    @staticmethod
    def _end(process):
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass


runner = Runner()


def read(path):
    # A faulty library may write any bytes.
    with open(path, encoding="utf-8", errors="replace") as file:
        return file.read()


def fail(text):
    sys.exit(f"mutants.py: {text}")


class Library:
    """The library: how its sources are compiled and how it is linked. All that this takes is copied,
    so that the tree can change and be built meanwhile."""

    def __init__(self):
        self.compile = {}
        for entry in json.loads(read(os.path.join(LIBRARY, "compile_commands.json"))):
            file = os.path.relpath(entry["file"], ROOT)
            if file.split("/")[0] in ROOMS and "strata-l3.dir" in entry["command"]:
                self.compile[file] = shlex.split(entry["command"])
        _, commands = runner.run(["ninja", "-C", LIBRARY, "-t", "commands", "lib/libstrata-l3.so"], 60)
        link = [line for line in commands.splitlines() if " -shared " in line][-1]
        self.link = shlex.split(link.strip().removeprefix(": && ").split(" && ")[0])
        self.copies = {}
        for word in self.link:
            if word.endswith(".o"):
                self.copies[word] = self._copy(word)
        self.moved = {f"-I{ROOT}": f"-I{WORK}/src"}

    @staticmethod
    def _copy(file):
        copy = os.path.join(WORK, "build", file)
        os.makedirs(os.path.dirname(copy), exist_ok=True)
        shutil.copy2(os.path.join(LIBRARY, file), copy)
        return copy

    def object_of(self, file):
        command = self.compile[file]
        return command[command.index("-o") + 1]

    def compile_command(self, file, source, output):
        command = [self.moved.get(word, word) for word in self.compile[file]]
        command[command.index("-o") + 1] = output
        command[command.index("-c") + 1] = source
        # Files in messages are relative to the root. Without warnings, because a fault may leave a variable unused.
        prefix = source.removesuffix(file)
        return command + ["-g0", "-w", f"-ffile-prefix-map={prefix}="]

    def link_command(self, objects, output):
        command = [objects.get(word) or self.copies.get(word, word) for word in self.link]
        command[command.index("-o") + 1] = output
        return command


class Tests:
    """The tests that may notice a fault, the fastest first."""

    def __init__(self, files, scenarios_only):
        self.scenarios = sorted(os.path.basename(path)[:-9] for path in glob.glob(os.path.join(WORK, "src/scenarios/*.scenario")))
        self.times = self._baseline(scenarios_only)
        rooms = {file.split("/")[0] for file in files}
        blind = {suite for suite, sees in self._suites().items() if not sees & rooms}
        tests = [test for test in self.times if not blind & set(test.split(".")[0].split("/"))]
        tests.sort(key=lambda test: self.times[test])
        self.batches, batch, total = [], [], 0
        limit = FAST
        for test in tests:
            batch.append(test)
            total += self.times[test]
            if total > limit:
                self.batches.append(batch)
                batch, total, limit = [], 0, limit * 4
        if batch:
            self.batches.append(batch)

    def _suites(self):
        """The library's rooms that a suite's file includes, directly or through other files and their sources."""
        reached = {}

        def reach(file):
            if file in reached or not os.path.isfile(os.path.join(ROOT, file)):
                return
            text = read(os.path.join(ROOT, file))
            reached[file] = {file.split("/")[0]} | (set(ROOMS) if "STRATA_TOOL_FILE" in text else set())
            for other in re.findall(r'^#include "([^"]+)"', text, re.MULTILINE):
                for near in (other, other.removesuffix(".h") + ".cpp"):
                    reach(near)
                    stack.append((file, near))

        suites = {}
        for path in glob.glob(os.path.join(ROOT, "tests/**/*.cpp"), recursive=True):
            file, stack = os.path.relpath(path, ROOT), []
            reached.clear()
            reach(file)
            seen = set().union(*reached.values())
            for suite in re.findall(r"^(?:TYPED_)?TEST(?:_F|_P)?\( (\w+),", read(path), re.MULTILINE):
                suites.setdefault(suite, set()).update(seen)
        return suites

    def _baseline(self, scenarios_only):
        """Milliseconds of each unit test without a fault, unless only scenarios run; all of them must pass."""
        worker = Worker(0)
        shutil.copy(os.path.join(LIBRARY, "lib/libstrata-l3.so"), worker.library)
        noticed, differing = worker.scenarios(self)
        if noticed or differing:
            fail(f"a scenario fails without a fault: {noticed or differing}")
        if scenarios_only:
            return {}
        programs = [os.path.join(BUILD, "bin", name) for name in ("strata-l3-tests", "strata-l3")]
        key = [os.path.getmtime(file) for file in programs + [os.path.join(LIBRARY, "lib/libstrata-l3.so")]]
        kept = os.path.join(WORK, "baseline.json")
        if os.path.isfile(kept):
            known = json.loads(read(kept))
            if known["key"] == key:
                return known["times"]
        print("Running the tests without a fault, for their times.", flush=True)
        report = os.path.join(WORK, "baseline-report.json")
        status, output = worker.run([TESTS, f"--gtest_output=json:{report}"], 900)
        if status != 0:
            failed = re.findall(r"^\[  FAILED  \] .*\)$", output, re.MULTILINE) or [output[-2000:]]
            fail("the unit tests fail without a fault:\n" + "\n".join(failed))
        times = {}
        for suite in json.loads(read(report))["testsuites"]:
            for test in suite["testsuite"]:
                times[suite["name"] + "." + test["name"]] = float(test["time"].rstrip("s")) * 1000
        with open(kept, "w", encoding="utf-8") as file:
            json.dump({"key": key, "times": times}, file)
        return times


@dataclass
class Result:
    fault: object
    outcome: str
    by: str = ""

    def line(self):
        fault = self.fault
        by = {KILLED: f"killed by {self.by}", GOLDEN: f"GOLDEN ALONE: {self.by}"}.get(self.outcome, self.outcome)
        return f"{fault.file}:{fault.line}: {fault.function}: [{fault.kind}] {fault.what}: {by}"


class Worker:
    """A directory with its own copy of the library, which the tests load in place of the built one."""

    def __init__(self, number):
        self.folder = os.path.join(WORK, f"worker-{number}")
        self.temporary = os.path.join(self.folder, "tmp")
        os.makedirs(self.temporary, exist_ok=True)
        self.library = os.path.join(self.folder, "libstrata-l3.so.0.1")
        self.env = dict(os.environ, LD_LIBRARY_PATH=self.folder, TEST_TMPDIR=self.temporary + "/", TMPDIR=self.temporary)
        self.env.setdefault("STRATA_RANDOM_STEPS", "3000")
        self.originals = {}

    def run(self, command, limit):
        return runner.run(command, limit, self.env, os.path.join(WORK, "src"))

    def compiled(self, library, file, text):
        """The object's path, or None if the text does not compile."""
        source, output = os.path.join(self.folder, file), os.path.join(self.folder, file + ".o")
        os.makedirs(os.path.dirname(source), exist_ok=True)
        with open(source, "w", encoding="utf-8") as copy:
            copy.write(text)
        status, said = runner.run(library.compile_command(file, source, output), 300, cwd=LIBRARY)
        self.said = said
        return output if status == 0 else None

    def original(self, library, file, text):
        if file not in self.originals:
            output = self.compiled(library, file, text)
            if not output:
                fail(f"{file} does not compile without a fault:\n{self.said}")
            with open(output, "rb") as code:
                self.originals[file] = code.read()
        return self.originals[file]

    def judge(self, library, tests, fault, text):
        original = self.original(library, fault.file, text)
        output = self.compiled(library, fault.file, fault.apply(text))
        if not output:
            return Result(fault, UNPARSABLE)
        with open(output, "rb") as code:
            if code.read() == original:
                return Result(fault, SAME)
        command = library.link_command({library.object_of(fault.file): output}, self.library)
        status, said = runner.run(command, 300, cwd=LIBRARY)
        if status != 0:
            return Result(fault, UNPARSABLE, said)
        noticed, differing = self.scenarios(tests)
        noticed = noticed or self.unit_tests(tests)
        if noticed:
            return Result(fault, KILLED, noticed)
        if not differing:
            return Result(fault, SURVIVED)
        more = f" and {len(differing) - 1} more" if len(differing) > 1 else ""
        return Result(fault, GOLDEN, differing[0] + more)

    def scenarios(self, tests):
        """The expectation that failed, or None, and the golden transcripts that differ."""
        differing = []
        transcript = os.path.join(self.temporary, "transcript.txt")
        for name in tests.scenarios:
            scenario = f"scenarios/{name}.scenario"
            status, output = self.run([TOOL, "run", scenario, "--transcript", transcript], 30)
            if status is None:
                return f"scenario.{name} (time limit)", differing
            if status != 0:
                place = re.search(r"FAILED .*\(" + re.escape(scenario) + r":(\d+)\)", output)
                ended = re.search(re.escape(scenario) + r":(\d+):", output)
                line = f" line {place[1]}" if place else f" line {ended[1]} (refused or died)" if ended else " (refused or died)"
                return f"scenario.{name}{line}", differing
            if read(transcript) != read(os.path.join(WORK, f"src/scenarios/golden/{name}.txt")):
                differing.append(f"scenario.{name}")
        return None, differing

    def unit_tests(self, tests):
        for batch in tests.batches:
            limit = 20 + 5 * sum(tests.times[test] for test in batch) / 1000
            status, output = self.run([TESTS, "--gtest_fail_fast", "--gtest_filter=" + ":".join(batch)], limit)
            if status == 0:
                continue
            failed = re.search(r"^\[  FAILED  \] ([^ ,\n]+).* \(\d+ ms\)$", output, re.MULTILINE)
            if failed:
                return failed[1]
            begun = re.findall(r"^\[ RUN      \] (\S+)", output, re.MULTILINE)
            return f"{begun[-1] if begun else 'the unit tests'} ({'time limit' if status is None else 'crashed'})"
        return None


def snapshot(scenarios_only):
    """Copies the tests and the files that they read, so that later changes of the tree do not affect the run."""
    shutil.rmtree(os.path.join(WORK, "src"), ignore_errors=True)
    os.makedirs(os.path.join(WORK, "bin"), exist_ok=True)
    for name in ("strata-l3",) if scenarios_only else ("strata-l3-tests", "strata-l3"):
        shutil.copy(os.path.join(BUILD, "bin", name), os.path.join(WORK, "bin", name))
    for folder in ("scenarios", "tests", "docs", "examples") + ROOMS:
        shutil.copytree(os.path.join(ROOT, folder), os.path.join(WORK, "src", folder), ignore=shutil.ignore_patterns("build"))


def chosen(faults, options):
    """The faults to make, and by function those that may replace one of them."""
    if options.lines:
        bounds = [int(n) for n in re.findall(r"\d+", options.lines)]
        if not bounds:
            fail(f"--lines {options.lines}: a line or a range such as 20-40")
        faults = [fault for fault in faults if bounds[0] <= fault.line <= bounds[-1]]
    if options.function:
        faults = [fault for fault in faults if re.search(options.function, fault.function)]
    faults = [fault for fault in faults if (re.search(options.kind, fault.kind) if options.kind else fault.kind != "trace")]
    spare = {}
    if options.number and options.number < len(faults):
        # One of each function comes first; then kinds take turns, so that constants, of which there are many, do not
        # displace the others.
        dice = random.Random(options.seed)
        functions, kinds = {}, {}
        for fault in dice.sample(faults, len(faults)):
            if (fault.file, fault.function) not in functions:
                functions[fault.file, fault.function] = fault
            else:
                kinds.setdefault(fault.kind, []).append(fault)
        drawn = list(functions.values())[: options.number]
        while len(drawn) < options.number:
            for kind in sorted(kinds):
                if kinds[kind] and len(drawn) < options.number:
                    drawn.append(kinds[kind].pop())
        taken = {id(fault) for fault in drawn}
        for fault in dice.sample(faults, len(faults)):
            if id(fault) not in taken:
                spare.setdefault((fault.file, fault.function), []).append(fault)
        faults = drawn
    return faults[options.skip :], spare


def sources(patterns):
    files = []
    for pattern in patterns:
        found = sorted(os.path.relpath(path, ROOT) for path in glob.glob(os.path.join(ROOT, pattern), recursive=True))
        if not found:
            fail(f"there is no {pattern}")
        files += [file for file in found if file not in files]
    for file in files:
        if not file.endswith(".cpp") or file.split("/")[0] not in ROOMS:
            fail(f"{file} is not a source of the library: only those can be compiled one by one ({', '.join(ROOMS)}: *.cpp)")
    return files


def judge_all(faults, spare, texts, library, tests, jobs):
    """The results. A fault that does not compile, or changes no code, is replaced by another of its function."""
    waiting, done = queue.Queue(), []
    for fault in faults:
        waiting.put(fault)

    def work(worker):
        try:
            while True:
                fault = waiting.get_nowait()
                while fault:
                    result = worker.judge(library, tests, fault, texts[fault.file])
                    done.append(result)
                    print(result.line(), flush=True)
                    others = spare.get((fault.file, fault.function))
                    fault = others.pop() if others and result.outcome in (UNPARSABLE, SAME) else None
        except (queue.Empty, Stopped):
            pass
        except BaseException as problem:  # an exception that ends a thread would go unseen
            print(problem, file=sys.stderr)
            runner.stop()

    threads = [threading.Thread(target=work, args=(Worker(number),)) for number in range(jobs)]
    for thread in threads:
        thread.start()
    try:
        while any(thread.is_alive() for thread in threads):
            time.sleep(0.1)
    except KeyboardInterrupt:
        runner.stop()
    for thread in threads:
        thread.join()
    return done


def summary(done, untried, seconds):
    counts = Counter(result.outcome for result in done)
    judged = counts[KILLED] + counts[GOLDEN] + counts[SURVIVED]
    weak = sorted((r for r in done if r.outcome in (GOLDEN, SURVIVED)), key=lambda r: (r.fault.file, r.fault.line))
    if weak:
        print("\nNo test but a golden transcript, or none at all, noticed:")
        for result in weak:
            print("  " + result.line())
    print(
        f"\n{judged} mutants in {seconds:.0f} s: {counts[KILLED]} killed, {counts[GOLDEN]} noticed by a golden "
        f"transcript alone, {counts[SURVIVED]} survived. Not counted: {counts[UNPARSABLE]} do not compile, "
        f"{counts[SAME]} change no code."
    )
    if untried:
        print(f"Stopped: {untried} were not tried.")


def main():
    parser = argparse.ArgumentParser(prog="mutants.py", description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("files", nargs="+", metavar="FILE", help="sources of the library, from the project's root; patterns are expanded")
    parser.add_argument("--number", type=int, metavar="N", help="draw so many: one of each function first, then of all kinds alike")
    parser.add_argument("--seed", type=int, default=1, help="of the drawing (1)")
    parser.add_argument("--skip", type=int, default=0, metavar="N", help="leave out the first N of them: a run that was stopped goes on")
    parser.add_argument("--lines", metavar="A-B", help="faults in these lines alone")
    parser.add_argument("--function", metavar="REGEX", help="faults in these functions alone")
    parser.add_argument("--kind", metavar="REGEX", help="of these kinds alone: and/or, argument, comparison, constant, dropped, mask, negation, neighbour, swapped; and trace, which is left out otherwise")
    parser.add_argument("--jobs", type=int, choices=(1, 2), default=min(2, os.cpu_count() or 1))
    parser.add_argument("--scenarios", action="store_true", help="ask the scenarios alone: what their expectations hold by themselves")
    parser.add_argument("--list", action="store_true", help="show the faults and make none")
    options = parser.parse_args()

    files = sources(options.files)
    texts = {file: read(os.path.join(ROOT, file)) for file in files}
    library_sources = [path for room in ROOMS for suffix in ("h", "cpp") for path in glob.glob(os.path.join(ROOT, room, f"**/*.{suffix}"), recursive=True)]
    neighbours = Neighbours([read(path) for path in sorted(library_sources)])
    faults, spare = chosen([fault for file in files for fault in Finder(file, texts[file], neighbours).find()], options)
    if options.list:
        for fault in faults:
            print(f"{fault.file}:{fault.line}: {fault.function}: [{fault.kind}] {fault.what}")
        print(f"{len(faults)} faults")
        return 0

    try:
        snapshot(options.scenarios)
        library, tests = Library(), Tests(files, options.scenarios)
    except (KeyboardInterrupt, Stopped):
        runner.stop()
        return 130
    started = time.monotonic()
    done = judge_all(faults, spare, texts, library, tests, options.jobs)
    tried = {id(result.fault) for result in done}
    untried = sum(id(fault) not in tried for fault in faults)
    summary(done, untried, time.monotonic() - started)
    return 130 if untried else 0


if __name__ == "__main__":
    sys.exit(main())
