# SPDX-License-Identifier: MIT
"""What the tests of the started desktop program share: documents, and what became of them."""
import hashlib
import os
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [os.path.join(HERE, '../cli')]
try:
    from office_crypto import Agile, encrypted
except ImportError:
    sys.exit(77)

SAMPLES = os.path.join(HERE, '../../data/samples')
LONG_AGO = 1_000_000_000
LARGE = 40


def wait_until(holds, what, seconds=60):
    end = time.monotonic() + seconds
    while not holds():
        assert time.monotonic() < end, f'{what} did not come'
        time.sleep(0.1)


def content(path):
    with open(path, 'rb') as file:
        return file.read()


def start_display():
    ours, theirs = os.pipe()
    server = subprocess.Popen(['Xvfb', '-displayfd', str(theirs), '-screen', '0', '1280x900x24',
                               '-nolisten', 'tcp'], pass_fds=[theirs], stderr=subprocess.DEVNULL)
    os.close(theirs)
    with os.fdopen(ours) as number:
        return server, ':' + number.readline().strip()


def environment(home, **more):
    """That of a user who has nothing yet, and settings of his own."""
    return dict(os.environ, BRINDLE_HOME=home, XDG_CONFIG_HOME=home, XDG_DATA_HOME=home,
                XDG_RUNTIME_DIR=home, LC_ALL='C.UTF-8', **more)


class DesktopTest(unittest.TestCase):
    corpus = None

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix='desktop run ')
        self.addCleanup(self.folder.cleanup)
        self.docs = self.path('docs')
        os.mkdir(self.docs)
        os.mkdir(self.path('home'), 0o700)
        shutil.copytree(os.path.join(HERE, '../../data/Languages'), self.path('home/Languages'))

    def path(self, name):
        return os.path.join(self.folder.name, name)

    def write(self, name, data):
        with open(self.path(name), 'wb') as file:
            file.write(data)
        return self.path(name)

    def log(self):
        path = self.path('home/Errors.Log')
        return content(path).decode() if os.path.exists(path) else ''

    def state(self):
        """Content and time of every document."""
        found = {}
        for folder, _, names in os.walk(self.docs):
            for name in names:
                path = os.path.join(folder, name)
                found[os.path.relpath(path, self.docs)] = (
                    hashlib.sha256(content(path)).hexdigest(), os.stat(path).st_mtime)
        return found

    def make_documents(self):
        shutil.copytree(os.path.join(SAMPLES, 'documents'), self.docs, dirs_exist_ok=True)
        if self.corpus:
            real = sorted(os.path.join(folder, name)
                          for folder, _, names in os.walk(self.corpus) for name in names
                          if name.endswith(('.xlsx', '.xls')))
            for number, path in enumerate(real[::max(1, len(real) // 20)]):
                shutil.copy(path, os.path.join(
                    self.docs, f'real {number}{os.path.splitext(path)[1]}'))
        book = content(os.path.join(self.docs, 'stock.xlsx'))
        self.write('docs/damaged.xlsx', book[:len(book) // 2])
        self.write('docs/secret.xlsx', encrypted(Agile(rounds=1000, password='other'), book))
        self.write('docs/open.xlsx', encrypted(Agile(rounds=1000, password='secret'), book))
        self.write('docs/locked.xlsx', book)
        for folder, _, names in os.walk(self.docs):
            for name in names:
                os.chmod(os.path.join(folder, name), 0o644)
                os.utime(os.path.join(folder, name), (LONG_AGO, LONG_AGO))
        os.chmod(os.path.join(self.docs, 'locked.xlsx'), 0o444)

    def make_large_documents(self):
        old = b'apple\r\n' + b'a row of some text, 12345.67\r\n' * 600_000
        for number in range(LARGE):
            self.write(f'docs/large-{number:02}.csv', old)
        return old, old.replace(b'apple', b'pear')

    def check_torn(self, old, new):
        """How many documents were changed: the first ones, and each wholly or not at all."""
        are_new = []
        for number in range(LARGE):
            data = content(self.path(f'docs/large-{number:02}.csv'))
            self.assertTrue(data in (old, new), f'document {number} is torn')
            are_new.append(data == new)
        self.assertEqual(are_new, sorted(are_new, reverse=True))
        self.assertEqual(len(os.listdir(self.docs)), LARGE)
        return sum(are_new)
