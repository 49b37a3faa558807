#!/usr/bin/env python3
"""Measures a repair against what reading the same file costs anyway.

    python3 bench/bench.py --tolvane build/release/tolvane [--runs 3] DATABASE...

For each file, in the same run and on the same warm cache: `cat FILE > /dev/null`, mdb-export of all its tables (where
mdbtools is installed), tolvane with saving and without. Prints the best of the runs with rates, the peak memory, and
each time as a multiple of cat's and of mdb-export's.
"""
import argparse
import os
import resource
import shutil
import subprocess
import sys
import tempfile
import time


def measure(command, runs, good=(0,)):
    """(best seconds, peak memory in MiB) of a command; ends the program when it fails."""
    best, peak = None, 0
    for _ in range(runs):
        started = time.monotonic()
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        errors = process.stderr.read()
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        seconds = time.monotonic() - started
        if process.returncode not in good:
            sys.exit('%s: status %d\n%s' % (' '.join(command), process.returncode, errors.decode('utf-8', 'replace')[-500:]))
        best = seconds if best is None else min(best, seconds)
        peak = max(peak, usage.ru_maxrss / 1024)
    return best, peak


def mdb_export_all(path):
    tables = subprocess.run(['mdb-tables', '-1', path], capture_output=True, check=True).stdout.decode().split('\n')
    quoted = ["mdb-export '%s' '%s'" % (path, table) for table in tables if table]
    return ['sh', '-c', ' && '.join(quoted)]


def bench(tolvane, path, runs, folder):
    size = os.path.getsize(path) / 1e6
    output = os.path.join(folder, 'output' + os.path.splitext(path)[1])
    works = [('cat', ['sh', '-c', "cat '%s'" % path], (0,))]
    if shutil.which('mdb-export'):
        works.append(('mdb-export', mdb_export_all(path), (0,)))
    works += [('tolvane tables (scan, decode)', [tolvane, 'tables', path], (0, 3)),
              ('tolvane repair (scan, decode, save)', [tolvane, 'repair', path, '-o', output, '--overwrite'], (0, 3))]
    print('%s: %.0f MB' % (path, size))
    print('  %-38s %9s %9s %8s %8s %12s' % ('', 'seconds', 'MB/s', 'MiB', 'x cat', 'x mdb-export'))
    base = {}
    for name, command, good in works:
        seconds, peak = measure(command, runs, good)
        base[name] = seconds
        other = '%.2f' % (seconds / base['mdb-export']) if 'mdb-export' in base else '-'
        print('  %-38s %9.2f %9.1f %8.0f %8.1f %12s' % (name, seconds, size / seconds, peak, seconds / base['cat'], other))
        sys.stdout.flush()
    saved = base['tolvane repair (scan, decode, save)'] - base['tolvane tables (scan, decode)']
    print('  saving alone (difference): %.2f s, %.1f MB/s' % (saved, size / saved if saved > 0 else 0))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--tolvane', required=True)
    parser.add_argument('--runs', type=int, default=3)
    parser.add_argument('databases', nargs='+')
    arguments = parser.parse_args()
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    with tempfile.TemporaryDirectory(prefix='tolvane-bench-') as folder:
        for path in arguments.databases:
            subprocess.run(['sh', '-c', "cat '%s' > /dev/null" % path], check=True)  # warms the cache
            bench(os.path.abspath(arguments.tolvane), path, arguments.runs, folder)


if __name__ == '__main__':
    main()
