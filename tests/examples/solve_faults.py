#!/usr/bin/env python3
"""The example programs under bad circumstances: odd files, full disks, Ctrl-C, little memory, numbers of any size.

usage: solve_faults.py SOLVE SURVEY_NETWORK EXAMPLES_DATA [TEST...]
Other programs are run where SKELETON and MOTION_EDIT in the environment name them.
"""
import json
import math
import os
import pty
import random
import re
import signal
import subprocess
import threading
import time
import unittest

from limited_memory import MEGABYTE, LimitedMemory
from solve_support import BANNER, DATA, SMALL, SOLVE, SPD, SolveRunner, main


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


class Files(SolveRunner):
    """The files that are read and written."""

    def solution(self, *arguments):
        x = os.path.join(self.folder, "x.mtx")
        self.report(*arguments, "-x", x)
        return read_solution(x)

    def assert_same(self, text, other, *options):
        """Both texts are the same matrix."""
        results = []
        for name, content in (("one.mtx", text), ("other.mtx", other)):
            results.append(self.solution(*options, self.write(name, content)))
        self.assertEqual(*results)

    def test_arrays_are_read_by_columns(self):
        self.assert_same(coordinate([[4, 1], [2, 5], [0, 3]]),
                         "%%MatrixMarket matrix array real general\n3 2\n4\n2\n0\n1\n5\n3\n")
        self.assert_same(coordinate([[4, 1, 2], [1, 5, 3], [2, 3, 7]]),
                         "%%MatrixMarket matrix array integer symmetric\n3 3\n4 1 2\n5 3\n7\n")
        self.assert_same(coordinate([[0, -1, -2], [1, 0, -3], [2, 3, 0]]),
                         "%%MatrixMarket matrix array real skew-symmetric\n3 3\n1\n2\n3\n", "--ls")

    def test_skew_symmetric_entries_are_mirrored_with_the_other_sign(self):
        self.assert_same(coordinate([[0, -3], [3, 0]]),
                         "%%MatrixMarket matrix coordinate real skew-symmetric\n2 2 2\n2 1 3\n2 2 0\n")

    def test_marks_tabs_case_and_blank_lines(self):
        plain = coordinate([[4, 1], [2, 5]])
        tabs = plain.replace(" ", "\t").replace("MatrixMarket\tmatrix", "MatrixMarket matrix")
        self.assert_same(plain, "\ufeff" + plain)
        self.assert_same(plain, tabs)
        self.assert_same(plain, plain.replace("matrix coordinate real", "MATRIX Coordinate  Real"))
        self.assert_same(plain, plain.replace("\n", "\n\n \n"))
        self.assert_same(plain, plain.replace("\n", "\r"))

    def test_lines_of_any_length(self):
        rows = [[4, 1], [2, 5]]
        text = coordinate(rows).replace(" ", " " * 700)
        self.assert_same(coordinate(rows), text.replace("%%MatrixMarket" + " " * 700, "%%MatrixMarket "))
        array = "%%MatrixMarket matrix array real general\n% " + "c" * 3000000 + "\n2 2\n" + " " * 5000 + "4 2 1 5"
        self.assert_same(coordinate(rows), array)
        b = self.write("b", " ".join(["1"] * 2))
        self.report("-b", b, self.write("m.mtx", array))

    def test_line_numbers_count_empty_lines(self):
        self.refused(BANNER + "\n\n2 2 2\n\n1 1 1\r\n\r\n2 x 1\n", "8: expected a column from 1 to 2, found 'x'")

    def test_entries_in_any_order_and_duplicates(self):
        ordered = BANNER + "2 2 3\n1 1 4\n2 1 2\n2 2 5\n"
        self.assert_same(ordered, BANNER + "2 2 3\n2 2 5\n2 1 2\n1 1 4\n")
        repeated = self.write("r.mtx", BANNER + "2 2 5\n2 2 3\n1 1 4\n2 2 1\n2 1 2\n2 2 1\n")
        report = self.report("--ls", repeated)
        self.assertEqual(report["note"], f"{repeated}: 2 entries were added to another one at the same place")
        self.assertEqual(report["entries"], "3")
        self.assert_same(ordered, BANNER + "2 2 5\n2 2 3\n1 1 4\n2 2 1\n2 1 2\n2 2 1\n")
        self.refused(BANNER + "1 1 2\n1 1 1e308\n1 1 1e308\n",
                     ": the entries of row 1, column 1 add up to more than a number can hold")

    def test_long_rows_in_descending_order_take_no_longer(self):
        count = 100000
        ascending = [f"1 {k} {1 + k % 7}\n" for k in range(1, count + 1)]
        seconds = []
        for name, lines in (("up.mtx", ascending), ("down.mtx", ascending[::-1])):
            path = self.write(name, f"{BANNER}2 {count} {count}\n" + "".join(lines))
            begun = time.monotonic()
            self.report("--ls", path)
            seconds.append(time.monotonic() - begun)
        self.assertLess(seconds[1], 10 * seconds[0] + 1)

    def test_right_hand_sides_in_every_format(self):
        path = self.write("d.mtx", BANNER + "3 3 3\n1 1 1\n2 2 1\n3 3 1\n")
        for text in ("3 0 5", "% a\n3\n0 % b\n\n5", "%%MatrixMarket matrix array integer general\n3 1\n3\n0\n5\n",
                     "%%MatrixMarket matrix coordinate real general\n3 1 2\n3 1 5\n1 1 3\n"):
            self.assertEqual(self.solution("-b", self.write("b", text), path), [3, 0, 5], text)
        two = self.write("b", "%%MatrixMarket matrix array real general\n3 2\n1\n2\n3\n4\n5\n6\n")
        self.assertEqual(self.run_solve("-b", two, path),
                         (1, "", f"{two}: expected a right-hand side of 3 x 1, found 3 x 2\n"))

    def test_devices_and_folders_are_no_matrices(self):
        self.assertEqual(self.run_solve("/dev/zero"), (1, "", "/dev/zero: a zero byte: this is not a text file\n"))
        self.assertEqual(self.run_solve(self.folder), (1, "", f"{self.folder}: cannot be opened\n"))
        self.assertEqual(self.run_solve("/dev/null")[0], 1)

    def test_the_solution_is_a_matrix_market_array(self):
        path = self.write("a.mtx", coordinate([[4, 1], [2, 5]]))
        b = self.write("b", "0.1 0.2")
        x = self.solution("-b", b, path)
        self.assertAlmostEqual(4 * x[0] + x[1], 0.1, delta=1e-15)
        written = os.path.join(self.folder, "written.mtx")
        os.rename(os.path.join(self.folder, "x.mtx"), written)
        again = self.solution("-b", written, self.write("one.mtx", coordinate([[1, 0], [0, 1]])))
        self.assertEqual(again, x)
        status, out, err = self.run_solve("-x", "/dev/stdout", "-b", b, path)
        self.assertEqual((status, [float(line) for line in out.splitlines()[3:]]), (0, x))
        self.assertIn("status            solved", err)

    def test_no_output_replaces_an_input_or_another_output(self):
        path, b = self.write("a.mtx", BANNER + SMALL), self.write("b", "1 2")
        link = os.path.join(self.folder, "link")
        os.symlink(path, link)
        out = os.path.join(self.folder, "out")
        for options, what in ((("-x", path), "-x: expected another file than the matrix, "),
                              (("-x", link), "-x: expected another file than the matrix, "),
                              (("--report", b), "--report: expected another file than the right-hand side, "),
                              (("-x", out, "--report", self.folder + "/./out"),
                               "--report: expected another file than that of -x")):
            status, printed, err = self.run_solve(*options, "-b", b, path)
            self.assertEqual((status, printed), (1, ""))
            self.assertTrue(err.startswith("limber-solve: " + what), err)
        with open(path) as file:
            self.assertEqual(file.read(), BANNER + SMALL)

    def test_the_report_is_json(self):
        path = self.write('quo"ted\\.mtx', SPD)
        file = os.path.join(self.folder, "report.json")
        printed = self.report("--report", file, "--dense", "lu", path)
        with open(file) as stream:
            report = json.load(stream)
        self.assertEqual((report["matrix"], report["rows"], report["columns"], report["entries"]), (path, 3, 3, 7))
        self.assertEqual((report["status"], report["exitStatus"], report["family"]), ("solved", 0, "front door"))
        self.assertEqual(report["iterations"], int(printed["iterations"]))
        self.assertEqual(report["notes"], [printed["note"]])
        self.assertLess(report["denseDifference"], 1e-9)

    def test_the_report_is_json_whatever_the_name_of_the_file(self):
        names = [b"line\nend\tand\x01\x7f", "é €𝄞".encode(), b"no text \xff \xc3( \xe2\x82 \xed\xa0\x80 \xf5.mtx",
                 b"cut \xe2\x82"]
        file = os.path.join(self.folder, "report.json")
        for name in names:
            path = os.path.join(os.fsencode(self.folder), name)
            with open(path, "wb") as stream:
                stream.write(SPD.encode())
            done = subprocess.run([SOLVE, "--report", file, path], capture_output=True, timeout=120)
            self.assertEqual(done.returncode, 0, done.stderr)
            with open(file, encoding="utf-8") as stream:
                report = json.load(stream)
            # Python replaces a piece of a character once, the program each of its bytes
            once = path.decode("utf-8", "replace")
            self.assertEqual(re.sub("\ufffd+", "\ufffd", report["matrix"]), re.sub("\ufffd+", "\ufffd", once))

    def test_messages_name_the_option_that_helps(self):
        for matrix, said in [("2 2 3\n1 1 2\n2 2 3\n2 1 .5\n", "The matrix is not symmetric; --square takes it."),
                             ("2 2 2\n1 1 2\n2 2 -3\n", "The matrix is not positive definite; --square takes it.")]:
            status, out, _ = self.run_solve("--spd", self.write("a.mtx", BANNER + matrix))
            self.assertEqual(status, 2)
            self.assertIn("not solved: " + said, out)
        singular = self.write("b.mtx", BANNER + "2 2 2\n1 1 1\n2 1 1\n")
        status, out, _ = self.run_solve("--square", "-b", self.write("b", "1 2"), singular)
        self.assertEqual(status, 2)
        self.assertIn("The system has no solution", out)
        self.assertIn("--ls finds the x with the smallest residual", out)

    def test_the_version(self):
        self.assertRegex(self.run_solve("--version")[1], r"^limber-solve \(Limber [0-9.]+\)\n$")


