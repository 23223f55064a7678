#!/usr/bin/env python3
"""The example `solve` and its files: formats, odd files, the report as JSON.

usage: solve_files.py SOLVE SURVEY_NETWORK EXAMPLES_DATA [TEST...]
"""
import json
import os
import re
import subprocess
import time

from solve_support import BANNER, SMALL, SOLVE, SPD, SolveRunner, coordinate, main, read_solution


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

    def test_exponents_of_fortran(self):
        file = "%%MatrixMarket matrix coordinate real general\n2 2 2\n1 1 {}\n2 2 {}\n"
        self.assert_same(file.format("4.0e+00", "2.5e-01"), file.format("0.4D+01", "2.5d-1"))

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
            # Python replaces an incomplete character once, the program replaces each of its bytes
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


main()
