"""What the corpus tests share: the folder of real files, running the program, comparing rows as multisets, and the
table that each test prints."""
import argparse
import collections
import itertools
import json
import os
import subprocess
import sys
import tempfile

import pages
import readers

SKIPPED = 77  # told to ctest
STANDARD, EXACT = ('--rules', 'standard'), ('--rules', 'exact')  # what a comparison expects
ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..')


class Failure(Exception):
    """The program did not do what it must."""


def arguments(description):
    """Parses the command line; ends with SKIPPED and a reason where something is missing."""
    parser = argparse.ArgumentParser(description=description, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--tolvane', required=True, help='the program', type=os.path.abspath)
    parser.add_argument('--corpus', help='folder of real databases (default: TOLVANE_CORPUS, else ../shared/corpus)',
                        default=os.environ.get('TOLVANE_CORPUS') or os.path.join(ROOT, '..', 'shared', 'corpus'))
    parser.add_argument('--only', default='', help='files whose path holds this text')
    parser.add_argument('--make-sample', help='the generator of the bundled sample')
    found = parser.parse_args()
    lacks = readers.missing()
    if not os.path.isdir(found.corpus) and not found.make_sample:
        lacks = 'a folder of real databases at ' + found.corpus
    if lacks:
        print('skipped: missing ' + lacks)
        sys.exit(SKIPPED)
    return found


def databases(options):
    """(path, short name) of every database of the corpus, in a fixed order."""
    for where, folders, names in os.walk(options.corpus):
        folders.sort()
        for name in sorted(names):
            path = os.path.join(where, name)
            short = os.path.relpath(path, options.corpus)
            if name.lower().endswith(('.mdb', '.accdb')) and options.only in short:
                yield path, short


def tolvane(options, *command, good=(0, 3)):
    """Standard output of the program; Failure when it ends in any other way than promised."""
    try:
        done = subprocess.run([options.tolvane, *command], stdin=subprocess.DEVNULL, capture_output=True, timeout=120,
                              check=False)
    except subprocess.TimeoutExpired as hang:
        raise Failure('tolvane %s: no end after %d s' % (command[0], hang.timeout)) from None
    if done.returncode not in good:
        raise Failure('tolvane %s: status %d: %s' % (
            command[0], done.returncode, done.stderr.decode('utf-8', 'replace').strip()[-400:]))
    return done.stdout


def repair(options, source, name='output', *more):
    """Repairs a file and proves the new database with `tolvane check`: its path, and what the repair told."""
    output = os.path.join(options.folder, name + os.path.splitext(source)[1])
    told = json.loads(tolvane(options, 'repair', source, '-o', output, '--overwrite', '--json', *more))
    tolvane(options, 'check', output, good=(0,))
    return output, told


def open_pages(path):
    """Pages of a healthy file, or None when it is encrypted."""
    healthy = pages.Pages(path)
    return None if healthy.is_encrypted() else healthy


class Damage:
    """A damaged copy of a healthy file and the pages that were touched."""

    def __init__(self, healthy):
        self.healthy, self.size, self.bytes, self.touched = healthy, healthy.size, bytearray(healthy.data), set()

    def become(self, path):
        """A damaged copy that was made elsewhere."""
        with open(path, 'rb') as file:
            self.bytes = file.read()
        self.touched = {n for n in range(self.healthy.count)
                        if self.healthy.page(n) != self.bytes[n * self.size:(n + 1) * self.size]}

    def zero(self, numbers):
        for number in numbers:
            self.bytes[number * self.size:(number + 1) * self.size] = bytes(self.size)
            self.touched.add(number)

    def save(self, options, source):
        """Writes the copy and answers its path; `source` gives the ending."""
        path = os.path.join(options.folder, 'damaged' + os.path.splitext(source)[1])
        with open(path, 'wb') as file:
            file.write(self.bytes)
        return path


def differences(want, have):
    """(missing, extra) as multisets of rows. `want` holds a tuple of acceptable values for each cell, `have` values."""
    have = collections.Counter(tuple(row) for row in have)
    missing = collections.Counter()
    for cells in want:
        for row in itertools.product(*cells):
            if have[row] > 0:
                have[row] -= 1
                break
        else:
            missing[tuple(cell[0] for cell in cells)] += 1
    return missing, +have


def first_difference(missing, extra):
    """A short text about two multisets that should have been the same."""
    if missing and extra:
        lost = next(iter(missing))
        nearest = min(extra, key=lambda row: sum(a != b for a, b in zip(row, lost)))
        cells = ['%d: %.60r for %.60r' % (i, b, a) for i, (a, b) in enumerate(zip(lost, nearest)) if a != b]
        return 'column ' + '; '.join(cells[:3])
    row = next(iter(missing or extra))
    return ('missing ' if missing else 'not in the source: ') + repr(row)[:160]


class Verdict:
    """Collects what one comparison found."""

    def __init__(self):
        self.tables = self.rows = self.cells = 0
        self.rules = collections.Counter()  # documented difference -> how often
        self.errors = []

    def note(self, rule, times=1):
        self.rules[rule] += times

    def error(self, text):
        self.errors.append(text)


class Report:
    """Prints a line a comparison and, at the end, the rules that were needed."""

    def __init__(self, title):
        self.failed, self.files = 0, 0
        self.rules = collections.Counter()
        print('%-46s %7s %7s %9s  %s' % (title, 'tables', 'rows', 'cells', 'result'))

    def judge(self, name, check):
        """Adds the line of what check(verdict) finds; none when it answers False."""
        verdict = Verdict()
        try:
            if check(verdict) is False:
                return
        except Failure as failure:
            verdict.error(str(failure))
        self.files += 1
        self.failed += bool(verdict.errors)
        self.rules.update(verdict.rules)
        result = 'DIFFERENT' if verdict.errors else 'same by the rules' if verdict.rules else 'same'
        print('%-46s %7d %7d %9d  %s' % (name, verdict.tables, verdict.rows, verdict.cells, result))
        for error in verdict.errors[:12]:
            print('    ' + error)
        sys.stdout.flush()

    def end(self):
        if self.rules:
            print('\nDifferences that follow from the documented rules:')
            for rule, count in sorted(self.rules.items()):
                print('%8d  %s' % (count, rule))
        print('\n%d files, %d with unexplained differences' % (self.files, self.failed))
        return 1 if self.failed or self.files == 0 else 0


def main(description, title, judge):
    """The whole of a script: judge(options, report, path, short) for each file. Answers the exit status."""
    options, report = arguments(description), Report(title)
    with tempfile.TemporaryDirectory(prefix='tolvane-') as options.folder:
        for path, short in databases(options):
            judge(options, report, path, short)
    return report.end()


def each(check):
    """Has main() judge each file by check(options, path, healthy, verdict); of encrypted ones nothing can be said."""
    def judge(options, report, path, short):
        def judged(verdict):
            healthy = open_pages(path)
            if healthy is None:
                tolvane(options, 'inspect', path, good=(0, 2, 3, 4))
                verdict.note('encrypted file: nothing to compare')
                return None
            return check(options, path, healthy, verdict)
        report.judge(short, judged)
    return judge
