# SPDX-License-Identifier: MIT
"""Files that are no workbook, and archives that are broken, lie or are built to burst."""

import os
import struct
import zipfile
import zlib

from hostile_books import (IMAGE, SHEET, STRINGS, Member, Packed, archive, book,
                           deflate, end_record, members, parts, sheet, strings)
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


def other_packages():
    document = {"[Content_Types].xml":
                '<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">'
                '<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.'
                'relationships+xml"/><Override PartName="/word/document.xml" ContentType='
                '"application/vnd.openxmlformats-officedocument.wordprocessingml.document.main+xml"'
                '/></Types>',
                "_rels/.rels": parts()["_rels/.rels"].replace("xl/workbook", "word/document"),
                "word/document.xml": "<document>apple</document>"}
    java = {"META-INF/MANIFEST.MF": "Manifest-Version: 1.0\r\n", "a/B.class": b"\xca\xfe\xba\xbe"}
    pack = [archive([Member(name, data) for name, data in files.items()])
            for files in (document, java)]
    return {"document.xlsx": pack[0], "classes.xlsx": pack[1], "nothing.xlsx": archive([])}


def truncated():
    whole = book()
    return {"%05d.xlsx" % size: whole[:size]
            for size in [*range(1, len(whole), 97), *range(len(whole) - 60, len(whole))]}


# --- lies ---------------------------------------------------------------------------------------


def descriptor(data, signature=b"PK\7\x08", crc=None):
    return signature + struct.pack("<3I", zlib.crc32(data) if crc is None else crc,
                                   len(deflate(data)), len(data))


def with_descriptor(behind):
    """The sheet with its sums behind the data only."""
    return book({SHEET: dict(flags=8, local=dict(crc=0, packed=0, size=0), descriptor=behind)})


def contradictions():
    data = parts()[SHEET].encode()
    lies = {
        "crc": dict(crc=1), "local crc": dict(local=dict(crc=1)),
        "local name": dict(local=dict(name=SHEET.encode()[::-1])),
        "short local name": dict(local=dict(name=b"x")),
        "local method": dict(local=dict(method=0)), "local size": dict(local=dict(size=7)),
        "local packed size": dict(local=dict(packed=7)), "size": dict(size=len(data) - 1),
        "size more": dict(size=len(data) + 1), "packed size": dict(packed=len(deflate(data)) - 3),
        "flags": dict(local=dict(flags=1)), "offset": dict(central=dict(offset=3)),
        "far offset": dict(central=dict(offset=0xFFFFFF00)),
        "not deflated": dict(method=0, central=dict(method=8), local=dict(method=8)),
    }
    found = {name + ".xlsx": book({SHEET: lie}) for name, lie in lies.items()}
    found["wrong descriptor.xlsx"] = with_descriptor(descriptor(data, crc=5))
    found["no descriptor.xlsx"] = with_descriptor(b"")
    return found


def unneeded_lies():
    return book({IMAGE: dict(crc=1, local=dict(name=IMAGE.upper().encode()))},
                others={"xl/secret.bin": b"x"})


def ends():
    whole = book()
    directory = whole.rindex(b"PK\5\6")
    count, size, offset = struct.unpack("<H2I", whole[directory + 10:directory + 20])
    again = end_record(count, size, offset)
    return {
        "no end.xlsx": whole[:directory], "junk behind.xlsx": whole + b"junk",
        "two ends.xlsx": whole[:directory] + end_record(count, size, offset, comment=again),
        "two archives.xlsx": whole[:directory] + again + again + b"x",
        "disks.xlsx": archive(members(), disk=1), "count less.xlsx": archive(members(), count=3),
        "count more.xlsx": archive(members(), count=40),
        "directory beyond.xlsx": whole[:directory] + end_record(count, size, offset + 99),
        "directory size.xlsx": whole[:directory] + end_record(count, 0xFFFFFFF0, offset),
        "zip64 locator only.xlsx": whole[:directory] + b"PK\6\7" + bytes(16) +
        end_record(0xFFFF, 0xFFFFFFFF, 0xFFFFFFFF),
    }


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


def padded_sheet(pieces):
    """A sheet in whose middle the pieces stand."""
    head, tail = sheet("<row r='1'><c r='A1' t='s'><v>0</v></c></row>|").encode().split(b"|")
    return Packed((head, 1), *pieces, (tail, 1))


