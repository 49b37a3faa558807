#!/usr/bin/env python3
"""Destroys whole pages of healthy databases, repairs the copies, and proves that everything that can survive did.

    python3 tests/corpus/damage_repair.py --tolvane build/release/tolvane [--make-sample PROGRAM] [--corpus FOLDER] [--only TEXT]

For each database and each kind of damage: the repair ends normally, and every row whose pages (its own, the one it moved
to, those of its long values) are untouched, of a table whose definition pages are untouched, is in the repaired
database as mdb-reader sees it. Which pages a row needs comes from this folder's own page reader (pages.py); its
values from mdb-reader on the healthy file. The two are matched row by row and checked against each other first.

`--make-sample` adds the healthy form of the bundled sample; without the folder of real files it is the only one.
"""
import collections
import os
import subprocess
import sys
import tempfile

import corpus
import expected
import pages
import readers
import repaired

FILES = ['V1997/compIndexTestV1997.mdb', 'V1997/testIndexCodesV1997.mdb', 'V2000/indexTestV2000.mdb',
         'V2003/testIndexPropertiesV2003.mdb', 'V2003/overflowTestV2003.mdb', 'V2007/compIndexTestV2007.accdb',
         'V2007/odbcLinkerTestV2007.accdb', 'V2010/binIdxTestV2010.accdb', 'V2010/complexDataTestV2010.accdb',
         'V2000/test2V2000.mdb']


class Damage:
    """A damaged copy: its bytes, the pages that were touched, and whether the healthy file serves as a template."""

    def __init__(self, healthy):
        self.size = healthy.size
        self.bytes = bytearray(healthy.data)
        self.touched = set()
        self.needs_template = False
        self.rescued = None  # name of the table whose definition was destroyed

    def zero(self, numbers):
        for number in numbers:
            self.bytes[number * self.size:(number + 1) * self.size] = bytes(self.size)
            self.touched.add(number)


def header(healthy, damage, local):
    damage.zero([0])


def catalogue_definition(healthy, damage, local):
    damage.zero([pages.CATALOGUE_PAGE])


def indexes_and_maps(healthy, damage, local):
    damage.zero(healthy.pages_of_type(pages.INDEX_NODE, pages.INDEX_LEAF) + healthy.usage_map_pages())


def data_pages(healthy, damage, local):
    damage.zero([n for n in healthy.pages_of_type(pages.DATA) if n != 1 and healthy.owner_of(n) != 0][4::10])


def one_definition(healthy, damage, local):
    """Behind its first two bytes, which are what its data pages are recognised by."""
    name, table = max(((name, table) for name, table in local.items() if not name.startswith('MSys')),
                      key=lambda item: len(item[1].rows()))
    start = table.definition * damage.size
    damage.bytes[start + 2:start + damage.size] = bytes(damage.size - 2)
    damage.touched.add(table.definition)
    damage.needs_template, damage.rescued = True, name


def tail(healthy, damage, local):
    kept = healthy.count * 3 // 4
    damage.bytes = damage.bytes[:kept * damage.size + 100]
    damage.touched.update(range(kept, healthy.count))


KINDS = {
    'page 0 zeroed': header,
    'catalogue definition zeroed': catalogue_definition,
    'indexes and maps zeroed': indexes_and_maps,
    'a tenth of the data pages zeroed': data_pages,
    'a definition destroyed, with template': one_definition,
    'tail cut off': tail,
}


def key_of_row(row, columns, is_jet3):
    """The values of the simple columns as the page reader sees them, in the readers' plain form."""
    key = []
    for column in columns:
        raw = row.fields.get(column.number)
        if column.type == pages.TYPE_BOOLEAN:
            key.append(raw is not None)
        elif raw is None:
            key.append(None)
        elif column.type == pages.TYPE_TEXT:
            key.append(pages.decode_text(raw, is_jet3))
        else:
            key.append(str(int.from_bytes(raw[:column.length], 'little', signed=column.type != expected.BYTE)))
    return tuple(key)


