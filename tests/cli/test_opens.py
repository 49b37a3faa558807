#!/usr/bin/env python3
"""A run opens the damaged file once and the template once.

    python3 tests/cli/test_opens.py build/release/tolvane samples/damaged.mdb
"""
import os
import shutil
import subprocess
import sys
import tempfile

tolvane, sample = (os.path.abspath(path) for path in sys.argv[1:3])
if not shutil.which('strace'):
    print('skipped: there is no strace here')
    sys.exit(77)
with tempfile.TemporaryDirectory(prefix='tolvane-opens-') as folder:
    source, template, trace = (os.path.join(folder, name) for name in ('source.mdb', 'template.mdb', 'trace'))
    shutil.copy(sample, source)
    shutil.copy(sample, template)
    for words in (['inspect', source], ['tables', source], ['repair', source, '-o', os.path.join(folder, 'a.mdb')],
                  ['repair', source, '--template', template, '-o', os.path.join(folder, 'b.mdb')]):
        traced = subprocess.run(['strace', '-f', '-e', 'trace=open,openat', '-o', trace, tolvane, *words, '-q'],
                                stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, check=False)
        if not os.path.exists(trace) or traced.returncode not in (0, 3):
            print('skipped: no program can be traced here:', traced.stderr.decode()[-200:])
            sys.exit(77)
        with open(trace, encoding='utf-8', errors='replace') as lines:
            calls = [line for line in lines if '"' in line]
        for path in (source, template):
            opens = sum('"%s"' % path in line for line in calls)
            expected = 1 if path in words else 0
            if opens != expected:
                sys.exit('%s: %s was opened %d times, not %d' % (' '.join(words), path, opens, expected))
