#!/usr/bin/env python3
"""Repairs every healthy real database that holds relationships and compares those of the new database, as two independent
readers show them, with those of the source; then damages a copy so that a relationship can no longer be enforced.

    python3 tests/corpus/compare_relations.py --tolvane build/release/tolvane [--corpus FOLDER] [--only TEXT]

mdb-export and mdb-reader show the rows of MSysRelationships; mdb-schema, which prints what its reader makes of them,
must print a statement for each that is enforced. `tolvane tables --json` must list the same relationships, and every new
database must pass `tolvane check`, which proves the indexes that enforce them.
"""
import json
import os
import re
import struct
import sys
import tempfile

import corpus
import pages
import readers
import repaired

TABLE = 'MSysRelationships'
COLUMNS = ['szRelationship', 'grbit', 'ccolumn', 'icolumn', 'szObject', 'szColumn', 'szReferencedObject',
           'szReferencedColumn']
NOT_ENFORCED, CASCADES = 2, 0x1100


def sorted_rows(seen):
    order = [seen.columns.index(name) for name in COLUMNS]
    return sorted(tuple(str(row[i]) for i in order) for row in seen.rows)


def of_users(rows):
    return [row for row in rows if not row[0].startswith('MSys')]


def rows_by_readers(path, verdict):
    """The rows as mdb-export shows them; mdb-reader must show the same."""
    exported = readers.mdbtools_export(path, TABLE)
    rows = sorted_rows(exported) if exported else []
    seen, _ = readers.mdb_reader(path)
    if TABLE in seen and sorted_rows(seen[TABLE]) != rows:
        verdict.error('%s: the readers show different rows' % os.path.basename(path))
    return of_users(rows)


STATEMENT = re.compile(r'ALTER TABLE "(.*)" ADD CONSTRAINT .* FOREIGN KEY \("(.*)"\) REFERENCES "(.*)"\("(.*?)"\)(.*)')


def schema(path):
    """What mdb-schema makes of the enforced relationships, in the form of enforced()."""
    status, output = readers.run(['mdb-schema', path, 'postgres'])
    lines = output.decode('utf-8', 'replace').split('\n') if status == 0 else []
    found = [match.groups() for match in map(STATEMENT.match, lines) if match]
    return {(*names, 'ON UPDATE CASCADE' in rest, 'ON DELETE CASCADE' in rest) for *names, rest in found
            if not names[0].startswith('MSys')}


def enforced(rows):
    """Table, column, referenced table and column, and whether updates and deletes cascade."""
    return {(*row[4:], bool(int(row[1]) & 0x100), bool(int(row[1]) & 0x1000)) for row in rows
            if not int(row[1]) & NOT_ENFORCED}


def listed(options, path):
    """The rows that `tolvane tables` makes of the relationships, one for each pair, name and columns alone."""
    found = json.loads(corpus.tolvane(options, 'tables', path, '--json'))['relationships']
    return sorted((one['name'], one['table'], column, one['referencedTable'], referenced)
                  for one in found for column, referenced in zip(one['columns'], one['referencedColumns']))


def repair(options, path, output_path):
    repaired.remove(output_path)
    done = json.loads(corpus.tolvane(options, 'repair', path, '-o', output_path, '--json'))
    corpus.tolvane(options, 'check', output_path, good=(0,))
    return done['saving']


def compare_file(options, path, output_path, rows, verdict):
    saving = repair(options, path, output_path)
    local = pages.local_tables(corpus.open_pages(path))
    expected = [row for row in rows if row[4] in local and row[6] in local]
    for row in rows:
        if row not in expected:
            verdict.note('relationship with a table of another database: told, not saved')
    found = rows_by_readers(output_path, verdict)
    verdict.tables, verdict.rows, verdict.cells = len(local), len(rows), len(rows) * len(COLUMNS)
    if found != expected:
        verdict.error('%r for %r' % (found, expected))
    # mdb-schema loses some of a source that holds relationships between system tables, too.
    if schema(output_path) != enforced(expected) or not schema(path) <= enforced(expected):
        verdict.error('mdb-schema: %r for %r' % (schema(output_path), schema(path)))
    if saving['relationshipsLost'] != len(rows) - len(expected) or saving['relationshipsNoLongerEnforced']:
        verdict.error('the summary counts %r' % saving)
    if listed(options, path) != [(row[0], *row[4:]) for row in rows]:
        verdict.error('tolvane tables: %r' % listed(options, path))