class Truth(SolveRunner):
    """Never reports "solved" for a wrong solution, whatever the size of the numbers."""

    TALL = [[3, 1, 0], [0, 2, 1], [1, 0, 4], [1, 1, 1], [2, 0, -1]]

    def write_b(self, scale):
        return self.write("b", " ".join(repr(scale * math.sin(i + 1)) for i in range(5)))

    def test_the_front_door_solves_at_every_scale(self):
        for exponent in (-200, -30, -13, -6, 0, 6, 13, 30, 120):
            a = self.write("a.mtx", coordinate(self.TALL, 10.0 ** exponent))
            for other in (-13, 0, 13):
                self.report("--ls", "-b", self.write_b(10.0 ** other), a)
                self.report("--jjt", "-b", self.write("c", "1 1"), self.write(
                    "j.mtx", coordinate([[3, 1, 0], [0, 2, 1]], 10.0 ** (exponent / 2))))

    def test_the_families_count_what_they_drop_and_do_not_call_it_solved(self):
        a = self.write("a.mtx", coordinate(self.TALL))
        for family in ("newer", "older"):
            status, out, _ = self.run_solve("--family", family, "-b", self.write_b(1e-13), a)
            self.assertEqual(status, 2, out)
            self.assertIn("note              5 numbers of b below 1e-12 count as zero in the family's product with A^T", out)
        tiny = self.write("tiny.mtx", coordinate(self.TALL, 1e-13))
        extreme = self.write("extreme.mtx", coordinate(self.TALL, 1e-200))
        for method in (("--family", "newer"), ("--old",)):
            self.assertEqual(self.run_solve(*method, extreme)[0], 2, "the square of the right-hand side is no number")
        self.assertEqual(self.run_solve("--family", "newer", "--jjt", extreme), (
            1, "", f"{extreme}: the default right-hand side is too large or too small; -b names another\n"))
        for method in (("--family", "newer"), ("--old",), ("--family", "newer", "--jjt")):
            status, out, _ = self.run_solve(*method, tiny)
            self.assertEqual(status, 2, out)
            self.assertRegex(out, r"note              1?[0-9] entries below 1e-12 are not stored by the family")

    def test_the_older_family_does_not_call_a_large_residual_solved(self):
        rows = [[2e10, 1e10], [1e10, 3e10]]
        path, b = self.write("a.mtx", coordinate(rows)), self.write("b", "1e20 -2e20")
        for method in ("--ls", "--spd"):
            status, out, _ = self.run_solve("--old", method, "-b", b, path)
            scaled = float([line for line in out.splitlines() if line.startswith("scaled")][0].split()[2])
            self.assertEqual(status == 0, "status            solved" in out)
            self.assertTrue(status == 2 or scaled < 1e-7, out)

    def test_every_mode_is_right_or_says_that_it_is_not(self):
        """Random systems, some of them singular or badly scaled: a solution that counts as solved has a small residual."""
        random.seed(7)
        modes = [(), ("--ls",), ("--square",), ("--spd",), ("--jjt",), ("--bicg",)] + [
            ("--family", family, method) for family in ("newer", "older") for method in ("--ls", "--spd", "--jjt")]
        solved = 0
        for trial in range(15):
            n = random.randint(1, 6)
            rows = [[random.choice((0, 0, 1)) * random.gauss(0, 1) * 10.0 ** random.choice((-14, 0, 0, 5))
                     for _ in range(n)] for _ in range(n)]
            if not entries_of(rows):
                continue
            b = [random.gauss(0, 1) * 10.0 ** random.choice((-14, 0, 4)) for _ in range(n)]
            a, right = self.write("a.mtx", coordinate(rows)), self.write("b", " ".join(map(repr, b)))
            x_file = os.path.join(self.folder, "x")
            for mode in modes:
                status, out, err = self.run_solve(*mode, "-b", right, "-x", x_file, a)
                self.assertIn(status, (0, 2), (mode, rows, b, err))
                if status != 0:
                    continue
                solved += 1
                self.check_residual(mode, rows, b, read_solution(x_file))
        self.assertGreater(solved, 40)

    def check_residual(self, mode, rows, b, x):
        n = len(rows)
        transposed = lambda v: [math.fsum(rows[i][j] * v[i] for i in range(n)) for j in range(n)]
        times = lambda v: [math.fsum(rows[i][j] * v[j] for j in range(n)) for i in range(n)]
        norm = lambda v: math.sqrt(math.fsum(t * t for t in v))
        at = transposed(x) if "--jjt" in mode else x
        r = [bi - yi for bi, yi in zip(b, times(at))]
        right = b
        if "--ls" in mode:
            r, right = transposed(r), transposed(b)
        self.assertLessEqual(norm(r), 1.01e-6 * norm(right), (mode, rows, b, x))


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
        # bi-CG makes no headway here: with its own number of passes it is done before the signal arrives.
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


