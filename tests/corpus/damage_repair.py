#!/usr/bin/env python3
"""Destroys whole pages of healthy databases, repairs the copies, and proves that everything that can survive did.

    python3 tests/corpus/damage_repair.py --tolvane build/release/tolvane [--make-sample PROGRAM] [--corpus FOLDER] [--only TEXT]

For each database and each kind of damage: the repair ends normally, its output passes `tolvane check`, and every row
whose pages (its own, the one it moved to, those of its long values) are untouched, of a table whose definition pages are
untouched, is there as mdb-reader sees it. Which pages a row needs comes from this folder's own page reader (pages.py);
its values from mdb-reader on the healthy file. The two are matched row by row and checked against each other first.

`--make-sample` adds the sample, without the folder of real files the only one: its healthy form, its damaged form made
anew, and the one that is bundled, which may be older than the engine that made the new one: all its tables and most of
its rows come back, and no row that the generator did not make.
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

FILES = ['V1997/compIndexTestV1997.mdb', 'V1997/testIndexCodesV1997.mdb', 'V2000/indexTestV2000.mdb',
         'V2003/testIndexPropertiesV2003.mdb', 'V2003/overflowTestV2003.mdb', 'V2007/compIndexTestV2007.accdb',
         'V2007/odbcLinkerTestV2007.accdb', 'V2010/binIdxTestV2010.accdb', 'V2010/complexDataTestV2010.accdb',
         'V2000/test2V2000.mdb']
BUNDLED = os.path.join(corpus.ROOT, 'samples', 'damaged.mdb')
LEAST_SHARE = 0.75  # of the rows of the bundled sample


# --- kinds of damage: each answers the table that only a template can bring back ---


def zeroed(pick):
    return lambda damage, healthy, local: damage.zero(pick(healthy))


def maps_and_indexes(healthy):
    """Data pages without an owner hold usage maps, too."""
    kinds = healthy.pages_of_type(pages.INDEX_NODE, pages.INDEX_LEAF, pages.BITMAP)
    return kinds + [n for n in healthy.pages_of_type(pages.DATA) if n == 1 or healthy.owner_of(n) == 0]


def one_definition(damage, healthy, local):
    """Behind its first two bytes, which are what its data pages are recognised by."""
    name, table = max(((name, table) for name, table in local.items() if not name.startswith('MSys')),
                      key=lambda item: len(item[1].rows()))
    damage.zero([table.definition])
    start = table.definition * damage.size
    damage.bytes[start:start + 2] = healthy.data[start:start + 2]
    return name


def tail(damage, healthy, local):
    kept = healthy.count * 3 // 4
    damage.bytes = damage.bytes[:kept * damage.size + 100]
    damage.touched.update(range(kept, healthy.count))


KINDS = {
    'page 0 zeroed': zeroed(lambda healthy: [0]),
    'catalogue definition zeroed': zeroed(lambda healthy: [pages.CATALOGUE_PAGE]),
    'indexes and maps zeroed': zeroed(maps_and_indexes),
    'a tenth of the data pages zeroed': zeroed(lambda healthy: [
        n for n in healthy.pages_of_type(pages.DATA) if n != 1 and healthy.owner_of(n) != 0][4::10]),
    'a definition destroyed, with template': one_definition,
    'tail cut off': tail,
}


# --- what must survive ---


class Source:
    """A user table of a healthy file: its rows as a reader sees them, each beside where the page reader finds it."""

    SIMPLE = (pages.BOOLEAN, pages.TEXT, pages.BYTE, pages.INTEGER, pages.LONG)

    def __init__(self, name, table, view, verdict):
        self.name, self.table = name, table
        self.columns = [column for column in table.columns if expected.skip_reason(column) is None]
        simple = [column for column in self.columns if column.type in self.SIMPLE]
        by_key = collections.defaultdict(list)
        for row in view.rows:
            values = dict(zip(view.columns, row))
            by_key[tuple(expected.export_texts(values[column.name], column)[0] for column in simple)].append(values)
        self.rows = []
        for row in table.live_rows():
            same = by_key[tuple(self._text(row, column) for column in simple)]
            if same:
                values = same.pop(0)
                self.rows.append(([self._saved(values[column.name], column) for column in self.columns], row))
        if len(self.rows) != len(view.rows):
            verdict.error('%s: of %d rows the two ways of reading the healthy file agree on %d' % (
                name, len(view.rows), len(self.rows)))

    def _text(self, row, column):
        raw = row.fields.get(column.number)
        if column.type == pages.BOOLEAN:
            return str(raw is not None)
        if raw is None:
            return ''
        return self.table.file.format.decode_text(raw) if column.type == pages.TEXT else str(row.integer(column))

    @staticmethod
    def _saved(value, column):
        return tuple(expected.saved_text(text, column.type) for text in expected.export_texts(value, column))

    def surviving(self, damage):
        """Texts that must be found, but for rows without any, which are not saved."""
        return [texts for texts, row in self.rows if not row.pages & damage.touched and texts != [('',)] * len(texts)]


def sources(path, healthy, verdict):
    """Source of each user table that a reader can read."""
    found, (seen, _) = [], readers.mdb_reader(path)
    for name, table in pages.local_tables(healthy).items():
        if table.columns and not name.startswith('MSys'):
            view = seen.get(name) or readers.mdbtools_export(path, name, table.column)
            found += [Source(name, table, view, verdict)] if view else []
    if not found:
        verdict.error('no table to look at')
    return found


class Output:
    """A repaired database: its columns by the tests' own page reader, its rows by mdb-reader."""

    def __init__(self, path):
        self.seen, _ = readers.mdb_reader(path)
        self.tables = pages.local_tables(pages.Pages(path))

    def rows(self, name, columns):
        """Texts of the columns; None where one of them is not there."""
        seen, known = self.seen[name], self.tables[name].column
        if not known.keys() >= {column.name for column in columns}:
            return None
        order = [(seen.columns.index(column.name), known[column.name]) for column in columns]
        return [[expected.export_texts(row[i], column)[0] for i, column in order] for row in seen.rows]

    def missing(self, source, want):
        """Rows that are not in the table of the source's name, or, where the name is lost, in the one with the same
        columns that misses the fewest; None where there is no such table."""
        names = [source.name] if source.name in self.seen else [
            name for name in self.seen if name.startswith('RecoveredTable')]
        found = [rows for rows in (self.rows(name, source.columns) for name in names) if rows is not None]
        return min((corpus.differences(want, rows)[0] for rows in found), key=collections.Counter.total, default=None)


