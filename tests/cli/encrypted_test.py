#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the command line over encrypted workbooks, made here and real ones, and takes what it wrote
apart with code that is not ours.

    encrypted_test.py --tarvello PROGRAM [--corpus FOLDER] [--only TEXT]

Exit status 77 when python3-cryptography, python3-olefile or python3-xlrd is not there. Without
--corpus the environment variable BRINDLE_CORPUS names the folder of real files; they are left out
without it.
"""
import argparse
import io
import json
import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import time
import warnings
import zipfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), '../../scripts'))
try:
    import check_binary
    import openpyxl
    import xlrd
    import xls_crypto
    from hostile_books import Member, archive
    from office_crypto import Agile, Standard, encrypted, file_of, opened, streams_of
    from xls_books import Compound
except ImportError:
    sys.exit(77)

warnings.simplefilter('ignore')
PASSWORD_NEEDED = 'The document needs a password to open'
PASSWORD_WRONG = 'The password you supplied is not correct'
CERTIFICATE = ('<keyEncryptor uri="http://schemas.microsoft.com/office/2006/keyEncryptor/'
               'certificate"><c:encryptedKey encryptedKeyValue="QUJD" X509Certificate="REVG" '
               'certVerifier="R0hJ"/></keyEncryptor>')


def workbook(rows=400):
    book = openpyxl.Workbook()
    for i in range(rows):
        book.active.append([f'apple {i}', i, f'pear {i * 7919 % 1009}'])
    out = file_of(b'')
    book.save(out)
    return out.getvalue()


def raw_members(package):
    """Stored bytes of each member, by name."""
    found = {}
    with zipfile.ZipFile(file_of(package)) as archive:
        for info in archive.infolist():
            name, extra = struct.unpack_from('<2H', package, info.header_offset + 26)
            at = info.header_offset + 30 + name + extra
            found[info.filename] = package[at:at + info.compress_size]
    return found


def binary_texts(stream):
    """The cells of a decrypted workbook stream, and how many formulas of them show nothing."""
    clear = bytearray(stream)
    for body, kind, _ in xls_crypto.records(stream):
        if kind == xls_crypto.FILEPASS:
            struct.pack_into('<H', clear, body - 4, 0xFFFF)  # no record that a reader knows
    book = xlrd.open_workbook(file_contents=bytes(clear), logfile=io.StringIO())
    found = [(sheet.name, row, column, sheet.cell_value(row, column)) for sheet in book.sheets()
             for row in range(sheet.nrows) for column in range(sheet.ncols)]
    blank = {tuple(place) for *place, value in found if value == ''}
    return found, len(blank & check_binary.formula_cells(stream))


def texts(package):
    book = openpyxl.load_workbook(file_of(package))
    return [(sheet.title, cell.coordinate, cell.value) for sheet in book
            for row in sheet.iter_rows() for cell in row if cell.value is not None]


def corpus_table(corpus, ending):
    """Name and password of each encrypted document."""
    return re.findall(rf'^\| (encrypted/[^|]*{ending}) \|(?:[^|]*\|){{3}} ([^|]*?) \|',
                      bytes_of(os.path.join(corpus, 'README.md')).decode(), re.M)


def replaced(value, word):
    if not isinstance(value, str):
        return value
    return re.sub(re.escape(word), 'Qvz' + word, value, flags=re.I)


def bytes_of(path):
    with open(path, 'rb') as file:
        return file.read()


class Test:
    def __init__(self, program, only):
        self.program, self.only, self.faults, self.count = program, only, 0, 0
        self.work = tempfile.TemporaryDirectory(prefix='encrypted documents ')
        self.environment = dict(os.environ, BRINDLE_HOME=self.path('home'))
        os.mkdir(self.path('home'))

    def path(self, *names):
        return os.path.join(self.work.name, *names)

    def check(self, condition, name, text):
        if not condition:
            self.faults += 1
            print(f'{name}: {text}', flush=True)

    def run(self, *words):
        begin = time.monotonic()
        done = subprocess.run([self.program, *words, '--json'], capture_output=True, timeout=60,
                              env=self.environment)
        document = json.loads(done.stdout.splitlines()[0])
        document['seconds'] = time.monotonic() - begin
        document['status code'] = done.returncode
        return document

    def put(self, name, content):
        folder = self.path('documents')
        shutil.rmtree(folder, ignore_errors=True)
        os.mkdir(folder)
        path = os.path.join(folder, name)
        with open(path, 'wb') as file:
            file.write(content)
        return path

    def rows(self, table):
        for name, *row in table:
            if self.only in name:
                self.count += 1
                yield (name, *row)

    # --- what works --------------------------------------------------------------------------

    def replace(self, name, path, old, new, words, may_refuse=False):
        """Whether the workbook was not protected."""
        document = self.run('replace', '--find', old, '--with', new, path, *words)
        if may_refuse and 'protected' in str(document.get('refused')):
            return False
        self.check(document['status'] == 'changed', name, f'not changed: {document}')
        return True

    def changes(self, name, path, password, given, word):
        """Replaces a word and looks at everything that was written."""
        old = opened(path, password)
        words = ['--password', given] if given else []
        self.replace(name, path, word, 'Qvz' + word, words)
        self.check(os.listdir(os.path.dirname(path)) == [os.path.basename(path)], name, 'left over')
        try:
            package, settings, fresh, key, others = opened(path, password)
        except Exception as error:
            self.check(False, name, f'cannot be opened: {error!r}')
            return
        self.check(settings == old[1], name, f'settings {settings} instead of {old[1]}')
        self.check(not set(fresh) & set(old[2]), name, 'a salt or verifier is the old one')
        keeps = isinstance(settings, str) and settings.count('<keyEncryptor ') > 1
        self.check((key == old[3]) == keeps, name, 'the key is old, or new where it must stay')
        self.check(others == old[4], name, 'other streams differ')
        try:
            opened(path, password + '!')
            self.check(False, name, 'opens with another password')
        except ValueError:
            pass
        before, after = raw_members(old[0]), raw_members(package)
        self.check(list(before) == list(after), name, 'members differ')
        may = re.compile(r'sharedStrings|worksheets/|workbook\.xml$|styles\.xml$', re.I)
        changed = [m for m in after if after[m] != before[m]]
        self.check(changed and all(may.search(m) for m in changed), name, f'{changed} changed')
        expected = [(*place, value if str(value).startswith('=') else replaced(value, word))
                    for *place, value in texts(old[0])]
        self.check(texts(package) == expected, name, 'other texts than expected')
        self.replace(name, path, 'Qvz' + word, word, words)
        self.check(texts(opened(path, password)[0]) == texts(old[0]), name, 'not what it was')

    def passwords(self, name, path, password):
        before = bytes_of(path)
        for given, kind, text in ((password, None, None), ('Wr0ng', 1004, PASSWORD_WRONG),
                                  (password.swapcase() + ' ', 1004, PASSWORD_WRONG),
                                  ('', 1004, PASSWORD_NEEDED)):
            for action in (['search'], ['replace', '--with', 'x']):
                words = ['--password', given] if given else []
                document = self.run(*action, '--find', 'no such text', path, *words)
                error = document.get('error', {})
                self.check((error.get('number'), error.get('description')) == (kind, text), name,
                           f'{action[0]} with {given!r}: {document}')
        self.check(bytes_of(path) == before, name, 'was written')

    def generated(self):
        package = workbook()
        odd = workbook(1)
        table = [(f'agile AES {bits} {hash}', Agile(bits=bits, hash=hash, rounds=rounds), 9)
                 for bits, hash, rounds in (
                     (128, 'SHA1', 1000), (192, 'SHA256', 5), (256, 'SHA384', 0),
                     (256, 'SHA512', 100000), (256, 'SHA1', 77), (128, 'MD5', 50),
                     (128, 'RIPEMD-160', 50), (128, 'SHA-512', 50), (256, 'MD5', 3))]
        table += [
            ('agile AES CFB', Agile(chaining='ChainingModeCFB'), 9),
            ('agile DES', Agile('DES', 64, 'SHA1'), 9),
            ('agile DES CFB', Agile('DES', 64, 'SHA1', 'ChainingModeCFB'), 9),
            ('agile 3DES', Agile('3DES', 192, 'SHA1'), 9),
            ('agile 3DES_112', Agile('3DES_112', 128, 'SHA256'), 9),
            ('agile with a long salt', Agile(salt_size=64), 9),
            ('agile with a short salt', Agile(salt_size=5), 9),
            ('agile with sectors of 4096', Agile(), 12),
            ('agile with a certificate in front', Agile(others=CERTIFICATE), 9),
            ('agile without integrity', Agile(integrity=False), 9),
            ('agile with a password of other letters', Agile(password='пароль €😀'), 9),
            ('agile with a long password', Agile(password='p' * 255), 9),
        ]
        table += [(f'standard {bits}, version {version}', Standard(bits, version), 9)
                  for bits, version in ((128, 2), (128, 3), (128, 4), (192, 3), (256, 4))]
        for name, how, shift in self.rows(table):
            path = self.put('b k.xlsx', encrypted(how, package, shift=shift))
            self.passwords(name, path, how.password)
            self.changes(name, path, how.password, how.password, 'apple')
        for name, how in self.rows([('default, agile', Agile(password='VelvetSweatshop')),
                                    ('default, standard', Standard(password='VelvetSweatshop'))]):
            for given in ('', 'some other'):
                path = self.put('b k.xlsx', encrypted(how, odd))
                self.changes(f'{name}, {given!r}', path, how.password, given, 'apple')

    # --- what fails --------------------------------------------------------------------------

    def failures(self):
        package = workbook(50)

        def document(change, which, how):
            def make():
                written = dict(zip(('EncryptionInfo', 'EncryptedPackage'), how.write(package)))
                changed = {**written, which: change(written[which])}
                assert changed != written
                return Compound(changed).bytes()
            return make

        info = lambda change, how=Agile(): document(change, 'EncryptionInfo', how)
        stream = lambda change, how=Agile(): document(change, 'EncryptedPackage', how)
        number = lambda at, value: (
            lambda data: data[:at] + struct.pack('<I', value) + data[at + 4:])
        flipped = lambda at: lambda data: data[:at] + bytes([data[at] ^ 1]) + data[at + 1:]
        text = lambda old, new: info(lambda data: data.replace(old, new))
        whole = encrypted(Agile(), package)
        spun = lambda rounds: text(b'spinCount="1000"', b'spinCount="%d"' % rounds)
        broken = 'The description of the encryption is broken'
        shorter = 'The encrypted package is shorter than the package in it'
        altered = 'The encrypted package is not what was encrypted'
        own = "The document is encrypted by another program's own method"
        table = [
            ('ten million rounds', spun(10_000_000), 'too many rounds: 10000000'),
            ('2^31 rounds', spun(1 << 31), 'too many rounds: 2147483648'),
            ('2^40 rounds', spun(1 << 40), 'too many rounds'),
            ('rounds up to the limit', spun(4_000_000), PASSWORD_WRONG),
            ('negative rounds', spun(-1), broken),
            ('unknown cipher', text(b'"AES"', b'"DESX"'), 'unknown cipher: DESX'),
            ('unknown hash', text(b'"SHA512"', b'"WHIRLPOOL"'), 'unknown hash: WHIRLPOOL'),
            ('unknown chaining', text(b'ModeCBC', b'ModeXTS'), 'unknown chaining'),
            ('odd key size', text(b'keyBits="256"', b'keyBits="250"'),
             'unknown cipher: AES of 250'),
            ('huge key', text(b'keyBits="256"', b'keyBits="99999999999"'), 'unknown cipher'),
            ('other hash size', text(b'hashSize="64"', b'hashSize="63"'), broken),
            ('other block size', text(b'blockSize="16"', b'blockSize="4096"'), broken),
            ('other salt size', text(b'saltSize="16"', b'saltSize="17"'), broken),
            ('no base64', text(b'encryptedKeyValue="', b'encryptedKeyValue="!'), broken),
            ('short key', info(lambda data: re.sub(
                b'encryptedKeyValue="[^"]*"', b'encryptedKeyValue="QUJD"', data)), broken),
            ('no key data', text(b'keyData', b'KeyData'), broken),
            ('a certificate alone', text(b'p:encryptedKey', b'c:encryptedKey'),
             'not encrypted with a password'),
            ('ill-formed', text(b'</keyEncryptors>', b''), ''),
            ('document type', text(b'<encryption', b'<!DOCTYPE a><encryption'), ''),
            ('cut description', info(lambda data: data[:7]), broken),
            ('extensible', info(number(0, 0x30004)), own),
            ('external', info(number(4, 0x10), Standard()), own),
            ('unknown version', info(lambda data: b'\7' + data[1:]), 'unknown way'),
            ('standard RC4', info(number(20, 0x6801), Standard()), 'unknown cipher'),
            ('standard, other key size', info(number(28, 256), Standard()), broken),
            ('standard, huge header', info(number(8, 0xFFFFFFF0), Standard()), broken),
            ('standard, cut', info(lambda data: data[:-1], Standard()), broken),
            ('a bit of the package', stream(flipped(500)), altered),
            ('a bit of the size', stream(flipped(0)), altered),
            ('a bit of the end', stream(flipped(-1)), altered),
            ('package cut', stream(lambda data: data[:4500]), altered),
            ('package gone', stream(lambda data: b''), altered),
            ('size beyond, standard', stream(number(4, 1 << 30), Standard()), shorter),
            ('size missing, standard', stream(lambda data: data[:5], Standard()), shorter),
            ('bits of the package, standard',
             stream(lambda data: data[:-64] + bytes(64), Standard()), 'not a complete zip archive'),
            ('no zip inside', lambda: encrypted(Agile(), b'no archive'), ''),
            ('no workbook inside', lambda: encrypted(Agile(), archive([Member('a', b'b')])),
             'not in a recognizable format'),
            ('a binary workbook beside',
             lambda: encrypted(Agile(), package, {'Workbook': b'x' * 5000}),
             'The workbook does not begin as one'),
            ('no package',
             lambda: Compound({'EncryptionInfo': Agile().write(package)[0]}).bytes(),
             'not in a recognizable format'),
            ('cut compound file', lambda: whole[:len(whole) // 2], ''),
            ('compound header alone', lambda: whole[:512], ''),
        ]
        for name, make, text in self.rows(table):
            content = make()
            path = self.put('b k.xlsx', content)
            outcome = self.run('replace', '--find', 'apple', '--with', 'x', path,
                               '--password', 'secret')
            error = outcome.get('error', {}).get('description', '')
            self.check((outcome['status'], outcome['status code']) == ('failed', 2), name, outcome)
            self.check(text in error and len(error) > 10, name, f'{error!r} instead of {text!r}')
            if text != PASSWORD_WRONG:
                self.check(PASSWORD_WRONG not in error, name, 'said to be the password')
            self.check(outcome['seconds'] < 10, name, f'took {outcome["seconds"]:.1f} s')
            self.check(bytes_of(path) == content, name, 'was written')
            self.check(len(os.listdir(os.path.dirname(path))) == 1, name, 'left over')

    # --- real files --------------------------------------------------------------------------

    def real(self, corpus):
        self.binaries(corpus)
        table = corpus_table(corpus, r'\.xls[xmb]')
        self.check(len(table) >= 8, 'corpus', f'{len(table)} encrypted packages')
        for name, password in self.rows(table):
            path = self.put(os.path.basename(name), bytes_of(os.path.join(corpus, name)))
            package = opened(path, password)[0]
            if name.endswith('.xlsb'):
                document = self.run('search', '--find', 'a', path, '--password', password)
                self.check('a binary workbook' in document['error']['description'], name, document)
                continue
            self.passwords(name, path, password)
            words = [word for _, _, value in texts(package) if isinstance(value, str)
                     and not value.startswith('=') for word in re.findall(r'[A-Za-z]{3,}', value)]
            print(f'{name}: {len(words)} words')
            if words:
                self.changes(name, path, password, password, words[0])

    def binaries(self, corpus):
        table = corpus_table(corpus, r'\.xls')
        self.check(len(table) >= 16, 'corpus', f'{len(table)} encrypted binary workbooks')
        for name, password in self.rows(table):
            path = self.put(os.path.basename(name), bytes_of(os.path.join(corpus, name)))
            if password.startswith('unknown'):
                for given, text in (('', PASSWORD_NEEDED), ('Wr0ng', PASSWORD_WRONG)):
                    words = ['--password', given] if given else []
                    document = self.run('search', '--find', 'a', path, *words)
                    self.check(document['error']['description'] == text, name, document)
            elif ' ' in password:
                for given in ('', 'some other'):
                    self.changes_binary(f'{name}, {given!r}', path, 'VelvetSweatshop', given)
            else:
                # The oldest encryption does not look beyond 15 characters.
                if len(password) < 15:
                    self.passwords(name, path, password)
                self.changes_binary(name, path, password, password)

    def changes_binary(self, name, path, password, given):
        """As changes(), for a workbook stream that is encrypted where it stands."""
        old = streams_of(path)
        main = next(each for each in old if each.lower() in ('workbook', 'book'))
        cipher = xls_crypto.opened(old[main], password)
        before, unseen = binary_texts(cipher.run(old[main]))
        found = [word for *_, value in before if isinstance(value, str)
                 for word in re.findall(r'[A-Za-z]{3,}', value)]
        print(f'{name}: {len(found)} words')
        words = ['--password', given] if given else []
        document = self.run('search', '--find', '*', path, *words)
        cells = sum(value != '' for *_, value in before) + unseen
        self.check(sum(entry['count'] for entry in document['entries']) == cells, name,
                   f'{cells} cells are there: {document}')
        if not found:
            return
        word = found[0]
        is_free = self.replace(name, path, word, 'Qvz' + word, words, may_refuse=True)
        new = streams_of(path)
        if not is_free:
            self.check(new == old, name, 'was written')
            return
        self.check(xls_crypto.file_pass(new[main]) == xls_crypto.file_pass(old[main]), name,
                   'another salt or verifier')
        self.check({**old, main: b''} == {**new, main: b''}, name, 'other streams differ')
        after, _ = binary_texts(xls_crypto.opened(new[main], password).run(new[main]))
        expected = [(*place, replaced(value, word)) for *place, value in before]
        self.check(after == expected, name, 'other texts than expected')
        self.replace(name, path, 'Qvz' + word, word, words)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--tarvello', required=True)
    parser.add_argument('--corpus', default=os.environ.get('BRINDLE_CORPUS'))
    parser.add_argument('--only', default='')
    arguments = parser.parse_args()
    test = Test(os.path.abspath(arguments.tarvello), arguments.only)
    test.generated()
    test.failures()
    if arguments.corpus:
        test.real(arguments.corpus)
    print(f'{test.count} rows, {test.faults} faults')
    return 1 if test.faults or not test.count else 0


if __name__ == '__main__':
    sys.exit(main())
