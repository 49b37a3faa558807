#!/usr/bin/env python3
"""Runs the built program the way people and scripts do and looks at what they see: output, messages, exit status, files.

    python3 tests/cli/test_program.py build/release/tolvane samples/damaged.mdb [-k NAME]
"""
import base64
import contextlib
import csv
import ctypes.util
import functools
import io
import json
import os
import resource
import shutil
import signal
import sqlite3
import subprocess
import sys
import time
import unittest

from scratch import ScratchTest, read

TOLVANE = os.path.abspath(sys.argv.pop(1))
SAMPLE = os.path.abspath(sys.argv.pop(1))
DONE, FAILED, INCOMPLETE, NOTHING, USAGE, STOPPED = 0, 2, 3, 4, 64, 130


class ProgramTest(ScratchTest):
    def setUp(self):
        super().setUp()
        self.work = self.path('work')
        os.mkdir(self.work)
        self.source = self.write('damaged.mdb', read(SAMPLE))

    def tearDown(self):
        self.assertEqual(read(self.source), read(SAMPLE), 'the source was changed')
        self.assertEqual(os.listdir(self.work), [], 'temporary files were left')
        self.assertEqual([name for name in os.listdir(self.folder) if name.endswith('.partial')], [])

    def check(self, status, *words, **options):
        if len(words) > 1 and words[0] not in ('check', 'completion', 'help', 'man') and not {'--help', '--work-dir'} & set(words):
            words += ('--work-dir', self.work)
        done = subprocess.run([TOLVANE, *words], **{'stdin': subprocess.DEVNULL, 'stdout': subprocess.PIPE,
                                                    'stderr': subprocess.PIPE, 'timeout': 120, 'check': False, **options})
        self.assertEqual(done.returncode, status, (words, done.stderr[-500:]))
        return done

    def text(self, status, *words):
        return self.check(status, *words).stdout.decode()

    def json(self, status, *words):
        return json.loads(self.check(status, *words, '--json').stdout)

    def check_refusal(self, status, *words, says=(), **options):
        """One line on standard error that names the file and says what; nothing on standard output."""
        done = self.check(status, *words, '-q', **options)
        self.assertRegex(done.stderr.decode(), r'^tolvane: [^\n]*\n$')
        self.assertEqual(done.stdout, b'')
        for word in [says] if isinstance(says, str) else says:
            self.assertIn(word, done.stderr.decode())

    # --- repair ---

    def test_repair_writes_beside_the_source_and_never_over_it(self):
        text = self.text(INCOMPLETE, 'repair', self.source)
        output = self.path('Tolvane_damaged.mdb')
        for word in ('Source', 'Tables', 'Customers', 'Lost or doubtful', 'Output', output):
            self.assertIn(word, text)
        self.assertNotIn('\x1b', text)
        self.assertNotIn('MSysObjects', text)
        first = read(output)
        self.check_refusal(FAILED, 'repair', self.source, says=(output, '--overwrite'))
        self.assertEqual(read(output), first)
        self.check(INCOMPLETE, 'repair', self.source, '--overwrite')

    # Findings pass through the checker and the command line, which list other things under a like name.
    def test_findings_are_listed_and_told_by_the_status(self):
        output = self.path('new.mdb')
        self.check(INCOMPLETE, 'repair', self.source, '-o', output, '-q')
        broken, page = bytearray(read(output)), 4096
        for start in range(3 * page, len(broken), page):
            if broken[start:start + 2] == b'\x01\x01':  # a page of rows: its number of rows
                broken[start + 12] ^= 0x40
        path = self.write('broken.mdb', bytes(broken))
        report = self.json(INCOMPLETE, 'check', path)
        self.assertGreater(report['errors'], 0)
        self.assertTrue(all(finding['rule'] and finding['text'] for finding in report['findings']))
        self.assertIn(report['findings'][0]['rule'], self.text(INCOMPLETE, 'check', path))

    def test_repaired_database_is_whole_and_holds_what_was_reported(self):
        output = self.path('new.mdb')
        report = self.json(INCOMPLETE, 'repair', self.source, '-o', output, '-q')
        self.assertEqual((report['schema'], report['exitStatus'], report['output']), (1, 3, output))
        self.assertTrue(report['damage'])
        again = self.json(DONE, 'tables', output)
        rows = {table['name']: table['rows'] for table in report['tables']}
        self.assertGreater(sum(rows.values()), 0)
        self.assertEqual({table['name']: table['rows'] for table in again['tables']}, rows)
        self.assertEqual(report['saving']['records'] + report['saving']['emptyRows'], sum(rows.values()))
        self.assertEqual(again['damage'], [])
        self.check(DONE, 'inspect', output)
        before = sorted(os.listdir(self.folder))
        dry = self.json(INCOMPLETE, 'repair', self.source, '--template', output, '--dry-run')
        self.assertEqual((dry['output'], dry['source']['template']), (None, output))
        self.assertEqual(sorted(os.listdir(self.folder)), before)

    def test_the_same_file_gives_the_same_bytes_where_that_is_asked_for(self):
        def repaired(name, *words, **variables):
            self.check(INCOMPLETE, 'repair', self.source, '-o', self.path(name), '-q', *words, env={**os.environ, **variables})
            return read(self.path(name))
        fixed = repaired('a.mdb', '--reproducible')
        self.assertEqual(repaired('b.mdb', '--reproducible'), fixed)
        dated = repaired('c.mdb', SOURCE_DATE_EPOCH='1000000000')
        self.assertEqual(repaired('d.mdb', SOURCE_DATE_EPOCH='1000000000'), dated)
        # Dates alone, a few bytes an object.
        for other in (dated, repaired('e.mdb')):
            self.assertEqual(len(other), len(fixed))
            self.assertIn(sum(a != b for a, b in zip(fixed, other)), range(1, 1000))
        self.check_refusal(USAGE, 'repair', self.source, '-o', self.path('f.mdb'), says='SOURCE_DATE_EPOCH',
                           env={**os.environ, 'SOURCE_DATE_EPOCH': 'today'})

    def test_sources_that_cannot_be_read(self):
        for status, path, says in (
                (FAILED, self.path('none.mdb'), ('none.mdb', 'does not exist')),
                (FAILED, '/dev/null', 'device'), (NOTHING, self.write('empty.mdb', b''), 'empty'),
                (NOTHING, self.write('short.mdb', b'x' * 700), 'shorter'),
                (NOTHING, self.write('text.mdb', b'no database\n' * 5000), 'Nothing could be recovered'),
                (NOTHING, self.write('zero.mdb', bytes(1 << 17)), 'Nothing could be recovered')):
            self.check_refusal(status, 'repair', path, says=says)
        self.assertFalse([name for name in os.listdir(self.folder) if name.startswith('Tolvane_')])
        self.check_refusal(FAILED, 'tables', self.folder, says=(self.folder, 'folder'))

    def test_standard_input_a_place_in_a_file_and_a_rescue_map(self):
        output = self.path('new.mdb')
        with open(self.source, 'rb') as source:
            self.check(INCOMPLETE, 'repair', '-', '-o', output, stdin=source)
        self.check_refusal(NOTHING, 'tables', '-', says=('standard input', 'empty'))
        self.check_refusal(USAGE, 'repair', '-', says='-o')
        database = read(output)
        two = self.write('two.mdb', database + self.whole_copy(output) + b'tail')
        done = self.check(INCOMPLETE, 'tables', two, '--json')
        self.assertIn(b'--start %d' % len(database), done.stderr)
        tables = json.loads(done.stdout)['tables']
        self.assertEqual(tables, self.json(INCOMPLETE, 'tables', two, '--start', hex(len(database)))['tables'][:len(tables)])
        self.check_refusal(USAGE, 'tables', two, '--start', str(1 << 40), says='--start')
        rescued = self.write('rescued.map', b'0 ? 1\n0 0x%x +\n0x%x 0x200 -\n' % (len(database) - 0x1000, len(database) - 0x1000))
        damage = self.json(INCOMPLETE, 'tables', output, '--map', rescued)['damage']
        self.assertEqual([kind['count'] for kind in damage if 'cannot read' in kind['meaning']], [1])
        self.check_refusal(USAGE, 'tables', output, '--map', output, says=(output, 'ddrescue'))

    # The same tables in another file: what belongs to one is not taken for the other's.
    def whole_copy(self, path):
        self.check(DONE, 'repair', path, '-o', self.path('copy.mdb'))
        return read(self.path('copy.mdb'))

    def test_many_files_cost_each_other_nothing(self):
        folder, target = self.path('in'), self.path('out')
        os.mkdir(folder)
        for name, content in (('a.mdb', read(SAMPLE)), ('b.MDB', b''), ('c.accdb', read(SAMPLE)), ('Tolvane_a.mdb', b''), ('note.txt', b'')):
            self.write('in/' + name, content)
        files = [os.path.join(folder, name) for name in ('a.mdb', 'b.MDB', 'c.accdb')]
        done = self.check(NOTHING, 'repair', folder, '--to-dir', target, '--jobs', '2')
        self.assertEqual(sorted(os.listdir(target)), ['a.mdb', 'c.accdb'])
        lines = [line.decode() for line in done.stderr.splitlines() if line.startswith((b'incomplete ', b'nothing '))]
        self.assertEqual(sorted(line.split()[1].rstrip(':') for line in lines), files)
        self.assertEqual(done.stdout.decode().splitlines()[-1], '3 files: 2 incomplete, 1 nothing')
        report = self.json(FAILED, 'repair', *files, self.path('none.mdb'), '--to-dir', target, '-q')
        self.assertEqual([result['result']['exitStatus'] for result in report['results']], [FAILED, NOTHING, FAILED, FAILED])
        self.assertIn('--overwrite', report['results'][0]['result']['error'])
        for words in (('-o', 'x.mdb'), ('--log', 'x'), ('--start', '5'), ('--map', 'x')):
            self.check_refusal(USAGE, 'repair', *files, *words, says=words[0].replace('-o', '--output'))
        self.write('a.mdb', b'')
        self.check_refusal(USAGE, 'repair', files[0], self.path('a.mdb'), '--to-dir', target, says='both')

    @unittest.skipIf(os.geteuid() == 0, 'the superuser can read every file')
    def test_source_without_permission(self):
        os.chmod(self.source, 0)
        self.check_refusal(FAILED, 'repair', self.source, says=(self.source, 'cannot be read'))
        os.chmod(self.source, 0o600)

    def test_places_that_must_not_or_cannot_be_written(self):
        link, hard = self.path('link.mdb'), self.path('hard.mdb')
        os.symlink(self.source, link)
        os.link(self.source, hard)
        template = self.write('template.mdb', read(SAMPLE))
        unfit = self.write('unfit.mdb', read(SAMPLE)[:12 * 4096] + bytes(100 * 4096))
        for path in (self.source, link, hard, os.path.join(self.folder, '.', 'damaged.mdb')):
            self.check_refusal(USAGE, 'repair', self.source, '-o', path, '--overwrite', says=(path, 'damaged file'))
        dead = self.path('dead.mdb')
        os.symlink(self.path('nothing'), dead)
        pipe, database = self.path('pipe'), self.write('other.mdb', b'')
        os.mkfifo(pipe)
        for status, words, says in (
                (FAILED, ('--log', pipe), pipe), (USAGE, ('--map', pipe), 'no blocks'), (USAGE, ('--log', database), 'log'),
                (USAGE, ('--log', 'new.mdb', '-o', 'new.mdb'), 'log'), (USAGE, ('-o', '-'), './-'),
                (FAILED, ('-o', self.path('x' * 300)), 'name'), (USAGE, ('-o', ''), 'empty name'), (FAILED, ('-o', dead), 'exists already'), (FAILED, ('--template', dead), 'link'),
                (USAGE, ('--template', link), 'template'), (USAGE, ('--log', link), 'log'),
                (USAGE, ('--template', template, '-o', template, '--overwrite'), 'template'),
                (NOTHING, ('--template', unfit), 'unfit.mdb: No row of the damaged file fits'),
                (FAILED, ('-o', self.path('no/where.mdb')), 'does not exist'),
                (FAILED, ('-o', self.folder, '--overwrite'), 'folder'), (FAILED, ('-o', '/dev/null', '--overwrite'), 'device'),
                (FAILED, ('-o', '/proc/new.mdb'), '/proc/new.mdb'), (FAILED, ('--work-dir', '/proc/none'), '--work-dir'),
                (FAILED, ('--log', '/proc/none/log'), 'log file')):
            self.check_refusal(status, 'repair', self.source, *words, says=says)
        self.check_refusal(FAILED, 'export', self.source, '--to', '/proc/none', says='/proc/none')
        self.check(INCOMPLETE, 'repair', self.source, '-o', dead, '--overwrite')
        self.assertFalse(os.path.islink(dead) or os.path.exists(self.path('nothing')))
        self.check_refusal(FAILED, 'export', self.source, '--to', self.write('file', b''), says='no folder')

    def test_no_room_fails_and_leaves_nothing(self):
        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (40_000, 40_000))
        self.check_refusal(FAILED, 'repair', self.source, preexec_fn=limit)
        self.assertFalse(os.path.exists(self.path('Tolvane_damaged.mdb')))
        self.check_refusal(FAILED, 'export', self.source, '--to', self.path('all'), preexec_fn=limit)

    def test_input_without_an_end_is_refused_before_it_fills_the_disk(self):
        disk = os.path.join(self.folder, 'disk')
        os.mkdir(disk)
        if subprocess.run(['mount', '-t', 'tmpfs', '-o', 'size=1m', 'tmpfs', disk], stderr=subprocess.DEVNULL).returncode != 0:
            self.skipTest('this user may mount no disk')
        try:
            with open('/dev/zero', 'rb') as zeros:
                self.check_refusal(FAILED, 'tables', '-', '--work-dir', disk, stdin=zeros, says=('standard input', 'half of the room'))
            self.assertEqual(os.listdir(disk), [])
        finally:
            subprocess.run(['umount', '--lazy', disk], check=True)

    def test_interrupt_stops_and_cleans_up(self):
        big = self.write('big.mdb', read(SAMPLE) * 200)
        # A shell that runs the tests in the background has the signal ignored.
        running = subprocess.Popen([TOLVANE, 'repair', big, '--work-dir', self.work], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))
        deadline = time.time() + 30
        while not os.listdir(self.work) and time.time() < deadline:
            time.sleep(0.002)
        running.send_signal(signal.SIGINT)
        messages = running.communicate(timeout=30)[1]
        self.assertEqual(running.returncode, STOPPED, messages)
        self.assertIn(b'Stopped', messages)
        self.assertFalse(os.path.exists(self.path('Tolvane_big.mdb')))

    # --- messages, log, JSON ---

    def test_quiet_verbose_and_log(self):
        self.assertEqual(self.check(INCOMPLETE, 'repair', self.source, '--dry-run', '-q').stderr, b'')
        steps = self.check(INCOMPLETE, 'repair', self.source, '--dry-run').stderr.decode().splitlines()
        self.assertEqual((steps[0], len(steps)), ('Scanning file for table definition...', 4))
        log = self.path('log.txt')
        self.assertIn(b'Saving data for Customers...', self.check(INCOMPLETE, 'repair', self.source, '-v', '--log', log).stderr)
        for word in (b'tolvane ', b'Scanning file for table data...', b'Saving data for Customers...'):
            self.assertIn(word, read(log))

    def test_failures_are_json_too(self):
        report = self.json(FAILED, 'tables', self.path('none.mdb'))
        self.assertEqual([report[key] for key in ('schema', 'command', 'status', 'exitStatus')], [1, 'tables', 'failed', 2])
        self.assertIn('none.mdb', report['error'])

    def test_help_and_version(self):
        self.assertRegex(self.text(DONE, '--version'), r'^tolvane \d+\.\d+\.\d+\nBuild .*\nReads .*Jet 3.*\nWrites .*ACE')
        for words in ([], ['repair'], ['tables'], ['preview'], ['export'], ['inspect'], ['queries'], ['objects'], ['check'], ['engines']):
            done = self.check(DONE, *words, '--help')
            self.assertEqual(done.stderr, b'', words)
            self.assertLess(done.stdout.index(b'Examples:'), done.stdout.index(b'Options:'), words)
        self.check(USAGE)
        self.check(USAGE, 'frob', 'x')
        with open('/dev/full', 'wb') as full:
            self.assertIn(b'full', self.check(FAILED, '--version', stdout=full).stderr)

    def complete(self, *words):
        """What a real bash offers for the last of the words."""
        script = '. <("$0" completion bash); COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _tolvane; printf "%s\\n" "${COMPREPLY[@]}"'
        done = subprocess.run(['bash', '-c', script, TOLVANE, 'tolvane', *words], cwd=self.folder, capture_output=True, check=True)
        self.assertEqual(done.stderr, b'')
        return done.stdout.decode().split('\n')[:-1]

    def test_help_manual_and_completions_know_the_same_commands(self):
        commands = self.complete('')
        self.assertLess({'repair', 'tables', 'help', 'completion'}, set(commands))
        program = self.text(DONE, 'man')
        for command in commands:
            self.assertEqual(self.text(DONE, 'help', command), self.text(DONE, command, '--help'))
            page = self.text(DONE, 'man', command)
            self.assertTrue(page.startswith('.TH TOLVANE-%s 1 ' % command.upper()))
            self.assertIn('tolvane\\-' + command, program)
            for option in self.complete(command, '-'):
                self.assertIn('\\fB%s\\fR' % option.replace('-', '\\-'), page)
        self.assertEqual(self.complete('rep'), ['repair'])
        self.assertEqual(self.complete('repair', '--rules', '=', 'st'), ['standard'])
        self.assertEqual(self.complete('repair', '-q', '-o', 'dam'), ['damaged.mdb'])
        self.assertEqual(self.complete('export', 'dam'), ['damaged.mdb'])
        self.assertEqual(self.complete('repair', '--to-dir', 'w'), ['work'])
        self.assertEqual(self.complete('help', 'tab'), ['tables'])
        self.assertIn(b'frob', self.check(USAGE, 'help', 'frob').stderr)

    def test_a_file_over_2_gib_is_an_image(self):
        self.check(INCOMPLETE, 'repair', self.source, '-o', self.path('new.mdb'), '-q')
        start, image = (2 << 30) + 0x3000, self.path('disk.img')
        with open(image, 'wb') as file:  # sparse
            file.seek(start)
            file.write(read(self.path('new.mdb')))
        found = self.check(INCOMPLETE, 'tables', image, '--json', '--brief')
        self.assertIn(b'longer than 2 GiB', found.stderr)
        facts = json.loads(found.stdout)
        self.assertEqual((facts['source']['start'], len(facts['tables'])), (start, 6))
        self.check_refusal(FAILED, 'check', image, says='--start %d' % start)
        self.assertIn('is consistent', self.text(DONE, 'check', image, '--start', str(start)))

    # What is typed before the tab key, and what must then stand there.
    TYPED = {'rep': 'repair', 'repair --eng': '--engine', 'repair --engine emb': 'embedded', 'export dam': 'damaged.mdb',
             'help tab': 'tables', 'repair --to-dir w': 'work/'}

    @unittest.skipUnless(shutil.which('fish'), 'there is no fish')
    def test_completions_in_fish(self):
        self.write('tolvane.fish', self.check(DONE, 'completion', 'fish').stdout)
        for typed, expected in self.TYPED.items():
            script = 'source tolvane.fish; complete -C "tolvane %s"' % typed
            done = subprocess.run(['fish', '--no-config', '-c', script], cwd=self.folder, capture_output=True, check=True)
            self.assertEqual(done.stdout.decode().split('\t')[0].strip(), expected, typed)

    @unittest.skipUnless(shutil.which('zsh'), 'there is no zsh')
    def test_completions_in_zsh(self):
        self.write('tolvane.zsh', self.check(DONE, 'completion', 'zsh').stdout)
        script = """zmodload zsh/zpty; zpty shell zsh -f -i
            zpty -w shell 'autoload -Uz compinit; compinit -u -D; source tolvane.zsh; print READY$((1+1))'
            zpty -r shell line '*READY2*'
            zpty -w -n shell "$1"$'\\t'
            zpty -r shell line "*$2*"; zpty -d shell"""
        for typed, expected in self.TYPED.items():  # the shell's answer is waited for
            subprocess.run(['zsh', '-f', '-c', script, 'zsh', 'tolvane ' + typed, expected], cwd=self.folder, timeout=60,
                           env=dict(os.environ, TERM='dumb'), check=True)

    # --- showing ---

    def tables(self, *words):
        return self.json(INCOMPLETE, 'tables', self.source, *words)['tables']

    def test_tables_shows_columns_and_indexes(self):
        names = [table['name'] for table in self.tables()]
        self.assertIn('Orders', names)
        self.assertNotIn('MSysObjects', names)
        self.assertIn('MSysObjects', [table['name'] for table in self.tables('--all')])
        text = self.text(INCOMPLETE, 'tables', self.source)
        for table in self.tables():
            for column in table['columns']:
                self.assertIn(column['name'], text)
            self.assertTrue(all(index['columns'] for index in table['indexes']))

    def test_preview_shows_the_first_rows(self):
        table = max(self.tables(), key=lambda table: table['rows'])
        rows = self.json(INCOMPLETE, 'preview', self.source, table['name'], '--rows', '7')['rows']
        self.assertEqual((len(rows), len(rows[0])), (7, len(table['columns'])))
        text = self.text(INCOMPLETE, 'preview', self.source, 'page:%d' % table['page'], '--rows', '7')
        self.assertIn('(7 of %d rows)' % table['rows'], text)
        self.assertEqual(len(text.splitlines()), 10)
        everything = self.json(INCOMPLETE, 'preview', self.source, table['name'], '--rows', '1000000')
        self.assertEqual(len(everything['rows']), table['rows'])
        self.check_refusal(NOTHING, 'preview', self.source, 'no such table', says='no such table')

    def test_values_are_exact_unless_the_standard_rules_are_asked_for(self):
        def first(*words):
            return next(csv.DictReader(io.StringIO(self.text(INCOMPLETE, 'export', self.source, 'Customers', *words), newline='')))
        self.assertEqual(first(), first('--rules', 'exact'))
        self.assertRegex(first()['Since'], r'^\d{4}-\d\d-\d\d$')
        self.assertRegex(first('--rules', 'standard')['Since'], r'^\d\d/\d\d/\d{4} $')
        self.assertRegex(self.text(INCOMPLETE, 'preview', self.source, 'Customers', '--rows', '1'), r' \d{4}-\d\d-\d\d ')

    def test_export_writes_every_row(self):
        tables = {table['name']: table for table in self.tables()}
        folder = self.path('all')
        files = self.json(INCOMPLETE, 'export', self.source, '--to', folder)['files']
        self.assertEqual({file['table']: file['rows'] for file in files}, {name: tables[name]['rows'] for name in tables})
        for file in files:
            table = tables[file['table']]
            rows = list(csv.reader(io.StringIO(read(file['path']).decode(), newline=''), strict=True))
            self.assertEqual(rows[0], [column['name'] for column in table['columns']])
            self.assertEqual(len(rows) - 1, table['rows'])
            self.assertEqual({len(row) for row in rows}, {len(table['columns'])})
        self.check_refusal(FAILED, 'export', self.source, '--to', folder, says='exists already')
        self.check(INCOMPLETE, 'export', self.source, '--to', folder, '--overwrite')

    def test_both_formats_and_all_forms_of_objects_agree(self):
        def as_json(*words):
            text = self.text(INCOMPLETE, 'export', self.source, 'Pictures', '--format', 'jsonl', *words)
            return [json.loads(line) for line in text.split('\n') if line]
        def as_csv(text):
            return list(csv.DictReader(io.StringIO(text, newline=''), strict=True))
        rows = as_csv(self.text(INCOMPLETE, 'export', self.source, 'Pictures'))
        self.assertTrue(rows)
        self.assertEqual([{name: '' if value is None else str(value) for name, value in row.items()} for row in as_json('--ole', 'hex')], rows)
        ole = next(name for name in rows[0] if any(len(row[name]) > 1000 for row in rows))
        objects = [bytes.fromhex(row[ole]) for row in rows]
        self.assertEqual([base64.b64decode(row[ole], validate=True) for row in as_json()], objects)
        self.check(INCOMPLETE, 'export', self.source, 'Pictures', '--to', self.path('files'), '--ole', 'files')
        named = as_csv(read(self.path('files/Pictures.csv')).decode())
        self.assertEqual([read(self.path('files/' + row[ole])) if row[ole] else b'' for row in named], objects)
        self.assertEqual(as_csv(self.text(INCOMPLETE, 'export', self.source, 'Pictures', '--rules', 'standard')), rows)

    def test_all_tables_become_one_database(self):
        tables = {table['name']: table['rows'] for table in self.json(INCOMPLETE, 'tables', self.source)['tables']}
        database = self.path('new.db')
        words = ('export', self.source, '--format', 'sqlite', '-o', database)
        # The portable program, which ldd takes for no program of its kind, loads no libraries.
        loads = subprocess.run(['ldd', TOLVANE], capture_output=True, check=False).returncode == 0
        can_load = loads and ctypes.util.find_library('sqlite3')
        if b'SQLite library' in self.check(INCOMPLETE if can_load else FAILED, *words).stderr:
            self.skipTest('there is no SQLite library')
        self.check_refusal(FAILED, *words, says='exists already')
        report = self.json(INCOMPLETE, *words, '--overwrite')
        self.assertEqual({table['table']: table['rows'] for table in report['tables']}, tables)
        with contextlib.closing(sqlite3.connect(database)) as connection:
            for name, rows in tables.items():
                self.assertEqual(connection.execute('SELECT count(*) FROM "%s"' % name).fetchone(), (rows,))
        size = os.path.getsize(database) - 8192
        limit = functools.partial(resource.setrlimit, resource.RLIMIT_FSIZE, (size, size))
        self.check_refusal(FAILED, *words[:-1], self.path('full'), says='full', preexec_fn=limit)
        self.assertFalse(os.path.exists(self.path('full')))
        self.check_refusal(USAGE, *words, '--rules', 'standard', says='exact rules')

    def test_every_object_is_listed_with_its_state(self):
        def states(path):
            return {entry['name']: entry['state'] for entry in self.json(INCOMPLETE, 'objects', path)['objects']}
        found = states(self.source)
        self.assertEqual((found['Customers'], found['Products']), ('damaged', 'recovered'))
        page = next(t['page'] for t in self.json(INCOMPLETE, 'tables', self.source)['tables'] if t['name'] == 'Products')
        content = bytearray(read(self.source))
        content[4096 * page:4096 * (page + 1)] = bytes(4096)
        self.assertEqual(states(self.write('lost.mdb', content))['Products'], 'lost')

    def test_a_closed_or_full_output_is_an_error(self):
        with open('/dev/full', 'wb') as full:
            done = self.check(FAILED, 'export', self.source, 'Orders', stdout=full)
        self.assertIn(b'not complete', done.stderr)
        reader, writer = os.pipe()
        os.close(reader)
        self.assertEqual(self.check(FAILED, 'tables', self.source, '--json', '-q', stdout=writer).stderr, b'')
        os.close(writer)

    def test_inspect_counts_every_page(self):
        report = self.json(INCOMPLETE, 'inspect', self.source)
        self.assertEqual(sum(kind['pages'] for kind in report['kinds']), report['source']['pages'])
        self.assertGreater(report['badPageCount'], 0)
        self.assertIn('Map', self.text(INCOMPLETE, 'inspect', self.source))

    def test_odd_names_work(self):
        for name in ("f\u00fc \u4e2d's #1 (copy).MDB".encode(), b'bad\xff.mdb'):
            self.check(INCOMPLETE, 'repair', self.write(os.fsdecode(name), read(SAMPLE)))
            self.assertIn(b'Tolvane_' + name, os.listdir(os.fsencode(self.folder)))

    def test_runs_side_by_side_agree(self):
        running = [subprocess.Popen([TOLVANE, 'export', self.source, 'Orders', '--work-dir', self.work], stdout=subprocess.PIPE,
                                    stderr=subprocess.DEVNULL) for _ in range(4)]
        self.assertEqual(len({process.communicate(timeout=60)[0] for process in running}), 1)
        self.assertEqual({process.returncode for process in running}, {INCOMPLETE})


if __name__ == '__main__':
    unittest.main()
