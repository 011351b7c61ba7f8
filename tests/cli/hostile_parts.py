# SPDX-License-Identifier: MIT
"""Workbooks whose container is good and whose parts are broken, lie, or are merely odd."""

import codecs
import os
import zipfile

from cli_support import OFFICE, relationships
from hostile_books import SHEET, STRINGS, TYPES, book, inline, parts, row, sheet, strings
from hostile_container import CHANGED, MIB, around, keeps, many, one
from hostile_support import REPLACE, SEARCH, WITHOUT_LEAKS, CannotRun, Row, is_installed

UNCHANGED = dict(code=1, status="unchanged")
PARTS = {"sheet": SHEET, "strings": STRINGS, "workbook": "xl/workbook.xml",
         "types": "[Content_Types].xml", "rels": "xl/_rels/workbook.xml.rels",
         "root": "_rels/.rels"}
LAUGHS = '<!DOCTYPE x [<!ENTITY a0 "apple">%s]>' % "".join(
    '<!ENTITY a%d "%s">' % (i + 1, "&a%d;" % i * 10) for i in range(12))
PLAIN = sheet(row(1, inline("A1", "apple pie"), inline("B1", "pear")))


def member(name, part=STRINGS):
    """A reader of one part of a document."""
    def read(place):
        with zipfile.ZipFile(os.path.join(place.docs, name)) as package:
            return package.read(part).decode()
    return read


# --- what the scanner must refuse ---------------------------------------------------------------


def document_types():
    """Every part that is read, and every encoding for two of them, with entities that grow."""
    files = {}
    for part, name in PARTS.items():
        if part == "types":
            continue
        text = parts()[name]
        files[part + ".xlsx"] = book(**{part: LAUGHS + text.replace("apple", "&a12;")})
    for encoding, mark in (("utf-16-le", codecs.BOM_UTF16_LE), ("utf-16-be", codecs.BOM_UTF16_BE),
                           ("utf-16-le", b""), ("utf-8", codecs.BOM_UTF8)):
        for part in ("sheet", "strings"):
            data = mark + (LAUGHS + parts()[PARTS[part]]).encode(encoding)
            files["%s %s %d.xlsx" % (part, encoding, len(mark))] = book(**{part: data})
    quadratic = '<!DOCTYPE x [<!ENTITY a "%s">]>' % ("a" * 50000)
    files["quadratic.xlsx"] = book(strings=quadratic + strings("apple" + "&a;" * 10000))
    return files


def external_entities(place):
    secret = place.outside("secret.txt", "apple of the host")
    rows = {"entity": '<!DOCTYPE x [<!ENTITY e SYSTEM "file://%s">]>',
            "subset": '<!DOCTYPE x SYSTEM "file://%s">',
            "parameter": '<!DOCTYPE x [<!ENTITY %% p SYSTEM "file://%s"> %%p;]>',
            "address": '<!DOCTYPE x PUBLIC "p" "http://localhost:9/secret.dtd"><!-- %s -->'}
    for name, start in rows.items():
        for part in ("sheet", "strings", "workbook", "rels"):
            text = (start % secret) + parts()[PARTS[part]].replace("apple", "&e;")
            place.write("%s %s.xlsx" % (name, part), book(**{part: text}))
    place.write("style.xlsx", book(strings='<?xml-stylesheet href="file://%s"?>'
                                   '<!DOCTYPE x SYSTEM "%s">' % (secret, secret) + strings("a")))


def traced(place):
    """The run under a watch of what it opens and whom it calls."""
    if not is_installed("strace"):
        raise CannotRun("strace is not installed")
    trace = place.outside("trace")
    watch = ["strace", "-f", "-qq", "-o", trace, "-e",
             "trace=open,openat,socket,connect,execve,stat,newfstatat"]
    result = place.start(*REPLACE, "docs", prefix=watch).finish()
    if not os.path.exists(trace) or not os.path.getsize(trace):
        raise CannotRun("strace does not work here")
    return result


def stayed_home(place, _):
    with open(place.outside("trace"), errors="replace") as lines:
        for line in lines:
            if "secret" in line or "socket(" in line or "connect(" in line:
                yield f"looked elsewhere: {line.strip()}"


