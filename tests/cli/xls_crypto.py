# SPDX-License-Identifier: MIT
"""Encrypted binary workbooks without our own code: written and opened, after [MS-XLS] 2.2.10 and
[MS-OFFCRYPTO] 2.3.5 to 2.3.7, with hashlib and python3-cryptography."""
import hashlib
import os
import struct
import warnings

from cryptography.hazmat.primitives.ciphers import Cipher, algorithms

warnings.simplefilter('ignore')

BOF, EOF, FILEPASS, BOUNDSHEET = 0x809, 0x0A, 0x2F, 0x85
CLEAR = (9, 0x209, 0x409, BOF, FILEPASS, 0xE1, 0x138, 0x194, 0x195, 0x196)
BIFF8, BIFF5 = 0x600, 0x500
MATRIX = struct.unpack('>105H', bytes.fromhex('''
    AEFC4DD99BB227454E8A9D142A09 7B61F6C2FDA5EB6BC6F79DCF2BBF 45638AC605AD0B5A16B42D685AD0
    0375 06EA0DD41BA837506EA0DD40 D849A0B35147A28E553DAA7A44D5 6F45DE8AAD354A4B9496390D721A
    EB23C6679CEF29FF53FEA7FC5FD9 47D38FA60F6D1EDA3DB47B68F6D0 B86160E3C1C693AD377B6EF6DDEC
    45A08B4006A10D421A8435086A10 AA51448389 06022D045A08B41168 76B4ED68CAF185C31BA7374E6E9C
    37306E60DCC0A9A1436386C61DAD 33316662CCC489A9037306E60DCC 1021204240848108123124624 8C4
    '''.replace(' ', '').replace('\n', '')))
START = struct.unpack('>15H', bytes.fromhex(
    'E1F01D0FCC9C84C0110C0E10F1CE313E1872E139D40F84F9280CA96A4EC3'))
PADDING = bytes.fromhex('BBFFFFBAFFFFB98000BE0F00BF0F00')


def rc4(key, data):
    return Cipher(algorithms.ARC4(key), None).encryptor().update(data)


def records(stream):
    """Position of the body, id and size of each record that stands in a substream."""
    at = depth = 0
    while at + 4 <= len(stream):
        kind, size = struct.unpack_from('<HH', stream, at)
        depth += kind in (9, 0x209, 0x409, BOF)
        if depth == 0 and at + 4 + size > len(stream):
            return
        assert at + 4 + size <= len(stream)
        if depth:
            yield at + 4, kind, size
        depth -= kind == EOF and depth > 0
        at += 4 + size


