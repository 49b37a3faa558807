#!/usr/bin/env python3
"""Repairs every healthy real database that holds relationships and compares those of the new database, as two independent
readers show them, with those of the source; then damages copies, so that a relationship can no longer be enforced and
so that the rows of the relationships are noise.

    python3 tests/corpus/compare_relations.py --tolvane build/release/tolvane [--corpus FOLDER] [--only TEXT]

mdb-export and mdb-reader show the rows of MSysRelationships. `tolvane tables --json` must list the same relationships,
and every new database must pass `tolvane check`, which proves the indexes that enforce them.
"""
import collections
import json
import sys

import corpus
import pages
import readers

TABLE = 'MSysRelationships'
NOT_ENFORCED, CASCADE_UPDATES, CASCADE_DELETES = 2, 0x100, 0x1000
Pair = collections.namedtuple('Pair', 'szRelationship grbit ccolumn icolumn szObject szColumn szReferencedObject '
                                      'szReferencedColumn')


def pairs_of(seen):
    order = [seen.columns.index(name) for name in Pair._fields]
    return sorted(Pair(*(str(row[i]) for i in order)) for row in seen.rows)


def pairs_by_readers(path, verdict):
    """The pairs of columns between users' tables as mdb-export shows them; mdb-reader must show the same."""
    exported, (seen, _) = readers.mdbtools_export(path, TABLE), readers.mdb_reader(path)
    pairs = pairs_of(exported) if exported else []
    if TABLE in seen and pairs_of(seen[TABLE]) != pairs:
        verdict.error('the readers show different rows: %r for %r' % (pairs_of(seen[TABLE]), pairs))
    return [pair for pair in pairs if not pair.szRelationship.startswith('MSys')]


def compare_healthy(options, path, local, pairs, verdict):
    output, told = corpus.repair(options, path, 'output', *corpus.STANDARD)
    expected = [pair for pair in pairs if pair.szObject in local and pair.szReferencedObject in local]
    if len(expected) < len(pairs):
        verdict.note('relationship with a table of another database: told, not saved', len(pairs) - len(expected))
    found = pairs_by_readers(output, verdict)
    if found != expected:
        verdict.error('%r for %r' % (found, expected))
    saving = told['saving']
    if saving['relationshipsLost'] != len(pairs) - len(expected) or saving['relationshipsNoLongerEnforced']:
        verdict.error('the summary counts %r' % saving)
    found = json.loads(corpus.tolvane(options, 'tables', path, '--json', *corpus.STANDARD))['relationships']
    listed = sorted((one['name'], one['table'], column, one['referencedTable'], referenced)
                    for one in found for column, referenced in zip(one['columns'], one['referencedColumns']))
    if listed != [(pair.szRelationship, *pair[4:]) for pair in pairs]:
        verdict.error('tolvane tables: %r' % listed)


def lose_references(options, path, healthy, local, pairs, verdict):
    """Without the rows that they refer to, relationships come back with their columns and are no longer enforced."""
    damage = corpus.Damage(healthy)
    for name in {pair.szReferencedObject for pair in pairs}:
        damage.zero(local[name].data_pages())
    output, told = corpus.repair(options, damage.save(options, path), 'output', *corpus.STANDARD)
    cascades = CASCADE_UPDATES | CASCADE_DELETES
    expected = [pair._replace(grbit=str(int(pair.grbit) & ~cascades | NOT_ENFORCED)) for pair in pairs]
    found, saving = pairs_by_readers(output, verdict), told['saving']
    if found != sorted(expected):
        verdict.error('without the rows that are referred to: %r for %r' % (found, expected))
    notes = [note for note in saving['notes'] if 'is not enforced: ' in note and 'refer' in note]
    if saving['relationshipsNoLongerEnforced'] != len(pairs) or len(notes) != len(pairs):
        verdict.error('without the rows that are referred to: told %r' % saving['notes'])


def scramble_pairs(options, path, healthy, local, verdict):
    """Writes over bytes of each page with rows of the relationships, behind its header, in big steps: the save must go
    on, and what it makes must be sound."""
    for number in local[TABLE].data_pages():
        for step, value in ((7, 0x5A), (11, 0xFF), (3, 0)):
            damage = corpus.Damage(healthy)
            for at in range(number * healthy.size + 16, (number + 1) * healthy.size, step):
                damage.bytes[at] = value
            pairs_by_readers(corpus.repair(options, damage.save(options, path), 'output', *corpus.STANDARD)[0], verdict)


def compare_file(options, path, healthy, verdict):
    pairs, local = pairs_by_readers(path, verdict), pages.local_tables(healthy)
    if not pairs:
        return False
    verdict.tables, verdict.rows, verdict.cells = len(local), len(pairs), len(pairs) * len(Pair._fields)
    compare_healthy(options, path, local, pairs, verdict)
    if not any(int(pair.grbit) & NOT_ENFORCED for pair in pairs):
        lose_references(options, path, healthy, local, pairs, verdict)
    scramble_pairs(options, path, healthy, local, verdict)
    return True


if __name__ == '__main__':
    sys.exit(corpus.main(__doc__, 'relationships: tables, pairs, cells', corpus.each(compare_file)))
