"""Shared by the tests of the example `solve`: writes small files and runs the program on them."""
import gzip
import os
import re
import subprocess
import sys
import tempfile
import unittest

SOLVE, GENERATOR, DATA = map(os.path.abspath, sys.argv[1:4])
BANNER = "%%MatrixMarket matrix coordinate real general\n"
SMALL = "2 2 3\n1 1 2\n2 2 3\n2 1 .5\n"
SPD = "%%MatrixMarket matrix coordinate real symmetric\n3 3 5\n1 1 4\n2 1 -1\n2 2 4\n3 2 -1\n3 3 4\n"


def entries_of(rows):
    return [(i, j, value) for i, row in enumerate(rows) for j, value in enumerate(row) if value]


def coordinate(rows, scale=1.0):
    """A dense matrix as the text of a coordinate file."""
    entries = entries_of(rows)
    lines = "".join(f"{i + 1} {j + 1} {value * scale!r}\n" for i, j, value in entries)
    return f"{BANNER}{len(rows)} {len(rows[0])} {len(entries)}\n{lines}"


def read_solution(path):
    """The numbers of a Matrix Market array, after its size line."""
    with open(path) as file:
        lines = [line for line in file if not line.startswith("%")]
    return [float(line) for line in lines[1:]]


class SolveRunner(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def write(self, name, text, squeeze=False):
        path = os.path.join(self.folder, name)
        data = text if isinstance(text, bytes) else text.encode()
        with (gzip.open if squeeze else open)(path, "wb") as file:
            file.write(data)
        return path

    def run_solve(self, *arguments):
        done = subprocess.run([SOLVE, *arguments], capture_output=True, text=True, timeout=120)
        return done.returncode, done.stdout, done.stderr

    def report(self, *arguments):
        """The lines of the report by their first words."""
        status, out, err = self.run_solve(*arguments)
        self.assertEqual((status, err), (0, ""), out)
        return dict(re.split(r"  +", line, maxsplit=1) for line in out.splitlines())

    def scaled(self, *arguments):
        return float(self.report(*arguments)["scaled residual"].split()[0])

    def refused(self, text, message, *options, squeeze=False):
        """One line, FILE:LINE: message, exit status 1, nothing on standard output."""
        path = self.write("bad.mtx.gz" if squeeze else "bad.mtx", text, squeeze)
        place = path if message.startswith(":") else path + ":"
        self.assertEqual(self.run_solve(*options, path), (1, "", f"{place}{message}\n"))


def main():
    """Exit status 77, which ctest counts as skipped, where every test was skipped."""
    done = unittest.main(module="__main__", argv=[sys.argv[0], *sys.argv[4:]], verbosity=2, exit=False).result
    sys.exit(1 if not done.wasSuccessful() else 77 if len(done.skipped) >= max(done.testsRun, 1) else 0)
