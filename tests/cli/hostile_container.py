# SPDX-License-Identifier: MIT
"""Files that are no workbook, and archives that are broken, lie or are built to burst."""

import os
import struct
import zipfile

from hostile_books import (IMAGE, SHEET, STRINGS, Member, Packed, archive, book, end_record,
                           members, sheet, strings)
from hostile_support import Row

MIB = 1 << 20
GIB = 1 << 30


def one(name, content):
    return lambda place: place.write(name, content() if callable(content) else content)


def many(files):
    """Files by name, made when they are needed."""
    def make(place):
        for name, content in (files() if callable(files) else files).items():
            place.write(name, content)
    return make


def raw_members(path):
    """Stored bytes of each member of an archive, by name."""
    found = {}
    with zipfile.ZipFile(path) as package, open(path, "rb") as file:
        for info in package.infolist():
            file.seek(info.header_offset + 26)
            name, extra = struct.unpack("<2H", file.read(4))
            file.seek(name + extra, 1)
            found[info.orig_filename] = file.read(info.compress_size)
    return found


def keeps(content, name="book.xlsx", edited=(STRINGS,)):
    """A check that all members but the edited ones still hold the stored bytes."""
    def check(place, _):
        bytes_ = content() if callable(content) else content
        old = raw_members(place.outside("old.zip", bytes_))
        new = raw_members(os.path.join(place.docs, name))
        if list(old) != list(new):
            yield f"members {list(new)[:9]} instead of {list(old)[:9]}"
        for member in old:
            if (old[member] != new.get(member)) != (member in edited):
                yield f"{member!r} is {'as it was' if member in edited else 'changed'}"
    return check


# --- what a file is -----------------------------------------------------------------------------


def foreign_files():
    html = b"<html><body><table><tr><td>apple</td></tr></table></body></html>"
    random = os.urandom(4000)
    return {
        "blank.xlsx": b" ", "one byte.xlsx": b"P", "random.xlsx": b"\x01" + random,
        "signature only.xlsx": b"PK\3\4", "signature and noise.xlsx": b"PK\3\4" + random,
        "text.xlsx": b"apple,pear\r\n" * 100, "page.xlsx": html, "page.xlsm": html,
        "picture.xlsx": b"\x89PNG\r\n\x1a\n" + random, "zeros.xlsx": bytes(5000),
        "compound.csv": b"\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1" + bytes(4000),
    }


# --- lies ---------------------------------------------------------------------------------------


def unneeded_lies():
    return book({IMAGE: dict(crc=1, local=dict(name=IMAGE.upper().encode()))},
                others={"xl/secret.bin": b"x"})


def overlaps():
    kernel = Member("xl/kernel.bin", bytes(MIB))
    first = sum(len(m.header()) + len(m.stored) for m in members())
    same = [Member("xl/bomb%d.bin" % i, b"", central=dict(kernel.central, name=b"xl/bomb%d.bin" % i,
                                                          offset=first)) for i in range(200)]
    for copy in same:
        copy.stored, copy.header = b"", lambda: b""
    inside = Member("xl/inside.bin", b"", central=dict(offset=40, size=10, packed=10))
    quoting = [Member("xl/q%d.bin" % i, bytes(1000),
                      central=dict(packed=60000, size=60000000)) for i in range(50)]
    return {"same offset.xlsx": archive(members() + [kernel] + same),
            "inside another.xlsx": archive(members() + [inside]),
            "quoting.xlsx": archive(members() + quoting),
            "into the directory.xlsx": book({IMAGE: dict(packed=10 * MIB, size=10 * MIB)})}


# --- bombs --------------------------------------------------------------------------------------


def around(text, *pieces):
    """A part in which the pieces stand in place of the bar in the text."""
    head, tail = text.encode().split(b"|")
    return Packed((head, 1), *pieces, (tail, 1))


def padded_sheet(mebibytes):
    return around(sheet("<row r='1'><c r='A1' t='s'><v>0</v></c></row>|"), (b" " * MIB, mebibytes))


