# SPDX-License-Identifier: MIT
"""Files that are protected, in use, no files at all, oddly named, or changed by somebody else."""

import fcntl
import os
import shutil
import signal
import socket
import stat
import subprocess
import time

from cli_support import column
from hostile_books import book
from hostile_container import CHANGED, many, one
from hostile_lists import APPLES, becomes
from hostile_parts import UNCHANGED
from hostile_support import REPLACE, SEARCH, CannotRun, Row, is_installed

NOBODY = 65534
FIGS = column("fig", "pear").encode()
BACKUP = (*REPLACE, "--backup")


def need_root():
    if os.geteuid() != 0:
        raise CannotRun("needs the administrator")


def tool(*command):
    done = subprocess.run(command, capture_output=True, check=False)
    if done.returncode != 0:
        raise CannotRun(f"{command[0]}: {done.stderr.decode(errors='replace').strip()}")


def mount(place, name, *options):
    """A small file system of its own in the folder of the row."""
    need_root()
    if not is_installed("mount", "umount"):
        raise CannotRun("mount is not installed")
    path = os.path.join(place.docs, name)
    os.makedirs(path, exist_ok=True)
    tool("mount", *options, path)
    place.cleanups.append(lambda: subprocess.run(["umount", "-l", path], check=False))
    return path


# --- protection ---------------------------------------------------------------------------------


def protected(mode, folder_mode=None):
    """A document of the user nobody, as the program that runs for him sees it."""
    def make(place):
        need_root()
        place.write("a.csv", APPLES)
        os.chown(os.path.join(place.docs, "a.csv"), NOBODY, NOBODY)
        os.chmod(os.path.join(place.docs, "a.csv"), mode)
        for folder in (place.path, place.home, os.path.dirname(place.path)):
            os.chmod(folder, 0o777)
        os.chmod(place.docs, 0o777 if folder_mode is None else folder_mode)
    return make


def as_nobody(*call):
    def run(place):
        try:
            return place.start(*call, "docs/a.csv", user=NOBODY, group=NOBODY,
                               extra_groups=[]).finish()
        except PermissionError as error:
            raise CannotRun("the program is out of reach for another user") from error
    return run


def mode(value):
    return lambda place: os.chmod(place.write("a.csv", APPLES), value)


def immutable(flag):
    def make(place):
        need_root()
        path = place.write("a.csv", APPLES)
        if not is_installed("chattr"):
            raise CannotRun("chattr is not installed")
        tool("chattr", "+" + flag, path)
        place.cleanups.append(lambda: subprocess.run(["chattr", "-" + flag, path], check=False))
    return make


def read_only_mount(place):
    path = mount(place, "m", "-t", "tmpfs", "tmpfs")
    place.write("m/a.csv", APPLES)
    tool("mount", "-o", "remount,ro", path)


# --- in use -------------------------------------------------------------------------------------


def owner_file(name, document="a.csv"):
    def make(place):
        place.write(document, APPLES)
        place.write(name, b"\x05owner" + bytes(40))
    return make


def held(lock):
    """Somebody has the document open; the lock lasts until the row ends."""
    def make(place):
        file = open(place.write("a.csv", APPLES), "r+b")
        lock(file)
        place.cleanups.append(file.close)
    return make


# --- what is no document ------------------------------------------------------------------------


def no_documents(place):
    def bind(path):
        server = socket.socket(socket.AF_UNIX)
        server.bind(path)
        place.cleanups.append(server.close)
    os.mkfifo(os.path.join(place.docs, "pipe.xlsx"))
    os.mkdir(os.path.join(place.docs, "folder.xlsx"))
    here = os.getcwd()
    os.chdir(place.docs)  # the names of sockets are short
    bind("socket.xlsx")
    os.chdir(here)
    os.symlink("/dev/zero", os.path.join(place.docs, "endless.csv"))
    os.symlink("gone", os.path.join(place.docs, "dangling.csv"))
    os.symlink("loop.csv", os.path.join(place.docs, "loop.csv"))
    os.symlink(".", os.path.join(place.docs, "again"))
    if os.geteuid() == 0:
        try:
            os.mknod(os.path.join(place.docs, "device.xlsx"), stat.S_IFCHR | 0o666,
                     os.makedev(1, 5))
        except OSError:
            pass
    place.write("a.csv", APPLES)


