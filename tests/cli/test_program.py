#!/usr/bin/env python3
"""Runs the built program the way people and scripts do and looks at what they see: output, messages, exit status, files.

    python3 tests/cli/test_program.py build/release/tolvane samples/damaged.mdb [-k NAME]
"""
import base64
import csv
import hashlib
import io
import json
import os
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

TOLVANE = os.path.abspath(sys.argv.pop(1))
SAMPLE = os.path.abspath(sys.argv.pop(1))
DONE, FAILED, INCOMPLETE, NOTHING, USAGE, STOPPED = 0, 2, 3, 4, 64, 130


def read(path):
    with open(path, 'rb') as file:
        return file.read()


def digest(path):
    return hashlib.sha256(read(path)).hexdigest()


class ProgramTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix='tolvane-test-')
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.work = self.path('work')
        os.mkdir(self.work)
        self.source = self.path('damaged.mdb')
        shutil.copyfile(SAMPLE, self.source)
        self.before = digest(self.source)

    def tearDown(self):
        if os.path.exists(self.source):
            self.assertEqual(digest(self.source), self.before, 'the source was changed')
        left = os.listdir(self.work) if os.path.isdir(self.work) else []
        self.assertEqual([name for name in left if name.startswith('run-')], [], 'temporary files were left')
        self.assertEqual([name for name in os.listdir(self.folder) if name.endswith('.partial')], [])

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, content):
        with open(self.path(name), 'wb') as file:
            file.write(content)
        return self.path(name)

    def run_program(self, *words, **options):
        words = list(words)
        if len(words) > 1 and words[0] not in ('--help', '--version') and '--work-dir' not in words:
            words += ['--work-dir', self.work]
        environment = dict(os.environ, TERM='xterm')
        return subprocess.run([TOLVANE, *words], stdin=subprocess.DEVNULL, capture_output=True, timeout=120,
                              env=environment, check=False, **options)

    def check(self, status, *words, **options):
        done = self.run_program(*words, **options)
        self.assertEqual(done.returncode, status, (words, done.stderr.decode('utf-8', 'replace')[-500:]))
        return done

    def check_refusal(self, status, *words, names=None, says=None, **options):
        """One line on standard error that names the file and says what; nothing on standard output."""
        done = self.check(status, *words, '-q', **options)
        text = done.stderr.decode()
        self.assertEqual(len(text.splitlines()), 1, text)
        self.assertTrue(text.startswith('tolvane: '), text)
        self.assertEqual(done.stdout, b'')
        if names:
            self.assertIn(names, text)
        if says:
            self.assertIn(says, text)

    # --- repair ---

    def test_repair_writes_beside_the_source_and_never_over_it(self):
        done = self.check(INCOMPLETE, 'repair', self.source)
        output = self.path('Tolvane_damaged.mdb')
        self.assertTrue(os.path.getsize(output) > 0)
        text = done.stdout.decode()
        for word in ('Source', 'Tables', 'Customers', 'Lost or doubtful', 'Output', output):
            self.assertIn(word, text)
        self.assertNotIn('\x1b', text)
        self.assertNotIn('MSysObjects', text)
        first = digest(output)
        self.check_refusal(FAILED, 'repair', self.source, names=output, says='--overwrite')
        self.assertEqual(digest(output), first)
        self.check(INCOMPLETE, 'repair', self.source, '--overwrite')

    def test_repaired_database_is_whole_and_holds_what_was_reported(self):
        output = self.path('new.mdb')
        report = json.loads(self.check(INCOMPLETE, 'repair', self.source, '-o', output, '--json', '-q').stdout)
        self.assertEqual((report['schema'], report['exitStatus'], report['output']), (1, 3, output))
        self.assertTrue(report['damage'])
        again = json.loads(self.check(DONE, 'tables', output, '--json').stdout)
        rows = {table['name']: table['rows'] for table in report['tables']}
        self.assertGreater(sum(rows.values()), 0)
        self.assertEqual({table['name']: table['rows'] for table in again['tables']}, rows)
        self.assertEqual(report['saving']['records'] + report['saving']['emptyRows'], sum(rows.values()))
        self.assertEqual(again['damage'], [])

    def test_dry_run_writes_nothing(self):
        before = sorted(os.listdir(self.folder))
        report = json.loads(self.check(INCOMPLETE, 'repair', self.source, '--dry-run', '--json').stdout)
        self.assertIsNone(report['output'])
        self.assertEqual(sorted(os.listdir(self.folder)), before)

    def test_template_gives_the_definitions(self):
        healthy = self.path('healthy.mdb')
        self.check(INCOMPLETE, 'repair', self.source, '-o', healthy)
        report = json.loads(self.check(INCOMPLETE, 'repair', self.source, '--template', healthy, '--dry-run', '--json').stdout)
        self.assertEqual(report['source']['template'], healthy)

    def test_sources_that_cannot_be_read(self):
        self.check_refusal(FAILED, 'repair', self.path('none.mdb'), names='none.mdb', says='does not exist')
        self.check_refusal(FAILED, 'repair', self.folder, names=self.folder, says='folder')
        self.check_refusal(FAILED, 'repair', '/dev/null', says='device')
        self.check_refusal(NOTHING, 'repair', self.write('empty.mdb', b''), says='empty')
        self.check_refusal(NOTHING, 'repair', self.write('short.mdb', b'x' * 700), says='shorter')
        self.check_refusal(NOTHING, 'repair', self.write('text.mdb', b'no database\n' * 5000), says='Nothing could be recovered')
        self.check_refusal(NOTHING, 'repair', self.write('zero.mdb', bytes(1 << 17)), says='Nothing could be recovered')
        self.assertFalse([name for name in os.listdir(self.folder) if name.startswith('Tolvane_')])

    @unittest.skipIf(not hasattr(os, 'geteuid') or os.geteuid() == 0, 'the superuser can read every file')
    def test_source_without_permission(self):
        os.chmod(self.source, 0)
        self.check_refusal(FAILED, 'repair', self.source, names=self.source, says='cannot be read')
        os.chmod(self.source, 0o600)

    def test_outputs_that_must_not_be_written(self):
        link, hard = self.path('link.mdb'), self.path('hard.mdb')
        os.symlink(self.source, link)
        os.link(self.source, hard)
        for output in (self.source, link, hard, os.path.join(self.folder, '.', 'damaged.mdb')):
            self.check_refusal(USAGE, 'repair', self.source, '-o', output, '--overwrite', names=output, says='damaged file')
        self.check_refusal(USAGE, 'repair', self.source, '--template', link, says='template')
        template = self.write('template.mdb', read(SAMPLE))
        self.check_refusal(USAGE, 'repair', self.source, '--template', template, '-o', template, '--overwrite', says='template')
        self.check_refusal(USAGE, 'repair', self.source, '--log', link, says='log')
        self.check_refusal(FAILED, 'repair', self.source, '-o', self.path('no/where.mdb'), says='does not exist')
        self.check_refusal(FAILED, 'repair', self.source, '-o', self.folder, '--overwrite', says='folder')
        self.check_refusal(FAILED, 'repair', self.source, '-o', '/dev/null', '--overwrite', says='device')
        self.check_refusal(FAILED, 'repair', self.source, '-o', '/proc/new.mdb', names='/proc/new.mdb')

    def test_folders_that_cannot_be_used(self):
        self.check_refusal(FAILED, 'repair', self.source, '--work-dir', '/proc/none', says='--work-dir')
        self.check_refusal(FAILED, 'repair', self.source, '--log', '/proc/none/log', says='log file')
        self.check_refusal(FAILED, 'export', self.source, '--to', '/proc/none', names='/proc/none')
        self.check_refusal(FAILED, 'export', self.source, '--to', self.write('file', b''), says='no folder')

    def test_no_room_fails_and_leaves_nothing(self):
        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (40_000, 40_000))
        output = self.path('new.mdb')
        self.check_refusal(FAILED, 'repair', self.source, '-o', output, preexec_fn=limit)
        self.assertFalse(os.path.exists(output))
        self.check_refusal(FAILED, 'export', self.source, '--to', self.path('all'), preexec_fn=limit)

    def test_interrupt_stops_and_cleans_up(self):
        big = self.write('big.mdb', read(SAMPLE) * 200)
        running = subprocess.Popen([TOLVANE, 'repair', big, '-o', self.path('new.mdb'), '--work-dir', self.work],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   preexec_fn=lambda: signal.signal(signal.SIGINT, signal.default_int_handler))
        deadline = time.time() + 30
        while not os.listdir(self.work) and time.time() < deadline:
            time.sleep(0.002)
        running.send_signal(signal.SIGINT)
        started = time.time()
        _, messages = running.communicate(timeout=30)
        self.assertEqual(running.returncode, STOPPED, messages)
        self.assertLess(time.time() - started, 5)
        self.assertIn(b'Stopped', messages)
        self.assertFalse(os.path.exists(self.path('new.mdb')))

    # --- messages, log, JSON ---

    def test_quiet_verbose_and_log(self):
        self.assertEqual(self.check(INCOMPLETE, 'repair', self.source, '--dry-run', '-q').stderr, b'')
        steps = self.check(INCOMPLETE, 'repair', self.source, '--dry-run').stderr.decode().splitlines()
        self.assertEqual(steps[0], 'Scanning file for table definition...')
        self.assertEqual(len(steps), 4)
        log = self.path('log.txt')
        done = self.check(INCOMPLETE, 'repair', self.source, '-v', '--log', log)
        self.assertIn('Saving data for Customers...', done.stderr.decode())
        with open(log, encoding='utf-8') as file:
            text = file.read()
        self.assertTrue(text.startswith('tolvane '))
        self.assertIn('Scanning file for table data...\n', text.replace('\r\n', '\n'))
        self.assertIn('Saving data for Customers...', text)

    def test_failures_are_json_too(self):
        done = self.check(FAILED, 'tables', self.path('none.mdb'), '--json')
        report = json.loads(done.stdout)
        self.assertEqual((report['schema'], report['command'], report['status'], report['exitStatus']),
                         (1, 'tables', 'failed', 2))
        self.assertIn('none.mdb', report['error'])

    def test_help_and_version(self):
        self.assertRegex(self.check(DONE, '--version').stdout.decode(), r'^tolvane \d+\.\d+\.\d+\n$')
        for words in (['--help'], *([name, '--help'] for name in ('repair', 'tables', 'preview', 'export', 'inspect'))):
            done = subprocess.run([TOLVANE, *words], capture_output=True, timeout=30, check=False)
            self.assertEqual((done.returncode, done.stderr), (DONE, b''), words)
            text = done.stdout.decode()
            self.assertLess(text.index('Examples:'), text.index('Options:'), words)
        self.assertEqual(subprocess.run([TOLVANE], capture_output=True, timeout=30, check=False).returncode, USAGE)
        self.check(USAGE, 'frob', 'x')

    # --- showing ---

    def tables(self, *words):
        done = self.run_program('tables', self.source, '--json', *words)
        return json.loads(done.stdout)['tables']

    def test_tables_shows_columns_and_indexes(self):
        names = [table['name'] for table in self.tables()]
        self.assertIn('Orders', names)
        self.assertFalse([name for name in names if name.startswith('MSys')])
        self.assertIn('MSysObjects', [table['name'] for table in self.tables('--all')])
        text = self.check(INCOMPLETE, 'tables', self.source).stdout.decode()
        for table in self.tables():
            for column in table['columns']:
                self.assertIn(column['name'], text)
            self.assertTrue(all(index['columns'] for index in table['indexes']))

    def test_preview_shows_the_first_rows(self):
        table = max(self.tables(), key=lambda table: table['rows'])
        report = json.loads(self.check(INCOMPLETE, 'preview', self.source, table['name'], '--rows', '7', '--json').stdout)
        self.assertEqual(len(report['rows']), 7)
        self.assertEqual(len(report['rows'][0]), len(table['columns']))
        text = self.check(INCOMPLETE, 'preview', self.source, 'page:%d' % table['page'], '--rows', '7').stdout.decode()
        self.assertIn('(7 of %d rows)' % table['rows'], text)
        self.assertEqual(len(text.splitlines()), 10)
        everything = self.check(INCOMPLETE, 'preview', self.source, table['name'], '--rows', '1000000', '--json')
        self.assertEqual(len(json.loads(everything.stdout)['rows']), table['rows'])
        self.check_refusal(NOTHING, 'preview', self.source, 'no such table', names='no such table')

    def test_export_writes_every_row(self):
        tables = {table['name']: table for table in self.tables()}
        folder = self.path('all')
        report = json.loads(self.check(INCOMPLETE, 'export', self.source, '--to', folder, '--json').stdout)
        self.assertEqual({file['table']: file['rows'] for file in report['files']},
                         {name: table['rows'] for name, table in tables.items()})
        for file in report['files']:
            with open(file['path'], encoding='utf-8', newline='') as text:
                rows = list(csv.reader(text, strict=True))
            table = tables[file['table']]
            self.assertEqual(rows[0], [column['name'] for column in table['columns']])
            self.assertEqual(len(rows) - 1, table['rows'])
            self.assertEqual({len(row) for row in rows}, {len(table['columns'])})
        self.check_refusal(FAILED, 'export', self.source, '--to', folder, says='exists already')
        self.check(INCOMPLETE, 'export', self.source, '--to', folder, '--overwrite')

    def test_both_formats_and_all_forms_of_objects_agree(self):
        def as_csv(*words):
            done = self.check(INCOMPLETE, 'export', self.source, 'Pictures', *words)
            return list(csv.DictReader(io.StringIO(done.stdout.decode(), newline=''), strict=True))
        def as_json(*words):
            done = self.check(INCOMPLETE, 'export', self.source, 'Pictures', '--format', 'jsonl', *words)
            return [json.loads(line) for line in done.stdout.decode().split('\n') if line]
        rows = as_csv()
        self.assertTrue(rows)
        self.assertEqual(as_json(), rows)
        ole = next(name for name in rows[0] if any(len(row[name]) > 1000 for row in rows))
        hexed = [bytes.fromhex(row[ole]) for row in rows]
        self.assertEqual([base64.b64decode(row[ole], validate=True) for row in as_json('--ole', 'base64')], hexed)
        folder = self.path('files')
        self.check(INCOMPLETE, 'export', self.source, 'Pictures', '--to', folder, '--ole', 'files')
        with open(os.path.join(folder, 'Pictures.csv'), encoding='utf-8', newline='') as text:
            named = [row[ole] for row in csv.DictReader(text)]
        copied = [read(os.path.join(folder, *name.split('/'))) if name else b'' for name in named]
        self.assertEqual(copied, hexed)

    def test_a_closed_or_full_output_is_an_error(self):
        with open('/dev/full', 'wb') as full:
            done = subprocess.run([TOLVANE, 'export', self.source, 'Orders', '--work-dir', self.work], stdout=full,
                                  stderr=subprocess.PIPE, timeout=60, check=False)
        self.assertEqual(done.returncode, FAILED)
        self.assertIn(b'not complete', done.stderr)
        reader, writer = os.pipe()
        os.close(reader)
        done = subprocess.run([TOLVANE, 'tables', self.source, '--json', '--work-dir', self.work], stdout=writer,
                              stderr=subprocess.PIPE, timeout=60, check=False)
        os.close(writer)
        self.assertEqual(done.returncode, FAILED, done.stderr)

    def test_inspect_counts_every_page(self):
        report = json.loads(self.check(INCOMPLETE, 'inspect', self.source, '--json').stdout)
        self.assertEqual(sum(kind['pages'] for kind in report['kinds']), report['source']['pages'])
        self.assertGreater(report['badPageCount'], 0)
        text = self.check(INCOMPLETE, 'inspect', self.source).stdout.decode()
        self.assertIn('Map', text)
        healthy = self.path('healthy.mdb')
        self.check(INCOMPLETE, 'repair', self.source, '-o', healthy)
        self.check(DONE, 'inspect', healthy)

    def test_odd_names_work(self):
        folder = self.path('f\u00fc \u4e2d')
        os.mkdir(folder)
        source = os.path.join(folder, "it's #1 (copy).MDB")
        shutil.copyfile(self.source, source)
        self.check(INCOMPLETE, 'repair', source)
        self.assertTrue(os.path.exists(os.path.join(folder, "Tolvane_it's #1 (copy).MDB")))
        undecodable = os.path.join(os.fsencode(self.folder), b'bad\xff.mdb')
        shutil.copyfile(self.source, undecodable)
        self.check(INCOMPLETE, 'repair', undecodable)
        self.assertTrue(os.path.exists(os.path.join(os.fsencode(self.folder), b'Tolvane_bad\xff.mdb')))

    def test_runs_side_by_side_agree(self):
        running = [subprocess.Popen([TOLVANE, 'export', self.source, 'Orders', '--work-dir', self.work],
                                    stdout=subprocess.PIPE, stderr=subprocess.PIPE) for _ in range(4)]
        outputs = {process.communicate(timeout=60)[0] for process in running}
        self.assertEqual(len(outputs), 1)
        self.assertEqual({process.returncode for process in running}, {INCOMPLETE})


if __name__ == '__main__':
    unittest.main()
