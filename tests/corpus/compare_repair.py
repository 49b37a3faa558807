#!/usr/bin/env python3
"""Repairs every healthy real database and compares the new database, as two independent readers see it, with the
source: user tables, columns and their types, row counts, every cell.

    python3 tests/corpus/compare_repair.py --tolvane build/release/tolvane [--corpus FOLDER] [--only TEXT]

The new database must also pass `tolvane check`. What saving changes by design is computed from the source's value by
rule (expected.saved_values): numbers with five digits after the point, bytes above 127 left out, empty texts as empty
fields, rows without any value left out. Columns whose cells cannot be compared (calculated, complex, binary, types that
are not known) are named in the report's end.
"""
import os
import sys
import tempfile

import corpus
import expected
import pages
import repaired


def check_structure(verdict, output, source):
    name = source.name
    if name not in output.local:
        verdict.error('%s: not in the repaired database' % name)
        return False
    if output.listed is None or (name not in output.listed and not name.startswith(('f_', '~'))):
        verdict.error('%s: mdbtools does not list it' % name)
    names = [column.name for column in source.columns]
    if output.column_names(name) != names:
        wrong = [pair for pair in zip(output.column_names(name), names) if pair[0] != pair[1]]
        verdict.error('%s: columns %s' % (name, wrong[:8] or 'missing'))
        return False
    for before, after in zip(source.columns, output.local[name].columns):
        want = expected.SAVED_TYPES.get(before.type, before.type)
        if before.type in expected.KNOWN and after.type != want:
            verdict.error('%s.%s: type %d for %d' % (name, before.name, after.type, want))
    return True


def check_rows(verdict, source, view, reader):
    keep = source.compared_columns(verdict)
    if reader == 'mdbtools':
        old = [i for i in keep if any(getattr(row[i], 'year', 1900) < 1900 for row in source.rows)]
        keep = [i for i in keep if i not in old]
    if view is None or sorted(view.columns) != sorted(column.name for column in source.columns):
        verdict.error('%s: %s: not readable' % (reader, source.name))
        return
    revived = len(source.table.rows(source.table.freed_pages()))
    as_shown = expected.as_shown(reader, source.table.file.format.is_jet3)
    missing, extra = repaired.compare(source, view, keep, revived, as_shown)
    if missing or extra:
        verdict.error('%s: %s: %d missing, %d not in the source of %d: %s' % (
            reader, source.name, sum(missing.values()), sum(extra.values()), len(source.rows),
            corpus.first_difference(missing, extra)))
    dropped = len(source.rows) - len(source.expected_rows(keep))
    if dropped:
        verdict.note('rows without any value', dropped)
    verdict.cells += len(source.rows) * len(keep)


def check_extra_tables(verdict, healthy, local, output):
    """A definition that was freed but not overwritten is saved as a table without a name; nothing else may be there."""
    extra = [name for name in output.local if name not in local and not name.startswith('MSys')]
    named = {number for table in local.values() for number in table.definition_pages}
    freed = [n for n in healthy.first_definition_pages() if n not in named]
    unnamed = [name for name in extra if name.startswith('RecoveredTable###')]
    if unnamed and len(unnamed) <= len(freed):
        verdict.note('freed definitions saved as tables without a name', len(unnamed))
        extra = [name for name in extra if name not in unnamed]
    for name in extra:
        verdict.error('%s: not in the source' % name)


def compare_file(options, path, output_path):
    verdict = corpus.Verdict()
    healthy = corpus.open_pages(path)
    if healthy is None:
        verdict.note('encrypted file: nothing to compare')
        return verdict
    corpus.tolvane(options, 'repair', path, '-o', output_path)
    corpus.tolvane(options, 'check', output_path, good=(0,))
    output = repaired.RepairedDatabase(output_path)
    for error in output.errors:
        verdict.error('mdb-reader on the repaired database: ' + error)
    local = pages.local_tables(healthy)
    check_extra_tables(verdict, healthy, local, output)
    for source in repaired.source_tables(path, local, verdict):
        verdict.tables += 1
        verdict.rows += len(source.rows)
        if check_structure(verdict, output, source):
            check_rows(verdict, source, output.seen.get(source.name), 'mdb-reader')
            check_rows(verdict, source, output.rows_by_mdbtools(source.name), 'mdbtools')
    return verdict


def main():
    options = corpus.arguments(__doc__)
    report = corpus.Report('repaired against its source')
    with tempfile.TemporaryDirectory(prefix='tolvane-') as folder:
        for path, short in corpus.databases(options):
            output_path = os.path.join(folder, 'output' + os.path.splitext(path)[1])
            repaired.remove(output_path)
            report.judge(short, lambda: compare_file(options, path, output_path))
    return report.end()


if __name__ == '__main__':
    sys.exit(main())
