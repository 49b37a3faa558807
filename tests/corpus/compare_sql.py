#!/usr/bin/env python3
"""Exports healthy real databases as JSON lines, as SQL scripts and as an SQLite database, lets the programs load them that
they are for, and compares every cell that these then show: JSON lines with mdb-reader, all others with JSON lines.

    python3 tests/corpus/compare_sql.py --tolvane build/release/tolvane [--corpus FOLDER] [--only TEXT]

SQLite is Python's own and the program sqlite3; PostgreSQL and MariaDB are servers that this script starts for itself,
as a user without rights. One that is not installed is told as a note. What a server says while it loads is an error. The
values of complex columns are counted in the tables that hold them; calculated columns are left to the databases.
"""
import atexit
import base64
import copy
import contextlib
import datetime
import decimal
import glob
import json
import os
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import time

import corpus
import expected
import pages
import readers

EXACT_NUMBERS = {'parse_float': decimal.Decimal, 'parse_int': decimal.Decimal}
BYTES = (pages.BINARY, pages.OLE, 70, 71, 72)  # and types that nobody knows
SERVERS = {}  # name -> Server or None


class Server:
    """A database server in a folder of its own. `load`: what it says of a script; `rows`: of a table, as lists."""
    def __init__(self, programs):
        if not all(programs):
            raise FileNotFoundError
        self.folder = tempfile.mkdtemp(prefix='tolvane-sql-')
        atexit.register(shutil.rmtree, self.folder, True)
        self.as_user = ['runuser', '-u', 'nobody', '--'] if os.geteuid() == 0 else []
        if self.as_user:
            shutil.chown(self.folder, 'nobody')

    def run(self, *command, **more):
        return subprocess.run([*self.as_user, *command], check=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **more).stdout

    def load(self, script):
        self.client('new', 'DROP DATABASE IF EXISTS t')
        self.client('new', 'CREATE DATABASE t')
        with open(script, 'rb') as file:
            done = subprocess.run(self.command('t'), stdin=file, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        return done.stdout.decode('utf-8', 'replace')

    def client(self, database, statement):
        done = subprocess.run(self.command(database), input=statement.encode() + b';', capture_output=True, check=False)
        if done.stderr and b'does not exist' not in done.stderr:
            raise corpus.Failure(done.stderr.decode('utf-8', 'replace'))
        return [line for line in done.stdout.decode().split('\n') if line]


class PostgreSql(Server):
    def __init__(self):
        folder = max(glob.glob('/usr/lib/postgresql/*/bin'), default='')
        super().__init__([folder, shutil.which('psql')])
        data, self.control = self.folder + '/data', folder + '/pg_ctl'
        self.run(folder + '/initdb', '-D', data, '-E', 'UTF8', '--locale=C.UTF-8', '-A', 'trust', '-U', 'tester', cwd='/')
        self.run(self.control, '-D', data, '-l', self.folder + '/log', '-w', '-o',
                 "-k %s -h '' -c fsync=off" % self.folder, 'start', cwd='/')
        atexit.register(self.run, self.control, '-D', data, '-m', 'immediate', 'stop', cwd='/')

    def command(self, database):
        return ['psql', '-q', '-At', '-X', '-h', self.folder, '-U', 'tester', 't' if database == 't' else 'postgres']

    def rows(self, table, columns):
        lines = self.client('t', 'SELECT row_to_json(t) FROM "%s" t' % table.replace('"', '""'))
        rows = [list(json.loads(line, **EXACT_NUMBERS).values()) for line in lines]
        return [[bytes.fromhex(v[2:]) if v and c.type in BYTES else v for v, c in zip(row, columns)] for row in rows]


class MariaDb(Server):
    def __init__(self):
        super().__init__([shutil.which('mariadbd'), shutil.which('mariadb-install-db'), shutil.which('mariadb')])
        self.run('mariadb-install-db', '--no-defaults', '--datadir=' + self.folder + '/data', '--auth-root-authentication-method=normal')
        server = subprocess.Popen([*self.as_user, 'mariadbd', '--no-defaults', '--datadir=' + self.folder + '/data', '--skip-networking',
                                   '--socket=' + self.folder + '/s', '--pid-file=' + self.folder + '/pid'], stderr=subprocess.DEVNULL)
        atexit.register(server.wait)
        atexit.register(server.terminate)
        for _ in range(100):
            time.sleep(0.2)
            if os.path.exists(self.folder + '/s'):
                return
        raise corpus.Failure('mariadbd does not start')

    def command(self, database):
        return ['mariadb', '--no-defaults', '-u', 'root', '-S', self.folder + '/s', '--force', '--batch', '--raw', '--skip-column-names',
                '--default-character-set=utf8mb4', *([database] if database == 't' else [])]

    def rows(self, table, columns):
        shown = ', '.join(('HEX(`%s`)' if c.type in BYTES else '`%s`') % c.name for c in columns)
        lines = self.client('t', 'SELECT JSON_ARRAY(%s) FROM `%s`' % (shown, table))
        rows = [json.loads(line, **EXACT_NUMBERS) for line in lines]
        return [[bytes.fromhex(v) if v is not None and c.type in BYTES else v for v, c in zip(row, columns)] for row in rows]


def server(kind, verdict):
    """The server of that kind, started once; None, with a note, where it is not installed."""
    if kind not in SERVERS:
        SERVERS[kind] = None
        with contextlib.suppress(FileNotFoundError):
            SERVERS[kind] = kind()
    if SERVERS[kind] is None:
        verdict.note('%s is not installed' % kind.__name__)
    return SERVERS[kind]


def plain(value, column):
    """One form of a value, whatever program shows it."""
    if value is None or column.type == pages.COMPLEX:
        return None
    if column.type == pages.BOOLEAN:
        return bool(value)
    if isinstance(value, bytes):
        return value.hex()
    if isinstance(value, (int, float, decimal.Decimal)):
        number = decimal.Decimal(repr(value) if isinstance(value, float) else value)
        if column.type in (pages.SINGLE, pages.DOUBLE):  # the digits that a program shows of a number may differ
            number = decimal.Decimal(repr(expected.single(number) if column.type == pages.SINGLE else float(number)))
        return '%s' % number.normalize()
    if column.type == pages.DATE:
        return value.replace('T', ' ').rstrip('0').rstrip('.') if '.' in value else value.replace('T', ' ')
    return value.strip('{}').upper() if column.type == pages.GUID else value


def seen(value, column):
    """Texts that a value of mdb-reader may be shown as."""
    if value is None or column.type == pages.BOOLEAN:
        return (str(bool(value) if column.type == pages.BOOLEAN else None),)
    if column.type == pages.DATE:
        return tuple(str(moment) for moment in expected._moments(value)) if isinstance(value, datetime.datetime) else (str(value),)
    if isinstance(value, bytes):
        return (value.hex(),)
    if column.type in (pages.TEXT, pages.MEMO, pages.GUID):
        return (str(plain(value, column)),)
    return (str(plain(decimal.Decimal(repr(expected.single(value)) if column.type == pages.SINGLE else value), column)),)


def shown(value, column):
    """A plain value as `seen` has it."""
    if column.type == pages.DATE and value is not None and value[4:5] == '-':
        moment = datetime.datetime.fromisoformat(value[:26])
        return str((moment + datetime.timedelta(milliseconds=500)).replace(microsecond=0))
    if column.type == pages.SINGLE and value is not None:
        return str(plain(expected.single(value), column))
    return str(value)


def json_tables(options, path, folder):
    """{table: rows as {column: value}} by JSON lines."""
    report = json.loads(corpus.tolvane(options, 'export', path, '--format', 'jsonl', '--to', folder + '/rows', '--json', '-q'))
    tables = {}
    for entry in report['files']:
        with open(entry['path'], encoding='utf-8') as lines:
            tables[entry['table']] = [json.loads(line, **EXACT_NUMBERS) for line in lines]
    return tables


def check_rows(verdict, what, want, have):
    missing, extra = corpus.differences([[(repr(cell),) for cell in row] for row in want], [[repr(cell) for cell in row] for row in have])
    if missing or extra:
        verdict.error('%s: %d missing, %d not in the source: %s' % (
            what, sum(missing.values()), sum(extra.values()), corpus.first_difference(missing, extra)))


def check_readers(verdict, name, columns, rows, view, is_jet3):
    show = expected.as_shown('mdb-reader', is_jet3)
    keep = [i for i, c in enumerate(columns) if expected.skip_reason(c) is None and c.name in view.columns]
    want = [[tuple(map(show, seen(row[view.columns.index(columns[i].name)], columns[i]))) for i in keep] for row in view.rows]
    missing, extra = corpus.differences(want, [[show(shown(row[i], columns[i])) for i in keep] for row in rows])
    if missing or extra:
        verdict.error('mdb-reader: %s: %d missing, %d more: %s' % (
            name, sum(missing.values()), sum(extra.values()), corpus.first_difference(missing, extra)))
    verdict.cells += len(rows) * len(keep)


def compare_file(options, path, healthy, verdict):
    local, (views, errors) = pages.local_tables(healthy), readers.mdb_reader(path)
    with tempfile.TemporaryDirectory(prefix='tolvane-') as folder:
        tables = json_tables(options, path, folder)
        databases = {}
        for dialect, kind in (('sqlite', None), ('postgresql', PostgreSql), ('mysql', MariaDb)):
            script = '%s/%s.sql' % (folder, dialect)
            corpus.tolvane(options, 'export', path, '--format', 'sql', '--dialect', dialect, '-o', script, '-q')
            target = server(kind, verdict) if kind else None
            if kind is None:
                with open(script, 'rb') as file:
                    said = subprocess.run(['sqlite3', folder + '/script.db'], stdin=file, capture_output=True, check=False)
                said = (said.stdout + said.stderr).decode()
            else:
                said = target.load(script) if target else ''
            if said:
                verdict.error('%s says: %.300s' % (dialect, said))
            if target:
                databases[dialect] = target.rows
        corpus.tolvane(options, 'export', path, '--format', 'sqlite', '-o', folder + '/file.db', '-q')
        for name in ('script', 'file'):
            connection = sqlite3.connect('%s/%s.db' % (folder, name))
            databases['sqlite ' + name] = lambda table, columns, c=connection: c.execute(
                'SELECT * FROM "%s"' % table.replace('"', '""')).fetchall()
            if connection.execute('PRAGMA integrity_check').fetchall() != [('ok',)]:
                verdict.error('sqlite %s: not consistent' % name)
        made = {name for name, in connection.execute("SELECT name FROM sqlite_master WHERE type = 'table'")}
        for name in sorted(tables.keys() & local.keys()):
            if name not in made and not tables[name]:  # a link to a server
                continue
            columns = local[name].columns
            verdict.tables += 1
            verdict.rows += len(tables[name])
            # The versions of memos have no column in rows.
            listed = [[row.get(column.name) for column in columns] for row in tables[name]]
            decoded = [[base64.b64decode(v) if v is not None and c.type in BYTES else v for v, c in zip(row, columns)] for row in listed]
            rows = [[plain(v, c) for v, c in zip(row, columns)] for row in decoded]
            if name in views:
                check_readers(verdict, name, columns, rows, views[name], healthy.format.is_jet3)
            keep = [i for i, c in enumerate(columns) if c.type in pages.KNOWN and not c.is_calculated]
            # The column of a memo's versions is called by the memo.
            called = [row[1] for row in connection.execute('PRAGMA table_info("%s")' % name.replace('"', '""'))]
            named = [copy.copy(column) for column in columns]
            for column, new in zip(named, called):
                column.name = new if column.type == pages.COMPLEX else column.name
            for database, read in databases.items():
                have = [[plain(row[i], columns[i]) for i in keep] for row in read(name, named)]
                check_rows(verdict, '%s: %s' % (database, name), [[row[i] for i in keep] for row in rows], have)
            check_values(verdict, name, columns, listed, connection)
    return views, errors


def check_values(verdict, name, columns, rows, connection):
    """As many values in the table of a complex column as in the arrays of JSON lines."""
    for i, column in enumerate(columns):
        if column.type == pages.COMPLEX and rows and isinstance(rows[0][i], list):
            count, = connection.execute('SELECT count(*) FROM "%s_%s"' % (name, column.name)).fetchone()
            if count != sum(len(row[i]) for row in rows):
                verdict.error('%s.%s: %d values for %d' % (name, column.name, count, sum(len(row[i]) for row in rows)))


if __name__ == '__main__':
    if not shutil.which('sqlite3'):
        print('skipped: missing sqlite3')
        sys.exit(corpus.SKIPPED)
    sys.exit(corpus.main(__doc__, 'exports loaded by other programs', corpus.each(compare_file)))
