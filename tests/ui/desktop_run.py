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
import os
import shutil
import subprocess
import sys
import time
import unittest
import zipfile

from desktop_support import (LARGE, LONG_AGO, DesktopTest, content, environment, start_display,
                             wait_until)
from cli_support import project  # found by the line above

MAIN = 'Tarvello for Excel$'
QUESTION = '^Tarvello for Excel$'
RUN = '^Processing documents$'


class Program:
    """A started Brindle, and the keys that are pressed in it."""

    def __init__(self, display, home, project_file):
        self.env = environment(home, DISPLAY=display, QT_QPA_PLATFORM='xcb')
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


class DesktopRun(DesktopTest):
    def program(self, entries, **options):
        file = self.write('my project.tvl', project(entries, StartFolder=self.docs,
                                                    IncludeSubFolders=True, **options))
        program = Program(display, self.path('home'), file)
        self.addCleanup(program.kill)
        return program

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


if __name__ == '__main__':
    parser = argparse.ArgumentParser()
    parser.add_argument('--brindle', required=True)
    parser.add_argument('--corpus', default=os.environ.get('BRINDLE_CORPUS'))
    arguments, rest = parser.parse_known_args()
    if not shutil.which('Xvfb') or not shutil.which('xdotool'):
        sys.exit(77)
    DesktopTest.corpus = arguments.corpus
    server, display = start_display()
    try:
        status = unittest.main(argv=sys.argv[:1] + rest, exit=False).result.wasSuccessful()
    finally:
        server.terminate()
        server.wait()
    sys.exit(0 if status else 1)
