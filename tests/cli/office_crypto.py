# SPDX-License-Identifier: MIT
"""Encrypted packages without our own code: written, opened and taken apart, after [MS-OFFCRYPTO]
2.3.4, with hashlib and python3-cryptography."""
import base64
import hashlib
import hmac
import io
import os
import re
import struct
import warnings

import olefile
from cryptography.hazmat.primitives.ciphers import Cipher, algorithms, modes
from xls_books import Compound

warnings.simplefilter('ignore')

OFFICE = 'http://schemas.microsoft.com/office/2006'
BLOCK_KEYS = {'input': 'fea7d2763b4b9e79', 'hash': 'd7aa0f6d3061344e', 'key': '146e0be7abacd0d6',
              'hmac key': '5fb2ad010cb9e1f6', 'hmac value': 'a0677f02b22c8433'}
HASHES = {'SHA1': 'sha1', 'SHA256': 'sha256', 'SHA384': 'sha384', 'SHA512': 'sha512',
          'MD5': 'md5', 'RIPEMD-160': 'ripemd160', 'SHA-1': 'sha1', 'SHA-512': 'sha512'}
SPACES = {'\x06DataSpaces/Version': b'version' * 9, '\x06DataSpaces/DataSpaceMap': b'map' * 40,
          '\x06DataSpaces/DataSpaceInfo/StrongEncryptionDataSpace': b'space' * 12,
          '\x06DataSpaces/TransformInfo/StrongEncryptionTransform/\x06Primary': b'trans' * 40}


def streams_of(path):
    with olefile.OleFileIO(path) as file:
        return {'/'.join(name): file.openstream(name).read()
                for name in file.listdir(streams=True, storages=False)}


def digest(name, *pieces):
    return hashlib.new(HASHES[name], b''.join(pieces)).digest()


def fitted(data, size):
    return data[:size].ljust(size, b'\x36')


def padded(data, block):
    return data + bytes(-len(data) % block)


def run_cipher(name, mode, key, iv, data, encrypting):
    if name == 'AES':
        algorithm = algorithms.AES(key)
    else:
        algorithm = algorithms.TripleDES({'DES': key * 3, '3DES': key,
                                          '3DES_112': key + key[:8]}[name])
    chosen = {'ECB': lambda: modes.ECB(), 'ChainingModeCBC': lambda: modes.CBC(iv),
              'ChainingModeCFB': lambda: modes.CFB8(iv)}[mode]()
    cipher = Cipher(algorithm, chosen)
    context = cipher.encryptor() if encrypting else cipher.decryptor()
    return context.update(data) + context.finalize()


