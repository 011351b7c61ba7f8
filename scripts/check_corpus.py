#!/usr/bin/env python3
"""Runs the command line over a corpus of real workbooks and checks what it did with programs
that are not ours.

For every workbook: a search must count what truth.json says; a replacement without a match must
leave bytes and times alone; a word that occurs is replaced and put back, and after each step the
members that need not change must have identical compressed bytes, the package must bring up no
repair prompt that it did not bring up before, and openpyxl (with --libreoffice LibreOffice too)
must see exactly the expected texts. The texts of shapes and document properties are counted,
replaced and put back in the same way.

Usage: check_corpus.py --tarvello PROGRAM [--corpus FOLDER] [--libreoffice] [--only TEXT]
Without --corpus the environment variable BRINDLE_CORPUS names the folder.
"""
import argparse
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import warnings
import urllib.parse
import zipfile
import xml.etree.ElementTree as ElementTree

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import check_binary  # noqa: E402
import check_package  # noqa: E402

PACKAGES = ('xlsx', 'xlsm', 'xltx', 'xltm')
BINARIES = ('xls', 'xlt', 'xls-biff5', 'xls-biff2-4')
# By their names in truth.json: the scope, and the parts of a package that may change.
OBJECTS = {'shapes': ('shapes', 'drawings/'), 'controls': ('shapes', 'drawings/'),
           'builtin': ('builtin', 'docProps/'), 'custom': ('custom', 'docProps/')}
MARK = 'Qvz'  # stands before the word found; no corpus file holds it


