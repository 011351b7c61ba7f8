#!/usr/bin/env python3
"""Replaces a text in every binary workbook of a corpus, encrypted ones included, puts it back, and
checks with programs that are not ours that everything is as it was.

There are two rounds: a word in cells (a number where there are no texts; headers, shapes or
document properties where there are no cells), and the beginning of formulas. After each step all
other streams and storages must have their bytes, class ids, state bits, times and places, the
records must be sound, and xlrd must see exactly the expected cells. The workbook stream must be the
old one again, but for records that tell what cannot return: see REASONS. With --libreoffice
LibreOffice, which calculates everything anew, must see the same cells before and after, and exactly
the change in between.

Usage: check_back.py --tarvello PROGRAM [--corpus FOLDER] [--libreoffice] [--only TEXT]
Without --corpus the environment variable BRINDLE_CORPUS names the folder.
"""
import collections
import difflib
import os
import re
import shutil
import struct
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import check_binary  # noqa: E402
import check_corpus  # noqa: E402
import check_formulas  # noqa: E402
import office_cells  # noqa: E402
from check_corpus import MARK  # noqa: E402

# What may differ in the workbook stream after there and back: why, and in which records.
REASONS = {
    'calculated anew when it is opened': {0x1C1},
    'numbers in another form': {0xBD, 0x203, 0x27E, 0x7E},
    'texts of cells became shared ones': {0x204, 0xFD},
    'formulas without their results': {0x06, 0x206, 0x406, 0x07, 0x207},
    'formulas of several cells became ones of their own': {0x4BC},
}
STRINGS = {0xFC, 0xFF, 0x3C}
PLACES = {0x85, 0x20B, 0xD7}  # follow what stands in front
TRIES = 6
FACTOR = '1*'  # goes in front of formulas
# What LibreOffice shows as formulas of its own; an error value is an empty one.
CONSTANTS = {'of:=TRUE()': 'TRUE', 'of:=FALSE()': 'FALSE'}
EXACT_DIGITS = 14  # a longer number that is typed again is not always the one that was stored
VOLATILE = re.compile(r'\b(NOW|TODAY|RAND|RANDBETWEEN|CELL|INFO)\(')


