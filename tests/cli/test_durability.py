#!/usr/bin/env python3
"""Ends the saving of a database early in every way that a user's machine can, and proves what is left: under the final
name a whole database that `tolvane check` accepts or the file that was there before; beside it at most a file whose
name says that it is partial, which the next run removes.

    python3 tests/cli/test_durability.py build/release/tolvane samples/damaged.mdb [-k NAME]
"""
import os
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

from scratch import ScratchTest, read

TOLVANE = os.path.abspath(sys.argv.pop(1))
SAMPLE = os.path.abspath(sys.argv.pop(1))
DONE, FAILED, INCOMPLETE, STOPPED = 0, 2, 3, 130
COPIES = 60  # of the sample, one behind the other: every page counts for the tables of the first
OLD = b'the file that was there before\n' * 100


def length(path):
    try:
        return os.path.getsize(path)
    except FileNotFoundError:  # renamed or removed since it was listed
        return 0


class DurabilityTest(ScratchTest):
    @classmethod
    def setUpClass(cls):
        cls.shared = tempfile.mkdtemp(prefix='tolvane-test-')
        cls.addClassCleanup(shutil.rmtree, cls.shared, ignore_errors=True)
        cls.source, whole = os.path.join(cls.shared, 'damaged.mdb'), os.path.join(cls.shared, 'whole.mdb')
        with open(cls.source, 'wb') as big:
            big.write(read(SAMPLE) * COPIES)
        subprocess.run([TOLVANE, 'repair', cls.source, '-o', whole, '-q', '--work-dir', cls.shared], check=False,
                       stdout=subprocess.DEVNULL)
        cls.whole_size = length(whole)

    def setUp(self):
        super().setUp()
        self.work, self.place = self.path('work'), self.path('place')
        os.mkdir(self.work)
        os.mkdir(self.place)

    def tearDown(self):
        self.assertTrue(read(self.source) == read(SAMPLE) * COPIES, 'the source was changed')

    @property
    def output(self):
        return os.path.join(self.place, 'new.mdb')

    def put_old(self):
        with open(self.output, 'wb') as file:
            file.write(OLD)

    def start(self, *words, **options):
        return subprocess.Popen([TOLVANE, 'repair', self.source, '-o', self.output, '--work-dir', self.work, *words],
                                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, **options)

    def run_to_end(self, status, *words, **options):
        running = self.start(*words, **options)
        messages = running.communicate(timeout=120)[1].decode()
        self.assertEqual(running.returncode, status, messages)
        return messages

    def partials(self):
        return [name for name in os.listdir(self.place) if name.endswith('.partial')]

    def check_output(self, old):
        """Under the final name: nothing, the old file, or a whole database. True for the last."""
        if not os.path.exists(self.output):
            self.assertIsNone(old, 'the old file is gone')
            return False
        if old and read(self.output) == old:
            return False
        self.assertEqual(length(self.output), self.whole_size)
        checked = subprocess.run([TOLVANE, 'check', self.output], capture_output=True, timeout=120, check=False)
        self.assertEqual(checked.returncode, DONE, checked.stdout[-500:])
        return True

    def wait_for_size(self, running, size):
        """Until the partial file has that size, or the program has ended."""
        deadline = time.time() + 120
        while running.poll() is None and time.time() < deadline:
            if any(length(os.path.join(self.place, name)) >= size for name in self.partials()):
                return
            time.sleep(0.0005)

    def test_killed_at_any_moment(self):
        for old in (None, OLD):
            for step in range(12):
                if old:
                    self.put_old()
                running = self.start(*(['--overwrite'] if old else []))
                self.wait_for_size(running, self.whole_size * step // 10)
                running.kill()
                running.communicate()
                if self.check_output(old):  # that run had come to its end
                    os.remove(self.output)
                # What earlier runs left is gone, and what this one left names the output.
                self.assertLessEqual(len(self.partials()), 1)
                self.assertTrue(all(name.startswith('new.mdb.tolvane-') for name in self.partials()))
        self.run_to_end(INCOMPLETE, '--overwrite')
        self.assertEqual(self.partials() + os.listdir(self.work), [])

    def test_only_what_dead_runs_to_the_same_output_left_is_removed(self):
        dead, alive, other = ('%s.tolvane-%d-0123456789abcdef.partial' % file for file in (
            ('new.mdb', 4000000000), ('new.mdb', os.getpid()), ('other.mdb', 4000000000)))
        for name in (dead, alive, other):
            open(os.path.join(self.place, name), 'wb').close()
        self.assertIn(dead + ': Removed', self.run_to_end(INCOMPLETE))
        self.assertEqual(sorted(self.partials()), sorted((alive, other)))
        self.assertEqual(os.listdir(self.work), [])

    def test_files_that_may_not_grow(self):
        def limit(size):  # the signal keeps its default, which would end the program without a word
            return lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))
        self.put_old()
        for step in range(8):
            message = self.run_to_end(FAILED, '-q', '--overwrite', preexec_fn=limit(self.whole_size * step // 8))
            self.assertRegex(message, r'^[^\n]+\n$')
            self.assertEqual(self.partials() + os.listdir(self.work), [])
            self.check_output(OLD)
        self.run_to_end(INCOMPLETE, '-q', '--overwrite', preexec_fn=limit(self.whole_size))
        self.assertTrue(self.check_output(OLD))

    def test_interrupted_while_saving(self):
        self.put_old()
        for number, share in ((signal.SIGINT, 0.2), (signal.SIGTERM, 0.5), (signal.SIGHUP, 0.8)):
            running = self.start('--overwrite', preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))
            self.wait_for_size(running, int(self.whole_size * share))
            running.send_signal(number)
            messages = running.communicate(timeout=60)[1]
            self.assertIn(running.returncode, (STOPPED, INCOMPLETE), messages)
            self.assertEqual(self.partials(), [])
            self.check_output(OLD)


if __name__ == '__main__':
    unittest.main()
