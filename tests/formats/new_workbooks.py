#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Opens workbooks that are made from nothing with other readers.

    new_workbooks.py --driver PROGRAM

Every workbook is written as .xls and as .xlsx, and its cells must be what xlrd and openpyxl find;
small ones are also converted by LibreOffice, where it is installed. Of binary workbooks the
container is looked at with olefile, and the offsets in INDEX and DBCELL are followed.
Exit status 77 when a reader is not there.
"""
import argparse
import csv
import json
import os
import pathlib
import random
import re
import shutil
import struct
import subprocess
import sys
import tempfile

sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), '../../scripts'))
try:
    import check_binary
    import olefile
    import openpyxl
    import xlrd
except ImportError:
    sys.exit(77)


def every_character():
    """All of Unicode, in texts that fit into cells."""
    points = [p for p in range(1, 0x110000) if not 0xD800 <= p < 0xE000]
    for at in range(0, len(points), 16000):
        yield 'x' + ''.join(map(chr, points[at:at + 16000])) + 'x'


def long_texts():
    """Lengths and widths that meet the ends of records in many places."""
    letters = random.Random(1)
    for i in range(60):
        first = 0x416 if i % 3 else 0xB5
        yield 'x' + ''.join(chr(first + letters.randrange(20)) for _ in range(i * 547)) + 'x'


def columns(texts):
    return [[row, 1, text] for row, text in enumerate(texts, 1)]


HEADER = ['Find What', 'Replace With', 'Look In', 'MatchCase', 'Match entire cell contents']


def entries(count):
    rows = [HEADER] + [[f'word {i}', f'W\xf6rter {i % 77}', i % 7, i % 2 == 0, i % 3 == 0]
                       for i in range(count)]
    return [[r, c, value] for r, row in enumerate(rows, 1) for c, value in enumerate(row, 1)]


# name, cells, whether LibreOffice has to read the same
BOOKS = [
    ('empty', [], True),
    ('entries', entries(10000), True),
    ('scattered', [[3, 2, 'a'], [70, 256, 1.5], [71, 1, True], [200, 9, -2], [200, 10, 'b']], True),
    ('looks like', columns(['plain', '=A1', '=(', '-b', '#N/A', "'q", ' blank ', '"quoted", x',
                            'two\nlines', '\u2603 \U0001F600']), True),
    ('every character', columns(every_character()), False),
    ('long', columns(long_texts()), False),
    ('longest', [[1, 1, 'x' * 32767], [1, 2, '\U0001F600' * 16383 + '\u0416']], False),
    ('full', [[row, 3 if row % 2 else 1, row % 1000] for row in range(1, 65537)], False),
]


def make(driver, path, cells):
    return subprocess.run([driver, path], input=json.dumps(cells).encode(), capture_output=True,
                          timeout=300, check=False)


def unescaped(text):
    return re.sub('_x([0-9A-F]{4})_', lambda match: chr(int(match[1], 16)), text)


def seen_by_openpyxl(path):
    book = openpyxl.load_workbook(path)
    assert book.sheetnames == ['Sheet1']
    cells, formats = {}, {}
    for row in book.active.iter_rows():
        for cell in row:
            if cell.value is None:
                continue
            value = cell.value
            cells[cell.row, cell.column] = unescaped(value) if isinstance(value, str) else value
            formats[cell.row, cell.column] = cell.number_format
    return cells, formats


def seen_by_xlrd(path):
    book = xlrd.open_workbook(path, formatting_info=True)
    assert book.sheet_names() == ['Sheet1'] and book.codepage == 1200 and book.datemode == 0
    sheet = book.sheet_by_index(0)
    cells, formats = {}, {}
    for row in range(sheet.nrows):
        for column in range(sheet.ncols):
            kind = sheet.cell_type(row, column)
            if kind in (xlrd.XL_CELL_EMPTY, xlrd.XL_CELL_BLANK):
                continue
            value = sheet.cell_value(row, column)
            cells[row + 1, column + 1] = bool(value) if kind == xlrd.XL_CELL_BOOLEAN else value
            xf = book.xf_list[sheet.cell_xf_index(row, column)]
            formats[row + 1, column + 1] = book.format_map[xf.format_key].format_str
    return cells, formats


def seen_by_libreoffice(path, folder):
    profile = pathlib.Path(folder, 'profile').as_uri()
    subprocess.run(['soffice', '-env:UserInstallation=' + profile, '--headless',
                    '--convert-to', 'csv:Text - txt - csv (StarCalc):44,34,76,1,,0,false,true',
                    '--outdir', folder, path],
                   capture_output=True, timeout=300, check=True)
    with open(os.path.splitext(path)[0] + '.csv', newline='', encoding='utf-8') as file:
        return {(r, c): text for r, row in enumerate(csv.reader(file), 1)
                for c, text in enumerate(row, 1) if text}


def as_text(value, kind):
    if isinstance(value, bool) and kind == 'xlsx':  # in binary workbooks it shows them as numbers
        return str(value).upper()
    return value if isinstance(value, str) else f'{value:g}'


def check_stream(path):
    ole = olefile.OleFileIO(path)
    assert not ole.parsing_issues, ole.parsing_issues
    assert ole.listdir() == [['Workbook']]
    assert ole.root.clsid == '00020820-0000-0000-C000-000000000046'
    assert not check_binary.faults(path), check_binary.faults(path)
    stream = ole.openstream('Workbook').read()
    of_kind = {}
    for at, kind, body in check_binary.records(stream):
        assert len(body) <= 8224
        of_kind.setdefault(kind, []).append((at, body))
    assert at + 4 + len(body) == len(stream)

    # All that is there is led to.
    index = of_kind[check_binary.INDEX][0][1]
    blocks = of_kind.get(check_binary.DBCELL, [])
    assert struct.unpack_from('<I', index, 12)[0] == of_kind[check_binary.DEFCOLWIDTH][0][0]
    assert [at for at, _ in blocks] == [at for at, in struct.iter_unpack('<I', index[16:])]
    assert [at for at, _ in of_kind.get(check_binary.ROW, [])] == [
        at - struct.unpack_from('<I', body)[0] + 20 * i
        for at, body in blocks for i in range(len(body) // 2 - 2)]
    references, = struct.unpack_from('<I', of_kind[check_binary.SST][0][1])
    assert references == len(of_kind.get(0xFD, []))


def check(driver, folder, with_office):
    for name, cells, small in BOOKS:
        wanted = {(row, column): value for row, column, value in cells}
        for kind, see in (('xls', seen_by_xlrd), ('xlsx', seen_by_openpyxl)):
            path = os.path.join(folder, f'{name}.{kind}')
            made = make(driver, path, cells)
            assert made.returncode == 0, (path, made.stderr)
            found, formats = see(path)
            assert found == wanted, (path, [(at, found.get(at), wanted.get(at)) for at in
                                            found.keys() | wanted.keys()
                                            if found.get(at) != wanted.get(at)][:3])
            for at, value in wanted.items():
                is_plain = not isinstance(value, str) or value[0] not in '=-#'
                assert formats[at] == ('General' if is_plain else '@'), (path, at)
            if kind == 'xls':
                check_stream(path)
            if small and with_office:
                texts = {at: as_text(value, kind) for at, value in wanted.items()}
                assert seen_by_libreoffice(path, folder) == texts, path
    # What a text is entered as.
    typed = columns(['007', '5%', '1/2/2026', '$3', 'true', '2 1/128'])
    for kind, see in (('xls', seen_by_xlrd), ('xlsx', seen_by_openpyxl)):
        path = os.path.join(folder, 'typed.' + kind)
        make(driver, path, typed)
        found, formats = see(path)
        values = [found[row, 1] for row in (1, 2, 4, 5, 6)]
        assert values == [7, 0.05, 3, True, 2 + 1 / 128], values
        assert formats[2, 1] == '0%' and 'yy' in formats[3, 1] and '$' in formats[4, 1], formats
        assert formats[6, 1] == '# ???/???', formats


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--driver', required=True)
    driver = parser.parse_args().driver
    with tempfile.TemporaryDirectory(prefix='new workbooks ') as folder:
        check(driver, folder, shutil.which('soffice') is not None)


if __name__ == '__main__':
    main()
