# SPDX-License-Identifier: MIT
"""Runs that lack room, memory, descriptors or threads, are interrupted, or meet each other."""

import os
import resource
import signal
import time

from cli_support import Result
from hostile_books import book, inline, row, sheet
from hostile_container import CHANGED, MIB
from hostile_lists import APPLES
from hostile_support import ANY, NEVER, REPLACE, WITHOUT_LEAKS, CannotRun, Row
from hostile_system import BACKUP, NOBODY, mount, need_root

BODY = b'"pear"\r\n' * 25_000  # 200 kB
OLD = b'"apple"\r\n' + BODY
NEW = b'"fig"\r\n' + BODY


def noisy_book():
    """A workbook that packing does not make small."""
    cells = "".join(row(i, inline("A%d" % i, os.urandom(100).hex())) for i in range(2, 1500))
    return book(sheet=sheet(row(1, inline("A1", "apple")) + cells))


# --- no room ------------------------------------------------------------------------------------


def fill(path, leave):
    """Fills the file system but for so many bytes."""
    filler = os.open(os.path.join(path, "filler"), os.O_CREAT | os.O_WRONLY)
    status = os.fstatvfs(filler)
    os.posix_fallocate(filler, 0, status.f_bavail * status.f_frsize - leave or 1)
    os.close(filler)


def small_disk(name, content, leave):
    def make(place):
        path = mount(place, "m", "-t", "tmpfs", "-o", "size=2m", "tmpfs")
        place.write("m/" + name, content)
        fill(path, leave)
    return make


def backup_without_room(place):
    """Room for the new file or the backup, not for both."""
    small_disk("a.csv", OLD, 232 << 10)(place)


def no_half_backup(place, _):
    backup = os.path.join(place.docs, "m", "a.bak")
    if os.path.exists(backup) and os.path.getsize(backup) != len(OLD):
        yield "half a backup is left"


def full_home(place):
    path = mount(place, "home", "-t", "tmpfs", "-o", "size=64k", "tmpfs")
    fill(path, 0)
    place.environment["BRINDLE_HOME"] = path
    place.write("a.xlsx", b"no workbook")


# --- limits of the process ----------------------------------------------------------------------


def limited(kind, value, *call, also=None):
    def apply():
        resource.setrlimit(kind, (value, value))

    def run(place):
        return place.start(*(call or (*REPLACE, "docs")), preexec_fn=apply, **(also or {})).finish()
    return run


def one_of_many(kind, values, make_sure):
    """Runs under each value; every outcome must be clean, and the last one good."""
    def run(place):
        seconds = 0
        for value in values:
            for name in ("a.csv", "b.xlsx"):
                place.write(name, OLD if name == "a.csv" else noisy_book())
            before = {name: place.read(name) for name in os.listdir(place.docs)}
            result = limited(kind, value)(place)
            seconds = max(seconds, result.seconds)
            faults = list(make_sure(place, value, before, result))
            if faults:
                return Result(-1, result.out, ("; ".join(faults)).encode(), result.seconds, 0)
        return Result(result.code, result.out, result.err, seconds, result.memory)
    return run


def clean_stop(place, value, before, result):
    names = sorted(os.listdir(place.docs))
    if names != sorted(before):
        yield f"limit {value}: the folder holds {names}"
    if result.code not in (0, 2) and not (result.code == 127 and not result.out):
        yield f"limit {value}: exit status {result.code}: {result.err[-300:]!r}"
    if result.code == 2 and not result.err:
        yield f"limit {value}: nothing was said"
    if place.read("a.csv") not in (OLD, NEW):
        yield f"limit {value}: a.csv is torn"
    if result.code == 0 and place.read("a.csv") != NEW:
        yield f"limit {value}: success without the new file"


def under(name, kind, values, **more):
    return Row(name, lambda place: None, run=one_of_many(kind, values, clean_stop), code=0,
               status="changed", log=ANY, new=("a.csv", "b.xlsx"), seconds=60, **more)


def many_cells(place):
    cells = "".join(row(i, inline("A%d" % i, "apple %d" % i)) for i in range(1, 5000))
    for number in range(8):
        place.write("%d.xlsx" % number, book(sheet=sheet(cells)))


def few_threads(place):
    need_root()
    place.write("a.csv", APPLES)
    os.chown(os.path.join(place.docs, "a.csv"), NOBODY, NOBODY)
    for folder in (place.path, place.docs, place.home, os.path.dirname(place.path)):
        os.chmod(folder, 0o777)


def run_without_threads(place):
    def apply():
        os.setgid(NOBODY)
        os.setuid(NOBODY)
        resource.setrlimit(resource.RLIMIT_NPROC, (0, 0))
    try:
        return place.start(*REPLACE, "docs", "--jobs", "4", preexec_fn=apply).finish()
    except Exception as error:
        raise CannotRun("the program is out of reach for another user") from error