def named_outright(place):
    names = sorted(name for name in os.listdir(place.docs) if name != "again")
    return [os.path.join("docs", name) for name in names if name != "folder.xlsx"]


def outright_status(place, result):
    for item in result.documents:
        good = "changed" if item["path"] == "docs/a.csv" else "failed"
        if item["status"] != good:
            yield f"{item['path']}: {item['status']}"


# --- links --------------------------------------------------------------------------------------


def linked(place):
    place.write("deep/a.csv", APPLES)
    os.symlink("deep/a.csv", os.path.join(place.docs, "link.csv"))
    os.symlink("link.csv", os.path.join(place.docs, "link to link.csv"))


def still_links(place, _):
    if os.readlink(os.path.join(place.docs, "link.csv")) != "deep/a.csv":
        yield "the link is another one"
    if place.read("deep/a.csv") != FIGS:
        yield "the target was not edited"


def hard_linked(place):
    os.link(place.write("a.csv", APPLES), os.path.join(place.docs, "b.csv"))


def still_one_file(place, _):
    files = [os.stat(os.path.join(place.docs, name)) for name in ("a.csv", "b.csv")]
    if files[0].st_ino != files[1].st_ino:
        yield "the names were separated"


def bound(place):
    place.write("a/a.csv", APPLES)
    mount(place, "b", "--bind", os.path.join(place.docs, "a"))


# --- names --------------------------------------------------------------------------------------

ODD_NAMES = [b"caf\xe9 \xff.csv", b"a\nb.csv", b"-x.csv", b"--jobs.csv", b" .csv", b"\x1b[31m.csv",
             "🂡 Ünï.csv".encode(), b"a" * 251 + b".csv", b"'\"$(x)`;&|.csv", b"*.csv",
             b"%s%n.csv",
             b"a\\b.csv", b"CON.csv", b"\r.csv", b".csv"]


def odd_names(place):
    for name in ODD_NAMES:
        place.write(name, APPLES)


def all_replaced(place, result):
    if len(result.documents) != len(ODD_NAMES):
        yield f"{len(result.documents)} documents instead of {len(ODD_NAMES)}"
    for name in ODD_NAMES:
        if place.read(name) != FIGS:
            yield f"{name!r} was not edited"


def odd_names_broken(place):
    for name in ODD_NAMES:
        place.write(name, b"\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1" + bytes(600))


def deep(levels):
    """A document in folders whose path is longer than the system takes at once."""
    def make(place):
        place.write("a.csv", APPLES)
        descriptor = os.open(place.docs, os.O_RDONLY)
        for _ in range(levels):
            os.mkdir("d" * 200, dir_fd=descriptor)
            below = os.open("d" * 200, os.O_RDONLY, dir_fd=descriptor)
            os.close(descriptor)
            descriptor = below
        file = os.open("deep.csv", os.O_WRONLY | os.O_CREAT, 0o644, dir_fd=descriptor)
        os.write(file, APPLES.encode())
        os.close(file)
        os.close(descriptor)
    return make


def crowded(place):
    for number in range(100_000):
        os.close(os.open(os.path.join(place.docs, "%d.csv" % number), os.O_CREAT | os.O_WRONLY))


# --- backups ------------------------------------------------------------------------------------


def backup_is(make_backup):
    def make(place):
        place.write("a.csv", APPLES)
        make_backup(place, os.path.join(place.docs, "a.bak"))
    return make


def link_to_victim(place, path):
    os.symlink(place.outside("victim", "precious"), path)


def victim_is_well(place, _):
    with open(place.outside("victim"), "rb") as file:
        if file.read() != b"precious":
            yield "the backup was written through a link"
    if not os.path.lexists(os.path.join(place.docs, "a.bak")):
        yield "the backup is gone"


