#!/usr/bin/env python3
"""The example `solve` under bad circumstances: full disks, interrupted inputs, Ctrl-C.

usage: solve_faults.py SOLVE SURVEY_NETWORK EXAMPLES_DATA [TEST...]
"""
import os
import pty
import random
import signal
import subprocess
import threading
import time
import unittest

from solve_support import BANNER, SOLVE, SPD, SolveRunner, coordinate, main


class Faults(SolveRunner):
    """Faults must give a message and an exit status, and no incomplete file."""

    @unittest.skipUnless(os.path.exists("/dev/full"), "no /dev/full")
    def test_full_disks(self):
        path = self.write("a.mtx", SPD)
        for options in (("-x", "/dev/full"), ("--report", "/dev/full"), ("--matlab", "/dev/full"),
                        ("--family", "newer", "--spd", "--trace", "/dev/full")):
            status, _, err = self.run_solve(*options, path)
            self.assertEqual((status, err), (1, "/dev/full: could not be written completely\n"), options)
        for options in ((path,), ("--help",), ("--version",)):
            with open("/dev/full", "w") as full:
                done = subprocess.run([SOLVE, *options], stdout=full, stderr=subprocess.PIPE, text=True, timeout=60)
            self.assertEqual((done.returncode, done.stderr),
                             (1, "limber-solve: standard output could not be written completely\n"))

    def test_nothing_half_written(self):
        x = self.write("x.mtx", "earlier")
        os.symlink("/dev/full", x + ".part")
        status, _, err = self.run_solve("-x", x, self.write("a.mtx", SPD))
        self.assertEqual((status, err), (1, f"{x}: could not be written completely\n"))
        with open(x) as file:
            self.assertEqual(file.read(), "earlier")
        self.assertEqual(sorted(os.listdir(self.folder)), ["a.mtx", "x.mtx"])

    def test_an_output_that_cannot_be_written_leaves_the_report(self):
        status, out, err = self.run_solve("-x", self.folder + "/no/x", self.write("a.mtx", SPD))
        self.assertEqual((status, err), (1, f"{self.folder}/no/x: cannot be written: No such file or directory\n"))
        self.assertIn("status            solved", out)

    def test_an_input_that_ends_while_it_is_read(self):
        pipe = os.path.join(self.folder, "pipe")
        os.mkfifo(pipe)
        program = subprocess.Popen([SOLVE, pipe], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        with open(pipe, "w") as writer:
            writer.write(BANNER + "2 2 3\n1 1 2\n2 2")
        out, err = program.communicate(timeout=60)
        self.assertEqual((program.returncode, out, err),
                         (1, "", f"{pipe}:4: expected a finite real number, found the end of the line\n"))

    LONG = 300000

    def long_problem(self):
        """A system that takes at least seconds: a chain of unknowns with a random right-hand side."""
        n = self.LONG
        path, b = os.path.join(self.folder, "chain.mtx"), os.path.join(self.folder, "b")
        if not os.path.exists(b):
            lines = "".join(f"{i} {i} 2\n{i + 1} {i} -1\n" for i in range(1, n)) + f"{n} {n} 2\n"
            self.write("chain.mtx", f"%%MatrixMarket matrix coordinate real symmetric\n{n} {n} {2 * n - 1}\n{lines}")
            random.seed(3)
            self.write("b", "\n".join(f"{random.gauss(0, 1):.3f}" for _ in range(n)))
        return path, b

    def interrupted(self, *options):
        """Interrupts a long solve at its progress line. Returns the exit status, the standard output and the text on the terminal."""
        path, b = self.long_problem()
        x = os.path.join(self.folder, "x.mtx")
        controller, terminal = pty.openpty()
        program = subprocess.Popen([SOLVE, *options, "-b", b, "-x", x, path], stdout=subprocess.PIPE, stderr=terminal,
                                   text=True)
        os.close(terminal)
        shown = b""
        while b"iteration" not in shown:
            shown += os.read(controller, 1000)
        program.send_signal(signal.SIGINT)
        reader = threading.Thread(target=self.drain, args=(controller,))
        reader.start()
        out, _ = program.communicate(timeout=60)
        reader.join()
        os.close(controller)
        return program.returncode, out, shown.decode(), x

    @staticmethod
    def drain(descriptor):
        try:
            while os.read(descriptor, 1000):
                pass
        except OSError:
            pass

    def test_ctrl_c_ends_a_solve_with_the_best_so_far(self):
        # bi-CG makes no progress here, and with its default number of passes it would end before the signal arrives.
        for options in (("--ls",), ("--family", "newer", "--spd"), ("--old", "--spd"),
                        ("--bicg", "--restarts", "1000000")):
            status, out, shown, x = self.interrupted(*options)
            self.assertEqual(status, 4, (options, out))
            self.assertIn("status            ended by Ctrl-C, with the best solution so far\n", out)
            self.assertRegex(shown, r"\riteration [0-9]+, residual [0-9.e+-]+; Ctrl-C ends with the best so far")
            with open(x) as file:
                self.assertEqual(len(file.readlines()), self.LONG + 3)

    @staticmethod
    def wait_until_it_catches(process, number):
        """Waits until the process has a handler of that signal, however busy the machine is."""
        caught = 0
        while not caught >> (number - 1) & 1:
            time.sleep(0.05)
            with open("/proc/%d/status" % process) as status:
                caught = next(int(line.split()[1], 16) for line in status if line.startswith("SigCgt:"))

    def test_no_progress_line_goes_into_a_pipe(self):
        path, b = self.long_problem()
        program = subprocess.Popen([SOLVE, "--family", "newer", "--spd", "-b", b, path], stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, text=True)
        self.wait_until_it_catches(program.pid, signal.SIGINT)
        time.sleep(1)  # a progress line would come after half a second
        program.send_signal(signal.SIGINT)
        out, err = program.communicate(timeout=60)
        self.assertEqual((program.returncode, err), (4, ""))
        self.assertNotIn("\r", out)


main()
