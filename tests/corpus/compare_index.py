#!/usr/bin/env python3
"""Looks rows up by index in repaired databases. The keys are those that the original engines stored in the healthy
source: each must lead, from the root of the repaired index down, to the rows that it names in the source.

    python3 tests/corpus/compare_index.py --tolvane build/release/tolvane [--corpus FOLDER] [--only TEXT]

The lookup is the tests' own (indexes.py), because neither independent reader can do one: mdb-reader knows no indexes,
and Debian's mdbtools is built without what its use_index needs; it says so and scans the table. Left out, by rule:
indexes over columns whose values or keys a repair changes (other types, other sort orders), and rows without a value
in one of the columns. Of long indexes a sample is looked up. An entry of one index is then turned to another row, which
must be noticed.
"""
import collections
import os
import struct
import sys
import tempfile

import corpus
import indexes
import pages
import repaired

BOOLEAN, TEXT = 1, 10
KEPT_TYPES = {BOOLEAN, 3, 4, 5, TEXT, 15}  # integer, long, currency, GUID: saved as they are, with the same keys
SORT_ORDER = (0x0409, 0)
SAMPLE = 200  # keys of one index


def plain_text(raw, is_jet3):
    if is_jet3 or raw[:2] != b'\xff\xfe':
        return raw
    parts = raw[2:].split(b'\0')  # a zero byte changes between one and two bytes a character: not compared
    return parts[0].decode('latin-1').encode('utf-16le') if len(parts) == 1 else None


class Rows:
    """The live rows of a table by row pointer. Columns are named by their position in number order, which a repair
    keeps, and only those at `kept` positions are looked at."""

    def __init__(self, table, kept):
        self.columns, self.kept, self.is_jet3 = table.columns, kept, table.file.format.is_jet3
        used = sorted(set(table.data_pages()) - set(table.freed_pages()))
        self.by_pointer = {row.page << 8 | row.slot: row for row in table.rows(used)}

    def value(self, pointer, position):
        column = self.columns[position]
        raw = self.by_pointer[pointer].fields.get(column.number)
        return plain_text(raw, self.is_jet3) if raw and column.type == TEXT else raw or None

    def values(self, pointer):
        return tuple(self.value(pointer, position) for position in self.kept)

    def has_values(self, pointer, positions):
        return all(self.columns[position].type == BOOLEAN or self.value(pointer, position) for position in positions)


class Side:
    """A table of one of the two files, its rows and its indexes."""

    def __init__(self, table, kept):
        self.table, self.rows, self.definition = table, Rows(table, kept), indexes.Definition(table)
        self.positions = {column.number: i for i, column in enumerate(table.columns)}

    def columns(self, index):
        """[(position, ascending)]"""
        return [(self.positions[number], ascending) for number, ascending in index.columns]

    def tree(self, index):
        return indexes.Tree(self.table.file, index.root)


def why_left_out(side, index):
    for number, _ in index.columns:
        if number > len(side.table.columns):
            return 'index over a column whose number is above the count of columns'
        position = side.positions.get(number)
        if position not in side.rows.kept:
            return 'index over a column whose values a repair changes'
        if side.table.columns[position].type == TEXT and side.definition.sort_orders[number] != SORT_ORDER:
            return 'index over text in another sort order'
    return None


def check_index(verdict, where, source, index, output, same):
    positions = [position for position, _ in source.columns(index)]
    stored = collections.defaultdict(list)
    for key, pointer in source.tree(index).entries():
        if source.rows.has_values(pointer, positions):
            stored[key].append(pointer)
    tree, keys = output.tree(same), sorted(stored)
    for key in keys[::max(1, len(keys) // SAMPLE)]:
        want = collections.Counter(source.rows.values(pointer) for pointer in stored[key])
        pointers = tree.find(key)
        if any(pointer not in output.rows.by_pointer for pointer in pointers):
            verdict.error('%s: key %s leads to a row that is not there' % (where, key.hex()))
            continue
        verdict.rows += len(pointers)
        verdict.cells += sum(len(row) for row in want)
        missing = want - collections.Counter(output.rows.values(pointer) for pointer in pointers)
        if missing:
            verdict.error('%s: key %s does not lead to %.200r' % (where, key.hex(), next(iter(missing))))


def check_table(verdict, name, table, found):
    kept = [i for i, column in enumerate(table.columns) if column.type in KEPT_TYPES and not column.is_calculated]
    source, output = Side(table, kept), Side(found, kept)
    for index in source.definition.indexes:
        reason = why_left_out(source, index)
        if reason:
            verdict.note(reason)
            continue
        columns = source.columns(index)
        where = '%s, index over %s' % (name, [table.columns[position].name for position, _ in columns])
        same = [other for other in output.definition.indexes if output.columns(other) == columns]
        if same:
            check_index(verdict, where, source, index, output, same[0])
        else:
            verdict.error(where + ': not in the repaired database')


def compare(healthy, output):
    """Looks up every index of every user table of `healthy` in `output`."""
    verdict, after = corpus.Verdict(), pages.local_tables(output)
    for name, table in pages.local_tables(healthy).items():
        if not name.startswith(('MSys', 'f_')) and name in after:
            verdict.tables += 1
            check_table(verdict, name, table, after[name])
    return verdict


def turn_an_entry(output):
    """Makes an index entry of a user table name another row; False when no index has two."""
    for name, table in pages.local_tables(output).items():
        for index in [] if name.startswith('MSys') else indexes.Definition(table).indexes:
            entries = list(indexes.Tree(output, index.root).entries())
            if len(entries) > 1 and entries[0][0] != entries[1][0]:
                key, pointer = entries[0]
                stored = key + struct.pack('>I', pointer)
                if output.data.count(stored) == 1:
                    output.data = output.data.replace(stored, key + struct.pack('>I', entries[1][1]))
                    return True
    return False


def main():
    options = corpus.arguments(__doc__)
    report = corpus.Report('repaired, looked up by index')
    noticed = None
    with tempfile.TemporaryDirectory(prefix='tolvane-') as folder:
        for path, short in corpus.databases(options):
            healthy = corpus.open_pages(path)
            if healthy is None:
                continue
            output_path = os.path.join(folder, 'output' + os.path.splitext(path)[1])
            repaired.remove(output_path)
            try:
                corpus.tolvane(options, 'repair', path, '-o', output_path)
                output = pages.Pages(output_path)
                verdict = compare(healthy, output)
                if noticed is None and verdict.rows and turn_an_entry(output):
                    noticed = bool(compare(healthy, output).errors)
            except corpus.Failure as failure:
                verdict = corpus.Verdict()
                verdict.error(str(failure))
            report.add(short, verdict)
    if noticed is False:
        report.failed += 1
    print('an entry turned to another row was %s' % {None: 'not tried', True: 'noticed', False: 'NOT NOTICED'}[noticed])
    return report.end()


if __name__ == '__main__':
    sys.exit(main())
