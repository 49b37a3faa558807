#!/usr/bin/env python3
"""What --json prints is what docs/schema says, member by member: none missing, none that is not described.

    python3 tests/cli/test_schemas.py build/release/tolvane samples/damaged.mdb docs/schema

With real files (TOLVANE_CORPUS) also queries, relationships, links and multi-values are seen.
"""
import glob
import json
import os
import subprocess
import sys
import tempfile
import warnings

# Newer packages have another way to find a second schema, which Debian's does not know yet.
warnings.simplefilter('ignore', DeprecationWarning)
try:
    import jsonschema
except ImportError:
    print('skipped: there is no python3-jsonschema here')
    sys.exit(77)

TOLVANE, SAMPLE, SCHEMAS = (os.path.abspath(path) for path in sys.argv[1:4])


def closed(schema):
    """The schema without room for members that it does not describe."""
    if isinstance(schema, list):
        return [closed(part) for part in schema]
    if not isinstance(schema, dict):
        return schema
    schema = {name: closed(part) for name, part in schema.items()}
    if 'properties' in schema and schema.get('type') == 'object':
        schema['additionalProperties'] = False
    return schema


def load():
    loaded = {}
    for path in glob.glob(os.path.join(SCHEMAS, '*.json')):
        with open(path, encoding='utf-8') as file:
            loaded[os.path.basename(path)] = json.load(file)
    return loaded


def validator(name, schemas):
    resolver = jsonschema.RefResolver('', schemas[name], store=schemas)
    return jsonschema.Draft202012Validator(schemas[name], resolver=resolver)


class Checker:
    def __init__(self, folder):
        schemas = load()
        for schema in schemas.values():
            jsonschema.Draft202012Validator.check_schema(schema)
        self.schemas = {name: closed(schema) for name, schema in schemas.items()}
        self.folder, self.checked = folder, 0

    def validate(self, name, value):
        errors = sorted(validator(name, self.schemas).iter_errors(value), key=lambda error: len(error.path))
        if errors:
            # Of the alternatives, the one that was meant.
            error = jsonschema.exceptions.best_match(errors)
            sys.exit('%s: %s at %s: %s' % (name, json.dumps(value)[:120], list(error.absolute_path), error.message[:400]))
        self.checked += 1

    def run(self, *words):
        done = subprocess.run([TOLVANE, *words, '--json', '-q'], capture_output=True, timeout=120, check=False)
        result = json.loads(done.stdout)
        assert result['exitStatus'] == done.returncode, (words, done.returncode)
        self.validate(words[0] + '.json', result)
        return result

    def run_all(self, source, number):
        output = os.path.join(self.folder, '%d%s' % (number, os.path.splitext(source)[1]))
        rows = os.path.join(self.folder, 'rows%d' % number)
        repaired = self.run('repair', source, '-o', output, '--all')
        if 'error' in repaired:
            return repaired
        self.run('check', output)
        self.run('tables', source, '--all')
        self.run('queries', source, '--all')
        self.run('objects', source, '--all')
        self.run('engines')
        self.run('export', source, '--format', 'sql', '-o', rows + '.sql')
        self.run('inspect', source)
        for table in repaired['tables'][:3]:
            self.run('preview', source, 'page:%d' % table['page'], '--rows', '3')
        self.run('export', source, '--to', rows, '--format', 'jsonl')
        lines = validator('export-line.json', self.schemas)
        for path in glob.glob(os.path.join(rows, '*.jsonl')):
            with open(path, encoding='utf-8') as file:
                for line in list(file)[:20]:
                    lines.validate(json.loads(line))
        return repaired


def main():
    with tempfile.TemporaryDirectory(prefix='tolvane-schemas-') as folder:
        checker = Checker(folder)
        repaired = checker.run_all(SAMPLE, 0)
        missing = dict(repaired)
        del missing['damage']
        assert not validator('repair.json', checker.schemas).is_valid(missing), 'the schema refuses nothing'
        # No installed engine is here to fail.
        error = {'number': 3022, 'description': 'Duplicate values.', 'call': 'Update', 'count': 2}
        for errors, are_valid in (([error], True), ([{'number': '3022'}], False)):
            failed = dict(repaired, saving=dict(repaired['saving'], engineErrors=errors))
            assert validator('repair.json', checker.schemas).is_valid(failed) == are_valid, errors
        noise = os.path.join(folder, 'noise.mdb')
        with open(noise, 'wb') as file:
            file.write(bytes(range(256)) * 64)
        for command in ('repair', 'tables', 'queries', 'objects', 'inspect', 'check'):
            checker.run(command, noise)
        checker.run('repair', SAMPLE, noise, '--dry-run')
        corpus = os.environ.get('TOLVANE_CORPUS', '')
        real = sorted(path for path in glob.glob(os.path.join(corpus, '**', '*'), recursive=True)
                      if path.lower().endswith(('.mdb', '.accdb')))
        if not corpus or not real:
            print('without real files: TOLVANE_CORPUS names none')
        kinds = ('queries', 'relationships', 'links')
        seen = {kind: 0 for kind in kinds}
        for number, path in enumerate(real[::3], 1):
            found = checker.run_all(path, number)
            for kind in kinds:
                seen[kind] += len(found.get(kind, []))
        assert not real or all(seen.values()), seen
        print('%d results are as their schemas say; seen in real files: %s' % (checker.checked, seen))


main()
