"""What the corpus tests share: the folder of real files, running the program, comparing rows as multisets, and the
table that each test prints."""
import argparse
import collections
import itertools
import json
import os
import subprocess
import sys

import pages
import readers

SKIPPED = 77  # told to ctest
HERE = os.path.dirname(os.path.abspath(__file__))


def arguments(description, needs_corpus=True, flags=None):
    """Parses the command line; ends with SKIPPED and a reason where something is missing. `flags` are a script's own
    options without a value, each with its help."""
    parser = argparse.ArgumentParser(description=description, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--tolvane', required=True, help='the program')
    parser.add_argument('--corpus', help='folder of real databases (default: TOLVANE_CORPUS, else ../shared/corpus)')
    parser.add_argument('--only', default='', help='files whose path holds this text')
    parser.add_argument('--make-sample', help='the generator of the bundled sample; its healthy form is used as well')
    for flag, text in (flags or {}).items():
        parser.add_argument(flag, action='store_true', help=text)
    found = parser.parse_args()
    found.tolvane = os.path.abspath(found.tolvane)
    found.corpus = found.corpus or os.environ.get('TOLVANE_CORPUS') or os.path.join(
        HERE, '..', '..', '..', 'shared', 'corpus')
    if needs_corpus and not os.path.isdir(found.corpus) and not found.make_sample:
        print('skipped: no folder of real databases at %s' % found.corpus)
        sys.exit(SKIPPED)
    lacks = readers.missing()
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


def tolvane(options, *command, good=(0, 3), limit=120):
    """Standard output of the program; Failure when it ends in any other way than promised."""
    try:
        done = subprocess.run([options.tolvane, *command], stdin=subprocess.DEVNULL, capture_output=True,
                              timeout=limit, check=False)
    except subprocess.TimeoutExpired:
        raise Failure('tolvane %s: no end after %d s' % (command[0], limit)) from None
    if done.returncode not in good:
        raise Failure('tolvane %s: status %d: %s' % (
            command[0], done.returncode, done.stderr.decode('utf-8', 'replace').strip()[-400:]))
    return done.stdout


class Failure(Exception):
    """The program did not do what it must."""


class Verdict:
    """Collects what one file's comparison found."""

    def __init__(self):
        self.tables = self.rows = self.cells = 0
        self.rules = collections.Counter()  # documented difference -> how often
        self.errors = []

    def note(self, rule, times=1):
        self.rules[rule] += times

    def error(self, text):
        self.errors.append(text)


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


def pick(row, keep):
    return [row[i] for i in keep]


def first_difference(missing, extra):
    """A short text about two multisets that should have been the same."""
    if missing and extra:
        lost = next(iter(missing))
        nearest = min(extra, key=lambda row: sum(a != b for a, b in zip(row, lost)))
        cells = ['%d: %.60r for %.60r' % (i, b, a) for i, (a, b) in enumerate(zip(lost, nearest)) if a != b]
        return 'column ' + '; '.join(cells[:3])
    row = next(iter(missing or extra))
    return ('missing ' if missing else 'not in the source: ') + repr(row)[:160]


class Report:
    """Prints a line a file and, at the end, the rules that were needed."""

    def __init__(self, title):
        self.title, self.failed, self.files = title, 0, 0
        self.rules = collections.Counter()
        print('%-46s %7s %7s %9s  %s' % (title, 'tables', 'rows', 'cells', 'result'))

    def add(self, name, verdict):
        self.files += 1
        self.rules.update(verdict.rules)
        result = 'same' if not verdict.rules else 'same by the rules'
        if verdict.errors:
            self.failed += 1
            result = 'DIFFERENT'
        print('%-46s %7d %7d %9d  %s' % (name, verdict.tables, verdict.rows, verdict.cells, result))
        for error in verdict.errors[:12]:
            print('    ' + error)
        sys.stdout.flush()

    def judge(self, name, compare):
        """Adds the verdict that compare() answers; when it cannot, that is an error of the file."""
        try:
            verdict = compare()
        except Failure as failure:
            verdict = Verdict()
            verdict.error(str(failure))
        self.add(name, verdict)

    def end(self):
        if self.rules:
            print('\nDifferences that follow from the documented rules:')
            for rule, count in sorted(self.rules.items()):
                print('%8d  %s' % (count, rule))
        print('\n%d files, %d with unexplained differences' % (self.files, self.failed))
        if self.files == 0:
            print('no file was compared')
        return 1 if self.failed or self.files == 0 else 0


def open_pages(path):
    """Pages of a healthy file, or None when it is encrypted."""
    healthy = pages.Pages(path)
    return None if healthy.is_encrypted() else healthy


def parse_json_lines(output):
    return [json.loads(line) for line in output.decode('utf-8').split('\n') if line]
