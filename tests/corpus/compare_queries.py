#!/usr/bin/env python3
"""Compares the saved queries of every healthy real database, and of its repaired copy, with what mdb-queries shows.

    python3 tests/corpus/compare_queries.py --tolvane build/release/tolvane [--corpus FOLDER] [--only TEXT]

For each file: `tolvane queries` names the same queries as mdb-queries; each statement differs from what that reader
shows by named rules alone (statements.RULES) and holds every expression of the stored rows, which mdb-export reads.
For each file with queries: the repaired database passes `tolvane check`, its statements are the source's letter by
letter, and differ from what mdb-queries shows of it by the same rules. The columns of the report count
compared statements as rows and stored expressions as cells.
"""
import collections
import json
import sys

import corpus
import readers
import statements

QUERY, COLUMN = '5', '6'  # kind of object; kind of stored row


def rebuilt_queries(options, path):
    """name -> query as `tolvane queries` lists it, hidden ones included."""
    listed = json.loads(corpus.tolvane(options, 'queries', '--json', '--all', path, good=(0, 3, 4)))['queries']
    return {query['name']: query for query in listed}


def stored_expressions(path):
    """{query name: [(attribute, expression)]} from the rows in which the queries are stored, as mdb-export shows them."""
    objects, rows = readers.mdbtools_export(path, 'MSysObjects'), readers.mdbtools_export(path, 'MSysQueries')
    if objects is None or rows is None:
        raise corpus.Failure('mdb-export cannot read the queries of the source')
    identifier, name, kind = (objects.columns.index(column) for column in ('Id', 'Name', 'Type'))
    query, attribute, text = (rows.columns.index(column) for column in ('ObjectId', 'Attribute', 'Expression'))
    found = collections.defaultdict(list)
    for row in rows.rows:
        found[row[query]] += [(row[attribute], row[text])] if row[text] else []
    return {row[name]: found[row[identifier]] for row in objects.rows if row[kind] == QUERY}


def compare_names(verdict, where, ours, theirs):
    for name in sorted(set(ours) ^ set(theirs)):
        verdict.error('%s: %s: only %s lists it' % (where, name, 'the reader' if name in theirs else 'tolvane'))


def compare_query(verdict, where, query, shown):
    """What differs between a rebuilt statement and what mdb-queries shows, by rules."""
    statements.explain(query, shown, lambda rule: verdict.note('%s: %s' % (rule, statements.RULES[rule])),
                       lambda text: verdict.error('%s: %s: %s' % (where, query['name'], text)))
    verdict.rows += 1


def compare_expressions(verdict, query, stored):
    """Every stored expression must stand in the statement as it is; the columns of a delete are left out by rule."""
    for attribute, text in stored if query['sql'] else ():
        if text not in query['sql'] and not (query['kind'] == 'delete' and attribute == COLUMN):
            verdict.error('source: %s: without the stored %r' % (query['name'], text))
        verdict.cells += 1


def compare_output(verdict, ours, repaired, after):
    """The queries of the repaired database against those of the source, and against what the reader shows of them."""
    saved = {name: query for name, query in ours.items() if query['sql'] and not name.startswith('~sq')}
    compare_names(verdict, 'output', saved, after)
    for name in sorted(set(saved) & set(after)):
        if repaired.get(name) != saved[name]:
            verdict.error('output: %s: %r for %r' % (name, repaired.get(name), saved[name]))
        compare_query(verdict, 'output', saved[name], after[name])


def compare_file(options, path, healthy, verdict):
    before, stored, ours = readers.mdbtools_queries(path), stored_expressions(path), rebuilt_queries(options, path)
    if before is None:
        raise corpus.Failure('mdb-queries cannot read the source')
    compare_names(verdict, 'source', ours, before)
    compare_names(verdict, 'source, by rows', ours, stored)
    for name in sorted(set(ours) & set(before)):
        compare_query(verdict, 'source', ours[name], before[name])
        compare_expressions(verdict, ours[name], stored.get(name, ()))
    if ours:
        output, _ = corpus.repair(options, path)
        compare_output(verdict, ours, rebuilt_queries(options, output), readers.mdbtools_queries(output) or {})


if __name__ == '__main__':
    sys.exit(corpus.main(__doc__, 'saved queries beside mdb-queries', corpus.each(compare_file)))
