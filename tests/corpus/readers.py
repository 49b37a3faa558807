"""The independent readers that the corpus tests compare with, as black boxes: mdb-reader (npm) and mdbtools (Debian).

Both answer with Seen, its values in one plain form, whatever the reader's own form is:

    null None · Yes/No bool · date datetime.datetime · bytes bytes · complex COMPLEX · everything else text
"""
import collections
import csv
import datetime
import io
import json
import os
import shutil
import subprocess

import pages

HERE = os.path.dirname(os.path.abspath(__file__))
COMPLEX = object()
NULL = '\x02null\x02'
DATE = '%Y-%m-%d %H:%M:%S'
csv.field_size_limit(1 << 30)

Seen = collections.namedtuple('Seen', 'columns rows')  # one table; the columns are names


def mdb_reader_folder():
    return os.path.abspath(os.environ.get('TOLVANE_MDB_READER') or os.path.join(
        HERE, '..', '..', 'build', 'npm', 'node_modules', 'mdb-reader'))


def run(*command):
    """Standard output, or None when the reader fails; one that hangs counts as one that failed."""
    environment = dict(os.environ, LC_ALL='C.UTF-8', TOLVANE_MDB_READER=mdb_reader_folder())
    try:
        return subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, timeout=300, check=True,
                              env=environment).stdout
    except (subprocess.TimeoutExpired, subprocess.CalledProcessError):
        return None


def missing():
    """What must be there and is not, as a text; empty when all is there."""
    lacks = [tool for tool in ('mdb-export', 'mdb-prop', 'mdb-tables', 'node') if not shutil.which(tool)]
    if not os.path.isdir(mdb_reader_folder()):
        lacks.append('the npm package mdb-reader in build/npm (./test.sh installs it)')
    return ', '.join(lacks)


def _from_mdb_reader(value):
    if not isinstance(value, dict):
        return value
    if 'bytes' in value:
        return bytes.fromhex(value['bytes'])
    if 'date' not in value:
        return COMPLEX
    if value['date'] is None:
        return 'no date'
    return datetime.datetime(1970, 1, 1) + datetime.timedelta(milliseconds=value['date'])


def mdb_reader(path):
    """({name: Seen}, [errors])"""
    output = run('node', os.path.join(HERE, 'read_database.mjs'), path)
    if output is None:
        return {}, ['mdb-reader failed']
    found = json.loads(output.decode('utf-8', 'replace'))
    return {table['name']: Seen(table['columns'], [list(map(_from_mdb_reader, row)) for row in table['rows']])
            for table in found['tables']}, found['errors']


def _mdbtools(*command):
    """The text that a tool of mdbtools prints, or None. Hex dumps of property blocks that it does not know stand in front
    of what was asked for."""
    output = run(*command)
    if output is None:
        return None
    lines = output.split(b'\n')
    first = 0
    for i, line in enumerate(lines):
        is_dump = len(line) > 6 and line[4:7] == b'x  ' and all(c in b'0123456789abcdef' for c in line[:4])
        if is_dump or (first == i and line.strip() == b''):
            first = i + 1
    return b'\n'.join(lines[first:]).decode('utf-8', 'surrogateescape')


def _lines(text):
    return None if text is None else [line for line in text.split('\n') if line]


def _from_mdbtools(text, column):
    if column.type == pages.BOOLEAN:
        return text == '1'
    if text is None:
        return None
    if column.type == pages.DATE:
        try:
            return datetime.datetime.strptime(text, DATE)
        except ValueError:
            return text
    if column.type in (pages.BINARY, pages.OLE):
        return bytes.fromhex(text)
    if column.type == pages.GUID and not text.startswith('{'):
        return bytes.fromhex(text).decode('ascii')  # its text, as hex digits
    return text


def mdbtools_export(path, table, types=None):
    """Seen, or None when mdb-export fails; texts as it prints them, or by the Column of each name in `types`."""
    text = _mdbtools('mdb-export', '-b', 'hex', '-0', NULL, '-D', DATE, '-T', DATE, path, table)
    lines = list(csv.reader(io.StringIO(text or '', newline='')))
    if not lines or (types and not types.keys() >= set(lines[0])):
        return None
    rows = [[None if cell == NULL else cell for cell in line] for line in lines[1:]]
    if types:
        rows = [[_from_mdbtools(cell, types[name]) for cell, name in zip(row, lines[0])] for row in rows]
    return Seen(lines[0], rows)


def mdbtools_tables(path):
    return _lines(_mdbtools('mdb-tables', '-1', path))
