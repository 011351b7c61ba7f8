"""What check_corpus.py needs to know of binary workbooks: their streams (by olefile), their texts
(by xlrd), and what a program that reads them could stumble over.
"""
import collections
import io
import os
import re
import shutil
import struct
import sys
import warnings

import olefile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), '../tests/cli'))
import xls_crypto  # noqa: E402
from edit_text import edit_text  # noqa: E402

BOF_IDS = (0x0009, 0x0209, 0x0409, 0x0809)
EOF, BOUNDSHEET, INDEX, DBCELL, ROW, SST, EXTSST, CONTINUE = (
    0x0A, 0x85, 0x20B, 0xD7, 0x208, 0xFC, 0xFF, 0x3C)
FILEPASS, DEFCOLWIDTH = 0x2F, 0x55
PLACES = {INDEX, DBCELL}  # of other records, to be checked by themselves
FORMULAS = (0x06, 0x206, 0x406)
CELLS = (0x06, 0xBD, 0xBE, 0xD6, 0xFD, 0x201, 0x203, 0x204, 0x205, 0x27E)


# Of no meaning to any reader, so that a decrypted stream does not say that it is encrypted.
UNKNOWN = 0x0FFF
DEFAULT_PASSWORD = 'VelvetSweatshop'  # opens without being asked for


def passwords(corpus):
    """What the encrypted workbooks of the corpus open with, by name; '' where none is needed."""
    with open(os.path.join(corpus, 'README.md'), encoding='utf-8') as file:
        rows = re.findall(r'^\| (encrypted/\S+\.xls) \|.*\| ([^|]*) \| [^|]* \|$', file.read(), re.M)
    return {name: '' if 'default' in password else password for name, password in rows
            if not password.startswith('unknown')}


def plain_copy(path, password, target):
    """Copies a workbook in the clear, with everything at its place."""
    shutil.copy(path, target)
    os.chmod(target, 0o644)
    if not olefile.isOleFile(path):
        return
    with olefile.OleFileIO(target, write_mode=True) as compound:
        for name in compound.listdir():
            if len(name) == 1 and name[0].lower() in ('workbook', 'book'):
                stream = compound.openstream(name).read()
                if is_encrypted(stream):
                    compound.write_stream(name, decrypted(stream, password))


def is_encrypted(stream):
    return any(number == FILEPASS for (_, number, _), _ in zip(records(stream), range(10)))


def decrypted(stream, password):
    plain = bytearray(xls_crypto.opened(stream, password or DEFAULT_PASSWORD).run(stream))
    at = next(at for at, number, _ in records(stream) if number == FILEPASS)
    struct.pack_into('<H', plain, at, UNKNOWN)
    return bytes(plain)


def members(path):
    """Streams and storages by path: content, class id, state bits, times."""
    if not olefile.isOleFile(path):
        with open(path, 'rb') as file:
            return {'Workbook': (file.read(),)}
    found = {}
    with olefile.OleFileIO(path) as compound:
        for name in compound.listdir(streams=True, storages=True):
            place = '/'.join(name)
            content = b''
            if compound.get_type(name) == olefile.STGTY_STREAM:
                content = compound.openstream(name).read()
            found[place] = (content, *attributes(compound.direntries[compound._find(name)]))
        # The order of all entries, but for the copy for older programs, which may go.
        names = [entry.name for entry in compound.direntries if entry]
        if 'workbook' in [name.lower() for name in names] and 'Book' in names:
            names.remove('Book')
        found['/'] = (names, *attributes(compound.root))
    return found


def attributes(entry):
    return entry.clsid, entry.dwUserFlags, entry.createTime, entry.modifyTime


def workbook_stream(path):
    streams = {name.lower(): stream for name, stream in members(path).items()}
    return streams.get('workbook', streams.get('book', (b'',)))[0]


def records(stream):
    at = 0
    while at + 4 <= len(stream):
        number, size = struct.unpack_from('<HH', stream, at)
        yield at, number, stream[at + 4:at + 4 + size]
        at += 4 + size


