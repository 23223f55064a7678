#!/usr/bin/env python3
"""table.py RESULTS ROWS PAGE: makes one table of all benchmarks: the work, our time, each peer, its time and the ratio of the
two. It prints the table, and writes it to PAGE with the machine, the versions and the dates.

RESULTS holds Google Benchmark's report of each room, ROOM.json; ROWS says in words what each benchmark does.
"""
import json
import pathlib
import platform
import re
import subprocess
import sys

UNITS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
ROOMS = ("foundation", "linalg", "solvers", "geometry", "ode", "io", "graphics", "motion")
PEERS = {"eigen": "Eigen", "direct": "LAPACK, called directly", "Glm": "GLM", "Fprintf": "fprintf",
         "PlainEigen": "Eigen, not normalized", "PlainGlm": "GLM, not normalized", "PlainImath": "Imath, not normalized",
         "EigenUnpivoted": "Eigen, no pivoting", "EigenUnpivotedInPlace": "Eigen, no pivoting, in place",
         "EigenFullPivoting": "Eigen, full pivoting", "ImathPivoting": "Imath, pivoting", "Plain": "the plain elimination"}
LIBRARIES = ("libeigen3-dev", "libglm-dev", "libimath-dev", "libboost-dev", "libsuitesparse-dev", "libopenblas-serial-dev",
             "zlib1g-dev")


def read_works(path):
    """Returns a list of (pattern, words, peer) for each room, in the order of the file."""
    works = {}
    for line in path.read_text().splitlines():
        if line and not line.startswith("#"):
            left, words = line.split(" : ", 1)
            room, name = left.split(" ", 1)
            words, _, peer = words.partition(" | ")
            pattern = re.escape(name.strip()).replace(r"\{n\}", r"(?P<n>\d+)")
            works.setdefault(room, []).append((re.compile(pattern), words, peer))
    return works


def shown(nanoseconds):
    unit = next(u for u in ("s", "ms", "us", "ns") if nanoseconds >= UNITS[u] or u == "ns")
    return f"{nanoseconds / UNITS[unit]:.3g} {unit}"


def rate(megabytes):
    return f"{megabytes:.3g} MB/s"


def by_counters(run):
    """(ours, [(peer, theirs, ratio)]) of a benchmark that times both sides itself; None for others."""
    ratios = {key[5:].lstrip("_"): value for key, value in run.items() if re.fullmatch(r"ratio(_\w+)?", key)}
    times, ours = {}, None
    for key, value in run.items():
        match = re.fullmatch(r"([a-z]+)_(ns|us|ms|MB_s)", key)
        if match and key not in ("cpu_time", "real_time"):
            side, unit = match.groups()
            text = rate(value) if unit == "MB_s" else shown(value * UNITS[unit])
            if side in ("ours", "limber"):
                ours = text
            else:
                times[side] = text
    if not ratios or ours is None:
        return None
    return ours, [(side, text, ratios.get(side, ratios.get(""))) for side, text in times.items()]


def time_of(run, room):
    """Processor time of one piece of work; in geometry a call works on an array of them."""
    if room == "geometry" and run.get("items_per_second"):
        return 1e9 / run["items_per_second"]
    return run["cpu_time"] * UNITS[run["time_unit"]]


def rows_of(room, report):
    """(work, ours, peer, theirs, ratio) for each pair that ran side by side; work is the benchmark's name."""
    runs = {re.sub(r"/iterations:1$", "", r["run_name"]): r for r in report["benchmarks"] if r.get("aggregate_name") == "median"}
    ours = {}
    for name, run in runs.items():
        sides = by_counters(run)
        if sides:
            for peer, theirs, ratio in sides[1]:
                yield name, sides[0], PEERS.get(peer, peer), theirs, ratio
        elif "Limber" in name.split("/")[0]:
            stem, _, arguments = name.partition("/")
            ours[stem.replace("_Limber", "").replace("Limber", ""), arguments] = time_of(run, room)
    for name, run in runs.items():
        stem, _, arguments = name.partition("/")
        if by_counters(run) or "Limber" in stem:
            continue
        bases = [base for base, given in ours if given == arguments and stem.startswith(base)]
        if bases:
            base = max(bases, key=len)
            own, theirs = ours[base, arguments], time_of(run, room)
            peer = stem[len(base):].lstrip("_")
            peer = PEERS.get(peer, peer)
            yield base + ("/" + arguments if arguments else ""), shown(own), peer, shown(theirs), own / theirs


def table_of(room, report, works):
    """Returns the rows of a room as text, in the order of ROWS."""
    rows = []
    for name, ours, peer, theirs, ratio in rows_of(room, report):
        for place, (pattern, words, named) in enumerate(works.get(room, ())):
            match = pattern.fullmatch(name)
            if match:
                text = words.replace("{n}", match.groupdict().get("n") or "")
                rows.append((place, f"| {text} | {ours} | {named if named and peer in ('peer', 'Eigen') else peer} "
                                    f"| {theirs} | {ratio:.2f} |"))
                break
    return [row for _, row in sorted(rows)]


def said(*command):
    try:
        return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        return ""


def machine():
    cpu = re.search(r"^Model name:\s*(.*)$", said("lscpu"), re.M)
    system = re.search(r'^PRETTY_NAME="(.*)"$', pathlib.Path("/etc/os-release").read_text(), re.M)
    return f"{cpu.group(1) if cpu else platform.machine()}, {system.group(1) if system else platform.system()}"


def versions():
    found = [f"{name} {said('dpkg-query', '-W', '-f', '${Version}', name)}" for name in LIBRARIES]
    return ", ".join([said("c++", "--version").split("\n")[0]] + [f for f in found if not f.endswith(" ")])


def page_of(results, works):
    head = re.search(r'LIMBER_VERSION "(.*)"', (pathlib.Path(__file__).parent.parent / "limber/Api.h").read_text()).group(1)
    lines = ["# Figures", "",
             "Written by `bench/run`. Limber and its peers ran by turns in one process on the same data; times are medians, and a",
             "ratio is our time over the peer's, the median of the turns: below 1 Limber is faster. Times on a shared machine move by",
             "a tenth and more from run to run; ratios move less.", "",
             f"- Limber {head}, commit {said('git', 'log', '-1', '--format=%h')}", f"- {machine()}", f"- {versions()}", ""]
    for room in ROOMS:
        path = results / f"{room}.json"
        if path.exists():
            report = json.loads(path.read_text())
            context = report["context"]
            loads = context.get("load_avg", [0.0])
            load = ", ".join(f"{x:.1f}" for x in loads)
            shared = " Others used the machine meanwhile: these figures are rough." if loads[0] > context["num_cpus"] else ""
            lines += [f"## {room}", "",
                      f"{context['date'][:16]}, {context['num_cpus']} processors, load at the start {load}.{shared}", "",
                      "| work | Limber | peer | its time | ratio |", "|---|---|---|---|---|"]
            rows = table_of(room, report, works)
            if not rows:
                sys.exit(f"{path}: rows.txt names none of its benchmarks")
            lines += rows + [""]
    return "\n".join(lines)


def main():
    results, works, page = map(pathlib.Path, sys.argv[1:])
    text = page_of(results, read_works(works))
    page.write_text(text)
    print(text)


if __name__ == "__main__":
    main()
