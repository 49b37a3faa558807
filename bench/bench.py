#!/usr/bin/env python3
"""Measures a repair against what reading the same file costs anyway, and how its cost grows.

    python3 bench/bench.py --tolvane build/release/tolvane [--runs 3] DATABASE...

For each file, in the same run and on the same warm cache: the machine itself (cat, cp, sha1sum), mdb-export of all its
tables (where mdbtools is installed), tolvane on one thread and on all, without saving and with. Prints the best of the
runs with the processor's time (which other work on the machine changes less), the rate, the peak memory, and each time
as a multiple of cat's and of mdb-export's. Behind several files: what a megabyte of each costs.
"""
import argparse
import os
import resource
import shutil
import subprocess
import sys
import tempfile
import time


class Measured:
    """The best of the runs of a command; ends the program when it fails."""
    def __init__(self, command, runs, good=(0,)):
        self.seconds = self.processor = float('inf')
        self.peak = 0
        for _ in range(runs):
            started = time.monotonic()
            process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
            errors = process.stderr.read()
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
            self.seconds = min(self.seconds, time.monotonic() - started)
            if process.returncode not in good:
                sys.exit('%s: status %d\n%s' % (' '.join(command), process.returncode, errors.decode('utf-8', 'replace')[-500:]))
            self.processor = min(self.processor, usage.ru_utime + usage.ru_stime)
            self.peak = max(self.peak, usage.ru_maxrss / 1024)


def mdb_export_all(path):
    """The command; None where there is no mdbtools, or where most of the time would be that of starting it."""
    if not shutil.which('mdb-export'):
        return None
    tables = subprocess.run(['mdb-tables', '-1', path], capture_output=True, check=True).stdout.decode().split('\n')
    quoted = ["mdb-export '%s' '%s'" % (path, table) for table in tables if table]
    return ['sh', '-c', ' && '.join(quoted)] if len(quoted) <= 100 else None


TABLES, REPAIR = 'tolvane tables (scan, decode)', 'tolvane repair (scan, decode, save)'


def bench(tolvane, path, runs, folder):
    size = os.path.getsize(path) / 1e6
    output = os.path.join(folder, 'output' + os.path.splitext(path)[1])
    repair = [tolvane, 'repair', path, '-o', output, '--overwrite']
    works = [('cat', ['cat', path], (0,)), ('cp', ['cp', path, output], (0,)), ('sha1sum', ['sha1sum', path], (0,))]
    if export := mdb_export_all(path):
        works.append(('mdb-export', export, (0,)))
    works += [(TABLES + ', 1 thread', [tolvane, 'tables', path, '--threads', '1'], (0, 3)), (TABLES, [tolvane, 'tables', path], (0, 3)),
              (REPAIR + ', 1 thread', repair + ['--threads', '1'], (0, 3)), (REPAIR, repair, (0, 3))]
    print('%s: %.0f MB, %d processors, load %.1f' % (os.path.basename(path), size, os.cpu_count(), os.getloadavg()[0]))
    print('  %-46s %9s %9s %9s %6s %8s %13s' % ('', 'seconds', 'CPU s', 'MB/s', 'MiB', 'x cat', 'of mdb-export'))
    done = {}
    for name, command, good in works:
        found = done[name] = Measured(command, runs, good)
        peer = '1/%.1f' % (done['mdb-export'].seconds / found.seconds) if 'mdb-export' in done else '-'
        print('  %-46s %9.2f %9.2f %9.0f %6.0f %8.1f %13s' % (
            name, found.seconds, found.processor, size / found.seconds, found.peak, found.seconds / done['cat'].seconds, peer))
        sys.stdout.flush()
    return size, done[TABLES], done[REPAIR]


def show_growth(results):
    print('%-30s %8s %22s %22s' % ('CPU seconds for 100 MB', 'MB', 'tables (peak MiB)', 'repair (peak MiB)'))
    for path, (size, tables, repair) in results:
        print('%-30s %8.0f %15.2f %6.0f %15.2f %6.0f' % (os.path.basename(path), size, 100 * tables.processor / size, tables.peak,
                                                        100 * repair.processor / size, repair.peak))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--tolvane', required=True)
    parser.add_argument('--runs', type=int, default=3)
    parser.add_argument('databases', nargs='+')
    arguments = parser.parse_args()
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    with tempfile.TemporaryDirectory(prefix='tolvane-bench-') as folder:
        results = []
        for path in arguments.databases:
            subprocess.run(['cat', path], stdout=subprocess.DEVNULL, check=True)  # warms the cache
            results.append((path, bench(os.path.abspath(arguments.tolvane), path, arguments.runs, folder)))
        if len(results) > 1:
            show_growth(results)


if __name__ == '__main__':
    main()
