#!/usr/bin/env python3
"""Measures tarvello against what any program would have to do, and prints ratios of one run.

For zipped workbooks the limit is a small program that unpacks every part that can hold a match and
looks at each byte once (and for a replacement splices, packs and writes the parts that change); for
binary workbooks it reads each file and looks at each byte once (and for a replacement writes the
file anew); for text files it is grep and sed; for the start of the desktop program a bare window
with a table. Every figure is the median of the ratios of pairs that ran one after the other, in
processor seconds of the whole process (user and system), so that a busy machine disturbs little.
The run fails when a count is not what the generator planted.

Binary workbooks are generated with xlwt and compared with xlrd, for /usr/bin/python3: Debian's
packages python3-xlwt and python3-xlrd.

The desktop program's grid is measured against a bare table of the same window library, its runs
against the command line on one thread, its results against Qt's own item model.

Usage: run.py --bin FOLDER [--runs N] [--only FORMAT|desktop] [--small] [--openpyxl] [--xlrd]
"""
import argparse
import json
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

import dress

RARE, COMMON, NUMBER, DATE, WILDCARD = 'xquartz', 'vqcommon', '98765', '7/4/2031', 'zq*end'
SPELLED = {RARE: 'Xquartz', COMMON: 'Vqcommon'}  # as the files have it, for the limits


