# SPDX-License-Identifier: MIT
"""Binary workbooks whose document properties, links, headers and shapes are broken or lie."""

import struct

from hostile_compound import keeps_streams
from hostile_container import many, one
from hostile_support import ANY, Row
from hostile_xls import books, with_cells
from xls_books import Compound, bof, book, parts, rec, streams, string

SUMMARY = "\5SummaryInformation"
DOCUMENT = "\5DocumentSummaryInformation"
SUMMARY_ID = bytes.fromhex("e0859ff2f94f6810ab9108002b27b3d9")
DOCUMENT_ID = bytes.fromhex("02d5cdd59c2e1b10939708002b2cf9ae")
CUSTOM_ID = bytes.fromhex("05d5cdd59c2e1b10939708002b2cf9ae")
IN_ALL = ("replace", "--find", "apple", "--with", "fig", "--in", "all", "--json")


def text(value):
    return struct.pack("<2I", 30, len(value) + 1) + (value + b"\0").ljust(
        -(-(len(value) + 1) // 4) * 4, b"\0")


PAGE = struct.pack("<IHH", 2, 1252, 0)
TITLE = {1: PAGE, 2: text(b"apple")}


def section(values, size=None, count=None, places=None):
    at = 8 + 8 * len(values)
    table, body = b"", b""
    for number, value in values.items():
        table += struct.pack("<2I", number, (places or {}).get(number, at + len(body)))
        body += value
    return struct.pack("<2I", at + len(body) if size is None else size,
                       len(values) if count is None else count) + table + body


def property_set(*sections, count=None, offsets=None, order=0xFFFE):
    """Sections are pairs of format id and bytes."""
    head = struct.pack("<2HI16xI", order, 0, 0x20005, len(sections) if count is None else count)
    at = len(head) + 20 * len(sections)
    places, body = b"", b""
    for i, (kind, content) in enumerate(sections):
        places += kind + struct.pack("<I", at + len(body) if offsets is None else offsets[i])
        body += content
    return head + places + body


def titled(**lies):
    return property_set((SUMMARY_ID, section(TITLE, **lies)))


def custom(dictionary, values):
    return property_set((DOCUMENT_ID, section({1: PAGE})),
                        (CUSTOM_ID, section({0: dictionary, 1: PAGE, **values})))


def name_row(number, name, size=None):
    return struct.pack("<2I", number, len(name) + 1 if size is None else size) + name + b"\0"


FRUIT = struct.pack("<I", 1) + name_row(2, b"Fruit") + b"\0\0"
WHOLE = {SUMMARY: titled(), DOCUMENT: custom(FRUIT, {2: text(b"apple")})}
SUMMARIES = {
    "nothing": b"", "byte order": titled()[2:],
    "sections": property_set((SUMMARY_ID, section(TITLE)), count=0xFFFFFFFF),
    "section at itself": property_set((SUMMARY_ID, section(TITLE)), offsets=[0]),
    "section nowhere": property_set((SUMMARY_ID, section(TITLE)), offsets=[0xFFFFFFF0]),
    "section of 4 GiB with values behind": titled(places={2: 0xFFFFFFF0}),
    "count": titled(count=0xFFFFFFFF), "value in the table": titled(places={2: 4}),
    "text of 4 GiB": property_set((SUMMARY_ID, section(
        {1: PAGE, 2: struct.pack("<2I", 30, 0xFFFFFFFF) + b"apple\0\0\0"}))),
    "vector": property_set((SUMMARY_ID, section(
        {1: PAGE, 2: text(b"apple"), 3: struct.pack("<2I", 0x101E, 0xFFFFFFFF)}))),
    "vector in a vector": property_set((SUMMARY_ID, section(
        {1: PAGE, 2: text(b"apple"), 3: struct.pack("<2I", 0x100C, 5) +
         struct.pack("<I", 0x100C) * 400}))),
}
CUSTOMS = {
    "dictionary of 4 G names": custom(struct.pack("<I", 0xFFFFFFFF) + name_row(2, b"Fruit"),
                                      {2: text(b"apple")}),
    "name of 4 GiB": custom(struct.pack("<I", 1) + name_row(2, b"Fruit", 0xFFFFFFFF),
                            {2: text(b"apple")}),
    "unknown kind": custom(FRUIT, {2: struct.pack("<2I", 0x7777, 9)}),
    "text that is cut": custom(FRUIT, {2: text(b"apple")[:10]}),
}


def with_streams(files):
    return many(lambda: {name + ".xls": Compound(streams(others={**WHOLE, **changes})).bytes()
                         for name, changes in files().items()})


def property_lies():
    return {**{name: {SUMMARY: content} for name, content in SUMMARIES.items()},
            **{name: {DOCUMENT: content} for name, content in CUSTOMS.items()}}


def keeps_damaged(place, result):
    """What cannot be read stays, and all other streams but the workbook and the good set."""
    for name, changes in property_lies().items():
        content = Compound(streams(others={**WHOLE, **changes})).bytes()
        path, = changes
        good = DOCUMENT if path == SUMMARY else SUMMARY
        yield from (f"{name}: {fault}" for fault in keeps_streams(
            content, "Workbook", good, name=name + ".xls")(place, result))


# --- records of a sheet -------------------------------------------------------------------------


def with_each(records):
    return books(**{name: with_cells(record) for name, record in records.items()})


def text_object(count, text_, size=16):
    return rec(0x5D, struct.pack("<6H4x", 0x15, 0x12, 6, 1, 0x6011, 0)) + rec(
        0x1B6, struct.pack("<8xHHHI", 0, count, size, 0)) + rec(0x3C, b"\0" + text_) + rec(
        0x3C, struct.pack("<2H4x2H4x", 0, 0, len(text_), 0))


def link(body):
    return rec(0x1B8, struct.pack("<4H", 0, 0, 0, 0) +
               bytes.fromhex("d0c9ea79f9bace118c8200aa004ba90b") + body)


URL = bytes.fromhex("e0c9ea79f9bace118c8200aa004ba90b")


def record_lies():
    address = "http://apple/".encode("utf-16-le") + b"\0\0"
    return {
        "link without a body": link(b""),
        "link of another version": link(struct.pack("<2I", 77, 3)),
        "address of 4 GiB": link(struct.pack("<2I", 2, 3) + URL + b"\xff\xff\xff\xff" + address),
        "shown text of 4 GiB": link(struct.pack("<3I", 2, 0x17, 0xFFFFFFFF) + address),
        "moniker in a moniker": link(struct.pack("<2I", 2, 3) + bytes.fromhex(
            "0903000000000000c000000000000046") + struct.pack("<I", 0xFFFFFFFF) + b"x" * 300),
        "second header": rec(0x14, string("&Lapple")) * 2,
        "text without its text": text_object(20, b"apple")[:64],
        "text of 64 K": text_object(0xFFFF, b"apple"),
        "runs of 64 K": text_object(5, b"apple", size=0xFFFF),
        "object that is cut": rec(0x5D, b"\x15") + rec(0x1B6, b"\0" * 5),
        "drawing of 4 GiB": rec(0xEC, struct.pack("<2HI", 0xF, 0xF002, 0xFFFFFFFF)),
        "drawing in a drawing": parts(0xEC, b"".join(
            struct.pack("<2HI", 0xF, 0xF003, 0x7FFFFFFF) for _ in range(50_000)),
            *range(8000, 400_000, 8000)),
        "objects that do not end": bof(0x20) * 500,
    }


CUT_HEADERS = {"header longer than its record": rec(0x14, string("apple", count=0xFFFF)),
               "header of one byte": rec(0x15, b"\5")}


def many_texts(count):
    """As many links and shapes as fit."""
    body = link(struct.pack("<2I", 2, 3) + URL + struct.pack("<I", 26) +
                "http://pear/".encode("utf-16-le") + b"\0\0")
    return one("book.xls", lambda: book(with_cells(
        (body + text_object(4, b"pear")) * count, rec(0x14, string("&Lapple")))))


def rows():
    return [
        Row("properties that lie", with_streams(property_lies), status="changed", refused=None,
            log=ANY, call=IN_ALL, check=keeps_damaged),
        Row("texts that lie", many(lambda: with_each(record_lies())), code={0, 2},
            status="changed", refused=None, log=ANY, call=IN_ALL),
        Row("headers that are cut", many(with_each(CUT_HEADERS)), call=IN_ALL),
        Row("50,000 links and shapes", many_texts(50_000), code=0, status="changed", call=IN_ALL,
            is_large=True, memory=256),
    ]