class Checker:
    def __init__(self, arguments):
        self.program = arguments.tarvello
        self.corpus = arguments.corpus
        self.faults = []
        self.work = tempfile.mkdtemp(prefix='corpus check ')
        self.environment = dict(os.environ, BRINDLE_HOME=os.path.join(self.work, 'home'))
        os.mkdir(self.environment['BRINDLE_HOME'])
        self.converted = []
        self.counted = self.replaced = self.cells_compared = self.texts_compared = 0
        self.pivot_texts = 0

    def fault(self, name, text):
        print(f'{name}: {text}')
        self.faults.append((name, text))

    def run(self, *arguments):
        done = subprocess.run([self.program, *arguments, '--json'], capture_output=True,
                              env=self.environment, timeout=60)
        return done.returncode, [json.loads(line) for line in done.stdout.splitlines()]

    # --- counts ---------------------------------------------------------------------------
    def check_counts(self, name, truth):
        path = os.path.join(self.corpus, name)
        for needle in truth.get('needles', []):
            status, lines = self.run('search', '--find', needle['needle'], path)
            document = lines[0]
            if document['status'] == 'failed':
                self.fault(name, f'cannot be searched: {document["error"]}')
                return
            count = sum(entry['count'] for entry in document['entries'])
            if 'cells' not in needle:
                print(f'{name}: {needle["needle"]!r}: {count}; readers disagree: '
                      f'{json.dumps(parts_of(needle))}')
            elif count != needle['cells'] + dates_seen_as_text(needle, count):
                self.fault(name, f'{needle["needle"]!r}: {count}, expected {needle["cells"]} of '
                                 f'{json.dumps(parts_of(needle))}')
            else:
                self.counted += 1
        if not truth.get('needles'):
            status, lines = self.run('search', '--find', 'no such text', path)
            if lines[0]['status'] == 'failed':
                self.fault(name, f'cannot be searched: {lines[0]["error"]}')

    # --- no match -------------------------------------------------------------------------
    def check_untouched(self, name):
        copy = self.copy(name)
        before = signature(copy)
        self.run('replace', '--find', 'no such text 4711', '--with', 'x', copy)
        if signature(copy) != before:
            self.fault(name, 'changed although nothing matched')
        os.remove(copy)

    # --- there and back -------------------------------------------------------------------
    def check_replacement(self, name, truth):
        words = [n['needle'] for n in truth.get('needles', [])
                 if n.get('kind') == 'word' and n['string_cells'].get('value', 0) > 0]
        for word in words[:2]:
            copy = self.copy(name)
            old, new = beside(copy, 'old'), beside(copy, 'new')
            shutil.copy2(copy, old)
            status, lines = self.run('replace', '--find', word, '--with', MARK + word, copy)
            document = lines[0]
            if document['status'] == 'failed' or document.get('refused'):
                print(f'{name}: {word!r}: {document.get("error") or document["refused"][0]}')
                continue
            self.compare(name, old, copy, word)
            shutil.copy2(copy, new)
            self.converted.append((name, old, new, word))
            self.run('replace', '--find', MARK + word, '--with', word, copy)
            self.compare_members(name, old, copy, reader_of(copy).cells_change)
            self.replaced += 1

    # --- shapes and document properties -----------------------------------------------------
    def check_objects(self, name, truth):
        path = os.path.join(self.corpus, name)
        for kind, (scope, may_change) in OBJECTS.items():
            for needle in truth.get(kind, {}).get('needles', []):
                known = needle['matches'].get('value')
                count = self.count(scope, needle['needle'], path)
                # The truth knows six of the built-in properties.
                if known is not None and (count < known or (count > known and kind != 'builtin')):
                    self.fault(name, f'{needle["needle"]!r} in {kind}: {count}, not {known}')
                if count:
                    self.check_object_change(name, scope, needle['needle'], count, may_change)
                self.counted += known is not None

    def check_object_change(self, name, scope, word, count, may_change):
        copy = self.copy(name)
        old = beside(copy, 'old')
        shutil.copy2(copy, old)
        _, lines = self.run('replace', '--find', word, '--with', MARK + word, '--in', scope, copy)
        if lines[0].get('error'):
            print(f'{name}: {word!r} in {scope}: {lines[0]["error"]}')
        elif not lines[0].get('refused'):
            if self.count(scope, MARK + word, copy) != count:
                self.fault(name, f'{word!r} in {scope}: not found again where it was replaced')
            self.run('replace', '--find', MARK + word, '--with', word, '--in', scope, copy)
            self.replaced += 1
        reader = reader_of(copy)
        if reader.is_binary:
            may_change = BINARY_OBJECTS[scope]
        self.compare_members(name, old, copy, may_change)
        for fault in set(reader.faults(copy)) - set(reader.faults(old)):
            self.fault(name, f'{word!r} in {scope}: {fault}')

    def count(self, scope, word, path):
        _, lines = self.run('search', '--find', word, '--in', scope, path)
        return sum(entry['count'] for entry in lines[0]['entries'])

    def copy(self, name):
        folder = tempfile.mkdtemp(dir=self.work)
        target = os.path.join(folder, os.path.basename(name))
        shutil.copy2(os.path.join(self.corpus, name), target)
        os.chmod(target, 0o644)
        return target

    def compare(self, name, old, new, word):
        reader = reader_of(new)
        self.compare_members(name, old, new, reader.cells_change)
        for fault in set(reader.faults(new)) - set(reader.faults(old)):
            self.fault(name, f'{word!r}: {fault}')
        before, after = reader.texts(old), reader.texts(new)
        if before is None:
            return
        if after is None:
            self.fault(name, f'{word!r}: {reader.texts.__name__} cannot read the result')
            return
        for place, text in before.items():
            expected, actual = expected_text(text, word), after.get(place)
            self.cells_compared += 1
            if str(expected).casefold() != str(actual).casefold():
                self.fault(name, f'{word!r}: {place}: {actual!r} instead of {expected!r}')
        for place in after.keys() - before.keys():
            self.fault(name, f'{word!r}: {place} appeared')

    def compare_members(self, name, old, new, may_change):
        reader = reader_of(new)
        before, after = reader.members(old), reader.members(new)
        if [m for m in before if m in after or not re.search(may_change, m, re.I)] != list(after):
            self.fault(name, 'members were added, lost or reordered')
        for member in after:
            if before.get(member) != after[member] and not re.search(may_change, member, re.I):
                self.fault(name, f'{member} changed')

    # --- LibreOffice ----------------------------------------------------------------------
    def check_libreoffice(self):
        source, target = os.path.join(self.work, 'in'), os.path.join(self.work, 'out')
        os.mkdir(source)
        pairs = []
        for number, (name, old, new, word) in enumerate(self.converted):
            pair = [f'{number}-old' + os.path.splitext(old)[1],
                    f'{number}-new' + os.path.splitext(new)[1]]
            shutil.copy(old, os.path.join(source, pair[0]))
            shutil.copy(new, os.path.join(source, pair[1]))
            pairs.append((name, word, pair))
        profile = urllib.parse.quote(os.path.join(self.work, 'profile'))
        files = [os.path.join(source, file) for _, _, pair in pairs for file in pair]
        for start in range(0, len(files), 20):
            subprocess.run(['soffice', '--headless', f'-env:UserInstallation=file://{profile}',
                            '--convert-to', 'fods', '--outdir', target,
                            *files[start:start + 20]], capture_output=True, timeout=1200)
        for name, word, pair in pairs:
            before, after = (libreoffice_texts(os.path.join(target, file)) for file in pair)
            if before is None:
                print(f'{name}: LibreOffice cannot read it')
            elif after is None:
                self.fault(name, f'{word!r}: LibreOffice cannot read the result')
            else:
                self.compare_texts(name, word, before, after)

    def compare_texts(self, name, word, before, after):
        # A pivot table is worked out anew from its source, and sorted, when LibreOffice opens it.
        pivots = before[1] + after[1]
        for place in sorted(before[0].keys() | after[0].keys()):
            if is_inside(place, pivots):
                self.pivot_texts += 1
                continue
            self.texts_compared += 1
            want, have = expected_text(before[0].get(place), word), after[0].get(place)
            if want is None or have is None or want.casefold() != have.casefold():
                self.fault(name, f'{word!r}: LibreOffice sees {have!r} instead of {want!r}')


