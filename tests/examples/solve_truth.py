#!/usr/bin/env python3
"""Checks that the example `solve` never says "solved" for a wrong solution, whatever the size of the numbers.

usage: solve_truth.py SOLVE SURVEY_NETWORK EXAMPLES_DATA [TEST...]
"""
import math
import os
import random

from solve_support import SolveRunner, coordinate, entries_of, main, read_solution


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


main()
