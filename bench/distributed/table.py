#!/usr/bin/env python3
"""Prints the figures of docs/guide/distributed.md: a solve on one and two processes, measured, and on more, computed.

table.py PROGRAM [ROUNDS] [--page]: PROGRAM is bench_distributed. The jobs of one and two processes run by turns; the least median
of each counts. When a process had less than nine tenths of a core, the text says that the machine was busy. With --page the
figures replace those of the page."""
import contextlib
import io
import math
import os
import subprocess
import sys

SIDE, ITERATIONS = 1000, 30
# The assumptions of the computed table: a message between two machines.
LATENCY, BYTES_PER_SECOND = 2e-6, 10e9
PAGE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../docs/guide/distributed.md")
BEGIN, END = "<!-- bench/run distributed --page -->\n", "<!-- end -->\n"
NAMES = ["seconds", "messages", "bytes", "sums", "share", "rows", "solve", "sum_seconds", "gigabyte"]


def job(program, processes):
    command = ["mpiexec", "--allow-run-as-root", "-n", str(processes), program, str(SIDE), str(ITERATIONS)]
    if processes > (os.cpu_count() or 1):
        command.insert(1, "--oversubscribe")
    out = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    words = next(line for line in out.splitlines() if line.startswith("result ")).split()
    return dict(zip(NAMES, map(float, words[2:])))


def best(runs):
    return min(runs, key=lambda run: run["seconds"])


def processor_name():
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        return next((line.split(":")[1].strip() for line in file if line.startswith("model name")), "unknown processor")


def row(name, *cells):
    print(f"| {name} | " + " | ".join(cells) + " |")


def measured(one, two, rounds):
    print(f"Measured with `bench/run distributed` on {processor_name()}, {os.cpu_count()} cores: conjugate gradients with the")
    print(f"diagonal on the five-point stencil of {SIDE} x {SIDE} points, 5 entries per row. The times are medians of 90")
    print(f"iterations, the least of {rounds} runs.\n")
    row("a process", "1 process", "2 processes")
    row("---", "---", "---")
    row("rows of the matrix, MB", *(f"{run['rows'] / 1e6:.0f}" for run in (one, two)))
    row("the solve beside them, MB", *(f"{run['solve'] / 1e6:.0f}" for run in (one, two)))
    row("messages sent an iteration", *(f"{run['messages']:.0f}" for run in (one, two)))
    row("bytes sent an iteration", *(f"{run['bytes']:.0f}" for run in (one, two)))
    row("sums over all processes an iteration", *(f"{run['sums']:.0f}" for run in (one, two)))
    row("one such sum, microseconds", "-", f"{two['sum_seconds'] * 1e6:.1f}")
    row("time of an iteration, ms", *(f"{run['seconds'] * 1e3:.2f}" for run in (one, two)))
    row("share of a core that a process had", *(f"{run['share']:.0%}" for run in (one, two)))
    row("a = b + s c over 96 MB, GB/s", *(f"{1.0 / run['gigabyte']:.1f}" for run in (one, two)))
    print(f"\nTwo processes take {two['seconds'] / one['seconds']:.2f} of the time of one. The last row alone would give "
          f"{0.5 * two['gigabyte'] / one['gigabyte']:.2f}.")
    if min(one["share"], two["share"]) < 0.9:
        print("The machine was busy: other programs had part of the cores, and a process that waits for the other one uses its")
        print("core up. These times are therefore no measure of what a second core gains.")


def computed(one, two):
    """Work in proportion to a process's rows, its messages one after the other, and sums over a tree of processes."""
    rows = SIDE * SIDE
    # The work of one row. Waiting counts as processor time, so on a busy machine only the run with one process shows it.
    quiet = min(one["share"], two["share"]) >= 0.9
    work = two["seconds"] / (rows / 2) if quiet else one["seconds"] * one["share"] / rows
    pace = "shares its memory with one other" if quiet else "has its memory for itself"
    memory = (two["rows"] + two["solve"]) / (rows / 2)
    print(f"\nComputed, not measured: time = rows of a process x {work * 1e9:.1f} ns + 2 messages of {8 * SIDE} bytes to its")
    print(f"neighbours + 3 sums of log2(processes) messages each. Assumed: a message takes {LATENCY * 1e6:.0f} microseconds and its bytes at")
    print(f"{BYTES_PER_SECOND / 1e9:.0f} GB/s; a process {pace}, as in the measurement; it holds")
    print(f"{memory:.0f} bytes per row; the work is spread evenly; caches do not help when the parts are small.\n")
    row("processes", f"ms, {SIDE} x {SIDE} in all", "efficiency", "MB per process", f"ms, {SIDE} x {SIDE} each", "efficiency")
    row(*["---"] * 6)
    for processes in (16, 64, 256, 1024):
        messages = 2 * (LATENCY + 8 * SIDE / BYTES_PER_SECOND) + 3 * math.ceil(math.log2(processes)) * LATENCY
        fixed, growing = work * rows / processes + messages, work * rows + messages
        row(str(processes), f"{fixed * 1e3:.3f}", f"{work * rows / processes / fixed:.0%}", f"{memory * rows / processes / 1e6:.1f}",
            f"{growing * 1e3:.2f}", f"{work * rows / growing:.0%}")


def put_into_page(figures):
    with open(PAGE, encoding="utf-8") as file:
        page = file.read()
    before, rest = page.split(BEGIN)
    with open(PAGE, "w", encoding="utf-8") as file:
        file.write(before + BEGIN + "\n" + figures + "\n" + END + rest.split(END)[1])


def main():
    program, *words = sys.argv[1:]
    rounds = int(words[0]) if words and words[0].isdigit() else 7
    runs = {1: [], 2: []}
    for _ in range(rounds):
        for processes in runs:
            runs[processes].append(job(program, processes))
    figures = io.StringIO()
    with contextlib.redirect_stdout(figures):
        measured(best(runs[1]), best(runs[2]), rounds)
        computed(best(runs[1]), best(runs[2]))
    print(figures.getvalue(), end="")
    if "--page" in words:
        put_into_page(figures.getvalue())


main()