class PackageReader:
    is_binary = False
    cells_change = (r'sharedStrings|worksheets/|workbook\.xml$|calcChain|styles\.xml$|tables/|'
                    r'\[Content_Types\]|workbook\.xml\.rels$|sheets/')

    def __init__(self):
        self.members, self.faults, self.texts = raw_members, check_package.faults, openpyxl_texts


class BinaryReader:
    is_binary = True
    cells_change = r'^(Workbook|Book)$'

    def __init__(self):
        self.members, self.faults, self.texts = (check_binary.members, check_binary.faults,
                                                 check_binary.texts)


# Streams that a scope may change.
BINARY_OBJECTS = {'shapes': BinaryReader.cells_change,
                  'builtin': r'^\x05(Document)?SummaryInformation$|^encryption$',
                  'custom': r'^\x05DocumentSummaryInformation$|^encryption$'}


def reader_of(path):
    with open(path, 'rb') as file:
        return PackageReader() if file.read(2) == b'PK' else BinaryReader()


def beside(path, folder):
    target = os.path.join(os.path.dirname(path), folder)
    os.mkdir(target)
    return os.path.join(target, os.path.basename(path))


def dates_seen_as_text(needle, count):
    """The sum in truth.json leaves out date cells where readers see them differently; a search
    meets the text that is shown for editing, so one reader's number of those may come on top."""
    dates = needle.get('date_or_percent_cells', {})
    more = count - needle['cells']
    return more if dates.get('status') == 'disputed' and more in dates['by'].values() else 0


def parts_of(needle):
    return {key: value.get('value', value.get('by')) for key, value in needle.items()
            if isinstance(value, dict)}


def signature(path):
    status = os.stat(path)
    with open(path, 'rb') as file:
        return file.read(), status.st_mtime_ns, status.st_ino, status.st_mode


def raw_members(path):
    members = {}
    with zipfile.ZipFile(path) as archive, open(path, 'rb') as file:
        for info in archive.infolist():
            file.seek(info.header_offset + 26)
            name_length, extra_length = (int.from_bytes(file.read(2), 'little') for _ in range(2))
            file.seek(info.header_offset + 30 + name_length + extra_length)
            members[info.filename] = (info.compress_type, info.date_time,
                                      file.read(info.compress_size))
    return members


def expected_text(text, word):
    if not isinstance(text, str):
        return text
    return re.sub(re.escape(word), lambda m: MARK + word, text, flags=re.I)


def openpyxl_texts(path):
    """Cells by sheet and place; None when openpyxl cannot read the file."""
    import openpyxl
    texts = {}
    try:
        with warnings.catch_warnings():
            warnings.simplefilter('ignore')
            workbook = openpyxl.load_workbook(path)
        for sheet in workbook.worksheets:
            for row in sheet.iter_rows():
                for cell in row:
                    if cell.value is not None:
                        texts[sheet.title, cell.coordinate] = cell.value
    except Exception as error:  # whatever stops the other reader says nothing about us
        print(f'  openpyxl: {error!r}')
        return None
    return texts


