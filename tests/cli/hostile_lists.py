# SPDX-License-Identifier: MIT
"""Text documents, lists, project files and search texts that mean no good."""

import os
import subprocess

from cli_support import column
from hostile_books import book, strings
from hostile_container import CHANGED, MIB, many, one
from hostile_parts import UNCHANGED
from hostile_support import SEARCH, WITHOUT_LEAKS, CannotRun, Row, is_installed

APPLES = column("apple", "pear")


# --- text documents -----------------------------------------------------------------------------


def in_western_locale(place):
    """A document in the code page of a locale that is not UTF-8."""
    place.write("a.csv", APPLES)
    made = is_installed("localedef") and subprocess.run(
        ["localedef", "-i", "en_US", "-f", "ISO-8859-1", place.outside("en_US.ISO-8859-1")],
        capture_output=True, check=False).returncode == 0
    if not made:
        raise CannotRun("there is no locale but UTF-8, and none can be made")
    place.environment.update(LOCPATH=place.path, LC_ALL="en_US.ISO-8859-1")


def long_line(size):
    def make(place):
        path = place.write("a.csv", b"apple,")
        with open(path, "r+b") as file:
            file.truncate(size)
            file.seek(0, os.SEEK_END)
            file.write(b",apple\r\n")
    return make


def many_matches(number):
    return lambda: {"a.csv": b"apple,pear\n" * number}


def first_matches_only(place, result):
    """The cell whose count overflows has been changed already."""
    if result.count != 32767:
        yield f"count {result.count} instead of 32767"
    if place.read("a.csv").count(b"fig") != 32768:
        yield f"{place.read('a.csv').count(b'fig')} cells changed instead of 32768"


# --- lists and projects -------------------------------------------------------------------------


def project_rows():
    yield Row("project: 300 MB", one("a.csv", APPLES), is_json=False, documents=(), memory=400,
              call=lambda place: ("run", sparse(place, "a.tvl", 300 * MIB), "--json"))
    yield Row("project: endless", one("a.csv", APPLES), is_json=False, documents=(),
              call=("run", "/dev/zero", "--json"))


def sparse(place, name, size, start=b""):
    path = place.outside(name, start)
    os.truncate(path, size)
    return path


HEAD = b"Find What,Replace With,Look In,MatchCase,Match entire cell contents\r\n"


def entry_list(content, name="list.csv"):
    return lambda place: ("replace", "--entries", place.outside(name, content), "--json")


def entry_rows():
    yield Row("entry list: workbook bomb", one("a.csv", APPLES), is_json=False,
              call=entry_list(book()[:900], "list.xls"))
    odd = HEAD + b"apple,fig,99,maybe,perhaps\r\n" + b"x" * 300 + b",y,0,False,False\r\n"
    yield Row("entry list: odd values", one("a.csv", APPLES), status="changed", log=1,
              call=entry_list(odd), refused=1, words="type mismatch")
    thousands = HEAD + b"".join(b"word%d,fig,0,False,False\r\n" % i for i in range(9999)) + \
        b"apple,fig,0,False,False\r\n"
    yield Row("entry list: 10,000 entries", one("a.csv", APPLES * 2000), **CHANGED,
              call=entry_list(thousands), memory=128,
              check=lambda place, _: [] if b"apple" not in place.read("a.csv") else ["no match"])
    yield Row("entry list: 10,000 entries for a workbook", one("b.xlsx", book()), **CHANGED,
              call=entry_list(thousands), memory=256)
    empty = HEAD + b",fig,0,False,False\r\n,,0,False,False\r\napple,fig,0,False,False\r\n"
    yield Row("entry list: rows without a search text", one("a.csv", APPLES), **CHANGED,
              call=entry_list(empty))


def list_rows():
    def listed(content):
        return lambda place: (*SEARCH, "--list", place.outside("list.txt", content))

    two = "docs/a.csv\r\n\r\n\ndocs/gone.csv\ndocs/a.csv"
    yield Row("document list: odd lines", one("a.csv", APPLES), documents=(), call=listed(two),
              status=["found", "failed", "found"])
    yield Row("document list: binary", one("a.csv", APPLES), documents=(), memory=48,
              call=listed(bytes(range(14, 256)) * 20))
    yield Row("document list: line of 64 MiB", one("a.csv", APPLES), documents=(), is_json=True,
              call=lambda place: (*SEARCH, "--list", sparse(place, "l.txt", 64 * MIB, b"docs/a")),
              memory=48, status=[], log=1, words="too long")
    yield Row("document list: itself", one("a.csv", APPLES), documents=(),
              call=listed("list.txt\n"), status=["unchanged"], code=1)
    yield Row("document list: a folder", one("a.csv", APPLES), documents=(), status=[], log=1,
              words="access error", call=(*SEARCH, "--list", "docs"))
    yield Row("document list: 50,000 lines", one("a.csv", APPLES), documents=(), code=0,
              call=listed("docs/a.csv\n" * 50000), status="found", memory=48, seconds=60)


# --- search texts -------------------------------------------------------------------------------


def searched(find, replacement="fig", *options):
    return ("replace", "--find", find, "--with", replacement, "--json", *options)


def pattern_rows():
    hostile = "a" * 32000 + "b"
    documents = many({"a.csv": hostile + "\r\n", "b.xlsx": book(strings=strings(hostile, "pear"))})
    yield Row("wildcards that explode", documents, **UNCHANGED, call=searched("*a" * 100 + "*c"),
              memory=48)
    yield Row("wildcards over 20 MB", one("a.csv", lambda: (b"a" * 30000 + b"\n") * 700),
              **UNCHANGED, call=searched("a*a*a*a*a*a*a*a*c"), memory=48)
    yield Row("a replacement that grows", many(
        {"b.xlsx": book(strings=strings("a" * 200, "pear"))}), call=searched("a", "a" * 1000),
              status="unchanged", refused=1, log=1, memory=48)
    both = many({"a.csv": APPLES, "b.xlsx": book()})
    yield Row("equal replacement", both, **CHANGED, call=searched("apple", "apple"),
              is_untouched=True)
    yield Row("nothing but tildes", both, **UNCHANGED, call=searched("~" * 255))


def rows():
    yield Row("line of 1 GiB", long_line(1 << 30), code=0, status="found", call=SEARCH, memory=48)
    yield Row("line of 200 MiB, replaced", long_line(200 * MIB), **CHANGED, memory=48)
    yield Row("40,000 matches in text", many(many_matches(40000)), status="changed", refused=1,
              log=1, words="overflow", check=first_matches_only, memory=48)
    yield Row("1,000,000 matches in text", many(many_matches(1_000_000)), status="found",
              call=SEARCH, refused=1, log=1, memory=128, is_large=True)
    yield Row("not in the code page", in_western_locale, status="unchanged", refused=1, log=1,
              call=("replace", "--find", "apple", "--with", "яблоко", "--json"),
              sanitized=WITHOUT_LEAKS)  # the C library loses some with LOCPATH
    yield Row("formula injection", one("a.csv", APPLES), **CHANGED,
              call=("replace", "--find", "apple", "--with", "=cmd|calc", "--json"))
    yield from project_rows()
    yield from entry_rows()
    yield from list_rows()
    yield from pattern_rows()
