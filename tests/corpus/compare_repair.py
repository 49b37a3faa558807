#!/usr/bin/env python3
"""Repairs every healthy real database and holds the new database to its source, cell by cell; then repairs that one.

    python3 tests/corpus/compare_repair.py --tolvane build/release/tolvane [--corpus FOLDER] [--only TEXT]

`tolvane export` of the source is proved by compare_export.py. What it shows of the repaired database must follow from
that, row by row and text by text, by the documented rules of saving alone (docs/standard-rules.md; expected.saved_text); the
report ends with how often each was needed. Two independent readers must see the repaired database just so, with the
source's types. Repaired twice, nothing changes any more. Both new databases must pass `tolvane check`.
"""
import json
import sys

import compare_export
import corpus
import expected
import pages
import readers


def saved_rows(verdict, rows, types):
    """The rows that must be saved of those of the source."""
    saved = [[expected.saved_text(text, code, verdict.note) for text, code in zip(row, types)]
             for row in rows if any(row)]
    if len(saved) < len(rows):
        verdict.note('rows without any value are left out', len(rows) - len(saved))
    return saved


def compare_tables(verdict, step, want, have):
    """Two exports, {table: (names, rows)}; the same rows in the same order."""
    for name in sorted(set(want) ^ set(have)):
        verdict.error('%s: table %s: %s' % (step, name, 'missing' if name in want else 'not there before'))
    for name in sorted(set(want) & set(have)):
        (want_names, want_rows), (names, rows) = want[name], have[name]
        if names != want_names:
            verdict.error('%s: %s: columns %s for %s' % (step, name, names[:8], want_names[:8]))
        if len(rows) != len(want_rows):
            verdict.error('%s: %s: %d rows for %d' % (step, name, len(rows), len(want_rows)))
        wrong = [(i, b, a) for before, after in zip(want_rows, rows) for i, (a, b) in enumerate(zip(before, after))
                 if a is not expected.SKIP and a != b]
        if wrong:
            verdict.error('%s: %s: %d cells, in column %d %.60r for %.60r' % (step, name, len(wrong), *wrong[0]))


def check_types(verdict, name, source, table, listed):
    for before, after in zip(source.columns, table.columns):
        want = expected.SAVED_TYPES.get(before.type, before.type)
        if before.type in pages.KNOWN and after.type != want:
            verdict.error('%s.%s: type %d for %d' % (name, before.name, after.type, want))
    if name not in listed and not name.startswith(('MSys', 'f_', '~')):
        verdict.error('%s: mdbtools does not list it' % name)


def check_indexes(verdict, name, source, table):
    """Each is there, with its columns; `tolvane check` proves what stands in it."""
    for columns in source.indexes:
        if any(position is None for position, _ in columns):
            verdict.note('index over a column whose number is above the count of columns')
        elif any(source.columns[position].type in expected.SAVED_TYPES for position, _ in columns):
            verdict.note('index over a column of another type when saved')
        elif columns not in table.indexes:
            names = [source.columns[position].name for position, _ in columns]
            verdict.error('%s: the index over %s is not there' % (name, names))


def check_numbers(verdict, name, source, table, view):
    """Numbers are saved with five digits after the point, which a text of five digits alone cannot tell; results of
    calculated columns as they are."""
    for before, after in zip(source.columns, table.columns):
        at = view.columns.index(after.name)
        wrong = [row[at] for row in view.rows if not expected.is_as_saved(row[at], after)]
        if wrong and not before.is_calculated:
            verdict.error('%s.%s: %s is not rounded' % (name, after.name, wrong[0]))


def compare_file(options, path, healthy, verdict):
    once, _ = corpus.repair(options, path, 'once', *corpus.STANDARD)
    twice, _ = corpus.repair(options, once, 'twice', *corpus.STANDARD)
    first, second, third = (compare_export.export(options, file) for file in (path, once, twice))
    report = json.loads(corpus.tolvane(options, 'tables', path, '--json', '--quiet', *corpus.STANDARD))
    types = {table['name']: [column['typeCode'] for column in table['columns']] for table in report['tables']}
    want = {name: (names, saved_rows(verdict, rows, types[name])) for name, (names, rows) in first.items()}
    compare_tables(verdict, 'saved once', want, second)
    compare_tables(verdict, 'saved twice', second, third)

    output = corpus.open_pages(once)
    seen, errors = compare_export.compare_file(options, once, output, verdict)
    verdict.errors += ['mdb-reader on the repaired database: ' + error for error in errors]
    sources, listed = pages.local_tables(healthy), readers.mdbtools_tables(once) or []
    for name, table in sorted(pages.local_tables(output).items()):
        if name not in seen or not readers.mdbtools_export(once, name):
            verdict.error('%s: an independent reader cannot read it' % name)
        elif name in sources and not name.startswith('MSys'):
            check_types(verdict, name, sources[name], table, listed)
            check_indexes(verdict, name, sources[name], table)
            check_numbers(verdict, name, sources[name], table, seen[name])


if __name__ == '__main__':
    sys.exit(corpus.main(__doc__, 'repaired against its source', corpus.each(compare_file)))
