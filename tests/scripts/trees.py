"""What the tests of the scripts share: the scripts, and a tree of their own."""

import pathlib
import signal
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "scripts"))
sys.dont_write_bytecode = True
# Who is told to stop ends what it has started, as on Ctrl-C.
signal.signal(signal.SIGTERM, signal.default_int_handler)


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
