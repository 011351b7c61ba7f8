#!/usr/bin/env python3
"""Runs the command line over a corpus of real workbooks and checks what it did with programs
that are not ours.

For every workbook: a search must count the cells whose text, as docs/matching.md says it, holds the
word, by openpyxl's or xlrd's values and the formulas that truth.json knows of; a replacement without a match must
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
import zipfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import check_binary  # noqa: E402
import check_formulas  # noqa: E402
import check_package  # noqa: E402
import office_cells  # noqa: E402
from edit_text import edit_text  # noqa: E402

PACKAGES = ('xlsx', 'xlsm', 'xltx', 'xltm')
BINARIES = ('xls', 'xlt', 'xls-biff5', 'xls-biff2-4')
# By their names in truth.json: the scope, and the parts of a package that may change.
OBJECTS = {'shapes': ('shapes', 'drawings/'), 'controls': ('shapes', 'drawings/'),
           'builtin': ('builtin', 'docProps/'), 'custom': ('custom', 'docProps/')}
MARK = 'Qvz'  # stands before the word found; no corpus file holds it
# Where truth.json counts what we do not search: file, needle (all of them without one), our count.
OTHERWISE = {
    ('xls-biff5/64130.xls', ''): (0, 'the only sheet is a chart; the texts are those of its data'),
    ('xls/BlankSheetTypes.xls', 'cancel'): (0, 'the button stands on a dialog sheet'),
}
PROTECTED = 'is protected'
RESERVED = 'writing it is reserved by another password'
ANOTHER_SHEET = 'contains an error'  # the word is a part of the sheet's name, too
# Workbooks in which the words of truth.json cannot be replaced, and what the refusals say.
REFUSALS = {
    'encrypted/60284.xls': PROTECTED,
    'xls-biff5/30templatebiff5.xls': 'longer than 255 characters',
    'xls-biff5/test_files__phonetic_text.xls': 'written in a form that cannot be changed',
    'xls/15556.xls': PROTECTED,
    'xls/bug66319.xls': 'too long for a document property',
    'xls/59858.xls': PROTECTED,
    'xls/Basic_Expense_Template_2011.xls': ANOTHER_SHEET,
    'xls/MatrixFormulaEvalTestData.xls': 'part of an array',
    # A function that the workbook does not know.
    'xls/formula_stress_test.xls': 'contains an error',
    'xlsm/0-www-crossref-org.lib.rivier.edu_education-files_suffix-generator.xlsm': RESERVED,
    'xlsm/form_pass_print.xlsm': PROTECTED,
    'xlsx/MatrixFormulaEvalTestData.xlsx': 'part of an array',
    'xlsx/ms-office-2010-signed.xlsx': 'is signed',
    'xlsx/stress002.xlsx': PROTECTED,
    'xlsx/workbookProtection-sheet_password-2013.xlsx': PROTECTED,
    'xltx/BusinessPerformancetest21_with_content_TP10209823.xltx': ANOTHER_SHEET,
    'xltx/DonutChart_TP10214150.xltx': 'rename a table column',
    'xltx/LoanAmortization_TP10073881.xltx': PROTECTED,
}


class Checker:
    def __init__(self, arguments):
        self.program = arguments.tarvello
        self.corpus = arguments.corpus
        self.faults = []
        self.work = tempfile.mkdtemp(prefix='corpus check ')
        self.environment = dict(os.environ, BRINDLE_HOME=os.path.join(self.work, 'home'))
        os.mkdir(self.environment['BRINDLE_HOME'])
        self.passwords = check_binary.passwords(self.corpus)
        self.opening = []  # options for the workbook that is looked at
        self.converted = []
        self.counted = self.replaced = self.cells_compared = self.texts_compared = 0
        self.pivot_texts = self.refused = 0

    def fault(self, name, text):
        print(f'{name}: {text}')
        self.faults.append((name, text))

    def run(self, *arguments):
        done = subprocess.run([self.program, *arguments, *self.opening, '--json'],
                              capture_output=True, env=self.environment, timeout=60)
        return done.returncode, [json.loads(line) for line in done.stdout.splitlines()]

    def begin(self, name):
        """Returns the reader for a workbook, which the calls from here on are about."""
        self.password = self.passwords.get(name)
        self.opening = []
        if self.password:
            file = os.path.join(self.work, 'password')
            with open(file, 'w', encoding='utf-8') as out:
                out.write(self.password)
            self.opening = ['--password-file', file]
        self.reader = reader_of(os.path.join(self.corpus, name), self.password, self.work)

    # --- counts ---------------------------------------------------------------------------
    def check_counts(self, name, truth):
        path = os.path.join(self.corpus, name)
        seen = SearchTexts(self.reader, path)
        for needle in truth.get('needles', []):
            word = needle['needle']
            status, lines = self.run('search', '--find', word, path)
            document = lines[0]
            if document['status'] == 'failed':
                self.fault(name, f'cannot be searched: {document["error"]}')
                return
            count = sum(entry['count'] for entry in document['entries'])
            expected = seen.count(needle)
            if (name, '') in OTHERWISE:
                expected, reason = OTHERWISE[name, '']
                print(f'{name}: {word!r}: {expected}: {reason}')
            if expected is None:
                self.fault(name, f'{word!r}: nobody knows how often')
            elif count != expected:
                self.fault(name, f'{word!r}: {count}, expected {expected}; '
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
                 if n.get('kind') == 'word' and n['string_cells'].get('value', 0) > 0
                 and (name, '') not in OTHERWISE]
        for word in words[:2]:
            copy = self.copy(name)
            old, new = beside(copy, 'old'), beside(copy, 'new')
            shutil.copy2(copy, old)
            status, lines = self.run('replace', '--find', word, '--with', MARK + word, copy)
            if self.is_refused(name, word, lines[0]):
                continue
            self.compare(name, old, copy, word)
            shutil.copy2(copy, new)
            self.converted.append((name, old, new, word))
            self.run('replace', '--find', MARK + word, '--with', word, copy)
            self.compare_members(name, old, copy, self.reader.cells_change)
            self.replaced += 1

    def is_refused(self, name, word, document):
        for error in [document['error']] if 'error' in document else document.get('refused', []):
            # Some document properties tell of the program that wrote the file, not by its user.
            if REFUSALS.get(name, 'cannot be changed') in error['description'] or re.search(
                    'The property .* cannot be changed', error['description']):
                self.refused += 1
            else:
                self.fault(name, f'{word!r}: {error}')
        return 'error' in document or bool(document.get('refused'))

    # --- shapes and document properties -----------------------------------------------------
    def check_objects(self, name, truth):
        path = os.path.join(self.corpus, name)
        for kind, (scope, may_change) in OBJECTS.items():
            for needle in truth.get(kind, {}).get('needles', []):
                known = needle['matches'].get('value')
                if (name, needle['needle']) in OTHERWISE:
                    known, reason = OTHERWISE[name, needle['needle']]
                    print(f'{name}: {needle["needle"]!r} in {kind}: {known}: {reason}')
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
        if not self.is_refused(name, f'{word} in {scope}', lines[0]):
            if self.count(scope, MARK + word, copy) != count:
                self.fault(name, f'{word!r} in {scope}: not found again where it was replaced')
            self.run('replace', '--find', MARK + word, '--with', word, '--in', scope, copy)
            self.replaced += 1
        reader = self.reader
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
        reader = self.reader
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
        reader = self.reader
        before, after = reader.members(old), reader.members(new)
        if [m for m in before if m in after or not re.search(may_change, m, re.I)] != list(after):
            self.fault(name, 'members were added, lost or reordered')
        for member in after:
            if before.get(member) != after[member] and not re.search(may_change, member, re.I):
                self.fault(name, f'{member} changed')

    # --- LibreOffice ----------------------------------------------------------------------
    def check_libreoffice(self):
        # Under the same path before and after, which names sheets of old workbooks.
        source, profile = (os.path.join(self.work, name) for name in ('in', 'profile'))
        targets = [os.path.join(self.work, name) for name in ('out old', 'out new')]
        os.mkdir(source)
        files = [os.path.join(source, str(i) + os.path.splitext(item[1])[1])
                 for i, item in enumerate(self.converted)]
        for place, target in zip((1, 2), targets):
            for item, file in zip(self.converted, files):
                if item[0] in self.passwords:
                    check_binary.plain_copy(item[place], self.passwords[item[0]], file)
                else:
                    shutil.copy(item[place], file)
            office_cells.convert(files, target, profile)
        for (name, _, _, word), file in zip(self.converted, files):
            before, after = (office_cells.texts(os.path.join(target, os.path.basename(file)))
                             for target in targets)
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
            if office_cells.is_inside(place, pivots):
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
        self.members, self.faults = raw_members, check_package.faults
        self.texts, self.search_texts = openpyxl_texts, openpyxl_search_texts

    @staticmethod
    def formulas(_path):
        return {}  # of those filled over several cells openpyxl shows only one


class BinaryReader:
    is_binary = True
    cells_change = r'^(Workbook|Book)$'

    def __init__(self, password, work):
        self.password, self.work, self.members = password, work, check_binary.members

    def plain(self, path):
        """A copy in the clear of an encrypted workbook; any other one itself."""
        if self.password is None:
            return path
        copy = os.path.join(tempfile.mkdtemp(dir=self.work), os.path.basename(path))
        check_binary.plain_copy(path, self.password, copy)
        return copy

    def faults(self, path):
        return check_binary.faults(self.plain(path))

    def texts(self, path):
        return check_binary.texts(self.plain(path))

    def search_texts(self, path):
        return check_binary.search_texts(self.plain(path))

    def formulas(self, path):
        try:
            return check_formulas.XlrdReader('').formulas(self.plain(path))
        except Exception as error:  # whatever stops the other reader says nothing about us
            print(f'  xlrd: {error!r}')
            return {}


class SearchTexts:
    """What a search meets in the cells of a workbook, by a reader that is not ours."""

    def __init__(self, reader, path):
        self.constants = reader.search_texts(path)
        self.formulas = reader.formulas(path)

    def count(self, needle):
        """None when it cannot be told."""
        word = needle['needle']
        if self.constants is None:
            return needle.get('cells')
        formulas = needle.get('formula_cells') or {}
        # No reader shows all formulas, and none shows one that is not there.
        counts = [formulas[key] for key in ('value',) if key in formulas]
        counts += formulas.get('by', {}).values()
        counts.append(sum(word in text.casefold() for text in self.formulas.values()))
        return sum(word in text.casefold() for text in self.constants.values()) + max(counts)


# Streams that a scope may change.
BINARY_OBJECTS = {'shapes': BinaryReader.cells_change,
                  'builtin': r'^\x05(Document)?SummaryInformation$|^encryption$',
                  'custom': r'^\x05DocumentSummaryInformation$|^encryption$'}


def reader_of(path, password, work):
    with open(path, 'rb') as file:
        return PackageReader() if file.read(2) == b'PK' else BinaryReader(password, work)


def beside(path, folder):
    target = os.path.join(os.path.dirname(path), folder)
    os.mkdir(target)
    return os.path.join(target, os.path.basename(path))


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


def openpyxl_cells(path):
    """None when openpyxl cannot read the file."""
    import openpyxl
    try:
        with warnings.catch_warnings():
            warnings.simplefilter('ignore')
            workbook = openpyxl.load_workbook(path)
        return [(sheet, cell) for sheet in workbook.worksheets for row in sheet.iter_rows()
                for cell in row if cell.value is not None]
    except Exception as error:  # whatever stops the other reader says nothing about us
        print(f'  openpyxl: {error!r}')
        return None


def openpyxl_texts(path):
    """Cells by sheet and place; None when openpyxl cannot read the file."""
    cells = openpyxl_cells(path)
    return None if cells is None else {(sheet.title, cell.coordinate): cell.value
                                       for sheet, cell in cells}


def openpyxl_search_texts(path):
    """What a search meets in the cells without a formula; None when openpyxl sees no cells, as it
    does in files of the strict variant."""
    from openpyxl.utils.datetime import CALENDAR_MAC_1904, to_excel
    from openpyxl.worksheet.cell_range import CellRange
    cells = openpyxl_cells(path)
    found, arrays = {}, {}
    for sheet, cell in cells or ():
        value, epoch = cell.value, sheet.parent.epoch
        # Cells of an array formula but the first one show their results.
        if sheet not in arrays:
            arrays[sheet] = [CellRange(each['ref']) for each in sheet.formula_attributes.values()
                             if each.get('t') == 'array']
        if cell.data_type == 'f' or any(cell.coordinate in area for area in arrays[sheet]):
            continue
        if cell.is_date and not isinstance(value, (int, float, str)):
            value = to_excel(value, epoch)
        found[sheet.title, cell.coordinate] = edit_text(value, cell.number_format,
                                                        epoch == CALENDAR_MAC_1904)
    return found or None


def truth_of(corpus):
    with open(os.path.join(corpus, 'truth.json'), encoding='utf-8') as file:
        return json.load(file)['files']


def is_workbook(name, truth):
    folder = name.split('/')[0]
    return folder in PACKAGES + BINARIES and any(v is True for v in truth['opens'].values())


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
            if arguments.only not in name or not (is_workbook(name, truth[name])
                                                  or name in checker.passwords):
                continue
            checker.begin(name)
            checker.check_counts(name, truth[name])
            checker.check_untouched(name)
            checker.check_replacement(name, truth[name])
            checker.check_objects(name, truth[name])
        if arguments.libreoffice:
            checker.check_libreoffice()
        print(f'{checker.counted} counts agree, {checker.replaced} words there and back, '
              f'{checker.refused} refused as expected, '
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
