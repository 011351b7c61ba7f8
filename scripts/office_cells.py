"""The cells of workbooks as LibreOffice sees them."""
import collections
import itertools
import os
import re
import subprocess
import urllib.parse
import xml.etree.ElementTree as ElementTree

BATCH = 20
# Calculates every formula anew when it opens a workbook.
SETTINGS = '''<?xml version="1.0" encoding="UTF-8"?>
<oor:items xmlns:oor="http://openoffice.org/2001/registry">
<item oor:path="/org.openoffice.Office.Calc/Formula/Load"><prop oor:name="OOXMLRecalcMode"
oor:op="fuse"><value>0</value></prop></item>
</oor:items>
'''

Cell = collections.namedtuple('Cell', 'kind formula value text')


def convert(files, target, profile):
    """Into flat XML, in the folder `target`."""
    os.makedirs(os.path.join(profile, 'user'), exist_ok=True)
    with open(os.path.join(profile, 'user', 'registrymodifications.xcu'), 'w') as out:
        out.write(SETTINGS)
    profile = urllib.parse.quote(profile)
    for start in range(0, len(files), BATCH):
        subprocess.run(['soffice', '--headless', f'-env:UserInstallation=file://{profile}',
                        '--convert-to', 'fods', '--outdir', target, *files[start:start + BATCH]],
                       capture_output=True, timeout=1200, check=False)


OFFICE = '{urn:oasis:names:tc:opendocument:xmlns:office:1.0}'
TABLE = '{urn:oasis:names:tc:opendocument:xmlns:table:1.0}'
VALUES = 'value', 'date-value', 'time-value', 'boolean-value', 'string-value'
PARAGRAPH = '{urn:oasis:names:tc:opendocument:xmlns:text:1.0}p'


def cells(path):
    """Formula, value and text by (sheet, row, column) and the ranges of the pivot tables, from a
    workbook that was converted; None when there is none."""
    target = os.path.splitext(path)[0] + '.fods'
    if not os.path.exists(target):
        return None
    found, pivots = {}, []
    root = ElementTree.parse(target)
    for pivot in root.iter(TABLE + 'data-pilot-table'):
        pivots.append(pivot_range(pivot.get(TABLE + 'target-range-address')))
    for sheet in root.find('.//' + OFFICE + 'spreadsheet').findall(TABLE + 'table'):
        row_number = 0
        for row in rows_of(sheet):
            rows = int(row.get(TABLE + 'number-rows-repeated', 1))
            column = 0
            for element in row:
                columns = int(element.get(TABLE + 'number-columns-repeated', 1))
                cell = cell_of(element)
                for place in itertools.product(range(rows), range(columns)) if cell else ():
                    found[sheet.get(TABLE + 'name'), row_number + place[0] + 1,
                          column + place[1] + 1] = cell
                column += columns
            row_number += rows
    return found, pivots


def cell_of(element):
    """None for an empty one."""
    kind = element.get(OFFICE + 'value-type')
    value = next((element.get(OFFICE + name) for name in VALUES
                  if element.get(OFFICE + name) is not None), None)
    # Neither comments nor drawings that are anchored to the cell.
    text = '\n'.join(''.join(p.itertext()) for p in element if p.tag == PARAGRAPH)
    formula = element.get(TABLE + 'formula')
    return Cell(kind, formula, value, text) if kind or formula else None


def texts(path):
    """The same of the text constants alone."""
    seen = cells(path)
    return seen and ({place: cell.text for place, cell in seen[0].items()
                      if cell.kind == 'string' and not cell.formula}, seen[1])


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