def is_still(kind):
    return lambda place, _: [] if kind(os.lstat(os.path.join(place.docs, "a.bak")).st_mode) else [
        "what had the backup's name is gone"]


# --- times --------------------------------------------------------------------------------------

TIMES = {"1960.csv": -300_000_000_123_456_789, "2106.csv": 4_300_000_000_987_654_321,
         "now.csv": 1_600_000_000_000_000_001}


def dated(place):
    for name, moment in TIMES.items():
        os.utime(place.write(name, APPLES), ns=(moment + 5, moment))
        status = os.stat(os.path.join(place.docs, name))
        if status.st_mtime_ns != moment:
            raise CannotRun("the file system keeps no such times")


def dates_kept(place, _):
    for name, moment in TIMES.items():
        status = os.stat(os.path.join(place.docs, name))
        if (status.st_atime_ns, status.st_mtime_ns) != (moment + 5, moment):
            yield f"{name}: {status.st_atime_ns} and {status.st_mtime_ns} instead of {moment}"


# --- changed meanwhile --------------------------------------------------------------------------



def large():
    return APPLES.encode() + b'"pear"\r\n' * 4_000_000



def caught_between(change):
    """Stops the program as soon as its temporary stands beside the document, changes the document
    and lets the program go on."""
    def run(place):
        for _ in range(5):
            place.write("a.csv", large())
            run = place.start(*REPLACE, "docs/a.csv", "--jobs", "1")
            while run.is_running() and len(os.listdir(place.docs)) == 1:
                time.sleep(0.0005)
            if run.is_running():
                os.kill(run.pid, signal.SIGSTOP)
                # A program that is past its last look has no temporary any more.
                if len(os.listdir(place.docs)) == 2:
                    change(os.path.join(place.docs, "a.csv"))
                    os.kill(run.pid, signal.SIGCONT)
                    return run.finish()
                os.kill(run.pid, signal.SIGCONT)
            run.finish()
        raise CannotRun("the program was always too fast")
    return run


def grow(path):
    with open(path, "ab") as file:
        file.write(b"more")


def edit(path):
    with open(path, "r+b") as file:
        file.write(b'"Apple')


def exchange(path):
    with open(path + ".new", "wb") as file:
        file.write(large())
    shutil.copystat(path, path + ".new")
    os.rename(path + ".new", path)


def now_holds(content):
    def check(place, _):
        names = os.listdir(place.docs)
        if names != (["a.csv"] if content is not None else []):
            yield f"the folder holds {names}"
        elif content is not None and place.read("a.csv") != content():
            yield "the change of the other one is lost"
    return check


def meanwhile(name, change, content):
    return Row("changed meanwhile: " + name, lambda place: None, run=caught_between(change),
               words="chang", check=now_holds(content), new=["a.csv"], memory=256, seconds=30)


