# SPDX-License-Identifier: MIT
"""Compound files and binary workbooks in which every field can lie."""

import struct

FREE, END, FAT, DIFAT, NONE = 0xFFFFFFFF, 0xFFFFFFFE, 0xFFFFFFFD, 0xFFFFFFFC, 0xFFFFFFFF
STORAGE, STREAM, ROOT = 1, 2, 5
RED, BLACK = 0, 1
SIGNATURE = b"\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1"
MINI = 64
CUTOFF = 4096


class Entry:
    """One entry of the directory. Links and sizes are filled in by Compound and may be changed."""

    def __init__(self, name="", kind=0):
        self.name, self.kind = name, kind
        self.colour, self.left, self.right, self.child = BLACK, NONE, NONE, NONE
        self.start, self.size = END if kind else 0, 0

    def packed(self):
        name = self.name.encode("utf-16-le")
        size = len(name) + 2 if name else 0
        return struct.pack("<64sHBB3I16xI16xIQ", name, size, self.kind, self.colour, self.left,
                           self.right, self.child, 0, self.start, self.size)


class Compound:
    """The parts of a compound file, laid out and open to changes before bytes() joins them.

    `streams` gives contents by path; storages come into being with what they hold. Entries are
    found by path in `entries`, the chains of sectors in `fat` and `mini_fat` (lists of numbers),
    the fields of the header in `header`, the rest of the table's sectors in `table`. `add_more` may
    add entries to `order` that belong to no stream.
    """

    def __init__(self, streams, shift=9, add_more=lambda file: None):
        self.shift, self.sector = shift, 1 << shift
        self.sectors, self.fat, self.mini_fat = [], [], []
        self.order = [Entry("Root Entry", ROOT)]
        self.entries = {"": self.order[0]}
        mini = b""
        for path, content in streams.items():
            self.add_parents(path)
            entry = self.add(path, STREAM)
            entry.size = len(content)
            if 0 < len(content) < CUTOFF:
                entry.start = len(mini) // MINI
                count = -(-len(content) // MINI)
                self.mini_fat += [*range(entry.start + 1, entry.start + count), END]
                mini += content.ljust(count * MINI, b"\0")
            elif content:
                entry.start = self.chain(content)
        self.link_all()
        add_more(self)
        root = self.order[0]
        root.start, root.size = (self.chain(mini), len(mini)) if mini else (END, 0)
        while len(self.order) % (self.sector // 128):
            self.order.append(Entry())
        self.header = dict(minor=0x3E, major=4 if shift == 12 else 3, order=0xFFFE, shift=shift,
                           mini_shift=6, directory_count=0, cutoff=CUTOFF, difat=END,
                           difat_count=0)
        packed = struct.pack("<%dI" % len(self.mini_fat), *self.mini_fat)
        self.mini_fat_at = self.header["mini_fat"] = self.chain(packed, b"\xff") if packed else END
        self.header["mini_fat_count"] = -(-len(packed) // self.sector)
        # Its content comes when the file is put together.
        self.header["directory"] = self.chain(bytes(128 * len(self.order)))
        if shift == 12:
            self.header["directory_count"] = -(-128 * len(self.order) // self.sector)
        count = 1
        while (len(self.fat) + count) * 4 > count * self.sector:
            count += 1
        assert count <= 109, "too large for a table in the header"
        self.table = list(range(len(self.fat), len(self.fat) + count))
        self.fat += [FAT] * count
        self.header["fat_count"] = count

    def add(self, path, kind):
        self.entries[path] = Entry(path.rpartition("/")[2], kind)
        self.order.append(self.entries[path])
        return self.entries[path]

    def add_parents(self, path):
        parent = path.rpartition("/")[0]
        if parent not in self.entries:
            self.add_parents(parent)
            self.add(parent, STORAGE).start = 0

    def chain(self, content, padding=b"\0"):
        first = len(self.fat)
        pieces = [content[at:at + self.sector] for at in range(0, len(content), self.sector)]
        self.sectors += [piece.ljust(self.sector, padding) for piece in pieces]
        self.fat += [*range(first + 1, first + len(pieces)), END]
        return first

    def number(self, entry):
        return self.order.index(entry)

    def link_all(self):
        children = {}
        for path, entry in self.entries.items():
            if path:
                children.setdefault(path.rpartition("/")[0], []).append(entry)
        for parent, entries in children.items():
            entries.sort(key=lambda entry: (len(entry.name), entry.name.upper()))
            self.entries[parent].child = self.tree(entries)

    def tree(self, entries):
        if not entries:
            return NONE
        middle = len(entries) // 2
        top = entries[middle]
        top.left, top.right = self.tree(entries[:middle]), self.tree(entries[middle + 1:])
        return self.number(top)

    def bytes(self):
        h = self.header
        table = struct.pack("<%dI" % len(self.fat), *self.fat)
        sectors = list(self.sectors)
        directory = b"".join(entry.packed() for entry in self.order)
        pieces = [directory[i:i + self.sector] for i in range(0, len(directory), self.sector)]
        first = self.directory_at()
        sectors[first:first + len(pieces)] = [p.ljust(self.sector, b"\0") for p in pieces]
        if self.mini_fat:
            packed = struct.pack("<%dI" % len(self.mini_fat), *self.mini_fat)
            at = self.mini_fat_at
            for i in range(0, len(packed), self.sector):
                sectors[at] = packed[i:i + self.sector].ljust(self.sector, b"\xff")
                at += 1
        sectors += [table[i:i + self.sector].ljust(self.sector, b"\xff")
                    for i in range(0, len(table), self.sector)]
        header = SIGNATURE + struct.pack(
            "<16x5H6x9I", h["minor"], h["major"], h["order"], h["shift"], h["mini_shift"],
            h["directory_count"], h["fat_count"], h["directory"], 0, h["cutoff"], h["mini_fat"],
            h["mini_fat_count"], h["difat"], h["difat_count"])
        places = self.table + [FREE] * (109 - len(self.table))
        header += struct.pack("<109I", *places[:109])
        return header.ljust(self.sector, b"\0") + b"".join(sectors)

    def directory_at(self):
        return self.mini_fat_at + -(-len(self.mini_fat) * 4 // self.sector) if self.mini_fat \
            else len(self.sectors) - -(-128 * len(self.order) // self.sector)


# --- records ------------------------------------------------------------------------------------

GLOBALS, SHEET, CHART, MACRO = 5, 0x10, 0x20, 0x40


def rec(kind, body=b"", size=None):
    return struct.pack("<2H", kind, len(body) if size is None else size) + body


def parts(kind, body, *places):
    """A record cut at these places, the rest in CONTINUE records."""
    cuts = [0, *places, len(body)]
    pieces = [body[a:b] for a, b in zip(cuts, cuts[1:])]
    return b"".join(rec(kind if i == 0 else 0x3C, piece) for i, piece in enumerate(pieces))


def bof(kind, version=0x600):
    return rec(0x809, struct.pack("<4H2I", version, kind, 0x2775, 0x7CD, 0, 0x6))


EOF = rec(0x0A)


def string(text, count=None, flags=0):
    """With a count of 16 bits."""
    data = text.encode("utf-16-le" if flags & 1 else "latin-1")
    return struct.pack("<HB", len(text) if count is None else count, flags) + data


def short_string(text):
    return struct.pack("<2B", len(text), 0) + text.encode("latin-1")


def sst(*texts, total=None, unique=None, behind=b""):
    head = struct.pack("<2I", len(texts) if total is None else total,
                       len(texts) if unique is None else unique)
    return rec(0xFC, head + b"".join(map(string, texts)) + behind)


def label_sst(row, column, index):
    return rec(0xFD, struct.pack("<3HI", row, column, 0, index))


def label(row, column, text):
    return rec(0x204, struct.pack("<3H", row, column, 0) + string(text))


def formula(row, column, tokens, result=1.0, size=None):
    return rec(0x06, struct.pack("<3HdHIH", row, column, 0, result, 0, 0,
                                 len(tokens) if size is None else size) + tokens)


def exp(row, column):
    return struct.pack("<BHH", 1, row, column)


def shared(first, last, columns, tokens, kind=0x4BC):
    head = struct.pack("<2H2B", first, last, *columns)
    head += struct.pack("<2x") if kind == 0x4BC else struct.pack("<2xI", 0)
    return rec(kind, head + struct.pack("<H", len(tokens)) + tokens)


def sheet(*records, kind=SHEET):
    return bof(kind) + b"".join(records) + EOF


CELLS = (label_sst(0, 0, 0), label_sst(0, 1, 1))


def stream(sheets=None, strings=None, first=b"", extra=b"", offsets=None, names=None):
    """A workbook stream with "apple pie" and "pear" in A1 and B1. `first` stands behind the BOF,
    `extra` in front of the sheets' names; `offsets` lie about where the sheets are: a number, or
    a function of the true offsets."""
    sheets = [sheet(*CELLS)] if sheets is None else sheets
    names = names or ["S%d" % (i + 1) for i in range(len(sheets))]
    strings = sst("apple pie", "pear") if strings is None else strings
    fonts = rec(0x31, struct.pack("<5H4B", 200, 0, 0x7FFF, 400, 0, 0, 0, 0, 0) +
                short_string("Arial")) * 4
    styles = rec(0xE0, struct.pack("<3H7H", 0, 0, 1, 0, 0, 0, 0, 0, 0, 0))
    head = bof(GLOBALS) + first + rec(0x42, struct.pack("<H", 1200)) + fonts + styles + extra
    sizes = [len(rec(0x85, bytes(6) + short_string(name))) for name in names]
    at = len(head) + sum(sizes) + len(strings) + len(EOF)
    places = []
    for part in sheets:
        places.append(at)
        at += len(part)
    if offsets is not None:
        places = offsets(places)
    bound = b"".join(rec(0x85, struct.pack("<IH", place & 0xFFFFFFFF, 0) + short_string(name))
                     for place, name in zip(places, names))
    return head + bound + strings + EOF + b"".join(sheets)


def streams(workbook=None, **others):
    """The streams of a file: the workbook large enough for sectors of its own, and a small one."""
    content = stream() if workbook is None else workbook
    found = {"Workbook": content.ljust(CUTOFF, b"\0"), "small": b"small " * 30,
             "Macros/VBA/Module1": b"apple macro " * 500}
    found.update(others.pop("others", {}))
    return found


def book(workbook=None, others=None):
    found = streams(workbook, others=others or {})
    return Compound(found, 9 if len(found["Workbook"]) < 4 << 20 else 12).bytes()


def read_streams(data):
    """Contents by path, by a reader of our own for files that are in order."""
    shift, = struct.unpack_from("<H", data, 30)
    size = 1 << shift
    fat_count, directory, cutoff, mini_at = struct.unpack_from("<II4xII", data, 44)[0:4]

    def sector(number):
        return data[(number + 1) * size:(number + 2) * size].ljust(size, b"\xff")

    def chain(table, at, length=None):
        count = len(table) if length is None else -(-length // (size if table is fat else MINI))
        while at < DIFAT and count:
            yield at
            at, count = table[at], count - 1

    places = struct.unpack_from("<109I", data, 76)[:fat_count]
    fat = [n for place in places for n in struct.unpack("<%dI" % (size // 4), sector(place))]
    whole = b"".join(map(sector, chain(fat, directory)))
    entries = [struct.unpack_from("<64sHBB3I16x4x16xIQ", whole, at)
               for at in range(0, len(whole), 128)]
    mini_fat = [n for place in chain(fat, mini_at)
                for n in struct.unpack("<%dI" % (size // 4), sector(place))]
    mini = b"".join(map(sector, chain(fat, entries[0][7])))
    found = {}

    def walk(number, path):
        if number == NONE:
            return
        name, length, kind, _, left, right, child, start, count = entries[number]
        name = path + name[:length - 2].decode("utf-16-le")
        walk(left, path)
        walk(right, path)
        if kind == STREAM and count >= cutoff:
            found[name] = b"".join(map(sector, chain(fat, start, count)))[:count]
        elif kind == STREAM:
            found[name] = b"".join(mini[at * MINI:at * MINI + MINI]
                                   for at in chain(mini_fat, start, count))[:count]
        else:
            walk(child, name + "/")

    walk(entries[0][6], "")
    return found
