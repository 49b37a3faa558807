#!/usr/bin/env python3
"""Sets our files beside those that the real engines made of the same rows.

    python3 bench/sizes.py --tolvane build/release/tolvane [--corpus FOLDER] [--only TEXT] [--rows 100]

Repairs every healthy database of the corpus and compares, for each of its tables with at least that many rows, the pages
in use before and after: of rows, of long values and of indexes, and how full they are. Freed pages do not count on
either side, nor do the rows that a repair brings back from them: tables with other row counts are left out and named.
"""
import argparse
import os
import sys
import tempfile
from collections import Counter

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, '..', 'tests', 'corpus'))
import corpus  # noqa: E402
import pages  # noqa: E402

KINDS = ('rows', 'long values', 'indexes')


class WholeFile:
    """Stands for a table where only the map matters."""
    used_map = 0x100  # the free pages of the file


def read_free_word(file, number):
    return int.from_bytes(file.page(number)[2:4], 'little')


class TableSize:
    def __init__(self, file, table, free):
        self.rows = table.live_rows()
        data = {n for n in file.used_pages(table) if file.type_of(n) == pages.DATA}
        values = {n for row in self.rows for n in row.pages if n < file.count and file.owner_of(n) == 'LVAL'}
        indexes = {n for n in file.pages_of_type(pages.INDEX_LEAF, pages.INDEX_NODE)
                   if file.owner_of(n) == table.definition and n not in free}
        self.pages = Counter(dict(zip(KINDS, map(len, (data, values, indexes)))))
        self.unused = Counter({kind: sum(read_free_word(file, n) for n in numbers)
                               for kind, numbers in zip(KINDS, (data, values, indexes))})


def measure(path):
    file = corpus.open_pages(path)
    if file is None:
        raise pages.Unreadable('encrypted')
    free = file.used_pages(WholeFile)
    return file, {name: TableSize(file, table, free) for name, table in pages.local_tables(file).items()
                  if not name.startswith('MSys')}


def fill(size, file, kind):
    count = size.pages[kind]
    return '%3.0f%%' % (100 - 100 * size.unused[kind] / (count * file.size)) if count else '   -'


def show(name, theirs, ours, file):
    cells = []
    for kind in KINDS:
        cells.append('%5d %5d %s %s' % (theirs.pages[kind], ours.pages[kind], fill(theirs, file, kind), fill(ours, file, kind)))
    print('%-58s %6d  %s' % (name[:58], len(theirs.rows), '  '.join(cells)))


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--tolvane', required=True)
    parser.add_argument('--corpus', default=os.environ.get('TOLVANE_CORPUS') or os.path.join(HERE, '..', '..', 'shared', 'corpus'))
    parser.add_argument('--only', default='', help='files whose path holds this text')
    parser.add_argument('--rows', type=int, default=100, help='of the smallest table that is shown')
    return parser.parse_args()


def main():
    options = parse_arguments()
    totals = {False: Counter(), True: Counter()}
    left_out = []
    print('%-58s %6s  %s' % ('pages (theirs, ours) and how full they are', 'rows', '  '.join('%-21s' % kind for kind in KINDS)))
    with tempfile.TemporaryDirectory(prefix='tolvane-bench-') as folder:
        for path, short in corpus.databases(options):
            output = os.path.join(folder, 'output' + os.path.splitext(path)[1])
            try:
                file, theirs = measure(path)
                corpus.tolvane(options, 'repair', path, '-o', output, '--overwrite')
                written, ours = measure(output)
            except (corpus.Failure, pages.Unreadable) as problem:
                print('%-58s %s' % (short, problem))
                continue
            for name, size in theirs.items():
                if len(size.rows) < options.rows:
                    continue
                if name not in ours or len(ours[name].rows) != len(size.rows):
                    left_out.append('%s: %s' % (short, name))
                    continue
                show('%s: %s' % (short, name), size, ours[name], file)
                for which, found in ((False, size), (True, ours[name])):
                    totals[which].update(found.pages)
    print('%-58s %6s  %s' % ('all', '', '  '.join('%5d %5d %4.2f     ' % (
        totals[False][kind], totals[True][kind], totals[True][kind] / max(totals[False][kind], 1)) for kind in KINDS)))
    print('other row counts: ' + ', '.join(left_out))


if __name__ == '__main__':
    sys.exit(main())
