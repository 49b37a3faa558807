#!/usr/bin/env python3
"""Ends the saving of a database early in every way that a user's machine can, and proves what is left: under the final
name a whole database that `tolvane check` accepts or the file that was there before; beside it at most a file whose
name says that it is partial, which the next run removes.

    python3 tests/cli/test_durability.py build/release/tolvane samples/damaged.mdb [-k NAME]
"""
import hashlib
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
DONE, FAILED, INCOMPLETE, STOPPED = 0, 2, 3, 130
COPIES = 60  # of the sample, one behind the other: every page counts for the tables of the first
OLD = b'the file that was there before\n' * 100


def digest(path):
    with open(path, 'rb') as file:
        return hashlib.sha256(file.read()).digest()


def length(path):
    try:
        return os.path.getsize(path)
    except FileNotFoundError:  # renamed or removed since it was listed
        return 0


class DurabilityTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.shared = tempfile.mkdtemp(prefix='tolvane-test-')
        cls.source = os.path.join(cls.shared, 'damaged.mdb')
        with open(SAMPLE, 'rb') as sample, open(cls.source, 'wb') as big:
            big.write(sample.read() * COPIES)
        cls.before = digest(cls.source)
        cls.whole = os.path.join(cls.shared, 'whole.mdb')
        subprocess.run([TOLVANE, 'repair', cls.source, '-o', cls.whole, '-q', '--work-dir', cls.shared], check=False,
                       stdout=subprocess.DEVNULL)
        cls.whole_size = os.path.getsize(cls.whole)

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.shared, ignore_errors=True)

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix='tolvane-test-')
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.work = os.path.join(self.folder, 'work')
        self.place = os.path.join(self.folder, 'place')
        os.mkdir(self.work)
        os.mkdir(self.place)
        self.use_place(self.place)

    def tearDown(self):
        self.assertEqual(digest(self.source), self.before, 'the source was changed')

    def use_place(self, folder):
        self.place, self.output = folder, os.path.join(folder, 'new.mdb')

    def command(self, *words):
        return [TOLVANE, 'repair', self.source, '-o', self.output, '--work-dir', self.work, *words]

    def start(self, *words, **options):
        return subprocess.Popen(self.command(*words), stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                stderr=subprocess.PIPE, **options)

    def partials(self):
        return [name for name in os.listdir(self.place) if name.endswith('.partial')]

    def check_output(self, old):
        """Under the final name: nothing, the old file, or a whole database."""
        if not os.path.exists(self.output):
            self.assertIsNone(old, 'the old file is gone')
            return
        if old is not None and digest(self.output) == hashlib.sha256(old).digest():
            return
        self.assertEqual(length(self.output), self.whole_size)
        checked = subprocess.run([TOLVANE, 'check', self.output], capture_output=True, timeout=120, check=False)
        self.assertEqual(checked.returncode, DONE, checked.stdout[-500:])

    def wait_for_size(self, running, size):
        """Until the partial file has that size, or the program has ended."""
        deadline = time.time() + 120
        while running.poll() is None and time.time() < deadline:
            if any(length(os.path.join(self.place, name)) >= size for name in self.partials()):
                return
            time.sleep(0.0005)

    def test_killed_at_any_moment(self):
        for old in (None, OLD):
            if old is not None:
                with open(self.output, 'wb') as file:
                    file.write(old)
            for step in range(12):
                running = self.start(*(['--overwrite'] if old else []))
                self.wait_for_size(running, self.whole_size * step // 10)
                running.kill()
                running.communicate()
                self.check_output(old)
                # What earlier runs left is gone, and what this one left names the output.
                self.assertLessEqual(len(self.partials()), 1)
                self.assertTrue(all(name.startswith('new.mdb.tolvane-') for name in self.partials()))
                if os.path.exists(self.output) and digest(self.output) != hashlib.sha256(OLD).digest():
                    os.remove(self.output)  # that run had come to its end
                    if old:
                        break
            alive = os.path.join(self.place, 'new.mdb.tolvane-%d-0123456789abcdef.partial' % os.getpid())
            other = os.path.join(self.place, 'other.mdb.tolvane-4000000000-0123456789abcdef.partial')
            dead = os.path.join(self.place, 'new.mdb.tolvane-4000000000-0123456789abcdef.partial')
            for path in (alive, other, dead):
                open(path, 'wb').close()
            done = subprocess.run(self.command('--overwrite'), capture_output=True, timeout=120, check=False)
            self.assertEqual(done.returncode, INCOMPLETE, done.stderr)
            self.assertIn(os.path.basename(dead).encode() + b': Removed', done.stderr)
            self.assertEqual(sorted(self.partials()), sorted(map(os.path.basename, (alive, other))))
            self.check_output(None)
            for path in (alive, other, self.output):
                os.remove(path)
        self.assertEqual([name for name in os.listdir(self.work) if name.startswith('run-')], [])

    def check_failure(self, done, *says):
        self.assertEqual(done.returncode, FAILED, done.stderr)
        lines = done.stderr.decode().splitlines()
        self.assertEqual(len(lines), 1, lines)
        for word in says:
            self.assertIn(word, lines[0])
        self.assertEqual(self.partials(), [])
        self.assertEqual(os.listdir(self.work), [])

    def run_quietly(self, *words, **options):
        return subprocess.run(self.command('-q', *words), capture_output=True, timeout=120, check=False, **options)

    def test_files_that_may_not_grow(self):
        with open(self.output, 'wb') as file:
            file.write(OLD)
        for step in range(8):
            limit = self.whole_size * step // 8
            # The signal keeps its default, which would end the program without a word.
            done = self.run_quietly('--overwrite', preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))
            self.check_failure(done)
            self.check_output(OLD)
        done = self.run_quietly('--overwrite', preexec_fn=lambda: resource.setrlimit(
            resource.RLIMIT_FSIZE, (self.whole_size, self.whole_size)))
        self.assertEqual(done.returncode, INCOMPLETE, done.stderr)
        self.check_output(None)

    def test_full_disk(self):
        mount = os.path.join(self.folder, 'mount')
        os.mkdir(mount)
        for step in (0, 1, 3, 5, 7):
            kib = max(self.whole_size * step // 8 // 1024, 4)
            mounted = subprocess.run(['mount', '-t', 'tmpfs', '-o', 'size=%dk' % kib, 'tmpfs', mount], capture_output=True, check=False)
            if mounted.returncode != 0:
                self.skipTest('no small disk can be mounted: ' + mounted.stderr.decode().strip())
            try:
                self.use_place(mount)
                self.check_failure(self.run_quietly(), self.output, 'disk is full', '-o')
                self.check_output(None)
            finally:
                subprocess.run(['umount', mount], check=False)

    def test_interrupted_while_saving(self):
        with open(self.output, 'wb') as file:
            file.write(OLD)
        for number, share in ((signal.SIGINT, 0.2), (signal.SIGTERM, 0.5), (signal.SIGHUP, 0.8)):
            running = self.start('--overwrite', preexec_fn=lambda: signal.signal(signal.SIGINT, signal.default_int_handler))
            self.wait_for_size(running, int(self.whole_size * share))
            running.send_signal(number)
            _, messages = running.communicate(timeout=60)
            self.assertIn(running.returncode, (STOPPED, INCOMPLETE), messages)
            self.assertEqual(self.partials(), [])
            self.check_output(OLD)


if __name__ == '__main__':
    unittest.main()
