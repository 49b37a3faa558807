#!/usr/bin/env python3
"""Compares `tolvane export` of healthy real databases, all versions, with what two independent readers see: tables,
columns, row counts and every cell.

    python3 tests/corpus/compare_export.py --tolvane build/release/tolvane [--corpus FOLDER] [--only TEXT]

Where the standard rules of reading differ from the letter of the file format, the expected text is computed from the
reader's value by the rule (expected.py); the report ends with the rules that were needed. What cannot be computed is left
out by a rule about the column, never by naming a file:

  complex column       several values are joined from their own table, which is compared itself; attachments and
                       version histories show a marker
  freed pages          a table may show as many more rows as live rows stand on pages that its usage map no longer
                       names; the reader's rows must all be there. A definition that was freed but not overwritten
                       shows as a table without a name
  mdbtools             does not know dates before 1900, cuts binary values and numbers (after 16 digits), ends texts at
                       a zero unit and has no surrogate pairs: such columns are compared with mdb-reader alone, such
                       texts as far as they go
  time of day          mdb-reader counts it backwards before 30 December 1899, and to the millisecond: half seconds may
                       be rounded either way
  unreadable           a table that neither reader opens (unknown column types): rows are counted by the page reader
                       of these tests
"""
import collections
import csv
import json
import sys
import tempfile

import corpus
import expected
import pages
import readers

COMPLEX_MARKERS = {'', '<Data>', 'Attachement', '<Complex Data>'}
LEFT_TO_MDB_READER = 'mdbtools: binary columns, dates before 1900 and long numbers left to mdb-reader'


def export(options, path, *more):
    """{table: (column names, rows of texts)} of the program; `more` are further options."""
    with tempfile.TemporaryDirectory(prefix='tolvane-') as folder:
        report = json.loads(corpus.tolvane(options, 'export', path, '--to', folder, '--json', '--quiet', *corpus.STANDARD, *more))
        tables = {}
        for entry in report['files']:
            with open(entry['path'], encoding='utf-8', newline='') as file:
                names, *rows = csv.reader(file)
            if len(rows) != entry['rows']:
                raise corpus.Failure('%s: %d rows reported, %d written' % (entry['table'], entry['rows'], len(rows)))
            tables[entry['table']] = (names, rows)
        return tables


def check_names(verdict, healthy, local, ours):
    """The tables: those of the catalogue, and definitions that were freed."""
    named = {number for table in local.values() for number in table.definition_pages}
    # Jet 3 pages do not tell whether they begin a definition.
    freed = [n for n in healthy.pages_of_type(pages.DEFINITION)
             if n not in named and (healthy.format.is_jet3 or healthy.page(n)[40] in b'SN')]
    extra = set(ours) - set(local)
    unnamed = {name for name in extra if name.startswith('RecoveredTable###')}
    if unnamed and len(unnamed) <= len(freed):
        verdict.note('freed definitions shown as tables without a name', len(unnamed))
        extra -= unnamed
    for name in sorted(extra | set(local) - set(ours)):
        verdict.error('table %s: %s' % (name, 'not in the file' if name in extra else 'missing'))


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
    return sorted(', '.join(values[str(row.integer(column))]) if column.number in row.fields else ''
                  for row in table.rows())


def is_skipped_text(column, texts, table, ours):
    """Whether the cells of a column that is not compared with a reader are what its rule says."""
    if column.type not in pages.KNOWN:
        return set(texts) <= {'', 'Default %d' % column.type}
    if column.type == pages.COMPLEX:
        want = complex_texts(table, column, ours)
        return sorted(texts) == want if want is not None else set(texts) <= COMPLEX_MARKERS
    return True


def compared_columns(verdict, name, table, ours):
    """Columns that a reader can confirm; of the others, what can be said is checked."""
    compared, (_, rows) = [], ours[name]
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
    shown = expected.as_shown(reader, table.file.format.is_jet3)
    columns = [(view.columns.index(table.columns[i].name), table.columns[i]) for i in keep]
    want = [[tuple(map(shown, expected.export_texts(row[i], column))) for i, column in columns] for row in view.rows]
    missing, extra = corpus.differences(want, [[shown(row[i]) for i in keep] for row in rows])
    if not missing and 0 < sum(extra.values()) <= len(table.rows(table.freed_pages())):
        verdict.note('rows of freed pages', sum(extra.values()))
    elif missing or extra:
        verdict.error('%s: %s: %d missing, %d not in the source of %d: %s' % (
            reader, name, sum(missing.values()), sum(extra.values()), len(view.rows),
            corpus.first_difference(missing, extra)))
    verdict.cells += len(view.rows) * len(keep)


def unknown_to_mdbtools(table, view):
    """Columns whose values mdbtools does not print as they are: dates before 1900; binary ones and long numbers (cut)."""
    def is_unknown(value, column):
        if column.type == pages.DOUBLE and value is not None:
            return '%.5f' % float('%.16g' % float(value)) != '%.5f' % float(value)
        return column.type == pages.BINARY or getattr(value, 'year', 1900) < 1900

    return {name for row in (view.rows if view else ()) for value, name in zip(row, view.columns)
            if is_unknown(value, table.column[name])}


def check_table(verdict, path, name, table, ours, view):
    names, rows = ours[name]
    verdict.tables += 1
    verdict.rows += len(rows)
    stored = [column.name for column in table.columns]
    if names != stored:
        verdict.error('%s: columns %s for %s' % (name, names[:8], stored[:8]))
        return
    keep = compared_columns(verdict, name, table, ours)
    if view:
        check_cells(verdict, name, rows, table, view, keep, 'mdb-reader')
    exported = readers.mdbtools_export(path, name, table.column)
    if exported and sorted(exported.columns) == sorted(stored):
        unknown = unknown_to_mdbtools(table, view)
        if unknown:
            verdict.note(LEFT_TO_MDB_READER, len(rows) * len(unknown))
        keep = [i for i in keep if stored[i] not in unknown]
        check_cells(verdict, name, rows, table, exported, keep, 'mdbtools')
    elif not view:
        verdict.note('table that neither reader can read: rows counted only')
        if len(rows) != len(table.rows()):
            verdict.error('%s: %d rows for %d' % (name, len(rows), len(table.rows())))


def compare_file(options, path, healthy, verdict):
    """What `tolvane export` shows of a database, and what mdb-reader sees of it: ({table: Seen}, [errors])."""
    ours, local = export(options, path, '--all'), pages.local_tables(healthy)
    seen, errors = readers.mdb_reader(path)
    check_names(verdict, healthy, local, ours)
    for name in sorted(local.keys() & ours.keys()):
        check_table(verdict, path, name, local[name], ours, seen.get(name))
    return seen, errors


if __name__ == '__main__':
    sys.exit(corpus.main(__doc__, 'export against independent readers', corpus.each(compare_file)))
