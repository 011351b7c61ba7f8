#!/usr/bin/env python3
"""Runs the command line over the hyperlinks, headers and footers of a corpus of real workbooks, of
binary ones the shapes too, and checks what it did with readers that are not ours.

For every workbook: counts must be those of truth.json, and of binary ones those of any word that a
plain reading of the records meets; a word that occurs is replaced and put back. After the
replacement the addresses and page texts must be exactly the expected ones, no member or record may
have changed but those that hold them, and the file may bring up no new repair prompt; after putting
back, every part must have its old bytes. With --libreoffice the replaced words must show in
LibreOffice too, and nothing else may show another time than before.

Usage: check_scopes.py --tarvello PROGRAM [--corpus FOLDER] [--libreoffice] [--only TEXT]
Without --corpus the environment variable BRINDLE_CORPUS names the folder.
"""
import os
import re
import shutil
import sys
import urllib.parse
import warnings
import zipfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import binary_texts  # noqa: E402
import check_binary  # noqa: E402
import check_corpus  # noqa: E402
import check_package  # noqa: E402
import office_cells  # noqa: E402
from check_corpus import MARK  # noqa: E402

SCOPES = {'links': 'hyperlinks', 'headers': 'headers', 'footers': 'footers', 'shapes': 'shapes'}
PACKAGE_SCOPES = ('links', 'headers', 'footers')  # check_corpus.py looks at the shapes
MAY_CHANGE = {'links': r'sheets/[^/]*\.xml$|sheets/_rels/[^/]*\.rels$',
              'headers': r'sheets/[^/]*\.xml$', 'footers': r'sheets/[^/]*\.xml$'}
# Records that hold the texts; those of shapes are told apart by the reader.
TEXT_RECORDS = {'links': {0x1B8}, 'headers': {0x14, 0x89C}, 'footers': {0x15, 0x89C},
                'shapes': set()}
WORDS = 4  # of each scope of a binary workbook
# A path in the notation of a Mac, which xlrd takes for UTF-16.
NOT_FOR_XLRD = 'xls/hyperlink_stress_test_2011.xls'


class Packages:
    """How a workbook of this kind is looked at."""
    scopes = PACKAGE_SCOPES

    @staticmethod
    def words(_path, _key):
        return {}

    @staticmethod
    def changes(key, old, new):
        before, after = check_corpus.raw_members(old), check_corpus.raw_members(new)
        if list(before) != list(after):
            yield 'members were added, lost or reordered'
        for member in [m for m in after if before.get(m) != after[m]]:
            if not re.search(MAY_CHANGE[key], member, re.I):
                yield f'{member} changed'

    @staticmethod
    def parts(path):
        """Unpacked; letter case aside, which a word that is put back brings along."""
        with zipfile.ZipFile(path) as archive:
            return {name: archive.read(name).lower() for name in archive.namelist()}

    @staticmethod
    def readers():
        return stored_texts, openpyxl_texts


class Binaries:
    scopes = tuple(SCOPES)

    def __init__(self, name, reader):
        self.name, self.reader = name, reader

    def stream(self, path):
        return binary_texts.BinaryTexts(check_binary.workbook_stream(self.reader.plain(path)))

    def texts(self, path, key):
        if key == 'links':
            known = self.name != NOT_FOR_XLRD
            return binary_texts.addresses(self.reader.plain(path)) if known else None
        return self.stream(path).texts[key]

    def words(self, path, key):
        """The longest ones, with the number of items, for shapes of places, that hold them."""
        texts = [text.casefold() for text in self.texts(path, key) or ()]
        without_codes = re.sub(r'&"[^"]*"|&.', ' ', ' '.join(texts))
        words = sorted(set(re.findall('[a-z]{3,}', without_codes)), key=lambda w: (-len(w), w))
        return {word: sum(text.count(word) if key == 'shapes' else word in text for text in texts)
                for word in words[:WORDS]}

    def changes(self, key, old, new):
        before, after = check_binary.members(old), check_binary.members(new)
        for member in before.keys() | after.keys():
            if before.get(member) != after.get(member) and not re.search(
                    self.reader.cells_change, member, re.I):
                yield f'{member} changed'
        before, after = self.stream(old), self.stream(new)
        frames = [[record for record in stream.other if record[0] not in TEXT_RECORDS[key]
                   | check_binary.PLACES] for stream in (before, after)]
        if frames[0] != frames[1]:
            yield 'other records changed'
        for scope in self.scopes:
            if scope not in (key, 'links') and before.texts[scope] != after.texts[scope]:
                yield f'{scope} changed'

    @staticmethod
    def parts(path):
        return {name: (stream.lower(), *rest)
                for name, (stream, *rest) in check_binary.members(path).items() if name != '/'}

    def readers(self):
        return self.texts,


