#!/usr/bin/python3
"""Compares the front door with Eigen, scipy and LAPACK, system by system.

    compare.py PEERS [--limit SECONDS] [--only TEXT] [KIND FILE]...

PEERS is the library that the preset bench builds from SolvePeers.cpp (build/bench/bench/solvers/libsolve_peers.so).
Without files it takes the shared data, if they are beside the checkout, and generated systems. KIND is definite,
least-squares or square.

A system is solved if its residual, recomputed in long double, is at most 1e-8 of the right-hand side (for least
squares, the residual of the normal equations). Every method runs with its defaults and a goal of 1e-10 in a separate
process, which may take SECONDS (20). Times are processor times in milliseconds, the best of a few; "--" means not
solved, "n/a" not tried (dense methods above 3000 unknowns). --only takes the systems whose name contains TEXT.
"""
import argparse
import ctypes
import os
import pickle
import signal
import sys
import time
import warnings

import numpy as np
import scipy.io
import scipy.linalg
import scipy.sparse as sp
import scipy.sparse.linalg as sla

warnings.filterwarnings("ignore")
np.seterr(all="ignore")
GOAL, SOLVED = 1e-10, 1e-8
KINDS = {"least-squares": 0, "definite": 1, "square": 2, "constraints": 3}
STATUS = ["converged", "stagnated", "limit", "stopped", "breakdown", "bad input"]
ints, doubles = ctypes.POINTER(ctypes.c_int), ctypes.POINTER(ctypes.c_double)


class Input(ctypes.Structure):
    _fields_ = [("height", ctypes.c_int), ("width", ctypes.c_int), ("start", ints), ("index", ints),
                ("value", doubles), ("b", doubles)]


class Answer(ctypes.Structure):
    _fields_ = [("status", ctypes.c_int), ("iterations", ctypes.c_int), ("products", ctypes.c_int),
                ("residual", ctypes.c_double), ("relative", ctypes.c_double), ("seconds", ctypes.c_double),
                ("message", ctypes.c_char_p)]


class Peers:
    def __init__(self, path):
        self.library = ctypes.CDLL(path)

    @staticmethod
    def input(A, b):
        arrays = [A.indptr.astype(np.int32), A.indices.astype(np.int32), A.data.astype(float), b.astype(float)]
        types = [ints, ints, doubles, doubles]
        record = Input(A.shape[0], A.shape[1], *[a.ctypes.data_as(t) for a, t in zip(arrays, types)])
        record.keep = arrays
        return record

    def limber(self, A, b, kind, start=None, goal=GOAL, form=0):
        record, answer = self.input(A, b), Answer()
        x = np.zeros(A.shape[0] if kind == "constraints" else A.shape[1]) if start is None else start.copy()
        self.library.solveByLimber(ctypes.byref(record), KINDS[kind], form, ctypes.c_double(goal),
                                   int(start is not None), x.ctypes.data_as(doubles), ctypes.byref(answer))
        return x, answer

    def eigen(self, A, b, method, goal=GOAL):
        record, answer = self.input(A, b), Answer()
        x = np.zeros(A.shape[1])
        self.library.solveByEigen(ctypes.byref(record), method, ctypes.c_double(goal), x.ctypes.data_as(doubles),
                                  ctypes.byref(answer))
        return x, answer


def product(A, x):
    """A x in long double."""
    y = np.zeros(A.shape[0], np.longdouble)
    if A.nnz == 0:
        return y
    filled = np.flatnonzero(np.diff(A.indptr))
    terms = A.data.astype(np.longdouble) * x.astype(np.longdouble)[A.indices]
    y[filled] = np.add.reduceat(terms, A.indptr[filled])
    return y


def norm(x):
    return np.sqrt(np.sum(x * x))


