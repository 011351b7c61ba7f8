#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Searches and replaces in every scope of small workbooks made by openpyxl, by XlsxWriter and,
where it is installed, by LibreOffice (from the workbook of XlsxWriter), and looks at the results
in the parts themselves and through openpyxl.

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
    folder = os.path.dirname(path)
    source = os.path.join(folder, 'source', os.path.basename(path))
    os.makedirs(os.path.dirname(source), exist_ok=True)
    make_with_xlsxwriter(source)
    subprocess.run(['soffice', '--headless', '-env:UserInstallation=' + pathlib.Path(folder, 'profile').as_uri(),
                    '--convert-to', 'xlsx', '--outdir', folder, source], check=True,
                   capture_output=True, timeout=120)


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
# openpyxl of Debian 12 makes neither shapes nor custom properties.
LACKS = {'openpyxl': ('shapes', 'custom')}


def parts(path):
    with zipfile.ZipFile(path) as archive:
        return {name: archive.read(name) for name in archive.namelist()}


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
        scope, find, replacement, match_case, count, expected = case
        label = f'{maker}, {scope}, {find!r}{", match case" if match_case else ""}'
        copy = path + '.copy.xlsx'
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
        if expected and not any(re.search(expected, after[name].decode('utf-8', 'replace'))
                                for name in changed):
            self.faults.append(f'{label}: what was expected is in none of {changed}')
        for fault in set(check_package.faults(copy)) - set(check_package.faults(path)):
            self.faults.append(f'{label}: {fault}')
        self.check_openpyxl(label, path, copy, scope, find, replacement, count)
        self.checked += 1

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
    makers = {'openpyxl': make_with_openpyxl, 'XlsxWriter': make_with_xlsxwriter}
    if shutil.which('soffice'):
        makers['LibreOffice'] = make_with_libreoffice
    with tempfile.TemporaryDirectory(prefix='makers ') as folder:
        checker = Checker(program, folder)
        for maker, make in makers.items():
            path = os.path.join(folder, maker + '.xlsx')
            make(path)
            for case in CASES:
                if case[0] not in LACKS.get(maker, ()):
                    checker.check(maker, path, case)
        for fault in checker.faults:
            print(fault)
        print(f'{checker.checked} cases of {", ".join(makers)}, {len(checker.faults)} faults')
        return 1 if checker.faults or not checker.checked else 0


if __name__ == '__main__':
    sys.exit(main())