class BackChecker(check_corpus.Checker):
    def __init__(self, arguments):
        super().__init__(arguments)
        self.with_macros = set()
        self.rounds = collections.Counter()
        self.streams = collections.Counter()
        self.left_alone = []
        self.results = collections.Counter()

    def check(self, name, truth):
        self.begin(name)
        path = os.path.join(self.corpus, name)
        texts = self.reader.search_texts(path) or {}
        formulas = self.reader.formulas(path)
        if any('vba' in place.lower() for place in self.reader.members(path)):
            self.with_macros.add(name)
        done = self.first_of(name, 'texts', text_rounds(texts, formulas, truth))
        done = self.first_of(name, 'formulas', formula_rounds(formulas)) or done
        if not done:
            self.left_alone.append(name)

    def first_of(self, name, kind, rounds):
        """Carries out the first one that nothing refuses."""
        for scope, word, new_word in rounds:
            copy = self.copy(name)
            old, new = (check_corpus.beside(copy, folder) for folder in ('old', 'new'))
            shutil.copy2(copy, old)
            document = self.replace(scope, word, new_word, copy)
            if document['status'] != 'changed' or document.get('refused'):
                continue
            shutil.copy2(copy, new)
            self.check_step(name, old, new, scope, word, new_word)
            back = self.replace(scope, new_word, word, copy)
            if back['status'] != 'changed' or back.get('refused'):
                self.fault(name, f'{new_word!r} cannot be put back: {back}')
                continue
            self.check_back(name, kind, old, copy, scope, word)
            self.converted.append((name, kind, word, new_word, old, new, copy))
            self.rounds[kind] += 1
            return True
        return False

    def replace(self, scope, word, new_word, path):
        # A property must equal a text whose case matters.
        case = [] if scope in ('builtin', 'custom') else ['--match-case']
        find = re.sub(r'([*?~])', r'~\1', word) if scope == 'cells' else word
        _, lines = self.run('replace', '--in', scope, '--find', find, '--with', new_word, *case,
                            path)
        return lines[0]

    def check_step(self, name, old, new, scope, word, new_word):
        may_change = (check_corpus.BINARY_OBJECTS.get(scope, self.reader.cells_change))
        self.compare_members(name, old, new, may_change)
        for fault in set(self.reader.faults(new)) - set(self.reader.faults(old)):
            self.fault(name, f'{word!r}: {fault}')
        if scope == 'cells':
            before, after = self.reader.search_texts(old), self.reader.search_texts(new)
            expected = before and {place: replaced(text, word, new_word)
                                   for place, text in before.items()}
            self.cells_compared += len(before or ())
            if before is not None and expected != after:
                self.fault(name, f'{word!r}: {differences(expected or {}, after or {})}')

    def check_back(self, name, kind, old, copy, scope, word):
        may_change = (check_corpus.BINARY_OBJECTS.get(scope, self.reader.cells_change))
        self.compare_members(name, old, copy, may_change)
        plain = [self.reader.plain(path) for path in (old, copy)]
        for reader in (self.reader.search_texts, self.reader.formulas):
            if reader(old) and reader(old) != reader(copy):
                self.fault(name, f'{reader.__name__}: not as it was')
        before, after = (check_binary.workbook_stream(path) for path in plain)
        if before == after:
            self.streams['identical'] += 1
            return
        reasons = self.reasons(name, kind, word, before, after)
        for reason in reasons:
            self.streams[kind, reason] += 1
        self.streams['changed'] += 1

    def reasons(self, name, kind, word, before, after):
        """Why the workbook stream is another one; a fault where nothing tells why."""
        records = [list(check_binary.records(stream)) for stream in (before, after)]
        kinds = changed_kinds(*([(number, body) for _, number, body in each] for each in records))
        found = set()
        for reason, numbers in REASONS.items():
            if kinds & numbers:
                found.add(reason)
            kinds -= numbers
        if kinds & STRINGS:
            kinds -= STRINGS
            try:
                old = check_binary.shared_strings(records[0])
            except IndexError:
                return found | {'the strings were counted wrong'}
            found |= self.string_reasons(name, word, old,
                                         check_binary.shared_strings(records[1]))
        if kinds - PLACES:
            self.fault(name, f'{kind}: records {sorted(map(hex, kinds - PLACES))} are others')
        return found

    def string_reasons(self, name, word, old, new):
        found = {'strings lie elsewhere'} if [s.text for s in old] == [s.text for s in new] else {
            'more strings'}
        for one, other in zip(old, new):
            if one.runs != other.runs and has_formats_inside(one, word):
                found.add('formats within the word')
            elif one.text != other.text or one.runs != other.runs:
                self.fault(name, f'the string {one} became {other}')
            if one.is_wide > other.is_wide:
                found.add('texts of two bytes where one is enough')
            if one.phonetic and not other.phonetic:
                found.add('phonetic guides are dropped')
            elif one.phonetic != other.phonetic:
                self.fault(name, f'the string {one} became {other}')
        return found

    # --- LibreOffice ------------------------------------------------------------------------
    def check_libreoffice(self):
        # At each step under the same path, which names sheets and leads to other workbooks.
        steps = ('old', 'new', 'back')
        source = os.path.join(self.work, 'in')
        os.mkdir(source)
        files = [os.path.join(source, f'{i}.xls') for i in range(len(self.converted))]
        for step, place in zip(steps, (4, 5, 6)):
            for item, file in zip(self.converted, files):
                check_binary.plain_copy(item[place], self.passwords.get(item[0], ''), file)
            office_cells.convert(files, os.path.join(self.work, 'out ' + step),
                                 os.path.join(self.work, 'profile'))
        for number, (name, kind, word, new_word, *_) in enumerate(self.converted):
            old, new, back = (office_cells.cells(os.path.join(self.work, 'out ' + step,
                                                              f'{number}.xls'))
                              for step in steps)
            if old is None:
                print(f'{name}: LibreOffice cannot read it')
            elif new is None or back is None:
                self.fault(name, f'{word!r}: LibreOffice cannot read the result')
            else:
                self.compare_office(name, kind, (word, new_word), old[0], new[0], back[0])

    def compare_office(self, name, kind, words, old, new, back):
        same_as_old = {place: cell for place, cell in back.items() if not is_volatile(cell)}
        expected = {place: cell for place, cell in old.items() if not is_volatile(cell)}
        if expected != same_as_old:
            self.fault(name, f'{kind}: LibreOffice: not as it was: '
                             f'{differences(expected, same_as_old)}')
        self.texts_compared += len(expected)
        self.results[kind] += sum(bool(cell.formula) for cell in expected.values())
        for place in old.keys() | new.keys():
            before, after = old.get(place), new.get(place)
            if before is None or after is None:
                self.fault(name, f'{kind}: LibreOffice: {place}: {before} became {after}')
            elif before != after and not is_change(before, after, *words):
                self.fault(name, f'{kind}: LibreOffice: {place}: {before} became {after}')


def is_volatile(cell):
    return cell.formula and VOLATILE.search(cell.formula)