def matched_rows(source, verdict):
    """[(values, Row)]: the reader's rows beside the page reader's, which must have the same values in the simple columns."""
    table, simple = source.table, (pages.TYPE_BOOLEAN, pages.TYPE_TEXT, expected.BYTE, expected.INTEGER, expected.LONG)
    at = [i for i, column in enumerate(source.columns) if column.type in simple and not column.is_calculated]
    by_key = collections.defaultdict(list)
    for values in source.rows:
        by_key[tuple(values[i] for i in at)].append(values)
    matched = []
    for row in table.rows(sorted(set(table.data_pages()) - set(table.freed_pages()))):
        same = by_key[key_of_row(row, [source.columns[i] for i in at], table.file.format.is_jet3)]
        if same:
            matched.append((same.pop(0), row))
    if len(matched) != len(source.rows):
        verdict.error('%s: of %d rows the two ways of reading the healthy file agree on %d' % (
            source.name, len(source.rows), len(matched)))
    return matched


def surviving(matched, damage):
    return [values for values, row in matched if not row.pages & damage.touched]


def find_table(output, source, want, keep):
    """(name, missing rows) of the output's table that holds the source's rows: by its name, or, where the name is lost,
    the one with the same columns that misses the fewest."""
    names = [column.name for column in source.columns]
    candidates = [source.name] if source.name in output.seen else [
        name for name in output.seen if name.startswith('RecoveredTable') and output.column_names(name) == names]
    best = (None, None)
    for name in candidates:
        if sorted(output.seen[name].columns) != sorted(names):
            continue
        missing, _ = corpus.differences(want, repaired.found_rows(output.seen[name], source, keep))
        if best[0] is None or sum(missing.values()) < sum(best[1].values()):
            best = (name, missing)
    return best


def check_table(verdict, output, source, matched, damage):
    is_rescued = source.name == damage.rescued
    if set(source.table.definition_pages) & damage.touched and not is_rescued:
        return
    rows = surviving(matched, damage)
    whole, source.rows = source.rows, rows
    keep = source.compared_columns()
    want = source.expected_rows(keep)
    name, missing = find_table(output, source, want, keep)
    source.rows = whole
    verdict.tables += 1
    verdict.rows += len(rows)
    verdict.cells += len(rows) * len(keep)
    if name is None:
        verdict.error('%s: not in the repaired database' % source.name)
    elif missing:
        verdict.error('%s: %d of %d untouched rows are missing: %s' % (
            source.name, sum(missing.values()), len(rows), corpus.first_difference(missing, None)))


def check_kind(options, path, healthy, local, tables, kind, folder):
    verdict, damage = corpus.Verdict(), Damage(healthy)
    KINDS[kind](healthy, damage, local)
    if bytes(damage.bytes) == healthy.data:
        verdict.error('nothing was damaged')
        return verdict
    extension = os.path.splitext(path)[1]
    copy, output_path = os.path.join(folder, 'damaged' + extension), os.path.join(folder, 'output' + extension)
    with open(copy, 'wb') as file:
        file.write(damage.bytes)
    repaired.remove(output_path)
    template = ['--template', path] if damage.needs_template else []
    corpus.tolvane(options, 'repair', copy, '-o', output_path, *template)
    corpus.tolvane(options, 'check', output_path, good=(0,))
    output = repaired.RepairedDatabase(output_path)
    for source, matched in tables:
        check_table(verdict, output, source, matched, damage)
    if verdict.rows == 0:
        verdict.note('nothing could survive')
    return verdict


def check_file(options, report, path, short, folder):
    verdict = corpus.Verdict()
    healthy = corpus.open_pages(path)
    local = pages.local_tables(healthy)
    tables = [(source, matched_rows(source, verdict)) for source in repaired.source_tables(path, local, verdict)]
    if verdict.errors:
        report.add(short, verdict)
        return
    for kind in KINDS:
        try:
            report.add('%s: %s' % (os.path.basename(short), kind),
                       check_kind(options, path, healthy, local, tables, kind, folder))
        except corpus.Failure as failure:
            verdict = corpus.Verdict()
            verdict.error(str(failure))
            report.add('%s: %s' % (os.path.basename(short), kind), verdict)


def main():
    options = corpus.arguments(__doc__)
    found = [(path, short) for path, short in corpus.databases(options) if short in FILES]
    report = corpus.Report('damaged and repaired: rows that must be there')
    with tempfile.TemporaryDirectory(prefix='tolvane-') as folder:
        if options.make_sample:
            sample = os.path.join(folder, 'sample.mdb')
            subprocess.run([options.make_sample, sample, os.path.join(folder, 'unused.mdb')], check=True,
                           stdout=subprocess.DEVNULL)
            found.append((sample, 'sample.mdb'))
        for path, short in found:
            check_file(options, report, path, short, folder)
    return report.end()


if __name__ == '__main__':
    sys.exit(main())
