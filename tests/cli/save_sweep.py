#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes each system call of the command line fail while it replaces in workbooks and in a text
document, and kills it at each; what must hold then stands in fault_sweep.py.

    save_sweep.py --tarvello PATH [--calls NAME,...] [--faults NAME,...]

What the new document holds is learned from a first undisturbed run. Exits with 77 (skipped) where
strace cannot inject faults.
"""
import argparse
import os
import shutil
import subprocess
import sys
import tempfile

import fault_sweep
import hostile_xls_texts
import xls_books
from hostile_books import book, inline, row, sheet

REPLACEMENT = ["replace", "--find", "apple", "--with", "fig", "--in", "cells", "--in", "builtin",
               "--jobs", "1", "--quiet"]


def workbook():
    """More than one buffer of text, and members that are copied."""
    cells = "".join(row(i, inline("A%d" % i, "%d %s" % (i, os.urandom(40).hex())))
                    for i in range(2, 1200))
    return book(sheet=sheet(row(1, '<c r="A1" t="s"><v>0</v></c>', inline("B1", "apple")) + cells),
                others={"xl/media/large.bin": os.urandom(150_000)})


def binary_workbook():
    """Changes in two streams, and streams that stay before and behind them."""
    cells = [xls_books.label(i, 0, "%d %s" % (i, os.urandom(40).hex())) for i in range(1, 1200)]
    content = xls_books.stream([xls_books.sheet(*xls_books.CELLS, *cells)])
    return xls_books.book(content, {**hostile_xls_texts.WHOLE,
                                    "Large": os.urandom(150_000), "Tiny": b"tiny"})


def text():
    """Long stretches without a match, which are copied by the system, and several matches."""
    stretch = b'"pear",1\r\n' * 30_000
    return b'"apple"\r\n' + stretch + b"apple,2\r\n" * 50 + stretch


DOCUMENTS = {"a book.xlsx": workbook, "a book.xls": binary_workbook, "a text.csv": text}


def documents(program, base, name):
    """The old document, and the new one as an undisturbed run makes it."""
    folders = [os.path.join(base, which) for which in ("old", "new")]
    for folder in folders:
        os.makedirs(folder, exist_ok=True)
    old, new = (os.path.join(folder, name) for folder in folders)
    with open(old, "wb") as file:
        file.write(DOCUMENTS[name]())
    shutil.copyfile(old, new)
    done = subprocess.run([program, *REPLACEMENT, new], capture_output=True, check=False)
    if done.returncode != 0 or fault_sweep.bytes_of(old) == fault_sweep.bytes_of(new):
        sys.exit(f"{name} cannot be replaced in: {done.stderr!r}")
    return old, new


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--tarvello", required=True)
    parser.add_argument("--calls", default=",".join(fault_sweep.CALLS))
    parser.add_argument("--faults", default=",".join(fault_sweep.FAULTS))
    parser.add_argument("--only", default="", help="documents whose name holds this")
    arguments = parser.parse_args()
    if not fault_sweep.strace_works():
        print("strace cannot inject faults here")
        return fault_sweep.SKIPPED
    program = os.path.abspath(arguments.tarvello)
    is_good = True
    with tempfile.TemporaryDirectory(prefix="save sweep ") as base:
        for variable in ("BRINDLE_HOME", "XDG_CONFIG_HOME"):
            os.environ[variable] = os.path.join(base, "home")
        os.mkdir(os.environ["BRINDLE_HOME"])
        for name in filter(lambda name: arguments.only in name, DOCUMENTS):
            print(name)
            old, new = documents(program, base, name)
            sweep = fault_sweep.Sweep([program, *REPLACEMENT, "{file}"], old, new, name, base, True)
            is_good = sweep.all(arguments.calls.split(","), arguments.faults.split(",")) and is_good
    return 0 if is_good else 1


if __name__ == "__main__":
    sys.exit(main())