def remove_referenced_rows(path, damaged_path, rows):
    """Destroys the data pages of the tables that the relationships refer to."""
    healthy = pages.Pages(path)
    local = pages.local_tables(healthy)
    data = bytearray(healthy.data)
    for name in {row[6] for row in rows}:
        for number in local[name].data_pages():
            data[number * healthy.size:(number + 1) * healthy.size] = bytes(healthy.size)
    with open(damaged_path, 'wb') as file:
        file.write(data)


def lose_references(options, path, folder, rows, verdict):
    """Without what they refer to, relationships come back with their columns and are no longer enforced."""
    damaged_path = os.path.join(folder, 'damaged' + os.path.splitext(path)[1])
    output_path = os.path.join(folder, 'output' + os.path.splitext(path)[1])
    remove_referenced_rows(path, damaged_path, rows)
    saving = repair(options, damaged_path, output_path)
    expected = sorted((row[0], str(int(row[1]) & ~CASCADES | NOT_ENFORCED), *row[2:]) for row in rows)
    found = rows_by_readers(output_path, verdict)
    if found != expected:
        verdict.error('without the rows that are referred to: %r for %r' % (found, expected))
    told = [note for note in saving['notes'] if 'is not enforced: ' in note and 'refer' in note]
    if saving['relationshipsNoLongerEnforced'] != len(rows) or len(told) != len(rows):
        verdict.error('without the rows that are referred to: told %r' % saving['notes'])


def lose_relation_rows(options, path, folder, verdict):
    """Scrambles each byte of the pages with the rows of MSysRelationships, one after the other in big steps: the save
    must go on, and what it makes must be sound."""
    healthy = pages.Pages(path)
    damaged_path = os.path.join(folder, 'damaged' + os.path.splitext(path)[1])
    output_path = os.path.join(folder, 'output' + os.path.splitext(path)[1])
    for number in range(1, healthy.count):
        if healthy.type_of(number) != pages.DATA or healthy.owner_of(number) != 5:
            continue
        for step, value in ((7, 0x5A), (11, 0xFF), (3, 0)):
            data = bytearray(healthy.data)
            for at in range(number * healthy.size + 16, (number + 1) * healthy.size, step):
                data[at] = value
            struct.pack_into('<I', data, number * healthy.size + 4, 5)
            with open(damaged_path, 'wb') as file:
                file.write(data)
            repair(options, damaged_path, output_path)
            rows_by_readers(output_path, verdict)


def main():
    options = corpus.arguments(__doc__)
    report = corpus.Report('relationships: tables, pairs, cells')
    with tempfile.TemporaryDirectory(prefix='tolvane-') as folder:
        for path, short in corpus.databases(options):
            verdict = corpus.Verdict()
            if corpus.open_pages(path) is None:
                continue
            rows = rows_by_readers(path, verdict)
            if not rows:
                continue
            output_path = os.path.join(folder, 'output' + os.path.splitext(path)[1])
            try:
                compare_file(options, path, output_path, rows, verdict)
                if not any(int(row[1]) & NOT_ENFORCED for row in rows):
                    lose_references(options, path, folder, rows, verdict)
                lose_relation_rows(options, path, folder, verdict)
            except corpus.Failure as failure:
                verdict.error(str(failure))
            report.add(short, verdict)
    return report.end()


if __name__ == '__main__':
    sys.exit(main())
