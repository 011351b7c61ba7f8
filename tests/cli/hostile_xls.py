# SPDX-License-Identifier: MIT
"""Binary workbooks whose records are broken, lie, or are merely odd."""

import struct

from hostile_compound import keeps_streams
from hostile_container import CHANGED, many, one
from hostile_support import ANY, Row
from xls_books import (CELLS, CHART, EOF, SHEET, bof, book, exp, formula, label,
                       label_sst, parts, rec, shared, sheet, sst, stream, string)

ONE, TWO = struct.pack("<BH", 0x1E, 1), struct.pack("<BH", 0x1E, 2)
ADD, STR, CONCAT = b"\3", b"\x17\5\0apple", b"\x08"
DIMENSIONS = struct.pack("<2I2H2x", 0, 0xFFFFFFFF, 0, 0xFFFF)
RK_APPLE = struct.pack("<HI", 0, 0)


def books(**workbooks):
    """Files with these workbook streams; a blank stands for each underscore."""
    return {name.replace("_", " ") + ".xls": book(content) for name, content in workbooks.items()}


def cells(*records, **changes):
    """A workbook with these cells; the first two are the usual ones unless they are given."""
    return stream([sheet(*records)], **changes)


def with_cells(*records, **changes):
    return cells(*CELLS, *records, **changes)


# --- damage -------------------------------------------------------------------------------------


def damage():
    whole = stream()
    body = struct.pack("<3HI", 0, 0, 0, 0)
    return books(
        record_past_the_end=whole[:-4] + rec(0xFD, body, size=8000),
        record_of_the_globals_past_the_end=stream(first=rec(0x5C, b"", size=0xFFFF)),
        cell_without_a_place=with_cells(rec(0x203, b"\0\0\5")),
        string_cell_that_is_cut=with_cells(rec(0xFD, body[:7])),
        numbers_that_are_cut=with_cells(rec(0xBD, struct.pack("<2H", 2, 0) + RK_APPLE + b"x")),
        formula_longer_than_its_record=with_cells(formula(5, 0, ONE, size=0xFFFF)),
        cell_twice=with_cells(label(0, 0, "apple")),
        cell_twice_within_numbers=with_cells(
            rec(0xBD, struct.pack("<2H", 3, 0) + RK_APPLE * 3 + b"\2\0"), label(3, 1, "apple")),
        text_longer_than_its_record=with_cells(
            rec(0x204, struct.pack("<3H", 5, 0, 0) + string("apple", count=0x7FFF))),
        nothing_behind_the_globals=whole[:whole.index(EOF) + 4],
        sheet_in_the_middle_of_a_cell=stream(offsets=lambda true: [true[0] + 24]),
        sheet_at_the_end=stream(offsets=lambda true: [0xFFFFFFF0]),
        sheet_at_the_strings=stream(offsets=lambda true: [true[0] - 30]),
        two_sheets_at_one_place=stream([sheet(*CELLS)] * 2, offsets=lambda true: [true[0]] * 2),
        name_of_a_sheet_that_is_cut=stream(extra=rec(0x85, bytes(6) + b"\xff\0ab")))


def string_lies():
    text = sst("apple pie", "pear")
    return books(
        no_counts=stream(strings=rec(0xFC, b"\0\0\0")),
        text_of_64_K=stream(strings=sst("apple pie", unique=2, behind=string("x", count=0xFFFF))),
        runs_of_64_K=stream(strings=sst(
            "apple pie", unique=2, behind=struct.pack("<HBH", 1, 8, 0xFFFF) + b"x")),
        phonetics_of_4_G=stream(strings=sst(
            "apple pie", unique=2, behind=struct.pack("<HBI", 1, 4, 0xFFFFFFFF) + b"x")),
        cut_in_a_count=stream(strings=text[:-6] + rec(0x3C)),
        record_past_the_end=stream(strings=text[:2] + b"\xff\xff" + text[4:]))


def locked():
    """FILEPASS that lies, and one that another password made."""
    import xls_crypto  # large, and the memory of who starts a program is counted with it
    how = xls_crypto.CryptoApi()
    good = how.make("secret")
    names = {
        "empty": b"", "type 9": struct.pack("<H", 9) + bytes(60), "rc4 cut": good[:20],
        "minor 77": struct.pack("<3H", 1, 4, 77) + good[6:],
        "header of 4 GiB": good[:10] + b"\xff" * 4 + good[14:],
        "key of 4 G bits": good[:30] + b"\xff\xff\xff\x7f" + good[34:],
        "cipher 77": good[:22] + struct.pack("<I", 77) + good[26:],
        "salt of 4 GiB": good[:14] + good[14:].replace(b"\x10\0\0\0", b"\xff\xff\xff\x7f"),
    }
    return books(**{name: stream(first=rec(0x2F, body)) for name, body in names.items()})


