#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Starts the desktop program on a display of its own, presses its keys as a user would, and looks at
what its runs leave in the files.

    desktop_run.py --brindle PROGRAM [--corpus FOLDER]

Exit status 77 when Xvfb, xdotool, python3-cryptography or python3-olefile is not there. Without
--corpus the environment variable BRINDLE_CORPUS names a folder of real workbooks, some of which are
then among the documents.
"""
import argparse
import contextlib
import hashlib
import os
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
import zipfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [os.path.join(HERE, '../cli')]
try:
    from cli_support import project
    from office_crypto import Agile, encrypted
except ImportError:
    sys.exit(77)

SAMPLES = os.path.join(HERE, '../../data/samples')
MAIN = 'Tarvello for Excel$'
QUESTION = '^Tarvello for Excel$'
RUN = '^Processing documents$'
LONG_AGO = 1_000_000_000
LARGE = 40


class Program:
    """A started Brindle, and the keys that are pressed in it."""

    def __init__(self, display, home, project_file):
        self.env = dict(os.environ, DISPLAY=display, QT_QPA_PLATFORM='xcb', BRINDLE_HOME=home,
                        XDG_CONFIG_HOME=home, XDG_DATA_HOME=home, XDG_RUNTIME_DIR=home,
                        LC_ALL='C.UTF-8')
        self.process = subprocess.Popen([arguments.brindle, project_file], env=self.env,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        self.wait_for(MAIN)

    def windows(self, title):
        found = subprocess.run(['xdotool', 'search', '--onlyvisible', '--name', title],
                               env=self.env, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        return found.stdout.decode().split()

    def wait_for(self, title):
        wait_until(lambda: self.windows(title), f'the window {title}')

    def press(self, title, *keys):
        # Without a window manager the focus is where somebody puts it.
        subprocess.run(['xdotool', 'windowfocus', '--sync', self.windows(title)[-1]],
                       env=self.env, check=True, stderr=subprocess.DEVNULL)
        for key in keys:
            subprocess.run(['xdotool', 'key', key], env=self.env, check=True)
            time.sleep(0.2)

    def start(self, key):
        self.press(MAIN, key)
        self.wait_for(QUESTION)
        self.press(QUESTION, 'alt+y')
        self.wait_for(RUN)

    def click_stop(self):
        window = self.windows(RUN)[-1]
        shape = subprocess.run(['xdotool', 'getwindowgeometry', '--shell', window], env=self.env,
                               stdout=subprocess.PIPE, check=True).stdout.decode()
        size = dict(line.split('=') for line in shape.split())
        # The button stands in the lower right corner.
        subprocess.run(['xdotool', 'mousemove', '--window', window, str(int(size['WIDTH']) - 40),
                        str(int(size['HEIGHT']) - 22), 'click', '1'], env=self.env, check=True)

    def is_asleep(self):
        """Whether all threads wait for something to happen; none for the processor or a disk."""
        tasks = f'/proc/{self.process.pid}/task'
        for task in os.listdir(tasks):
            with contextlib.suppress(FileNotFoundError), open(f'{tasks}/{task}/stat') as file:
                if file.read().rsplit(')', 1)[1].split()[0] != 'S':
                    return False
        return True

    def wait_until_idle(self):
        seen = []

        def is_idle():
            seen.append(self.is_asleep())
            return len(seen) >= 12 and all(seen[-12:])
        wait_until(is_idle, 'the end of the run', 240)

    def exit(self):
        self.press(MAIN, 'alt+f', 'e')
        return self.process.wait(timeout=60)

    def kill(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        self.process.stderr.close()


def wait_until(holds, what, seconds=60):
    end = time.monotonic() + seconds
    while not holds():
        assert time.monotonic() < end, f'{what} did not come'
        time.sleep(0.1)


def content(path):
    with open(path, 'rb') as file:
        return file.read()


class DesktopRun(unittest.TestCase):
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

    def program(self, entries, **options):
        file = self.write('my project.tvl', project(entries, StartFolder=self.docs,
                                                    IncludeSubFolders=True, **options))
        program = Program(display, self.path('home'), file)
        self.addCleanup(program.kill)
        return program

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
        if arguments.corpus:
            real = sorted(os.path.join(folder, name)
                          for folder, _, names in os.walk(arguments.corpus) for name in names
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

    def test_search_and_replace(self):
        self.make_documents()
        before = self.state()
        program = self.program(
            [('2025', '2026', 0), ('sales@oldname.example', 'sales@newname.example', 0)],
            SpreadsheetTypeToExamine='*.xlsx;*.xls;*.csv;', Password='secret', BackupMode=True,
            KeepTheOriginalFileDate=True)
        program.start('alt+s')
        program.wait_until_idle()
        after = self.state()
        self.assertEqual({name: after[name] for name in before}, before)
        self.assertEqual(set(after) - set(before),
                         {name[:-4] + '.bak' for name in before})
        for name in ('damaged', 'secret'):
            self.assertRegex(self.log(), r'in procedure ReplaceFile .*ExcelConnector')
            self.assertEqual(self.log().count(name + '.xlsx'), 1, self.log())
        self.assertNotIn('locked.xlsx', self.log())

        program.start('alt+r')
        program.wait_until_idle()
        now = self.state()
        changed = {name for name in before if now[name][0] != before[name][0]}
        self.assertLessEqual({'prices.csv', 'stock.xlsx', 'open.xlsx', 'quotes/quote-16.xls',
                              'quotes/quote-17.xlsx'}, changed)
        self.assertFalse({'damaged.xlsx', 'secret.xlsx', 'locked.xlsx', 'notes.xlsx'} & changed)
        for name in before:
            self.assertEqual(now[name][1], LONG_AGO, name)
            self.assertEqual(now[name[:-4] + '.bak'][0], before[name][0], name)
        for name in changed:
            if name.endswith('.xlsx') and name != 'open.xlsx':
                self.assertIsNone(zipfile.ZipFile(os.path.join(self.docs, name)).testzip())
        self.assertIn(b'newname', content(os.path.join(self.docs, 'prices.csv')))
        self.assertFalse([name for name in now if 'tarvello' in name])
        self.assertEqual(program.exit(), 0)
        self.assertEqual(self.log().count('locked.xlsx'), 0)
        self.assertEqual(program.process.stderr.read().decode(), '')

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

    def test_a_run_that_is_stopped(self):
        old, new = self.make_large_documents()
        program = self.program([('apple', 'pear', 0)])
        program.start('alt+r')
        program.click_stop()
        program.wait_until_idle()
        done = self.check_torn(old, new)
        self.assertTrue(0 < done < LARGE, done)
        self.assertEqual(self.log(), '')
        self.assertEqual(program.exit(), 0)

    def test_leaving_in_a_run(self):
        old, new = self.make_large_documents()
        program = self.program([('apple', 'pear', 0)])
        program.start('alt+r')
        self.assertEqual(program.exit(), 0)
        done = self.check_torn(old, new)
        self.assertTrue(0 < done < LARGE, done)
        self.assertEqual(self.log(), '')
        # The list is still there, and the rest can be done.
        program = self.program([('apple', 'pear', 0)])
        program.start('alt+r')
        program.wait_until_idle()
        self.assertEqual(self.check_torn(old, new), LARGE)
        self.assertEqual(program.exit(), 0)


def start_display():
    ours, theirs = os.pipe()
    server = subprocess.Popen(['Xvfb', '-displayfd', str(theirs), '-screen', '0', '1280x900x24',
                               '-nolisten', 'tcp'], pass_fds=[theirs], stderr=subprocess.DEVNULL)
    os.close(theirs)
    with os.fdopen(ours) as number:
        return server, ':' + number.readline().strip()


if __name__ == '__main__':
    parser = argparse.ArgumentParser()
    parser.add_argument('--brindle', required=True)
    parser.add_argument('--corpus', default=os.environ.get('BRINDLE_CORPUS'))
    arguments, rest = parser.parse_known_args()
    if not shutil.which('Xvfb') or not shutil.which('xdotool'):
        sys.exit(77)
    server, display = start_display()
    try:
        status = unittest.main(argv=sys.argv[:1] + rest, exit=False).result.wasSuccessful()
    finally:
        server.terminate()
        server.wait()
    sys.exit(0 if status else 1)
