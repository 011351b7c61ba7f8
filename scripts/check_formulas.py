#!/usr/bin/env python3
"""Compares the formulas that we show for the binary workbooks of a corpus with those that xlrd and,
with --libreoffice, LibreOffice show, cell by cell, and prints how many are equal and in what the
others differ.

White space, letter case, quotes around sheet names and what the other program is known to spell in
a way of its own are evened out first. What differs then is counted by its reason where one of
REASONS applies; anything else fails the check.

Then compiles every formula from the text that we show, anew and with its tokens given, and compares
with what is stored: the text must be the same again, the classes and jumps of the tokens too.

Usage: check_formulas.py --driver PROGRAM [--corpus FOLDER] [--libreoffice] [--only TEXT]
Without --corpus the environment variable BRINDLE_CORPUS names the folder. Exit status 77 when a
reader or the corpus is missing.
"""
import argparse
import collections
import io
import os
import re
import struct
import subprocess
import sys
import tempfile
import urllib.parse
import warnings

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
try:
    import check_binary
    import olefile
    import openpyxl
    import xlrd
    import xlrd.formula
except ImportError as missing:
    print(f'skipped: {missing}')
    sys.exit(77)

GAVE_UP = '!'
FOLDERS = ('xls', 'xlt', 'xls-biff5', 'xls-biff2-4', 'encrypted')
TOKEN = re.compile(r'''(?P<text>"(?:[^"]|"")*") | (?P<sheet>'(?:[^']|\'\')*'!) | (?P<space>\s+) |
    (?P<number>(?<![\w.$])(?:\d+\.?\d*|\.\d+)(?:E[+-]?\d+)?(?![\w.:!])) |
    (?P<word>[\w.$\\?\[\]\#]+) | (?P<sign>.)''', re.X | re.S | re.I)

# Reader, pattern in our text, reason. The first that matches tells why the reader differs.
REASONS = (
    ('LibreOffice', r'\.XLS!', 'functions of other workbooks are broken there'),
    ('LibreOffice', r'#REF!|#VALUE!', 'errors are left out or simplified there'),
    ('LibreOffice', r'\[0\]!', 'workbook in front of a name is left out there'),
    ('LibreOffice', r'\b(JIS|YEN|PHONETIC|HYPGEOMDIST)\b', 'function of another name there'),
    ('LibreOffice', r'\(\(.*,.*\)\)', 'unions have another sign there'),
    ('xlrd', r'#REF!', 'deleted sheets are not shown there'),
    ('xlrd', r'\]|\.XLS!', 'other workbooks are not shown there'),
    ('xlrd', r'#VALUE!', 'errors stand in quotes there'),
    ('xlrd', r'\{', 'arrays are not shown there'),
)


class Formula:
    def __init__(self, line):
        sheet, row, column, self.kind, self.text = [unescaped(part) for part in line.split('\t')]
        self.sheet, self.cell = sheet, (int(row), int(column))
        self.is_shown = not self.text.startswith('!')


def unescaped(text):
    return re.sub(r'\\(.)', lambda m: {'n': '\n', 't': '\t'}.get(m[1], m[1]), text, flags=re.S)


def evened(text):
    """Without what may differ in spelling."""
    parts = []
    for match in TOKEN.finditer(text):
        part = match.group()
        if match.lastgroup == 'space':
            continue
        if match.lastgroup == 'text':
            parts.append(part)
            continue
        if match.lastgroup == 'sheet':
            part = part[1:-2].replace("''", "'") + '!'
        elif match.lastgroup == 'number':
            part = format(float(part), '.14g')
        elif match.lastgroup == 'word':
            part = re.sub(r'^(_xlfn\.|_xll\.)+', '', part, flags=re.I)
        # Whatever the number or path of another workbook.
        parts.append(re.sub(r'^.*\[.*\]', '[]', part.upper()))
    return re.sub(r'\b(TRUE|FALSE)\(\)', r'\1', ''.join(parts))


def blanks(text):
    return [len(part) for part in re.findall(r'\s+', text)]


def unnested(text):
    return re.sub(r'[()]|""', '', evened(text))


# --- readers: (sheet, row, column) -> text

def stream_of(path):
    if not olefile.isOleFile(path):
        with open(path, 'rb') as file:
            return file.read()
    with olefile.OleFileIO(path) as container:
        for wanted in ('workbook', 'book'):
            for name in container.listdir():
                if len(name) == 1 and name[0].lower() == wanted:
                    return container.openstream(name).read()
    return b''


def records(data, offset):
    """Records of one substream, those nested in it left out, with CONTINUE joined."""
    depth = 0
    while offset + 4 <= len(data):
        kind, size = struct.unpack_from('<HH', data, offset)
        body = data[offset + 4:offset + 4 + size]
        offset += 4 + size
        while data[offset:offset + 2] == b'\x3c\x00' and kind not in (0xEC, 0x5D, 0x1B6):
            size = struct.unpack_from('<H', data, offset + 2)[0]
            body += data[offset + 4:offset + 4 + size]
            offset += 4 + size
        if kind in (0x809, 0x409, 0x209, 0x009):
            depth += 1
        if kind == 0x0A:
            depth -= 1
            if depth == 0:
                return
        if depth == 1:
            yield kind, body


