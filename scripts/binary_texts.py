"""A plain reading of the texts of binary workbooks that are not in cells."""
import re
import struct

import check_binary

SCOPES = ('links', 'headers', 'footers', 'shapes')
HEADER, FOOTER, OBJECT, TEXT = 0x14, 0x15, 0x5D, 0x1B6
VIEW_BEGIN, VIEW_END = 0x1AA, 0x1AB
NOTE = 0x19  # the kind of object that a comment is
WORKSHEET, DIALOG = 0, 0x10  # kind of sheet; flag in WSBOOL
WSBOOL = 0x81
CODE_PAGES = {1250: 'cp1250', 1251: 'cp1251', 1253: 'cp1253', 10000: 'mac_roman'}


class BinaryTexts:
    """Of a workbook stream in the clear."""

    def __init__(self, stream):
        self.all = list(check_binary.records(stream))
        _, bof, body = self.all[0]
        self.is_new = bof == check_binary.BOF_IDS[-1] and body[:2] == b'\0\6'
        page = [struct.unpack_from('<H', body)[0] for _, number, body in self.all
                if number == 0x42][:1]
        self.code_page = CODE_PAGES.get(page[0] if page else 0, 'cp1252')
        index = {at: i for i, (at, _, _) in enumerate(self.all)}
        self.texts = {scope: [] for scope in SCOPES}
        self.in_texts = set()
        sheets = [body for _, number, body in self.all if number == check_binary.BOUNDSHEET]
        if bof != check_binary.BOF_IDS[-1]:
            self.read_sheet(0)
        for body in sheets:
            if body[5] == WORKSHEET:
                self.read_sheet(index[struct.unpack_from('<I', body)[0]])
        # Everything but the texts; places may move.
        self.other = [(number, body[4:] if number == check_binary.BOUNDSHEET else body)
                      for i, (_, number, body) in enumerate(self.all) if i not in self.in_texts]

    def read_sheet(self, i):
        """Of sheets that say more than once what stands on their pages, the first is asked."""
        depth, owner, pages, is_view, shapes, is_dialog = 0, None, {}, False, [], False
        while True:
            _, number, body = self.all[i]
            depth += (number in check_binary.BOF_IDS) - (number == check_binary.EOF)
            if depth == 0:
                break
            if number in (VIEW_BEGIN, VIEW_END):
                is_view = number == VIEW_BEGIN
            elif depth == 1 and number == WSBOOL:
                is_dialog = bool(body[0] & DIALOG)
            elif depth == 1 and number in (HEADER, FOOTER) and not is_view:
                pages.setdefault(number, self.string(body))
            elif depth == 1 and number == OBJECT and len(body) > 5:
                owner, = struct.unpack_from('<H', body, 4)
            elif depth == 1 and number == TEXT and self.is_new:
                text = self.shape(i)
                if owner != NOTE:
                    shapes.append(text)
            i += 1
        if is_dialog:
            return
        self.texts['shapes'] += shapes
        for number, scope in ((HEADER, 'headers'), (FOOTER, 'footers')):
            self.texts[scope] += sections(pages.get(number, ''))

    def string(self, body):
        if not body:
            return ''
        if not self.is_new:
            return body[1:1 + body[0]].decode(self.code_page)
        flags = body[2] if len(body) > 2 else 0
        return body[3:].decode('utf-16le' if flags & 1 else 'latin-1')

    def shape(self, i):
        count, runs = struct.unpack_from('<HH', self.all[i][2], 10)
        text = ''
        self.in_texts.add(i)
        while len(text) < count:
            i += 1
            self.in_texts.add(i)
            body = self.all[i][2]
            text += body[1:].decode('utf-16le' if body[0] & 1 else 'latin-1')
        while count and runs > 0:
            i += 1
            self.in_texts.add(i)
            runs -= len(self.all[i][2])
        return text


def sections(text):
    """Left, centre and right; in front of the first code it is centre."""
    found, side = {'L': '', 'C': '', 'R': ''}, 'C'
    for piece in re.findall(r'&"[^"]*"|&.|[^&]+|&', text, re.S):
        if re.fullmatch('&[LCR]', piece, re.I):
            side = piece[1].upper()
        else:
            found[side] += piece
    return list(found.values())


def addresses(path):
    """Those of links, by xlrd; None when it cannot read the file."""
    try:
        book = check_binary.opened(path, formatting_info=True)
    except Exception as error:  # whatever stops the other reader says nothing about us
        print(f'  xlrd: {error!r}')
        return None
    found = []
    for sheet in book.sheets():
        for link in sheet.hyperlink_list:
            where = link.url_or_path or ''
            where = where.decode('cp1252') if isinstance(where, bytes) else where
            found.append(where.split('#')[0])
    return found
