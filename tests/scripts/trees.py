"""What the tests of the scripts share: a tree of their own."""

import pathlib
import tempfile
import unittest


class InTree(unittest.TestCase):
    """A test with a tree of its own."""

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.root = pathlib.Path(directory.name)

    def write(self, path, text, executable=False):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text)
        if executable:
            file.chmod(0o755)
        return file
