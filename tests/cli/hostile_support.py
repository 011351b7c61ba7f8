# SPDX-License-Identifier: MIT
"""Rows of the test of hostile files: how one is set up, run once, and judged.

A row makes its files in a folder of its own, the program runs on them, and then all of this must
hold: exit status, status of the documents and words of the errors are the expected ones; a file
whose document is not reported as changed has the bytes, times, mode, owner and inode that it had;
nothing new stands in the folder; each failure has its one line on standard error and in the log;
time and memory stayed within the row's limits.
"""

import base64
import hashlib
import os
import pickle
import shutil
import signal
import stat
import subprocess
import tempfile
import threading
import time
import traceback

from cli_support import Result

# A build with sanitizers is slower and takes more memory.
IS_SANITIZED = os.environ.get("TARVELLO_SANITIZED", "") not in ("", "0")
TIME_FACTOR = 3 if IS_SANITIZED else 1
PIECE = 1 << 20
NO_ATIME = os.O_NOATIME if os.geteuid() == 0 else 0
ANY = -1
BIG = 64 << 20  # of a larger file only both ends and the middle are compared

REPLACE = ("replace", "--find", "apple", "--with", "fig", "--json")
SEARCH = ("search", "--find", "apple", "--json")


# What a row means for a program under sanitizers: it takes away what they need themselves, or only
# the search for leaks does not work in it.
NEVER, WITHOUT_LEAKS = "never", "without leaks"


class CannotRun(Exception):
    """This row needs what is not to be had here."""


class Row:
    """One expectation.

    make(place) fills the folder place.docs. `status` is the word that every document must have,
    a list with the word of each in order, or None when the row's own check looks at them.
    `words` must stand in the errors and refusals, `refused` is the number of refusals.
    is_untouched means that documents may be counted as changed while the files stay.
    is_large means that making the files takes much memory.
    `new` names files that the run may add. `log` is the number of lines of the log, when it is
    not one a failed document (ANY: not looked at). is_json=False means that nothing may be printed,
    None that a part of the output will do. check(place, result) gives further faults; run(place)
    runs the program in place of the plain call. `sanitized` is NEVER or WITHOUT_LEAKS.
    """

    def __init__(self, name, make, *, code=2, status="failed", words=(), refused=0,
                 call=REPLACE, documents=("docs",), new=(), log=None, seconds=10, memory=64,
                 check=None, run=None, is_json=True, is_large=False,
                 is_untouched=False, sanitized=None):
        self.name, self.make, self.code, self.status = name, make, code, status
        self.words = [words] if isinstance(words, str) else list(words)
        self.refused, self.call, self.documents, self.new = refused, call, documents, set(new)
        self.log, self.seconds, self.memory = log, seconds, memory
        self.check, self.run, self.is_json = check, run, is_json
        self.is_large, self.is_untouched, self.sanitized = is_large, is_untouched, sanitized


class Place:
    """The folder of one row. The program runs in `path`, beside the folder `docs`."""

    def __init__(self, program, base):
        self.program = program
        self.path = tempfile.mkdtemp(prefix="a row ", dir=base)
        self.docs = os.path.join(self.path, "docs")
        self.home = os.path.join(self.path, "home")
        os.mkdir(self.docs)
        os.mkdir(self.home)
        self.environment = dict(os.environ, BRINDLE_HOME=self.home, XDG_CONFIG_HOME=self.home,
                                LC_ALL="C.UTF-8")
        self.cleanups = []

    def write(self, name, content, folder=None):
        path = os.path.join(os.fsencode(folder or self.docs), os.fsencode(name))
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(content if isinstance(content, bytes) else content.encode())
        return os.fsdecode(path)

    def read(self, name):
        with open(os.path.join(os.fsencode(self.docs), os.fsencode(name)), "rb") as file:
            return file.read()

    def outside(self, name, content=None):
        """A path beside the documents, and the file when it has content."""
        path = os.path.join(self.path, name)
        if content is not None:
            self.write(name, content, self.path)
        return path

    def log(self):
        try:
            with open(os.path.join(self.home, "Errors.Log"), "rb") as file:
                return file.read().decode(errors="replace").splitlines()
        except OSError:
            return []

    def start(self, *arguments, **options):
        """The program, with its output in files, so that it never waits for a reader."""
        return Process(self, arguments, options)

    def remove(self):
        for cleanup in reversed(self.cleanups):
            cleanup()
        # Deeper than a path may be long: the tool walks by descriptor.
        subprocess.run(["chmod", "-R", "u+rwx", self.path], check=False,
                       stderr=subprocess.DEVNULL)
        subprocess.run(["rm", "-rf", self.path], check=False)