def check_table(verdict, output, source, damage, rescued=None):
    if set(source.table.definition_pages) & damage.touched and source.name != rescued:
        return
    want = source.surviving(damage)
    missing = output.missing(source, want)
    verdict.tables += 1
    verdict.rows += len(want)
    verdict.cells += len(want) * len(source.columns)
    if missing is None:
        verdict.error('%s: not in the repaired database' % source.name)
    elif missing:
        verdict.error('%s: %d of %d untouched rows are missing: %s' % (
            source.name, missing.total(), len(want), corpus.first_difference(missing, None)))


def check_damage(options, path, tables, damage, verdict, rescued=None):
    copy = damage.save(options, path)
    output = Output(corpus.repair(options, copy, 'output', *corpus.STANDARD, *(['--template', path] if rescued else []))[0])
    for source in tables:
        check_table(verdict, output, source, damage, rescued)
    if verdict.rows == 0:
        verdict.note('nothing could survive')


def check_bundled(options, tables, verdict):
    output = Output(corpus.repair(options, BUNDLED, 'output', *corpus.STANDARD)[0])
    for source in tables:
        # A memo whose later pages were destroyed keeps its beginning: the memos are left to the other check.
        kept = [i for i, column in enumerate(source.columns) if column.type != pages.MEMO]
        have = output.rows(source.name, [source.columns[i] for i in kept])
        _, extra = corpus.differences([[texts[i] for i in kept] for texts, _ in source.rows], have)
        if extra:
            verdict.error('%s: %s' % (source.name, corpus.first_difference(None, extra)))
        verdict.tables += 1
        verdict.rows += len(have)
        verdict.cells += len(have) * len(kept)
    made = sum(len(source.rows) for source in tables)
    if not LEAST_SHARE * made <= verdict.rows < made:
        verdict.error('%d of %d rows came back' % (verdict.rows, made))


def judge_file(options, report, path, kinds):
    """Every kind of damage. Answers what the file holds."""
    name, healthy, reading = os.path.basename(path), corpus.open_pages(path), corpus.Verdict()
    local, tables = pages.local_tables(healthy), sources(path, healthy, reading)
    if reading.errors:
        report.judge(name, lambda verdict: verdict.errors.extend(reading.errors))
    for kind, apply in kinds.items():
        damage = corpus.Damage(healthy)
        rescued = apply(damage, healthy, local)
        report.judge('%s: %s' % (name, kind),
                     lambda verdict: check_damage(options, path, tables, damage, verdict, rescued))
    return tables


def main():
    options, report = corpus.arguments(__doc__), corpus.Report('damaged and repaired: rows that must be there')
    with tempfile.TemporaryDirectory(prefix='tolvane-') as options.folder:
        for path, short in corpus.databases(options):
            if short in FILES:
                judge_file(options, report, path, KINDS)
        if options.make_sample:
            sample, damaged = (os.path.join(options.folder, name) for name in ('sample.mdb', 'made.mdb'))
            subprocess.run([options.make_sample, sample, damaged], check=True, stdout=subprocess.DEVNULL)
            made = {'damaged as it is made': lambda damage, healthy, local: damage.become(damaged)}
            tables = judge_file(options, report, sample, KINDS | made)
            report.judge('sample.mdb: as it is bundled', lambda verdict: check_bundled(options, tables, verdict))
    return report.end()


if __name__ == '__main__':
    sys.exit(main())
