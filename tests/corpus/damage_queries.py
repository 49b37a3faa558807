#!/usr/bin/env python3
"""Damages the system tables that hold the saved queries, repairs the copies, and proves that every query that can
survive did.

    python3 tests/corpus/damage_queries.py --tolvane build/release/tolvane [--corpus FOLDER] [--only TEXT]

For each database with queries and each kind of damage: the repair ends normally, its output passes `tolvane check`,
every query whose rows and catalogue row are untouched has its SQL text letter by letter, and a repair that brings
back fewer queries says so in its exit status. The columns of the report count kinds, expected queries and saved ones.
"""
import json
import os
import random
import struct
import sys
import tempfile

import corpus
import pages

QUERY_TYPE = 5


class Damage:
    """A damaged copy and the names of the queries that it touched; None stands for all of them."""

    def __init__(self, source):
        self.size, self.source = source.healthy.size, source
        self.bytes, self.touched = bytearray(source.healthy.data), set()

    def zero_page(self, number):
        self.bytes[number * self.size:(number + 1) * self.size] = bytes(self.size)
        self.touched |= {name for name, needed in self.source.pages_of_query.items() if number in needed}

    def write(self, row, column, value):
        """Over the first bytes of a row's fixed column."""
        base = 1 if self.source.healthy.format.is_jet3 else 2
        start = row.page * self.size + self.source.healthy.slots(row.page)[row.slot][0]
        struct.pack_into('<' + value[0], self.bytes, start + base + column.fixed_offset, value[1])
        self.touched.add(self.source.query_of_row(row))


class Source:
    """A healthy file: its queries, and the pages that each one needs."""

    def __init__(self, path):
        self.healthy = pages.Pages(path)
        tables = pages.local_tables(self.healthy)
        self.objects, self.queries = tables['MSysObjects'], tables['MSysQueries']
        self.query_rows = self.queries.rows()
        self.columns = {column.name: column for column in self.queries.columns}
        number = {column.name: column.number for column in self.objects.columns}
        self.names, self.pages_of_query, always = {}, {}, set(self.queries.definition_pages)
        for row in self.objects.rows():
            name = pages.decode_text(row.fields.get(number['Name'], b''), self.healthy.format.is_jet3)
            kind = struct.unpack('<h', row.fields.get(number['Type'], b'\0\0'))[0]
            if name == 'MSysQueries':
                always |= row.pages
            if kind == QUERY_TYPE:
                self.names[row.fields[number['Id']]] = name
                self.pages_of_query[name] = set(row.pages)
        for row in self.query_rows:
            self.pages_of_query.get(self.query_of_row(row), set()).update(row.pages)
        for needed in self.pages_of_query.values():
            needed |= always

    def query_of_row(self, row):
        return self.names.get(row.fields.get(self.columns['ObjectId'].number))


def one_page(table, at):
    """Zeroes one data page of a table."""
    def apply(source, damage):
        found = getattr(source, table).data_pages()
        damage.zero_page(found[min(at, len(found) - 1)])
    return apply


def definition(source, damage):
    damage.zero_page(source.queries.definition)


def some_rows(column, kind, values):
    """Writes over a column of every thirteenth row."""
    def apply(source, damage):
        for i, row in enumerate(source.query_rows[::13]):
            damage.write(row, source.columns[column], (kind, values[i % len(values)]))
    return apply


def noise(source, damage):
    """Random bytes over the last quarter of one page of rows, where the first rows lie."""
    number = source.queries.data_pages()[0]
    end = (number + 1) * damage.size
    damage.zero_page(number)
    damage.bytes[end - damage.size:end] = source.healthy.page(number)
    damage.bytes[end - damage.size // 4:end] = random.Random(7).randbytes(damage.size // 4)


KINDS = {
    'first page of query rows zeroed': one_page('queries', 0),
    'last page of query rows zeroed': one_page('queries', 99),
    'first catalogue page zeroed': one_page('objects', 0),
    'last catalogue page zeroed': one_page('objects', 99),
    'definition of the query rows zeroed': definition,
    'foreign attributes': some_rows('Attribute', 'B', (200, 12, 0)),
    'ids of no query': some_rows('ObjectId', 'i', (0, -1, 1 << 30)),
    'unknown flags': some_rows('Flag', 'h', (-1, 0x7FFF)),
    'noise in a page of query rows': noise,
}


def statements(options, path):
    listed = json.loads(corpus.tolvane(options, 'queries', '--json', path, good=(0, 3, 4)))['queries']
    return {query['name']: query['sql'] for query in listed if query['sql']}


def check_kind(options, source, before, kind, folder, extension):
    verdict, damage = corpus.Verdict(), Damage(source)
    KINDS[kind](source, damage)
    copy, output = os.path.join(folder, 'damaged' + extension), os.path.join(folder, 'output' + extension)
    with open(copy, 'wb') as file:
        file.write(damage.bytes)
    done = json.loads(corpus.tolvane(options, 'repair', '--json', '--overwrite', copy, '-o', output))
    corpus.tolvane(options, 'check', output, good=(0,))
    after = statements(options, output)
    for name, sql in before.items():
        if name in damage.touched:
            continue
        verdict.rows += 1
        if after.get(name) != sql:
            verdict.error('%s: %r for %r' % (name, after.get(name), sql))
    verdict.cells = len(after)
    is_told = done['damage'] or done['saving']['queriesLost'] or done['saving']['queriesSkipped']
    if len(after) < len(before) and not is_told:
        verdict.error('%d of %d queries came back, and nothing says so' % (len(after), len(before)))
    return verdict


def main():
    options = corpus.arguments(__doc__)
    report = corpus.Report('damaged queries: statements that must be there')
    with tempfile.TemporaryDirectory(prefix='tolvane-') as folder:
        for path, short in corpus.databases(options):
            if not os.path.basename(path).startswith('queryTest'):
                continue
            source, before = Source(path), statements(options, path)
            for kind in KINDS:
                report.judge('%s: %s' % (os.path.basename(short), kind),
                             lambda: check_kind(options, source, before, kind, folder, os.path.splitext(path)[1]))
    return report.end()


if __name__ == '__main__':
    sys.exit(main())