class Process:
    def __init__(self, place, arguments, options):
        self.out = tempfile.TemporaryFile()
        self.err = tempfile.TemporaryFile()
        self.began = time.monotonic()
        options.setdefault("stdin", subprocess.DEVNULL)
        options.setdefault("env", place.environment)
        prefix = options.pop("prefix", [])
        self.process = subprocess.Popen([*prefix, place.program, *arguments], cwd=place.path,
                                        stdout=self.out, stderr=self.err, **options)

    @property
    def pid(self):
        return self.process.pid

    def is_running(self):
        return self.process.poll() is None

    def finish(self, limit=60):
        """Waits, at most so many seconds, and gives the result."""
        killer = threading.Timer(limit, lambda: os.kill(self.pid, signal.SIGKILL))
        killer.start()
        if self.process.returncode is None:
            _, status, usage = os.wait4(self.pid, 0)
            self.process.returncode = os.waitstatus_to_exitcode(status)
            memory = usage.ru_maxrss / 1024
        else:
            memory = 0
        killer.cancel()
        seconds = time.monotonic() - self.began
        texts = []
        for file in (self.out, self.err):
            file.seek(0)
            texts.append(file.read())
            file.close()
        return Result(self.process.returncode, texts[0], texts[1], seconds, memory)


# --- what a file is, before and after -----------------------------------------------------------


