#!/usr/bin/env python3
"""Runs the fuzz targets on seeds cut from real workbooks, and prints what each reached.

Usage: run_fuzz.py --bin FOLDER [--corpus FOLDER] [--seconds N] [--only NAME] [--seeds FOLDER]
Build first: cmake --preset fuzz && cmake --build --preset fuzz
Without --corpus the environment variable BRINDLE_CORPUS names the folder of real files. What the
targets find interesting is kept in the seed folder (by default build/fuzz-seeds) for the next run.
"""
import argparse
import itertools
import os
import re
import struct
import subprocess
import sys
import zipfile

TEXT = ('csv', 'txt', 'tab', 'tsv', 'prn')
PACKAGES = ('xlsx', 'xlsm', 'xltx', 'xltm')
LARGEST = 64 * 1024


def files(corpus, folders):
    for folder in folders:
        path = os.path.join(corpus, folder)
        for name in sorted(os.listdir(path)) if os.path.isdir(path) else []:
            with open(os.path.join(path, name), 'rb') as file:
                yield file.read()


def matching_members(corpus, wanted):
    """Archive and member name of every part whose name matches."""
    for folder in PACKAGES:
        path = os.path.join(corpus, folder)
        for name in sorted(os.listdir(path)) if os.path.isdir(path) else []:
            try:
                with zipfile.ZipFile(os.path.join(path, name)) as archive:
                    for member in archive.namelist():
                        if re.search(wanted, member, re.I):
                            yield archive, member
            except (zipfile.BadZipFile, NotImplementedError, RuntimeError):
                continue


def read_whole(archive, member):
    try:
        return archive.read(member)
    except (zipfile.BadZipFile, NotImplementedError, RuntimeError):
        return b''


def members(corpus, wanted):
    for archive, member in matching_members(corpus, wanted):
        yield read_whole(archive, member)


def sheet_texts(corpus):
    """Relationships and, without its rows, the sheet; as the target takes them apart."""
    for archive, member in matching_members(corpus, r'worksheets/[^/]*\.xml$'):
        rels = f'{os.path.dirname(member)}/_rels/{os.path.basename(member)}.rels'
        known = rels in archive.namelist()
        relationships = read_whole(archive, rels) if known else b''
        sheet = re.sub(rb'(<(\w+:)?sheetData>).*(</(\w+:)?sheetData>)', rb'\1\3',
                       read_whole(archive, member), flags=re.S)
        yield b'a' + relationships + b'\0' + sheet


def formulas(root):
    with open(os.path.join(root, 'tests/data/formulas/stored.txt'), 'rb') as file:
        yield from file.read().splitlines()


def edited_formulas(root):
    """A formula, the one that was there before, the version."""
    texts = list(formulas(root))
    for i, text in enumerate(texts):
        yield text
        yield text + b'\0' + texts[i - 1] + b'\0' + b'%d' % (i % 5)
        yield text.replace(b'1', b'27') + b'\0' + text
    yield from (b"SUM('My sheet'!A1,Sheet1:Last!B2)\0SUM((A1,B2:C3),B1:C2 C1:D9)",
                b"'C:\\dir\\b''s.xls'!Rate+Total\0IFERROR(EDATE(1),[0]!Total)",
                b'CHOOSE(2,"a",B1,{1,"x";TRUE,#N/A})\0IF( A1>0 ,NOW( ),-2%)')
def property_sets(corpus):
    try:
        import olefile
    except ImportError:
        return
    for data in compound_files(corpus):
        try:
            ole = olefile.OleFileIO(data)
            yield from (ole.openstream(name).read().rstrip(b'\0') + bytes(4)
                        for name in ole.listdir() if name[-1].startswith('\x05'))
        except (OSError, IndexError, AttributeError):
            continue


def compound_files(corpus):
    for folder in ('xls', 'xlt', 'xls-biff5', 'encrypted', 'corrupt'):
        yield from (data for data in files(corpus, [folder]) if data.startswith(b'\xd0\xcf\x11'))


