#!/usr/bin/env python3
"""Repairs every healthy real database that holds saved queries and compares, row by row, those of the new database with
those of the source, as two independent readers show them; and reads the SQL text of each.

    python3 tests/corpus/compare_queries.py --tolvane build/release/tolvane [--corpus FOLDER] [--only TEXT]

For each file: `tolvane queries` names the same queries as the catalogue, each with a whole statement that holds every
expression of its stored rows; the new database passes `tolvane check`, and each reader shows the same flags and rows
for each name in it as in the source, properties included; so does `tolvane queries`. The columns of the report count
statements as rows and stored rows as cells.
"""
import json
import sys

import corpus
import readers

QUERY = '5'  # kind of object
FIELDS = ('Attribute', 'Order', 'Name1', 'Name2', 'Expression', 'Flag', 'LvExtra')
JOINS, PIVOTS = '7', ('9', '1')  # attribute; attribute and flag of what stands in a column, too


def shown_queries(options, path):
    """name -> query as `tolvane queries` lists it, hidden ones included."""
    listed = corpus.tolvane(options, 'queries', *corpus.EXACT, '--json', '--all', path, good=(0, 3, 4))
    return {query['name']: query for query in json.loads(listed)['queries']}


def properties(blob):
    """The properties that a blob holds, texts decoded; without those that only their own database understands."""
    blob = bytes.fromhex(blob) if isinstance(blob, str) else blob or b''
    wide = blob[:4] == b'MR2\0'
    text = lambda stored: stored.decode('utf-16-le', 'surrogatepass') if wide else stored.decode('cp1252', 'replace')
    number = lambda size: int.from_bytes(blob[at:at + size], 'little')
    names, found, at = [], set(), 4
    while at < len(blob):
        end, kind = at + number(4), blob[at + 4]
        at += 6
        if kind == 0x80:
            while at < end:
                names.append(text(blob[at + 2:at + 2 + number(2)]))
                at += 2 + number(2)
            continue
        owner = text(blob[at + 6:at + number(4)])
        at += number(4)
        while at < end:
            flags, code, name = blob[at + 2], blob[at + 3], blob[at + 4] + 256 * blob[at + 5]
            value = blob[at + 8:at + number(2)]
            if names[name] not in ('GUID', 'NameMap'):
                found.add((owner, names[name], flags, code, text(value) if code in (10, 12) else value))
            at += number(2)
    return sorted(found, key=repr)


def stored_queries(tables):
    """{name: (flags, rows, properties)} of one reader; None where it does not show the tables."""
    objects, rows = tables.get('MSysObjects'), tables.get('MSysQueries')
    if not objects or not rows:
        return None
    cell = lambda seen, row, column: row[seen.columns.index(column)] if column in seen.columns else None
    found = {cell(objects, row, 'Id'): (cell(objects, row, 'Name'), str(cell(objects, row, 'Flags')), [],
                                       properties(cell(objects, row, 'LvProp')))
             for row in objects.rows if str(cell(objects, row, 'Type')) == QUERY}
    for row in rows.rows:
        if cell(rows, row, 'ObjectId') in found:
            found[cell(rows, row, 'ObjectId')][2].append(tuple(cell(rows, row, field) for field in FIELDS))
    return {name: (flags, sorted(fields, key=repr), kept) for name, flags, fields, kept in found.values()}


def read_all(path):
    """What each reader shows, by its name."""
    by_export = {name: readers.mdbtools_export(path, name) for name in ('MSysObjects', 'MSysQueries')}
    return {'mdb-export': stored_queries(by_export), 'mdb-reader': stored_queries(readers.mdb_reader(path)[0])}


def check_text(query, rows, verdict):
    if not query['sql'] or query['reason'] or not query['whole']:
        verdict.error('%s: %r' % (query['name'], query))
        return
    for row in rows:
        row = dict(zip(FIELDS, row))
        text = (row['Expression'] or '').rstrip('\0\r\n\t ;')
        if text and text not in query['sql'] and (str(row['Attribute']), str(row['Flag'])) != PIVOTS:
            verdict.error('%s: without the stored %r: %r' % (query['name'], text, query['sql']))


def compare_file(options, path, healthy, verdict):
    before, shown = read_all(path), shown_queries(options, path)
    known = before['mdb-export'] or before['mdb-reader']
    if not known:
        return False
    if set(known) != set(shown):
        verdict.error('tolvane lists %s for %s' % (sorted(map(str, shown)), sorted(known)))
    for name in set(known) & set(shown):
        check_text(shown[name], known[name][1], verdict)
    verdict.rows, verdict.cells = len(known), sum(len(rows) for _, rows, _ in known.values())
    output, told = corpus.repair(options, path, 'output', *corpus.EXACT)
    counts = told['saving']
    if counts['queriesLost'] or counts['queriesSkipped'] or counts['queriesChanged']:
        verdict.error('told: %r' % counts)
    if shown_queries(options, output) != shown:
        verdict.error('tolvane shows other queries in the new database')
    for reader, after in read_all(output).items():
        for name, query in (before[reader] or {}).items():
            if (after or {}).get(name) != query:
                verdict.error('%s: %s: %r for %r' % (reader, name, (after or {}).get(name), query))
    return True


if __name__ == '__main__':
    sys.exit(corpus.main(__doc__, 'saved queries: statements, rows', corpus.each(compare_file)))