def faults(path):
    stream = workbook_stream(path)
    found, begins, sheets, depth = [], set(), [], 0
    all_records = list(records(stream))
    by_offset = {offset: (number, body) for offset, number, body in all_records}
    for offset, number, body in all_records:
        if number == FILEPASS:
            return []  # the bodies are encrypted
        if number in BOF_IDS:
            depth += 1
            begins.add(offset)
        elif number == EOF:
            depth -= 1
            if depth < 0:
                break  # padding
        elif number == BOUNDSHEET:
            sheets.append(struct.unpack_from('<I', body)[0])
        elif number == INDEX and len(body) >= 16:
            check_index(body, by_offset, found)
    if depth > 0:
        found.append('a substream has no end')
    found += ['a sheet does not begin where the workbook says' for sheet in sheets
              if sheet not in begins]
    check_blocks(all_records, found)
    check_strings(all_records, stream, found)
    return found


def check_index(body, by_offset, found):
    for at in range(16, len(body) - 3, 4):
        target = by_offset.get(struct.unpack_from('<I', body, at)[0])
        if target is None or target[0] != DBCELL:
            found.append('INDEX does not lead to DBCELL')


def check_blocks(all_records, found):
    """The distances in DBCELL against the rows and cells in front of it."""
    rows, first_cells = [], {}
    for offset, number, body in all_records:
        if number in BOF_IDS:
            rows, first_cells = [], {}
        elif number == ROW:
            rows.append((offset, struct.unpack_from('<H', body)[0]))
        elif number in CELLS and len(body) >= 2:
            first_cells.setdefault(struct.unpack_from('<H', body)[0], offset)
        elif number == DBCELL and rows:
            if len(body) >= 4 and offset - struct.unpack_from('<I', body)[0] != rows[0][0]:
                found.append('DBCELL does not lead to its rows')
            place = rows[0][0] + 20
            distances = struct.unpack_from(f'<{(len(body) - 4) // 2}H', body, 4)
            for (_, row), distance in zip(rows, distances):
                place += distance
                if row in first_cells and place != first_cells[row]:
                    found.append('DBCELL does not lead to the cells of a row')
            rows, first_cells = [], {}


