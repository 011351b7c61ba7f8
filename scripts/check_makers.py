#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Searches and replaces in every scope of small workbooks made by openpyxl, by XlsxWriter, by xlwt
and, where it is installed, by LibreOffice (from the workbook of XlsxWriter), and looks at the
results in the parts themselves and through openpyxl or xlrd.

Usage: check_makers.py --tarvello PROGRAM
"""
import argparse
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import warnings
import zipfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import check_binary  # noqa: E402
import check_package  # noqa: E402

warnings.simplefilter('ignore')
ADDRESS = '..\\Old\\report.xls'


def make_with_xlsxwriter(path):
    import xlsxwriter
    book = xlsxwriter.Workbook(path)
    sheet = book.add_worksheet('One')
    sheet.write(0, 0, 'price of old stock')
    sheet.write_url(1, 0, 'external:' + ADDRESS, string='a link')
    sheet.write_url(2, 0, 'internal:One!A1', string='inside')
    sheet.write_url(3, 0, 'http://old.example/a%20b?c=1&d=2', string='web')
    sheet.set_header('&LFinal&CPage &P&RFinal 2')
    sheet.set_footer('&LFinal foot')
    sheet.insert_textbox(5, 1, 'a b a b a')
    sheet.insert_textbox(12, 1, 'old box')
    book.set_properties({'title': 'Quarterly Report', 'company': 'Old Corp'})
    book.set_custom_property('Year', 2023)
    book.set_custom_property('Client', 'Old Client')
    book.close()


def make_with_openpyxl(path):
    import openpyxl
    book = openpyxl.Workbook()
    sheet = book.active
    sheet.title = 'One'
    sheet['A1'] = 'price of old stock'
    sheet['A2'] = 'a link'
    sheet['A2'].hyperlink = ADDRESS
    sheet['A4'] = 'web'
    sheet['A4'].hyperlink = 'http://old.example/a%20b?c=1&d=2'
    sheet.oddHeader.left.text, sheet.oddHeader.right.text = 'Final', 'Final 2'
    sheet.oddHeader.center.text = 'Page &P'
    sheet.oddFooter.left.text = 'Final foot'
    book.properties.title = 'Quarterly Report'
    book.save(path)


def make_with_libreoffice(path):
    folder, name = os.path.split(path)
    stem, extension = os.path.splitext(name)
    source = os.path.join(folder, 'source', stem + '.xlsx')
    os.makedirs(os.path.dirname(source), exist_ok=True)
    make_with_xlsxwriter(source)
    subprocess.run(['soffice', '--headless', '-env:UserInstallation=' + pathlib.Path(folder, 'profile').as_uri(),
                    '--convert-to', extension[1:], '--outdir', folder, source], check=True,
                   capture_output=True, timeout=120)


def make_with_xlwt(path):
    import xlwt
    book = xlwt.Workbook()
    sheet = book.add_sheet('One')
    sheet.write(0, 0, 'price of old stock')
    sheet.write(0, 1, 'old')
    sheet.write(0, 2, 'old', xlwt.easyxf(num_format_str='@'))
    bold, plain = xlwt.easyfont('bold true'), xlwt.easyfont('')
    sheet.write_rich_text(1, 0, (('an ', plain), ('old one', bold), (' and more', plain)))
    for column in range(4):
        sheet.write(2, column, 41 + column)
    sheet.write(3, 0, 0.5, xlwt.easyxf(num_format_str='0%'))
    sheet.write(3, 1, 37623, xlwt.easyxf(num_format_str='m/d/yyyy'))
    sheet.write(3, 2, True)
    sheet.write(4, 0, xlwt.Formula('A3+B3'))
    sheet.write(4, 1, xlwt.Formula('"old"&A1'))
    sheet.header_str, sheet.footer_str = b'&LFinal&CPage &P&RFinal 2', b'&LFinal foot'
    book.save(path)


# Scope, find, with, match case, count, the regular expression that its part holds afterwards.
CASES = [
    ('cells', 'old', 'new', False, 1, r'price of new stock'),
    ('hyperlinks', 'old', 'new', False, 2,
     r'(?s)new[\\/]report\.xls".*new\.example/a%20b\?c=1&amp;d=2"|'
     r'new\.example/a%20b\?c=1&amp;d=2".*new[\\/]report\.xls"'),
    ('hyperlinks', 'old', 'new', True, 0, None),
    ('hyperlinks', 'http://old.example/a%20b?c=1&d=2', 'http://else.example/', True, 1,
     r'"http://else\.example/"'),
    ('headers', 'Final', 'Draft', True, 2, r'&amp;L(&amp;"[^"]*"|[^<])*?Draft.*&amp;R.*?Draft 2'),
    ('footers', 'final', 'Draft', False, 1, r'&amp;L.*?Draft foot'),
    ('shapes', 'a', 'c', True, 3, r'c b c b c'),
    ('shapes', 'OLD', 'new', False, 1, r'new box'),
    ('builtin', 'report', 'summary', False, 1, r'Quarterly summary'),
    ('builtin', 'report', 'summary', True, 0, None),
    ('builtin', 'Quarterly Report', 'Plan', True, 1, r'>Plan<'),
    ('custom', '202', '199', False, 1, r'<(vt:)?lpwstr>1993<'),
    ('custom', 'Old Client', 'Client', True, 1, r'lpwstr>Client<'),
]
# The same for binary workbooks, in the bytes of their streams without zeros; then what xlrd sees in
# some cells.
BINARY_CASES = [
    ('cells', 'old', 'new', False, 1, r'price of new stock', {'A1': 'price of new stock'}),
    ('hyperlinks', 'old', 'new', False, 2, r'(?s)new[\\/]report\.xls.*new\.example/a%20b'),
    ('hyperlinks', 'old', 'new', True, 0, None),
    ('hyperlinks', 'http://old.example/a%20b?c=1&d=2', 'http://else.example/', True, 1,
     r'http://else\.example/'),
    ('headers', 'Final', 'Draft', True, 2, r'(?s)&L(&"[^"]*")?Draft&C.*&R(&"[^"]*")?Draft 2'),
    ('footers', 'final', 'Draft', False, 1, r'(?s)&L(&"[^"]*")?Draft foot'),
    ('shapes', 'a', 'c', True, 3, r'c b c b c'),
    ('shapes', 'OLD', 'new', False, 1, r'new box'),
    ('builtin', 'report', 'summary', False, 1, r'Quarterly summary'),
    ('builtin', 'report', 'summary', True, 0, None),
    ('builtin', 'Quarterly Report', 'Plan', True, 1, r'Plan'),
    ('custom', '202', '199', False, 1, r'1993'),
    ('custom', 'Old Client', 'Client', True, 1, r'Client'),
]
XLWT_CASES = [
    ('cells', 'old', '7/4/', True, 5, r'price of 7/4/ stock',
     {'A1': 'price of 7/4/ stock', 'B1': '7/4/', 'A2': 'an 7/4/ one and more'}),
    ('cells', 'OLD', '12.5%', False, 5, r'12\.5%', {'B1': 0.125, 'C1': '12.5%'}),
    ('cells', '42', 'x', True, 1, r'x', {'A3': 41, 'B3': 'x', 'C3': 43, 'D3': 44}),
    ('cells', '4', '1', True, 4, r'', {'A3': 11, 'B3': 12, 'C3': 13, 'D3': 11}),
    ('cells', '50%', '1', True, 1, r'', {'A4': 1}),
    ('cells', '1/2/2003', '1/3/2003', True, 1, r'', {'B4': 37624}),
    ('cells', 'TRUE', 'x', True, 1, r'x', {'C4': 'x'}),
    ('cells', 'A3', 'C3', True, 1, r'', {}),
    *BINARY_CASES[4:6],
]
# openpyxl of Debian 12 makes neither shapes nor custom properties.
LACKS = {'openpyxl': ('shapes', 'custom')}


def parts(path):
    if path.endswith('.xls'):
        return {name: entry[0] for name, entry in check_binary.members(path).items()}
    with zipfile.ZipFile(path) as archive:
        return {name: archive.read(name) for name in archive.namelist()}


def readable(content, is_binary):
    if is_binary:
        return content.replace(b'\0', b'').decode('latin-1')
    return content.decode('utf-8', 'replace')


class Checker:
    def __init__(self, program, folder):
        self.program, self.folder = program, folder
        self.environment = dict(os.environ, BRINDLE_HOME=folder, XDG_CONFIG_HOME=folder)
        self.checked, self.faults = 0, []

    def run(self, *arguments):
        done = subprocess.run([self.program, *arguments, '--json'], env=self.environment,
                              capture_output=True, check=False)
        return json.loads(done.stdout.splitlines()[0])

    def check(self, maker, path, case):
        scope, find, replacement, match_case, count, expected, *cells = case
        is_binary = path.endswith('.xls')
        label = f'{maker}, {scope}, {find!r}{", match case" if match_case else ""}'
        copy = path + '.copy' + os.path.splitext(path)[1]
        shutil.copy(path, copy)
        options = ['--in', scope] + (['--match-case'] if match_case else [])
        before = parts(path)
        for verb in (['search'], ['replace', '--with', replacement]):
            result = self.run(verb[0], '--find', find, *verb[1:], *options, copy)
            found = sum(entry['count'] for entry in result.get('entries', []))
            if found != count or result.get('error') or result.get('refused'):
                self.faults.append(f'{label}: {verb[0]} gives {result}, not {count}')
            if verb == ['search'] and parts(copy) != before:
                self.faults.append(f'{label}: the search changed the file')
        after = parts(copy)
        changed = [name for name in after if after[name] != before.get(name)]
        if expected is None and changed:
            self.faults.append(f'{label}: {changed} changed')
        if expected is not None and not any(re.search(expected, readable(after[name], is_binary))
                                            for name in changed):
            self.faults.append(f'{label}: what was expected is in none of {changed}')
        faults = (check_binary if is_binary else check_package).faults
        for fault in set(faults(copy)) - set(faults(path)):
            self.faults.append(f'{label}: {fault}')
        if is_binary:
            self.check_xlrd(label, path, copy, cells[0] if cells else {})
        else:
            self.check_openpyxl(label, path, copy, scope, find, replacement, count)
        self.checked += 1

    def check_xlrd(self, label, path, copy, expected):
        old, new = (check_binary.texts(name) for name in (path, copy))
        places = {('One', int(cell[1:]) - 1, ord(cell[0]) - ord('A')): value
                  for cell, value in expected.items()}
        for place in {**old, **new}:
            want = places.get(place, old.get(place))
            # Text cells that match are told by the case.
            if place in places or not expected:
                if new.get(place) != want:
                    self.faults.append(f'{label}: xlrd sees {new.get(place)!r} in {place}')

    def check_openpyxl(self, label, path, copy, scope, find, replacement, count):
        import openpyxl
        old, new = (openpyxl.load_workbook(name) for name in (path, copy))
        for sheet in old:
            for row in sheet.iter_rows():
                for cell in row:
                    want = cell.value
                    if scope == 'cells' and count and isinstance(want, str):
                        want = re.sub(re.escape(find), replacement, want, flags=re.I)
                    if new[sheet.title][cell.coordinate].value != want:
                        self.faults.append(f'{label}: openpyxl sees another {cell.coordinate}')


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--tarvello', required=True)
    program = os.path.abspath(parser.parse_args().tarvello)
    makers = [('openpyxl', '.xlsx', make_with_openpyxl, CASES),
              ('XlsxWriter', '.xlsx', make_with_xlsxwriter, CASES),
              ('xlwt', '.xls', make_with_xlwt, XLWT_CASES)]
    if shutil.which('soffice'):
        makers += [('LibreOffice', '.xlsx', make_with_libreoffice, CASES),
                   ('LibreOffice', '.xls', make_with_libreoffice, BINARY_CASES)]
    with tempfile.TemporaryDirectory(prefix='makers ') as folder:
        checker = Checker(program, folder)
        for maker, extension, make, cases in makers:
            path = os.path.join(folder, maker + extension)
            make(path)
            for case in cases:
                if case[0] not in LACKS.get(maker, ()):
                    checker.check(maker + extension, path, case)
        for fault in checker.faults:
            print(fault)
        print(f'{checker.checked} cases of {", ".join(maker + extension for maker, extension, *_ in makers)}, {len(checker.faults)} faults')
        return 1 if checker.faults or not checker.checked else 0


if __name__ == '__main__':
    sys.exit(main())