def ill_formed():
    """Damage before, within and behind the text that is looked for."""
    rows = {
        "cut off": PLAIN[:-30], "cut in a tag": PLAIN[:PLAIN.index("pear") + 7],
        "wrong end": PLAIN.replace("</is>", "</it>"), "no end": PLAIN.replace("</row>", ""),
        "two roots": PLAIN + PLAIN, "text behind": PLAIN + "apple", "text before": "apple" + PLAIN,
        "attribute twice": PLAIN.replace("<row ", '<row r="1" '),
        "no quotes": PLAIN.replace('r="A1"', "r=A1"), "lone ampersand": PLAIN.replace("pie", "&"),
        "unknown entity": PLAIN.replace("pie", "&pie;"), "zero": PLAIN.replace("pie", "&#0;"),
        "surrogate": PLAIN.replace("pie", "&#xD800;"), "less": PLAIN.replace("pie", "<"),
        "huge reference": PLAIN.replace("pie", "&#x110000;"),
        "NUL": PLAIN.replace("pie", "\0"), "bell": PLAIN.replace("pie", "\x07"),
        "NUL behind": PLAIN + "\0", "comment": PLAIN.replace("<row", "<!-- a -- b --><row"),
        "unclosed comment": PLAIN + "<!-- ", "unclosed CDATA": PLAIN.replace("pie", "<![CDATA["),
        "no namespace": PLAIN.replace("<row", "<x:row").replace("</row", "</x:row"),
        "empty": "", "blank": "  ", "only a declaration": '<?xml version="1.0"?>',
        "invalid UTF-8": PLAIN.encode().replace(b"pie", b"\xc3("),
        "overlong UTF-8": PLAIN.encode().replace(b"pie", b"\xc0\xaf"),
        "half UTF-8": PLAIN.encode().replace(b"pie", b"\xe2\x82"),
        "encoding that lies": '<?xml version="1.0" encoding="UTF-16"?>' + PLAIN,
        "unknown encoding": '<?xml version="1.0" encoding="EBCDIC-1"?>' + PLAIN,
        "odd UTF-16": codecs.BOM_UTF16_LE + PLAIN.encode("utf-16-le") + b"x",
        "half a pair": codecs.BOM_UTF16_LE + PLAIN.encode("utf-16-le").replace(
            "pie".encode("utf-16-le"), b"\x00\xd8"),
        "row zero": PLAIN.replace('<row r="1"', '<row r="0"'),
        "row beyond": PLAIN.replace('<row r="1"', '<row r="99999999999"'),
        "column beyond": PLAIN.replace('r="B1"', 'r="ZZZZ1"'),
    }
    return {name + ".xlsx": book(sheet=text) for name, text in rows.items()}


def ill_formed_strings():
    good = strings("apple", "pear")
    rows = {"cut off": good[:-9], "wrong end": good.replace("</t>", "</u>", 1),
            "unknown entity": good.replace("pear", "&pear;"), "NUL": good.replace("pear", "\0"),
            "invalid UTF-8": good.encode().replace(b"pear", b"\xff"), "text behind": good + "x",
            "empty": ""}
    return {name + ".xlsx": book(strings=text) for name, text in rows.items()}


# --- sizes --------------------------------------------------------------------------------------


def nested_elements():
    deep = (b"<a>" * 10000, 100), (b"</a>" * 10000, 100)
    behind = sheet(row(1, inline("A1", "apple")), behind="|")
    return {"behind.xlsx": book(sheet=around(behind, *deep)),
            "in a string.xlsx": book(strings=around(strings("apple", "<r>|</r>"), *deep))}


def many_attributes():
    names = b"".join(b' a%06d="1"' % i for i in range(1_000_000))
    return {"attributes.xlsx": book(sheet=around(sheet('<row r="1"|>' + inline("A1", "apple") +
                                                       "</row>"), (names, 1)))}


