# SPDX-License-Identifier: MIT
"""Binary workbooks whose compound file is broken, lies, or is merely odd."""

import random
import struct

from hostile_container import CHANGED, many, one
from hostile_support import Row
from xls_books import (CUTOFF, END, FAT, NONE, RED, STORAGE, STREAM, Compound, Entry, book,
                       read_streams, stream, streams)

BOOK, SMALL, MODULE = "Workbook", "small", "Macros/VBA/Module1"


def lies(*rows, suffix=".xls"):
    """Files, each with one thing changed in a good compound file: (name, change)."""
    def make():
        files = {}
        for name, change in rows:
            compound = Compound(streams(others={"Another": b"another " * 700}))
            change(compound)
            files[name + suffix] = compound.bytes()
        return files
    return make


def fat(where, to):
    """Sets a sector's successor. Both are functions of the file, or numbers."""
    def change(file):
        at = where(file) if callable(where) else where
        file.fat[at] = to(file) if callable(to) else to
    return change


def header(**fields):
    return lambda file: file.header.update(fields)


def entry(path, **fields):
    def change(file):
        for name, value in fields.items():
            setattr(file.entries[path], name, value(file) if callable(value) else value)
    return change


def start(path, behind=0):
    return lambda file: file.entries[path].start + behind


def number(path):
    return lambda file: file.number(file.entries[path])


def mini_fat(where, to):
    def change(file):
        file.mini_fat[where] = to
    return change


def difat_loop(file):
    """A sector of the table's table that says it goes on in itself."""
    place = len(file.sectors)
    file.sectors.append(struct.pack("<127I", *[0xFFFFFFFF] * 127) + struct.pack("<I", place))
    file.fat.insert(place, 0xFFFFFFFC)
    file.table = [at + 1 for at in file.table]
    file.header.update(difat=place, difat_count=1000)


def table_in_stream(file):
    file.table[0] = file.entries[BOOK].start


CHAINS = lies(
    ("sector to itself", fat(start(BOOK), start(BOOK))),
    ("into another stream", fat(start(BOOK, 3), start(MODULE))),
    ("into the directory", fat(start(BOOK, 3), lambda file: file.header["directory"])),
    ("into the table", fat(start(BOOK, 3), lambda file: file.table[0])),
    ("out of the file", fat(start(BOOK, 3), 100000)),
    ("a free sector", fat(start(BOOK, 3), 0xFFFFFFFF)),
    ("a sector of the table", fat(start(BOOK, 3), FAT)),
    ("too short", fat(start(BOOK, 2), END)),
    ("two streams in one chain", entry("Another", start=start(BOOK), size=CUTOFF)),
    ("another stream that loops", fat(start(MODULE), start(MODULE))),
    ("directory that loops", fat(lambda file: file.header["directory"],
                                 lambda file: file.header["directory"])),
    ("small sectors that loop", mini_fat(0, 0)),
    ("small sectors out of the file", mini_fat(0, 5000)),
    ("small stream in no sector", entry(SMALL, start=7000)),
    ("root that is no chain", entry("", start=90000)),
    ("table of small sectors out of the file", header(mini_fat=90000)),
    ("table in a stream", table_in_stream))

SIZES = lies(
    ("stream of 2 GiB", entry(BOOK, size=0x7FFFFFFF)),
    ("stream of 2^63", entry(BOOK, size=1 << 63)),
    ("other stream larger than the file", entry(MODULE, size=1 << 30)),
    ("small stream larger than its sectors", entry(SMALL, size=4000)),
    ("root larger than its sectors", entry("", size=1 << 30)),
    ("start out of the file", entry(BOOK, start=1 << 30)),
    ("table of 4 G sectors", header(fat_count=0xFFFFFFFF)),
    ("sectors of 32 bytes", header(shift=5)),
    ("sectors of 2^31 bytes", header(shift=31)),
    ("sectors of 2^65535 bytes", header(shift=65535)),
    ("small sectors of 2^31 bytes", header(mini_shift=31)),
    ("cutoff", header(cutoff=0xFFFFFFFF)),
    ("byte order", header(order=0xFEFF)),
    ("version", header(major=77)),
    ("directory nowhere", header(directory=END)))

TREE = lies(
    ("root that holds itself", entry("", child=0)),
    ("entry beside itself", entry(BOOK, left=number(BOOK))),
    ("two that are beside each other", entry(MODULE, right=number("Macros"))),
    ("storage in itself", entry("Macros/VBA", child=number("Macros"))),
    ("one entry in two storages", entry("Macros/VBA", child=number(BOOK))),
    ("entry out of the directory", entry(SMALL, right=9999)),
    ("two of one name", entry("Another", name="wORKbook")),
    ("a storage of its name", entry("Macros", name="WORKBOOK")),
    ("unknown kind", entry(BOOK, kind=77)))