class XlrdReader:
    """xlrd reads the names and sheets of a book and the text of tokens; it is given the tokens."""
    name = 'xlrd'

    def __init__(self, _work):
        self.log = io.StringIO()

    def prepare(self, paths):
        pass

    def formulas(self, path):
        book = xlrd.open_workbook(path, logfile=self.log, formatting_info=False)
        data = stream_of(path)
        self.version = book.biff_version
        if self.version < 50:
            sheets = [('', 0)]
        else:
            sheets = []
            for kind, body in records(data, 0):
                if kind == 0x85:
                    name = xlrd.book.unpack_unicode(body, 6, lenlen=1) if self.version >= 80 else \
                        xlrd.book.unpack_string(body, 6, book.encoding, lenlen=1)
                    sheets.append((name, struct.unpack_from('<I', body)[0]))
        result = {}
        for name, offset in sheets:
            result.update(self.sheet(book, data, name, offset))
        return result

    def sheet(self, book, data, name, offset):
        own, hosts, last = {}, {}, None
        at = {20: 16, 21: 16, 30: 16, 40: 16, 45: 16}.get(self.version, 20)
        for kind, body in records(data, offset):
            if kind in (0x06, 0x206, 0x406):
                last = struct.unpack_from('<HH', body)
                own[last] = self.tokens(body, at)
            elif kind == 0x4BC:
                hosts[last] = (self.tokens(body, 8), xlrd.formula.FMLA_TYPE_SHARED)
            elif kind in (0x221, 0x21):
                hosts[last] = (self.tokens(body, 12 if self.version >= 50 else 8),
                               xlrd.formula.FMLA_TYPE_ARRAY)
        texts = {}
        for (row, column), tokens in own.items():
            kind = xlrd.formula.FMLA_TYPE_CELL
            if tokens[:1] == b'\x01':
                host = struct.unpack_from('<HH' if self.version >= 30 else '<HB', tokens, 1)
                if host not in hosts:
                    continue
                tokens, kind = hosts[host]
            if tokens[:1] in (b'', b'\x02'):
                continue
            texts[name, row + 1, column + 1] = self.text(book, tokens, kind, row, column)
        return texts

    @staticmethod
    def text(book, tokens, kind, row, column):
        try:
            text = xlrd.formula.decompile_formula(book, tokens, len(tokens), kind, row, column)
        except Exception:  # it gives up on arrays, cells beyond the edge and more
            text = None
        if text is None:
            return GAVE_UP
        text = re.sub(r'(?<=!)(\$?[A-Z]+\$?\d+):\1(?!\d)', r'\1', text)
        return re.sub(r'CALL_ADDIN\("?([^",)]*)"?,?', r'\1(', text)

    def tokens(self, body, at):
        if self.version < 30:
            return body[at + 1:at + 1 + body[at]]
        size = struct.unpack_from('<H', body, at)[0]
        return body[at + 2:at + 2 + size]


class LibreOfficeReader:
    name = 'LibreOffice'

    def __init__(self, work):
        self.work = work

    def prepare(self, paths):
        profile = urllib.parse.quote(os.path.join(self.work, 'profile'))
        subprocess.run(['soffice', f'-env:UserInstallation=file://{profile}', '--headless',
                        '--convert-to', 'xlsx', '--outdir', self.work, *paths],
                       capture_output=True, timeout=1800, check=False)

    def formulas(self, path):
        result = os.path.join(self.work, os.path.splitext(os.path.basename(path))[0] + '.xlsx')
        book = openpyxl.load_workbook(result)
        texts = {}
        for sheet in book.worksheets:
            for row in sheet.iter_rows():
                for cell in row:
                    text = getattr(cell.value, 'text', cell.value)
                    if cell.data_type == 'f' and isinstance(text, str):
                        texts[sheet.title, cell.row, cell.column] = text[1:]
        if len(book.worksheets) == 1:  # the older versions have no name for it
            texts.update({('', row, column): text for (_, row, column), text in texts.items()})
        return texts


class Compiled:
    """What the driver counts when it compiles the formulas of each workbook from their texts."""
    FAULTS = ('other text anew', 'other text patched', 'other text edited', 'other jumps')
    # Share of something that may differ: the tokens of other programs, which follow rules of their
    # own, and formulas that are stored although they break the rules for what can be entered.
    LIMITS = (('refused', 'formulas', 0.01), ('edited, refused', 'formulas', 0.01),
              ('other classes', 'tokens with a class', 0.003),
              ('other operands', 'tokens with a class', 0.001),
              ('other tokens', 'tokens with a class', 0.001),
              ('other number of tokens', 'formulas', 0.001),
              ('patched differently', 'formulas', 0.001),
              ('edited, other classes or jumps', 'formulas', 0.001))

    def __init__(self, driver):
        self.driver = driver
        self.counts = collections.Counter()
        self.details = []

    def check(self, path, password):
        run = subprocess.run([self.driver, 'compile', path, password], capture_output=True,
                             timeout=600, check=False)
        counts, _, details = run.stdout.decode(errors='replace').partition('\n\n')
        for line in counts.split('\n'):
            count, _, what = line.partition('\t')
            if what:
                self.counts[what] += int(count)
        if run.returncode != 0:
            self.counts['workbooks that fail'] += 1
            self.details.append(f'{path}: {run.stderr.decode()}')
        if details.strip():
            self.details.append(f'{path}:\n{details}')

    def faults(self):
        """The counts that are larger than they may be."""
        found = [what for what in self.FAULTS + ('workbooks that fail',) if self.counts[what]]
        return found + [what for what, of, share in self.LIMITS
                        if self.counts[what] > share * self.counts[of]]


