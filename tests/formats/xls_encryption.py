#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares encrypted workbook streams, as we open and close them, with code that is not ours.

    xls_encryption.py --driver PROGRAM [--corpus FOLDER]

Streams of every method, made here, must decrypt to what was encrypted, and an edited one of another
length, encrypted by us, must decrypt to it with the other code. The same goes for property sets in
the stream "encryption", and for the real workbooks of the corpus as far as they can be opened.
Without --corpus the environment variable BRINDLE_CORPUS names the folder; they are left out without
it. Exit status 77 when python3-cryptography or python3-olefile is not there.
"""
import argparse
import os
import random
import struct
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [os.path.join(HERE, '../cli'), os.path.join(HERE, '../../scripts')]
try:
    import check_binary
    import olefile
    import xls_crypto
    from xls_crypto import BIFF5, BIFF8, BOF, BOUNDSHEET, EOF, FILEPASS, CryptoApi, Rc4, Xor
except ImportError:
    sys.exit(77)

DEFAULT = check_binary.DEFAULT_PASSWORD


def record(kind, body):
    return struct.pack('<HH', kind, len(body)) + body


def workbook(file_pass, version, seed, tail):
    """A stream that is not encrypted, but says so."""
    noise = random.Random(seed)
    begin = record(BOF, struct.pack('<HH', version, 5) + noise.randbytes(12))
    body = [record(kind, noise.randbytes(size)) for kind, size in (
        (0xE1, 2), (0x5C, 112), (0x5B, 10), (0xFC, 2080), (0x3C, 1999), (0x12, 2), (0x88, 0))]
    body.append(record(BOUNDSHEET, noise.randbytes(20)))
    sheet = [record(BOF, struct.pack('<HH', version, 16))]
    sheet += [record(noise.choice((0x203, 0x27E, 0x204)), noise.randbytes(noise.randrange(40)))
              for _ in range(200)]
    chart = [record(BOF, struct.pack('<HH', version, 32)), record(0x1002, noise.randbytes(8)),
             record(EOF, b'')]
    return b''.join([begin, record(0x86, b''), record(FILEPASS, file_pass), *body,
                     record(EOF, b''), *sheet, *chart, record(0x3E, noise.randbytes(10)),
                     record(EOF, b''), tail])


class Test:
    def __init__(self, driver):
        self.driver, self.faults, self.count = driver, 0, 0
        self.work = tempfile.TemporaryDirectory(prefix='xls encryption ')

    def check(self, condition, name, text):
        self.count += 1
        if not condition:
            self.faults += 1
            print(f'{name}: {text}', flush=True)

    def run(self, action, stream, password, *more):
        """What the driver writes; a text when it refuses."""
        words = [action]
        for i, word in enumerate([stream, password, None, *more]):
            if isinstance(word, str):
                words.append(word)
                continue
            words.append(os.path.join(self.work.name, str(i)))
            if word is not None:
                with open(words[-1], 'wb') as file:
                    file.write(word)
        done = subprocess.run([self.driver, *words], stderr=subprocess.PIPE, timeout=60)
        if done.returncode:
            return done.stderr.decode()
        with open(os.path.join(self.work.name, '2'), 'rb') as file:
            return file.read()

    def made(self):
        methods = [Xor(BIFF8), Xor(BIFF5), Rc4(), CryptoApi(40, 2, stored_bits=0)]
        methods += [CryptoApi(bits, 2 + bits // 8 % 3) for bits in (40, 56, 64, 80, 128)]
        tails = (b'', bytes(700) + record(0x203, b'behind'), b'\x85\0\xff\xff none of them', b'\x01\x02\x03')
        for i, how in enumerate(methods):
            for password in ('a', 'pass w\u00f6rd', 'fifteen letters', 'more than fifteen letters',
                             DEFAULT):
                name = f'{type(how).__name__} {vars(how)} {password}'
                version = getattr(how, 'version', BIFF8) if isinstance(how, Xor) else BIFF8
                file_pass = how.make(password)
                plain = workbook(file_pass, version, i, tails[i % 4])
                closed = how.run(plain, True)
                assert closed != plain and how.run(closed) == plain
                given = '' if password == DEFAULT else password
                self.check(self.run('decrypt', closed, given) == plain, name, 'not decrypted')
                edited = workbook(file_pass, version, i + 1000, tails[(i + 1) % 4])
                self.check(self.run('encrypt', closed, given, edited) == how.run(edited, True), name,
                           'not encrypted')
                self.check('password' in str(self.run('decrypt', closed, 'another')) or
                           password == DEFAULT, name, 'opened by another password')

    def properties(self):
        names = ['\5SummaryInformation', '\5DocumentSummaryInformation']
        sets = [(names[0], b'first' * 60, b'gap'), (names[1], b'second' * 300, b'')]
        for how in (CryptoApi(40, 2, 0x04), CryptoApi(128, 4, 0x04)):
            closed = how.run(workbook(how.make('secret'), BIFF8, 1, b''), True)
            stream = how.properties(sets)
            for name in names:
                for content in (b'', b'short', b'long' * 5000):
                    new = self.run('seal', closed, 'secret', stream, name, content)
                    expected = [(n, content if n == name else c) for n, c, _ in sets]
                    self.check(how.read_properties(new) == (expected, b'gaptail'),
                               f'properties {how.bits}', f'{name} not replaced by {content[:5]}')

    def corpus(self, folder):
        for name, given in check_binary.passwords(folder).items():
            with olefile.OleFileIO(os.path.join(folder, name)) as ole:
                stream = ole.openstream('Workbook' if ole.exists('Workbook') else 'Book').read()
                more = ole.openstream('encryption').read() if ole.exists('encryption') else None
            how = xls_crypto.opened(stream, given or DEFAULT)
            plain = self.run('decrypt', stream, given)
            self.check(plain == how.run(stream), name, 'not decrypted')
            self.check(self.run('encrypt', stream, given, plain) == stream, name, 'not what it was')
            if more is None:
                continue
            sets, rest = how.read_properties(more)
            self.check(len(sets) == 2 and all(c[:2] == b'\xfe\xff' for _, c in sets), name,
                       'no property sets')
            new = self.run('seal', stream, given, more, sets[0][0], b'another')
            self.check(how.read_properties(new) == ([(sets[0][0], b'another'), sets[1]], rest),
                       name, 'property set not replaced')


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--driver', required=True)
    parser.add_argument('--corpus', default=os.environ.get('BRINDLE_CORPUS'))
    arguments = parser.parse_args()
    test = Test(arguments.driver)
    test.made()
    test.properties()
    if arguments.corpus:
        test.corpus(arguments.corpus)
    print(f'{test.count} checks, {test.faults} faults')
    return 1 if test.faults else 0


if __name__ == '__main__':
    sys.exit(main())
