#!/usr/bin/env python3
"""The bundled sample: it is what its generator makes, and a repair of it brings back every row on an untouched page.

    python3 tests/corpus/check_sample.py --tolvane build/release/tolvane --make-sample build/release/samples/make_sample

The rows of the catalogue hold the time at which they were made; their pages (2 and 3 own them) may differ.
"""
import os
import subprocess
import sys
import tempfile

import corpus
import damage_repair
import pages
import repaired

BUNDLED = os.path.join(corpus.HERE, '..', '..', 'samples', 'damaged.mdb')
CATALOGUE_OWNERS = (2, 3)


def differing_pages(healthy, other):
    return {n for n in range(healthy.count)
            if healthy.page(n) != other[n * healthy.size:(n + 1) * healthy.size]}


def check(options, folder):
    verdict = corpus.Verdict()
    healthy_path, damaged_path = os.path.join(folder, 'healthy.mdb'), os.path.join(folder, 'damaged.mdb')
    subprocess.run([options.make_sample, healthy_path, damaged_path], check=True, stdout=subprocess.DEVNULL)
    with open(BUNDLED, 'rb') as bundled, open(damaged_path, 'rb') as made:
        bundled, made = bundled.read(), made.read()
    healthy = pages.Pages(healthy_path)
    dated = {n for n in healthy.pages_of_type(pages.DATA) if healthy.owner_of(n) in CATALOGUE_OWNERS}
    changed = [n for n in range(healthy.count) if n not in dated
               and bundled[n * healthy.size:(n + 1) * healthy.size] != made[n * healthy.size:(n + 1) * healthy.size]]
    if len(bundled) != len(made) or changed:
        verdict.error('samples/damaged.mdb is not what make_sample makes: %d and %d bytes, pages %s' % (
            len(bundled), len(made), changed[:10]))
    output_path = os.path.join(folder, 'output.mdb')
    corpus.tolvane(options, 'repair', BUNDLED, '-o', output_path, good=(3,))
    output = repaired.RepairedDatabase(output_path)
    damage = damage_repair.Damage(healthy)
    damage.touched = differing_pages(healthy, made)
    lost = 0
    for source in repaired.source_tables(healthy_path, pages.local_tables(healthy), verdict):
        matched = damage_repair.matched_rows(source, verdict)
        lost += len(matched) - len(damage_repair.surviving(matched, damage))
        damage_repair.check_table(verdict, output, source, matched, damage)
    if lost == 0 or verdict.tables < 6:
        verdict.error('the sample lost %d rows and has %d tables to check' % (lost, verdict.tables))
    return verdict


def main():
    options = corpus.arguments(__doc__, needs_corpus=False)
    report = corpus.Report('the bundled sample')
    with tempfile.TemporaryDirectory(prefix='tolvane-') as folder:
        report.add('damaged.mdb', check(options, folder))
    return report.end()


if __name__ == '__main__':
    sys.exit(main())
