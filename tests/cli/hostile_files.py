#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the command line over files, lists, file systems and limits that mean it no good.

    hostile_files.py --tarvello PATH [--only NAME]

Every file is made when it is needed, in a temporary folder with a blank in its name. Prints a
line for each row and exits with 1 when one has a fault. With TARVELLO_SANITIZED=1 in the
environment a row has three times as long, and its memory is not looked at.
"""
import argparse
import os
import sys
import tempfile

import hostile_compound
import hostile_container
import hostile_limits
import hostile_lists
import hostile_parts
import hostile_system
import hostile_xls
import hostile_xls_texts
from hostile_support import CannotRun, run_row

TABLES = (hostile_container, hostile_compound, hostile_parts, hostile_lists, hostile_system,
          hostile_limits, hostile_xls, hostile_xls_texts)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--tarvello", required=True)
    parser.add_argument("--only", default="", help="rows whose name holds this")
    arguments = parser.parse_args()
    rows = [row for table in TABLES for row in table.rows()]
    names = [row.name for row in rows]
    assert len(set(names)) == len(names), "two rows have one name"
    rows = [row for row in rows if arguments.only in row.name]
    faulty = skipped = 0
    with tempfile.TemporaryDirectory(prefix="hostile files ") as base:
        for row in rows:
            try:
                faults, seconds, memory = run_row(row, os.path.abspath(arguments.tarvello), base)
            except CannotRun as why:
                skipped += 1
                print(f"{row.name}: skipped: {why}", flush=True)
                continue
            faulty += bool(faults)
            told = "; ".join(faults) if faults else "ok"
            print(f"{row.name}: {told} ({seconds:.2f} s, {memory:.0f} MiB)",
                  flush=True)
    print(f"{len(rows)} rows, {faulty} with faults, {skipped} skipped")
    return 1 if faulty or skipped == len(rows) else 0


if __name__ == "__main__":
    sys.exit(main())
