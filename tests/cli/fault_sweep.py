#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes each system call of a program that replaces one file fail, and kills it at each.

    fault_sweep.py --driver PATH

runs the program of ReplaceFileDriver.cpp, replacing and copying, once for every call of the kinds
below and every fault, on a fresh copy of the old file. After each run the file must hold the old or
the new content, whole, with its mode, owner, attributes and access list; a run that reports success
must have left the new one, one that reports a failure the old one, and no other file may stand
beside it. A killed run may leave one temporary, which the next run has to remove. Needs strace;
exits with 77 (skipped) where it does not work.
"""
import argparse
import collections
import os
import re
import shutil
import subprocess
import sys
import tempfile

CALLS = ["write", "pwrite64", "copy_file_range", "sendfile", "fsync", "fdatasync", "rename",
         "renameat", "renameat2", "openat", "fchmod", "fchown", "fsetxattr", "fremovexattr",
         "ftruncate", "linkat", "unlinkat", "unlink", "utimensat", "close"]
FAULTS = ["error=EIO", "error=ENOSPC", "error=EXDEV", "signal=SIGKILL"]
# What a file system says that lacks the call; there is another way then.
LACKING = {"renameat2": ["error=EINVAL"], "copy_file_range": ["error=EOPNOTSUPP"]}
TEMPORARY = re.compile(r"^\.tarvello-\d+-\d+-\d+\.tmp$")
SKIPPED = 77


def bytes_of(path):
    with open(path, "rb") as file:
        return file.read()


class Trial:
    """A folder with a fresh copy of the old file, dressed in everything that has to survive."""

    def __init__(self, base, name, old):
        self.folder = tempfile.mkdtemp(prefix="a trial ", dir=base)
        self.file = os.path.join(self.folder, name)
        shutil.copyfile(old, self.file)
        os.chmod(self.file, 0o640)
        try:
            os.setxattr(self.file, "user.origin", b"somewhere")
        except OSError:
            pass
        if shutil.which("setfacl"):
            subprocess.run(["setfacl", "-m", "u:1:rw", self.file], stderr=subprocess.DEVNULL,
                           check=False)
        if os.geteuid() == 0:
            os.chown(self.file, 12345, 23456)

    def dress(self):
        status = os.stat(self.file)
        return (status.st_mode, status.st_uid, status.st_gid,
                {name: os.getxattr(self.file, name) for name in sorted(os.listxattr(self.file))})

    def content(self):
        return bytes_of(self.file)

    def others(self):
        return sorted(set(os.listdir(self.folder)) - {os.path.basename(self.file)})

    def remove(self):
        shutil.rmtree(self.folder)


class Sweep:
    def __init__(self, command, old, new, name, base, keeps_dress):
        self.command, self.old, self.new, self.name, self.base = command, old, new, name, base
        self.keeps_dress = keeps_dress
        self.old_bytes, self.new_bytes = bytes_of(old), bytes_of(new)
        self.trace = os.path.join(base, "trace")
        self.runs = self.failures = 0
        self.seen = collections.Counter()

    def run(self, trial, strace):
        command = [part.replace("{file}", trial.file).replace("{new}", self.new)
                   for part in self.command]
        return subprocess.run(strace + command, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=120,
                              check=False)

    def complain(self, what, message):
        self.failures += 1
        print(f"FAILED {what}: {message}")

    def strace(self, call, injection=None):
        options = ["strace", "-f", "-qq", "-y", "-o", self.trace, "-e", "trace=" + call]
        return options + (["-e", f"inject={call}:{injection}"] if injection else [])

    def count(self, call):
        """How often one thread makes the call in an undisturbed run."""
        trial = Trial(self.base, self.name, self.old)
        result = self.run(trial, self.strace(call))
        if result.returncode != 0 or trial.content() != self.new_bytes:
            sys.exit(f"the undisturbed run failed: {result.returncode} {result.stderr!r}")
        trial.remove()
        threads = collections.Counter()
        with open(self.trace, errors="replace") as lines:
            for line in lines:
                thread, _, rest = line.partition(" ")
                threads[thread] += rest.lstrip().startswith(call + "(")
        return max(threads.values(), default=0)

    def touched_folder(self, trial):
        """Whether the injected call was one on the folder; else the fault lies elsewhere."""
        with open(self.trace, errors="replace") as lines:
            return any("(INJECTED)" in line and trial.folder in line for line in lines)

    def check(self, what, trial, dress, returncode, was_killed):
        content = trial.content() if os.path.exists(trial.file) else None
        if content not in (self.old_bytes, self.new_bytes):
            self.complain(what, "the file is neither the old nor the new one")
        elif self.keeps_dress and trial.dress() != dress:
            self.complain(what, f"mode, owner or attributes: {trial.dress()} instead of {dress}")
        others = trial.others()
        if was_killed:
            if len(others) > 1 or not all(map(TEMPORARY.match, others)):
                self.complain(what, f"left behind after the kill: {others}")
            return
        if others:
            self.complain(what, f"left behind: {others}")
        if returncode == 0 and content != self.new_bytes:
            self.complain(what, "success was reported without the new file")
        if returncode != 0 and content != self.old_bytes and self.touched_folder(trial):
            self.complain(what, "a failure was reported with the new file in place")

    def recover(self, what, trial):
        """The next run does the work, whatever the one before left."""
        result = self.run(trial, [])
        if trial.content() == self.new_bytes and not trial.others():
            return
        self.complain(what, f"the next run: {result.returncode} {result.stderr!r} {trial.others()}")

    def trial(self, call, fault, number):
        what = f"{call} number {number}, {fault}"
        trial = Trial(self.base, self.name, self.old)
        dress = trial.dress()
        result = self.run(trial, self.strace(call, f"{fault}:when={number}"))
        was_killed = fault.startswith("signal=")
        self.seen["killed" if was_killed else
                  "failed" if result.returncode else "survived"] += 1
        self.check(what, trial, dress, result.returncode, was_killed)
        if was_killed:
            self.recover(what, trial)
        trial.remove()
        self.runs += 1

    def all(self, calls, faults):
        for call in calls:
            count = self.count(call)
            print(f"{call}: {count}", flush=True)
            for fault in faults + LACKING.get(call, []):
                for number in range(1, count + 1):
                    self.trial(call, fault, number)
        print(f"{self.runs} runs, {dict(self.seen)}, {self.failures} violations", flush=True)
        return self.failures == 0 and self.runs > 0


def strace_works():
    try:
        return subprocess.run(["strace", "-o", "/dev/null", "-e", "inject=sync:error=EIO:when=1",
                               "true"], stderr=subprocess.DEVNULL, check=False).returncode == 0
    except FileNotFoundError:
        return False


def write_samples(base):
    """Two contents of different length, neither a part of the other."""
    paths = []
    for name, size in (("old", 90_000), ("new", 140_000)):
        paths.append(os.path.join(base, name))
        with open(paths[-1], "wb") as file:
            file.write(os.urandom(size))
    return paths


def sweep_driver(driver, base, calls, faults):
    old, new = write_samples(base)
    is_good = True
    for action in ("replace", "copy"):
        print(action)
        sweep = Sweep([driver, action, "{file}", "{new}"], old, new, "book.xls", base,
                      keeps_dress=action == "replace")
        is_good = sweep.all(calls, faults) and is_good
    return is_good


def keeps_both_files(driver, base):
    """The folder cannot be flushed, and the exchange of the names not be undone: the old file must
    still be there, under a name that the message tells."""
    old, new = write_samples(base)
    sweep = Sweep([driver, "replace", "{file}", "{new}"], old, new, "book.xls", base, False)
    trial = Trial(base, "book.xls", old)
    result = sweep.run(trial, ["strace", "-o", sweep.trace, "-e", "inject=fsync:error=EIO:when=2",
                               "-e", "inject=renameat2:error=EIO:when=2"])
    contents = {name: bytes_of(os.path.join(trial.folder, name))
                for name in os.listdir(trial.folder)}
    left = [name for name, content in contents.items() if content == sweep.old_bytes]
    is_good = (result.returncode == 2 and len(left) == 1 and len(contents) == 2 and
               contents["book.xls"] == sweep.new_bytes and left[0].encode() in result.stderr)
    if not is_good:
        sweep.complain("undoing an exchange", f"{result} leaves {sorted(contents)}")
    return is_good


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--driver", required=True)
    parser.add_argument("--calls", default=",".join(CALLS))
    parser.add_argument("--faults", default=",".join(FAULTS))
    arguments = parser.parse_args()
    if not strace_works():
        print("strace cannot inject faults here")
        return SKIPPED
    calls, faults = arguments.calls.split(","), arguments.faults.split(",")
    with tempfile.TemporaryDirectory(prefix="fault sweep ") as base:
        driver = os.path.abspath(arguments.driver)
        is_good = keeps_both_files(driver, base)
        is_good = sweep_driver(driver, base, calls, faults) and is_good
    return 0 if is_good else 1


if __name__ == "__main__":
    sys.exit(main())
