#!/usr/bin/env python3
"""Damages the system tables that hold the saved queries, repairs the copies, and proves that every query that can
survive did.

    python3 tests/corpus/damage_queries.py --tolvane build/release/tolvane [--corpus FOLDER] [--only TEXT]

For each database with queries and each kind of damage: the repair ends normally, its output passes `tolvane check`,
every query whose rows and catalogue row are untouched has its SQL text letter by letter, an update or a delete comes
back as it was or not at all, and a repair that brings back fewer queries or other ones says so. The columns of the report count expected queries as rows and saved ones as cells.
"""
import json
import os
import random
import struct
import sys

import corpus
import pages

QUERY_TYPE = 5


class Source:
    """A healthy file: its queries, and the pages that each one needs."""

    def __init__(self, healthy):
        tables = pages.local_tables(healthy)
        self.healthy, self.objects, self.queries = healthy, tables['MSysObjects'], tables['MSysQueries']
        self.rows = self.queries.rows()
        kind, identifier, name = (self.objects.column[key].number for key in ('Type', 'Id', 'Name'))
        self.names, self.needs, always = {}, {}, set(self.queries.definition_pages)
        for row in self.objects.rows():
            text = healthy.format.decode_text(row.fields.get(name, b''))
            if text == 'MSysQueries':
                always |= row.pages
            if row.fields.get(kind, b'')[:1] == bytes([QUERY_TYPE]):
                self.names[row.fields[identifier]] = text
                self.needs[text] = set(row.pages)
        for row in self.rows:
            self.needs.get(self.query_of(row), set()).update(row.pages)
        for needed in self.needs.values():
            needed |= always

    def query_of(self, row):
        return self.names.get(row.fields.get(self.queries.column['ObjectId'].number))


def zero_page(table, at):
    """Zeroes one data page of a table."""
    def apply(source, damage):
        found = getattr(source, table).data_pages()
        damage.zero([found[min(at, len(found) - 1)]])
        return ()
    return apply


def write_rows(name, form, values):
    """Writes over a column of every thirteenth row, and answers these."""
    def apply(source, damage):
        column, base = source.queries.column[name], 1 if source.healthy.format.is_jet3 else 2
        for i, row in enumerate(source.rows[::13]):
            start = row.page * damage.size + source.healthy.slots(row.page)[row.slot][0]
            struct.pack_into(form, damage.bytes, start + base + column.fixed_offset, values[i % len(values)])
        return source.rows[::13]
    return apply


def zero_definition(source, damage):
    damage.zero([source.queries.definition])
    return ()


def write_noise(source, damage):
    """Random bytes over the last quarter of one page of rows, where the first rows lie."""
    number, quarter = source.queries.data_pages()[0], damage.size // 4
    damage.touched.add(number)
    end = (number + 1) * damage.size
    damage.bytes[end - quarter:end] = random.Random(7).randbytes(quarter)
    return ()


def zero_long_values(source, damage):
    """The pages of texts that do not fit in their rows."""
    rows = set(source.queries.data_pages())
    damage.zero(sorted({page for row in source.rows for page in row.pages} - rows))
    return ()


def remove_rows(first):
    """Marks every seventh row as deleted; the count in the definition stays."""
    def apply(source, damage):
        for row in source.rows[first::7]:
            entry = row.page * damage.size + (10 if source.healthy.format.is_jet3 else 14) + 2 * row.slot
            word = struct.unpack_from('<H', damage.bytes, entry)[0]
            struct.pack_into('<H', damage.bytes, entry, word | pages.SLOT_HIDDEN)
        return source.rows[first::7]
    return apply


KINDS = {  # each answers the rows that it wrote over, on pages that are else as they were
    'first page of query rows zeroed': zero_page('queries', 0),
    'last page of query rows zeroed': zero_page('queries', 99),
    'first catalogue page zeroed': zero_page('objects', 0),
    'last catalogue page zeroed': zero_page('objects', 99),
    'definition of the query rows zeroed': zero_definition,
    'foreign attributes': write_rows('Attribute', '<B', (200, 12, 0)),
    'ids of no query': write_rows('ObjectId', '<i', (0, -1, 1 << 30)),
    'unknown flags': write_rows('Flag', '<h', (-1, 0x7FFF)),
    'noise in a page of query rows': write_noise,
    'long texts zeroed': zero_long_values,
    **{'rows deleted from %d on' % first: remove_rows(first) for first in range(1, 7)},
}


def statements(options, path):
    listed = json.loads(corpus.tolvane(options, 'queries', *corpus.EXACT, '--json', path, good=(0, 3, 4)))['queries']
    return {query['name']: query['sql'] for query in listed if query['sql']}


def check_kind(options, path, source, before, kind, verdict):
    damage = corpus.Damage(source.healthy)
    touched = set(map(source.query_of, KINDS[kind](source, damage)))
    output, told = corpus.repair(options, damage.save(options, path), 'output', *corpus.EXACT)
    after = statements(options, output)
    for name, sql in before.items():
        if name not in touched and not source.needs[name] & damage.touched:
            verdict.rows += 1
            if after.get(name) != sql:
                verdict.error('%s: %r for %r' % (name, after.get(name), sql))
    for name in set(before) & set(after):
        if before[name].startswith(('UPDATE', 'DELETE', 'PARAMETERS')) and after[name] != before[name]:
            verdict.error('%s: %r for %r' % (name, after[name], before[name]))
    verdict.cells = len(after)
    is_told = told['damage'] or told['saving']['queriesLost'] or told['saving']['queriesChanged']
    if after != before and not is_told:
        verdict.error('other queries came back, and nothing says so: %r' % after)


def judge(options, report, path, short):
    if os.path.basename(path).startswith('queryTest'):
        source, before = Source(corpus.open_pages(path)), statements(options, path)
        for kind in KINDS:
            report.judge('%s: %s' % (os.path.basename(short), kind),
                         lambda verdict: check_kind(options, path, source, before, kind, verdict))


if __name__ == '__main__':
    sys.exit(corpus.main(__doc__, 'damaged queries: statements that must be there', judge))
