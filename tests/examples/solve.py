#!/usr/bin/env python3
"""Runs the example `solve` on small files and on the network that comes with it.

usage: solve.py SOLVE SURVEY_NETWORK EXAMPLES_DATA [TEST...]
The real matrices lie beside some checkouts only; their tests are skipped elsewhere.
"""
import gzip
import json
import os
import re
import shutil
import subprocess

from solve_support import BANNER, DATA, GENERATOR, SMALL, SOLVE, SPD, SolveRunner, main


class Solve(SolveRunner):
    def test_reports_a_solve(self):
        path = self.write("a.mtx", BANNER + SMALL)
        report = self.report(path)
        self.assertEqual(report["matrix"], path)
        self.assertEqual(report["size"], "2 x 2")
        self.assertEqual(report["entries"], "3")
        self.assertEqual(report["status"], "solved")
        self.assertEqual(report["problem"], "A x = b")
        self.assertEqual(report["note"], "chosen because A is square")
        self.assertLess(float(report["scaled residual"].split()[0]), 1e-12)
        self.assertLess(float(report["relative"].split()[0]), 1e-10)
        self.assertRegex(report["residual"], r"^\S+ +\|b - A x\|$")
        self.assertRegex(report["time"], r"^\d+\.\d+ ms$")

    def test_every_method_of_both_families_solves(self):
        spd = self.write("spd.mtx", SPD)
        for method in ("--ls", "--spd", "--jjt"):
            self.assertLess(self.scaled(method, spd), 1e-9, method)
            report = self.report(method, "--family", "newer", spd)
            self.assertRegex(report["squared residual"], r"^\S+ +of the system solved$")
            self.assertLess(float(report["scaled residual"].split()[0]), 1e-9, method)
            # After an exact solution the older family reports on the other channel that there is no direction.
            status, out, _ = self.run_solve(method, "--old", spd)
            self.assertEqual(status, 0, out)
            self.assertLess(float(re.search(r"scaled residual +(\S+)", out)[1]), 1e-8, method + " --old")

    def test_symmetric_files_are_mirrored(self):
        self.assertEqual(self.report("--spd", self.write("spd.mtx", SPD))["entries"], "7")

    def test_pattern_entries_are_ones_and_integers_are_read(self):
        pattern = "%%MatrixMarket matrix coordinate pattern general\n3 2 3\n1 1\n2 2\n3 1\n"
        whole = "%%MatrixMarket matrix coordinate integer general\n3 2 3\n1 1 1\n2 2 +1\n3 1 1\n"
        b = self.write("b", "3 4 5")
        results = []
        for text in (pattern, whole):
            report = self.report("-b", b, self.write("m.mtx", text))
            results.append({k: v for k, v in report.items() if k != "time"})
        self.assertEqual(*results)
        self.assertEqual(results[0]["entries"], "3")

    def test_explicit_zeros_are_entries(self):
        self.assertEqual(self.report(self.write("z.mtx", BANNER + "2 2 3\n1 1 1\n1 2 0\n2 2 0.0e5\n"))["entries"], "3")

    def test_empty_last_columns_keep_the_width(self):
        self.assertEqual(self.report(self.write("w.mtx", BANNER + "2 5 2\n1 1 1\n2 2 1\n"))["size"], "2 x 5")

    def test_same_numbers_plain_compressed_crlf_and_along_a_path(self):
        plain = self.write("a.mtx", BANNER + SMALL)
        crlf = self.write("crlf.mtx", (BANNER + SMALL).replace("\n", "\r\n"))
        packed = self.write("packed.mtx.gz", BANNER + SMALL, squeeze=True)
        commented = self.write("comments.mtx", BANNER + "% one\n%\n% " + "x " * 600 + "\n" + SMALL + "% end\n")
        unended = self.write("unended.mtx", (BANNER + SMALL).rstrip("\n"))
        keep = lambda report: {k: v for k, v in report.items() if k not in ("time", "matrix")}
        expected = keep(self.report(plain))
        for path in (crlf, packed, commented, unended):
            self.assertEqual(keep(self.report(path)), expected, path)
        found = self.report("-p", "/no/such/folder;" + self.folder, "packed.mtx.gz")
        self.assertEqual(keep(found), expected)
        self.assertEqual(found["matrix"], packed)

    def test_numbers_without_a_leading_digit(self):
        number = ["1", "+1", ".5", "-.5", "+.5", "1.", "1e5", "1E-1"]
        for word in number:
            self.report(self.write("n.mtx", BANNER + f"1 1 1\n1 1 {word}\n"))

    def test_numbers_too_small_for_a_double_are_zeros_with_a_note(self):
        small = "too small for a double and taken as 0"
        path = self.write("small.mtx", BANNER + "1 2 2\n1 1 -1e-400\n1 2 1\n")
        self.assertEqual(self.report("--ls", path)["note"], f"{path}: 1 number is {small}")
        zeros = self.write("zeros.mtx", BANNER + "2 2 4\n1 1 1\n1 2 -0.0e7\n2 1 0\n2 2 1\n")
        self.assertNotIn("note", self.report("--ls", zeros))
        for text in ("3 .004e-399", "%%MatrixMarket matrix array real general\n2 1\n3\n0.1E-500\n"):
            b = self.write("b", text)
            self.assertEqual(self.report("--ls", "-b", b, zeros)["note"], f"{b}: 1 number is {small}")
        self.assertEqual(self.report("--ls", "-b", self.write("b", "1e-399\n-1e-400\n"), zeros)["note"],
                         f"{b}: 2 numbers are {small}")

    def test_right_hand_sides(self):
        path = self.write("d.mtx", BANNER + "2 2 2\n1 1 1\n2 2 1\n")
        for text in ("3 4", "3\n+4\n", "%%MatrixMarket matrix array real general\n% c\n2 1\n3\n4\n"):
            b = self.write("b", text)
            self.assertLess(float(self.report("-b", b, path)["residual"].split()[0]), 1e-9)
        for text, message in (
            ("3", "1: expected number 2 of 2, found the end of the file"),
            ("3\nfour", "2: expected a finite real number, found 'four'"),
            ("3\n4\n5", "3: expected the end of the file after number 2, found '5'"),
            ("%%MatrixMarket matrix array real general\n3 1\n1\n2\n3", " expected a right-hand side of 2 x 1, found 3 x 1"),
            ("%%MatrixMarket matrix array real general\n2 1\n1\n", "3: expected entry 2 of 2, found the end of the file"),
        ):
            b = self.write("b", text)
            self.assertEqual(self.run_solve("-b", b, path), (1, "", f"{b}:{message}\n"))

    def test_missing_files(self):
        self.assertEqual(self.run_solve("none.mtx"), (1, "", "none.mtx: cannot be opened\n"))
        self.assertEqual(self.run_solve("-p", "x;y", "none.mtx"),
                         (1, "", "none.mtx: not found along x;y\n"))
        path = self.write("a.mtx", BANNER + SMALL)
        self.assertEqual(self.run_solve("-b", "none", path)[0::2], (1, "none: cannot be opened\n"))
        self.refused("", ": expected a Matrix Market file, found the end of the file")

    def test_malformed_banners(self):
        begins = "1: expected a banner that begins with %%MatrixMarket matrix, found "
        self.refused("1 1 1\n", begins + "'1'")
        self.refused("%%MatrixMarket\n3 3\n", begins + "the end of the line")
        self.refused("%%MatrixMarket vector\n", begins + "'vector'")
        self.refused("%%MatrixMarket matrix dense real general\n",
                     "1: expected the format coordinate or array, found 'dense'")
        self.refused("%%MatrixMarket matrix array pattern general\n",
                     "1: an array cannot be a pattern: expected the field real or integer")
        self.refused("%%MatrixMarket matrix coordinate complex general\n",
                     "1: complex matrices are not supported: expected the field real, integer or pattern")
        symmetry = "the symmetry general, symmetric or skew-symmetric"
        self.refused("%%MatrixMarket matrix coordinate real Hermitian\n",
                     f"1: hermitian matrices are not supported: expected {symmetry}")
        self.refused("%%MatrixMarket matrix coordinate real\n", f"1: expected {symmetry}, found the end of the line")
        self.refused("%%MatrixMarket matrix coordinate real general x\n", "1: expected the end of the line, found 'x'")

    def test_malformed_size_lines(self):
        size = "expected a size line: rows and columns up to 2147483647, entries, found "
        self.refused(BANNER, "1: " + size + "the end of the file")
        self.refused("%%MatrixMarket matrix array real general\n3\n3\n",
                     "2: expected a size line: rows and columns up to 2147483647, found the end of the line")
        self.refused(BANNER + "% c\n2 2\n1 1 1\n", "3: " + size + "the end of the line")
        for word in ("0", "-1", "x", "2.0", "999999999999", "99999999999999999999"):
            self.refused(BANNER + f"{word} 2 1\n", f"2: {size}'{word}'")
        for word in ("-1", "99999999999999999999"):
            self.refused(BANNER + f"2 2 {word}\n", f"2: {size}'{word}'")
        self.refused(BANNER + "2 2 1 9\n", "2: expected the end of the line, found '9'")
        self.refused("%%MatrixMarket matrix coordinate real symmetric\n2 3 1\n1 1 1\n",
                     "2: expected as many columns as rows, because the matrix is symmetric, found 3")

    def test_declared_sizes_that_the_file_cannot_have(self):
        self.refused(BANNER + "2 2 50\n1 1 1\n", "2: declares 50 entries, but the file is too short for them")
        self.refused("%%MatrixMarket matrix array real general\n40000 40000\n1\n",
                     "2: declares 1600000000 entries, but the file is too short for them")
        two = "\n1 1 1\n2 2 1\n"
        self.refused(BANNER + "100000000 100000000 2" + two, "2: declares 100000000 rows, but has 2 entries")
        self.refused(BANNER + "10 2147483647 2" + two, "2: declares 2147483647 columns, but has 2 entries")
        self.refused(BANNER + "10000000 10000000 2" + two, "2: declares 10000000 rows, but has 2 entries", squeeze=True)

    def test_short_files(self):
        self.refused(BANNER + "2 2 3\n1 1 2\n2 2 3\n", "4: expected entry 3 of 3, found the end of the file")
        self.refused(BANNER + "2 2 1\n1\n", "3: expected a column from 1 to 2, found the end of the line")
        self.refused(BANNER + "2 2 1\n1 1\n\n\n", "3: expected a finite real number, found the end of the line")
        self.refused(BANNER + "2 2 2\n1 1\n2 2 1\n", "3: expected a finite real number, found the end of the line")

    def test_truncated_compressed_files(self):
        text = BANNER + "90 90 900\n" + "".join(f"{i % 90 + 1} {i % 89 + 1} {i * 7919}\n" for i in range(900))
        whole = gzip.compress(text.encode())
        for size in (5, 30, len(whole) // 2, len(whole) - 200):
            path = self.write("cut.mtx.gz", whole[:size])
            status, out, err = self.run_solve(path)
            self.assertEqual((status, out), (1, ""))
            self.assertRegex(err, r"^" + re.escape(path) + r":(\d+:)? expected [^\n]*the file is damaged or cut short\n$")

    def test_damaged_compressed_files(self):
        text = BANNER + "90 90 900\n" + "".join(f"{i % 90 + 1} {i % 89 + 1} {i * 7919}\n" for i in range(900))
        for where in (0.3, 0.5, 0.8):
            damaged = bytearray(gzip.compress(text.encode()))
            damaged[int(where * len(damaged))] ^= 0x55
            status, out, err = self.run_solve(self.write("damaged.mtx.gz", bytes(damaged)))
            self.assertEqual((status, out), (1, ""))
            self.assertRegex(err, "the file is damaged or cut short\n$")

    def test_indices_out_of_range(self):
        for word in ("0", "3", "-1", "x", "1.5", "99999999999999999999"):
            self.refused(BANNER + f"2 2 1\n{word} 1 5\n", f"3: expected a row from 1 to 2, found '{word}'")
        self.refused(BANNER + "2 4 1\n2 5 5\n", "3: expected a column from 1 to 4, found '5'")
        self.refused("%%MatrixMarket matrix coordinate real symmetric\n2 2 1\n1 2 5\n",
                     "3: expected a column on or left of the diagonal, because the matrix is symmetric, found '2'")
        for entry in ("1 2 5", "2 2 5"):
            self.refused(f"%%MatrixMarket matrix coordinate real skew-symmetric\n2 2 1\n{entry}\n",
                         "3: expected a column left of the diagonal, because the matrix is skew-symmetric, found '2'")

    def test_words_that_are_no_numbers(self):
        for word in ("x", "12abc", "1,5", "inf", "-inf", "nan", "-nan", "infinity", "1e999", "0x10", "+-1", "+", "-",
                     ".", "1e", "1dd5", "--1"):
            self.refused(BANNER + f"1 1 1\n1 1 {word}\n", f"3: expected a finite real number, found '{word}'")
        for word in ("1.5", "1e3", "x", "99999999999999999999"):
            self.refused(f"%%MatrixMarket matrix coordinate integer general\n1 1 1\n1 1 {word}\n",
                         f"3: expected an integer of at most 64 bits, found '{word}'")

    def test_trailing_text(self):
        self.refused(BANNER + "2 2 1\n1 1 5 6\n", "3: expected the end of the line, found '6'")
        self.refused(BANNER + "2 2 1\n1 1 5\n2 2 6\n",
                     "4: expected the end of the file after entry 1 of 1, found '2'")
        self.refused("%%MatrixMarket matrix coordinate pattern general\n2 2 1\n1 1 5\n",
                     "3: expected the end of the line, found '5'")
        self.refused(BANNER + "2 2 1\n1 1 5\nend\n",
                     "4: expected the end of the file after entry 1 of 1, found 'end'", squeeze=True)

    def test_spd_wants_a_square_matrix(self):
        for method in ("--spd", "--square", "--bicg"):
            self.refused(BANNER + "2 3 1\n1 1 5\n", ": expected a square matrix for --spd, --square and --bicg; "
                         "--ls takes any shape", method)

    def test_options_reach_the_solver(self):
        spd = self.write("spd.mtx", SPD)
        trace = os.path.join(self.folder, "trace")
        newer = ("--family", "newer", "--spd")
        self.assertEqual(self.report(*newer, "--tol", "1e9", spd)["iterations"], "0")
        status, out, _ = self.run_solve(*newer, "--restarts", "1", "--max-iters", "0", spd)
        self.assertEqual(status, 2)
        self.assertIn("not solved", out)
        self.assertEqual(self.run_solve("--spd", "--old", "--old-passes", "0", spd)[0], 2)
        self.report(*newer, "--trace", trace, spd)
        with open(trace) as file:
            self.assertTrue(file.read().startswith("MCGRADI x:3 b:3 a:(rows:3 cols:3)\n"))
        self.assertIn("  cg:ACCEPT  after (", self.run_solve(*newer, "--verbose", "1", spd)[1])
        self.assertEqual(self.run_solve(*newer, "--trace", "/no/such/trace", spd)[0::2],
                         (1, "/no/such/trace: expected a trace file that can be written\n"))

    def test_bicg_solves_unsymmetric_systems(self):
        path = self.write("a.mtx", BANNER + SMALL)
        for shadow in ("residual", "product"):
            report = self.report("--bicg", "--shadow", shadow, path)
            self.assertEqual(report["status"], "solved")
            self.assertIn("bi-conjugate", report["problem"])
            self.assertLessEqual(float(report["scaled residual"].split()[0]), 1e-8)

    def test_a_breakdown_of_bicg_is_a_status(self):
        path = self.write("a.mtx", BANNER + "2 2 2\n1 2 1\n2 1 -1\n")
        b = self.write("b.txt", "1 0\n")
        status, out, err = self.run_solve("--bicg", "-b", b, path)
        self.assertEqual((status, err), (2, ""))
        self.assertNotIn("nan", out)

    def test_preconditioned_normal_equations(self):
        path = self.write("a.mtx", SPD)
        plain = int(self.report("--jjt", "--family", "newer", path)["iterations"])
        for kind in ("jacobi", "banded:1", "banded:2"):
            report = self.report("--jjt", "--family", "newer", "--precond", kind, path)
            self.report("--jjt", "--precond", kind, path)
            self.assertEqual(report["status"], "solved")
            self.assertEqual(report["preconditioner"], kind.split(":")[0])
            self.assertLessEqual(int(report["iterations"]), plain)
        self.assertEqual(report["iterations"], "1")  # the whole band: a direct solver

    def test_dense_factorizations_agree(self):
        tall = self.write("tall.mtx", BANNER + "3 2 4\n1 1 1\n2 1 1\n2 2 2\n3 2 1\n")
        b = self.write("b.txt", "1 2 4\n")
        spd = self.write("spd.mtx", SPD)
        for dense in ("lu", "qr", "svd", "chol"):
            for options in (("--ls", "-b", b, tall), ("--spd", spd), ("--jjt", spd), ("--bicg", spd)):
                check = self.report("--dense", dense, *options)["dense check"]
                self.assertTrue(check.startswith(dense), check)
                self.assertLessEqual(float(check.split("=")[1]), 1e-7, (dense, options))

    def test_dense_checks_keep_empty_columns_and_the_definizer(self):
        empty = self.write("empty.mtx", BANNER + "3 3 2\n1 1 2\n3 1 1\n")
        b = self.write("b.txt", "1 2 3\n")
        check = self.report("--ls", "-b", b, "--dense", "svd", empty)["dense check"]
        self.assertLessEqual(float(check.split("=")[1]), 1e-7)
        spd = self.write("spd.mtx", SPD)
        for options in (("--spd",), ("--jjt",)):
            check = self.report(*options, "--family", "newer", "--definizer", "0.5", "--dense", "chol", spd)["dense check"]
            self.assertLessEqual(float(check.split("=")[1]), 1e-7, options)

    def test_dense_checks_refuse_what_they_cannot_factor(self):
        singular = BANNER + "2 2 1\n1 1 1\n"
        for dense in ("lu", "chol", "qr"):
            path = self.write("bad.mtx", singular)
            status, out, err = self.run_solve("--dense", dense, path)
            self.assertEqual(status, 1)
            self.assertIn(f"{path}: expected a matrix that", err)
        wide = self.write("wide.mtx", BANNER + "2 3 1\n1 1 1\n")
        self.assertIn("at least as many rows", self.run_solve("--dense", "qr", wide)[2])
        large = self.write("large.mtx", BANNER + "2001 1 1\n1 1 1\n")
        self.assertIn("1 to 2000 rows", self.run_solve("--dense", "svd", large)[2])

    def test_dumps_what_octave_reads(self):
        path = self.write("a.mtx", BANNER + SMALL)
        dump = os.path.join(self.folder, "dump.m")
        self.report("--matlab", dump, path)
        with open(dump) as file:
            text = file.read()
        self.assertIn("A", text)
        self.assertIn("b", text)
        octave = shutil.which("octave-cli") or shutil.which("octave")
        if not octave:
            self.skipTest("no Octave on this machine")
        told = subprocess.run([octave, "--no-gui", "--quiet", "--eval", f"source('{dump}'); printf('%g ', A, A \\ b(:))"],
                              capture_output=True, text=True, timeout=120)
        self.assertEqual(told.stdout.split(), ["2", "0.5", "0", "3", "1", "1"], told.stderr)

    def test_unsuitable_combinations(self):
        path = self.write("a.mtx", SPD)
        for options, what in (
            (("--bicg", "--old"), "--old does not go with --bicg"),
            (("--square", "--family", "newer"), "--square does not go with --family or --old"),
            (("--precond", "jacobi"), "--precond jacobi is only for --jjt"),
            (("--jjt", "--old", "--precond", "jacobi"), "--precond does not go with --family older or --bicg"),
            (("--old", "--definizer", "1"), "--definizer is only for --family newer"),
            (("--spd", "--definizer", "1"), "--definizer is only for --family newer"),
            (("--family", "newer", "--definizer", "1"), "--definizer is only for --spd and --jjt"),
            (("--tol", "1"), "--tol is only for --family and --bicg"),
            (("--verbose", "1", "--old"), "--verbose is only for --family newer and --bicg"),
            (("--old-tol", "1", "--bicg"), "--old-tol is only for --family older"),
            (("--stagnation", "1", "--bicg"), "--stagnation is only for --family newer"),
            (("--relative", "1", "--bicg"), "--relative does not go with --family, --old or --bicg"),
            (("--shadow", "product"), "--shadow is only for --bicg"),
            (("--ls", "--spd"), "--spd: expected one method"),
            (("--old", "--family", "newer"), "--family: expected one family"),
            (("--family", "oldest"), "--family: expected newer or older"),
            (("--dense", "cg"), "--dense: expected lu, qr, svd or chol"),
            (("--precond", "banded:-1"), "--precond: expected none, jacobi or banded:N"),
            (("--shadow", "none"), "--shadow: expected residual or product"),
        ):
            self.assertEqual(self.run_solve(*options, path), (1, "", f"limber-solve: {what} (see limber-solve --help)\n"))

    def test_command_lines(self):
        status, out, err = self.run_solve("--help")
        self.assertEqual((status, err), (0, ""))
        self.assertTrue(out.startswith("usage: limber-solve "))
        for arguments, what in (
            ((), "MATRIX: expected the file of a matrix"),
            (("a", "b"), "b: expected one matrix"),
            (("--nothing", "a"), "--nothing: expected a known option"),
            (("--tol", "x", "a"), "--tol: expected a number above 0"),
            (("--tol",), "--tol: expected a number above 0"),
            (("--restarts", "0", "a"), "--restarts: expected a whole number, 1 or more"),
            (("--verbose", "-3", "a"), "--verbose: expected a whole number, 0 or more"),
            (("--relative", "0", "a"), "--relative: expected a number above 0"),
            (("--max-iterations", "0", "a"), "--max-iterations: expected a whole number, 1 or more"),
            (("--epsilon", "nan", "a"), "--epsilon: expected a number"),
            (("a", "-b"), "-b: expected an argument"),
        ):
            self.assertEqual(self.run_solve(*arguments), (1, "", f"limber-solve: {what} (see limber-solve --help)\n"))

    def test_the_network_that_ships_is_what_its_program_writes(self):
        subprocess.run([GENERATOR, self.folder], check=True)
        for name in ("survey_network.mtx.gz", "survey_network_b.mtx.gz"):
            with gzip.open(os.path.join(DATA, name)) as kept, gzip.open(os.path.join(self.folder, name)) as made:
                self.assertEqual(kept.read(), made.read())

    def test_solves_the_network_that_ships(self):
        for options in ((), ("-b", "survey_network_b.mtx.gz")):
            report = self.report("--ls", "-p", DATA, *options, "survey_network.mtx.gz")
            self.assertEqual(report["size"], "1008 x 361")
            self.assertEqual(report["entries"], "2011")
            self.assertLess(float(report["scaled residual"].split()[0]), 1e-10)


REAL = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "..", "shared", "data")


