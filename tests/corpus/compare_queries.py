#!/usr/bin/env python3
"""Compares the saved queries of every healthy real database, and of its repaired copy, with what mdb-queries shows.

    python3 tests/corpus/compare_queries.py --tolvane build/release/tolvane [--corpus FOLDER] [--only TEXT] [--table]

For each file: `tolvane queries` names the same queries as mdb-queries; each statement differs from what that reader
shows by named rules alone (statements.RULES) and holds every expression of the stored rows, which mdb-export reads.
For each file with queries: the repaired database passes `tolvane check`, its statements are the source's letter by
letter, and mdb-queries shows the same for it as for the source, by the same rules. The columns of the report count
compared statements as rows and stored expressions as cells. `--table` prints both sides of every query as Markdown.
"""
import collections
import json
import os
import sys
import tempfile

import corpus
import readers
import statements


def rebuilt_queries(options, path):
    """name -> query as `tolvane queries` lists it, hidden ones included."""
    listed = json.loads(corpus.tolvane(options, 'queries', '--json', '--all', path, good=(0, 3, 4)))['queries']
    return {query['name']: query for query in listed}


class Comparison:
    def __init__(self, short):
        self.short, self.verdict, self.lines = short, corpus.Verdict(), []

    def names(self, where, ours, theirs):
        for name in sorted(set(ours) ^ set(theirs)):
            self.verdict.error('%s: %s: only %s lists it' % (where, name, 'mdb-queries' if name in theirs else 'tolvane'))

    def query(self, where, query, shown):
        """Compares one query and returns the names of the rules that were needed."""
        rules = []
        statements.explain(query, shown, rules.append, lambda text: self.verdict.error(
            '%s: %s: %s' % (where, query['name'], text)))
        for rule in rules:
            self.verdict.note('%s: %s' % (rule, statements.RULES[rule]))
        self.verdict.rows += 1
        return rules

    def expressions(self, query, stored):
        """Every stored expression must stand in the statement as it is; the columns of a delete are left out by rule."""
        for attribute, text in stored if query['sql'] else ():
            is_left_out = query['kind'] == 'delete' and attribute == statements.COLUMN
            if text not in query['sql'] and not is_left_out:
                self.verdict.error('source: %s: without the stored %r' % (query['name'], text))
            self.verdict.cells += 1

    def source(self, ours, shown, stored):
        self.names('source', ours, shown)
        self.names('source, by rows', ours, stored)
        for name in sorted(set(ours) & set(shown)):
            rules = self.query('source', ours[name], shown[name])
            self.expressions(ours[name], stored.get(name, ()))
            self.lines.append((self.short, name, ours[name]['kind'], ours[name]['sql'], shown[name], rules))

    def output(self, ours, repaired, before, after):
        """The queries of the repaired database (`repaired`, `after`) against those of the source (`ours`, `before`)."""
        saved = {name: query for name, query in ours.items() if query['sql'] and not name.startswith('~sq')}
        self.names('output', after, saved)
        for name in sorted(set(saved) & set(after)):
            if repaired.get(name) != saved[name]:
                self.verdict.error('output: %s: %r for %r' % (name, repaired.get(name), saved[name]))
                continue
            self.query('output', repaired[name], after[name])
            # Only what the rebuilt statement leaves out may differ between the two sides of the other reader.
            statements.compare_views(statements.shown_view(after[name]), statements.shown_view(before[name]),
                                     saved[name]['kind'], lambda rule: None,
                                     lambda text, name=name: self.verdict.error('output: %s: %s' % (name, text)))


def compare_file(options, path, output_path, comparison):
    if corpus.open_pages(path) is None:
        comparison.verdict.note('encrypted file: nothing to compare')
        return
    before, stored = readers.mdbtools_queries(path), readers.mdbtools_expressions(path)
    if before is None or stored is None:
        comparison.verdict.error('mdb-queries cannot read the source')
        return
    ours = rebuilt_queries(options, path)
    comparison.source(ours, before, stored)
    if not ours:
        return
    corpus.tolvane(options, 'repair', '--overwrite', path, '-o', output_path)
    corpus.tolvane(options, 'check', output_path, good=(0,))
    comparison.output(ours, rebuilt_queries(options, output_path), before, readers.mdbtools_queries(output_path) or {})


def markdown(comparisons):
    """A row per query; queries that read the same in several files share one."""
    same = collections.defaultdict(list)
    for comparison in comparisons:
        for short, name, kind, sql, shown, rules in comparison.lines:
            if name.startswith('~sq'):
                name, sql, shown = '(hidden queries)', None, '(their statements)'
                kind, rules = 'select', ['hidden']
            same[name, kind, sql, shown.strip(), ', '.join(rules)].append(os.path.basename(short))

    def cell(text):
        return ' '.join((text or '-').split()).replace('|', '\\|')

    yield '| Query | Kind | Files | Tolvane | mdb-queries | Rules |'
    yield '|---|---|---|---|---|---|'
    for (name, kind, sql, shown, rules), files in sorted(same.items(), key=lambda item: item[0][:2]):
        places = ', '.join('%s%s' % (file, ' x %d' % count if count > 1 else '')
                           for file, count in collections.Counter(files).items())
        yield '| %s | %s | %s | `%s` | `%s` | %s |' % (name, kind, places, cell(sql), cell(shown), rules)
    yield ''
    for rule, reason in statements.RULES.items():
        yield '- *%s*: %s' % (rule, reason)


def main():
    options = corpus.arguments(__doc__, flags={'--table': 'print the queries side by side as Markdown'})
    report, comparisons = corpus.Report('saved queries beside mdb-queries'), []
    with tempfile.TemporaryDirectory(prefix='tolvane-') as folder:
        for path, short in corpus.databases(options):
            comparison = Comparison(short)
            try:
                output_path = os.path.join(folder, 'output' + os.path.splitext(path)[1])
                compare_file(options, path, output_path, comparison)
            except corpus.Failure as failure:
                comparison.verdict.error(str(failure))
            report.add(short, comparison.verdict)
            comparisons.append(comparison)
    status = report.end()
    if options.table:
        print('\n' + '\n'.join(markdown(comparisons)))
    return status


if __name__ == '__main__':
    sys.exit(main())
