#!/usr/bin/env python3
"""Measures how fast rows get into tables with indexes.

    python3 bench/rows.py --write-rows build/release/bench/write_rows --tolvane build/release/tolvane
                          [--rows 10000000] [--indexes 1 3 10] [--folder FOLDER]

For none and each number of indexes: a new database of that many small rows, then `tolvane check` on it. Prints rows a
second, the processor's time (which other work on the machine changes less), the part of the time that the indexes took,
peak memory and file size, each also as a multiple of those with the fewest indexes, and what the database did not take
when it reached the largest size that its format allows. Last, what the indexes cost beyond the rows as a multiple of
what sorting the same keys alone does, both in time of the processor.
"""
import argparse
import json
import os
import resource
import subprocess
import sys
import tempfile
import time


def measure(arguments, indexes, folder):
    path = os.path.join(folder, 'rows.mdb')
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    done = subprocess.run([arguments.write_rows, path, str(arguments.rows), str(indexes)], capture_output=True, check=False)
    if done.returncode != 0:
        sys.exit('write_rows: status %d\n%s' % (done.returncode, done.stderr.decode('utf-8', 'replace')[-500:]))
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    started = time.monotonic()
    checked = subprocess.run([arguments.tolvane, 'check', path, '-q'], capture_output=True, check=False)
    result = json.loads(done.stdout)
    result['cpuSeconds'] = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
    result['checkSeconds'] = time.monotonic() - started
    result['isAccepted'] = checked.returncode == 0
    os.remove(path)
    return result


def show(result, first, wanted):
    speed, base = result['rows'] / result['seconds'], first['rows'] / first['seconds']
    print('%7d %10d %8.1f %8.1f %8.1f %9.0f %6.2f %6.0f %6.2f %8.0f %6.2f %9.1f %9s' % (
        result['indexes'], result['rows'], result['seconds'], result['cpuSeconds'], result['indexSeconds'], speed, speed / base,
        result['peakBytes'] / 2**20, result['peakBytes'] / first['peakBytes'], result['fileBytes'] / 1e6,
        result['fileBytes'] / first['fileBytes'], result['checkSeconds'],
        'accepted' if result['isAccepted'] else 'REFUSED'))
    if result['rows'] < wanted:
        print('        %d rows did not fit' % (wanted - result['rows']))
    if result['remarks']:
        print('        ' + result['remarks'])
    sys.stdout.flush()


def show_sorting(arguments, base, last, folder):
    done = subprocess.run([arguments.write_rows, '--sort', str(last['rows']), str(last['indexes'])], capture_output=True,
                          check=True, env={**os.environ, 'TMPDIR': folder})
    sorting = json.loads(done.stdout)['cpuSeconds']
    cost = last['cpuSeconds'] - base['cpuSeconds']
    print('%d indexes cost %.1f CPU seconds beyond the rows, sorting their keys alone %.1f: %.2f times' % (
        last['indexes'], cost, sorting, cost / sorting))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--write-rows', required=True)
    parser.add_argument('--tolvane', required=True)
    parser.add_argument('--rows', type=int, default=10_000_000)
    parser.add_argument('--indexes', type=int, nargs='+', default=[1, 3, 10])
    parser.add_argument('--folder', help='where the databases go (default: the folder for temporary files)')
    arguments = parser.parse_args()
    print('%7s %10s %8s %8s %8s %9s %6s %6s %6s %8s %6s %9s' % (
        'indexes', 'rows', 'seconds', 'CPU s', 'indexing', 'rows/s', 'x', 'MiB', 'x', 'MB', 'x', 'check s'))
    first = base = last = None
    with tempfile.TemporaryDirectory(prefix='tolvane-bench-', dir=arguments.folder) as folder:
        for indexes in [0] + arguments.indexes:
            result = measure(arguments, indexes, folder)
            base, last = base or result, result
            first = first or (result if indexes else None)
            show(result, first or result, arguments.rows)
        show_sorting(arguments, base, last, folder)


if __name__ == '__main__':
    main()
