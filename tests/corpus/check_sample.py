#!/usr/bin/env python3
"""The bundled sample and its generator.

    python3 tests/corpus/check_sample.py --tolvane build/release/tolvane --make-sample build/release/samples/make_sample

A sample made anew: every row on an untouched page comes back. The bundled one, which may be older than the engine that
made the new one: all its tables and most of its rows come back, and no row that the generator did not make.
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
LEAST_SHARE = 0.75


def differing_pages(healthy, other):
    return {n for n in range(healthy.count)
            if healthy.page(n) != other[n * healthy.size:(n + 1) * healthy.size]}


def repair(options, folder, damaged):
    output_path = os.path.join(folder, 'output.mdb')
    repaired.remove(output_path)
    corpus.tolvane(options, 'repair', damaged, '-o', output_path, good=(3,))
    return repaired.RepairedDatabase(output_path)


def check_made(options, folder, healthy, sources, damaged_path):
    verdict, output = corpus.Verdict(), repair(options, folder, damaged_path)
    damage = damage_repair.Damage(healthy)
    with open(damaged_path, 'rb') as damaged:
        damage.touched = differing_pages(healthy, damaged.read())
    lost = 0
    for source in sources:
        matched = damage_repair.matched_rows(source, verdict)
        lost += len(matched) - len(damage_repair.surviving(matched, damage))
        damage_repair.check_table(verdict, output, source, matched, damage)
    if lost == 0 or verdict.tables < 6:
        verdict.error('the sample lost %d rows and has %d tables to check' % (lost, verdict.tables))
    return verdict


def check_bundled(options, folder, sources):
    verdict, output = corpus.Verdict(), repair(options, folder, BUNDLED)
    made = 0
    for source in sources:
        view = output.seen.get(source.name)
        if view is None:
            verdict.error('%s: not in the repaired database' % source.name)
            continue
        # A memo whose later pages were destroyed keeps its beginning: the memos are left to the other check.
        keep = [i for i in source.compared_columns() if source.columns[i].type != pages.TYPE_MEMO]
        _, extra = corpus.differences(source.expected_rows(keep), repaired.found_rows(view, source, keep))
        if extra:
            verdict.error('%s: %s' % (source.name, corpus.first_difference(None, extra)))
        verdict.tables += 1
        verdict.rows += len(view.rows)
        verdict.cells += len(view.rows) * len(keep)
        made += len(source.rows)
    if not LEAST_SHARE * made <= verdict.rows < made:
        verdict.error('%d of %d rows came back' % (verdict.rows, made))
    return verdict


def main():
    options = corpus.arguments(__doc__, needs_corpus=False)
    report = corpus.Report('the sample')
    with tempfile.TemporaryDirectory(prefix='tolvane-') as folder:
        healthy_path, damaged_path = os.path.join(folder, 'healthy.mdb'), os.path.join(folder, 'damaged.mdb')
        subprocess.run([options.make_sample, healthy_path, damaged_path], check=True, stdout=subprocess.DEVNULL)
        healthy = pages.Pages(healthy_path)
        sources = repaired.source_tables(healthy_path, pages.local_tables(healthy), corpus.Verdict())
        report.add('made anew', check_made(options, folder, healthy, sources, damaged_path))
        report.add('bundled', check_bundled(options, folder, sources))
    return report.end()


if __name__ == '__main__':
    sys.exit(main())
