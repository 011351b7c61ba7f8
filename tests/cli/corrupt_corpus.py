#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the command line over every file of a corpus, broken ones included.

    corrupt_corpus.py --tarvello PATH --corpus DIR [--only TEXT]

Each file is searched and replaced on a copy, once for a letter that is nearly everywhere and once
for a text that is nowhere. The program must not crash, hang or take much memory; a document that
is not reported as changed must be byte for byte what it was, with its times; nothing may be left
over. Of the broken binary workbooks it is known which ones can be worked on. Exits with 1 when one
of this happened, and when there was no file. With TARVELLO_SANITIZED=1 in the environment a file
has three times as long, and memory is not looked at.
"""
import argparse
import collections
import os
import shutil
import sys
import tempfile

from hostile_support import TIME_FACTOR, Place, apart, parse, run_faults, snapshot

SECONDS = 10 * TIME_FACTOR
MEMORY = 1024  # MiB
PASSES = (("search", "--find", "e"), ("replace", "--find", "e", "--with", "E e"),
          ("replace", "--find", "no such text 4711", "--with", "x"))

# Entries of their directories are reached twice or lie; all other broken .xls can be worked on.
FAILING = {"clusterfuzz-testcase-minimized-POIHSSFFuzzer-4651309315719168.xls",
           "clusterfuzz-testcase-minimized-POIHSSFFuzzer-4657005060816896.xls",
           "clusterfuzz-testcase-minimized-POIHSSFFuzzer-5816431116615680.xls"}
WITHOUT_THE_LETTER = {"corrupted_error.xls", "invalid_formula.xls"}


def known_outcome(source, call):
    """The word for a broken binary workbook; None for other files."""
    folder, name = os.path.split(source)
    if os.path.basename(folder) != "corrupt" or not name.endswith(".xls"):
        return None
    if name in FAILING:
        return "failed"
    if call[2].startswith("no such") or name in WITHOUT_THE_LETTER:
        return "unchanged"
    return "found" if call[0] == "search" else "changed"


class Tally:
    def __init__(self):
        self.faults = 0
        self.outcomes = collections.Counter()
        self.slowest = self.largest = (0, "")

    def add(self, name, call, outcome):
        faults, status, seconds, memory = outcome
        self.outcomes[call[0], call[2][:2] == "no", status] += 1
        self.slowest = max(self.slowest, (seconds, name))
        self.largest = max(self.largest, (memory, name))
        for fault in faults:
            self.faults += 1
            print(f"{name}: {' '.join(call)}: {fault}", flush=True)


def statuses(result):
    return [document["status"] for document in result.documents]


def judge(call, place, before, result):
    faults = run_faults(result, {0, 1, 2}, SECONDS, MEMORY) + parse(result)
    if len(result.documents) != 1:
        faults.append(f"{len(result.documents)} documents")
    after = snapshot(place.docs)
    if set(after) != set(before):
        faults.append(f"the folder holds {sorted(after)}")
    is_written = call[0] == "replace" and statuses(result) == ["changed"]
    if is_written and call[2].startswith("no such"):
        faults.append("a text that is nowhere was found")
    if not is_written and after != before:
        faults.append("the file is not what it was")
    if is_written and after == before:
        faults.append("said to be changed and is not")
    return faults


def run_file(program, base, source, call):
    """Faults, status, seconds and memory of one call on a copy of one file."""
    place = Place(program, base)
    try:
        copy = os.path.join(place.docs, os.path.basename(source))
        shutil.copyfile(source, copy)
        before = snapshot(place.docs)
        result = place.start(*call, "--json", "docs/" + os.path.basename(source)).finish(
            3 * SECONDS)
        faults = judge(call, place, before, result)
        status = "+".join(statuses(result)) or "nothing"
        if status != (known_outcome(source, call) or status):
            faults.append(f"{status} instead of {known_outcome(source, call)}")
        if result.refusals:
            status += " with refusals"
        return [fault[:800] for fault in faults], status, result.seconds, result.memory
    finally:
        place.remove()


def files_of(corpus):
    found = []
    for folder, _, names in os.walk(corpus):
        if folder != corpus:  # what stands beside the folders describes them
            found += [os.path.join(folder, name) for name in names]
    return sorted(found)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--tarvello", required=True)
    parser.add_argument("--corpus", default=os.environ.get("BRINDLE_CORPUS"))
    parser.add_argument("--only", default="", help="files whose path holds this")
    arguments = parser.parse_args()
    if not arguments.corpus:
        print("skipped: BRINDLE_CORPUS does not name a folder of real files")
        return 77
    program = os.path.abspath(arguments.tarvello)
    tally = Tally()
    files = [path for path in files_of(arguments.corpus) if arguments.only in path]
    with tempfile.TemporaryDirectory(prefix="corrupt corpus ") as base:
        for path in files:
            for call in PASSES:
                name = os.path.relpath(path, arguments.corpus)
                tally.add(name, call, apart(lambda: run_file(program, base, path, call)))
    for (kind, is_nowhere, status), number in sorted(tally.outcomes.items()):
        what = "a text that is nowhere" if is_nowhere else "a frequent letter"
        print(f"{kind} of {what}: {number} {status}")
    print(f"slowest: {tally.slowest[0]:.2f} s, {tally.slowest[1]}; "
          f"largest: {tally.largest[0]:.0f} MiB, {tally.largest[1]}")
    print(f"{len(files)} files, {tally.faults} faults")
    return 0 if files and not tally.faults else 1


if __name__ == "__main__":
    sys.exit(main())
