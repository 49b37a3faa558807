#!/usr/bin/env python3
"""Lets the file calls of the program fail one after the other, once and for good, changes the source under it and kills it,
and proves what is left: each file whole under its name, or as it was before; one message; nothing temporary.

    python3 tests/cli/test_faults.py build/release/tolvane samples/damaged.mdb FAULTS.so WINDOW_RUN [--long=CALLS]

--long walks through so many calls of each kind, spread evenly (0: all), kills 500 times and prints a table.
"""
import collections
import errno
import functools
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import time
import unittest

from scratch import ScratchTest, read

TOLVANE, SAMPLE, FAULTS, WINDOW = (os.path.abspath(sys.argv.pop(1)) for _ in range(4))
LONG = next((int(word[7:]) for word in sys.argv if word.startswith('--long=')), None)
IS_LONG = LONG is not None
sys.argv = [word for word in sys.argv if not word.startswith('--long=')]
DONE, FAILED, INCOMPLETE, NOTHING, STOPPED = 0, 2, 3, 4, 130
OLD = b'the file that was there before\n'
COMMANDS = {
    'repair': ('repair', '{source}', '-o', '{place}/new.mdb', '--overwrite', '--reproducible', '--report', '{place}/new.html'),
    'export': ('export', '{source}', '--to', '{place}', '--ole', 'files', '--overwrite'),
    'sql': ('export', '{source}', '--format', 'sql', '-o', '{place}/new.sql', '--overwrite'),
    'sqlite': ('export', '{source}', '--format', 'sqlite', '-o', '{place}/new.db', '--overwrite'),
    'check': ('check', '{source}'),
    'window': ('{source}', '{place}/new.mdb', '{place}/new.html'),
}
ERRORS = {'open': errno.EMFILE, 'make': errno.ENOSPC, 'write': errno.ENOSPC}  # else EIO
KINDS = ('open', 'make', 'read', 'short', 'write', 'sync', 'rename', 'remove', 'list')