OFFICE = '{urn:oasis:names:tc:opendocument:xmlns:office:1.0}'
TABLE = '{urn:oasis:names:tc:opendocument:xmlns:table:1.0}'
PARAGRAPH = '{urn:oasis:names:tc:opendocument:xmlns:text:1.0}p'


def libreoffice_texts(path):
    """Text constants by (sheet, row, column) and the ranges of the pivot tables, from a workbook
    converted to flat XML; None when there is none."""
    target = os.path.splitext(path)[0] + '.fods'
    if not os.path.exists(target):
        return None
    texts, pivots = {}, []
    root = ElementTree.parse(target)
    for pivot in root.iter(TABLE + 'data-pilot-table'):
        pivots.append(pivot_range(pivot.get(TABLE + 'target-range-address')))
    for sheet in root.find('.//' + OFFICE + 'spreadsheet').findall(TABLE + 'table'):
        row_number = 0
        for row in rows_of(sheet):
            row_number += 1
            column = 0
            for cell in row:
                column += 1
                is_text = (cell.get(OFFICE + 'value-type') == 'string'
                           and not cell.get(TABLE + 'formula'))
                if is_text:
                    # Neither comments nor drawings that are anchored to the cell.
                    texts[sheet.get(TABLE + 'name'), row_number, column] = '\n'.join(
                        ''.join(p.itertext()) for p in cell if p.tag == PARAGRAPH)
                column += int(cell.get(TABLE + 'number-columns-repeated', 1)) - 1
            row_number += int(row.get(TABLE + 'number-rows-repeated', 1)) - 1
    return texts, pivots


def rows_of(element):
    """Rows of a sheet, in groups too, but none of the tables that charts in it hold."""
    for child in element:
        if child.tag == TABLE + 'table-row':
            yield child
        elif child.tag.startswith(TABLE) and child.tag != TABLE + 'shapes':
            yield from rows_of(child)


def pivot_range(address):
    """Sheet, first row, first column, last row, last column of "Sheet.A1:Sheet.B2"."""
    ends = re.findall(r"(?:^|:)('(?:[^']|'')*'|[^.:]*)\.\$?([A-Z]+)\$?([0-9]+)", address)
    sheet = ends[0][0].strip("'").replace("''", "'")
    places = []
    for _, letters, row in ends:
        column = 0
        for letter in letters:
            column = column * 26 + ord(letter) - 64
        places += [int(row), column]
    return (sheet, *places)


def is_inside(place, ranges):
    return any(place[0] == sheet and top <= place[1] <= bottom and left <= place[2] <= right
               for sheet, top, left, bottom, right in ranges)


def truth_of(corpus):
    with open(os.path.join(corpus, 'truth.json'), encoding='utf-8') as file:
        return json.load(file)['files']


def is_workbook(name, truth):
    return name.split('/')[0] in PACKAGES + BINARIES and any(v is True for v in truth['opens'].values())


def parsed_arguments():
    """Ends the program as skipped where there is no corpus."""
    parser = argparse.ArgumentParser()
    parser.add_argument('--tarvello', required=True)
    parser.add_argument('--corpus', default=os.environ.get('BRINDLE_CORPUS'))
    parser.add_argument('--libreoffice', action='store_true')
    parser.add_argument('--only', default='')
    arguments = parser.parse_args()
    if not arguments.corpus:
        print('skipped: BRINDLE_CORPUS does not name a folder of real workbooks')
        sys.exit(77)
    return arguments


def main():
    arguments = parsed_arguments()
    truth = truth_of(arguments.corpus)
    checker = Checker(arguments)
    try:
        for name in sorted(truth):
            if arguments.only not in name or not is_workbook(name, truth[name]):
                continue
            checker.check_counts(name, truth[name])
            checker.check_untouched(name)
            checker.check_replacement(name, truth[name])
            checker.check_objects(name, truth[name])
        if arguments.libreoffice:
            checker.check_libreoffice()
        print(f'{checker.counted} counts agree, {checker.replaced} words there and back, '
              f'{checker.cells_compared} cells and {checker.texts_compared} LibreOffice texts '
              'compared, '
              f'{checker.pivot_texts} in pivot tables not, {len(checker.faults)} faults')
        if checker.counted == 0:
            print('no file of the corpus was checked')
            return 1
        return 1 if checker.faults else 0
    finally:
        shutil.rmtree(checker.work)


if __name__ == '__main__':
    sys.exit(main())
