#!/usr/bin/env python3
"""The include check itself: it must find each kind of breach, and none in a sound tree."""
import os
import sys
import tempfile

import check_includes

SYSTEM = '#include <windows.h>\n#ifdef _WIN32\n#endif\n'
CASES = [  # file, its text, a file that is there, breaches
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


def breaches(path, text, other):
    with tempfile.TemporaryDirectory() as root:
        for name, content in ((other, ''), (path, text)):
            os.makedirs(os.path.join(root, os.path.dirname(name)), exist_ok=True)
            with open(os.path.join(root, name), 'w', encoding='utf-8') as file:
                file.write(content)
        return check_includes.check(root, path)


wrong = [(path, text, found) for path, text, other, count in CASES if len(found := breaches(path, text, other)) != count]
print('\n'.join(map(str, wrong)) or '%d cases' % len(CASES))
sys.exit(bool(wrong))