class FaultTest(ScratchTest):
    def setUp(self):
        super().setUp()
        self.work, self.place = self.path('work'), self.path('place')
        for folder in (self.work, self.place):
            os.mkdir(folder)
        self.source = self.path('source.mdb')
        self.run_tool('repair', SAMPLE, '-o', self.source, '--work-dir', self.work, '--reproducible', '-q')
        self.healthy = read(self.source)

    def run_tool(self, *words, fault='', log='', below=''):
        environment = dict(os.environ, LD_PRELOAD=FAULTS, TOLVANE_FAULT_FOLDER=below or self.folder, TOLVANE_FAULT=fault,
                           TOLVANE_FAULT_LOG=log)
        program = WINDOW if words[0] == self.source else TOLVANE
        done = subprocess.run([program, *words], env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.PIPE, timeout=120, check=False)
        return done.returncode, done.stderr.decode()

    def words(self, command):
        words = [word.format(source=self.source, place=self.place) for word in COMMANDS[command]]
        if command == 'window':
            return words + [self.work]
        return words + ['-q'] + (['--work-dir', self.work] if command != 'check' else [])

    def results(self):
        found = {}
        for folder, _, names in os.walk(self.place):
            for name in names:
                path = os.path.join(folder, name)
                found[os.path.relpath(path, self.place)] = read(path)
        return found

    def is_whole(self, name, content, wanted, command):
        if content is None or command != 'window' or name != 'new.mdb' or content == wanted:
            return content == wanted
        return self.dateless(content) == self.dateless(wanted)

    @functools.lru_cache(4)
    def dateless(self, content):
        """A database that the window saved bears the time."""
        database, again = self.write('dated.mdb', content), self.path('dateless.mdb')
        self.assertEqual(self.run_tool('repair', database, '-o', again, '--overwrite', '--reproducible', '-q'), (DONE, ''))
        return read(again)

    def leftovers(self):
        return [name for name in self.results() if '.partial' in name] + os.listdir(self.work)

    def reference(self, command):
        """What a run without a fault leaves, and its calls by their kinds."""
        shutil.rmtree(self.place)
        os.mkdir(self.place)
        log = self.path('calls')
        open(log, 'w').close()
        self.assertEqual(self.run_tool(*self.words(command), log=log), (DONE, ''))
        with open(log, encoding='utf-8') as file:
            calls = [line.rstrip('\n').split('\t') for line in file]
        self.assertEqual(self.leftovers(), [])
        return self.results(), calls

    def put_old(self, results):
        for name in self.results():
            if name not in results:
                os.remove(os.path.join(self.place, name))
        for name in results:
            with open(os.path.join(self.place, name), 'wb') as file:
                file.write(OLD)

    def judge(self, status, messages, results, context, command):
        """Every file is whole or the old one; what a status says is true."""
        self.assertIn(status, (DONE, FAILED, INCOMPLETE, NOTHING), (context, messages))
        found = {name: content for name, content in self.results().items() if '.partial' not in name}
        for name, content in results.items():
            if name.endswith('.html'):  # tells of this run, whatever came of it
                self.assertTrue(found[name] == OLD or found[name].endswith(b'</html>\n'), context)
            elif status == DONE:
                self.assertTrue(self.is_whole(name, found[name], content, command), (context, name, 'is not what it should be'))
            elif found.get(name) != OLD and not self.is_whole(name, found.get(name), content, command):
                self.assertEqual(status, INCOMPLETE, (context, name, 'is neither old nor whole', messages))
        if status == INCOMPLETE and found.get('new.mdb', OLD) not in (OLD, results.get('new.mdb')):
            checked = self.run_tool('check', os.path.join(self.place, 'new.mdb'), '-q')
            self.assertEqual(checked, (DONE, ''), context)
        if status in (FAILED, NOTHING):
            self.assertRegex(messages, r'^(tolvane: [^\n]*\n)+$', context)
            self.assertIn(self.folder, messages, context)

    def walk(self, command, kind, numbers, results, counts):
        for number, how in numbers:
            with self.subTest(command=command, kind=kind, number=number, how=how):
                self.put_old(results)
                fault = '%s:%d:%s:%d' % (kind, number, how, ERRORS.get(kind, errno.EIO))
                status, messages = self.run_tool(*self.words(command), fault=fault)
                counts[status] += 1
                try:
                    self.judge(status, messages, results, fault, command)
                except AssertionError as error:
                    print(command, fault, error, flush=True)
                    raise
                if kind == 'short':
                    self.assertEqual((status, messages), (DONE, ''))
                if kind not in ('remove', 'list'):
                    self.assertEqual(self.leftovers(), [])
                elif self.leftovers():  # what could not be removed the next run removes
                    self.run_tool(*self.words(command))
                    self.assertEqual(self.leftovers(), [])
                self.assertTrue(read(self.source) == self.healthy)

    def choose(self, count, limit):
        """Numbers of calls, and whether they fail once or from then on."""
        limit = LONG or (count if IS_LONG else limit)
        spread = sorted({1, count} | {1 + count * i // limit for i in range(1, limit)} if count else ())
        if IS_LONG:
            return [(number, how) for number in spread for how in ('once', 'ever')]
        return [(number, how) for i, number in enumerate(spread) for how in (('once', 'ever')[i % 2],)]

    def test_each_call_may_fail(self):
        for command in COMMANDS:
            results, calls = self.reference(command)
            number = collections.Counter(call[0] for call in calls)
            number['short'] = number['read'] + number['write']
            for kind in KINDS:
                counts = collections.Counter()
                self.walk(command, kind, self.choose(number[kind], 4), results, counts)
                if IS_LONG:
                    print('%-8s %-8s %5d calls' % (command, kind, number[kind]), dict(sorted(counts.items())), flush=True)

    def test_nothing_has_its_name_before_it_is_on_the_disk(self):
        for command in COMMANDS:
            unsafe, renamed = set(), []
            for kind, path, *more in self.reference(command)[1]:
                if not path.startswith(self.place):
                    continue
                if kind in ('write', 'make'):
                    unsafe.add(path)
                elif kind == 'sync':
                    unsafe -= {name for name in unsafe if name == path or (more and name.startswith(path + '/'))}
                elif kind == 'rename':
                    self.assertEqual([name for name in unsafe if name.startswith(path)], [], (command, more))
                    renamed += more
            self.assertEqual(bool(renamed), command != 'check')
            self.assertTrue(all('.partial' not in path for path in renamed))

    def test_a_source_that_changes_is_told(self):
        for command in COMMANDS:
            results, calls = self.reference(command)
            count = sum(kind == 'read' and path == self.source for kind, path, *_ in calls)
            for kind in ('shrink', 'change', 'vanish'):
                for number in range(2, count + 1, 1 + count // (LONG or count)) if IS_LONG else {2, count // 2 + 1}:
                    self.put_old(results)
                    status, messages = self.run_tool(*self.words(command), fault='%s:%d:once:0' % (kind, number),
                                                     below=self.source)
                    context = (command, kind, number, messages)
                    with open(self.source, 'wb') as file:
                        file.write(self.healthy)
                    self.judge(status, messages, results, context, command)
                    # What is open can be read to its end; the window looks at pages again for its map alone.
                    if kind != 'vanish' and command != 'window':
                        self.assertNotEqual(status, DONE, context)
                    self.assertEqual(self.leftovers(), [], context)

    def test_a_slow_disk_can_be_left_at_any_moment(self):
        for command in COMMANDS:
            if command == 'window':
                continue
            results, calls = self.reference(command)
            count = sum(kind in ('read', 'write', 'sync') for kind, *_ in calls)
            for number in range(5, count - 5, 1 + count // LONG if LONG else 60) if IS_LONG else (5,):
                self.put_old(results)
                environment = dict(os.environ, LD_PRELOAD=FAULTS, TOLVANE_FAULT_FOLDER=self.folder,
                                   TOLVANE_FAULT='slow:%d:ever:400' % number)
                with subprocess.Popen([TOLVANE, *self.words(command)], env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                                      preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL)) as running:
                    time.sleep(1)
                    running.send_signal(signal.SIGINT)
                    messages = running.communicate(timeout=60)[1]  # of several minutes
                self.assertEqual((running.returncode, messages.count(b'Stopped')), (STOPPED, 1), (command, number, messages))
                self.assertTrue(all(content in (OLD, results[name]) for name, content in self.results().items()), (command, number))
                self.assertEqual(self.leftovers(), [], (command, number))

    def test_killed_at_any_moment(self):
        chance = random.Random(7)
        for command in ('repair', 'export', 'sqlite'):
            results, _ = self.reference(command)
            started = time.time()
            self.run_tool(*self.words(command))
            whole = time.time() - started
            for _ in range(167 if IS_LONG else 4):
                self.put_old(results)
                with subprocess.Popen([TOLVANE, *self.words(command)], stdout=subprocess.DEVNULL,
                                      stderr=subprocess.DEVNULL) as running:
                    time.sleep(chance.random() * whole)
                    running.kill()
                found = self.results()
                self.assertTrue(all(found[name] in (OLD, content) for name, content in results.items()), command)
                self.assertTrue(all(re.search(r'\.tolvane-\d+-[0-9a-f]+\.partial', name) for name in set(found) - set(results)))
            self.assertEqual(self.run_tool(*self.words(command)), (DONE, ''))
            self.assertEqual(self.leftovers(), [])


if __name__ == '__main__':
    unittest.main()