class Agile:
    def __init__(self, cipher='AES', bits=256, hash='SHA512', chaining='ChainingModeCBC',
                 rounds=1000, salt_size=16, password='secret', others='', data=None,
                 integrity=True):
        self.cipher, self.bits, self.hash, self.chaining = cipher, bits, hash, chaining
        self.block = 16 if cipher == 'AES' else 8
        self.rounds, self.password = rounds, password
        self.others, self.integrity = others, integrity
        self.data_salt, self.salt = os.urandom(salt_size), os.urandom(salt_size)
        self.data_key = data or os.urandom(bits // 8)

    def run(self, key, iv, data, encrypting=True):
        return run_cipher(self.cipher, self.chaining, key, iv, padded(data, self.block), encrypting)

    def key_for(self, what):
        return fitted(digest(self.hash, self.spun, bytes.fromhex(BLOCK_KEYS[what])), self.bits // 8)

    def vector(self, what):
        extra = what if isinstance(what, bytes) else bytes.fromhex(BLOCK_KEYS[what])
        return fitted(digest(self.hash, self.data_salt, extra), self.block)

    def spin(self):
        self.spun = digest(self.hash, self.salt, self.password.encode('utf-16-le'))
        for i in range(self.rounds):
            self.spun = digest(self.hash, struct.pack('<I', i), self.spun)

    def segments(self, data, encrypting=True):
        return b''.join(self.run(self.data_key, self.vector(struct.pack('<I', at // 4096)),
                                 data[at:at + 4096], encrypting)
                        for at in range(0, len(data), 4096))

    def mac(self, key, stream):
        return hmac.new(key, stream, HASHES[self.hash]).digest()

    def write(self, package):
        self.spin()
        stream = struct.pack('<Q', len(package)) + self.segments(package)
        size = len(digest(self.hash))
        salt_iv = fitted(self.salt, self.block)
        base = (f'saltSize="{len(self.salt)}" blockSize="{self.block}" keyBits="{self.bits}" '
                f'hashSize="{size}" cipherAlgorithm="{self.cipher}" '
                f'cipherChaining="{self.chaining}" hashAlgorithm="{self.hash}"')
        code = lambda data: base64.b64encode(data).decode()
        test, mac_key = os.urandom(len(self.salt)), os.urandom(size)
        seal = lambda what, data: code(self.run(self.key_for(what), salt_iv, data))
        mark = lambda what, data: code(self.run(self.data_key, self.vector(what), data))
        integrity = (f'<dataIntegrity encryptedHmacKey="{mark("hmac key", mac_key)}" '
                     f'encryptedHmacValue="{mark("hmac value", self.mac(mac_key, stream))}"/>')
        xml = ('<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\r\n<encryption '
               f'xmlns="{OFFICE}/encryption" xmlns:p="{OFFICE}/keyEncryptor/password" '
               f'xmlns:c="{OFFICE}/keyEncryptor/certificate">'
               f'<keyData {base} saltValue="{code(self.data_salt)}"/>'
               f'{integrity if self.integrity else ""}<keyEncryptors>{self.others}<keyEncryptor '
               f'uri="{OFFICE}/keyEncryptor/password">'
               f'<p:encryptedKey spinCount="{self.rounds}" {base} saltValue="{code(self.salt)}" '
               f'encryptedVerifierHashInput="{seal("input", test)}" encryptedVerifierHashValue="'
               f'{seal("hash", digest(self.hash, test))}" encryptedKeyValue="'
               f'{seal("key", self.data_key)}"/></keyEncryptor></keyEncryptors></encryption>')
        return struct.pack('<HHI', 4, 4, 0x40) + xml.encode(), stream

    @staticmethod
    def read(info, stream, password):
        """The package; also the settings. Asserts password and integrity."""
        xml = info[8:].decode()
        element = lambda name: dict(re.findall(r'(\w+)="([^"]*)"',
                                               re.search(rf'<{name} ([^>]*)>', xml)[1]))
        data, key = element('keyData'), element('p:encryptedKey')
        part = lambda where, name: base64.b64decode(where[name])
        it = Agile(data['cipherAlgorithm'], int(data['keyBits']), data['hashAlgorithm'],
                   data['cipherChaining'], int(key['spinCount']), password=password)
        it.data_salt, it.salt = part(data, 'saltValue'), part(key, 'saltValue')
        it.spin()
        salt_iv = fitted(it.salt, it.block)
        opened = lambda what, name: it.run(it.key_for(what), salt_iv, part(key, name), False)
        test = opened('input', 'encryptedVerifierHashInput')[:len(it.salt)]
        size = len(digest(it.hash))
        if digest(it.hash, test) != opened('hash', 'encryptedVerifierHashValue')[:size]:
            raise ValueError('wrong password')
        it.data_key = opened('key', 'encryptedKeyValue')[:it.bits // 8]
        if '<dataIntegrity' in xml:
            seal = element('dataIntegrity')
            unmark = lambda what, name: it.run(it.data_key, it.vector(what), part(seal, name),
                                               False)[:size]
            mac_key = unmark('hmac key', 'encryptedHmacKey')
            assert it.mac(mac_key, stream) == unmark('hmac value', 'encryptedHmacValue'), 'HMAC'
        length, = struct.unpack('<Q', stream[:8])
        package = it.segments(stream[8:8 + length + -length % it.block], False)[:length]
        # What stays the same, and what must be new each time.
        settings = re.sub(r'(saltValue|encrypted\w+)="[^"]*"', r'\1', xml)
        return package, settings, [it.data_salt, it.salt, test], it.data_key


class Standard:
    ALGORITHMS = {128: 0x660E, 192: 0x660F, 256: 0x6610}

    def __init__(self, bits=128, version=4, password='secret'):
        self.bits, self.version, self.password = bits, version, password
        self.salt = os.urandom(16)

    def key(self):
        spun = hashlib.sha1(self.salt + self.password.encode('utf-16-le')).digest()
        for i in range(50000):
            spun = hashlib.sha1(struct.pack('<I', i) + spun).digest()
        spun = hashlib.sha1(spun + bytes(4)).digest()
        derived = b''.join(hashlib.sha1(bytes(a ^ b for a, b in zip(
            spun.ljust(64, b'\0'), bytes([fill]) * 64))).digest() for fill in (0x36, 0x5C))
        return derived[:self.bits // 8]

    def run(self, data, encrypting=True):
        return run_cipher('AES', 'ECB', self.key(), None, padded(data, 16), encrypting)

    def write(self, package):
        provider = 'Microsoft Enhanced RSA and AES Cryptographic Provider\0'.encode('utf-16-le')
        header = struct.pack('<IIIIIIII', 0x24, 0, self.ALGORITHMS[self.bits], 0x8004, self.bits,
                             0x18, 0, 0) + provider
        test = os.urandom(16)
        info = struct.pack('<HHII', self.version, 2, 0x24, len(header)) + header
        info += struct.pack('<I', 16) + self.salt + self.run(test) + struct.pack('<I', 20)
        info += self.run(hashlib.sha1(test).digest().ljust(32, b'\0'))
        return info, struct.pack('<Q', len(package)) + self.run(package)

    @staticmethod
    def read(info, stream, password):
        size, = struct.unpack_from('<I', info, 8)
        bits, = struct.unpack_from('<I', info, 12 + 16)
        at = 12 + size + 4
        it = Standard(bits, password=password)
        it.salt = info[at:at + 16]
        test = it.run(info[at + 16:at + 32], False)
        if hashlib.sha1(test).digest() != it.run(info[at + 36:at + 68], False)[:20]:
            raise ValueError('wrong password')
        length, = struct.unpack('<Q', stream[:8])
        package = it.run(stream[8:8 + length + -length % 16], False)[:length]
        return package, info[:at] + info[at + 68:], [it.salt, test], it.key()


def encrypted(how, package, streams=SPACES, shift=9):
    """A document's bytes."""
    info, stream = how.write(package)
    return Compound({**streams, 'EncryptionInfo': info, 'EncryptedPackage': stream}, shift).bytes()


def opened(path, password):
    """Package, settings, things that must be fresh, key, other streams."""
    streams = streams_of(path)
    info, stream = streams.pop('EncryptionInfo'), streams.pop('EncryptedPackage')
    kind = Agile if struct.unpack_from('<HH', info) == (4, 4) else Standard
    return (*kind.read(info, stream, password), streams)


def file_of(data):
    return io.BytesIO(data)
