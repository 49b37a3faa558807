#!/usr/bin/env python3
"""What is saved once is there to stay: repairs every real database, repairs the result, and compares what `tolvane export`
says of the source (A), of the repaired database (B) and of the database repaired twice (C).

    python3 tests/corpus/round_trip.py --tolvane build/release/tolvane [--corpus FOLDER] [--only TEXT]

B and C must be the same, row by row and text by text. So must A and B, but for what saving changes by a documented rule
(docs/limits.md), each written here from the text of A alone; the report ends with how often each was needed. Both
repaired databases must pass `tolvane check`. Jet 3 column names are matched by position.
"""
import json
import os
import sys
import tempfile

import compare_export
import corpus
import expected
import pages

SKIP = object()
UNDEFINED = '\x81\x8d\x8f\x90\x9d'


def saved_byte(text):
    return '' if text and int(text) > 127 else text


def saved_decimal(text):
    """Minus signs may stand before each digit; such a text is no number. The others become doubles."""
    if text == '' or '-' in text[1:]:
        return ''
    return '%.5f' % float(text)


def saved_double(text):
    """Calculated columns show the text of their result, whatever the column's type."""
    return text and '%.5f' % float(text)


def saved_binary(text):
    """The text of the bytes becomes the bytes of an OLE object, which are shown as hex."""
    return b''.join(bytes([ord(c)]) if c in UNDEFINED else c.encode('cp1252') for c in text).hex()


RULES = {  # type of the column in the source -> (rule, text of B from text of A)
    expected.BYTE: ('byte values above 127 are left out', saved_byte),
    expected.DECIMAL: ('decimal becomes double', saved_decimal),
    expected.DOUBLE: ('calculated number becomes double', saved_double),
    expected.BINARY: ('binary becomes an OLE object', saved_binary),
    expected.COMPLEX_KEY: ('complex column: the key of its values is saved', lambda text: SKIP),
}


def column_types(options, path):
    """{table: [type code of each column]}"""
    report = json.loads(corpus.tolvane(options, 'tables', path, '--json', '--quiet'))
    return {table['name']: [column['typeCode'] for column in table['columns']] for table in report['tables']}


def saved_rows(verdict, rows, types):
    """The rows of B that follow from the rows of A."""
    saved = []
    for row in rows:
        if all(text == '' for text in row):
            verdict.note('rows without any value are left out')
            continue
        texts = list(row)
        for i, code in enumerate(types):
            if code in RULES:
                rule, convert = RULES[code]
                texts[i] = convert(row[i])
                if texts[i] != row[i]:
                    verdict.note(rule)
        saved.append(texts)
    return saved


def compare_rows(verdict, name, want, have, step):
    if len(want) != len(have):
        verdict.error('%s: %s: %d rows for %d' % (step, name, len(have), len(want)))
        return
    for before, after in zip(want, have):
        for i, (a, b) in enumerate(zip(before, after)):
            if a is not SKIP and a != b:
                verdict.error('%s: %s: column %d: %.60r for %.60r' % (step, name, i, b, a))
                return
    verdict.cells += sum(len(row) for row in want)


def compare_tables(verdict, want, have, step):
    for name in sorted(set(want) ^ set(have)):
        verdict.error('%s: table %s: %s' % (step, name, 'missing' if name in want else 'not there before'))
    for name in sorted(set(want) & set(have)):
        compare_rows(verdict, name, want[name][1], have[name][1], step)


def compare_file(options, path, folder):
    verdict = corpus.Verdict()
    if corpus.open_pages(path) is None:
        verdict.note('encrypted file: nothing to compare')
        return verdict
    once, twice = (os.path.join(folder, name + os.path.splitext(path)[1]) for name in ('once', 'twice'))
    for source, output in ((path, once), (once, twice)):
        corpus.tolvane(options, 'repair', source, '-o', output, '--overwrite')
        corpus.tolvane(options, 'check', output, good=(0,))
    first, second, third = (compare_export.export(options, file) for file in (path, once, twice))
    types = column_types(options, path)
    want = {name: (header, saved_rows(verdict, rows, types[name])) for name, (header, rows) in first.items()}
    verdict.tables, verdict.rows = len(want), sum(len(rows) for _, rows in second.values())
    compare_tables(verdict, want, second, 'saved once')
    compare_tables(verdict, second, third, 'saved twice')
    if not pages.Pages(path).format.is_jet3:
        for name in set(first) & set(second):
            if first[name][0] != second[name][0]:
                verdict.error('%s: columns %s for %s' % (name, second[name][0][:8], first[name][0][:8]))
    for name in set(second) & set(third):
        if second[name][0] != third[name][0]:
            verdict.error('saved twice: %s: columns %s for %s' % (name, third[name][0][:8], second[name][0][:8]))
    return verdict


def main():
    options = corpus.arguments(__doc__)
    report = corpus.Report('export, save, repair, export')
    with tempfile.TemporaryDirectory(prefix='tolvane-') as folder:
        for path, short in corpus.databases(options):
            report.judge(short, lambda: compare_file(options, path, folder))
    return report.end()


if __name__ == '__main__':
    sys.exit(main())