def check_strings(all_records, stream, found):
    """EXTSST against where the strings really begin."""
    try:
        places = [string.place for string in shared_strings(all_records)]
    except (IndexError, struct.error):
        found.append('the shared strings are cut')
        return
    index = next((body for _, number, body in all_records if number == EXTSST), None)
    if index is None or len(index) < 2:
        return
    bucket = struct.unpack_from('<H', index)[0]
    for number in range((len(index) - 2) // 8):
        place, within = struct.unpack_from('<IH', index, 2 + 8 * number)
        string = number * bucket
        if string < len(places) and places[string] != (place, within):
            found.append('EXTSST does not lead to its string')


class Pieces:
    """The bytes of a record and its continuations."""

    def __init__(self, pieces):
        self.pieces, self.number, self.at = pieces, 0, 8  # behind the two counts

    def place(self):
        offset, _ = self.pieces[self.number]
        return offset + 4 + self.at, 4 + self.at

    def room(self):
        return len(self.pieces[self.number][1]) - self.at

    def advance(self):
        self.number, self.at = self.number + 1, 0
        return self.pieces[self.number]

    def take(self, count):
        taken = b''
        while count:
            if not self.room():
                self.advance()
            part = self.pieces[self.number][1][self.at:self.at + count]
            self.at += len(part)
            count -= len(part)
            taken += part
        return taken


SharedString = collections.namedtuple('SharedString', 'place text is_wide runs phonetic')


def shared_strings(all_records):
    """Of the records of a stream; none of them when there is no table of strings."""
    table = next((index for index, one in enumerate(all_records) if one[1] == SST), None)
    if table is None:
        return []
    pieces = [(all_records[table][0], all_records[table][2])]
    for offset, number, body in all_records[table + 1:]:
        if number != CONTINUE:
            break
        pieces.append((offset, body))
    reader, found = Pieces(pieces), []
    for _ in range(struct.unpack_from('<I', pieces[0][1], 4)[0]):
        if not reader.room():
            reader.advance()
        place = reader.place()
        length, flags = struct.unpack('<HB', reader.take(3))
        runs = struct.unpack('<H', reader.take(2))[0] if flags & 8 else 0
        phonetic = struct.unpack('<I', reader.take(4))[0] if flags & 4 else 0
        wide, text = flags & 1, ''
        while length:
            if not reader.room():
                reader.advance()
                wide = reader.take(1)[0] & 1
            fit = min(length, reader.room() // (2 if wide else 1))
            text += reader.take(fit * (1 + wide)).decode('utf-16-le' if wide else 'latin-1',
                                                         'surrogatepass')
            length -= fit
        found.append(SharedString(place, text, flags & 1, reader.take(4 * runs),
                                  reader.take(phonetic)))
    return found


def formula_cells(stream):
    """Sheet, row and column of every formula; a sheet without a name is called as xlrd does."""
    sheets, found, sheet = {}, set(), None
    if stream[:2] != struct.pack('<H', BOF_IDS[-1]):
        sheets[0] = 'Sheet 1'
    for offset, number, body in records(stream):
        if number == BOUNDSHEET:
            wide = len(body) > 7 and body[7] & 1 and body[6] * 2 + 8 == len(body)
            is_new = 8 + body[6] * (2 if wide else 1) == len(body)
            name = body[8:] if is_new else body[7:]
            sheets[struct.unpack_from('<I', body)[0]] = name.decode('utf-16-le' if wide
                                                                    else 'latin-1')
        elif number in BOF_IDS:
            sheet = sheets.get(offset, sheet)
        elif number in FORMULAS and sheet is not None:
            found.add((sheet, *struct.unpack_from('<HH', body)))
    return found


def opened(path, **options):
    """The workbook by xlrd, without a word about its oddities."""
    import xlrd
    with warnings.catch_warnings():
        warnings.simplefilter('ignore')
        return xlrd.open_workbook(path, logfile=io.StringIO(), on_demand=False, **options)


def texts(path):
    """Cells by sheet and place as xlrd sees them; None when it cannot read the file."""
    import xlrd
    found = {}
    try:
        workbook = opened(path)
        # xlrd shows last results, which a changed formula has not got any more.
        formulas = formula_cells(workbook_stream(path))
        for sheet in workbook.sheets():
            for row in range(sheet.nrows):
                for column in range(sheet.row_len(row)):
                    cell = sheet.cell(row, column)
                    is_formula = (sheet.name, row, column) in formulas
                    if cell.ctype != xlrd.XL_CELL_EMPTY and not is_formula:
                        found[sheet.name, row, column] = cell.value
    except Exception as error:  # whatever stops the other reader says nothing about us
        print(f'  xlrd: {error!r}')
        return None
    return found


def search_texts(path):
    """What a search meets in the cells without a formula, by sheet and place; None when xlrd cannot
    read the file."""
    import xlrd
    try:
        book = opened(path, formatting_info=True)
    except Exception as error:  # whatever stops the other reader says nothing about us
        print(f'  xlrd: {error!r}')
        return None
    formulas = formula_cells(workbook_stream(path))
    found = {}
    for sheet in book.sheets():
        for row in range(sheet.nrows):
            for column, cell in enumerate(sheet.row(row)):
                if (sheet.name, row, column) in formulas:
                    continue
                if cell.ctype == xlrd.XL_CELL_TEXT:
                    text = cell.value
                elif cell.ctype in (xlrd.XL_CELL_NUMBER, xlrd.XL_CELL_DATE):
                    form = book.xf_list[cell.xf_index].format_key
                    text = edit_text(cell.value, book.format_map[form].format_str or '',
                                     book.datemode == 1)
                elif cell.ctype == xlrd.XL_CELL_BOOLEAN:
                    text = edit_text(bool(cell.value), '')
                elif cell.ctype == xlrd.XL_CELL_ERROR:
                    text = xlrd.error_text_from_code[cell.value]
                else:
                    continue
                found[sheet.name, row, column] = text
    return found
