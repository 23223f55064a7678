#!/usr/bin/env python3
"""The smaller programs under bad circumstances: full disks, outputs that cannot be written, drawings that are none.

usage: faults.py SKELETON SURVEY_NETWORK WALK_GENERATOR AI2PNG DRAWING EXAMPLES_DATA
Each must give one message and an exit status, and leave no incomplete file."""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

SKELETON, NETWORK, WALK, AI2PNG, DRAWING, DATA = map(os.path.abspath, sys.argv[1:7])
CLIP = os.path.join(DATA, "walk.bvh")


class Faults(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, name):
        return os.path.join(self.folder, name)

    def run_program(self, *command, **more):
        done = subprocess.run(command, stderr=subprocess.PIPE, text=True, timeout=120, cwd=self.folder,
                              **({"stdout": subprocess.PIPE} | more))
        return done.returncode, done.stdout, done.stderr

    def assert_fails(self, message, files, *command, **more):
        """Exit status 1, one line of error with the message, and only these files."""
        status, _, err = self.run_program(*command, **more)
        self.assertEqual(status, 1, (command, err))
        self.assertEqual(len(err.splitlines()), 1, err)
        self.assertIn(message, err)
        self.assertEqual(sorted(os.listdir(self.folder)), sorted(files))

    @unittest.skipUnless(os.path.exists("/dev/full"), "no /dev/full")
    def test_a_full_disk_behind_standard_output(self):
        for command in ((SKELETON, CLIP), (WALK,)):
            with open("/dev/full", "w") as full:
                self.assert_fails("written", [], *command, stdout=full)

    @unittest.skipUnless(os.path.exists("/dev/full"), "no /dev/full")
    def test_a_full_disk_behind_a_file(self):
        for name in ("survey_network.mtx.gz", "survey_network_b.mtx.gz"):
            os.symlink("/dev/full", self.path(name + ".part"))
            self.assert_fails(f"{name}: could not be written completely", [], NETWORK, self.folder)
        if shutil.which("gs"):
            os.symlink("/dev/full", self.path("x.png.part"))
            self.assert_fails("x.png cannot be written: No space left on device", [], AI2PNG, DRAWING, self.path("x.png"))

    def test_outputs_that_cannot_be_written(self):
        self.assert_fails("cannot be written: No such file or directory", [], NETWORK, self.path("no"))
        if shutil.which("gs"):
            self.assert_fails("cannot be written: No such file or directory", [], AI2PNG, DRAWING, self.path("no/x.png"))

    @unittest.skipUnless(shutil.which("gs"), "no Ghostscript")
    def test_drawings_that_are_none(self):
        self.assert_fails("cannot read", [], AI2PNG, self.path("none.ai"), self.path("x.png"))
        with open(DRAWING) as drawing, open(self.path("cut.ai"), "w") as cut:
            cut.write(drawing.read(700))
        with open(self.path("x.png"), "w") as earlier:
            earlier.write("earlier")
        self.assert_fails("cut.ai is not a complete drawing", ["cut.ai", "x.png"], AI2PNG, self.path("cut.ai"),
                          self.path("x.png"))
        with open(self.path("cut.ai"), "w") as other:
            other.write("hello (")
        self.assert_fails("cut.ai is not a drawing", ["cut.ai", "x.png"], AI2PNG, self.path("cut.ai"), self.path("x.png"))
        with open(self.path("x.png")) as earlier:
            self.assertEqual(earlier.read(), "earlier")


unittest.main(argv=sys.argv[:1], verbosity=2)