class Memory(SolveRunner, LimitedMemory):
    def big(self):
        n = 150
        lines = []
        for i in range(n * n):
            lines.append(f"{i + 1} {i + 1} 4.1\n")
            lines.extend(f"{i + 1} {k + 1} -1\n" for k in (i - n, i - 1, i + 1, i + n) if 0 <= k < n * n)
        return self.write("grid.mtx", f"{BANNER}{n * n} {n * n} {len(lines)}\n" + "".join(lines))

    def test_solve(self):
        grid = self.big()
        for options in ((), ("--ls",), ("--jjt",), ("--square",), ("--family", "newer"), ("--old", "--spd"), ("--bicg",)):
            statuses = self.steps(SOLVE, (*options, grid))
            self.assertEqual(statuses[0], 3, options)

    def test_solve_with_lapack(self):
        small = self.write("a.mtx", SPD)
        statuses = self.steps(SOLVE, ("--dense", "svd", small))
        self.assertEqual(statuses[0], 3)
        self.steps(SOLVE, ("--jjt", "--precond", "banded:2", small))

    def test_declared_sizes_that_do_not_fit(self):
        self.start(SOLVE)  # skips where the address space cannot be limited
        entries = "".join(f"{k} {k} 1\n" for k in range(1, 200001))
        path = self.write("large.mtx", f"{BANNER}10000000 10000000 200000\n{entries}")
        done = self.limited(300 * MEGABYTE, [SOLVE, path])
        self.assertEqual((done.returncode, done.stdout), (3, ""))
        self.assertRegex(done.stderr, r"large.mtx: needs about [0-9.]+ [MG]B of memory, but [0-9.]+ MB are available\n$")

    @unittest.skipUnless(os.environ.get("SKELETON"), "no skeleton program")
    def test_skeleton(self):
        self.steps(os.environ["SKELETON"], (os.path.join(DATA, "walk.bvh"),))

    @unittest.skipUnless(os.environ.get("MOTION_EDIT"), "no motion_edit program")
    def test_motion_edit(self):
        self.steps(os.environ["MOTION_EDIT"], ("--no-pictures", "-o", "out", os.path.join(DATA, "walk.bvh")))


main()
