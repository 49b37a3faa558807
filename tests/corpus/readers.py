"""The independent readers that the corpus tests compare with, as black boxes: mdb-reader (npm) and mdbtools (Debian).

Both answer {table name: Seen}, with values in one plain form, whatever the reader's own form is:

    null None · Yes/No bool · date datetime.datetime · bytes bytes · complex COMPLEX · everything else text
"""
import csv
import datetime
import io
import json
import os
import shutil
import subprocess

HERE = os.path.dirname(os.path.abspath(__file__))
COMPLEX = object()
NULL = '\x02null\x02'
DATE = '%Y-%m-%d %H:%M:%S'
csv.field_size_limit(1 << 30)


class Seen:
    """One table as a reader sees it; `columns` are names."""

    def __init__(self, columns, rows):
        self.columns, self.rows = columns, rows


def run(command, limit=300, environment=None):
    """(exit status, standard output); a reader that hangs counts as one that failed."""
    try:
        done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, timeout=limit, check=False,
                              env=dict(os.environ, LC_ALL='C.UTF-8', **(environment or {})))
    except subprocess.TimeoutExpired:
        return -1, b''
    return done.returncode, done.stdout


def mdb_reader_folder():
    folder = os.environ.get('TOLVANE_MDB_READER') or os.path.join(
        HERE, '..', '..', 'build', 'npm', 'node_modules', 'mdb-reader')
    return os.path.abspath(folder)


def missing():
    """What must be there and is not, as a text; empty when all is there."""
    lacks = [tool for tool in ('mdb-export', 'mdb-queries', 'mdb-tables', 'node') if not shutil.which(tool)]
    if not os.path.isdir(mdb_reader_folder()):
        lacks.append('the npm package mdb-reader in build/npm (./test.sh installs it)')
    return ', '.join(lacks)


def _plain(value):
    if isinstance(value, dict):
        if 'bytes' in value:
            return bytes.fromhex(value['bytes'])
        if 'date' in value:
            if value['date'] is None:
                return 'no date'
            return datetime.datetime(1970, 1, 1) + datetime.timedelta(milliseconds=value['date'])
        return COMPLEX
    return value


def mdb_reader(path):
    """({name: Seen}, [errors])"""
    command = ['node', os.path.join(HERE, 'read_database.mjs'), path]
    status, output = run(command, environment={'TOLVANE_MDB_READER': mdb_reader_folder()})
    if status != 0:
        return {}, ['mdb-reader ended with status %d' % status]
    found = json.loads(output.decode('utf-8', 'replace'))
    tables = {}
    for table in found['tables']:
        rows = [[_plain(value) for value in row] for row in table['rows']]
        tables[table['name']] = Seen([column['name'] for column in table['columns']], rows)
    return tables, found['errors']


def _without_dumps(output):
    """mdbtools prints hex dumps of property blocks that it does not know in front of what was asked for."""
    lines = output.split(b'\n')
    first = 0
    for i, line in enumerate(lines):
        is_dump = len(line) > 6 and line[4:7] == b'x  ' and all(c in b'0123456789abcdef' for c in line[:4])
        if is_dump or (first == i and line.strip() == b''):
            first = i + 1
    return b'\n'.join(lines[first:])


def mdbtools_export(path, table):
    """Seen with texts as mdb-export prints them (None for null), or None when it fails."""
    command = ['mdb-export', '-b', 'hex', '-0', NULL, '-D', DATE, '-T', DATE, path, table]
    status, output = run(command)
    if status != 0:
        return None
    text = _without_dumps(output).decode('utf-8', 'surrogateescape')
    lines = list(csv.reader(io.StringIO(text, newline='')))
    if not lines:
        return None
    rows = [[None if cell == NULL else cell for cell in line] for line in lines[1:]]
    return Seen(lines[0], rows)


def mdbtools_tables(path):
    status, output = run(['mdb-tables', '-1', path])
    if status != 0:
        return None
    return [line for line in _without_dumps(output).decode('utf-8', 'replace').split('\n') if line]


def mdbtools_queries(path):
    """{name: statement} of the saved queries as mdb-queries shows them, or None when it fails."""
    status, output = run(['mdb-queries', '-L', '-1', path])
    if status != 0:
        return None
    names = [name for name in _without_dumps(output).decode('utf-8', 'replace').split('\n') if name]
    return {name: _without_dumps(run(['mdb-queries', path, name])[1]).decode('utf-8', 'replace') for name in names}


def mdbtools_expressions(path):
    """{query name: [(attribute, expression)]} from the rows in which the queries are stored, or None."""
    objects, rows = mdbtools_export(path, 'MSysObjects'), mdbtools_export(path, 'MSysQueries')
    if objects is None or rows is None:
        return None
    identifier, name, kind = (objects.columns.index(column) for column in ('Id', 'Name', 'Type'))
    query, attribute, text = (rows.columns.index(column) for column in ('ObjectId', 'Attribute', 'Expression'))
    names = {row[identifier]: row[name] for row in objects.rows if row[kind] == '5'}
    found = {query_name: [] for query_name in names.values()}
    for row in rows.rows:
        if row[query] in names and row[text]:
            found[names[row[query]]].append((int(row[attribute]), row[text]))
    return found
