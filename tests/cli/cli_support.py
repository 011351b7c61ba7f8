# SPDX-License-Identifier: MIT
"""What the tests of the command line share: a folder for each test, calls of the built program,
and files made from scratch."""

import json
import os
import shutil
import struct
import subprocess
import tempfile
import unittest

TARVELLO = os.environ.get("TARVELLO", "tarvello")

SCOPES = ["cells", "hyperlinks", "headers", "footers", "shapes", "builtin", "custom"]


class Result:
    """The outcome of one call; `objects` are the lines of JSON output."""

    def __init__(self, code, out, err, seconds=0, memory=0):
        self.code, self.out, self.err = code, out, err
        self.seconds, self.memory = seconds, memory  # memory in MiB, at its peak
        self.objects = []

    def parsed(self):
        self.objects = [json.loads(line) for line in self.out.splitlines()]
        return self

    @property
    def documents(self):
        return [item for item in self.objects if item["type"] == "document"]

    @property
    def summary(self):
        assert self.objects[-1]["type"] == "summary", self.objects[-1]
        return self.objects[-1]

    @property
    def refusals(self):
        return [refusal for item in self.documents for refusal in item.get("refused", [])]

    @property
    def count(self):
        return sum(entry["count"] for item in self.documents for entry in item["entries"])


class CliTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.dir = tempfile.mkdtemp(prefix="tarvello test ")
        self.home = tempfile.mkdtemp(prefix="tarvello home ")
        self.environment = dict(os.environ, BRINDLE_HOME=self.home, XDG_CONFIG_HOME=self.home,
                                LC_ALL="C.UTF-8")

    def tearDown(self):
        shutil.rmtree(self.dir, ignore_errors=True)
        shutil.rmtree(self.home, ignore_errors=True)

    def start(self, *arguments, **options):
        options.setdefault("stdin", subprocess.DEVNULL)
        options.setdefault("stdout", subprocess.PIPE)
        options.setdefault("stderr", subprocess.PIPE)
        return subprocess.Popen([TARVELLO, *arguments], cwd=self.dir, env=self.environment,
                                **options)

    def call(self, *arguments, feed=None, **options):
        if feed is not None:
            options["stdin"] = subprocess.PIPE
        process = self.start(*arguments, **options)
        out, err = process.communicate(feed, timeout=120)
        result = Result(process.returncode, out, err)
        return result.parsed() if "--json" in arguments else result

    def path(self, name):
        if isinstance(name, bytes):
            return os.path.join(os.fsencode(self.dir), name)
        return os.path.join(self.dir, name)

    def write(self, name, content):
        path = self.path(name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(content if isinstance(content, bytes) else content.encode())
        return path

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def log(self):
        path = os.path.join(self.home, "Errors.Log")
        if not os.path.exists(path):
            return []
        with open(path, "rb") as file:
            return file.read().decode().splitlines()


def column(*values):
    """A text document with one value a line, quoted so that no value is taken for a number."""
    return "".join('"%s"\r\n' % value for value in values)


# --- parts of a workbook --------------------------------------------------------------------------

OFFICE = "http://schemas.openxmlformats.org/officeDocument/2006/relationships"
PACKAGE = "http://schemas.openxmlformats.org/package/2006/relationships"
MAIN = "http://schemas.openxmlformats.org/spreadsheetml/2006/main"


def relationships(*rows):
    items = "".join('<Relationship Id="%s" Type="%s" Target="%s"%s/>' % row for row in rows)
    return '<Relationships xmlns="%s">%s</Relationships>' % (PACKAGE, items)


# --- project files ---------------------------------------------------------------------------

def bag(values):
    """The bytes of a property bag, from names and values."""
    out = b"BPB\x01" + struct.pack("<I", len(values))
    for name, value in values.items():
        encoded = name.encode()
        out += struct.pack("<H", len(encoded)) + encoded
        if isinstance(value, bool):
            out += b"\x04" + bytes([value])
        elif isinstance(value, int):
            out += b"\x03" + struct.pack("<i", value)
        elif isinstance(value, bytes):
            out += b"\x05" + struct.pack("<I", len(value)) + value
        else:
            text = os.fsencode(value)
            out += b"\x01" + struct.pack("<I", len(text)) + text
    return out


def project(entries=(), **options):
    """A project file. Entries are (find, with, scope) rows."""
    values = {"BackupMode": False, "GetFilenamesFromTextFile": "", "LoadsearchFilePath": "",
              "IsGrid": True, "IncludeSubFolders": False, "IsScanFolder": True,
              "KeepTheOriginalFileDate": False, "Password": "",
              "SpreadsheetTypeToExamine": "*.csv;", "StartFolder": ""}
    assert set(options) <= set(values), options
    values.update(options)
    values["Count"] = len(entries)
    for number, (find, replacement, scope) in enumerate(entries, 1):
        values["Item%d" % number] = bag({"FindWhat": find, "ReplaceWith": replacement,
                                         "Look_In": scope, "MatchCase": False,
                                         "MatchEntireCellContents": False, "Key": "any"})
    content = bag(values)
    return struct.pack("<HHIi", 0x2011, 1, len(content), 0) + content