def binary_sheets(corpus):
    """Every substream of the binary workbooks, without its cells."""
    import olefile
    for data in compound_files(corpus):
        try:
            with olefile.OleFileIO(data) as file:
                name = 'Workbook' if file.exists('Workbook') else 'Book'
                stream = file.openstream(name).read()
        except Exception:  # the seeds are as good without it
            continue
        at, depth, sheet = 0, 0, b''
        while at + 4 <= len(stream):
            kind, size = struct.unpack_from('<HH', stream, at)
            depth += (kind == 0x809) - (kind == 0x0A)
            is_cell = kind in (0x06, 0xBD, 0xBE, 0xFD, 0x201, 0x203, 0x204, 0x207, 0x208, 0x27E)
            sheet += b'' if is_cell else stream[at:at + 4 + size]
            at += 4 + size
            if depth == 0:
                yield sheet
                sheet = b''


def formula_tokens(corpus):
    """Formulas of binary workbooks with the link records, as the target takes them apart."""
    try:
        import olefile
    except ImportError:
        return
    links = (0x16, 0x17, 0x18, 0x23, 0x85, 0x8C, 0x1AE, 0x218, 0x223)
    for folder in ('xls', 'xls-biff5', 'xls-biff2-4'):
        for data in files(corpus, [folder]):
            if data.startswith(b'\xd0\xcf\x11'):
                with olefile.OleFileIO(data) as container:
                    streams = [container.openstream(name).read() for name in container.listdir()
                               if name[-1].lower() in ('workbook', 'book') and len(name) == 1]
                data = streams[0] if streams else b''
            version = {b'\x09\0': 0, b'\x09\x02': 1, b'\x09\x04': 2}.get(data[:2], 3)
            version += data[5:6] == b'\x06'
            known, seen, at = b'', set(), 0
            while at + 4 <= len(data):
                kind, size = struct.unpack_from('<HH', data, at)
                body = data[at + 4:at + 4 + size]
                if kind in links and len(known) + size < 4096:
                    known += data[at:at + 4 + size]
                start = {0x06: 20, 0x206: 16, 0x406: 16, 0x4BC: 8, 0x221: 12}.get(kind)
                if start and len(body) > start + 2 and len(seen) < 200:
                    seen.add(body[start:])
                at += 4 + size
            for tokens in seen:
                yield bytes([version]) + struct.pack('<H', len(known)) + known + tokens


def xls_streams(corpus):
    """Workbook streams without the file around them."""
    import olefile
    for data in compound_files(corpus):
        try:
            with olefile.OleFileIO(data) as container:
                for name in container.listdir():
                    if len(name) == 1 and name[0].lower() in ('workbook', 'book'):
                        yield container.openstream(name).read()
        except (OSError, IndexError, AttributeError):
            continue
    yield from files(corpus, ['xls-biff2-4'])


def descriptions(root):
    """Descriptions of encryption with their packages; the password is "password"."""
    sys.path.insert(0, os.path.join(root, 'tests/cli'))
    import office_crypto
    agile, standard = office_crypto.Agile, office_crypto.Standard
    others = '<keyEncryptor uri="other"><c:encryptedKey/></keyEncryptor>'
    for how in (agile(), agile(bits=128, hash='SHA1'), agile('DES', 64, 'MD5'),
                agile('3DES', 192, 'SHA256', 'ChainingModeCFB'), agile(others=others),
                agile(integrity=False), standard(), standard(256)):
        how.password, how.rounds = 'password', 10
        yield b'|||'.join(how.write(b'package ' * 700))


def workbook_streams(root, corpus):
    """Encrypted workbook streams, and behind "|||" their encrypted property sets with header and
    directory in the clear."""
    sys.path.insert(0, os.path.join(root, 'tests/cli'))
    import olefile
    import xls_crypto
    folder = os.path.join(corpus, 'encrypted')
    for name in sorted(os.listdir(folder)):
        if not name.endswith('.xls'):
            continue
        with olefile.OleFileIO(os.path.join(folder, name)) as ole:
            stream = ole.openstream('Workbook' if ole.exists('Workbook') else 'Book').read()
            if ole.exists('encryption'):
                how = xls_crypto.opened(stream, 'password')
                stream += b'|||' + how.clear_directory(ole.openstream('encryption').read())
            yield stream


