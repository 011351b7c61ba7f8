# SPDX-License-Identifier: MIT
"""Files that are protected, in use, no files at all, oddly named, or changed by somebody else."""

import fcntl
import os
import socket
import stat
import subprocess

from cli_support import column
from hostile_container import CHANGED
from hostile_lists import APPLES
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


# --- in use -------------------------------------------------------------------------------------


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


def documents(number):
    return lambda _, result: [] if len(result.documents) == number else [
        f"{len(result.documents)} documents"]


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


def rows():
    read_only = dict(log=0, words="read-only")
    yield from [
        Row("no write permission bit", mode(0o444), **read_only),
        Row("read-only for this user", protected(0o444), run=as_nobody(*REPLACE), **read_only),
        Row("not readable", protected(0), run=as_nobody(*REPLACE), words="permission"),
        Row("write-only for this user", protected(0o222), run=as_nobody(*SEARCH),
            words="permission"),
        Row("immutable", immutable("i"), **read_only),
        Row("only to be added to", immutable("a"), words="permission denied"),
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
        Row("bind mount", bound, code=0, status=["changed"], new=("b/a.csv",),
            call=(*REPLACE, "--subfolders")),
        Row("odd names", odd_names, **CHANGED, check=all_replaced),
        Row("odd names of broken documents", odd_names_broken, words="recognizable"),
        Row("deep path", deep(30), code=0, status=["changed"] * 2,
            call=(*REPLACE, "--subfolders")),
        Row("100,000 documents in a folder", crowded, **UNCHANGED, seconds=60, memory=128,
            is_large=True, check=documents(100_000)),
        Row("backup is a folder", backup_is(lambda place, path: os.mkdir(path)), **CHANGED,
            call=BACKUP, check=is_still(stat.S_ISDIR)),
        Row("backup is a link", backup_is(link_to_victim), **CHANGED, call=BACKUP,
            check=victim_is_well, new=("a.bak",)),
        Row("backup is a pipe", backup_is(lambda place, path: os.mkfifo(path)), **CHANGED,
            call=BACKUP, check=is_still(stat.S_ISFIFO)),
        Row("backup is a hard link", backup_is(
            lambda place, path: os.link(place.outside("victim", "precious"), path)), **CHANGED,
            call=BACKUP, new=("a.bak",), check=victim_is_well),
    ]
