#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks what the desktop is told about the program, by the desktop's own tools.

    desktop_test.py --brindle PROGRAM

What packages install must be valid, and the same as what the program writes for a user, but for
the program's path. From a folder with a name full of characters that mean something in a desktop
entry, opening a project must call the program with the path as its one argument. Without a display
the program must say so. Exit status 77 when a tool is missing and nothing else is wrong.
"""
import argparse
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time

DATA = os.path.join(os.path.dirname(os.path.abspath(__file__)), '../../data/freedesktop')
# Without "%": GLib looks for a program before it takes the doubled one for one.
ODD_NAME = 'odd $HOME `x` "q" back\\slash \\n é'
failures, missing = [], []


def check(condition, message):
    if not condition:
        failures.append(message)
        print('FAILED:', message)


def tool(*command):
    """Whether the command succeeds; None when there is no such tool."""
    if not shutil.which(command[0]):
        missing.append(command[0])
        return None
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    if done.returncode != 0:
        print(' '.join(command), done.stdout, sep='\n')
    return done.returncode == 0


def read(path):
    with open(path, encoding='utf-8') as file:
        return file.read()


def wait_until(condition):
    for _ in range(1000):
        if condition():
            return True
        time.sleep(0.02)
    return False


def wait_for(path):
    return wait_until(lambda: os.path.exists(path) and os.path.getsize(path) > 0)


def handles(process, number):
    """Whether the process has a handler for this signal."""
    for line in read(f'/proc/{process}/status').splitlines():
        if line.startswith('SigCgt:'):
            return bool(int(line.split()[1], 16) >> (number - 1) & 1)
    return False


def check_packages():
    check(tool('desktop-file-validate', os.path.join(DATA, 'Brindle.desktop')) in (True, None),
          'the desktop entry of packages is valid')
    check(tool('appstreamcli', 'validate', '--no-net',
               os.path.join(DATA, 'example.tarvello.brindle.metainfo.xml')) in (True, None),
          'the description for software centres is valid')


def without_paths(entry):
    return [line for line in entry.splitlines() if not line.startswith(('Exec=', 'TryExec='))]


def check_registration(program, work):
    folder = os.path.join(work, ODD_NAME)
    data = os.path.join(work, 'data')
    os.mkdir(folder)
    copy = os.path.join(folder, 'Brindle')
    shutil.copy(program, copy)
    environment = dict(os.environ, XDG_DATA_HOME=data, XDG_CONFIG_HOME=os.path.join(work, 'config'),
                       BRINDLE_HOME=os.path.join(work, 'app'), QT_QPA_PLATFORM='offscreen')
    process = subprocess.Popen([copy], env=environment, stderr=subprocess.DEVNULL)
    types = os.path.join(data, 'mime/globs2')
    if shutil.which('update-mime-database'):
        check(wait_for(types) and 'application/x-tarvello-project:*.tvl' in read(types),
              'project files have their type after a start')
    else:
        missing.append('update-mime-database')
    check(wait_until(lambda: handles(process.pid, signal.SIGTERM)), 'the program is running')
    process.send_signal(signal.SIGTERM)
    check(process.wait(20) == 0, 'a signal ends the program in order')

    entry = os.path.join(data, 'applications/Brindle.desktop')
    check(tool('desktop-file-validate', entry) in (True, None), 'the desktop entry is valid')
    check(without_paths(read(entry)) == without_paths(read(os.path.join(DATA, 'Brindle.desktop'))),
          'the desktop entry is that of packages')
    check(read(os.path.join(data, 'mime/packages/Brindle.xml')) ==
          read(os.path.join(DATA, 'Brindle.xml')), 'the type is that of packages')
    check_launch(entry, copy, work, environment)


def check_launch(entry, program, work, environment):
    """A script in the place of the program tells how it was called."""
    if not shutil.which('gio'):
        missing.append('gio')
        return
    called = os.path.join(work, 'called')
    os.remove(program)
    with open(program, 'w', encoding='utf-8') as script:
        script.write(f'#!/bin/sh\nprintf "%s:%s" "$#" "$1" >"{called}.tmp"\n'
                     f'mv "{called}.tmp" "{called}"\n')
    os.chmod(program, 0o755)
    project = os.path.join(work, 'my %f "plan".tvl')
    subprocess.run(['gio', 'launch', entry, project], env=environment, check=False)
    check(wait_for(called) and read(called) == '1:' + project,
          'the path of a project is the one argument')


def check_streams(program, work):
    """Complaints that nobody can read are no reason to end, and go nowhere else."""
    environment = dict(os.environ, XDG_DATA_HOME=os.path.join(work, 'streams'), QT_DEBUG_PLUGINS='1',
                       BRINDLE_HOME=os.path.join(work, 'streams'), QT_QPA_PLATFORM='offscreen')
    reader, left = os.pipe()
    os.close(reader)
    for what, options in (('without a reader', {'stderr': left}),
                          ('closed', {'preexec_fn': lambda: os.close(2)})):
        process = subprocess.Popen([program], env=environment, **options)
        check(wait_until(lambda: handles(process.pid, signal.SIGTERM)
                         or process.poll() is not None), f'the program with stderr {what} starts')
        if what == 'closed':
            check(os.readlink(f'/proc/{process.pid}/fd/2') == '/dev/null', 'nothing is written to')
        process.send_signal(signal.SIGTERM)
        check(process.wait(20) == 0, f'a signal ends the program with stderr {what} in order')
    os.close(left)


def check_display(program, work):
    environment = {name: value for name, value in os.environ.items()
                   if name not in ('DISPLAY', 'WAYLAND_DISPLAY')}
    environment.update(QT_QPA_PLATFORM='xcb', XDG_DATA_HOME=os.path.join(work, 'none'))
    done = subprocess.run([program], env=environment, stderr=subprocess.PIPE, timeout=20, text=True)
    check(done.returncode == 1 and 'Brindle: no window can be opened here' in done.stderr,
          'without a display the program says so and ends')


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--brindle', required=True)
    program = parser.parse_args().brindle
    check_packages()
    with tempfile.TemporaryDirectory(prefix='brindle desktop ') as work:
        check_registration(program, work)
        check_streams(program, work)
        check_display(program, work)
    if failures:
        return 1
    if missing:
        print('not all was checked, these tools are missing:', ', '.join(sorted(set(missing))))
        return 77
    return 0


if __name__ == '__main__':
    sys.exit(main())