def long_attribute(mebibytes):
    noise = os.urandom(MIB // 2).hex().encode()
    text = sheet('<row r="1" x="|">' + inline("A1", "apple") + "</row>")
    return lambda: {"attribute.xlsx": book(sheet=around(text, (noise, mebibytes)))}


def claims():
    far = sheet(row(1, inline("A1", "apple")) + row(1048576, inline("XFD1048576", "apple")),
                before='<dimension ref="A1:XFD1048576"/>'
                       '<cols><col min="1" max="16384" width="9"/></cols>',
                behind='<mergeCells count="4294967295"><mergeCell ref="A1:XFD1048576"/>'
                       '</mergeCells><conditionalFormatting sqref="A1:XFD1048576"><cfRule '
                       'type="duplicateValues" priority="1"/></conditionalFormatting>')
    array = sheet(row(1, '<c r="A1"><f t="array" ref="A1:XFD1048576">1</f><v>1</v></c>') +
                  row(2, inline("A2", "pear")))
    shared = sheet(row(1, '<c r="A1"><f t="shared" si="4294967295" ref="A1:XFD1048576">B1</f></c>')
                   + row(2, inline("A2", "apple")))
    return far, array, shared


def used_by_a_million(place):
    cells = b"".join(b'<c r="%c1" t="s"><v>0</v></c>' % (65 + i) for i in range(10))
    rows_ = b"".join(b'<row r="%d">%s</row>' % (i, cells.replace(b'1"', b'%d"' % i))
                     for i in range(1, 100_001))
    place.write("book.xlsx", book(sheet=around(sheet("|"), (rows_, 1))))


def counted_to_the_end(place, result):
    counts = [entry["count"] for item in result.documents for entry in item["entries"]]
    if counts != [32767]:
        yield f"counts {counts} instead of [32767]"
    if result.refusals and result.refusals[0]["number"] != 6:
        yield f"refusal {result.refusals[0]}"


# --- odd references -----------------------------------------------------------------------------


def to_sheet(target, more=""):
    return relationships(("r1", OFFICE + "/worksheet", target, more),
                         ("r2", OFFICE + "/sharedStrings", "sharedStrings.xml", ""))


def references_that_do_not():
    two = parts()["xl/workbook.xml"]
    return {
        "no target.xlsx": book(rels=to_sheet("worksheets/gone.xml")),
        "outside.xlsx": book(rels=to_sheet("../../../../../etc/passwd")),
        "no relationship.xlsx": book(workbook=two.replace('r:id="r1"', 'r:id="r9"')),
        "root to nowhere.xlsx": book(root=parts()["_rels/.rels"].replace("workbook.xml", "x.xml")),
    }


def references_to_something_else():
    return {"itself.xlsx": book(rels=to_sheet("_rels/workbook.xml.rels")),
            "workbook is its sheet.xlsx": book(rels=to_sheet("workbook.xml")),
            "strings are its sheet.xlsx": book(rels=to_sheet("sharedStrings.xml"))}


def alternate_content():
    return sheet(row(1, '<c r="A1" t="s"><v>0</v></c>'), behind=(
        '<mc:AlternateContent xmlns:mc="http://schemas.openxmlformats.org/markup-compatibility/'
        '2006"><mc:Choice Requires="x14"><controls>apple</controls></mc:Choice></mc:'
        'AlternateContent><extLst><ext uri="{0}">apple</ext></extLst>'))


def rows():
    far, array, shared = claims()
    return [
        Row("document types", many(document_types), words="document type"),
        Row("external entities", external_entities, run=traced, check=stayed_home,
            words="document type", sanitized=WITHOUT_LEAKS),
        Row("ill-formed sheets", many(ill_formed)),
        Row("ill-formed strings", many(ill_formed_strings)),
        Row("a million nested elements", many(nested_elements), status=None, code={0, 2},
            memory=160, is_large=True),
        Row("a million attributes", many(many_attributes), status=None, code={0, 2}, memory=300,
            is_large=True),
        Row("attribute of 100 MiB", many(long_attribute(100)), status=None, code={0, 2},
            call=SEARCH, memory=300, is_large=True),
        Row("attribute of 20 MiB, replaced", many(long_attribute(20)), status=None, code={0, 2},
            memory=96, is_large=True),
        Row("claims of a whole sheet", one("book.xlsx", book(sheet=far)), **CHANGED, memory=32,
            check=lambda place, result: [] if result.count == 2 else [f"count {result.count}"]),
        Row("array over a whole sheet", one("book.xlsx", book(sheet=array)), **UNCHANGED,
            memory=32),
        Row("shared formula over a whole sheet", one("book.xlsx", book(sheet=shared)), **CHANGED,
            memory=32),
        Row("string counts that lie", one("book.xlsx", book(strings=strings(
            "apple", "pear", attributes=' count="4294967295" uniqueCount="18446744073709551616"'))),
            **CHANGED, memory=32),
        Row("string out of range", one("book.xlsx", book(sheet=sheet(row(
            1, inline("A1", "apple"), '<c r="B1" t="s"><v>99999</v></c>',
            '<c r="C1" t="s"><v>-1</v></c>', '<c r="D1" t="s"><v>18446744073709551617</v></c>')))),
            **CHANGED, check=lambda place, _: [] if ">99999<" in member("book.xlsx", SHEET)(place)
            else ["the bad cell was changed"]),
        Row("strings part missing", one("book.xlsx", book(
            strings=None, rels=to_sheet("worksheets/sheet1.xml"),
            types=TYPES.replace('<Override PartName="/%s"' % STRINGS, '<Override PartName="/x"'),
            sheet=sheet(row(1, inline("A1", "apple"), '<c r="B1" t="s"><v>0</v></c>')))),
            **CHANGED),
        Row("string of a million cells", used_by_a_million, code=2, status="changed", refused=1,
            log=1, words="overflow", check=counted_to_the_end, memory=256, is_large=True),
        Row("references that lead nowhere", many(references_that_do_not)),
        Row("references to something else", many(references_to_something_else), **UNCHANGED),
        Row("content types of no use", one("book.xlsx", book(types=LAUGHS + TYPES[:-9])), **CHANGED,
            check=keeps(book(types=LAUGHS + TYPES[:-9]))),
        Row("sheet elsewhere", one("book.xlsx", book(
            rels=to_sheet("http://localhost:9/sheet1.xml", ' TargetMode="External"')))),
        Row("alternate content", one("book.xlsx", book(sheet=alternate_content())), **CHANGED,
            check=keeps(lambda: book(sheet=alternate_content()))),
        Row("text not UTF-8", one("book.xlsx", book()), is_json=False, log=0,
            call=(b"replace", b"--find", b"apple", b"--with", b"caf\xe9", b"--json")),
    ]
