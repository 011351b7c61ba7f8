#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares document properties of compound files, as we read and change them, with olefile.

    property_streams.py --driver PROGRAM [--corpus FOLDER] [--only TEXT]

For every compound file of the corpus: the texts of both collections must be what olefile's values
show; the streams with every value set to what it is must be the same bytes; with one text changed,
all other values must have their bytes and all other streams too. Without --corpus the environment
variable BRINDLE_CORPUS names the folder. Exit status 77 when the corpus or olefile is not there.
"""
import argparse
import datetime
import io
import os
import shutil
import struct
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [os.path.join(HERE, '../cli'), os.path.join(HERE, '../../scripts')]
try:
    import check_binary
    import olefile
    import xls_crypto
except ImportError:
    sys.exit(77)

STREAMS = '\x05SummaryInformation', '\x05DocumentSummaryInformation'
USER_DEFINED = bytes.fromhex('05d5cdd59c2e1b10939708002b2cf9ae')
# Stream and id of the built-in ones, in the order of the collection; 0 for the one with a name.
BUILT_IN = [(0, i) for i in (2, 3, 4, 5, 6, 7, 8, 9, 18, 11, 12, 13, 10, 14, 15, 16, 19)] + [
    (1, i) for i in (2, 3, 14, 15, 4, 5, 6, 7, 8, 9, 10, 0, 17, 26, 27, 28, 29)]
TEXTS = [i for i in range(34) if i in (*range(7), 17, 18, 19, 20, 28, 30, 31, 32, 33)]
DATES = 9, 10, 11
NOT_FOUND = 0  # ErrorKind
# Streams that a rewrite corrects, without a change to any value.
CORRECTED = {'CRLFR9.XLS': 'two properties share a value',
             'bug66319.xls': 'a section ends behind the stream'}
EMPTY_TIME = datetime.datetime(1601, 1, 1)


class Section:
    """Raw values by id, and what olefile makes of them."""

    def __init__(self, ole, stream, number):
        data = ole.openstream(stream).read()
        self.format, self.begin = struct.unpack_from('<16sI', data, 28 + 20 * number)
        size, count = struct.unpack_from('<II', data, self.begin)
        self.table = [struct.unpack_from('<II', data, self.begin + 8 + 8 * i)
                      for i in range(count)]
        starts = sorted({at for _, at in self.table}) + [size]
        self.raw = {i: data[self.begin + at:self.begin + starts[starts.index(at) + 1]]
                    for i, at in self.table[::-1] if at < size}
        # olefile reads the first section only.
        moved = data[:28] + data[28 + 20 * number:48 + 20 * number] + data[48:]
        original, ole.openstream = ole.openstream, lambda _: io.BytesIO(moved)
        self.values = ole.getproperties(stream, convert_time=True, no_conversion=[10])
        ole.openstream = original
        page = struct.unpack_from('<H', self.raw.get(1, b'\0' * 6), 4)[0]
        self.page = {0: 'cp1252', 1200: 'utf-16-le', 10000: 'mac_roman', 65001: 'utf-8'}.get(
            page, f'cp{page}')
        self.names = self.dictionary() if self.format == USER_DEFINED and 0 in self.raw else {}

    def dictionary(self):
        raw, at, names = self.raw[0], 4, {}
        for _ in range(struct.unpack_from('<I', raw)[0]):
            number, length = struct.unpack_from('<II', raw, at)
            length *= 2 if self.page == 'utf-16-le' else 1
            names[number] = raw[at + 8:at + 8 + length].decode(self.page).rstrip('\0')
            at += 8 + length + (-length % 4 if self.page == 'utf-16-le' else 0)
        return names

    def text(self, number):
        kind, value = struct.unpack_from('<H', self.raw[number])[0], self.values.get(number)
        if kind == 30 and self.page == 'utf-16-le':
            value = self.raw[number][8:8 + struct.unpack_from('<I', self.raw[number], 4)[0]]
        if kind in (30, 65):
            value = value.decode('utf-16-le' if kind == 65 else self.page)
        if kind in (30, 31, 65):
            return value.split('\0')[0]
        if kind == 64 and number == 10 and self.format != USER_DEFINED:
            return str(value // 60)
        if kind == 64:
            return local_text(value)
        if kind == 5:  # olefile has none of these
            return f'{struct.unpack_from("<d", self.raw[number], 4)[0]:.15G}'
        if kind == 3:  # as unsigned in olefile
            value = struct.unpack_from('<i', self.raw[number], 4)[0]
        return '' if value is None else str(value)


def local_text(moment):
    if moment == EMPTY_TIME:
        return None
    moment = moment.replace(tzinfo=datetime.timezone.utc).astimezone()
    text = f'{moment.month}/{moment.day}/{moment.year}'
    if moment.hour or moment.minute or moment.second:
        text += f' {(moment.hour + 11) % 12 + 1}:{moment:%M:%S %p}'
    return text


class Checker:
    def __init__(self, driver, corpus):
        self.driver, self.passwords = driver, check_binary.passwords(corpus)
        self.files = self.texts = self.faults = self.changes = self.refused = 0
        self.work = tempfile.TemporaryDirectory(prefix='property streams ')

    def place(self, name):
        return os.path.join(self.work.name, name)

    def fault(self, name, text):
        self.faults += 1
        print(f'{name}: {text}', flush=True)

    def run(self, *words):
        return subprocess.run([self.driver, *words], capture_output=True, timeout=60)

    def opened(self, path):
        """With the property sets of an encrypted workbook in their places."""
        ole = olefile.OleFileIO(path)
        if ole.exists('encryption'):
            key = xls_crypto.opened(ole.openstream('Workbook').read(),
                                    self.password or check_binary.DEFAULT_PASSWORD)
            sets, _ = key.read_properties(ole.openstream('encryption').read())
            contents = {name: content for name, content, *_ in sets}
            ole.exists = contents.__contains__
            ole.openstream = lambda name: io.BytesIO(contents[name])
        return ole

    def sections(self, path):
        ole = self.opened(path)
        found = []
        for stream in STREAMS:
            data = ole.openstream(stream).read() if ole.exists(stream) else b''
            count = struct.unpack_from('<I', data, 24)[0] if len(data) > 28 else 0
            found.append([Section(ole, stream, i) for i in range(min(count, 9))])
        return found

    def expected(self, sections):
        first = [next(iter(each), None) for each in sections]
        custom = next((each for each in sections[1] if each.format == USER_DEFINED), None)
        for index, (stream, number) in enumerate(BUILT_IN):
            section = first[stream] if number else custom
            if not number and custom:
                number = next((i for i, name in custom.names.items()
                               if name.upper() == '_PID_LINKBASE'), 0)
            known = section and number and number in section.raw
            text = section.text(number) if known else '' if index in TEXTS else None
            yield 'builtin', index, section if known else None, number, text
        ids = [i for i, name in sorted(custom.names.items()) if not name.startswith('_PID_')
               and i in custom.raw] if custom else []
        for index, number in enumerate(ids):
            yield 'custom', index, custom, number, custom.text(number) or ''

    def check(self, name, path):
        self.files += 1
        self.password = self.passwords.get(name, '')
        done = self.run('properties', path, self.password)
        if done.returncode:
            print(f'{name}: {done.stderr.decode().strip()}')
            return
        sections = self.sections(path)
        expected = list(self.expected(sections))
        ours = {}
        for line in done.stdout.decode().splitlines():
            collection, index, what, *text = line.split(' ')
            ours[collection, int(index)] = (bytes.fromhex(text[0]).decode() if what == 'text'
                                            else int(what))
        for collection, index, _, _, text in expected:
            self.texts += bool(text)
            got = ours.pop((collection, index), None)
            if got != (NOT_FOUND if text is None else text):
                self.fault(name, f'{collection} {index}: {got!r} instead of {text!r}')
        if ours:
            self.fault(name, f'not expected: {ours}')
        if any(sections):
            self.check_rebuilt(name, path)
        for row in expected:
            if row[2] and (row[0] == 'custom' or row[1] in TEXTS + list(DATES)):
                self.check_change(name, path, sections, row)

    def check_rebuilt(self, name, path):
        done = self.run('rebuild', path, self.password, self.work.name)
        if done.returncode:
            self.refused += 1
            print(f'{name}: not rebuilt: {done.stderr.decode().strip()}')
            return
        ole = olefile.OleFileIO(path)
        for number, stream in enumerate(STREAMS):
            with open(self.place(str(number)), 'rb') as file:
                if (os.path.basename(name) not in CORRECTED and ole.exists(stream)
                        and file.read() != ole.openstream(stream).read()):
                    self.fault(name, f'{stream[1:]} is not rebuilt as it was')

    def check_change(self, name, path, before, row):
        collection, index, section, number, _ = row
        is_date = collection == 'builtin' and index in DATES
        for text in ['2/29/2016 11:59:59 PM'] if is_date else ['new', '\u0416\u4e2d' * 40]:
            new = self.place('new')
            shutil.copyfile(path, new)
            done = self.run('set', new, self.password, collection, str(index), text)
            self.changes += 1
            if done.returncode or done.stdout:
                self.refused += 1
                print(f'{name}: {done.stdout.decode().strip()} {done.stderr.decode()}')
                continue
            after = self.sections(new)
            for old, now in zip(sum(before, []), sum(after, [])):
                is_changed = old is section
                if [i for i, _ in old.table] != [i for i, _ in now.table]:
                    self.fault(name, f'{collection} {index}: other properties')
                for i in old.raw:
                    if is_changed and i == number:
                        if now.text(i) != text:
                            self.fault(name, f'{collection} {index}: {now.text(i)!r}')
                    elif old.raw[i] != now.raw[i] or old.values.get(i) != now.values.get(i):
                        self.fault(name, f'{collection} {index}: property {i} is another')
            self.check_other_streams(name, path, new)

    def check_other_streams(self, name, path, new):
        old, now = olefile.OleFileIO(path), olefile.OleFileIO(new)
        # A second workbook for older programs goes.
        kept = [each for each in old.listdir()
                if each != ['Book'] or not old.exists('Workbook')]
        if kept != now.listdir():
            self.fault(name, 'other streams')
            return
        changed = [each for each in kept
                   if old.openstream(each).read() != now.openstream(each).read()]
        if len(changed) != 1 or changed[0][0] not in (*STREAMS, 'encryption'):
            self.fault(name, f'changed are {changed}')


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--driver', required=True)
    parser.add_argument('--corpus', default=os.environ.get('BRINDLE_CORPUS'))
    parser.add_argument('--only', default='')
    arguments = parser.parse_args()
    if not arguments.corpus:
        return 77
    checker = Checker(os.path.abspath(arguments.driver), arguments.corpus)
    for folder, _, names in sorted(os.walk(arguments.corpus)):
        for name in sorted(names):
            path = os.path.join(folder, name)
            if arguments.only in path and olefile.isOleFile(path):
                checker.check(os.path.relpath(path, arguments.corpus), path)
    print(f'{checker.files} files, {checker.texts} texts, {checker.changes} changes, '
          f'{checker.refused} refused, {checker.faults} faults')
    return 1 if checker.faults or not checker.texts else 0


if __name__ == '__main__':
    sys.exit(main())
