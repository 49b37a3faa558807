#!/usr/bin/env python3
"""Keeps what belongs to a developer's desk out of the project: names of machine folders, references to documents
that are not in the repository, and databases other than the sample that our own code made.

    python3 tests/scripts/check_words.py PROJECT_ROOT

The patterns are put together from pieces so that this file does not hold what it looks for.
"""
import os
import re
import subprocess
import sys

WORDS = {
    'a reference to a document outside the repository':
        r'\bParts?' + r' [1-4]\.[0-9]+\b|\b[Tt]he ' + r'spec(ification)?\b|\bspec' + r'\.md\b|shared/' + r'spec',
    'a path of one machine': r'(^|[^A-Za-z0-9_.])/(' + '|'.join(['wo' + 'rk', 'ro' + 'ot', 'fa' + 'rm', 'ho' + r'me/\w+']) + ')/',
}
DATABASE = re.compile(r'\.(mdb|accdb)$', re.I)
BINARY = re.compile(r'\.(mdb|accdb|png|ico|bin)$', re.I)


def tracked(root):
    listing = subprocess.run(['git', '-C', root, 'ls-files', '-z'], capture_output=True, check=False)
    if listing.returncode == 0:
        return [name for name in listing.stdout.decode('utf-8').split('\0') if name]
    found = []  # an unpacked archive instead of a clone
    for where, folders, names in os.walk(root):
        folders[:] = [folder for folder in folders if folder not in ('build', '.git', '.cache')]
        found += [os.path.relpath(os.path.join(where, name), root) for name in names]
    return found


def breaches_of(root, name):
    if DATABASE.search(name) and not name.startswith('samples/'):
        return [name + ': a database file that does not belong here']
    if BINARY.search(name) or not os.path.isfile(os.path.join(root, name)):
        return []
    with open(os.path.join(root, name), encoding='utf-8', errors='replace') as text:
        return ['%s:%d: %s: %s' % (name, number, what, line.strip()[:100]) for number, line in enumerate(text, 1)
                for what, pattern in WORDS.items() if re.search(pattern, line)]


def main(root):
    files = tracked(root)
    breaches = [breach for name in files for breach in breaches_of(root, name)]
    print('\n'.join(breaches + ['%d files, %d breaches' % (len(files), len(breaches))]))
    return 1 if breaches or not files else 0


if __name__ == '__main__':
    sys.exit(main(sys.argv[1]))
