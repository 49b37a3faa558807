#!/usr/bin/env python3
"""The checks of includes and of names themselves: they must find each kind of breach, and none in a sound tree."""
import os
import sys
import tempfile

import check_includes
import check_names

SYSTEM = '#include <windows.h>\n#ifdef _WIN32\n#endif\n'
INCLUDES = [  # file, its text, a file that is there, breaches
    ('engine/A.cpp', '#include "model/B.h"\n#include <vector>\n', 'model/B.h', 0),
    ('embedded/A.cpp', '#include "dao/dao.h"\n', 'dao/dao.h', 0),
    ('model/A.cpp', '#include "store/WorkFolder.h"\n', 'store/WorkFolder.h', 0),
    ('model/A.cpp', '#include "engine/B.h"\n', 'engine/B.h', 1),
    ('store/A.cpp', '#include "model/B.h"\n', 'model/B.h', 1),
    ('embedded/A.cpp', '#include "writer/W.h"\n', 'writer/W.h', 1),
    ('cli/A.cpp', '#include "tests/support/B.h"\n', 'tests/support/B.h', 1),
    ('engine/A.cpp', '#include "B.h"\n', 'engine/B.h', 1),
    ('engine/A.cpp', SYSTEM, 'engine/B.h', 3),
    ('platform/A.cpp', SYSTEM, 'platform/B.h', 3),
    ('writer/A.cpp', 'CSavingStatus::Instance().IsSaving();\nShownJob().Stop();\n', 'writer/B.h', 2),
    ('app/A.cpp', 'CSavingStatus::Instance().IsSaving();\nShownJob().Stop();\n', 'app/B.h', 0),
    ('platform/A_win.cpp', SYSTEM, 'platform/B.h', 0),
]

ONE = 'namespace tolvane {\nstruct SRow {\n  int a;\n};\n}\n'
PRIVATE = ('namespace tolvane {\nnamespace {\nconstexpr size_t kMost%s = 3;\nstd::vector<int> Make(int a) {\n  int b = a;\n'
           '  return {b};\n}\nstruct SLocal {\n  int a = 0;\n};\nbool Is%s(int a) {\n  return a == 1;\n}\n}\nint Make2() {\n'
           '  int b = 1;\n  return b;\n}\n}\n')
NAMES = [  # files with their texts, breaches
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


def in_tree(files, check):
    """What the check answers to a root with these files."""
    with tempfile.TemporaryDirectory() as root:
        for name, content in files.items():
            os.makedirs(os.path.join(root, os.path.dirname(name)), exist_ok=True)
            with open(os.path.join(root, name), 'w', encoding='utf-8') as file:
                file.write(content)
        return check(root)


def walked(root):
    """The files that the check of names walks over beside a link in the build folder that leads back to the root."""
    os.symlink(root, os.path.join(root, 'build', 'z:'))
    return sorted(check_names.sources(root))


found = [(path, text, in_tree({other: '', path: text}, lambda root: check_includes.check(root, path)), count)
         for path, text, other, count in INCLUDES]
found += [(files, in_tree(files, lambda root: check_names.check(root, sorted(files))), count) for files, count in NAMES]
wrong = [case for case in found if len(case[-2]) != case[-1]]
tree = dict.fromkeys(['app/A.h', 'build/app/B.h', 'tests/C.cpp', 'docs/D.txt'], '')
if (seen := in_tree(tree, walked)) != ['app/A.h', 'tests/C.cpp']:
    wrong.append(('walked', seen))
print('\n'.join(map(str, wrong)) or '%d cases' % len(found))
sys.exit(bool(wrong))