def bomb(size):
    return lambda: book(sheet=padded_sheet(size // MIB))


def string_bomb():
    return book(strings=around(strings("apple", "|"), (b"a" * MIB, 3 * 1024)))


def claimed(size):
    """The sheet claims to be so large, and is not."""
    return book({SHEET: dict(size=size)})


def over_in_sum():
    claims = {"xl/media/big%d.bin" % i: b"" for i in range(3)}
    return book({name: dict(size=3 * GIB // 2) for name in claims}, others=claims)


def wide_end(count, size, offset):
    """What stands between a directory and its end record, in numbers of 64 bits."""
    return struct.pack("<4sQ2H2I4Q", b"PK\6\6", 44, 45, 45, 0, 0, count, count, size, offset) + \
        struct.pack("<4sIQI", b"PK\6\7", 0, offset + size, 1)


def too_many():
    small = [Member("xl/media/%x" % i, method=0) for i in range(65536)]
    wide = archive(members() + small, count=0xFFFF)
    end = wide.rindex(b"PK\5\6")
    size, offset = struct.unpack("<2I", wide[end + 12:end + 20])
    return wide[:end] + wide_end(len(members()) + len(small), size, offset) + \
        end_record(0xFFFF, size, offset)


# --- odd but good -------------------------------------------------------------------------------


def nested():
    inner = book(sheet=padded_sheet(100))
    return book(others={"xl/embeddings/book.xlsx": inner, "xl/embeddings/a.zip": archive(
        [Member("b.zip", archive([Member("c.zip", inner)]))])})


def names_but_for_case():
    return archive(members() + [Member(name, strings("apple"))
                                for name in (STRINGS.upper(), STRINGS.replace("/", "\\"))])


def wild_names():
    names = ["../../outside", "/absolute", "..\\..\\outside too", "C:\\outside", "nul\0byte",
             "x" * 65000, "~", "$HOME", "xl/\x1b[2J", b"\xff\xfe"]
    return archive(members() + [Member(name, b"evil") for name in names])


def huge_part(place):
    """A stored part of 4 GiB and a byte, as a hole."""
    size = 4 * GIB + 1
    extra = struct.pack("<2H2Q", 1, 16, size, size)
    member = Member("xl/media/huge.bin", method=0, version=45, packed=0xFFFFFFFF, size=0xFFFFFFFF,
                    extra=extra)
    front = b"".join(m.header() + m.stored for m in members())
    directory, at = b"", 0
    for part in members():
        directory += part.record(at)
        at += len(part.header()) + len(part.stored)
    directory += member.record(at)
    position = at + len(member.header()) + size
    count = len(members()) + 1
    path = place.write("book.xlsx", front + member.header())
    with open(path, "r+b") as file:
        file.truncate(position)
        file.seek(position)
        file.write(directory + wide_end(count, len(directory), position) +
                   end_record(count, len(directory), 0xFFFFFFFF))


def nothing_escaped(place, _):
    found = set(os.listdir(place.path)) | set(os.listdir(os.path.dirname(place.path)))
    if any("outside" in name for name in found) or os.path.exists("/absolute"):
        yield f"a member was unpacked: {found}"


CHANGED = dict(code=0, status="changed")


def rows():
    large = dict(memory=48, is_large=True)
    return [
        Row("empty file", one("book.xlsx", b""), code=1, status="unchanged"),
        Row("not a workbook", many(foreign_files), words="recognizable"),
        Row("workbook named as text", one("book.csv", book()), **CHANGED,
            check=keeps(book(), "book.csv")),
        Row("junk in front", one("book.xlsx", b"#!/bin/sh\n" * 50 + book()), words="recognizable"),
        Row("wrong crc", one("book.xlsx", book({STRINGS: dict(crc=1)})),
            words=("checksum", STRINGS)),
        Row("lies about a part that is not needed", one("book.xlsx", unneeded_lies()), **CHANGED,
            check=keeps(unneeded_lies())),
        Row("members that overlap", many(overlaps), memory=48),
        Row("claims 3 GiB", one("book.xlsx", claimed(3 * GIB)), words="too large", memory=48),
        Row("claims more than deflate can", one("book.xlsx", claimed(200 * MIB)),
            words="too large", memory=48),
        Row("claims 5 GiB in sum", one("book.xlsx", over_in_sum), words="too large", memory=48),
        Row("65,542 members", one("book.xlsx", too_many), words="too many", **large),
        Row("sheet bomb of 3 GiB", one("book.xlsx", bomb(3 * GIB)), words="too large", **large),
        Row("string bomb of 3 GiB", one("book.xlsx", string_bomb), words="too large", **large),
        Row("bomb that hides its size", one("book.xlsx", lambda: book(
            {SHEET: dict(size=1000)}, sheet=padded_sheet(512))),
            words=SHEET, **large),
        Row("packed 1000 to 1", one("book.xlsx", bomb(512 * MIB)), words="too large", **large),
        Row("nested archives", one("book.xlsx", nested), **CHANGED, check=keeps(nested)),
        Row("names but for case, one of them exact", one("book.xlsx", names_but_for_case),
            **CHANGED, check=keeps(names_but_for_case)),
        Row("names that lead elsewhere", one("book.xlsx", wild_names()), **CHANGED,
            check=lambda place, result: [*keeps(wild_names())(place, result),
                                         *nothing_escaped(place, result)]),
        Row("unknown method of a part that is not needed",
            one("book.xlsx", book({IMAGE: dict(method=95)})), **CHANGED,
            check=keeps(book({IMAGE: dict(method=95)}))),
        Row("part of 4 GiB and a byte", huge_part, words="too large", memory=48),
    ]