def rows():
    read_only = dict(log=0, words="read-only")
    yield from [
        Row("no write permission bit", mode(0o444), **read_only),
        Row("no write permission bit, searched", mode(0o444), code=0, status="found", call=SEARCH),
        Row("read-only for this user", protected(0o444), run=as_nobody(*REPLACE), **read_only),
        Row("not readable", protected(0), run=as_nobody(*REPLACE), words="permission"),
        Row("read-only folder", protected(0o644, 0o555), run=as_nobody(*REPLACE), **read_only),
        Row("read-only folder, searched", protected(0o644, 0o555), run=as_nobody(*SEARCH), code=0,
            status="found"),
        Row("write-only for this user", protected(0o222), run=as_nobody(*SEARCH),
            words="permission"),
        Row("immutable", immutable("i"), **read_only),
        Row("only to be added to", immutable("a"), words="permission denied"),
        Row("read-only file system", read_only_mount, documents=("docs/m",), **read_only),
        Row("owner file", owner_file("~$a.csv"), **read_only),
        Row("owner file, searched", owner_file("~$a.csv"), code=0, status=["found"], call=SEARCH),
        Row("shortened owner file", owner_file("~$ok name.csv", "book name.csv"), **read_only),
        Row("lock file", owner_file(".~lock.a.csv#"), **read_only),
        Row("owner file of another document", owner_file("~$b.csv"), **CHANGED),
        Row("flock", held(lambda file: fcntl.flock(file, fcntl.LOCK_EX)), **read_only),
        Row("shared flock", held(lambda file: fcntl.flock(file, fcntl.LOCK_SH)), **read_only),
        Row("record lock", held(lambda file: fcntl.lockf(file, fcntl.LOCK_EX)), **read_only),
        Row("flock, searched", held(lambda file: fcntl.flock(file, fcntl.LOCK_EX)), code=0,
            status="found", call=SEARCH),
        Row("no documents in a folder", no_documents, **{**CHANGED, "status": ["changed"]},
            call=(*REPLACE, "--subfolders")),
        Row("no documents, named outright", no_documents, status=None, documents=named_outright,
            check=outright_status),
        Row("symbolic link", linked, **CHANGED, documents=("docs/link to link.csv",),
            check=still_links),
        Row("document and its links", linked, code=0, status=["changed", "unchanged", "unchanged"],
            check=still_links,
            documents=("docs/deep/a.csv", "docs/link.csv", "docs/link to link.csv")),
        Row("hard links", hard_linked, words="hard links"),
        Row("hard links in place", hard_linked, call=(*REPLACE, "--in-place"), code=0, status=None,
            check=still_one_file, new=("a.csv", "b.csv")),
        Row("one file twice", one("a.csv", APPLES), code=0, status=["changed", "unchanged"],
            documents=("docs/a.csv", "docs/../docs/a.csv")),
        Row("bind mount", bound, code=0, status=["changed"], new=("b/a.csv",),
            call=(*REPLACE, "--subfolders")),
        Row("odd names", odd_names, **CHANGED, check=all_replaced),
        Row("odd names of broken documents", odd_names_broken, words="recognizable"),
        Row("deep path", deep(30), **{**CHANGED, "status": None}, call=(*REPLACE, "--subfolders"),
            check=lambda _, result: [] if len(result.documents) == 2 else [
                f"{len(result.documents)} documents"]),
        Row("100,000 documents in a folder", crowded, **UNCHANGED, seconds=60, memory=128,
            is_large=True),
        Row("two documents with one backup name", many({"a.csv": APPLES, "a.txt": "apple too"}),
            **CHANGED, call=BACKUP, new=("a.bak",), check=becomes(a_bak=b"apple too")),
        Row("backup exists", many({"a.csv": APPLES, "a.bak": "old"}), **CHANGED, call=BACKUP,
            new=("a.bak",), check=becomes(a_bak=APPLES.encode())),
        Row("backup is a folder", backup_is(lambda place, path: os.mkdir(path)), **CHANGED,
            call=BACKUP, check=is_still(stat.S_ISDIR)),
        Row("backup is a link", backup_is(link_to_victim), **CHANGED, call=BACKUP,
            check=victim_is_well, new=("a.bak",)),
        Row("backup is a pipe", backup_is(lambda place, path: os.mkfifo(path)), **CHANGED,
            call=BACKUP, check=is_still(stat.S_ISFIFO)),
        Row("backup is a hard link", backup_is(
            lambda place, path: os.link(place.outside("victim", "precious"), path)), **CHANGED,
            call=BACKUP, new=("a.bak",), check=victim_is_well),
        Row("dates kept", dated, **CHANGED, call=(*REPLACE, "--keep-dates"), check=dates_kept),
        Row("dates kept of a workbook", lambda place: os.utime(
            place.write("a.xlsx", book()), ns=(5, -7)), **CHANGED,
            call=(*REPLACE, "--keep-dates"), check=lambda place, _: [] if os.stat(
                os.path.join(place.docs, "a.xlsx")).st_mtime_ns == -7 else ["another date"]),
        meanwhile("grown", grow, lambda: large() + b"more"),
        meanwhile("edited", edit, lambda: b'"Apple' + large()[6:]),
        meanwhile("exchanged", exchange, large),
        meanwhile("deleted", os.unlink, None),
    ]