class System:
    def __init__(self, name, kind, A, b):
        self.name, self.kind = name, kind
        self.A = sp.csr_matrix(A, dtype=float)
        self.A.sum_duplicates()
        self.A.sort_indices()
        self.At = self.A.T.tocsr()
        self.b = np.asarray(b, float)
        right = self.b.astype(np.longdouble)
        self.right = norm(product(self.At, right) if kind == "least-squares" else right)

    def relative(self, x):
        """The residual divided by the right-hand side, computed from the entries."""
        if not np.all(np.isfinite(x)):
            return np.inf
        at = product(self.At, x) if self.kind == "constraints" else x
        r = self.b.astype(np.longdouble) - product(self.A, at)
        if self.kind == "least-squares":
            r = product(self.At, r)
        return norm(r) / self.right if self.right > 0 else norm(r)

    def dense(self):
        return max(self.A.shape) * min(self.A.shape) <= 3000 * 3000


def limited(run, seconds):
    """Runs run() in a separate process and returns its result, or None if it takes too long or crashes."""
    sys.stdout.flush()
    readable, writable = os.pipe()
    child = os.fork()
    if child == 0:
        signal.alarm(seconds)  # a limit of processor time would make the clock of that time coarse
        try:
            with os.fdopen(writable, "wb") as pipe:
                pickle.dump(run(), pipe)
            os._exit(0)
        finally:
            os._exit(1)
    os.close(writable)
    with os.fdopen(readable, "rb") as pipe:
        data = pipe.read()
    return pickle.loads(data) if os.waitpid(child, 0)[1] == 0 else None


def best(method, times=5, budget=0.5):
    begin, least, x = time.process_time(), np.inf, None
    for k in range(times):
        if k and time.process_time() - begin > budget:
            break
        x, seconds = method()
        least = min(least, seconds)
    return x, least


def timed(method):
    def run():
        begin = time.process_time()
        try:
            x = np.asarray(method(), float).ravel()
        except (RuntimeError, ValueError, np.linalg.LinAlgError, MemoryError):
            x = np.array([np.nan])
        return x, time.process_time() - begin
    return run


def peers_of(system, library):
    """(group, name, method) for all that can solve the system; a method gives x and seconds."""
    A, b, kind = system.A, system.b, system.kind
    C = A.tocsc()

    def eigen(method):
        def run():
            x, answer = library.eigen(A, b, method)
            return x, answer.seconds
        return run

    def krylov(solver, **more):
        return timed(lambda: solver(A, b, atol=0.0, **{tolerance: GOAL}, **more)[0])

    tolerance = "rtol" if "rtol" in sla.cg.__code__.co_varnames else "tol"
    found = []
    if kind == "definite":
        found += [("Eigen", "CG", eigen(0)), ("Eigen", "LDLT", eigen(1)), ("scipy", "cg", krylov(sla.cg)),
                  ("scipy", "splu", timed(lambda: sla.splu(C).solve(b)))]
        if system.dense():
            found.append(("LAPACK", "potrf", timed(lambda: scipy.linalg.cho_solve(
                scipy.linalg.cho_factor(A.toarray()), b))))
    elif kind == "square":
        found += [("Eigen", "BiCGSTAB", eigen(4)), ("Eigen", "BiCGSTAB+ILUT", eigen(5)), ("Eigen", "LU", eigen(6)),
                  ("scipy", "bicg", krylov(sla.bicg)), ("scipy", "bicgstab", krylov(sla.bicgstab)),
                  ("scipy", "splu", timed(lambda: sla.splu(C).solve(b))),
                  ("scipy", "gmres", krylov(sla.gmres, maxiter=20))]
        if system.dense():
            found.append(("LAPACK", "gesv", timed(lambda: np.linalg.solve(A.toarray(), b))))
    else:
        found += [("Eigen", "LSCG", eigen(2)), ("Eigen", "QR", eigen(3)),
                  ("scipy", "lsmr", timed(lambda: sla.lsmr(A, b, atol=GOAL, btol=GOAL, conlim=0)[0])),
                  ("scipy", "lsqr", timed(lambda: sla.lsqr(A, b, atol=GOAL, btol=GOAL, conlim=0)[0]))]
        if system.dense():
            found.append(("LAPACK", "gelsd", timed(lambda: np.linalg.lstsq(A.toarray(), b, rcond=None)[0])))
    return found