class ScopeChecker(check_corpus.Checker):
    def check(self, name, truth):
        self.begin(name)
        path = os.path.join(self.corpus, name)
        self.kind = Binaries(name, self.reader) if self.reader.is_binary else Packages()
        for key in self.kind.scopes:
            needles = truth.get(key, {}).get('needles', [])
            for needle in needles if key in PACKAGE_SCOPES else ():
                self.check_count(name, key, needle)
            words = self.kind.words(path, key)
            for word, expected in words.items():
                self.expect(name, key, word, expected)
            if not needles and not words:
                # Nothing to be found, but found out without a failure.
                self.search(name, key, 'no such text')
            if not words and key in PACKAGE_SCOPES:
                words = [needle['needle'] for needle in needles[:2]]
            for word in list(words)[:1] if self.reader.is_binary else words:
                self.there_and_back(name, key, word)

    def search(self, name, key, word):
        path = os.path.join(self.corpus, name)
        _, lines = self.run('search', '--in', SCOPES[key], '--find', word, path)
        if lines[0]['status'] == 'failed':
            self.fault(name, f'{key}: cannot be searched: {lines[0]["error"]}')
        return sum(entry['count'] for entry in lines[0]['entries'])

    def check_count(self, name, key, needle):
        matches = needle['matches']
        # The other readers do not tell sections with codes; one that reads what is stored does.
        by = matches['by']
        self.expect(name, key, needle['needle'],
                    matches.get('value', by.get('xml', by.get('records'))))

    def expect(self, name, key, word, expected):
        count = self.search(name, key, word)
        if count != expected:
            self.fault(name, f'{key}: {word!r}: {count}, expected {expected}')
        self.counted += 1

    def there_and_back(self, name, key, word):
        copy = self.copy(name)
        old, new = (check_corpus.beside(copy, folder) for folder in ('old', 'new'))
        shutil.copy2(copy, old)
        _, lines = self.run('replace', '--in', SCOPES[key], '--find', word, '--with', MARK + word,
                            copy)
        reasons = {item['description'] for item in lines[0].get('refused', [])}
        if lines[0]['status'] == 'failed' or any('protected' not in text for text in reasons):
            self.fault(name, f'{key}: {word!r}: {lines[0].get("error") or reasons}')
        if reasons:
            print(f'{name}: {key}: {word!r}: {reasons}')
            return
        shutil.copy2(copy, new)
        self.compare_scope(name, key, word, old, new)
        self.run('replace', '--in', SCOPES[key], '--find', MARK + word, '--with', word, copy)
        before, after = self.kind.parts(old), self.kind.parts(copy)
        for member in before.keys() | after.keys():
            if before.get(member) != after.get(member):
                self.fault(name, f'{key}: {word!r}: {member} is not as it was')
        self.replaced += 1
        self.converted.append((name, old, new, key + ' ' + word))

    def compare_scope(self, name, key, word, old, new):
        for change in self.kind.changes(key, old, new):
            self.fault(name, f'{key}: {word!r}: {change}')
        for fault in set(self.reader.faults(new)) - set(self.reader.faults(old)):
            self.fault(name, f'{key}: {word!r}: {fault}')
        for reader in self.kind.readers():
            seen = reader(old, key), reader(new, key)
            if seen[0] is None:
                continue
            expected = [check_corpus.expected_text(text, word) for text in seen[0]]
            self.texts_compared += len(expected)
            if [text.casefold() for text in expected] != [text.casefold() for text in seen[1]]:
                self.fault(name, f'{key}: {word!r}: {reader.__name__}: {seen[1]!r} instead of '
                                 f'{expected!r}')

    def check_libreoffice(self):
        source, target, profile = (os.path.join(self.work, n) for n in ('in', 'out', 'profile'))
        os.mkdir(source)
        files = []
        for number, (name, old, new, _) in enumerate(self.converted):
            for step, path in (('old', old), ('new', new)):
                files.append(os.path.join(source, f'{number}-{step}{os.path.splitext(path)[1]}'))
                if name in self.passwords:
                    check_binary.plain_copy(path, self.passwords[name], files[-1])
                else:
                    shutil.copy(path, files[-1])
        office_cells.convert(files, target, profile)
        for number, (name, *_, word) in enumerate(self.converted):
            shown = []
            for step in ('old', 'new'):
                result = os.path.join(target, f'{number}-{step}.fods')
                if os.path.exists(result):
                    with open(result, encoding='utf-8') as file:
                        text = file.read()
                    plain = word.partition(' ')[2]
                    shown.append((len(re.findall(re.escape(plain), text, re.I)),
                                  text.count(MARK)))
            print(f'{name}: {word!r}: shown and marked in LibreOffice: {shown}')
            if len(shown) < 2:
                self.fault(name, f'{word!r}: LibreOffice cannot read the result')
            # It need not show all texts, nor does the word stand in this scope alone; in packages
            # it may stand in a code, which shows as something else.
            elif (shown[0][0] > 0) != (shown[1][1] > shown[0][1]) or (
                    name.endswith(('.xls', '.xlt')) and shown[0][0] != shown[1][0]):
                self.fault(name, f'{word!r}: does not show in LibreOffice as it should')