class Rc4:
    def make(self, password):
        """A new FILEPASS body."""
        self.salt, test = os.urandom(16), os.urandom(16)
        self.prepare(password)
        return struct.pack('<3H', 1, 1, 1) + self.salt + rc4(
            self.key(0), test + hashlib.md5(test).digest())

    def read(self, body, password):
        self.salt = body[6:22]
        self.prepare(password)
        plain = rc4(self.key(0), body[22:54])
        return hashlib.md5(plain[:16]).digest() == plain[16:]

    def prepare(self, password):
        short = hashlib.md5(password.encode('utf-16-le')).digest()[:5]
        self.secret = hashlib.md5((short + self.salt) * 16).digest()[:5]

    def key(self, block):
        return hashlib.md5(self.secret + struct.pack('<I', block)).digest()

    def turn(self, stream, encrypting):
        pad = b''.join(rc4(self.key(n), bytes(1024)) for n in range(len(stream) // 1024 + 1))
        for at, _ in self.places(stream):
            stream[at] ^= pad[at]

    @staticmethod
    def places(stream):
        """Where an encrypted byte stands, and the size of the body that it is in."""
        encrypted = False
        for body, kind, size in list(records(stream)):
            if encrypted and kind not in CLEAR:
                for at in range(body + (4 if kind == BOUNDSHEET else 0), body + size):
                    yield at, size
            encrypted = encrypted or kind == FILEPASS

    def run(self, stream, encrypting=False):
        stream = bytearray(stream)
        self.turn(stream, encrypting)
        return bytes(stream)


class CryptoApi(Rc4):
    def __init__(self, bits=128, version=4, flags=0x0C, stored_bits=None):
        self.bits, self.version, self.flags = bits, version, flags
        self.stored_bits = bits if stored_bits is None else stored_bits

    def make(self, password):
        self.salt, test = os.urandom(16), os.urandom(16)
        self.prepare(password)
        header = struct.pack('<8I', self.flags, 0, 0x6801, 0x8004, self.stored_bits, 1, 0, 0)
        header += 'Some Provider\0'.encode('utf-16-le')
        sealed = rc4(self.key(0), test + hashlib.sha1(test).digest())
        return (struct.pack('<3H2I', 1, self.version, 2, self.flags, len(header)) + header +
                struct.pack('<I', 16) + self.salt + sealed[:16] + struct.pack('<I', 20) +
                sealed[16:])

    def read(self, body, password):
        self.flags, size = struct.unpack_from('<II', body, 6)
        self.bits = struct.unpack_from('<I', body, 30)[0] or 40
        at = 14 + size + 4
        self.salt = body[at:at + 16]
        self.prepare(password)
        plain = rc4(self.key(0), body[at + 16:at + 32] + body[at + 36:at + 56])
        return hashlib.sha1(plain[:16]).digest() == plain[16:]

    def prepare(self, password):
        self.secret = hashlib.sha1(self.salt + password.encode('utf-16-le')).digest()

    def key(self, block):
        key = hashlib.sha1(self.secret + struct.pack('<I', block)).digest()[:self.bits // 8]
        return key.ljust(16, b'\0') if self.bits == 40 else key

    # --- the stream "encryption" -------------------------------------------------------------

    def properties(self, sets):
        """The stream, from name, content and what stands behind each."""
        body, directory = b'', struct.pack('<I', len(sets))
        for block, (name, content, gap) in enumerate(sets):
            directory += struct.pack('<IIHBBI', 8 + len(body), len(content), block, len(name), 1,
                                     0xDEAD) + (name + '\0').encode('utf-16-le')
            body += rc4(self.key(block), content) + gap
        header = struct.pack('<II', 8 + len(body), len(directory))
        return rc4(self.key(0), header) + body + rc4(self.key(0), directory) + b'tail'

    def clear_directory(self, stream):
        """The stream with its header and its directory decrypted."""
        header = rc4(self.key(0), stream[:8])
        at, size = struct.unpack('<II', header)
        directory = rc4(self.key(0), stream[at:at + size])
        return header + stream[8:at] + directory + stream[at + size:]

    def read_properties(self, stream):
        """Name and content of each, and everything that belongs to none."""
        clear = self.clear_directory(stream)
        at, size = struct.unpack_from('<II', clear)
        directory = clear[at:at + size]
        place, found, used = 4, [], [(0, 8), (at, at + size)]
        for _ in range(struct.unpack_from('<I', directory)[0]):
            start, length, block, letters = struct.unpack_from('<IIHB', directory, place)
            name = directory[place + 16:place + 16 + 2 * letters].decode('utf-16-le')
            found.append((name, rc4(self.key(block), stream[start:start + length])))
            used.append((start, start + length))
            place += 18 + 2 * letters
        rest, end = b'', 0
        for begin, behind in sorted(used):
            rest, end = rest + stream[end:begin], behind
        return found, rest + stream[end:]


class Xor(Rc4):
    def __init__(self, version=BIFF8):
        self.version = version

    def make(self, password):
        self.prepare(password.encode('cp1252')[:15])
        return struct.pack('<3H', 0, self.number, self.verifier)[0 if self.version == BIFF8 else 2:]

    def read(self, body, password):
        self.prepare(password.encode('cp1252')[:15])
        return struct.unpack('<HH', body[-4:]) == (self.number, self.verifier)

    def prepare(self, password):
        number, index, check = START[len(password) - 1], 104, 0
        for char in reversed(password):
            check = (check >> 14 & 1 | check << 1 & 0x7FFF) ^ char
            for bit in range(6, -1, -1):
                number ^= MATRIX[index] * (char >> bit & 1)
                index -= 1
        self.number = number
        self.verifier = (check >> 14 & 1 | check << 1 & 0x7FFF) ^ len(password) ^ 0xCE4B
        mixed = [char ^ (number >> 8 * (i % 2) & 255)
                 for i, char in enumerate((password + PADDING)[:16])]
        self.array = [value >> 1 | value << 7 & 255 for value in mixed]

    def turn(self, stream, encrypting):
        for at, size in self.places(stream):
            value, mask = stream[at], self.array[(at + size) % 16]
            if encrypting:
                stream[at] = (value << 5 & 255 | value >> 3) ^ mask
            else:
                value ^= mask
                stream[at] = value >> 5 | value << 3 & 255


def file_pass(stream):
    return next(stream[at:at + size] for at, kind, size in records(stream) if kind == FILEPASS)


def opened(stream, password):
    """The cipher of an encrypted stream. Asserts the password."""
    body, (version,) = file_pass(stream), struct.unpack_from('<H', stream, 4)
    xor = version != BIFF8 or body[:2] == b'\0\0'
    cipher = Xor(version) if xor else Rc4() if body[2:6] == b'\1\0\1\0' else CryptoApi()
    if not cipher.read(body, password):
        raise ValueError('wrong password')
    return cipher
