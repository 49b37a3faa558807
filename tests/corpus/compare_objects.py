#!/usr/bin/env python3
"""Repairs healthy real databases and compares what they hold beside tables and rows, saved queries and properties, with
what independent readers show of the new one; and repairs the repaired one, which must give the same again.

    python3 tests/corpus/compare_objects.py --tolvane build/release/tolvane [--corpus FOLDER] [--only TEXT]

Properties of the database, its tables and columns are those that mdb-prop shows. Documented differences are counted:

  NameMap          programs make it anew from the names of the new database
  other program    FCMinReadVer and its like say which program the columns of an ACE table need
  password         the new database has none, which is told
  history, values  AppendOnly and AllowMultipleValues stay where the column keeps its versions or several values

Of each query both readers show the same flags and rows as in the source, and `tolvane queries` a whole statement that
holds every expression of its stored rows. Owners of properties and queries count as rows, properties and rows of
queries as cells.
"""
import csv
import io
import json
import sys

import corpus
import readers

REBUILT = {'NameMap': 'NameMap', 'FCMinReadVer': 'other program', 'FCMinWriteVer': 'other program',
           'FCMinDesignVer': 'other program', 'AppendOnly': 'history, values', 'AllowMultipleValues': 'history, values'}
DOCUMENTS, QUERY = ('2', '-32757'), '5'  # the catalogue's types of the database and of what describes it; of a query
FIELDS = ('Attribute', 'Order', 'Name1', 'Name2', 'Expression', 'Flag', 'LvExtra')
PIVOTS = ('9', '1')  # attribute and flag of what stands in a column, too
SAVED = ('tables', 'records', 'queries', 'relationships', 'links')
LOST = ('propertiesLost', 'settingsChanged', 'queriesLost', 'queriesSkipped', 'queriesChanged')
NO_PASSWORD = 'The new database has no password; the source has one'


def owners(path):
    """{name: properties} of the tables that mdb-tables shows and of the database's documents. For an object without
    properties mdb-prop shows those of any other."""
    objects = readers.run('mdb-export', '-b', 'hex', path, 'MSysObjects') or b''
    rows = list(csv.DictReader(io.StringIO(objects.decode('utf-8', 'surrogateescape'))))
    full = {row['Name'] for row in rows if row['LvProp']}
    names = readers.mdbtools_tables(path) or []
    names += [row['Name'] for row in rows if row['Type'] in DOCUMENTS and row['LvProp']]
    return {name: properties(path, name) if name in full else {} for name in names}


def properties(path, table):
    """{(owner, property): value} as mdb-prop shows a table."""
    found, owner, last = {}, None, None
    for line in (readers.run('mdb-prop', path, table) or b'').decode('utf-8', 'surrogateescape').split('\n'):
        name, colon, value = line[1:].partition(': ')
        if line.startswith('name: '):
            owner = line[6:]
        elif line.startswith('\t') and colon:
            last = (owner, name)
            found[last] = value
        elif last is not None and line:  # a value of several lines
            found[last] += '\n' + line
    return found


def compare_properties(source, output, verdict):
    new = owners(output)
    for table, want in owners(source).items():
        have = new.get(table, {})
        if want and table not in new:
            verdict.error('no %s' % table)
            continue
        verdict.tables += 1
        verdict.rows += len({owner for owner, _ in want})
        verdict.cells += len(want)
        for key in want.keys() | have.keys():
            if want.get(key) == have.get(key):
                continue
            if key[1] in REBUILT:
                verdict.note(REBUILT[key[1]])
            else:
                verdict.error('%s, %s.%s: %.60r came back as %.60r' % (table, *key, want.get(key), have.get(key)))


def stored_queries(tables):
    """{name: (flags, rows)} of one reader; empty where it does not show the tables."""
    objects, rows = tables.get('MSysObjects'), tables.get('MSysQueries')
    if not objects or not rows:
        return {}
    cell = lambda seen, row, column: row[seen.columns.index(column)] if column in seen.columns else None
    found = {cell(objects, row, 'Id'): (cell(objects, row, 'Name'), str(cell(objects, row, 'Flags')), [])
             for row in objects.rows if str(cell(objects, row, 'Type')) == QUERY}
    for row in rows.rows:
        if cell(rows, row, 'ObjectId') in found:
            found[cell(rows, row, 'ObjectId')][2].append(tuple(cell(rows, row, field) for field in FIELDS))
    return {name: (flags, sorted(fields, key=repr)) for name, flags, fields in found.values()}


def queries_by_readers(path):
    by_export = {name: readers.mdbtools_export(path, name) for name in ('MSysObjects', 'MSysQueries')}
    return {'mdb-export': stored_queries(by_export), 'mdb-reader': stored_queries(readers.mdb_reader(path)[0])}


def shown_queries(options, path):
    """name -> query as `tolvane queries` lists it, hidden ones included."""
    listed = corpus.tolvane(options, 'queries', *corpus.EXACT, '--json', '--all', path, good=(0, 3, 4))
    return {query['name']: query for query in json.loads(listed)['queries']}


def check_text(query, rows, verdict):
    if not query['sql'] or query['reason'] or not query['whole']:
        verdict.error('%s: %r' % (query['name'], query))
        return
    for row in rows:
        row = dict(zip(FIELDS, row))
        text = (row['Expression'] or '').rstrip('\0\r\n\t ;')
        if text and text not in query['sql'] and (str(row['Attribute']), str(row['Flag'])) != PIVOTS:
            verdict.error('%s: without the stored %r: %r' % (query['name'], text, query['sql']))


def compare_queries(options, source, output, verdict):
    before, shown = queries_by_readers(source), shown_queries(options, source)
    known = before['mdb-export'] or before['mdb-reader']
    if known and set(known) != set(shown):
        verdict.error('tolvane lists %s for %s' % (sorted(map(str, shown)), sorted(known)))
    for name in set(known) & set(shown):
        check_text(shown[name], known[name][1], verdict)
    verdict.rows += len(known)
    verdict.cells += sum(len(rows) for _, rows in known.values())
    if shown_queries(options, output) != shown:
        verdict.error('tolvane shows other queries in the new database')
    for reader, after in queries_by_readers(output).items():
        for name, query in before[reader].items():
            if after.get(name) != query:
                verdict.error('%s: %s: %r for %r' % (reader, name, after.get(name), query))


def compare_file(options, path, healthy, verdict):
    output, told = corpus.repair(options, path, 'output', *corpus.EXACT)
    saving = told['saving']
    lost = sum(saving[count] for count in LOST)
    if NO_PASSWORD in saving['notes']:
        verdict.note('password')
        lost -= 1
    if lost:
        verdict.error('told: %r' % saving)
    compare_properties(path, output, verdict)
    compare_queries(options, path, output, verdict)
    again, told_again = corpus.repair(options, output, 'again', *corpus.EXACT)
    compare_properties(output, again, verdict)
    for key in SAVED:
        if saving[key] != told_again['saving'][key]:
            verdict.error('%s: %s, the second time %s' % (key, saving[key], told_again['saving'][key]))
    more = [note for note in told_again['saving']['notes'] if note not in saving['notes']]
    if more or told_again['damage']:
        verdict.error('the second time: %s %s' % (more[:3], told_again['damage'][:3]))


if __name__ == '__main__':
    sys.exit(corpus.main(__doc__, 'properties and queries', corpus.each(compare_file)))
