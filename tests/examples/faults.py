#!/usr/bin/env python3
"""All example programs except solve under bad circumstances: full disks, outputs that cannot be written, inputs that end or fail
while they are read, little memory, Ctrl-C, drawings that are none.

usage: faults.py SKELETON SURVEY_NETWORK WALK_GENERATOR MOTION_EDIT AI2PNG DRAWING EXAMPLES_DATA
Each must give one message and an exit status, and leave no incomplete file."""
import json
import os
import pty
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import unittest

from limited_memory import MEGABYTE, LimitedMemory

SKELETON, NETWORK, WALK, MOTION_EDIT, AI2PNG, DRAWING, DATA = map(os.path.abspath, sys.argv[1:8])
CLIP = os.path.join(DATA, "walk.bvh")


class Faults(LimitedMemory):
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
        for program in (SKELETON, WALK, NETWORK, MOTION_EDIT):
            with open("/dev/full", "w") as full:
                self.assertEqual(self.run_program(program, "--help", stdout=full)[0], 1, program)

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

    @unittest.skipUnless(shutil.which("gs"), "no Ghostscript")
    def test_a_picture_without_memory_for_ghostscript(self):
        # Its library alone is larger. What the drawing is like does not matter.
        done = self.limited(16 * MEGABYTE, [AI2PNG, DRAWING, "x.png"])
        self.assertEqual((done.returncode, done.stdout, os.listdir(self.folder)), (1, "", []))
        self.assertRegex(done.stderr, "^ai2png: (not enough memory for Ghostscript|Ghostscript fails: .*)\n$")

    @unittest.skipUnless(shutil.which("gs"), "no Ghostscript")
    def test_ctrl_c_while_a_drawing_is_read(self):
        pipe = self.path("pipe")
        os.mkfifo(pipe)
        # Whoever started these tests may ignore the signal.
        program = subprocess.Popen([AI2PNG, pipe, "x.png"], cwd=self.folder, start_new_session=True,
                                   preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))
        with open(pipe, "w"):  # returns when Ghostscript reads
            os.killpg(program.pid, signal.SIGINT)
            self.assertEqual(program.wait(timeout=60), 1)
        self.assertEqual(os.listdir(self.folder), ["pipe"])

    def reading_pipe(self, text, *command):
        """Runs the command. It reads `text` from the file "pipe", which then ends."""
        pipe = self.path("pipe")
        os.mkfifo(pipe)
        program = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, cwd=self.folder)
        with open(pipe, "w") as writer:
            writer.write(text)
        out, err = program.communicate(timeout=60)
        os.remove(pipe)
        return program.returncode, out, err

    def test_a_clip_that_ends_while_it_is_read(self):
        with open(CLIP) as clip:
            whole = clip.read()
        for text, message in ((whole[:1000], "expected"), (whole[:whole.index("Frame Time")], "expected Frame"),
                              (whole[:whole.index("Frame Time") + 22], "expected 120 frames, found none")):
            for command in ((SKELETON, "pipe"), (MOTION_EDIT, "-o", "out", "pipe")):
                status, out, err = self.reading_pipe(text, *command)
                self.assertEqual((status, out, len(err.splitlines())), (1, "", 1), err)
                self.assertRegex(err, f"^pipe:[0-9]+: .*{message}")
                self.assertEqual(os.listdir(self.folder), [])

        # The frames that could be read are used, and a note says so.
        for program, place in ((SKELETON, 2), (MOTION_EDIT, 1)):
            result = self.reading_pipe(whole[:-400], program, "pipe")
            self.assertIn("there are 119 whole frames instead of the declared 120 frames", result[place])

    def test_a_script_that_ends_while_it_is_read(self):
        status, _, err = self.reading_pipe("1-10 LeftFoot 3 4", MOTION_EDIT, "-o", "out", CLIP, "pipe")
        self.assertEqual((status, len(err.splitlines())), (1, 1), err)
        self.assertIn("pipe:1: ", err)
        self.assertEqual(os.listdir(self.folder), [])

    @unittest.skipUnless(os.path.exists("/proc/self/mem"), "no file whose reading fails")
    def test_inputs_whose_reading_fails(self):
        for command in ((SKELETON, "/proc/self/mem"), (MOTION_EDIT, "/proc/self/mem"), (MOTION_EDIT, CLIP, "/proc/self/mem")):
            self.assert_fails("/proc/self/mem: ", [], *command)

    def test_generators_with_little_memory(self):
        for command in ((NETWORK, "."), (WALK,)):
            self.steps(*command[:1], command[1:], (0, 1, 2, 4, 64))

    @staticmethod
    def full_terminal():
        """Makes a terminal that is full: it accepts no output until its other end is read."""
        controller, terminal = pty.openpty()
        os.set_blocking(terminal, False)
        try:
            while True:
                os.write(terminal, b"x" * 100)
        except BlockingIOError:
            pass
        os.set_blocking(terminal, True)
        return controller, terminal

    @staticmethod
    def read_all(controller, shown):
        try:
            while piece := os.read(controller, 1000):
                shown.append(piece)
        except OSError:
            pass  # the program has closed the terminal

    @unittest.skipUnless(os.path.exists("/proc/self/status"), "no way to find out which signals a program handles")
    def test_ctrl_c_ends_an_edit_with_the_best_motion_so_far(self):
        # The program stops at its first line of progress, so the signal arrives before the second step.
        controller, terminal = self.full_terminal()
        command = [MOTION_EDIT, "-o", "out", "--report", "out.json", "--goal", "1e-15", CLIP]
        program = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=terminal, text=True, cwd=self.folder)
        os.close(terminal)
        self.wait_until_it_catches(program, signal.SIGINT)
        program.send_signal(signal.SIGINT)
        shown = []
        reader = threading.Thread(target=self.read_all, args=(controller, shown))
        reader.start()
        program.communicate(timeout=60)
        reader.join()
        os.close(controller)
        said = b"".join(shown).decode()
        self.assertEqual(program.returncode, 2, said)
        self.assertIn("limber-motion-edit: stopped by Ctrl-C; the best motion so far was written", said)
        self.assertNotIn("step 3:", said)
        self.assertEqual(sorted(os.listdir(self.folder)),
                         ["out-convergence.ai", "out-speed.ai", "out.ai", "out.bvh", "out.json"])
        self.assertEqual(self.run_program(SKELETON, "out.bvh", "120")[::2], (0, ""))
        with open(self.path("out.json")) as file:
            self.assertFalse(json.load(file)["met"])

    def test_an_edit_whose_steps_take_long_says_so_before_they_begin(self):
        legs = 500
        leg = "JOINT Leg{0}\n{{\nOFFSET {0} -1 0\nCHANNELS 3 Zrotation Xrotation Yrotation\n" \
              "End Site\n{{\nOFFSET 0 -1 0\n}}\n}}\n"
        with open(self.path("legs.bvh"), "w") as file:
            file.write("HIERARCHY\nROOT Hips\n{\nOFFSET 0 0 0\n"
                       "CHANNELS 6 Xposition Yposition Zposition Zrotation Xrotation Yrotation\n")
            file.write("".join(leg.format(i) for i in range(legs)))
            file.write("}\nMOTION\nFrames: 60\nFrame Time: 0.04\n")
            file.write(("0 2 0" + " 0" * (3 + 3 * legs) + "\n") * 60)
        with open(self.path("script.txt"), "w") as file:
            file.write("".join(f"hold 1-60 Leg{i}.End\n" for i in range(legs)))
        program = subprocess.Popen([MOTION_EDIT, "legs.bvh", "script.txt"], stdout=subprocess.PIPE, text=True,
                                   cwd=self.folder)
        said = next((line for line in program.stdout if "channels move" in line), "")
        program.kill()
        program.communicate()
        self.assertIn("note: 1506 channels move what is held: each step takes about 92 seconds and 3.3 GB", said)

    def wait_until_it_catches(self, program, number):
        """Waits until the program has a handler of that signal, however busy the machine is."""
        caught = 0
        while not caught >> (number - 1) & 1:
            self.assertIsNone(program.poll())
            with open(f"/proc/{program.pid}/status") as status:
                caught = next((int(line.split()[1], 16) for line in status if line.startswith("SigCgt:")), 0)


unittest.main(argv=sys.argv[:1], verbosity=2)
