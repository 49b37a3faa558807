#!/usr/bin/env python3
"""The name check itself: it must find each kind of collision, and none in a sound tree."""
import os
import sys
import tempfile

import check_names

ONE = 'namespace tolvane {\nstruct SRow {\n  int a;\n};\n}\n'
PRIVATE = ('namespace tolvane {\nnamespace {\nconstexpr size_t kMost%s = 3;\nstd::vector<int> Make(int a) {\n  int b = a;\n'
           '  return {b};\n}\nstruct SLocal {\n  int a = 0;\n};\nbool Is%s(int a) {\n  return a == 1;\n}\n}\nint Make2() {\n'
           '  int b = 1;\n  return b;\n}\n}\n')
CASES = [  # files with their texts, breaches
    ({'app/A.h': ONE, 'cli/B.h': ONE}, 1),
    ({'app/A.h': ONE, 'cli/B.h': ONE, 'ui/C.h': ONE}, 3),
    ({'app/A.h': ONE, 'cli/B.cpp': 'namespace tolvane {\nclass SRow final : public CBase<int> {};\n}\n'}, 1),
    ({'app/A.h': ONE, 'cli/B.cpp': 'namespace tolvane {\nenum class SRow : int { A };\n}\n'}, 1),
    ({'app/A.h': ONE, 'cli/B.cpp': 'namespace tolvane {\nnamespace {\nstruct SRow {};\n}\n}\n'}, 0),
    ({'app/A.h': ONE, 'cli/B.h': 'namespace tolvane {\nclass CTable {\n  struct SRow { int b; };\n};\n}\n'}, 0),
    ({'app/A.h': ONE, 'cli/B.h': 'namespace tolvane {\nstruct SRow;\nvoid F() {\n  struct SRow { int b; };\n}\n}\n'}, 0),
    ({'app/A.h': ONE, 'cli/B.h': 'namespace tolvane {\n// struct SRow {\nauto t = R"(struct SRow {)", s = "{";\n}\n'}, 0),
    ({'app/A.h': ONE, 'cli/B.h': 'namespace tolvane {\nint n = 1\'000;\nchar c = \'{\';\nstruct SRow {};\n}\n'}, 1),
    ({'platform/A_win.cpp': ONE, 'platform/A_posix.cpp': ONE}, 0),
    ({'app/A.h': ONE, 'tests/app/ATest.cpp': ONE}, 1),
    ({'tests/app/ATest.cpp': ONE, 'tests/cli/BTest.cpp': ONE}, 0),
    ({'tests/support/A.h': ONE, 'tests/cli/BTest.cpp': ONE}, 1),
    ({'app/A.cpp': PRIVATE % ('', ''), 'app/B.cpp': PRIVATE % ('', '')}, 4),
    ({'app/A.cpp': PRIVATE % ('', ''), 'app/B.cpp': PRIVATE % ('B', 'B')}, 2),
    ({'app/A.cpp': PRIVATE % ('', ''), 'cli/B.cpp': PRIVATE % ('', '')}, 0),
    ({'app/A_win.cpp': PRIVATE % ('', ''), 'app/A_posix.cpp': PRIVATE % ('', '')}, 0),
    ({'app/Row.h': '', 'cli/Row.h': ''}, 1),
    ({'app/Row.cpp': '', 'cli/Row.cpp': ''}, 0),
]


def files_of(made):
    """What the check walks over in a tree with the files and with a link in its build folder that leads back to its root."""
    with tempfile.TemporaryDirectory() as root:
        for name in made:
            os.makedirs(os.path.join(root, os.path.dirname(name)), exist_ok=True)
            open(os.path.join(root, name), 'w', encoding='utf-8').close()
        os.symlink(root, os.path.join(root, 'build', 'z:'))
        return sorted(check_names.sources(root))


def breaches(files):
    with tempfile.TemporaryDirectory() as root:
        for name, content in files.items():
            os.makedirs(os.path.join(root, os.path.dirname(name)), exist_ok=True)
            with open(os.path.join(root, name), 'w', encoding='utf-8') as file:
                file.write(content)
        return check_names.check(root, sorted(files))


wrong = [(files, found) for files, count in CASES if len(found := breaches(files)) != count]
if (walked := files_of(['app/A.h', 'build/app/B.h', 'tests/C.cpp', 'docs/D.txt'])) != ['app/A.h', 'tests/C.cpp']:
    wrong.append(('walked', walked))
print('\n'.join(map(str, wrong)) or '%d cases' % len(CASES))
sys.exit(bool(wrong))