class Bench:
    def __init__(self, arguments):
        self.bin = os.path.abspath(arguments.bin)
        self.runs = arguments.runs
        self.work = tempfile.mkdtemp(prefix='bench ')
        self.failures = 0
        os.environ['BRINDLE_HOME'] = self.work

    def generate(self, kind, name, size, seed):
        path = os.path.join(self.work, name)
        done = subprocess.run([os.path.join(self.bin, 'bench_generate'), kind, path, str(size),
                               str(seed)], stdout=subprocess.PIPE, check=True)
        return path, json.loads(done.stdout)

    def timed(self, command, environment=None):
        """Processor seconds, peak memory in MiB and the output."""
        process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                   env=dict(os.environ, **(environment or {})))
        output = process.stdout.read()
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        return usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024, output, process.returncode

    def pair(self, ours, limit, prepare=None, environment=None):
        ratios, memory, seconds, output = [], 0, [], b''
        for run in range(self.runs + 1):
            if prepare:
                prepare()
            base = self.timed(limit, environment)
            if prepare:
                prepare()
            own = self.timed(ours)
            if run == 0:
                continue  # warm-up
            ratios.append(own[0] / max(base[0], 1e-4))
            memory = max(memory, own[1])
            seconds.append(own[0])
            output = own[2]
        return statistics.median(ratios), memory, statistics.median(seconds), output

    def tarvello(self, *arguments):
        return [os.path.join(self.bin, 'tarvello'), *arguments, '--json', '--jobs', '1']

    def check(self, label, output, planted):
        lines = [json.loads(line) for line in output.splitlines()]
        found = lines[-1]['occurrences'] if lines else None
        if found != planted:
            print(f'{label}: {found} found, {planted} planted')
            self.failures += 1

    def report(self, label, result, goal):
        ratio, memory, seconds, _ = result
        verdict = 'within' if ratio <= goal else 'ABOVE'
        print(f'{label:<46} {ratio:6.2f}x  {verdict} {goal}x  {seconds:7.3f} s {memory:6.0f} MiB',
              flush=True)

    # --- workbooks -----------------------------------------------------------------------------
    def limit(self, action, files, needle):
        """What any program has to do for it, as a command."""
        spelled = SPELLED.get(needle, needle)
        if files[0].endswith('.xls'):
            limit = os.path.join(self.bin, 'bench_file_limit')
            return [limit, 'search', spelled, *files] if action == 'search' else [
                limit, 'copy', *files]
        limit = os.path.join(self.bin, f'bench_{action}_limit')
        return [limit, spelled, *(['Other'] if action == 'replace' else []), *files]

    def search(self, label, files, needle, planted, goal):
        result = self.pair(self.tarvello('search', '--find', needle, *files),
                           self.limit('search', files, needle))
        self.check(label, result[3], planted)
        self.report(label, result, goal)
        return result

    def replace(self, label, files, needle, planted, goal):
        kept = [path + '.kept' for path in files]
        for path, copy in zip(files, kept):
            shutil.copy(path, copy)

        def restore():
            for path, copy in zip(files, kept):
                shutil.copy(copy, path)

        result = self.pair(self.tarvello('replace', '--find', needle, '--with', 'Other', *files),
                           self.limit('replace', files, needle), restore)
        self.check(label, result[3], planted)
        self.report(label, result, goal)
        restore()
        for copy in kept:
            os.remove(copy)
        return result

    def workbooks(self, label, files, planted, goal):
        for needle, factor in ((RARE, goal), (COMMON, goal), (NUMBER, 3.0), (DATE, 3.0),
                               (WILDCARD, 3.0)):
            self.search(f'{label}: search {needle}', files, needle, planted[needle], factor)
        self.search(f'{label}: search a miss', files, 'nowhere', 0, goal)
        self.replace(f'{label}: replace {RARE}', files, RARE, planted[RARE], 1.5)
        self.replace(f'{label}: replace {COMMON}', files, COMMON, planted[COMMON], 1.5)
        # The number stands in the sheet itself, which has to be packed anew.
        self.replace(f'{label}: replace {NUMBER}', files, NUMBER, planted[NUMBER], 1.5)

    def jobs(self, files):
        ratios = []
        for _ in range(self.runs):
            times = []
            for jobs in ('1', '2'):
                command = self.tarvello('search', '--find', RARE, *files)[:-1] + [jobs]
                start = time.monotonic()
                self.timed(command)
                times.append(time.monotonic() - start)
            ratios.append(times[0] / times[1])
        ratio = statistics.median(ratios)
        verdict = 'at least' if ratio >= 1.7 else 'BELOW'
        print(f'{"many small: two jobs against one (wall)":<46} {ratio:6.2f}x  {verdict} 1.7x')

    def scopes(self):
        """All scopes against cells alone, on workbooks that have something in each."""
        files = []
        for seed in range(300):
            path, _ = self.generate('xlsx', f'dressed-{seed}.xlsx', 850, 1000 + seed)
            dress.dress(path)
            files.append(path)
        everything = self.tarvello('search', '--find', 'nowhere', '--in', 'all', *files)
        cells = self.tarvello('search', '--find', 'nowhere', *files)
        self.report('300 small: all scopes against cells alone', self.pair(everything, cells), 1.3)
        check = self.timed(self.tarvello('search', '--find', 'e', '--in', 'all', files[0]))
        entries = {entry['in'] for entry in json.loads(check[2].splitlines()[0])['entries']}
        if len(entries) != 7:
            print(f'all scopes: only {sorted(entries)} hold something')
            self.failures += 1

    def decryption(self):
        sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), '../tests/cli'))
        try:
            import office_crypto
        except ImportError as error:
            print(f'decryption: not measured ({error})')
            return
        path, _ = self.generate('xlsx', 'secret.xlsx', 100000, 7)
        with open(path, 'rb') as file:
            package = file.read()
        how = office_crypto.Agile(rounds=100000, password='secret')
        with open(path, 'wb') as file:
            file.write(office_crypto.encrypted(how, package, shift=12))
        result = self.pair([os.path.join(self.bin, 'bench_decrypt'), path, 'secret'],
                           [os.path.join(self.bin, 'bench_decrypt_limit'), str(len(package)),
                            '100000'])
        if result[3].strip() != str(len(package)).encode():
            print('decryption: another size than was encrypted')
            self.failures += 1
        self.report('agile decryption of 8 MB against bare nettle', result, 1.3)

    def openpyxl(self, path):
        script = ('import openpyxl,sys\n'
                  'book = openpyxl.load_workbook(sys.argv[1])\n'
                  'print(sum(1 for s in book for r in s.iter_rows() for c in r\n'
                  '          if c.value is not None and sys.argv[2] in str(c.value).lower()))')
        limit = self.timed(self.limit('search', [path], RARE))
        other = self.timed(['/usr/bin/python3', '-c', script, path, RARE])
        if other[3] != 0:
            print('openpyxl cannot read the workbook')
        else:
            print(f'{"openpyxl, the same search":<46} {other[0] / limit[0]:6.0f}x')

    # --- binary workbooks ----------------------------------------------------------------------
    def generate_binary(self, name, rows, seeds):
        script = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'generate_xls.py')
        done = subprocess.run(['/usr/bin/python3', script, self.work, name, str(rows),
                               *map(str, seeds)], stdout=subprocess.PIPE, check=True)
        counts = [json.loads(line) for line in done.stdout.splitlines()]
        return ([os.path.join(self.work, f'{name}-{seed}.xls') for seed in seeds],
                {needle: sum(count[needle] for count in counts) for needle in counts[0]})

    def binary_workbooks(self, label, files, planted, goal):
        results = []
        for needle in (RARE, COMMON, NUMBER, DATE, WILDCARD):
            results.append(self.search(f'{label}: search {needle}', files, needle, planted[needle],
                                       goal))
        results.append(self.search(f'{label}: search a miss', files, 'nowhere', 0, goal))
        # Of a number the text has to be made before it can be compared.
        for needle, factor in ((RARE, 3.0), (COMMON, 6.0), (NUMBER, 6.0)):
            results.append(self.replace(f'{label}: replace {needle}', files, needle,
                                        planted[needle], factor))
        memory = max(result[1] for result in results)
        most = 3 * max(os.path.getsize(path) for path in files) / 2 ** 20 + 50
        print(f'{label + ": memory":<46} {memory:6.0f} MiB  '
              f'{"within" if memory <= most else "ABOVE"} {most:.0f} MiB')

    def xlrd(self, label, files):
        script = ('import xlrd,sys\n'
                  'print(sum(1 for name in sys.argv[2:] for s in xlrd.open_workbook(name).sheets()\n'
                  '          for r in range(s.nrows) for v in s.row_values(r)\n'
                  '          if sys.argv[1] in str(v).lower()))')
        own, other = (self.timed(command)
                      for command in (self.tarvello('search', '--find', RARE, *files),
                                      ['/usr/bin/python3', '-c', script, RARE, *files]))
        if other[3] != 0:
            print('xlrd is not there or cannot read the workbook')
            return
        ratio = other[0] / own[0]
        print(f'{label + ": xlrd, the same search":<46} {ratio:6.0f}x  '
              f'{"at least" if ratio >= 30 else "BELOW"} 30x')

    def binary(self, with_xlrd):
        groups = [('150 binary', *self.generate_binary('binary', 425, range(150)), 6.0),
                  ('65536 binary rows', *self.generate_binary('rows', 65536, [7]), 4.0)]
        for label, files, planted, goal in groups:
            print(f'{len(files)} binary workbooks of {os.path.getsize(files[0]) // 1000} KB')
            self.binary_workbooks(label, files, planted, goal)
            if with_xlrd:
                self.xlrd(label, files)

    # --- text ------------------------------------------------------------------------------------
    def text(self, path, planted):
        locale = {'LC_ALL': 'C.UTF-8'}
        result = self.pair(self.tarvello('search', '--find', RARE, path),
                           ['grep', '-ci', RARE, path], environment=locale)
        self.check('csv search', result[3], planted)
        self.report('100 MB csv: search against grep -ci', result, 1.5)
        kept = path + '.kept'
        shutil.copy(path, kept)
        result = self.pair(self.tarvello('replace', '--find', RARE, '--with', 'Other', path),
                           ['sh', '-c', f'sed -i "s/{RARE}/Other/gI" "$1" && sync "$1"', 'sh', path],
                           lambda: shutil.copy(kept, path), locale)
        self.check('csv replace', result[3], planted)
        self.report('100 MB csv: replace against sed -i and fsync', result, 1.5)

    # --- the desktop program ---------------------------------------------------------------------
    def desktop(self):
        """From the start to a window that can be used, with a project of so many entries."""
        entries = 100
        start, limit = (os.path.join(self.bin, name)
                        for name in ('bench_desktop_start', 'bench_desktop_limit'))
        if not os.path.exists(start):
            print('desktop: not measured (built without it)')
            return
        os.environ.update(QT_QPA_PLATFORM='offscreen',
                          XDG_DATA_HOME=os.path.join(self.work, 'data'),
                          XDG_CONFIG_HOME=os.path.join(self.work, 'config'))
        shutil.copytree(os.path.join(os.path.dirname(os.path.abspath(__file__)),
                                     '../data/Languages'), os.path.join(self.work, 'Languages'))
        project = os.path.join(self.work, 'project.tvl')
        subprocess.run([start, 'make', project, str(entries)], check=True)
        result = self.pair([start, project], [limit, str(entries)])
        if result[3].strip() != str(entries).encode():
            print(f'desktop: {result[3]!r} entries shown, {entries} expected')
            self.failures += 1
        self.report(f'desktop: start with {entries} entries', result, 2.0)

    def desktop_run(self):
        """The same project, searched by the desktop program and by the command line."""
        program = os.path.join(self.bin, 'bench_desktop_run')
        if not os.path.exists(program):
            print('run of the desktop program: not measured (built without it)')
            return
        count, total = 600, 0
        os.mkdir(os.path.join(self.work, 'documents'))
        for seed in range(count):
            total += self.generate('xlsx', f'documents/{seed}.xlsx', 850, seed)[1][RARE]
        project = os.path.join(self.work, 'documents.tvl')
        subprocess.run([program, 'make', project, os.path.join(self.work, 'documents/'), RARE],
                       check=True)
        ratios, seconds, memory = [], [], 0
        for _ in range(self.runs):
            base = self.timed(self.tarvello('run', project, '--search-only'))
            _, memory, output, _ = self.timed([program, project])
            own, result = output.decode().split(' ', 1)
            if not result.startswith(f'{total} '):
                print(f'run of the desktop program: {result.strip()}, {total} planted')
                self.failures += 1
            self.check('run of the project', base[2], total)
            seconds.append(float(own))
            ratios.append(float(own) / base[0])
        self.report(f'desktop: search of {count} small workbooks against tarvello',
                    (statistics.median(ratios), memory, statistics.median(seconds), b''), 1.5)

    def grid_load(self):
        """Both sides are measured in one process, which prints the median of its pairs."""
        program = os.path.join(self.bin, 'bench_grid_load')
        if not os.path.exists(program):
            print('10000 entries in the grid: not measured (built without the desktop program)')
            return
        _, memory, output, status = self.timed([program, self.work, '10000', str(self.runs)])
        if status != 0:
            print('10000 entries in the grid: not all of them are there')
            self.failures += 1
            return
        figures = json.loads(output)
        self.report('10000 entries in the grid against a bare table',
                    (figures['ratio'], memory, figures['ours'], output), 3)

    def results_tree(self):
        """The results of 50,000 documents; the program measures both sides and prints a table."""
        program = os.path.join(self.bin, 'bench_results_tree')
        if os.path.exists(program):
            print(self.timed([program])[2].decode(), end='')


