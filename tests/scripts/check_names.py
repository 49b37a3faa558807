#!/usr/bin/env python3
"""Proves that a name stands for one thing over the whole program:

1. No type is defined twice in one namespace: a linker would silently take one of the two for both. Types inside an
   unnamed namespace belong to their file.
2. No two headers of the program carry one file name, so that an include says what it means wherever it stands.
3. What the unnamed namespaces of a folder's files hold has one name each: the release build compiles several files of
   a folder as one.

The test programs are linked with the program, each folder of tests for itself: the same holds there.

    python3 tests/scripts/check_names.py PROJECT_ROOT

Prints one line a breach and exits with 1; with 0 and a count when there is none.
"""
import collections
import os
import re
import sys

NOT_THE_PROGRAM = ('build', 'tests', 'fuzz', 'bench')
TOKEN = re.compile(r'''
    //[^\n]* | /\*.*?\*/                                   # comments
  | (?:u8|u|U|L)?R"([^(\s]*)\(.*?\)\1"                     # raw texts
  | "(?:\\.|[^"\\\n])*" | (?<![0-9A-Fa-f])'(?:\\.|[^'\\\n])+' # texts and characters
  | ^[ \t]*\#(?:\\\n|[^\n])*                               # preprocessor lines
  | (?P<namespace>\b(?:inline\s+)?namespace\b\s*(?P<space>[\w:]*)\s*\{)
  | (?P<type>\b(?:struct|class|union|enum(?:\s+class)?)\s+(?:alignas\([^)]*\)\s*)?(?P<name>[A-Z]\w*)(?:\s+final)?\s*
      (?::(?!:)[^;{()]*)?\{)
  | [{}]''', re.X | re.S | re.M)


# At the start of a line of a namespace: what it declares there.
DECLARED = re.compile(r'''^(?!using\b)(?:template\s*<[^>]*>\s*)?(?:(?:constexpr|inline|static|const|struct|class|enum)\s+)*
    (?:[\w:]+(?:<[^;={}]*?>)?[\s*&]+)?(?P<name>\w+)\s*[(={;[<]''', re.M | re.X)
NO_NAMES = {'return', 'if', 'for', 'while', 'switch', 'operator', 'static_assert'}


def private_names(text):
    """What the unnamed namespaces of the text declare."""
    parts, scopes, end = [], [], 0  # scopes: as in types_of
    for token in TOKEN.finditer(text):
        is_private = '' in scopes and all(scope is not None for scope in scopes)
        if is_private:
            parts += [text[end:token.start()], '\n%s;\n' % token[0][:-1] if token['type'] else token[0][:1]]
        end = token.end()
        if token['namespace']:
            scopes.append(token['space'])
        elif token[0] == '{' or token['type']:
            scopes.append(None)
        elif token[0] == '}' and scopes:
            scopes.pop()
            parts.append('}\n')
    return {found['name'] for found in DECLARED.finditer(''.join(parts))} - NO_NAMES


def types_of(text):
    """(qualified name, line) of each type that the text defines outside unnamed namespaces and functions."""
    scopes = []  # names; None for a block that is no namespace and no type, '' for an unnamed namespace
    for token in TOKEN.finditer(text):
        if token['namespace']:
            scopes.append(token['space'])
        elif token['type']:
            if all(scopes):
                yield '::'.join([*scopes, token['name']]), text.count('\n', 0, token.start()) + 1
            scopes.append(token['name'])
        elif token[0] == '{':
            scopes.append(None)
        elif token[0] == '}' and scopes:
            scopes.pop()


def program_of(path):
    """The program that a file is linked into: '' for what is linked into all of them."""
    parts = path.split('/')
    if parts[:2] == ['tests', 'support'] or parts[0] not in NOT_THE_PROGRAM:
        return ''
    return '/'.join(parts[:2]) if parts[0] == 'tests' else parts[0]


def system_of(path):
    found = re.search(r'_(win|posix)\.', path)
    return found[1] if found else ''


def meet(one, other):
    """Whether two files can be linked into one program."""
    systems, programs = {system_of(one), system_of(other)} - {''}, {program_of(one), program_of(other)} - {''}
    return len(systems) < 2 and len(programs) < 2


def twice(places):
    return [(one, other) for i, one in enumerate(places) for other in places[i + 1:] if meet(one[0], other[0])]


def check(root, paths):
    types, headers, private = (collections.defaultdict(list) for _ in range(3))
    for path in paths:
        with open(os.path.join(root, path), encoding='utf-8') as source:
            text = source.read()
        for name, line in types_of(text):
            types[name].append((path, line))
        folder = path.split('/')[0]
        if path.endswith('.cpp') and folder not in NOT_THE_PROGRAM and folder not in ('samples', 'ui'):
            for name in private_names(text):
                private[folder, name].append((path, 1))
        if path.endswith('.h'):
            headers[os.path.basename(path).lower()].append((path, 1))
    return ['%s:%d: %s is also defined in %s:%d' % (*other, name, *one)
            for name, places in sorted(types.items()) for one, other in twice(places)] + [
            '%s:%d: %s is also the name of %s' % (*other, name, one[0])
            for name, places in sorted(headers.items()) for one, other in twice(places)] + [
            '%s:%d: the private name %s is also one in %s' % (*other, name, one[0])
            for (_, name), places in sorted(private.items()) for one, other in twice(places)]


def sources(root):
    """Every source below the root, from the root. The build's folder is not entered: it is large, and the links of its
    Windows environment lead out of it and round."""
    for where, folders, names in os.walk(root):
        folders[:] = [folder for folder in folders if folder != 'build' and not folder.startswith('.')]
        yield from (os.path.relpath(os.path.join(where, name), root) for name in names if name.endswith(('.h', '.cpp')))


def main(root):
    files = sorted(sources(root))
    breaches = check(root, files)
    print('\n'.join(breaches + ['%d files, %d breaches' % (len(files), len(breaches))]))
    return 1 if breaches or not files else 0


if __name__ == '__main__':
    sys.exit(main(sys.argv[1]))
