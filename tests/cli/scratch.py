"""What the tests of the program share: a folder for each test, and files in it."""
import os
import shutil
import tempfile
import unittest


def read(path):
    with open(path, 'rb') as file:
        return file.read()


class ScratchTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix='tolvane-test-')
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def path(self, *names):
        return os.path.join(self.folder, *names)

    def write(self, name, content):
        with open(self.path(name), 'wb') as file:
            file.write(content)
        return self.path(name)