def seeds_of(target, corpus, root):
    if target.startswith('EncryptionInfo'):
        return descriptions(root)
    if target.startswith('FormulaCompiler'):
        return edited_formulas(root)
    if target == 'FormulaFuzzer':
        return formulas(root)
    if target.startswith('Language'):
        folder = os.path.join(root, 'data/Languages')
        return (open(os.path.join(folder, name), 'rb').read() for name in os.listdir(folder))
    if not corpus:
        return ()
    if target.startswith('FormulaTokens'):
        return formula_tokens(corpus)
    if target.startswith('TextFormat'):
        return files(corpus, TEXT)
    if target.startswith('CompoundFile'):
        return compound_files(corpus)
    if target.startswith('FilePass'):
        return workbook_streams(root, corpus)
    if target.startswith('ZipDirectory'):
        return files(corpus, PACKAGES)
    if target.startswith('XlsDrawing'):
        return binary_sheets(corpus)
    if target.startswith('XlsRecords'):
        return xls_streams(corpus)
    if target.startswith('XlsWorkbook'):
        return itertools.chain(compound_files(corpus), xls_streams(corpus))
    if target.startswith('XlsTexts'):
        return (b'b' + sheet for sheet in binary_sheets(corpus))
    if target.startswith('SharedStrings'):
        return members(corpus, r'sharedStrings.*\.xml$')
    if target.startswith('SheetTexts'):
        return sheet_texts(corpus)
    if target.startswith('Drawing'):
        return members(corpus, r'drawings/drawing[^/]*\.xml$')
    if target.startswith('VmlDrawing'):
        return members(corpus, r'\.vml$')
    if target.startswith('PropertySet'):
        return property_sets(corpus)
    if target.startswith('Properties'):
        return members(corpus, r'docProps/[^/]*\.xml$')
    if target.startswith('Sheet'):
        return members(corpus, r'worksheets/[^/]*\.xml$')
    if target.startswith('XmlScanner'):
        return members(corpus, r'\.(xml|rels)$')
    return ()


def write_seeds(folder, seeds):
    os.makedirs(folder, exist_ok=True)
    for i, seed in enumerate(seeds):
        if len(seed) <= LARGEST:
            with open(os.path.join(folder, f'seed-{i}'), 'wb') as file:
                file.write(seed)


def run(program, folder, seconds):
    done = subprocess.run([program, folder, f'-max_total_time={seconds}', '-timeout=10',
                           '-rss_limit_mb=2048', f'-max_len={LARGEST}', '-print_final_stats=1',
                           f'-artifact_prefix={folder}/../'],
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    text = done.stdout.decode('utf-8', 'replace')
    reached = re.findall(r'cov: (\d+) ft: (\d+)', text)
    count = re.search(r'number_of_executed_units:\s*(\d+)', text)
    coverage = '{} edges, {} features'.format(*reached[-1]) if reached else 'no coverage seen'
    print(f'{os.path.basename(program):<24} {count.group(1) if count else "?":>10} runs, '
          f'{coverage}, {"clean" if done.returncode == 0 else "FINDING"}', flush=True)
    if done.returncode != 0:
        print(text[-4000:])
    return done.returncode == 0


def main():
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    parser = argparse.ArgumentParser()
    parser.add_argument('--bin', required=True)
    parser.add_argument('--corpus', default=os.environ.get('BRINDLE_CORPUS'))
    parser.add_argument('--seconds', type=int, default=300)
    parser.add_argument('--only', default='')
    parser.add_argument('--seeds', default=os.path.join(root, 'build/fuzz-seeds'))
    arguments = parser.parse_args()
    programs = sorted(name for name in os.listdir(arguments.bin)
                      if name.endswith('Fuzzer') and arguments.only in name)
    clean = bool(programs)
    for name in programs:
        folder = os.path.join(arguments.seeds, name)
        write_seeds(folder, seeds_of(name, arguments.corpus, root))
        clean = run(os.path.join(arguments.bin, name), folder, arguments.seconds) and clean
    return 0 if clean else 1


if __name__ == '__main__':
    sys.exit(main())
