#!/usr/bin/env python3
"""Compares `tolvane export` of healthy real databases, all versions, with what two independent readers see: tables,
columns, row counts and every cell.

    python3 tests/corpus/compare_export.py --tolvane build/release/tolvane [--corpus FOLDER] [--only TEXT]

Where the standard rules of reading differ from the letter of the file format, the expected text is computed from the
reader's value by the rule (expected.py); the report ends with the rules that were needed. What cannot be computed is left
out by a rule about the column, never by naming a file:

  calculated column    the wrapper around the stored result is taken for the value
  complex column       the row shows the key of its values; it must be a number
  type N               types without a text of their own must read "Default N"
  Jet 3 column names   are copied byte by byte; columns are matched by position, their number must be right
  freed pages          a table may show as many more rows as live rows stand on pages that its usage map no longer
                       names; the reader's rows must all be there
  dates before 1900    mdbtools does not know them; mdb-reader's are compared
  unreadable           a table that neither reader opens (unknown column types): rows are counted by the page reader
                       of these tests
"""
import datetime
import sys

import corpus
import expected
import pages
import readers
import repaired


def export(options, path):
    """{table: (column names, rows of texts)} of the program."""
    raise NotImplementedError


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


def check_skipped(verdict, name, rows, table):
    """Columns whose cells no rule computes: what can be said of them is checked."""
    compared = []
    for i, column in enumerate(table.columns):
        reason = expected.skip_reason(column)
        if reason is None:
            compared.append(i)
            continue
        verdict.note(reason, len(rows))
        for row in rows:
            is_right = (row[i] in ('', 'Default %d' % column.type) if column.type not in expected.KNOWN
                        else row[i] == '' or row[i].lstrip('-').isdigit() if column.type == expected.COMPLEX_KEY
                        else True)
            if not is_right:
                verdict.error('%s.%s: %.60r' % (name, column.name, row[i]))
                break
    return compared


def check_cells(verdict, name, rows, table, view, keep, reader):
    """The program's rows against a reader's, as multisets of the compared columns."""
    order = [view.columns.index(table.columns[i].name) for i in keep]
    columns = [table.columns[i] for i in keep]
    want = corpus.multiset([[expected.export_text(row[j], column) for j, column in zip(order, columns)]
                            for row in view.rows], range(len(keep)))
    have = corpus.multiset(rows, keep)
    missing, extra = want - have, have - want
    revived = live_rows_on_freed_pages(table)
    if not missing and 0 < sum(extra.values()) <= revived:
        verdict.note('rows of freed pages', sum(extra.values()))
        extra.clear()
    if missing or extra:
        verdict.error('%s: %s: %d missing, %d not in the source of %d: %s' % (
            reader, name, sum(missing.values()), sum(extra.values()), len(view.rows),
            corpus.first_difference(missing, extra)))
    verdict.cells += len(view.rows) * len(keep)


def is_before_1900(value):
    return isinstance(value, datetime.datetime) and value.year < 1900


def check_table(verdict, path, name, table, ours, view):
    names, rows = ours
    verdict.tables += 1
    verdict.rows += len(rows)
    if not check_columns(verdict, name, names, table, table.file.format.is_jet3):
        return
    keep = check_skipped(verdict, name, rows, table)
    exported = readers.mdbtools_export(path, name)
    if view:
        check_cells(verdict, name, rows, table, view, keep, 'mdb-reader')
    if exported and sorted(exported.columns) == sorted(column.name for column in table.columns):
        columns = {column.name: column for column in table.columns}
        old = {column for i, column in enumerate(view.columns) if any(is_before_1900(row[i]) for row in view.rows)} if view else set()
        if old:
            verdict.note('dates before 1900: mdbtools does not know them', len(rows))
        check_cells(verdict, name, rows, table, repaired.from_mdbtools(exported, table.columns),
                    [i for i in keep if table.columns[i].name not in old], 'mdbtools')
        del columns
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
    ours = export(options, path)
    seen, _ = readers.mdb_reader(path)
    for name, table in pages.local_tables(healthy).items():
        if name not in ours:
            verdict.error('table %s is missing' % name)
        else:
            check_table(verdict, path, name, table, ours[name], seen.get(name))
    return verdict


def main():
    options = corpus.arguments(__doc__)
    report = corpus.Report('export against independent readers')
    for path, short in corpus.databases(options):
        try:
            report.add(short, compare_file(options, path))
        except corpus.Failure as failure:
            verdict = corpus.Verdict()
            verdict.error(str(failure))
            report.add(short, verdict)
    return report.end()


if __name__ == '__main__':
    sys.exit(main())