def is_change(before, after, word, new_word):
    """Whether this is what the replacement of a word makes, or a formula's result that follows."""
    constant = {**CONSTANTS, 'of:=': before.text}.get(before.formula)
    if constant:  # LibreOffice shows constants and formulas alike
        return (replaced(constant, word, new_word) == after.text
                or (after.formula is not None and FACTOR in after.formula))
    if before.formula:
        return after.formula is not None and (after.formula == before.formula
                                              or FACTOR in after.formula or MARK in after.formula)
    return replaced(before.text, word, new_word) == after.text or MARK in after.text


def text_rounds(texts, formulas, truth):
    """Scope, text and new text, the best first."""
    in_formulas = ' '.join(formulas.values())
    words, numbers = collections.Counter(), collections.Counter()
    for text in texts.values():
        words.update(set(re.findall(r'[^\W\d_]{3,}|^[^\W\d_]+$', text)))
        numbers.update(set(re.findall(r'^[\d.]+$', text)))
    numbers = collections.Counter({number: count for number, count in numbers.items() if all(
        len(text) <= EXACT_DIGITS for text in texts.values() if number in text)})
    known = sorted(words, key=lambda word: (word in in_formulas, -words[word], word))
    rounds = [('cells', word) for word in known[:TRIES]]
    rounds += [('cells', number) for number, _ in numbers.most_common(TRIES)]
    for needle in truth.get('needles', []) if not texts else ():
        rounds += [('cells', needle['needle'].capitalize()), ('cells', needle['needle'])]
    for kind, scope in (('headers', 'headers'), ('footers', 'footers'), ('shapes', 'shapes'),
                        ('controls', 'shapes'), ('builtin', 'builtin'), ('custom', 'custom')):
        for needle in truth.get(kind, {}).get('needles', []):
            rounds += [(scope, needle['needle'].capitalize()), (scope, needle['needle']),
                       (scope, needle['needle'].upper())]
    return [(scope, word, MARK + word) for scope, word in rounds]


def formula_rounds(formulas):
    begins = collections.Counter(text[:2] for text in formulas.values())
    for begin, _ in begins.most_common(TRIES):
        if begin != check_formulas.GAVE_UP:
            yield 'cells', '=' + begin, '=' + FACTOR + begin


def replaced(text, word, new_word):
    return text.replace(word, new_word)


def differences(expected, actual):
    places = [place for place in expected.keys() | actual.keys()
              if expected.get(place) != actual.get(place)]
    return f'{len(places)} differ; ' + '; '.join(
        f'{place}: {actual.get(place)!r} instead of {expected.get(place)!r}'
        for place in sorted(places)[:3])


def has_formats_inside(string, word):
    """Whether a format begins behind the first character of the word."""
    begins = {at for at, _ in struct.iter_unpack('<HH', string.runs)}
    return any(match.start() < begin < match.end() for match in re.finditer(word, string.text)
               for begin in begins)


def changed_kinds(old, new):
    """The numbers of the records that differ."""
    begin = 0
    while begin < min(len(old), len(new)) and old[begin] == new[begin]:
        begin += 1
    end = 0
    while end < min(len(old), len(new)) - begin and old[-1 - end] == new[-1 - end]:
        end += 1
    old, new = old[begin:len(old) - end], new[begin:len(new) - end]
    kinds = set()
    for action, a, b, c, d in difflib.SequenceMatcher(None, old, new, autojunk=False).get_opcodes():
        if action != 'equal':
            kinds |= {number for number, _ in old[a:b] + new[c:d]}
    return kinds


def main():
    arguments = check_corpus.parsed_arguments()
    truth = check_corpus.truth_of(arguments.corpus)
    checker = BackChecker(arguments)
    count = 0
    try:
        for name in sorted(truth):
            is_binary = name.split('/')[0] in check_corpus.BINARIES or name in checker.passwords
            if is_binary and arguments.only in name:
                checker.check(name, truth[name])
                count += 1
        if arguments.libreoffice:
            checker.check_libreoffice()
        print(f'{count} workbooks, {len(checker.with_macros)} with macros')
        print('there and back:', dict(checker.rounds), 'not changed:', checker.left_alone)
        print('workbook streams:', dict(checker.streams.most_common()))
        print(f'{checker.cells_compared} cells by xlrd, {checker.texts_compared} by LibreOffice, '
              f'of them formulas {dict(checker.results)}, {len(checker.faults)} faults')
        return 1 if checker.faults or not checker.rounds else 0
    finally:
        shutil.rmtree(checker.work)


if __name__ == '__main__':
    sys.exit(main())