class Table:
    """One line per system: for each group of peers the fastest method that solves it."""

    def __init__(self, library, limit):
        self.library, self.limit = library, limit
        self.nobody, self.lost, self.wrong, self.slower = [], [], [], []
        print("| system | size | Limber | Eigen | scipy | LAPACK |\n|---|---|---|---|---|---|")

    def add(self, system):
        last = {}

        def ours():
            x, answer = self.library.limber(system.A, system.b, system.kind)
            last["status"], last["iterations"] = STATUS[answer.status], answer.iterations
            return x, answer.seconds

        result = limited(lambda: (*best(ours), last), self.limit)
        x, seconds, last = result or (np.full(system.A.shape[1], np.nan), np.inf,
                                      {"status": "out of time", "iterations": 0})
        truth = system.relative(x)
        mine = truth <= SOLVED
        cells = ["%s %.1e, %d its, %.3g" % ("" if mine else "--", truth, last["iterations"], 1e3 * seconds)]
        if not mine:
            cells[0] += " (%s)" % last["status"]
        if last["status"] == "converged" and not truth <= 1.01 * GOAL:
            self.wrong.append(system.name)
        groups = {}
        for group, name, method in peers_of(system, self.library):
            groups.setdefault(group, [])
            y, spent = limited(lambda: best(method, 3), self.limit) or (np.array([]), np.inf)
            rest = system.relative(y) if y.size == x.size else np.inf
            groups[group].append((not rest <= SOLVED, spent, name, rest))
        for group in ["Eigen", "scipy", "LAPACK"]:
            if group not in groups:
                cells.append("n/a")
                continue
            failed, spent, name, rest = min(groups[group])
            cells.append("-- %.0e" % min(g[3] for g in groups[group]) if failed else
                         "%s %.0e, %.3g" % (name, rest, 1e3 * spent))
            if group == "Eigen" and not failed and mine and seconds > spent:
                self.slower.append("%s (%.2f)" % (system.name, seconds / spent))
        print("| %s | %d x %d | %s |" % (system.name, *system.A.shape, " | ".join(cells)), flush=True)
        if not mine:
            byPeer = any(not g[0] for group in groups.values() for g in group)
            (self.lost if byPeer else self.nobody).append(system.name)

    def finish(self):
        for what, names in [("called converged and is not", self.wrong), ("solved by a peer and not by Limber", self.lost),
                            ("solved by nobody", self.nobody), ("slower than the fastest of Eigen that solves it",
                                                                self.slower)]:
            print("\n%s: %s" % (what, "; ".join(names) if names else "none"))


def grid(k, convection=0.0, shift=0.0):
    one = sp.diags([-1.0 - convection, 2.0, -1.0 + convection], [-1, 0, 1], shape=(k, k))
    two = sp.diags([-1.0, 2.0, -1.0], [-1, 0, 1], shape=(k, k))
    return (sp.kron(sp.eye(k), one) + sp.kron(two, sp.eye(k)) - shift * sp.eye(k * k)).tocsr()