class Checker:
    def __init__(self, driver, corpus, readers):
        self.driver, self.corpus, self.readers = driver, corpus, readers
        self.shown = collections.Counter()
        self.counts = {reader.name: collections.Counter() for reader in readers}
        self.faults = 0
        self.compiled = Compiled(driver)

    def check(self, name, password, plain):
        """`plain` is a copy in the clear, for the readers."""
        path = os.path.join(self.corpus, name)
        run = subprocess.run([self.driver, 'formulas', path, password], capture_output=True,
                             timeout=600, check=False)
        if run.returncode != 0:
            self.fault(name, run.stderr.decode())
            return
        self.compiled.check(path, password)
        ours = [Formula(line) for line in run.stdout.decode().split('\n') if line]
        for formula in ours:
            self.shown[formula.kind + ('' if formula.is_shown else ', not shown')] += 1
        for reader in self.readers if any(f.is_shown for f in ours) else ():
            try:
                theirs = reader.formulas(plain)
            except Exception as error:  # theirs to fail
                print(f'{name}: {reader.name} cannot read it: {error!r}')
                self.counts[reader.name]['workbooks it cannot read'] += 1
                continue
            for formula in ours:
                if formula.is_shown:
                    self.compare(name, reader.name, formula, theirs)

    def compare(self, name, reader, formula, theirs):
        counts = self.counts[reader]
        text = theirs.get((formula.sheet, *formula.cell))
        if text is None:
            counts['not shown there'] += 1
            return
        counts['compared'] += 1
        if evened(text) == evened(formula.text):
            counts['equal'] += 1
            counts['equal with white space'] += blanks(text) == blanks(formula.text)
            return
        if text == GAVE_UP:
            counts['given up there'] += 1
            return
        if reader == 'xlrd' and unnested(text) == unnested(formula.text):
            counts['equal but for parentheses, which it makes anew'] += 1
            return
        for who, pattern, reason in REASONS:
            if who == reader and re.search(pattern, formula.text, re.I):
                counts[reason] += 1
                return
        self.fault(name, f'{formula.sheet} {formula.cell}: {formula.text!r}, {reader}: {text!r}')

    def fault(self, name, text):
        self.faults += 1
        if self.faults <= 50:
            print(f'{name}: {text}')


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n\n')[0])
    parser.add_argument('--driver', required=True)
    parser.add_argument('--corpus', default=os.environ.get('BRINDLE_CORPUS'))
    parser.add_argument('--libreoffice', action='store_true')
    parser.add_argument('--only', default='')
    parser.add_argument('--details', action='store_true',
                        help='every formula that does not compile to what is stored')
    options = parser.parse_args()
    if not options.corpus:
        print('skipped: no corpus')
        sys.exit(77)
    warnings.simplefilter('ignore')
    with tempfile.TemporaryDirectory() as work:
        readers = [XlrdReader(work)] + ([LibreOfficeReader(work)] if options.libreoffice else [])
        checker = Checker(options.driver, options.corpus, readers)
        passwords = check_binary.passwords(options.corpus)
        for folder in FOLDERS:
            path = os.path.join(options.corpus, folder)
            files = sorted(os.listdir(path)) if os.path.isdir(path) else []
            names = [f'{folder}/{file}' for file in files
                     if options.only in file and (folder != 'encrypted'
                                                  or f'{folder}/{file}' in passwords)]
            plain = {name: os.path.join(work, os.path.basename(name)) for name in names}
            for name in names:
                check_binary.plain_copy(os.path.join(options.corpus, name),
                                        passwords.get(name, ''), plain[name])
            for reader in readers:
                reader.prepare(list(plain.values()))
            for name in names:
                checker.check(name, passwords.get(name, ''), plain[name])
    print('shown:', dict(checker.shown))
    for reader, counts in checker.counts.items():
        print(f'{reader}:', dict(counts))
    print(f'{checker.faults} differences without a reason')
    compiled = checker.compiled
    if options.details:
        print('\n'.join(compiled.details))
    print('compiled:', dict(sorted(compiled.counts.items())))
    faults = compiled.faults()
    if faults:
        print('too many:', ', '.join(faults))
    sys.exit(1 if checker.faults or faults or not compiled.counts['formulas'] else 0)


if __name__ == '__main__':
    main()
