#!/usr/bin/env python3
"""Runs the command line over the hyperlinks, headers and footers of a corpus of real workbooks and
checks what it did with readers that are not ours.

For every workbook: counts must be those of truth.json; a word that occurs is replaced and put
back. After the replacement the addresses and page texts must be exactly the expected ones, no
member may have changed but the sheets and their relationships, and the package may bring up no
new repair prompt; after putting back, every part must have its old bytes. With --libreoffice the
replaced words must show in LibreOffice too.

Usage: check_scopes.py --tarvello PROGRAM [--corpus FOLDER] [--libreoffice] [--only TEXT]
Without --corpus the environment variable BRINDLE_CORPUS names the folder.
"""
import argparse
import os
import re
import shutil
import subprocess
import sys
import urllib.parse
import warnings
import zipfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import check_corpus  # noqa: E402
import check_package  # noqa: E402
from check_corpus import MARK  # noqa: E402

SCOPES = {'links': 'hyperlinks', 'headers': 'headers', 'footers': 'footers'}
MAY_CHANGE = {'links': r'sheets/[^/]*\.xml$|sheets/_rels/[^/]*\.rels$',
              'headers': r'sheets/[^/]*\.xml$', 'footers': r'sheets/[^/]*\.xml$'}


class ScopeChecker(check_corpus.Checker):
    def check(self, name, truth):
        for key, scope in SCOPES.items():
            needles = truth.get(key, {}).get('needles', [])
            for needle in needles:
                self.check_count(name, key, needle)
            if not needles:
                # Nothing to be found, but found out without a failure.
                self.search(name, key, 'no such text')
            for needle in needles[:2]:
                self.there_and_back(name, key, needle['needle'])

    def search(self, name, key, word):
        path = os.path.join(self.corpus, name)
        _, lines = self.run('search', '--in', SCOPES[key], '--find', word, path)
        if lines[0]['status'] == 'failed':
            self.fault(name, f'{key}: cannot be searched: {lines[0]["error"]}')
        return sum(entry['count'] for entry in lines[0]['entries'])

    def check_count(self, name, key, needle):
        count = self.search(name, key, needle['needle'])
        matches = needle['matches']
        # The other readers do not tell sections with codes; one that reads the XML does.
        expected = matches.get('value', matches['by'].get('xml'))
        if count != expected:
            self.fault(name, f'{key}: {needle["needle"]!r}: {count}, expected {expected}')
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
        for member in parts(old).items() ^ parts(copy).items():
            self.fault(name, f'{key}: {word!r}: {member[0]} is not as it was')
        self.replaced += 1
        self.converted.append((name, old, new, key + ' ' + word))

    def compare_scope(self, name, key, word, old, new):
        before, after = check_corpus.raw_members(old), check_corpus.raw_members(new)
        if list(before) != list(after):
            self.fault(name, 'members were added, lost or reordered')
        for member in [m for m in after if before.get(m) != after[m]]:
            if not re.search(MAY_CHANGE[key], member, re.I):
                self.fault(name, f'{key}: {member} changed')
        for fault in set(check_package.faults(new)) - set(check_package.faults(old)):
            self.fault(name, f'{key}: {word!r}: {fault}')
        for reader in (stored_texts, openpyxl_texts):
            seen = reader(old, key), reader(new, key)
            if seen[0] is None:
                continue
            expected = [check_corpus.expected_text(text, word) for text in seen[0]]
            self.texts_compared += len(expected)
            if [text.casefold() for text in expected] != [text.casefold() for text in seen[1]]:
                self.fault(name, f'{key}: {word!r}: {reader.__name__}: {seen[1]!r} instead of '
                                 f'{expected!r}')

    def check_libreoffice(self):
        target, profile = (os.path.join(self.work, name) for name in ('out', 'profile'))
        for name, old, new, word in self.converted:
            subprocess.run(['soffice', '--headless', '--convert-to', 'fods', '--outdir', target,
                            f'-env:UserInstallation=file://{urllib.parse.quote(profile)}', new],
                           capture_output=True, timeout=600)
            result = os.path.join(target, os.path.splitext(os.path.basename(new))[0] + '.fods')
            if not os.path.exists(result):
                self.fault(name, f'{word!r}: LibreOffice cannot read the result')
                continue
            with open(result, encoding='utf-8') as file:
                shown = file.read().count(MARK)
            print(f'{name}: {word!r}: shows {shown} times in LibreOffice')
            if shown == 0:
                self.fault(name, f'{word!r}: does not show in LibreOffice')
            os.remove(result)


def parts(path):
    """Unpacked; letter case aside, which a word that is put back brings along."""
    with zipfile.ZipFile(path) as archive:
        return {name: archive.read(name).lower() for name in archive.namelist()}


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
            if arguments.only in name and check_corpus.is_workbook(name, truth[name]):
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