class RealData(SolveRunner):
    """To a scaled residual of 1e-8 or better, by both families if the older one needs only seconds."""

    def solved(self, name, *options):
        path = os.path.join(REAL, name)
        if not os.path.exists(path):
            self.skipTest(f"no {name} beside this checkout")
        return self.report(*options, path)

    def within(self, bound, name, *options):
        self.assertLess(float(self.solved(name, *options)["scaled residual"].split()[0]), bound)

    def test_jpwh_991_by_bicg(self):
        self.within(1e-8, "jpwh_991.mtx", "--bicg")
        self.within(1e-8, "jpwh_991.mtx", "--bicg", "--shadow", "product")

    def test_well1033(self):
        report = self.solved("well1033.mtx.gz", "--ls")
        self.assertEqual((report["size"], report["entries"]), ("1033 x 320", "4732"))
        self.within(1e-8, "well1033.mtx.gz", "--ls")
        self.within(1e-8, "well1033.mtx.gz", "--ls", "--old", "--old-passes", "200", "--tol", "1e-13")

    def test_ash219(self):
        report = self.solved("ash219.mtx", "--ls")
        self.assertEqual((report["size"], report["entries"]), ("219 x 85", "438"))
        self.within(1e-8, "ash219.mtx", "--ls")
        self.within(1e-8, "ash219.mtx", "--ls", "--old")

    def test_gr_30_30(self):
        report = self.solved("gr_30_30.mtx", "--spd")
        self.assertEqual((report["size"], report["entries"]), ("900 x 900", "7744"))
        self.within(1e-8, "gr_30_30.mtx", "--spd")
        self.within(1e-8, "gr_30_30.mtx", "--spd", "--old")

    def test_nos3(self):
        report = self.solved("nos3.mtx", "--spd")
        self.assertEqual((report["size"], report["entries"]), ("960 x 960", "15844"))
        self.within(1e-8, "nos3.mtx", "--spd")
        self.within(1e-8, "nos3.mtx", "--spd", "--old", "--old-passes", "100", "--tol", "1e-8")

    def test_494_bus(self):
        # Badly conditioned: the residual rises for a long time before it falls.
        report = self.solved("494_bus.mtx", "--family", "newer", "--spd", "--stagnation", "5")
        self.assertEqual((report["size"], report["entries"]), ("494 x 494", "1666"))
        self.within(1e-8, "494_bus.mtx", "--family", "newer", "--spd", "--stagnation", "5")
        self.within(1e-8, "494_bus.mtx")

    def test_unsymmetric_matrices_by_the_product_with_the_transpose(self):
        self.within(1e-8, "jpwh_991.mtx", "--jjt")
        self.within(1e-8, "west0067.mtx", "--jjt")
        self.within(1e-8, "west0067.mtx", "--family", "newer", "--jjt", "--stagnation", "3")


main()