def zipped(bench, arguments):
    many, total = [], {}
    for seed in range(150):
        path, planted = bench.generate('xlsx', f'small-{seed}.xlsx', 850, seed)
        many.append(path)
        for needle, count in planted.items():
            total[needle] = total.get(needle, 0) + count
    print(f'150 workbooks of {os.path.getsize(many[0]) // 1000} KB')
    bench.workbooks('many small', many, total, 2.0)
    bench.jobs(many)
    bench.scopes()
    bench.decryption()
    for rows in (100000,) if arguments.small else (100000, 1000000):
        path, planted = bench.generate('xlsx', f'large-{rows}.xlsx', rows, 7)
        bench.workbooks(f'{rows} rows', [path], planted, 1.6)
        if arguments.openpyxl and rows == 100000:
            bench.openpyxl(path)
        os.remove(path)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--bin', required=True)
    parser.add_argument('--runs', type=int, default=5)
    parser.add_argument('--only', choices=('xlsx', 'xls', 'csv', 'desktop'),
                        help='leave the others out')
    parser.add_argument('--small', action='store_true', help='leave the largest workbook out')
    parser.add_argument('--openpyxl', action='store_true')
    parser.add_argument('--xlrd', action='store_true')
    arguments = parser.parse_args()
    bench = Bench(arguments)
    try:
        if arguments.only in (None, 'xlsx'):
            zipped(bench, arguments)
        if arguments.only in (None, 'xls'):
            bench.binary(arguments.xlrd)
        if arguments.only in (None, 'csv'):
            path, planted = bench.generate('csv', 'large.csv', 100, 7)
            bench.text(path, planted[RARE])
        if arguments.only in (None, 'desktop'):
            bench.desktop()
            bench.desktop_run()
            bench.grid_load()
            bench.results_tree()
        return 1 if bench.failures else 0
    finally:
        shutil.rmtree(bench.work)


if __name__ == '__main__':
    sys.exit(main())