def digest(path, size):
    sum_ = hashlib.sha256()
    # Looking must not change the time of the last access.
    with open(path, "rb", opener=lambda name, flags: os.open(name, flags | NO_ATIME)) as file:
        places = (0, size // 2, size - PIECE) if size > BIG else range(0, size, PIECE)
        for at in places:
            file.seek(at)
            sum_.update(file.read(PIECE))
    return sum_.hexdigest()


def dress(path, status):
    """What a replaced file has to keep."""
    attributes = {}
    if stat.S_ISREG(status.st_mode):
        attributes = {name: os.getxattr(path, name) for name in os.listxattr(path)}
    return status.st_mode, status.st_uid, status.st_gid, attributes


def snapshot(folder):
    """Everything in a folder and below: name -> state."""
    found = {}
    for top, folders, files, descriptor in os.fwalk(os.fsencode(folder)):
        for name in folders + files:
            status = os.lstat(name, dir_fd=descriptor)
            here = b"/proc/self/fd/%d/%s" % (descriptor, name)
            content = None
            if stat.S_ISLNK(status.st_mode):
                content = os.readlink(name, dir_fd=descriptor)
            elif stat.S_ISREG(status.st_mode):
                content = digest(here, status.st_size)
            is_folder = stat.S_ISDIR(status.st_mode)
            found[os.path.join(top, name)] = {
                "content": content, "dress": dress(here, status),
                "inode": None if is_folder else status.st_ino,
                "mtime": None if is_folder else status.st_mtime_ns}
    return found


def path_of(document):
    if "path" in document:
        return document["path"].encode()
    return base64.b64decode(document["path_bytes"])


def file_faults(row, place, before, after, result):
    faults = []
    changed = {os.path.realpath(os.path.join(os.fsencode(place.path), path_of(document)))
               for document in result.documents
               if document["status"] == "changed" and not row.is_untouched}
    new = {os.path.join(os.fsencode(place.docs), os.fsencode(name)) for name in row.new}
    changed |= new
    for path in before.keys() - after.keys() - changed:
        faults.append(f"{path!r} is gone")
    for path in after.keys() - before.keys() - new:
        faults.append(f"{path!r} is left over")
    for path in before.keys() & after.keys():
        old, now = before[path], after[path]
        folder, name = os.path.split(path)
        if os.path.join(os.path.realpath(folder), name) in changed:
            if path not in new and old["content"] == now["content"]:
                faults.append(f"{path!r} is said to be changed and is not")
            if path not in new and old["dress"] != now["dress"]:
                faults.append(f"{path!r}: mode, owner or attributes: {now['dress']}")
        elif old != now:
            kinds = [kind for kind in old if old[kind] != now[kind]]
            faults.append(f"{path!r} is not as it was: {', '.join(kinds)}")
    return faults


# --- the judgement ------------------------------------------------------------------------------


def parse(result):
    """The objects of the output; a fault when it is not one object a line with a summary last."""
    try:
        result.parsed()
    except ValueError as error:
        return [f"output is not JSON: {error}"]
    if not result.objects or result.objects[-1]["type"] != "summary":
        return ["the summary is missing"]
    total = result.objects[-1]
    counted = [sum(item["status"] in words for item in result.documents)
               for words in (("changed", "found"), ("unchanged",), ("failed",))]
    said = [total["changed"], total["unchanged"], total["failed"]]
    if counted != said or total["documents"] != len(result.documents):
        return [f"the summary says {said} and the documents are {counted}"]
    return []


def status_faults(row, result):
    words = [document["status"] for document in result.documents]
    wanted = [row.status] * max(1, len(words)) if isinstance(row.status, str) else row.status
    if wanted is None or words == list(wanted):
        return []
    shown = [(path_of(item), item["status"], item.get("error", {}).get("description"))
             for item in result.documents if item["status"] != row.status][:3]
    return [f"status {shown} instead of {row.status}"]


def line_faults(row, place, result):
    faults = []
    failed = sum(document["status"] == "failed" for document in result.documents)
    log = place.log()
    wanted = failed if row.log is None else row.log
    if wanted != ANY and len(log) != wanted:
        shown = [line[:200] for line in log[:3]]
        faults.append(f"{len(log)} lines in the log instead of {wanted}: {shown}")
    lines = result.err.splitlines()
    if len(lines) < failed or not all(line.startswith(b"tarvello: ") for line in lines):
        faults.append(f"standard error: {result.err[:400]!r}")
    return faults


def text_faults(row, result):
    said = result.err.decode(errors="replace")
    for document in result.documents:
        said += " " + document.get("error", {}).get("description", "")
        said += " ".join(refusal["description"] for refusal in document.get("refused", []))
    return [f"{word!r} is not said in {said[:400]!r}" for word in row.words
            if word.lower() not in said.lower()]


def run_faults(result, codes, seconds, memory):
    """What holds for a run whatever it was about."""
    faults = []
    if result.code not in codes:
        faults.append(f"exit status {result.code}, none of {codes}: {result.err[-500:]!r}")
    if result.seconds > seconds:
        faults.append(f"took {result.seconds:.1f} s")
    if not IS_SANITIZED and result.memory > memory:
        faults.append(f"took {result.memory:.0f} MiB, more than {memory}")
    if b"Sanitizer" in result.err or b"runtime error" in result.err:
        faults.append(f"a sanitizer speaks: {result.err[:2000]!r}")
    return faults


def judge(row, place, before, result):
    """The faults of a run."""
    codes = row.code if isinstance(row.code, (set, tuple)) else {row.code}
    faults = run_faults(result, codes, row.seconds * TIME_FACTOR, row.memory)
    if row.is_json:
        faults += parse(result)
        faults += status_faults(row, result)
        if row.refused is not None and len(result.refusals) != row.refused:
            faults.append(f"{len(result.refusals)} refusals instead of {row.refused}: "
                          f"{result.refusals[:2]}")
    elif result.out and row.is_json is False:
        faults.append(f"output: {result.out[:300]!r}")
    faults += line_faults(row, place, result)
    faults += text_faults(row, result)
    faults += file_faults(row, place, before, snapshot(place.docs), result)
    if row.check:
        faults += [fault for fault in row.check(place, result) or [] if fault]
    return faults


def apart(work):
    """Does work in a process of its own and gives what it gives. The memory that a process has
    taken is counted with the programs that it starts, so nobody may grow who starts one."""
    reader, writer = os.pipe()
    child = os.fork()
    if child == 0:
        try:
            outcome = (True, work())
        except CannotRun as why:
            outcome = (False, why)
        except BaseException:  # pylint: disable=broad-except
            outcome = (False, RuntimeError(traceback.format_exc()))
        with open(writer, "wb") as pipe:
            pickle.dump(outcome, pipe)
        os._exit(0)
    os.close(writer)
    with open(reader, "rb") as pipe:
        is_good, outcome = pickle.load(pipe)
    os.waitpid(child, 0)
    if not is_good:
        raise outcome
    return outcome


def run_in(place, row):
    try:
        if IS_SANITIZED and row.sanitized == NEVER:
            raise CannotRun("a program under sanitizers needs more")
        if IS_SANITIZED and row.sanitized == WITHOUT_LEAKS:
            place.environment["ASAN_OPTIONS"] = "detect_leaks=0"
        if row.is_large:
            apart(lambda: row.make(place))
        else:
            row.make(place)
        before = snapshot(place.docs)
        if row.run:
            result = row.run(place)
        else:
            documents = row.documents(place) if callable(row.documents) else row.documents
            call = row.call(place) if callable(row.call) else row.call
            result = place.start(*call, *documents).finish(3 * row.seconds * TIME_FACTOR)
        return judge(row, place, before, result), result
    finally:
        place.remove()


def run_row(row, program, base):
    """Runs one row; gives its faults, cut to a readable length, seconds and memory."""
    def work():
        faults, result = run_in(Place(program, base), row)
        return [fault[:800] for fault in faults], result.seconds, result.memory

    return apart(work)


def is_installed(*tools):
    return all(map(shutil.which, tools))