def generated(rng):
    """(name, kind, A)"""
    n = 1500
    chain = sp.diags([-1.0, 2.0, -1.0], [-1, 0, 1], shape=(n, n))
    grade = sp.diags(10.0 ** rng.uniform(-6, 6, n))
    wild = sp.diags(10.0 ** rng.uniform(-60, 60, n))
    order = rng.permutation(n)
    sparse = sp.random(n, n, 0.004, random_state=3, format="csr") + 2.0 * sp.eye(n)
    free = grid(50)
    free = free - sp.diags(np.asarray(free.sum(axis=1)).ravel())
    tall = sp.random(1850, 712, 0.01, random_state=4, format="csr")
    thin = rng.standard_normal((20000, 12))
    nodes = np.linspace(0.0, 1.0, 100)
    long = sp.diags([-1.0, 2.0, -1.0], [-1, 0, 1], shape=(20000, 20000))
    yield "grid 100 x 100", "definite", grid(100)
    yield "chain of 20000", "definite", long
    yield "graded chain, D A D over 1e-6 ... 1e6", "definite", grade @ chain @ grade
    yield "grid of 2500 with free edges (singular)", "definite", free
    yield "grid times 1e-200", "definite", 1e-200 * grid(50)
    yield "grid times 1e200", "definite", 1e200 * grid(50)
    yield "convection 0.5 on 100 x 100", "square", grid(100, 0.5)
    yield "convection 5 on 100 x 100", "square", grid(100, 5.0)
    yield "convection 50 on 60 x 60", "square", grid(60, 50.0)
    yield "Laplacian 50 x 50 less 1", "square", grid(50, 0.0, 1.0)
    yield "Laplacian 100 x 100 less 0.5", "square", grid(100, 0.0, 0.5)
    yield "permuted chain", "square", chain.tocsr()[order]
    yield "random 1500, 6 a row", "square", sparse
    yield "the same graded, D B D over 1e-60 ... 1e60", "square", wild @ sparse @ wild
    yield "the same times 1e-200", "square", 1e-200 * sparse
    yield "random 3000, 4 a row", "square", sp.random(3000, 3000, 4 / 3000, random_state=5) + sp.eye(3000)
    yield "scattered 1850 x 712", "least-squares", tall
    yield "the same, columns over 1e-4 ... 1e4", "least-squares", tall @ sp.diags(10.0 ** rng.uniform(-4, 4, 712))
    yield "full 20000 x 12", "least-squares", sp.csr_matrix(thin)
    yield "Vandermonde 100 x 12", "least-squares", sp.csr_matrix(np.vander(nodes, 12, increasing=True))
    yield "Vandermonde 100 x 20", "least-squares", sp.csr_matrix(np.vander(nodes, 20, increasing=True))
    yield "rank 300 of 1850 x 600", "least-squares", sp.hstack([tall[:, :300], tall[:, :300]])
    yield "wide 400 x 1500", "least-squares", sp.random(400, 1500, 0.01, random_state=6)
    yield "times 1e-200, 1850 x 712", "least-squares", 1e-200 * tall


def right_hand_sides(A):
    """Yields two right-hand sides: A times ones, unless it overflows, and a rough one."""
    ones = np.asarray(sp.csr_matrix(A) @ np.ones(A.shape[1])).ravel()
    if np.all(np.isfinite(ones)):
        yield "b = A 1", ones
    yield "b = sin", np.sin(np.arange(1.0, A.shape[0] + 1.0))


SHARED = {"definite": ["494_bus.mtx", "bcsstk01.mtx", "gr_30_30.mtx", "nos3.mtx", "nos7.mtx"],
          "least-squares": ["ash219.mtx", "well1033.mtx.gz", "illc1033.mtx.gz"],
          "square": ["jpwh_991.mtx", "west0067.mtx", "orsirr_1.mtx"]}


def systems(files):
    """(name, kind, A) of the files, or of the shared ones and the generated systems."""
    pairs = list(zip(files[::2], files[1::2]))
    if not files:
        here = os.path.dirname(os.path.abspath(__file__))
        folder = os.path.join(here, "..", "..", "..", "..", "shared", "data")
        pairs = [(kind, os.path.join(folder, name)) for kind, names in SHARED.items() for name in names]
    for kind, path in pairs:
        if os.path.exists(path):
            yield os.path.basename(path), kind, sp.csr_matrix(scipy.io.mmread(path))
        else:
            print("%s is not there: skipped" % path)
    if not files:
        yield from generated(np.random.default_rng(1))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("peers")
    parser.add_argument("--limit", type=int, default=20)
    parser.add_argument("--only", default="")
    parser.add_argument("files", nargs="*")
    options = parser.parse_args()
    table = Table(Peers(options.peers), options.limit)
    for name, kind, A in systems(options.files):
        for what, b in right_hand_sides(A):
            if options.only in name:
                table.add(System("%s, %s" % (name, what), kind, A, b))
    table.finish()


if __name__ == "__main__":
    main()
