#!/usr/bin/env python3
"""Proves three rules of the architecture (docs/architecture.md) over the sources:

1. Includes between the project's folders point only down: each layer below may include itself and those it names.
2. System headers and conditional compilation appear only where the system is: platform/*_win.cpp and
   platform/*_posix.cpp, the Windows program and the automation of an installed database engine.
3. Below app/ nobody reaches for the job that the process shows: workers know the job that they were given.

    python3 tests/scripts/check_includes.py PROJECT_ROOT

Prints one line a breach and exits with 1; with 0 and a count when there is none.
"""
import glob
import os
import re
import sys

# layer -> layers that it may include besides itself
READING = ['format', 'platform', 'status', 'query', 'store', 'model', 'render']
LAYERS = {
    'format': [],
    'platform': [],
    'status': ['platform'],
    'query': ['format'],
    'store': ['format', 'platform', 'status'],
    'model': ['format', 'platform', 'store', 'query'],
    'render': ['format', 'platform', 'status', 'query', 'store', 'model'],
    'engine': READING,
    'dao': ['format'],
    'writer': READING + ['dao'],
    'embedded': ['format', 'platform', 'dao'],
    'automation': ['format', 'platform', 'query', 'dao'],
    'checker': ['format', 'platform'],
    'export': READING + ['dao', 'writer'],
}
EVERYTHING = list(LAYERS)
LAYERS['app'] = EVERYTHING
LAYERS['cli'] = EVERYTHING + ['app']
LAYERS['ui'] = EVERYTHING + ['app']

SYSTEM_HEADER = re.compile(
    r'(?i)^(windows|winsock2|shlobj|shellapi|commctrl|objbase|oleauto|oaidl|psapi|bcrypt|tlhelp32|io|direct|unistd|fcntl|'
    r'dirent|pthread|termios|poll|signal|spawn|dlfcn|pwd|iconv|langinfo|sys/.+|linux/.+)\.h$')
INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>)')
SHOWN_JOB = re.compile(r'\b(?:ShownJob|C\w*Status\w*::Instance|C(?:RepairLog|DisplayPause|RepairThreadCounter)::Instance)\(')
CONDITIONAL = re.compile(r'^\s*#\s*(?:if|ifdef|ifndef|elif|else|endif)\b')


def layer_of(path):
    """The layer of a file named from the project's root; None for files outside the layers (tests and the like)."""
    folder = path.split('/')[0]
    return folder if folder in LAYERS else None


def may_use_system(path):
    return re.match(r'ui/|automation/|platform/[^/]+_(win|posix)\.(cpp|h)$', path) is not None


def breach_of(root, path, line):
    """What is wrong with a line; None when nothing is."""
    layer, include = layer_of(path), INCLUDE.match(line)
    if CONDITIONAL.match(line) and not may_use_system(path):
        return 'conditional compilation outside the platform layer: ' + line.strip()
    if SHOWN_JOB.search(line) and layer not in (None, 'status', 'app', 'cli', 'ui'):
        return 'the shown job below the front ends: ' + line.strip()
    project, system = include.groups() if include else (None, None)
    if system and SYSTEM_HEADER.match(system) and not may_use_system(path):
        return 'system header outside the platform layer: <%s>' % system
    if not project:
        return None
    if not os.path.exists(os.path.join(root, project)):
        return 'include is not a path from the root: "%s"' % project
    target = layer_of(project)
    if target != layer and target not in LAYERS[layer]:
        return '%s may not include %s: "%s"' % (layer, target or 'what is in no layer', project)
    return None


def check(root, path):
    with open(os.path.join(root, path), encoding='utf-8') as source:
        found = [(number, breach_of(root, path, line)) for number, line in enumerate(source, 1)]
    return ['%s:%d: %s' % (path, number, breach) for number, breach in found if breach]


def main(root):
    paths = [path for folder in LAYERS for path in glob.glob('%s/%s/**' % (root, folder), recursive=True)]
    files = sorted(os.path.relpath(path, root) for path in paths if path.endswith(('.h', '.cpp')))
    breaches = [breach for path in files for breach in check(root, path)]
    print('\n'.join(breaches + ['%d files, %d breaches' % (len(files), len(breaches))]))
    return 1 if breaches or not files else 0


if __name__ == '__main__':
    sys.exit(main(sys.argv[1]))
