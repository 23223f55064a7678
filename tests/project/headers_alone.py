#!/usr/bin/env python3
"""Every header compiles alone, with -Wall -Wextra -Wconversion as errors, as C++17 and as C++20.

usage: headers_alone.py COMPILER SOURCE_DIR
"""
import concurrent.futures
import pathlib
import subprocess
import sys

compiler, source = sys.argv[1], pathlib.Path(sys.argv[2])
headers = sorted(h for part in ("limber", "limber_motion") for h in (source / part).rglob("*.h"))


def check(job):
    header, standard = job
    name = header.relative_to(source).as_posix()
    command = [compiler, f"-std={standard}", "-Wall", "-Wextra", "-Wconversion", "-Wshadow", "-Woverloaded-virtual", "-Werror", "-fsyntax-only",
               f"-I{source}", "-x", "c++", "-"]
    # Twice: a header without a guard shows itself.
    text = f'#include "{name}"\n#include "{name}"\n'
    done = subprocess.run(command, input=text, capture_output=True, text=True)
    return None if done.returncode == 0 else f"{name} as {standard}:\n{done.stderr}"


jobs = [(header, standard) for header in headers for standard in ("c++17", "c++20")]
with concurrent.futures.ThreadPoolExecutor(2) as pool:
    failures = [failure for failure in pool.map(check, jobs) if failure]
print("\n".join(failures) or f"{len(headers)} headers compile alone")
sys.exit(bool(failures) or not headers)