def bomb(size):
    return lambda: book(sheet=padded_sheet([(b" " * MIB, size // MIB)]))


def string_bomb():
    head, tail = strings("apple", "|").encode().split(b"|")
    return book(strings=Packed((head, 1), (b"a" * MIB, 3 * 1024), (tail, 1)))


def claimed(size, packed_size=None):
    """The sheet claims to be so large, and is not."""
    return book({SHEET: dict(size=size)}) if packed_size is None else \
        book({SHEET: dict(size=size, packed=packed_size)})


def over_in_sum():
    claims = {"xl/media/big%d.bin" % i: b"" for i in range(3)}
    return book({name: dict(size=3 * GIB // 2) for name in claims}, others=claims)


def too_many():
    small = [Member("xl/media/%x" % i, method=0) for i in range(65536)]
    wide = archive(members() + small, count=0xFFFF)
    end = wide.rindex(b"PK\5\6")
    size, offset = struct.unpack("<2I", wide[end + 12:end + 20])
    count = len(members()) + len(small)
    record = struct.pack("<4sQ2H2I4Q", b"PK\6\6", 44, 45, 45, 0, 0, count, count, size, offset)
    locator = struct.pack("<4sIQI", b"PK\6\7", 0, end, 1)
    return wide[:end] + record + locator + end_record(0xFFFF, size, offset)


# --- odd but good -------------------------------------------------------------------------------


def nested():
    inner = book(sheet=padded_sheet([(b" " * MIB, 100)]))
    return book(others={"xl/embeddings/book.xlsx": inner, "xl/embeddings/a.zip": archive(
        [Member("b.zip", archive([Member("c.zip", inner)]))])})


def wild_names():
    names = ["../../outside", "/absolute", "..\\..\\outside too", "C:\\outside", "nul\0byte",
             "x" * 65000, "~", "$HOME", "xl/\x1b[2J", b"\xff\xfe"]
    return archive(members() + [Member(name, b"evil") for name in names])


def zip64_book(place):
    with zipfile.ZipFile(os.path.join(place.docs, "book.xlsx"), "w",
                         zipfile.ZIP_DEFLATED) as package:
        for name, data in parts().items():
            with package.open(name, "w", force_zip64=True) as file:
                file.write(data if isinstance(data, bytes) else data.encode())


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
        file.write(directory + struct.pack("<4sQ2H2I4Q", b"PK\6\6", 44, 45, 45, 0, 0, count, count,
                                           len(directory), position))
        file.write(struct.pack("<4sIQI", b"PK\6\7", 0, position + len(directory), 1))
        file.write(end_record(count, len(directory), 0xFFFFFFFF))


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
        Row("other packages", many(other_packages)),
        Row("workbook named as text", one("book.csv", book()), **CHANGED,
            check=keeps(book(), "book.csv")),
        Row("workbook named as old workbook", one("book.xls", book()), **CHANGED,
            documents=("docs/book.xls",), check=keeps(book(), "book.xls")),
        Row("cut off", many(truncated), seconds=20),
        Row("ends of the archive", many(ends)),
        Row("junk in front", one("book.xlsx", b"#!/bin/sh\n" * 50 + book()), words="recognizable"),
        Row("comment", one("book.xlsx", archive(members(), comment=b"a comment")), **CHANGED,
            check=lambda place, _: [] if place.read("book.xlsx").endswith(b"a comment") else
            ["the comment is gone"]),
        Row("headers that contradict", many(contradictions)),
        Row("wrong crc", one("book.xlsx", book({STRINGS: dict(crc=1)})),
            words=("checksum", STRINGS)),
        Row("descriptor", one("book.xlsx", with_descriptor(descriptor(parts()[SHEET].encode()))),
            **CHANGED),
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
            {SHEET: dict(size=1000)}, sheet=padded_sheet([(b" " * MIB, 512)]))),
            words=SHEET, **large),
        Row("packed 1000 to 1", one("book.xlsx", bomb(512 * MIB)), words="too large", **large),
        Row("nested archives", one("book.xlsx", nested), **CHANGED, check=keeps(nested)),
        Row("a name twice", one("book.xlsx", archive(
            members() + [Member(SHEET, parts()[SHEET])])), words="twice"),
        Row("names but for case, one of them exact", one("book.xlsx", archive(
            members() + [Member(STRINGS.upper(), strings("apple")),
                         Member(STRINGS.replace("/", "\\"), strings("apple"))])), **CHANGED,
            check=keeps(lambda: archive(
                members() + [Member(STRINGS.upper(), strings("apple")),
                             Member(STRINGS.replace("/", "\\"), strings("apple"))]))),
        Row("names but for case, none of them exact", one("book.xlsx", archive(
            [Member(SHEET.upper(), parts()[SHEET]), Member(SHEET.title(), parts()[SHEET]),
             *members(sheet=None)])), words="but for case"),
        Row("names that lead elsewhere", one("book.xlsx", wild_names()), **CHANGED,
            check=lambda place, result: [*keeps(wild_names())(place, result),
                                         *nothing_escaped(place, result)]),
        Row("encrypted members", many({
            "weak.xlsx": book({SHEET: dict(flags=1)}),
            "masked.xlsx": book({STRINGS: dict(flags=1 << 13)}),
        }), words="encrypted"),
        Row("unknown methods", many(lambda: {
            "%d.xlsx" % method: book({SHEET: dict(method=method)}) for method in (1, 9, 12, 14, 99)
        }), words="unknown method"),
        Row("unknown method of a part that is not needed",
            one("book.xlsx", book({IMAGE: dict(method=95)})), **CHANGED,
            check=keeps(book({IMAGE: dict(method=95)}))),
        Row("zip64", zip64_book, **CHANGED),
        Row("part of 4 GiB and a byte", huge_part, words="too large", memory=48),
    ]