def other_password():
    import xls_crypto
    ciphers = {"xor": xls_crypto.Xor(), "rc4": xls_crypto.Rc4(), "capi": xls_crypto.CryptoApi()}
    return books(**{name: how.run(stream(first=rec(0x2F, how.make("secret"))), encrypting=True)
                    for name, how in ciphers.items()})


# --- more than it seems -------------------------------------------------------------------------


def nested(count, has_end):
    """A sheet in a sheet in a sheet."""
    return lambda: book(stream([bof(SHEET) * count + b"".join(CELLS) +
                                EOF * (count if has_end else 0)]))


def many_sheets():
    """Sheets that have no end, each reaching over all that follow."""
    return book(stream([bof(SHEET)] * 20_000 + [sheet(*CELLS)]))


def token_bombs():
    """Formulas that are valid and grow, and some that are not valid at all."""
    deep = ONE + (b"\x15" * 7000)
    wide = ONE * 200 + struct.pack("<BBH", 0x42, 200, 4)
    tokens = {
        "itself": exp(5, 0), "nowhere": exp(4000, 77), "parentheses": deep,
        "minus": ONE + b"\x13" * 7000, "sum of sums": ONE + (TWO + ADD) * 2000,
        "wide": wide, "255 arguments": ONE + struct.pack("<BBH", 0x42, 255, 4),
        "operator without operands": ADD * 100, "nothing": b"",
        "text past the end": b"\x17\xff\0apple", "choose": b"\x19\4\xff\xff" + bytes(50),
        "memory": struct.pack("<BIH", 0x26, 0, 0xFFFF), "table": b"\2" + bytes(4),
        "array of 4 G": b"\x20" + bytes(7) + b"\xff\xff\xff", "name": b"\x23" + b"\xff" * 4,
        "sheet": b"\x3A\xff\xff" + bytes(4), "function": b"\x21\xff\xff", "unknown": b"\x7f" * 9,
        "natural language": b"\x18\x0b" + bytes(4),
    }
    return book(with_cells(*(formula(5 + i, 0, body) for i, body in enumerate(tokens.values()))))


def shared_loops():
    """Blocks that name each other, and blocks that lie about where they are."""
    return book(with_cells(
        formula(4, 0, exp(5, 0)), shared(4, 5, (0, 0), exp(5, 0)),
        formula(5, 0, exp(4, 0)), shared(4, 5, (0, 0), exp(4, 0)),
        formula(6, 0, exp(6, 0)), shared(0, 0xFFFF, (0, 255), ONE),
        formula(7, 0, exp(7, 0)), shared(7, 7, (0, 0), exp(7, 0), 0x221),
        formula(8, 0, exp(8, 0)), shared(9, 3, (7, 2), ONE + exp(8, 0) + ADD),
        formula(9, 0, exp(9, 0)), rec(0x236, struct.pack("<2H2B5H", 9, 9, 0, 0, 0xC, 9, 0, 9, 0)),
        formula(10, 0, exp(10, 0)), rec(0x4BC, b"\0\0"), rec(0x221), rec(0x236, b"x")))


def shared_bomb():
    """A long formula that thousands of cells share."""
    tokens = STR + (STR + CONCAT) * 800
    return book(stream([sheet(*CELLS, formula(1, 0, exp(1, 0)),
                              shared(1, 0xFFFF, (0, 0), tokens),
                              *(formula(row, 0, exp(1, 0)) for row in range(2, 3000)))]))


def block_bomb(count):
    """As many blocks as cells, none of them the host of its cell."""
    records = []
    for row in range(1, count):
        records += [formula(row, 0, exp(0, 0)), shared(row, row, (0, 0), ONE)]
    return lambda: book(with_cells(*records))


def pieces(count):
    """Shared strings in CONTINUE records without a byte in them."""
    return lambda: book(stream(strings=sst("apple pie", "pear") + rec(0x3C) * count))


def popular():
    """A string that a million cells use, and one that 30,000 use."""
    body = b"".join(label_sst(row, column, row < 120) for row in range(4120)
                    for column in range(250))
    return book(stream([bof(SHEET) + body + EOF], sst("pear", "apple pie")))


def long_texts():
    """A few texts of 32 K that many cells use."""
    return book(stream([sheet(*(label_sst(row, 0, row % 20) for row in range(5_000)))],
                       strings=sst_in_records(["apple " * 5000] * 20)))


def sst_in_records(texts):
    body = struct.pack("<2I", len(texts), len(texts))
    out = b""
    for text in texts:
        data = text.encode()
        out += rec(0x3C if out else 0xFC, body + struct.pack("<HB", len(data), 0) + data[:8000])
        body = b""
        for at in range(8000, len(data), 8000):
            out += rec(0x3C, b"\0" + data[at:at + 8000])
    return out


# --- odd but good -------------------------------------------------------------------------------


