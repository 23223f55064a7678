#!/usr/bin/env python3
"""The example programs with little memory.

usage: solve_memory.py SOLVE SURVEY_NETWORK EXAMPLES_DATA [TEST...]
Other programs than `solve` are run where SKELETON and MOTION_EDIT in the environment name them.
"""
import os
import unittest

from limited_memory import MEGABYTE, LimitedMemory
from solve_support import BANNER, DATA, SOLVE, SPD, SolveRunner, main


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
