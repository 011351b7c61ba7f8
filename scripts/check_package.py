#!/usr/bin/env python3
"""Checks workbooks in the Office Open XML formats for what would make the application offer a
repair: relationships and their targets, content types, shared strings, cell order and types,
formula kinds, calculation chain, table headers, styles, namespaces, hyperlinks, page texts, order
of the elements.

Usage: check_package.py FILE...      exits with 1 when a file has a fault
As a module: faults(path) gives the list of faults.
"""
import posixpath
import re
import sys
import zipfile
import xml.etree.ElementTree as ElementTree
from urllib.parse import unquote

PACKAGE = 'http://schemas.openxmlformats.org/package/2006/'
OFFICE = ('http://schemas.openxmlformats.org/officeDocument/2006/relationships',
          'http://purl.oclc.org/ooxml/officeDocument/relationships')
MAIN = ('http://schemas.openxmlformats.org/spreadsheetml/2006/main',
        'http://purl.oclc.org/ooxml/spreadsheetml/main')
ERRORS = {'#NULL!', '#DIV/0!', '#VALUE!', '#REF!', '#NAME?', '#NUM!', '#N/A', '#GETTING_DATA',
          '#SPILL!', '#CALC!', '#FIELD!', '#BLOCKED!', '#UNKNOWN!', '#CONNECT!', '#BUSY!',
          '#EXTERNAL!', '#PYTHON!', '#TIMEOUT!'}
SHEET_ORDER = (
    'sheetPr dimension sheetViews sheetFormatPr cols sheetData sheetCalcPr sheetProtection '
    'protectedRanges scenarios autoFilter sortState dataConsolidate customSheetViews mergeCells '
    'phoneticPr conditionalFormatting dataValidations hyperlinks printOptions pageMargins pageSetup '
    'headerFooter rowBreaks colBreaks customProperties cellWatches ignoredErrors smartTags drawing '
    'legacyDrawing legacyDrawingHF drawingHF picture oleObjects controls webPublishItems tableParts '
    'extLst').split()
PAGE_ORDER = 'oddHeader oddFooter evenHeader evenFooter firstHeader firstFooter'.split()
NOT_IN_A_URI = re.compile('[\\x00-\\x20"<>^`{}|]|%(?![0-9A-Fa-f]{2})')


def local(tag):
    return tag.rsplit('}', 1)[-1]


def position(reference):
    letters, digits = re.fullmatch(r'([A-Z]{1,3})([0-9]+)', reference).groups()
    column = 0
    for letter in letters:
        column = column * 26 + ord(letter) - 64
    return int(digits), column


def decoded(text):
    return re.sub('_x([0-9A-Fa-f]{4})_', lambda m: chr(int(m.group(1), 16)), text)


class Package:
    def __init__(self, path):
        self.faults = []
        self.archive = zipfile.ZipFile(path)
        bad = self.archive.testzip()
        if bad:
            self.faults.append(f'{bad}: wrong checksum')
        self.names = {name.replace('\\', '/').lower().lstrip('/'): name
                      for name in self.archive.namelist()}
        self.trees = {}

    def fault(self, part, text):
        self.faults.append(f'{part}: {text}')

    def has(self, part):
        return part.lower() in self.names

    def tree(self, part):
        if part not in self.trees:
            data = self.archive.read(self.names[part.lower()])
            try:
                self.trees[part] = ElementTree.fromstring(data)
            except ElementTree.ParseError as error:
                self.fault(part, f'not well-formed: {error}')
                self.trees[part] = None
        return self.trees[part]

    def relationships(self, part):
        folder, name = posixpath.split(part)
        rels = posixpath.join(folder, '_rels', name + '.rels')
        found = {}
        if not self.has(rels):
            return found
        tree = self.tree(rels)
        for item in tree if tree is not None else []:
            if not isinstance(item.tag, str):
                continue
            target = item.get('Target')
            external = item.get('TargetMode') == 'External'
            if not external:
                path = unquote(target.split('#')[0].replace('\\', '/'))
                path = path[1:] if path.startswith('/') else posixpath.join(folder, path)
                target = posixpath.normpath(path)
                if not self.has(target):
                    self.fault(rels, f'{item.get("Id")} leads to {target}, which is not there')
            if item.get('Id') in found:
                self.fault(rels, f'{item.get("Id")} stands twice')
            found[item.get('Id')] = (item.get('Type'), target, external)
        return found