def split_strings():
    """Strings cut at every place that the format allows."""
    body = struct.pack("<2I", 3, 3) + string("apple pie") + string("pear")
    rich = struct.pack("<HBHI", 5, 0x0D, 1, 4) + "apple".encode("utf-16-le") + \
        struct.pack("<2H", 0, 1) + b"phon"
    text_at = len(body) + 9
    return {
        "between strings": parts(0xFC, body + rich, 8, 20, len(body)),
        "within a text": parts(0xFC, body + rich[:9] + rich[9:13] + b"\1" + rich[13:],
                               text_at + 4),
        "with other width": parts(0xFC, body + rich[:9] + rich[9:13] + b"\0ple" + rich[19:],
                                  text_at + 4),
        "between text and runs": parts(0xFC, body + rich, text_at + 10),
        "within the runs": parts(0xFC, body + rich, text_at + 12, text_at + 14 + 2),
    }


def odd_strings():
    return books(**{name: stream([sheet(*CELLS, label_sst(1, 0, 2))], strings)
                    for name, strings in split_strings().items()})


def odd_books():
    chart = bof(CHART) + rec(0x1001) + EOF
    return books(
        more_strings_than_are_used=stream(strings=sst("apple pie", "pear", total=7, unique=1)
                                          .replace(b"\1\0\0\0", b"\2\0\0\0")),
        four_billion_strings=stream(strings=sst("apple pie", "pear", unique=0xFFFFFFFF)),
        count_of_uses=stream(strings=sst("apple pie", "pear", total=0xFFFFFFFF)),
        dimensions_of_the_whole_sheet=cells(rec(0x200, DIMENSIONS), *CELLS),
        merged_everywhere=with_cells(rec(0xE5, struct.pack("<5H", 1, 0, 0xFFFF, 0, 0xFF))),
        cells_out_of_order=cells(*CELLS[::-1], label(40, 3, "apple"), label(2, 9, "apple")),
        strings_that_are_not_there=with_cells(label_sst(2, 0, 2), label_sst(3, 0, 0xFFFFFFFF)),
        formats_that_are_not_there=with_cells(
            rec(0x203, struct.pack("<3Hd", 2, 0, 0xFFFF, 1.5))),
        chart_in_the_sheet=cells(CELLS[0], chart, CELLS[1]),
        unknown_records=with_cells(rec(0xFFFF, b"apple"), rec(0, b""), rec(0x8FF, bytes(8000))),
        no_end_of_the_sheet=stream([bof(SHEET) + b"".join(CELLS)]),
        index_that_lies=stream([sheet(rec(0x20B, struct.pack("<4I2I", 0, 0, 9, 7, 1 << 31, 77)),
                                      *CELLS, rec(0xD7, struct.pack("<I2H", 1 << 31, 9, 9)))]),
        places_of_strings_that_lie=stream(strings=sst("apple pie", "pear") +
                                          rec(0xFF, b"\0\0" + b"\xff" * 80)),
        names_that_lie=stream(extra=rec(0x18, b"\xff" * 9) + rec(0x17, b"\xff" * 4) +
                              rec(0x1AE, b"\xff" * 4) + rec(0x23, b"\xff") + rec(0x41E, b"\xff")))


def counted(number):
    def check(_, result):
        if result.count != number:
            yield f"{result.count} places instead of {number}"
    return check


def rows():
    quick = dict(seconds=5)
    huge = dict(is_large=True, memory=256)
    return [
        Row("records: damage", many(damage), **quick),
        Row("records: shared strings that lie", many(string_lies), **quick),
        Row("records: encryption that lies", many(locked), **quick),
        Row("records: another password", many(other_password), words="password", **quick),
        Row("records: odd but good", many(odd_books), **CHANGED),
        Row("records: strings in pieces", many(odd_strings), **CHANGED),
        Row("records: token bombs", one("book.xls", token_bombs), **CHANGED,
            check=keeps_streams(token_bombs)),
        Row("records: shared formulas that loop", one("book.xls", shared_loops), **CHANGED),
        Row("records: a long formula in 3,000 cells", one("book.xls", shared_bomb), code={0, 2},
            status=None, refused=None, log=ANY, **huge),
        Row("records: 50,000 blocks", one("book.xls", block_bomb(50_000)), **CHANGED, **huge),
        Row("records: 500,000 empty pieces", one("book.xls", pieces(500_000)), **CHANGED, **huge),
        Row("records: a string of a million cells", one("book.xls", popular), **CHANGED, **huge,
            check=counted(30_000)),
        Row("records: long texts in 5,000 cells", one("book.xls", long_texts), **CHANGED,
            **huge),
        *(Row(f"records: 100,000 sheets in each other, {'closed' if has_end else 'open'}",
              one("book.xls", nested(100_000, has_end)), code={0, 1, 2}, status=None, log=ANY,
              memory=64, is_large=True) for has_end in (False, True)),
        Row("records: 20,000 sheets without an end", one("book.xls", many_sheets), code={0, 2},
            status=None, log=ANY, **huge),
    ]