def stored_texts(path, key):
    """Addresses, or whole header or footer strings, in the order of the file."""
    package = check_package.Package(path)
    texts = []
    for name in package.names.values():
        if not re.search(r'worksheets/[^/]*\.xml$', name, re.I):
            continue
        tree = package.tree(name)
        rels = package.relationships(name)
        for element in tree if key == 'links' else []:
            for link in element if check_package.local(element.tag) == 'hyperlinks' else []:
                names = [link.get('{%s}id' % uri) for uri in check_package.OFFICE]
                target = rels.get(next((i for i in names if i), None), ('', '', False))[1]
                texts.append(urllib.parse.unquote(target.split('#')[0]))
        for element in tree:
            if check_package.local(element.tag) == 'headerFooter':
                texts += [text.text or '' for text in element
                          if check_package.local(text.tag).lower().endswith(key[:-1])]
    return texts


def openpyxl_texts(path, key):
    """As openpyxl sees them; None when it cannot read the file."""
    import openpyxl
    texts = []
    try:
        with warnings.catch_warnings():
            warnings.simplefilter('ignore')
            workbook = openpyxl.load_workbook(path)
    except Exception as error:  # whatever stops the other reader says nothing about us
        print(f'  openpyxl: {error!r}')
        return None
    for sheet in workbook.worksheets:
        if key == 'links':
            texts += [urllib.parse.unquote((link.target or '').split('#')[0])
                      for link in sheet._hyperlinks]
            continue
        for page in ('odd', 'even', 'first'):
            item = getattr(sheet, page + key[:-1].capitalize())
            texts += [getattr(item, side).text or '' for side in ('left', 'center', 'right')]
    return texts


def main():
    arguments = check_corpus.parsed_arguments()
    truth = check_corpus.truth_of(arguments.corpus)
    checker = ScopeChecker(arguments)
    try:
        for name in sorted(truth):
            if arguments.only in name and (check_corpus.is_workbook(name, truth[name])
                                           or name in checker.passwords):
                checker.check(name, truth[name])
        if arguments.libreoffice:
            checker.check_libreoffice()
        print(f'{checker.counted} counts agree, {checker.replaced} words there and back, '
              f'{checker.texts_compared} texts compared, {len(checker.faults)} faults')
        return 1 if checker.faults or checker.counted == 0 else 0
    finally:
        shutil.rmtree(checker.work)


if __name__ == '__main__':
    sys.exit(main())
