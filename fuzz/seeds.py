#!/usr/bin/env python3
"""seeds.py DIRECTORY: writes the seeds of each target to DIRECTORY/TARGET, and words to try to DIRECTORY/words.dict.

They are made of the scenarios, of the refused lines of the tests, and of their captures.
"""
import re
import shutil
import struct
import sys
from pathlib import Path

ROOT = Path(__file__).parent.parent
CAPTURES = sorted((ROOT / "tests/packet/frames").glob("*.pcap*"))
LINES_OF_A_SEED = 3
RECORDS_OF_A_SEED = 40
# As in Frame.cpp: Ethernet1, Ethernet3 with its explanation shown, and Ethernet8, behind which the tunnel is.
ENTRANCES = (1, 0x83, 8)


def lines():
    """Of all scenarios, and the refused ones, each once."""
    texts = [path.read_text() for path in sorted((ROOT / "scenarios").rglob("*.scenario"))]
    found = [line.strip() for text in texts for line in text.splitlines()]
    refused = (ROOT / "tests/tool/refusals.txt").read_text().splitlines()
    found += [line.split(" => ")[0] for line in refused]
    return sorted({line for line in found if line and not line.startswith("#")})


def write(directory, seeds):
    directory.mkdir(parents=True)
    for number, seed in enumerate(seeds):
        (directory / f"{number:04}").write_bytes(seed)


def texts(some):
    for at in range(0, len(some), LINES_OF_A_SEED):
        yield ("\n".join(some[at : at + LINES_OF_A_SEED]) + "\n").encode()


def frames_of(path):
    """The bytes of each frame, and its length on the wire; the files are little-endian."""
    data = path.read_bytes()
    if path.suffix == ".pcap":
        at = 24  # behind the header of the file
        while at < len(data):
            held, length = struct.unpack_from("<8xII", data, at)
            yield data[at + 16 : at + 16 + held], length
            at += 16 + held
        return
    at = 0
    while at < len(data):
        kind, size = struct.unpack_from("<II", data, at)
        if kind == 6:  # an enhanced packet block
            held, length = struct.unpack_from("<20xII", data, at)
            yield data[at + 28 : at + 28 + held], length
        at += size


def frames():
    """As Frame.cpp reads them, in by each entrance, and with the second half cut off."""
    for path in CAPTURES:
        for data, length in frames_of(path):
            for port in ENTRANCES:
                yield bytes([port, length - len(data)]) + data.ljust(length, b"\0")
            yield bytes([ENTRANCES[-1], min(255, length // 2)]) + data.ljust(length, b"\0")


def access(line):
    """As Access.cpp reads it: only attributes of the helper, and each of these."""
    return re.match(r"(call|trace) |(set|del) (helper\.)?\w+(\[|\s|$)", line)


def recordings():
    """Parts of the shipped recording: its start, with a part of what follows, whose records are numbered anew."""
    lines = (ROOT / "scenarios/recordings/tutorial.recording").read_text().splitlines()
    start = next(at for at, line in enumerate(lines) if '"record":"call"' in line)
    for at in range(start, len(lines), RECORDS_OF_A_SEED):
        part = lines[:start] + lines[at : at + RECORDS_OF_A_SEED]
        numbers = {}
        for number, line in enumerate(part, 1):
            numbers[re.search(r'"n":(\d+)', line)[1]] = str(number)
        for number, line in enumerate(part):
            part[number] = re.sub(r'"(n|of|cause)":(\d+)', lambda match: f'"{match[1]}":{numbers.get(match[2], 0)}', line)
        yield ("\n".join(part) + "\n").encode()


def messages():
    text = (ROOT / "docs/reference/messages.md").read_text()
    return [f"log {key} 5 word =7" for key in sorted(set(re.findall(r"\b[A-Z]+(?:_[A-Z]+)+\b", text)))]


def main():
    directory = Path(sys.argv[1])
    shutil.rmtree(directory, ignore_errors=True)
    scenario_lines = lines()
    write(directory / "ScenarioLine", texts(scenario_lines))
    write(directory / "Access", texts([line for line in scenario_lines if access(line)] + messages()))
    write(directory / "CaptureFile", (path.read_bytes() for path in CAPTURES))
    write(directory / "Frame", frames())
    write(directory / "Recording", recordings())
    words = set(re.findall(r"[\w.:/-]{2,40}", "\n".join(scenario_lines)))
    for page in (ROOT / "docs/reference").glob("*.md"):
        words.update(re.findall(r"\b[a-z]+[A-Z]\w+\b|\b[A-Z]+(?:_[A-Z]+)+\b", page.read_text()))
    (directory / "words.dict").write_text("".join(f'"{word}"\n' for word in sorted(words)))


main()
