#!/usr/bin/env python3
"""Compares `tolvane export` of healthy real databases, all versions, with what two independent readers see: tables,
columns, row counts and every cell.

    python3 tests/corpus/compare_export.py --tolvane build/release/tolvane [--corpus FOLDER] [--only TEXT]

Where the standard rules of reading differ from the letter of the file format, the expected text is computed from the
reader's value by the rule (expected.py); the report ends with the rules that were needed. What cannot be computed is left
out by a rule about the column, never by naming a file:

  calculated column    not compared: the readers show the wrapper around the stored result
  complex column       several values are joined from their own table, which is compared itself; attachments and
                       version histories show a marker
  type N               types without a text of their own must read "Default N"
  Jet 3 column names   are copied byte by byte; columns are matched by position, their number must be right
  freed pages          a table may show as many more rows as live rows stand on pages that its usage map no longer
                       names; the reader's rows must all be there
  mdbtools             does not know dates before 1900, cuts binary values, ends texts at a zero unit and has
                       no surrogate pairs: such columns are compared with mdb-reader alone, such texts as far as they go
  time of day          mdb-reader counts it backwards before 30 December 1899, and to the millisecond: half seconds may
                       be rounded either way
  undefined bytes      the five that code page 1252 leaves undefined are kept by the program, replaced by the readers
  unreadable           a table that neither reader opens (unknown column types): rows are counted by the page reader
                       of these tests
"""
import collections
import csv
import datetime
import json
import struct
import sys
import tempfile

import corpus
import expected
import pages
import readers
import repaired

COMPLEX_MARKERS = {'', '<Data>', 'Attachement', '<Complex Data>'}


def export(options, path, *more):
    """{table: (column names, rows of texts)} of the program; `more` are further options."""
    with tempfile.TemporaryDirectory(prefix='tolvane-') as folder:
        report = json.loads(corpus.tolvane(options, 'export', path, '--to', folder, '--json', '--quiet', *more))
        tables = {}
        for entry in report['files']:
            with open(entry['path'], encoding='utf-8', newline='') as file:
                lines = list(csv.reader(file))
            if len(lines) - 1 != entry['rows']:
                raise corpus.Failure('%s: %d rows reported, %d written' % (
                    entry['table'], entry['rows'], len(lines) - 1))
            tables[entry['table']] = (lines[0], lines[1:])
        return tables


def live_rows_on_freed_pages(table):
    return len(table.rows(table.freed_pages()))


def check_columns(verdict, name, names, table, is_jet3):
    if is_jet3:
        verdict.note('Jet 3 column names: matched by position', len(names))
        if len(names) != len(table.columns):
            verdict.error('%s: %d columns for %d' % (name, len(names), len(table.columns)))
            return False
        return True
    if names != [column.name for column in table.columns]:
        verdict.error('%s: columns %s for %s' % (name, names[:8], [column.name for column in table.columns][:8]))
        return False
    return True


def complex_texts(table, column, ours):
    """The cells of a complex column: for multiple values each row's values joined, from the flat table that holds them
    (compared with the readers like any other); None where only a marker stands."""
    flat = [name for name in ours if name.startswith('f_') and name.endswith('_' + column.name)]
    if len(flat) != 1 or 'Value' not in ours[flat[0]][0]:
        return None
    names, rows = ours[flat[0]]
    key_at, value_at = [name.startswith('_') for name in names].index(True), names.index('Value')
    values = collections.defaultdict(list)
    for row in rows:
        values[row[key_at]].append(row[value_at])
    keys = [row.fields.get(column.number) for row in table.rows()]
    return sorted(', '.join(values[str(struct.unpack('<i', key)[0])]) if key else '' for key in keys)


def is_skipped_text(column, texts, table, ours):
    """Whether the cells of a column that is not compared with a reader are what its rule says."""
    if column.type not in expected.KNOWN:
        return set(texts) <= {'', 'Default %d' % column.type}
    if column.type == expected.COMPLEX_KEY:
        want = complex_texts(table, column, ours)
        return sorted(texts) == want if want is not None else set(texts) <= COMPLEX_MARKERS
    return True


