#!/usr/bin/env python3
"""The include check itself: it must find each kind of breach, and none in a sound tree."""
import os
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import check_includes  # noqa: E402


class CheckIncludes(unittest.TestCase):
    def breaches(self, path, text, others=()):
        with tempfile.TemporaryDirectory() as root:
            for name, content in [(path, text)] + [(other, '#pragma once\n') for other in others]:
                os.makedirs(os.path.dirname(os.path.join(root, name)), exist_ok=True)
                with open(os.path.join(root, name), 'w') as out:
                    out.write(content)
            return check_includes.check(root, path)

    def test_down_is_allowed(self):
        self.assertEqual([], self.breaches('engine/A.cpp', '#include "model/B.h"\n#include <vector>\n', ['model/B.h']))
        self.assertEqual([], self.breaches('writer/embedded/A.cpp', '#include "writer/dao.h"\n', ['writer/dao.h']))

    def test_up_is_a_breach(self):
        self.assertEqual(1, len(self.breaches('model/A.cpp', '#include "engine/B.h"\n', ['engine/B.h'])))
        self.assertEqual(1, len(self.breaches('model/A.cpp', '#include "store/RowReader.h"\n', ['store/RowReader.h'])))
        self.assertEqual([], self.breaches('model/A.cpp', '#include "store/WorkFolder.h"\n', ['store/WorkFolder.h']))
        self.assertEqual(1, len(self.breaches('writer/embedded/A.cpp', '#include "writer/W.h"\n', ['writer/W.h'])))
        self.assertEqual(1, len(self.breaches('cli/A.cpp', '#include "tests/support/B.h"\n', ['tests/support/B.h'])))

    def test_missing_target_is_a_breach(self):
        self.assertEqual(1, len(self.breaches('engine/A.cpp', '#include "B.h"\n', ['engine/B.h'])))

    def test_system_only_in_platform_sources(self):
        text = '#include <windows.h>\n#ifdef _WIN32\n#endif\n'
        self.assertEqual(3, len(self.breaches('engine/A.cpp', text)))
        self.assertEqual(3, len(self.breaches('platform/A.cpp', text)))
        self.assertEqual([], self.breaches('platform/A_win.cpp', text))


if __name__ == '__main__':
    unittest.main()
