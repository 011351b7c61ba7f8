#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares the texts of binary workbooks that are not in cells with readers that are not ours.

    xls_texts.py --driver PROGRAM --container PROGRAM [--corpus FOLDER] [--only TEXT]
                 [--libreoffice]

For every binary workbook of the corpus: addresses must be those that xlrd sees, sections of headers
and footers and the texts of shapes those that a plain reading of the records gives. A word of each
scope is then replaced and put back. After the replacement every text must be the expected one to the
same readers and no other record may have changed; after putting back every record must be as it
was. With --libreoffice the replaced words must show there too. Without --corpus the environment
variable BRINDLE_CORPUS names the folder. Exit status 77 when the corpus or a reader is not there.
"""
import argparse
import collections
import os
import re
import struct
import subprocess
import sys
import tempfile

try:
    import olefile
    import xlrd
except ImportError:
    sys.exit(77)

MARK = 'Qvz'  # stands before the word that is replaced; no corpus file holds it
SCOPES = ('links', 'headers', 'footers', 'shapes')
CHANGING = {'links': {0x1B8}, 'headers': {0x14, 0x89C}, 'footers': {0x15, 0x89C}, 'shapes': set()}
# A path in the notation of a Mac, which xlrd takes for UTF-16.
NOT_FOR_XLRD = ('hyperlink_stress_test_2011.xls',)


def records(stream, at=0):
    while at + 4 <= len(stream):
        kind, size = struct.unpack_from('<HH', stream, at)
        yield kind, at, stream[at + 4:at + 4 + size]
        at += 4 + size


def sections(text):
    """Left, centre and right; in front of the first code it is centre."""
    found, side = {'L': '', 'C': '', 'R': ''}, 'C'
    for piece in re.findall(r'&"[^"]*"|&.|[^&]+|&', text, re.S):
        if re.fullmatch('&[LCR]', piece, re.I):
            side = piece[1].upper()
        else:
            found[side] += piece
    return list(found.values())


class Stream:
    """A plain reading of a workbook stream."""

    def __init__(self, stream):
        self.all = list(records(stream))
        version, = struct.unpack_from('<H', self.all[0][2])
        self.is_new = version == 0x600
        self.is_encrypted = any(kind == 0x2F for kind, _, _ in self.all[:10])
        page = [struct.unpack('<H', body)[0] for kind, _, body in self.all if kind == 0x42][:1]
        self.code_page = {1250: 'cp1250', 1251: 'cp1251', 1253: 'cp1253', 10000: 'mac_roman',
                          }.get(page[0] if page else 0, 'cp1252')
        self.index = {at: i for i, (_, at, _) in enumerate(self.all)}
        self.other = []  # everything but the texts, for comparison
        self.texts = {scope: [] for scope in SCOPES}
        self.in_texts = set()
        for kind, _, body in self.all:
            if kind == 0x85 and body[5] == 0:
                self.read_sheet(self.index[struct.unpack_from('<I', body)[0]])
        for i, (kind, _, body) in enumerate(self.all):
            if i not in self.in_texts:
                self.other.append((kind, body[4:] if kind == 0x85 else body))

    def read_sheet(self, i):
        depth, owner, pages, is_view = 0, None, {}, False
        while True:
            kind, _, body = self.all[i]
            depth += (kind == 0x809) - (kind == 0x0A)
            if depth == 0:
                break
            if kind in (0x1AA, 0x1AB):
                is_view = kind == 0x1AA
            if depth == 1 and kind in (0x14, 0x15) and not is_view:
                pages.setdefault(kind, self.string(body))
            elif depth == 1 and kind == 0x5D:
                owner, = struct.unpack_from('<H', body, 4)
            elif depth == 1 and kind == 0x1B6 and self.is_new:
                text = self.shape(i)
                if owner != 0x19:
                    self.texts['shapes'].append(text)
            i += 1
        for kind, scope in ((0x14, 'headers'), (0x15, 'footers')):
            self.texts[scope] += sections(pages.get(kind, ''))

    def string(self, body):
        if not body:
            return ''
        if not self.is_new:
            return body[1:1 + body[0]].decode(self.code_page)
        count, flags = struct.unpack_from('<HB', body) if len(body) > 2 else (0, 0)
        return body[3:].decode('utf-16le' if flags & 1 else 'latin-1')

    def shape(self, i):
        count, runs = struct.unpack_from('<HH', self.all[i][2], 10)
        text = ''
        self.in_texts.add(i)
        while len(text) < count:
            i += 1
            self.in_texts.add(i)
            body = self.all[i][2]
            text += body[1:].decode('utf-16le' if body[0] & 1 else 'latin-1')
        while count and runs > 0:
            i += 1
            self.in_texts.add(i)
            runs -= len(self.all[i][2])
        return text


def xlrd_addresses(path):
    """None when xlrd cannot read the file."""
    try:
        book = xlrd.open_workbook(path, formatting_info=True, logfile=open(os.devnull, 'w'))
    except Exception as error:  # whatever stops the other reader says nothing about us
        print(f'{os.path.basename(path)}: xlrd: {error!r}')
        return None
    addresses = []
    for sheet in book.sheets():
        for link in sheet.hyperlink_list:
            where = link.url_or_path or ''
            where = where.decode('cp1252') if isinstance(where, bytes) else where
            addresses.append(where.split('#')[0])
    return addresses


class Checker:
    def __init__(self, arguments):
        self.driver = os.path.abspath(arguments.driver)
        self.container = os.path.abspath(arguments.container)
        self.work = tempfile.TemporaryDirectory(prefix='xls texts ')
        self.faults = 0
        self.counted = collections.Counter()
        self.made = []

    def place(self, name):
        return os.path.join(self.work.name, name)

    def fault(self, name, text):
        self.faults += 1
        print(f'{name}: {text}', flush=True)

    def run(self, program, *words):
        done = subprocess.run([program, *words], capture_output=True, timeout=60, text=True)
        return done.stdout if done.returncode == 0 else None

    def ours(self, path):
        texts = {scope: [] for scope in SCOPES}
        for line in (self.run(self.driver, 'list', path) or '').splitlines():
            _, scope, text = line.split()
            texts[scope].append('' if text == '-' else bytes.fromhex(text).decode())
        return texts

    def check(self, name, path):
        with olefile.OleFileIO(path) as file:
            member = next((m for m in ('Workbook', 'Book') if file.exists(m)), None)
            content = file.openstream(member).read() if member else b''
        if not content or Stream(content).is_encrypted:
            return
        self.counted['files'] += 1
        old = self.place('old')
        with open(old, 'wb') as out:
            out.write(content)
        texts = self.ours(old)
        self.compare(name, path, Stream(content), texts, '')
        for scope in SCOPES:
            without_codes = re.sub(r'&"[^"]*"|&.', ' ', ' '.join(texts[scope]))
            words = re.findall(r'[A-Za-z]{4,}', without_codes)
            if words:
                self.there_and_back(name, path, member, scope, max(words, key=len))

    def compare(self, name, path, stream, texts, when):
        seen = dict(stream.texts, links=xlrd_addresses(path))
        for scope in SCOPES:
            if scope == 'links' and (seen[scope] is None or name.endswith(NOT_FOR_XLRD)):
                continue
            # Sections of pages that only some sheets have come behind the others.
            expected = seen[scope]
            self.counted[scope] += sum(text != '' for text in expected)
            if sorted(expected) != sorted(text for text in texts[scope] if text or expected):
                self.fault(name, f'{when}{scope}: {texts[scope]!r} instead of {expected!r}')

    def there_and_back(self, name, path, member, scope, word):
        old, new, back = (self.place(which) for which in ('old', 'new', 'back'))
        before = self.ours(old)
        refused = self.run(self.driver, 'replace', old, new, scope, word, MARK + word)
        if refused != '':
            self.fault(name, f'{scope}: {word!r}: {refused}')
            return
        expected = dict(before)
        expected[scope] = [re.sub(re.escape(word), MARK + word, text, flags=re.I)
                           for text in before[scope]]
        if self.ours(new) != expected:
            self.fault(name, f'{scope}: {word!r}: {self.ours(new)[scope]!r}')
        with open(old, 'rb') as one, open(new, 'rb') as other:
            streams = Stream(one.read()), Stream(other.read())
        if self.frame(streams[0], scope) != self.frame(streams[1], scope):
            self.fault(name, f'{scope}: {word!r}: other records changed')
        made, copy = (self.place(f'{kind} {len(self.made)}.xls') for kind in ('made', 'copy'))
        self.run(self.container, 'rewrite', path, made, 'replace', member, new)
        self.run(self.container, 'rewrite', path, copy)
        self.made.append((name, scope, word, copy, made))
        self.compare(name, made, streams[1], expected, f'{word!r} replaced: ')
        self.run(self.driver, 'replace', new, back, scope, MARK + word, word)
        with open(old, 'rb') as one, open(back, 'rb') as other:
            # Letter case aside, which a word that is put back brings along.
            if one.read().lower() != other.read().lower():
                self.fault(name, f'{scope}: {word!r}: not as it was')
        self.counted['words there and back'] += 1

    @staticmethod
    def frame(stream, scope):
        return [record for record in stream.other if record[0] not in CHANGING[scope]]

    def check_libreoffice(self):
        target = self.place('converted')
        profile = '-env:UserInstallation=file://' + self.place('profile').replace(' ', '%20')
        subprocess.run(['soffice', '--headless', profile, '--convert-to', 'fods', '--outdir',
                        target, *(path for *_, copy, made in self.made for path in (copy, made))],
                       capture_output=True, timeout=1200)
        for i, (name, scope, word, *_) in enumerate(self.made):
            shown = []
            for kind in ('copy', 'made'):
                result = os.path.join(target, f'{kind} {i}.fods')
                if not os.path.exists(result):
                    self.fault(name, f'{word!r}: LibreOffice cannot read the {kind}')
                    continue
                with open(result, encoding='utf-8') as file:
                    shown.append(len(re.findall(re.escape(word), file.read(), re.I)))
                    file.seek(0)
                    shown.append(file.read().count(MARK))
            print(f'{name}: {scope}: {word!r}: shown, marked, before and after: {shown}')
            if len(shown) < 4:
                continue
            # It need not show all texts, nor does the word stand in this scope alone.
            if shown[0] != shown[2] or (shown[0] > 0) != (shown[3] > shown[1]):
                self.fault(name, f'{scope}: {word!r}: does not show in LibreOffice')


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--driver', required=True)
    parser.add_argument('--container', required=True)
    parser.add_argument('--corpus', default=os.environ.get('BRINDLE_CORPUS'))
    parser.add_argument('--only', default='')
    parser.add_argument('--libreoffice', action='store_true')
    arguments = parser.parse_args()
    if not arguments.corpus:
        return 77
    checker = Checker(arguments)
    for folder in ('xls', 'xls-biff5', 'xlt'):
        for name in sorted(os.listdir(os.path.join(arguments.corpus, folder))):
            path = os.path.join(arguments.corpus, folder, name)
            if olefile.isOleFile(path) and arguments.only in path:
                checker.check(f'{folder}/{name}', path)
    if arguments.libreoffice:
        checker.check_libreoffice()
    print(', '.join(f'{count} {what}' for what, count in checker.counted.items()) +
          f', {checker.faults} faults')
    return 1 if checker.faults or not checker.counted['words there and back'] else 0


if __name__ == '__main__':
    sys.exit(main())