def check_content_types(package):
    tree = package.tree('[Content_Types].xml')
    if tree is None:
        return
    defaults = {item.get('Extension').lower() for item in tree if local(item.tag) == 'Default'}
    for item in tree:
        if local(item.tag) == 'Override' and not package.has(item.get('PartName').lstrip('/')):
            package.fault('[Content_Types].xml', f'{item.get("PartName")} is not there')
    overrides = {item.get('PartName').lstrip('/').lower()
                 for item in tree if local(item.tag) == 'Override'}
    for name in package.names:
        extension = name.rsplit('.', 1)[-1]
        typed = name in overrides or extension in defaults
        if not typed and not name.endswith('/') and name != '[content_types].xml':
            package.fault(name, 'has no content type')


def check_shared_strings(package, part):
    tree = package.tree(part)
    if tree is None:
        return []
    texts = []
    for item in tree:
        if local(item.tag) != 'si':
            continue
        parts = []
        for child in item:
            if local(child.tag) == 't':
                parts.append(child.text or '')
            elif local(child.tag) == 'r':
                runs = [t.text or '' for t in child if local(t.tag) == 't']
                if len(runs) != 1:
                    package.fault(part, 'a run without a text')
                parts += runs
        texts.append(decoded(''.join(parts)))
    return texts


def check_cell(package, part, cell, strings, styles, formula_cells, at):
    kind = cell.get('t', 'n')
    children = {local(child.tag): child for child in cell}
    value = children['v'].text if 'v' in children else None
    if cell.get('s') and styles is not None and int(cell.get('s')) >= styles:
        package.fault(part, f'{cell.get("r")}: style {cell.get("s")} does not exist')
    if 'f' in children:
        formula_cells.add(at)
        formula = children['f']
        if formula.get('t') == 'array' and ':' in formula.get('ref', ''):
            (top, left), (bottom, right) = map(position, formula.get('ref').split(':'))
            formula_cells.update((row, column) for row in range(top, bottom + 1)
                                 for column in range(left, right + 1))
        if formula.get('t') not in (None, 'normal', 'shared', 'array', 'dataTable'):
            package.fault(part, f'{cell.get("r")}: formula kind {formula.get("t")}')
    if kind == 's' and value is not None:
        if not value.isdigit() or int(value) >= len(strings):
            package.fault(part, f'{cell.get("r")}: shared string {value} does not exist')
            return None
        return strings[int(value)]
    if kind == 'n' and value:
        try:
            float(value)
        except ValueError:
            package.fault(part, f'{cell.get("r")}: {value!r} is no number')
    if kind == 'b' and value not in (None, '0', '1', 'true', 'false'):
        package.fault(part, f'{cell.get("r")}: {value!r} is no boolean')
    if kind == 'e' and value is not None and value not in ERRORS:
        package.fault(part, f'{cell.get("r")}: {value!r} is no error')
    if kind == 'inlineStr':
        return ''.join(t.text or '' for t in cell.iter() if local(t.tag) == 't')
    return value


def check_sheet(package, part, strings, styles, formula_cells):
    """Checks one worksheet; gives the texts by position."""
    tree = package.tree(part)
    texts = {}
    if tree is None:
        return texts
    if tree.tag not in ['{%s}worksheet' % uri for uri in MAIN]:
        package.fault(part, f'root is {tree.tag}')
    masters, children = set(), set()
    row_number = 0
    data = [child for child in tree if local(child.tag) == 'sheetData']
    for row in data[0] if data else []:
        number = int(row.get('r', row_number + 1))
        if number <= row_number:
            package.fault(part, f'row {number} behind row {row_number}')
        row_number, column = number, 0
        for cell in row:
            if local(cell.tag) != 'c':
                continue
            at = position(cell.get('r')) if cell.get('r') else (number, column + 1)
            if at[0] != number or at[1] <= column:
                package.fault(part, f'{cell.get("r")} out of order')
            column = at[1]
            texts[at] = check_cell(package, part, cell, strings, styles, formula_cells, at)
            for formula in cell:
                if local(formula.tag) == 'f' and formula.get('t') == 'shared':
                    (masters if formula.text else children).add(formula.get('si'))
    for orphan in children - masters:
        package.fault(part, f'shared formula {orphan} has no defining cell')
    return texts


def check_tables(package, part, texts):
    for kind, target, external in package.relationships(part).values():
        if not kind.endswith('/table') or external or not package.has(target):
            continue
        table = package.tree(target)
        if table is None or table.get('headerRowCount') == '0':
            continue
        first = position(table.get('ref').split(':')[0])
        columns = [item for item in table.iter() if local(item.tag) == 'tableColumn']
        names = [decoded(item.get('name')) for item in columns]
        if len({name.lower() for name in names}) != len(names):
            package.fault(target, 'two columns have one name')
        for i, name in enumerate(names):
            text = texts.get((first[0], first[1] + i))
            if text is not None and text.replace('\r\n', '\n') != name.replace('\r\n', '\n'):
                package.fault(target, f'column {name!r} stands under the header {text!r}')


