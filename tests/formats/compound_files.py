#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares compound files, as our reader sees and our writer rewrites them, with olefile.

    compound_files.py --driver PROGRAM [--corpus FOLDER] [--only TEXT]

For every compound file of the corpus: entries, attributes and contents must be what olefile sees.
Then it is rewritten without an edit, and with each of a few edits: a stream grown, shrunk, moved
from the mini stream to sectors of its own and back, emptied, removed, added. After each, olefile
must see the edit and nothing else, find every name through the search trees, and the sectors of
what stayed must be where they were. Without --corpus the environment variable BRINDLE_CORPUS names
the folder. Exit status 77 when the corpus or olefile is not there.
"""
import argparse
import os
import random
import resource
import signal
import struct
import subprocess
import sys
import tempfile
import zlib

try:
    import olefile
except ImportError:
    sys.exit(77)

SIGNATURE = b'\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1'
NOTHING = 0xFFFFFFFF
IS_SANITIZED = os.environ.get('TARVELLO_SANITIZED', '') not in ('', '0')


def unlimited():
    resource.setrlimit(resource.RLIMIT_AS, (resource.RLIM_INFINITY, resource.RLIM_INFINITY))


class Seen:
    """What olefile tells of a file, by path."""

    def __init__(self, path):
        ole = olefile.OleFileIO(path)
        self.entries, self.sectors = {}, {}
        self.ole = ole
        self.size = os.path.getsize(path)
        waiting = [(ole.root, ())]
        while waiting:
            entry, where = waiting.pop()
            content = b''
            if entry.entry_type == olefile.STGTY_STREAM:
                content = ole.openstream(list(where)).read()
                assert len(content) == entry.size
                if entry.size >= ole.minisectorcutoff:
                    self.sectors[where] = self.chain(entry)
            self.entries[where] = (entry.sid, entry.entry_type, entry.clsid, entry.dwUserFlags,
                                   entry.createTime, entry.modifyTime, zlib.crc32(content),
                                   len(content))
            for kid in entry.kids:
                waiting.append((kid, where + (kid.name,)))
        self.problems = [text for _, text in ole.parsing_issues]

    def chain(self, entry):
        sectors, at = [], entry.isectStart
        while at < olefile.MAXREGSECT:
            sectors.append(at)
            at = self.ole.fat[at]
        return sectors

    def tree_faults(self):
        """The rules of the search trees, where the file is one of ours."""
        for entry in self.ole.direntries:
            if entry is None or entry.entry_type not in (olefile.STGTY_STORAGE,
                                                         olefile.STGTY_ROOT):
                continue
            try:
                self.check_tree(entry.sid_child, True)
            except AssertionError as fault:
                yield f'{entry.name}: {fault}'

    def check_tree(self, sid, is_parent_red, low=None, high=None):
        """Number of black entries on every path down."""
        if sid == NOTHING:
            return 1
        entry = self.ole.direntries[sid]
        order = (len(entry.name_utf16), entry.name.upper())
        assert low is None or low < order, f'{entry.name} is not behind its neighbour'
        assert high is None or order < high, f'{entry.name} is not in front of its neighbour'
        is_red = entry.color == 0
        assert not (is_red and is_parent_red), f'{entry.name} and its parent are red'
        counts = [self.check_tree(entry.sid_left, is_red, low, order),
                  self.check_tree(entry.sid_right, is_red, order, high)]
        assert counts[0] == counts[1], f'{entry.name}: paths have {counts} black entries'
        return counts[0] + (not is_red)


class Checker:
    def __init__(self, driver):
        self.driver, self.faults = driver, 0
        self.files = self.streams = self.rewrites = self.refused = 0
        self.work = tempfile.TemporaryDirectory(prefix='compound files ')
        self.random = random.Random(4711)

    def place(self, name):
        return os.path.join(self.work.name, name)

    def fault(self, name, text):
        self.faults += 1
        print(f'{name}: {text}', flush=True)

    def run(self, *words):
        return subprocess.run([self.driver, *words], capture_output=True, timeout=60,
                              preexec_fn=unlimited if IS_SANITIZED else None)

    def check(self, name, path):
        self.files += 1
        before = seen_in_time(path)
        if before is None:
            print(f'{name}: olefile cannot read it')
        done = self.run('list', path)
        if done.returncode != 0:
            self.refused += 1
            text = done.stderr.decode().strip()
            if before and not before.problems:
                self.fault(name, f'refused: {text}')
            else:
                print(f'{name}: both say no: {text}')
            return
        if before is None:
            self.fault(name, 'accepted, though olefile does not read it')
            return
        self.compare_list(name, before, done.stdout.decode())
        self.check_copy(name, path)
        for edits in self.edits(before):
            self.check_edits(name, path, before, edits)

    def compare_list(self, name, before, text):
        ours = {}
        for line in text.splitlines():
            sid, _, kind, where, clsid, state, created, modified, size, crc = line.split()
            path = b'' if where == '-' else bytes.fromhex(where)
            ours[path.decode('utf-8', 'surrogateescape')] = (
                int(sid), {'0': 5, '1': 1, '2': 2}[kind], clsid, int(state), int(created),
                int(modified), int(crc), int(size))
        theirs = {'/'.join(where): values for where, values in before.entries.items()}
        self.streams += sum(values[1] == 2 for values in theirs.values())
        if ours.keys() != theirs.keys():
            self.fault(name, f'entries differ: {sorted(ours.keys() ^ theirs.keys())}')
            return
        for where, (sid, kind, clsid, *others) in theirs.items():
            raw = ours[where][2]
            expected = '' if raw == '0' * 32 else str_of(bytes.fromhex(raw))
            if (sid, kind, clsid, others) != (ours[where][0], ours[where][1], expected,
                                              list(ours[where][3:])):
                self.fault(name, f'{where!r}: {ours[where]} instead of {theirs[where]}')

    def check_copy(self, name, path):
        new = self.place('copy')
        done = self.run('rewrite', path, new)
        with open(path, 'rb') as old, open(new, 'rb') as copy:
            if done.returncode != 0 or old.read() != copy.read():
                self.fault(name, 'a copy is not equal')
        # The same content, but written.
        streams = [w for w, values in Seen(path).entries.items() if values[1] == 2]
        for where in streams[:3]:
            content = Seen(path).ole.openstream(list(where)).read()
            self.check_edits(name, path, Seen(path), [('replace', where, content)])

    def edits(self, before):
        streams = sorted((w for w, values in before.entries.items() if values[1] == 2),
                         key=lambda w: before.entries[w][7])
        if not streams:
            return
        small, large = streams[0], streams[-1]
        size = before.entries[large][7]
        for where in {small, large}:
            for length in {0, 1, 64, 65, 4095, 4096, 4097, size // 2, size - 1, size + 1,
                           size + 513, 2 * size + 70000}:
                if length >= 0:
                    yield [('replace', where, self.bytes(length))]
            yield [('remove', where, None)]
        yield [('add', ('new stream',), self.bytes(100)), ('add', ('b',), self.bytes(10000)),
               ('add', ('B2 with a name of 31 characters',), b'')]
        storages = [w for w, values in before.entries.items() if values[1] == 1]
        for where in storages[:1]:
            yield [('add', where + ('\x01inside',), self.bytes(5000))]
        if len(streams) > 2:
            yield ([('remove', streams[1], None), ('add', ('in its place',), self.bytes(77)),
                    ('replace', large, self.bytes(size // 3)),
                    ('replace', small, self.bytes(20000))])

    def bytes(self, length):
        return self.random.randbytes(length)

    def check_edits(self, name, path, before, edits):
        self.rewrites += 1
        new, words, wanted = self.place('new'), [], dict(before.entries)
        trees = list(before.tree_faults())
        for number, (action, where, content) in enumerate(edits):
            words += [action, '/'.join(where)]
            if action == 'remove':
                del wanted[where]
                continue
            words.append(self.place(f'content {number}'))
            with open(words[-1], 'wb') as file:
                file.write(content)
            old = wanted.get(where, (None, 2, '', 0, 0, 0))
            wanted[where] = (*old[:6], zlib.crc32(content), len(content))
        told = [(a, w, c and len(c)) for a, w, c in edits]
        done = self.run('rewrite', path, new, *words)
        if done.returncode != 0:
            self.fault(name, f'{told}: {done.stderr.decode().strip()}')
            return
        after = seen_in_time(new)
        if after is None:
            self.fault(name, f'{told}: olefile cannot read it')
            return
        if set(after.problems) - set(before.problems):
            self.fault(name, f'{told}: {after.problems}')
        for where, values in wanted.items():
            now = after.entries.get(where)
            if now is None or values[0] not in (None, now[0]) or values[1:] != now[1:]:
                self.fault(name, f'{told}: {where}: {now} instead of {values}')
        if after.entries.keys() != wanted.keys():
            self.fault(name, f'{told}: {after.entries.keys() ^ wanted.keys()}')
        for where, sectors in before.sectors.items():
            is_edited = any(where == edited for _, edited, _ in edits)
            now = after.sectors.get(where)
            if not is_edited and now != sectors:
                self.fault(name, f'{told}: {where} lies elsewhere')
        if not trees:
            for fault in after.tree_faults():
                self.fault(name, f'{told}: {fault}')
        grown = sum(len(content or b'') for _, _, content in edits)
        if after.size > before.size + grown * 1.05 + 20000:
            self.fault(name, f'{told}: {after.size} bytes out of {before.size}')
        if self.run('list', new).returncode != 0:
            self.fault(name, f'{told}: we do not read it')


def too_late(*_):
    raise TimeoutError


def seen_in_time(path):
    """Broken files lead olefile into exceptions of every kind, and into endless work."""
    try:
        signal.alarm(20)
        try:
            return Seen(path)
        finally:
            signal.alarm(0)  # which the alarm may still precede
    except Exception:
        return None


def str_of(clsid):
    a, b, c = struct.unpack('<IHH', clsid[:8])
    rest = clsid[8:]
    return f'{a:08X}-{b:04X}-{c:04X}-{rest[:2].hex().upper()}-{rest[2:].hex().upper()}'


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--driver', required=True)
    parser.add_argument('--corpus', default=os.environ.get('BRINDLE_CORPUS'))
    parser.add_argument('--only', default='')
    arguments = parser.parse_args()
    if not arguments.corpus:
        return 77
    # For both readers; a driver under sanitizers takes back what it needs for its shadow.
    resource.setrlimit(resource.RLIMIT_AS, (3 << 30, resource.RLIM_INFINITY))
    signal.signal(signal.SIGALRM, too_late)
    checker = Checker(os.path.abspath(arguments.driver))
    for folder, _, names in sorted(os.walk(arguments.corpus)):
        for name in sorted(names):
            path = os.path.join(folder, name)
            with open(path, 'rb') as file:
                if file.read(8) == SIGNATURE and arguments.only in path:
                    checker.check(os.path.relpath(path, arguments.corpus), path)
    print(f'{checker.files} files ({checker.refused} refused), {checker.streams} streams, '
          f'{checker.rewrites} rewritten with edits, {checker.faults} faults')
    return 1 if checker.faults or not checker.files else 0


if __name__ == '__main__':
    sys.exit(main())
