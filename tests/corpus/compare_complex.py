#!/usr/bin/env python3
"""Multi-values, attachments and versions of memos of healthy and of damaged files: they come back with their records.

    python3 tests/corpus/compare_complex.py --tolvane build/release/tolvane [--corpus FOLDER] [--only TEXT]

A healthy file: each complex column has the values that it had, byte for byte and at the same records, and a repair of
the repaired file gives the same again. A damaged one: every value on untouched pages is saved, with its record or
in a table of its own, and a repair that lost something says so. Values count as rows of the report, columns as tables.
"""
import collections
import sys

import corpus
import pages

COMPLEX, LAST_KNOWN = 18, 20  # types of columns
KEY, ROW_ID = 8, 4  # marks of columns
KINDS = ('catalogue', 'MSysComplexColumns', 'definition of values', 'values', 'definition of records', 'records')


def whole(table, raw, column):
    """A field with the bytes that it may have elsewhere."""
    if raw is None or column.type not in (pages.OLE, pages.MEMO) or len(raw) < 12:
        return raw
    kind, length, pointer = raw[3] & 0xC0, pages.u32(raw, 0) & 0x3FFFFFFF, pages.u32(raw, 4)
    if kind == pages.VALUE_INLINE:
        return raw[12:]
    found = b''
    while len(found) < length and pointer:
        piece, _ = table.file.row_at(pointer)
        if kind == pages.VALUE_ON_ONE_PAGE:
            return piece[:length]
        found, pointer = found + piece[4:], pages.u32(piece, 0)
    return found[:length]


class Source:
    """(table, column) -> flat table of the columns that users have, and what each value holds."""

    def __init__(self, path):
        self.file = corpus.open_pages(path)
        self.tables = pages.local_tables(self.file) if self.file else {}
        by_page = {table.definition: (name, table) for name, table in self.tables.items()}
        self.flats = {}
        listed = self.tables.get('MSysComplexColumns')
        for row in listed.live_rows() if listed else ():
            name, page, flat = (row.fields.get(listed.column[key].number) for key in
                                ('ColumnName', 'ConceptualTableID', 'FlatTableID'))
            owner = by_page.get(pages.u32(page, 0), ('MSys', None))[0]
            if not owner.startswith('MSys'):
                self.flats[owner, self.file.format.decode_text(name)] = by_page[pages.u32(flat, 0)][1]

    def values(self, flat):
        """[(key, number, other fields by name, pages)]"""
        found = []
        marks = {column.name: column.extended for column in flat.columns}
        for row in flat.live_rows():
            fields = {c.name: whole(flat, row.fields.get(c.number), c) for c in flat.columns}
            ids = {marks[name]: fields.pop(name) for name in list(fields) if marks[name] in (KEY, ROW_ID)}
            found.append((ids[KEY], ids[ROW_ID], tuple(sorted(fields.items())), row.pages))
        return found

    def everything(self):
        """(table, column) -> the values, and the records by the keys that lead to them."""
        found = {}
        for (owner, column), flat in self.flats.items():
            table = self.tables[owner]
            others = [c for c in table.columns if c.type not in (COMPLEX, pages.OLE, pages.MEMO)]
            records = {row.fields.get(table.column[column].number): tuple(row.fields.get(c.number) for c in others)
                       for row in table.live_rows()}
            found[owner, column] = sorted(value[:3] + (records.get(value[0]),) for value in self.values(flat))
        return found

    def items(self):
        """Texts that tell values apart, wherever they are saved."""
        found = collections.Counter()
        for name, table in self.tables.items():
            column = table.column.get('FileName') or table.column.get('Value')
            dates = [c for c in table.columns if c.name.startswith('Modified')]
            if dates and not column:
                column = next((c for c in table.columns if c.type == pages.MEMO), None)
            if column and not name.startswith('MSys'):
                found.update(self.file.format.decode_text(whole(table, row.fields[column.number], column))
                             for row in table.live_rows() if column.number in row.fields)
        return found


def check_healthy(options, path, source, verdict):
    if any(column.type > LAST_KNOWN for flat in source.flats.values() for column in flat.columns):
        verdict.note('values of a type that nobody knows: their bytes in a table of their own')
        return
    wanted = source.everything()
    verdict.tables, verdict.rows = len(wanted), sum(map(len, wanted.values()))
    first, told = corpus.repair(options, path, 'first', *corpus.EXACT)
    second, _ = corpus.repair(options, first, 'second', *corpus.EXACT)
    for name, output in (('repaired', first), ('repaired twice', second)):
        if Source(output).everything() != wanted:
            verdict.error('%s: other values' % name)
    if told['saving'].get('complexValues', 0) != verdict.rows:
        verdict.error('%r values told' % told['saving'].get('complexValues'))


def touch(source, kind):
    """Pages of one kind that damage may hit, one after the other."""
    flats = list(source.flats.values())
    owners = [source.tables[owner] for owner, _ in source.flats]
    if kind.startswith('definition'):
        return sorted({table.definition for table in (flats if kind.endswith('values') else owners)})
    tables = {'catalogue': [source.tables['MSysObjects']], 'values': flats, 'records': owners,
              'MSysComplexColumns': [source.tables['MSysComplexColumns']]}[kind]
    return sorted({page for table in tables for page in table.data_pages()})


def check_damaged(options, path, source, kind, verdict):
    for page in touch(source, kind):
        damage = corpus.Damage(source.file)
        damage.zero([page])
        wanted = collections.Counter()
        for flat in source.flats.values():
            item = flat.column.get('FileName') or flat.column.get('Value') or \
                next(c for c in flat.columns if c.type == pages.MEMO)
            wanted.update(source.file.format.decode_text(dict(fields)[item.name])
                          for _, _, fields, needed in source.values(flat)
                          if not (needed | set(flat.definition_pages)) & damage.touched)
        output, told = corpus.repair(options, damage.save(options, path), 'output', *corpus.EXACT)
        missing = wanted - Source(output).items()
        verdict.rows += sum(wanted.values())
        if missing:
            verdict.error('page %d: %d values are missing, such as %r' % (page, sum(missing.values()), next(iter(missing))))
        if not told['damage'] and told['status'] == 0:
            verdict.error('page %d: nothing says that it is gone' % page)


def judge(options, report, path, short):
    if not path.endswith('.accdb'):
        return
    source = Source(path)
    if not source.flats:
        return
    report.judge(short, lambda verdict: check_healthy(options, path, source, verdict))
    for kind in KINDS:
        report.judge('%s: %s' % (short, kind),
                     lambda verdict: check_damaged(options, path, source, kind, verdict))


if __name__ == '__main__':
    sys.exit(corpus.main(__doc__, 'complex columns: values that must be there', judge))
