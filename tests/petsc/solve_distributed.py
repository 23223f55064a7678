#!/usr/bin/env python3
"""Runs examples/solve_distributed as a user would.

solve_distributed.py MPIEXEC PROGRAM SOLVE EXAMPLE-DATA"""
import os
import signal
import subprocess
import sys
import tempfile
import time

mpiexec, program, serial, data = sys.argv[1:]
failures = 0


def check(condition, what):
    global failures
    if not condition:
        failures += 1
        print("failed:", what)


def job(processes, *arguments, before=()):
    return [mpiexec, "--allow-run-as-root", "--oversubscribe", "-n", str(processes), *before, program, *arguments]


def finished(command):
    done = subprocess.run(command, capture_output=True, text=True, timeout=240)
    return done.returncode, done.stdout, done.stderr


def run(processes, *arguments):
    return finished(job(processes, *arguments))


def run_limited(kilobytes, *arguments):
    """Two processes with so much room for addresses."""
    return finished(job(2, *arguments, before=["sh", "-c", f'ulimit -v {kilobytes}; exec "$0" "$@"']))


def numbers(path):
    with open(path, encoding="utf-8") as file:
        lines = [line for line in file if not line.startswith("%")]
    return [float(line) for line in lines[1:]]


def solvers(launcher):
    """The processes of a job, in the order of their start."""
    listed = subprocess.run(["ps", "--ppid", str(launcher), "-o", "pid=,comm="], capture_output=True, text=True).stdout
    return [int(line.split()[0]) for line in listed.splitlines() if line.split()[1].startswith("solve_dist")]


def check_ended(what, end, matrix, x, patience):
    """Starts a solve of thousands of iterations and calls `end`, which ends the job through its launcher or its processes."""
    command = job(2, "--spd", "-limber_ksp_monitor", "--relative", "0", "-x", x, matrix)
    running = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    begun = any("KSP Residual norm" in line for line in running.stdout)
    processes = solvers(running.pid)
    check(begun and len(processes) == 2, f"a job of two processes: {begun} {processes} {running.poll()}")
    if begun and len(processes) == 2:
        end(running.pid, processes)
    else:
        running.kill()
    began = time.monotonic()
    try:
        _, err = running.communicate(timeout=patience)
        # After Ctrl-C the launcher prints nothing itself, and may end before it passes on what the processes print.
        check(running.returncode != 0 and (err.strip() or what == "Ctrl-C"), f"{what}: {running.returncode} {err}")
        print(f"{what}: the job ended after {time.monotonic() - began:.2f} s")
    except subprocess.TimeoutExpired:
        running.kill()
        check(False, f"{what}: the job goes on after {patience:.0f} s")
    check(not os.path.exists(x) and not os.path.exists(x + ".part"), f"{what}: a solution was written")


with tempfile.TemporaryDirectory() as folder:
    matrix, b = os.path.join(data, "survey_network.mtx.gz"), os.path.join(data, "survey_network_b.mtx.gz")
    reference = os.path.join(folder, "serial.mtx")
    subprocess.run([serial, "--ls", "-b", b, "-x", reference, matrix], check=True, stdout=subprocess.DEVNULL)
    expected = numbers(reference)
    size = sum(x * x for x in expected) ** 0.5
    for processes in (1, 2, 3):
        x = os.path.join(folder, f"x{processes}.mtx")
        status, out, err = run(processes, "--ls", "-b", b, "-x", x, matrix)
        check(status == 0 and out.count("solved after") == 1, f"{processes} processes: {status} {out} {err}")
        error = sum((p - q) ** 2 for p, q in zip(numbers(x), expected)) ** 0.5
        check(len(numbers(x)) == len(expected) and error <= 1e-8 * size, f"{processes} processes: error {error} beside {size}")

    x = os.path.join(folder, "none.mtx")
    bad, cut = os.path.join(folder, "bad.mtx"), os.path.join(folder, "cut.mtx")
    with open(bad, "w", encoding="utf-8") as file:
        file.write("%%MatrixMarket matrix coordinate real general\n3 3 2\n1 1 1\n2 x 2\n")
    with open(cut, "w", encoding="utf-8") as file:
        file.write("%%MatrixMarket matrix coordinate real general\n3 3 2\n1 1 1\n2")
    for what, arguments, message in [("a missing file", ["nowhere.mtx", "-x", x], "nowhere.mtx"),
                                     ("a bad line", [bad, "-x", x], "bad.mtx:4: "),
                                     ("a file that ends in an entry", [cut, "-x", x], "cut.mtx:4: "),
                                     ("an output without a directory", ["--ls", matrix, "-x", folder + "/no/x"],
                                      "cannot be written: No such file or directory"),
                                     ("a matrix that is not square", ["--spd", matrix, "-x", x], "not square"),
                                     ("an unknown option", ["--fast", matrix], "--fast")]:
        status, out, err = run(2, *arguments)
        check(status == 1 and err.count(message) == 1, f"{what}: {status} {err}")
        check(not os.path.exists(x), f"{what}: a solution was written")
    status, out, err = run(2, "--ls", matrix, "-x", "/dev/full")
    check(status == 1 and "/dev/full" in err, f"a full disk: {status} {err}")
    status, out, err = run(2, "-limber_ksp_type", "cgls", matrix)
    check(status == 0, f"another method: {status} {out} {err}")

    status, out, err = run(2, "-limber_ksp_type", "nonsense", "-x", x, matrix)
    check(status == 2 and "PETSc reported an error" in out and "residual" not in out and not os.path.exists(x),
          f"an error of PETSc: {status} {out} {err}")

    # With a gigabyte of addresses, a matrix that does not fit is named before it is stored. MPI itself may need more.
    declared = os.path.join(folder, "declared.mtx")
    with open(declared, "w", encoding="utf-8") as file:
        file.write("%%MatrixMarket matrix coordinate real general\n20000000 20000000 400000\n")
        file.writelines(f"{k} {k} 1\n" for k in range(1, 400001))
    if run_limited(1 << 20, matrix)[0] == 0:
        status, out, err = run_limited(1 << 20, "-x", x, declared)
        check(status == 3 and err.count("of memory, but") == 1 and not os.path.exists(x), f"little memory: {status} {out} {err}")

    # A job ends after Ctrl-C, and when one of its processes is killed.
    side = 300
    large = os.path.join(folder, "large.mtx")
    with open(large, "w", encoding="utf-8") as file:
        entries = [(i, i, 4) for i in range(side * side)]
        entries += [(i, i - 1, -1) for i in range(side * side) if i % side] + [(i, i - side, -1) for i in range(side, side * side)]
        file.write(f"%%MatrixMarket matrix coordinate real symmetric\n{side * side} {side * side} {len(entries)}\n")
        file.writelines(f"{i + 1} {j + 1} {v}\n" for i, j, v in entries)
    # Ten seconds, or more if this machine needs longer for a trivial job.
    began = time.monotonic()
    run(2, "--ls", matrix)
    patience = max(10.0, 5.0 * (time.monotonic() - began))
    for place in (0, 1):
        check_ended(f"a killed process {place}", lambda _, processes: os.kill(processes[place], signal.SIGKILL), large, x, patience)
    check_ended("Ctrl-C", lambda launcher, _: os.kill(launcher, signal.SIGINT), large, x, patience)

print("failed" if failures else "all as it should be")
sys.exit(failures > 0)
