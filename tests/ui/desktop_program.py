#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Starts the desktop program with a line beside its windows (support/BrindleDriver.cpp), without a
screen and on a display of its own, and compares what the windows show with what became of the files.

    desktop_program.py --driver PROGRAM [--corpus FOLDER]

Exit status 77 when python3-cryptography or python3-olefile is not there. Without --corpus the
environment variable BRINDLE_CORPUS names a folder of real workbooks, some of which are then among the
documents.
"""
import argparse
import json
import os
import queue
import shutil
import subprocess
import sys
import threading
import time
import unittest

from desktop_support import (LARGE, LONG_AGO, DesktopTest, content, environment, start_display,
                             wait_until)
from cli_support import project  # found by the line above


class Program:
    """The started program, by the names of its controls."""

    def __init__(self, platform, home, project_file):
        more = {'QT_QPA_PLATFORM': platform, 'QT_STYLE_OVERRIDE': 'fusion'}
        if platform == 'xcb':
            more['DISPLAY'] = display
        self.process = subprocess.Popen([arguments.driver, project_file], text=True,
                                        env=environment(home, **more), stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.answers = queue.Queue()
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()

    def read(self):
        for line in self.process.stdout:
            self.answers.put(json.loads(line))

    def tell(self, command):
        self.process.stdin.write(command + '\n')
        self.process.stdin.flush()

    def state(self):
        """What the windows show, each under its title."""
        self.tell('state')
        while True:  # past the answers of clicks that lasted
            answer = self.answers.get(timeout=60)
            if answer['command'] == 'state':
                shown = {window['title']: window for window in answer['answer']['windows']}
                return shown | {'clipboard': answer['answer']['clipboard']}

    def results(self):
        return self.state()['Processing documents']['controls']

    def begin(self, button):
        wait_until(lambda: any('my project' in title for title in self.state()), 'the window')
        self.tell('click ' + button)
        wait_until(lambda: 'Tarvello for Excel' in self.state(), 'the question')
        self.tell('click Yes')
        wait_until(lambda: 'Processing documents' in self.state(), 'the window of the run')

    def finish(self):
        wait_until(lambda: self.results()['lblDocChanged'].startswith('Finished'), 'the end', 240)
        return self.results()

    def exit(self):
        self.tell('click mnuExit')
        return self.process.wait(timeout=60)

    def kill(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        self.process.stdin.close()
        self.reader.join()
        self.process.stdout.close()


def texts(tree):
    return [line['text'] for line in tree]


class DesktopProgram(DesktopTest):
    def program(self, platform, entries, **options):
        file = self.write('my project.tvl', project(entries, StartFolder=self.docs + '/',
                                                    IncludeSubFolders=True, **options))
        program = Program(platform, self.path('home'), file)
        self.addCleanup(program.kill)
        return program

    def documents(self):
        return {os.path.join(self.docs, name) for name in self.state()
                if not name.endswith('.bak')}

    def check_results(self, shown, button, failing):
        """The trees hold every document once, and the labels the sums of what they show."""
        changed = shown['trvChangedFiles']
        failed = {os.path.relpath(path, self.docs) for path in texts(shown['trvErrors'])}
        # Which of the real ones can be read is no matter of this test.
        self.assertEqual({name for name in failed if not name.startswith('real ')}, failing)
        listed = texts(changed) + texts(shown['trvNotChangedFiles']) + texts(shown['trvErrors'])
        self.assertEqual(sorted(listed), sorted(self.documents()))
        counts = [int(line.rsplit(' : ', 1)[1]) for document in changed
                  for line in texts(document['lines']) if ' (Cell) : ' in line]
        words = 'occurrence(s) found' if button == 'cmdStartSearching' else 'change(s) made'
        self.assertEqual(shown['lblChangesMade'], f'{sum(counts)} {words}')
        self.assertEqual(shown['lblDocChanged'],
                         f'Finished. Matches in {len(changed)} of {len(listed)} document(s)')
        self.assertEqual(shown['pgbar1'], [len(listed)] * 2)
        self.assertEqual(shown['cmdOK'], 'Close')

    def report(self, shown):
        lines = []
        for document in shown['trvChangedFiles']:
            lines.append(document['text'] + ' - At least 1 occurrence(s) found ')
            lines += ['\t' + line for line in texts(document['lines'])
                      if not line.startswith('Refused in ')]
        lines += [path + ' - No occurrence(s) found ' for path in
                  texts(shown['trvNotChangedFiles'])]
        return ''.join(line + '\r\n' for line in lines)

    def search_and_replace(self, platform):
        self.make_documents()
        before = self.state()
        program = self.program(
            platform, [('2025', '2026', 0), ('sales@oldname.example', 'sales@newname.example', 0)],
            SpreadsheetTypeToExamine='*.xlsx;*.xls;*.csv;', Password='secret', BackupMode=True,
            KeepTheOriginalFileDate=True)
        unreadable = {'damaged.xlsx', 'secret.xlsx'}
        program.begin('cmdStartSearching')
        self.check_results(program.finish(), 'cmdStartSearching', unreadable)
        self.assertEqual({name: self.state()[name] for name in before}, before)
        program.tell('click cmdOK')
        program.begin('cmdStartReplacing')
        shown = program.finish()
        self.check_results(shown, 'cmdStartReplacing', unreadable | {'locked.xlsx'})

        now = self.state()
        changed = {name for name in before if now[name][0] != before[name][0]}
        self.assertLessEqual(changed, {os.path.relpath(path, self.docs)
                                       for path in texts(shown['trvChangedFiles'])})
        self.assertGreaterEqual(len(changed), 5)
        for name in before:
            self.assertEqual(now[name][1], LONG_AGO, name)
            self.assertEqual(now[name[:-4] + '.bak'][0], before[name][0], name)
        for name in unreadable:
            self.assertIn(name, self.log())
        program.tell('click cmdCopyLog')
        wait_until(lambda: program.state()['clipboard'] == self.report(shown), 'the report', 20)
        self.assertEqual(program.exit(), 0)

    def test_search_and_replace_without_a_screen(self):
        self.search_and_replace('offscreen')

    def test_search_and_replace_on_a_display(self):
        if display is None:
            self.skipTest('no Xvfb')
        self.search_and_replace('xcb')

    def test_a_run_that_is_stopped(self):
        old, new = self.make_large_documents()
        program = self.program('offscreen', [('apple', 'pear', 0)])
        program.begin('cmdStartReplacing')
        wait_until(lambda: program.results()['pgbar1'][0] >= 2, 'the second document')
        program.tell('click cmdOK')
        wait_until(lambda: program.results()['cmdOK'] == 'Close', 'the stop')
        time.sleep(1)  # for the document in work
        shown = program.results()
        done = self.check_torn(old, new)
        self.assertTrue(2 <= done < LARGE, done)
        self.assertEqual(len(shown['trvChangedFiles']), done)
        self.assertEqual(shown['pgbar1'], [done, LARGE])
        self.assertEqual(content(self.path('docs/large-00.csv')), new)
        self.assertEqual(self.log(), '')
        self.assertEqual(program.exit(), 0)


if __name__ == '__main__':
    parser = argparse.ArgumentParser()
    parser.add_argument('--driver', required=True)
    parser.add_argument('--corpus', default=os.environ.get('BRINDLE_CORPUS'))
    arguments, rest = parser.parse_known_args()
    DesktopTest.corpus = arguments.corpus
    server, display = start_display() if shutil.which('Xvfb') else (None, None)
    try:
        status = unittest.main(argv=sys.argv[:1] + rest, exit=False).result.wasSuccessful()
    finally:
        if server:
            server.terminate()
            server.wait()
    sys.exit(0 if status else 1)
