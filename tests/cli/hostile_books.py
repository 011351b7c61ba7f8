# SPDX-License-Identifier: MIT
"""Zip archives in which every field can lie, and small workbooks to put into them."""

import os
import struct
import zlib

from cli_support import MAIN, OFFICE, relationships

SPREADSHEET = "application/vnd.openxmlformats-officedocument.spreadsheetml."
SHEET = "xl/worksheets/sheet1.xml"
STRINGS = "xl/sharedStrings.xml"
IMAGE = "xl/media/image1.png"


def deflate(data, level=6):
    packer = zlib.compressobj(level, zlib.DEFLATED, -15)
    return packer.compress(data) + packer.flush()


class Packed:
    """A part that is told in pieces and never stands in memory: (bytes, times) pairs."""

    def __init__(self, *pieces):
        self.size = self.crc = 0
        packed = []
        for data, times in pieces:
            packer = zlib.compressobj(9, zlib.DEFLATED, -15)
            # Blocks behind a full flush depend on nothing before them.
            packed.append((packer.compress(data) + packer.flush(zlib.Z_FULL_FLUSH)) * times)
            for _ in range(times):
                self.crc = zlib.crc32(data, self.crc)
            self.size += len(data) * times
        self.packed = b"".join(packed) + b"\x03\x00"


class Member:
    """`local` and `central` set fields of the headers against the truth: name, method, flags,
    crc, packed, size, extra, offset. `descriptor` are the bytes behind the data."""

    def __init__(self, name, data=b"", *, method=8, local=None, central=None, descriptor=b"",
                 **both):
        name = name.encode() if isinstance(name, str) else name
        data = data.encode() if isinstance(data, str) else data
        if isinstance(data, Packed):
            self.stored, size, crc = data.packed, data.size, data.crc
        else:
            self.stored = deflate(data) if method == 8 else data
            size, crc = len(data), zlib.crc32(data)
        fields = dict(name=name, method=method, flags=0, crc=crc, packed=len(self.stored),
                      size=size, extra=b"", version=20)
        fields.update(both)
        self.local = dict(fields, **(local or {}))
        self.central = dict(fields, **(central or {}))
        self.descriptor = descriptor

    def header(self):
        f = self.local
        return struct.pack("<4s5H3I2H", b"PK\3\4", f["version"], f["flags"], f["method"], 0, 0x21,
                           f["crc"], f["packed"], f["size"], len(f["name"]),
                           len(f["extra"])) + f["name"] + f["extra"]

    def record(self, offset):
        f = self.central
        return struct.pack("<4s6H3I5H2I", b"PK\1\2", f["version"], f["version"], f["flags"],
                           f["method"], 0, 0x21, f["crc"], f["packed"], f["size"], len(f["name"]),
                           len(f["extra"]), 0, 0, 0, 0, f.get("offset", offset)) + \
            f["name"] + f["extra"]


def end_record(count, size, offset, *, disk=0, comment=b""):
    return struct.pack("<4s4H2IH", b"PK\5\6", disk, disk, count, count, size, offset,
                       len(comment)) + comment


def archive(members, *, comment=b"", disk=0, count=None):
    """The bytes of an archive; a member may be bytes, which then stand there as they are."""
    out = bytearray()
    records = []
    for member in members:
        if isinstance(member, bytes):
            out += member
            continue
        records.append(member.record(len(out)))
        out += member.header() + member.stored + member.descriptor
    directory = b"".join(records)
    count = len(records) if count is None else count
    return bytes(out) + directory + end_record(count, len(directory), len(out), disk=disk,
                                               comment=comment)


# --- workbooks ----------------------------------------------------------------------------------

TYPES = ('<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">'
         '<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.'
         'relationships+xml"/><Default Extension="xml" ContentType="application/xml"/>'
         '<Default Extension="png" ContentType="image/png"/>'
         '<Override PartName="/xl/workbook.xml" ContentType="%ssheet.main+xml"/>'
         '<Override PartName="/%s" ContentType="%sworksheet+xml"/>'
         '<Override PartName="/%s" ContentType="%ssharedStrings+xml"/></Types>'
         % (SPREADSHEET, SHEET, SPREADSHEET, STRINGS, SPREADSHEET))

IMAGE_BYTES = os.urandom(3000)


def strings(*items, attributes=""):
    """The shared strings part; an item is the content of <t>, or of <si> when it has markup."""
    inner = "".join("<si>%s</si>" % (item if item.startswith("<") else "<t>%s</t>" % item)
                    for item in items)
    return '<sst xmlns="%s"%s>%s</sst>' % (MAIN, attributes, inner)


def sheet(rows, before="", behind=""):
    return ('<worksheet xmlns="%s" xmlns:r="%s">%s<sheetData>%s</sheetData>%s</worksheet>'
            % (MAIN, OFFICE, before, rows, behind))


def inline(reference, text):
    return '<c r="%s" t="inlineStr"><is><t>%s</t></is></c>' % (reference, text)


def row(number, *cells):
    return '<row r="%d">%s</row>' % (number, "".join(cells))


def parts(**changes):
    """A workbook with "apple pie" and "pear" in A1 and B1. `changes` exchanges, adds or, with
    None, leaves out parts: sheet, strings, workbook, types, rels, root, or others={name: bytes}.
    """
    others = changes.pop("others", {})
    default = {
        "types": TYPES,
        "root": relationships(("r1", OFFICE + "/officeDocument", "xl/workbook.xml", "")),
        "workbook": '<workbook xmlns="%s" xmlns:r="%s"><sheets><sheet name="First" sheetId="1" '
                    'r:id="r1"/></sheets></workbook>' % (MAIN, OFFICE),
        "rels": relationships(("r1", OFFICE + "/worksheet", "worksheets/sheet1.xml", ""),
                              ("r2", OFFICE + "/sharedStrings", "sharedStrings.xml", "")),
        "sheet": sheet(row(1, '<c r="A1" t="s"><v>0</v></c>', '<c r="B1" t="s"><v>1</v></c>')),
        "strings": strings("apple pie", "pear"),
    }
    unknown = set(changes) - set(default)
    assert not unknown, unknown
    default.update(changes)
    names = {"types": "[Content_Types].xml", "root": "_rels/.rels", "workbook": "xl/workbook.xml",
             "rels": "xl/_rels/workbook.xml.rels", "sheet": SHEET, "strings": STRINGS}
    found = {names[key]: value for key, value in default.items() if value is not None}
    found[IMAGE] = IMAGE_BYTES
    found.update(others)
    return found


def members(lies=None, **changes):
    """The members of a workbook; `lies` gives some of them fields of their own."""
    lies = lies or {}
    return [Member(name, data, **lies.get(name, {})) for name, data in parts(**changes).items()]


def book(lies=None, **changes):
    return archive(members(lies, **changes))