# --- interrupts ---------------------------------------------------------------------------------


def interrupt(number, times, jobs):
    """A signal in the middle of a run over large documents."""
    def run(place):
        for _ in range(6):
            for document in range(8):
                place.write("%d.csv" % document, OLD * 40)
            process = place.start(*REPLACE, "docs", "--jobs", jobs)
            while process.is_running() and len(os.listdir(place.docs)) == 8:
                time.sleep(0.0005)
            for _ in range(times):
                if process.is_running():
                    os.kill(process.pid, number)
                time.sleep(0.002)
            result = process.finish()
            if result.code != 0:
                return result
        raise CannotRun("the program was always too fast")
    return run


def whole_files(place, result):
    names = sorted(os.listdir(place.docs))
    if names != ["%d.csv" % number for number in range(8)]:
        yield f"the folder holds {names}"
    old, new = OLD * 40, OLD.replace(b"apple", b"fig") * 40
    states = [place.read(name) for name in names]
    if any(state not in (old, new) for state in states):
        yield "a document is torn"
    changed = sum(state == new for state in states)
    if result.objects and result.objects[-1]["changed"] != changed:
        yield f"{changed} documents are changed, the summary says {result.objects[-1]}"
    if changed == 8:
        yield "the run went on to its end"


def interrupted(name, number, times, jobs, **more):
    return Row(name, lambda place: None, run=interrupt(number, times, jobs), code=130, status=None,
               log=ANY, check=whole_files, new=["%d.csv" % i for i in range(8)], seconds=30,
               **more)


# --- two runs at once ---------------------------------------------------------------------------


def run_twice(place):
    for document in range(40):
        place.write("%02d.csv" % document, OLD * (1 + document % 5 * 5))
    both = [place.start(*REPLACE, "docs", "--backup", "--keep-dates") for _ in range(2)]
    results = [process.finish() for process in both]
    good = max(results, key=lambda result: result.out.count(b'"changed"'))
    other = results[1 - results.index(good)]
    bad = [result for result in results if result.code not in (0, 1, 2)]
    if bad:
        return bad[0]
    for line in other.out.splitlines():
        if b'"failed"' in line and b'"document"' in line and not any(
                word in line for word in (b"changed meanwhile", b"read-only", b"Permission")):
            return Result(-1, other.out, b"unexpected: " + line, other.seconds, 0)
    return good


def nothing_torn(place, _):
    for document in range(40):
        old = OLD * (1 + document % 5 * 5)
        new = old.replace(b"apple", b"fig")
        if place.read("%02d.csv" % document) != new:
            yield f"document {document} is " + (
                "still the old one" if place.read("%02d.csv" % document) == old else "torn")
        if place.read("%02d.bak" % document) not in (old, new):
            yield f"backup {document} is torn"


def rows():
    yield Row("room for the new file or the backup", backup_without_room, status=None, code={0, 2},
              call=BACKUP, documents=("docs/m/a.csv",), new=("m/a.bak",), check=no_half_backup)
    yield Row("log cannot be written", full_home, words="recognizable", log=0,
              documents=("docs/a.xlsx",), new=("home/Errors.Log",))
    yield under("address space", resource.RLIMIT_AS,
                [16 * MIB, 32 * MIB, 48 * MIB, 64 * MIB, 80 * MIB, 96 * MIB, 128 * MIB, 2048 * MIB],
                sanitized=NEVER)
    # Too few addresses for a heap for each thread.
    yield Row("address space with jobs", many_cells, **CHANGED, seconds=20, run=limited(
        resource.RLIMIT_AS, 160 * MIB, *REPLACE, "docs", "--jobs", "4"), sanitized=NEVER)
    yield under("descriptors", resource.RLIMIT_NOFILE, [*range(4, 20), 256],
                sanitized=NEVER)
    yield under("size of files", resource.RLIMIT_FSIZE, [1000, 100_000, 180_000, 64 * MIB])
    yield Row("no threads", few_threads, run=run_without_threads, **CHANGED,
              sanitized=WITHOUT_LEAKS)
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        yield interrupted(number.name, number, 1, "1")
    yield interrupted("SIGINT with jobs", signal.SIGINT, 1, "4")
    yield interrupted("SIGINT twice", signal.SIGINT, 2, "2", is_json=None)
    yield Row("two runs at once", lambda place: None, run=run_twice, code={0, 2}, status=None,
              log=ANY, check=nothing_torn, seconds=60, new=[
                  "%02d.%s" % (i, end) for i in range(40) for end in ("csv", "bak")])
