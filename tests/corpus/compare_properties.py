#!/usr/bin/env python3
"""Repairs healthy real databases and compares the properties of the new one, of its tables, columns and of the database
itself, with those of the source, as mdb-prop shows both; and repairs the repaired one, which must give the same again.

Differences that are documented (they are counted in the report):

  NameMap          programs make it anew from the names of the new database
  other program    FCMinReadVer and its like say which program the columns of an ACE table need
  history, values  AppendOnly and AllowMultipleValues stay where the column keeps its versions or several values

For each file: the same tables, owners, properties and values but for those, and no loss of properties told. The columns
of the report count owners as rows and properties as cells.
"""
import csv
import io
import sys

import corpus
import readers

REBUILT = {'NameMap': 'NameMap', 'FCMinReadVer': 'other program', 'FCMinWriteVer': 'other program',
           'FCMinDesignVer': 'other program', 'AppendOnly': 'history, values', 'AllowMultipleValues': 'history, values'}
DOCUMENTS = '2', '-32757'  # the catalogue's types of the database and of what describes it


def owners(path):
    """{name: properties} of the tables that mdb-tables shows and of the database's documents. For an object without
    properties mdb-prop shows those of any other."""
    shown = readers.run('mdb-tables', '-1', '-t', 'table', path) or b''
    objects = readers.run('mdb-export', '-b', 'hex', path, 'MSysObjects') or b''
    rows = list(csv.DictReader(io.StringIO(objects.decode('utf-8', 'surrogateescape'))))
    full = {row['Name'] for row in rows if row['LvProp']}
    names = [name for name in shown.decode('utf-8', 'surrogateescape').split('\n') if name]
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


def compare_tables(source, output, verdict):
    new = owners(output)
    for table, want in owners(source).items():
        have = new.get(table)
        if have is None and want:
            verdict.error('no %s' % table)
            continue
        have = have or {}
        verdict.tables += 1
        verdict.rows += len({owner for owner, _ in want})
        verdict.cells += len(want)
        for key in want.keys() | have.keys():
            if want.get(key) == have.get(key):
                continue
            rule = REBUILT.get(key[1])
            if rule is not None:
                verdict.note(rule)
            else:
                verdict.error('%s, %s.%s: %.60r came back as %.60r' % (
                    table, key[0], key[1], want.get(key), have.get(key)))


def compare_file(options, path, healthy, verdict):
    output, told = corpus.repair(options, path, 'output', *corpus.EXACT)
    if told['saving']['propertiesLost'] or told['saving']['settingsChanged']:
        verdict.error('told: %s' % told['saving']['notes'][:3])
    compare_tables(path, output, verdict)
    again, told_again = corpus.repair(options, output, 'again', *corpus.EXACT)
    compare_tables(output, again, verdict)
    for key in ('tables', 'records', 'queries', 'relationships', 'links'):
        if told['saving'][key] != told_again['saving'][key]:
            verdict.error('%s: %s, the second time %s' % (key, told['saving'][key], told_again['saving'][key]))
    if told_again['saving']['notes'] or told_again['damage']:
        verdict.error('the second time: %s %s' % (told_again['saving']['notes'][:3], told_again['damage'][:3]))


if __name__ == '__main__':
    sys.exit(corpus.main(__doc__, 'properties: tables, owners, entries', corpus.each(compare_file)))