FOREIGN = lies(
    ("no workbook", entry(BOOK, name="Worksheet")),
    ("a storage in its place", entry(BOOK, kind=STORAGE, start=0, size=0)),
    ("nothing in the root", entry("", child=NONE)))


def cut():
    """A good file cut at many places, most of them within what is needed."""
    whole = Compound(streams()).bytes()
    places = [1, 7, 8, 9, 76, 511, 512, 513, *range(1024, len(whole) - 512, 700)]
    return {"cut at %d.xls" % place: whole[:place] for place in places if place > 8}


def random_headers():
    numbers = random.Random(4711)
    whole = Compound(streams()).bytes()
    return {"header %d.xls" % i: whole[:24] + numbers.randbytes(488) + whole[512:]
            for i in range(40)}


def deep(count, is_storage):
    """Entries of which each has the next beside or in it."""
    def hang(file):
        last, link = file.entries[MODULE], "right"
        for i in range(count):
            setattr(last, link, len(file.order))
            last = Entry("x%d" % i, STORAGE if is_storage else STREAM)
            link = "child" if is_storage else "right"
            last.start = 0 if is_storage else END
            file.order.append(last)
    return lambda: Compound(streams(), add_more=hang).bytes()


# Nothing that is needed lies behind the lie.
HARMLESS = lies(
    ("last sector to the first", fat(start(BOOK, 7), start(BOOK))),
    ("last sector to nowhere", fat(start(BOOK, 7), 90000)),
    ("table that loops", difat_loop),
    ("table of tables of 4 G sectors", header(difat=5, difat_count=0xFFFFFFFF)))


# --- odd but good -------------------------------------------------------------------------------


def keeps_streams(content, *changed, name="book.xls"):
    """A check that all streams but these (the workbook, unless said) hold what they held."""
    def check(place, _):
        old = read_streams(content() if callable(content) else content)
        new = read_streams(place.read(name))
        if list(old) != list(new):
            yield f"streams {list(new)} instead of {list(old)}"
        for path in old:
            if (old[path] != new.get(path)) != (path in (changed or (BOOK,))):
                yield f"{path!r} is {'as it was' if path in changed else 'changed'}"
    return check


def coloured():
    file = Compound(streams())
    for one_ in file.order:
        one_.colour = RED
    return file.bytes()


def unbalanced():
    """All entries in one row, and the row not sorted."""
    file = Compound(streams())
    top = [file.entries[path] for path in (SMALL, BOOK, "Macros")]
    for this, following in zip(top, top[1:] + [None]):
        this.left, this.right = NONE, file.number(following) if following else NONE
    file.entries[""].child = file.number(top[0])
    return file.bytes()


def child_of_stream():
    """What hangs below a stream is reached by nobody, and must not be lost."""
    file = Compound(streams())
    hidden = Entry("hidden", STREAM)
    spare = next(i for i, one_ in enumerate(file.order) if not one_.kind)
    file.order[spare] = hidden
    file.entries[BOOK].child = spare
    return file.bytes()


def large_sectors():
    return Compound(streams(), shift=12).bytes()


def unfinished():
    """The last sector belongs to the table, of which the end is free."""
    return Compound(streams()).bytes()[:-100]


def embedded():
    inner = book(stream())
    return book(others={"MBD0001/Workbook": stream(), "MBD0001/\1Ole": b"apple" * 4,
                        "MBD0002/Package": inner, "Book/Workbook": stream()})


def hidden_stays(place, _):
    if "hidden".encode("utf-16-le") not in place.read("book.xls"):
        yield "the entry below the stream is gone"


def rows():
    quick = dict(seconds=5)  # for all of them
    good = {"large sectors": large_sectors, "unfinished last sector": unfinished,
            "all red": coloured, "not balanced": unbalanced, "embedded workbooks": embedded}
    return [
        Row("compound file: chains", many(CHAINS), words="", **quick),
        Row("compound file: sizes", many(SIZES), **quick),
        Row("compound file: directory", many(TREE), **quick),
        Row("compound file: no workbook", many(FOREIGN), words="recognizable", **quick),
        Row("compound file: cut", many(cut), **quick),
        Row("compound file: random headers", many(random_headers), **quick),
        Row("compound file: entry below a stream", one("book.xls", child_of_stream),
            code={0, 2}, status=None, check=hidden_stays),
        *(Row("compound file: 20,000 entries, each %s the last" % where,
              one("book.xls", deep(20_000, is_storage)), code={0, 2}, status=None, memory=96)
          for where, is_storage in (("beside", False), ("within", True))),
        *(Row("compound file: " + name, one("book.xls", make), **CHANGED,
              check=keeps_streams(make)) for name, make in good.items()),
        Row("compound file: lies without harm", many(HARMLESS), **CHANGED,
            check=lambda place, result: [
                fault for name, content in HARMLESS().items()
                for fault in keeps_streams(content, name=name)(place, result)]),
    ]