def check_skipped(verdict, name, rows, table, ours):
    """Columns whose cells no reader can confirm: what can be said of them is checked."""
    compared = []
    for i, column in enumerate(table.columns):
        reason = expected.skip_reason(column)
        if reason is None:
            compared.append(i)
            continue
        verdict.note(reason, len(rows))
        if not is_skipped_text(column, [row[i] for row in rows], table, ours):
            verdict.error('%s.%s: %.80r' % (name, column.name, [row[i] for row in rows]))
    return compared


def check_cells(verdict, name, rows, table, view, keep, reader):
    """The program's rows against a reader's, as multisets of the compared columns."""
    columns = corpus.pick(table.columns, keep)
    order = [view.columns.index(column.name) for column in columns]
    want = [[expected.export_texts(row[i], column) for i, column in zip(order, columns)] for row in view.rows]
    have = [corpus.pick(row, keep) for row in rows]
    as_shown = expected.as_shown(reader, table.file.format.is_jet3)
    want = [[[as_shown(text) for text in texts] for texts in row] for row in want]
    have = [[as_shown(text) for text in row] for row in have]
    missing, extra = corpus.differences(want, have)
    revived = live_rows_on_freed_pages(table)
    if not missing and 0 < sum(extra.values()) <= revived:
        verdict.note('rows of freed pages', sum(extra.values()))
        extra.clear()
    if missing or extra:
        verdict.error('%s: %s: %d missing, %d not in the source of %d: %s' % (
            reader, name, sum(missing.values()), sum(extra.values()), len(view.rows),
            corpus.first_difference(missing, extra)))
    verdict.cells += len(view.rows) * len(keep)


def unknown_to_mdbtools(table, view):
    """Columns whose values mdbtools does not print as they are: dates before 1900, binary ones (cut)."""
    names = {column.name for column in table.columns if column.type == expected.BINARY}
    for i, name in enumerate(view.columns if view else []):
        if any(isinstance(row[i], datetime.datetime) and row[i].year < 1900 for row in view.rows):
            names.add(name)
    return names


def check_table(verdict, path, name, table, ours, view):
    names, rows = ours[name]
    verdict.tables += 1
    verdict.rows += len(rows)
    if not check_columns(verdict, name, names, table, table.file.format.is_jet3):
        return
    keep = check_skipped(verdict, name, rows, table, ours)
    exported = readers.mdbtools_export(path, name)
    if view:
        check_cells(verdict, name, rows, table, view, keep, 'mdb-reader')
    if exported and sorted(exported.columns) == sorted(column.name for column in table.columns):
        unknown = unknown_to_mdbtools(table, view)
        if unknown:
            verdict.note('mdbtools: binary columns and dates before 1900 left to mdb-reader', len(rows) * len(unknown))
        check_cells(verdict, name, rows, table, repaired.from_mdbtools(exported, table.columns),
                    [i for i in keep if table.columns[i].name not in unknown], 'mdbtools')
    elif not view:
        verdict.note('table that neither reader can read: rows counted only')
        live = len(table.rows())
        if live != len(rows):
            verdict.error('%s: %d rows for %d' % (name, len(rows), live))


def compare_file(options, path):
    verdict = corpus.Verdict()
    healthy = corpus.open_pages(path)
    if healthy is None:
        corpus.tolvane(options, 'inspect', path, good=(0, 2, 3, 4))
        verdict.note('encrypted file: nothing to compare')
        return verdict
    ours = export(options, path, '--all')
    seen, _ = readers.mdb_reader(path)
    for name, table in pages.local_tables(healthy).items():
        if name not in ours:
            verdict.error('table %s is missing' % name)
        else:
            check_table(verdict, path, name, table, ours, seen.get(name))
    return verdict


def main():
    options = corpus.arguments(__doc__)
    report = corpus.Report('export against independent readers')
    for path, short in corpus.databases(options):
        report.judge(short, lambda: compare_file(options, path))
    return report.end()


if __name__ == '__main__':
    sys.exit(main())
