"""Reads a repaired database and compares it with its healthy source, for the corpus tests."""
import collections
import os

import corpus
import expected
import pages
import readers


class SourceTable:
    """A user table of the healthy source with its rows as a reader sees them, columns in number order."""

    def __init__(self, name, table, seen):
        self.name, self.table = name, table
        self.columns = table.columns
        order = [seen.columns.index(column.name) for column in self.columns]
        self.rows = [[row[i] for i in order] for row in seen.rows]

    def expected_rows(self, keep):
        """Rows that must be saved: for each compared column, the values that may be found."""
        return [[expected.saved_values(row[i], self.columns[i]) for i in keep]
                for row in self.rows if not expected.is_empty_row(row, self.columns)]

    def compared_columns(self, verdict=None):
        """Positions of the columns that are compared cell by cell; the others are noted with their rule."""
        keep = []
        for i, column in enumerate(self.columns):
            reason = expected.saved_skip_reason(column)
            if reason is None:
                keep.append(i)
            elif verdict:
                verdict.note(reason, len(self.rows))
        return keep


def from_mdbtools(seen, columns):
    """An mdb-export table in the readers' plain form; the types come from `columns`, by name."""
    types = {column.name: column for column in columns}
    rows = [[expected.from_mdbtools(cell, types[name]) for cell, name in zip(row, seen.columns)] for row in seen.rows]
    return readers.Seen(seen.columns, rows)


def source_tables(path, local, verdict):
    """SourceTable of each table that a repair saves; those that no reader can read are noted and left out."""
    seen, _ = readers.mdb_reader(path)
    found = []
    for name, table in local.items():
        if name.startswith('MSys') or not table.columns:
            continue
        view = seen.get(name)
        if view is None:
            exported = readers.mdbtools_export(path, name)
            view = from_mdbtools(exported, table.columns) if exported else None
        if view is None or sorted(view.columns) != sorted(column.name for column in table.columns):
            verdict.note('table that neither reader can read in the source')
            continue
        found.append(SourceTable(name, table, view))
    return found


class RepairedDatabase:
    """The output: its tables by the tests' own page reader, their rows by both independent readers."""

    def __init__(self, path):
        self.path = path
        self.pages = pages.Pages(path)
        self.local = pages.local_tables(self.pages)
        self.seen, self.errors = readers.mdb_reader(path)
        self.listed = readers.mdbtools_tables(path)

    def column_names(self, name):
        return [column.name for column in self.local[name].columns]

    def rows_by_reader(self, name):
        return self.seen[name]

    def rows_by_mdbtools(self, name):
        exported = readers.mdbtools_export(self.path, name)
        return from_mdbtools(exported, self.local[name].columns) if exported else None


def found_rows(view, source, keep):
    """A reader's rows of the output, the compared columns in the order of the source's."""
    columns = corpus.pick(source.columns, keep)
    order = [view.columns.index(column.name) for column in columns]
    return [[expected.found_value(row[i], column) for i, column in zip(order, columns)] for row in view.rows]


def compare(source, view, keep, freed_rows, as_shown=str):
    """(missing, extra) as multisets; as many extra rows as freed pages hold are no difference. `as_shown` is what the
    reader makes of texts."""
    def shown(value):
        return as_shown(value) if isinstance(value, str) else value

    want = [[[shown(value) for value in values] for values in row] for row in source.expected_rows(keep)]
    have = [[shown(value) for value in row] for row in found_rows(view, source, keep)]
    missing, extra = corpus.differences(want, have)
    if sum(extra.values()) <= freed_rows:
        extra = collections.Counter()
    return missing, extra


def remove(path):
    if os.path.exists(path):
        os.unlink(path)