def check_order(package, part, parent, order):
    names = [local(child.tag) for child in parent if isinstance(child.tag, str)]
    places = [order.index(name) for name in names if name in order]
    if places != sorted(places):
        package.fault(part, f'{local(parent.tag)}: elements out of order')


def check_links(package, part):
    rels = package.relationships(part)
    for links in package.tree(part):
        if local(links.tag) != 'hyperlinks':
            continue
        if len(links) == 0:
            package.fault(part, 'an empty list of hyperlinks')
        for link in links:
            names = [link.get('{%s}id' % uri) for uri in OFFICE if link.get('{%s}id' % uri)]
            if not names:
                if link.get('location') is None:
                    package.fault(part, f'the link of {link.get("ref")} leads nowhere')
                continue
            kind, target, external = rels.get(names[0], ('', '', False))
            if not kind.endswith('/hyperlink'):
                package.fault(part, f'{names[0]} is no hyperlink')
            elif external and (not target or NOT_IN_A_URI.search(target) or len(target) > 2079):
                package.fault(part, f'{names[0]}: {target!r} is no address')


def check_page_texts(package, part):
    check_order(package, part, package.tree(part), SHEET_ORDER)
    for pages in package.tree(part).iter():
        if local(pages.tag) != 'headerFooter':
            continue
        check_order(package, part, pages, PAGE_ORDER)
        for text in pages:
            if len(decoded(text.text or '').encode('utf-16-le')) > 2 * 255:
                package.fault(part, f'{local(text.tag)} is too long')


def check_calculation_chain(package, part, formulas_by_sheet):
    tree = package.tree(part)
    if tree is None:
        return
    sheet, count = None, 0
    for entry in tree:
        sheet = entry.get('i', sheet)
        count += 1
        if position(entry.get('r')) not in formulas_by_sheet.get(sheet, ()):
            package.fault(part, f'{entry.get("r")} of sheet {sheet} has no formula')
    if count == 0:
        package.fault(part, 'is empty')


def check_workbook(package, part):
    rels = package.relationships(part)
    tree = package.tree(part)
    if tree is None:
        return
    by_type = {}
    for kind, target, external in rels.values():
        by_type.setdefault(kind.rsplit('/', 1)[-1], []).append(target)
    strings = []
    if 'sharedStrings' in by_type and package.has(by_type['sharedStrings'][0]):
        strings = check_shared_strings(package, by_type['sharedStrings'][0])
    styles = None
    if 'styles' in by_type and package.has(by_type['styles'][0]):
        sheet = package.tree(by_type['styles'][0])
        lists = [item for item in sheet if local(item.tag) == 'cellXfs'] if sheet is not None else []
        styles = len(lists[0]) if lists else None
        if lists and lists[0].get('count') not in (None, str(styles)):
            package.fault(by_type['styles'][0], 'wrong count of cellXfs')
    formulas = {}
    for sheets in tree:
        if local(sheets.tag) != 'sheets':
            continue
        for sheet in sheets:
            ids = [sheet.get('{%s}id' % uri) for uri in OFFICE]
            rel = rels.get(next((i for i in ids if i), None))
            if rel is None:
                package.fault(part, f'sheet {sheet.get("name")} leads nowhere')
            elif rel[0].endswith('/worksheet') and package.has(rel[1]):
                cells = formulas.setdefault(sheet.get('sheetId'), set())
                texts = check_sheet(package, rel[1], strings, styles, cells)
                check_tables(package, rel[1], texts)
                if package.tree(rel[1]) is not None:
                    check_links(package, rel[1])
                    check_page_texts(package, rel[1])
    for chain in by_type.get('calcChain', []):
        if package.has(chain):
            check_calculation_chain(package, chain, formulas)


def faults(path):
    package = Package(path)
    check_content_types(package)
    for name in list(package.names.values()):
        if name.endswith('.rels'):
            folder, base = posixpath.split(name)
            package.relationships(posixpath.join(posixpath.dirname(folder), base[:-5]))
    for kind, target, external in package.relationships('').values():
        if kind.endswith('/officeDocument') and package.has(target):
            check_workbook(package, target)
    return sorted(set(package.faults))


def main():
    status = 0
    for path in sys.argv[1:]:
        for fault in faults(path):
            print(f'{path}: {fault}')
            status = 1
    return status


if __name__ == '__main__':
    sys.exit(main())
