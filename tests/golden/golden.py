#!/usr/bin/env python3
"""Checks that the golden numbers and the table of the solvers have the same bits in every build.

usage: golden.py [--update] BITS PROGRAM...                  runs an existing program, by its emulator if there is one
       golden.py --build SOURCE-DIR BINARY-DIR COMPILER -- FLAG... [-- LIBRARY...]
                                                             builds the library and both programs again

Ends with 77 where there is no such compiler, or the machine lacks the instructions that a flag asks for.
"""
import concurrent.futures
import difflib
import glob
import os
import shutil
import signal
import subprocess
import sys

ROOMS = ("foundation", "linalg", "solvers")
# The expected output of each program; its sources are in the same folder.
EXPECTED = {"golden": "tests/golden/bits.txt", "table": "tests/solvers/table/table.txt"}


def compare(bits, program, update=False):
    printed = subprocess.run(program, check=True, capture_output=True, text=True).stdout
    with open(bits) as file:
        lines = file.read().splitlines()
    head = [line for line in lines if line.startswith("#")]
    expected = lines[len(head):]
    if update:
        expected = printed.splitlines()
        with open(bits, "w") as file:
            file.write("\n".join(head + expected) + "\n")
    difference = list(difflib.unified_diff(expected, printed.splitlines(), bits, program[-1], n=0, lineterm=""))
    print("\n".join(difference[:40]))
    print(len(printed.splitlines()), "lines,", "other bits" if difference else "the same bits")
    return bool(difference) or not printed


def build(source, binary, compiler, flags, libraries):
    """The programs, by their names in EXPECTED."""
    own = {name: glob.glob(f"{source}/{os.path.dirname(path)}/*.cpp") for name, path in EXPECTED.items()}
    own["table"].append(f"{source}/tests/golden/Golden.cpp")
    library = []
    for room in ROOMS:
        library += glob.glob(f"{source}/limber/{room}/*.cpp") + glob.glob(f"{source}/limber/{room}/detail/*.cpp")
    os.makedirs(binary, exist_ok=True)
    command = ([shutil.which("ccache")] if shutil.which("ccache") else []) + [compiler]

    headers = [header for room in ("limber/**", "tests/golden", "tests/solvers/table")
               for header in glob.glob(f"{source}/{room}/*.h", recursive=True)]
    newest = max(map(os.path.getmtime, headers + [__file__]))

    def compiled(path):
        target = os.path.join(binary, os.path.relpath(path, source).replace(os.sep, "_") + ".o")
        if os.path.exists(target) and os.path.getmtime(target) > max(newest, os.path.getmtime(path)):
            return target  # the flags are always those of this directory
        subprocess.run(command + ["-std=c++17", "-DLIMBER_BUILDING", "-I" + source, "-c", path, "-o", target] + flags,
                       check=True)
        return target

    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        objects = list(pool.map(compiled, sorted(library)))
        programs = {}
        for name, sources in own.items():
            programs[name] = os.path.join(binary, name)
            linked = objects + list(pool.map(compiled, sorted(sources)))
            subprocess.run([compiler] + linked + ["-o", programs[name]] + libraries, check=True)
    return programs


def main(arguments):
    if arguments[0] != "--build":
        update = arguments[0] == "--update"
        bits, *program = arguments[1:] if update else arguments
        return compare(bits, program, update)
    source, binary, compiler = arguments[1:4]
    if not shutil.which(compiler):
        print("no", compiler)
        return 77
    rest = arguments[5:]
    cut = rest.index("--") if "--" in rest else len(rest)
    programs = build(source, binary, compiler, rest[:cut], rest[cut + 1:])
    machine = [flag for flag in rest[:cut] if flag.startswith("-march=")]
    try:
        return sum(compare(os.path.join(source, EXPECTED[name]), [program]) for name, program in programs.items())
    except subprocess.CalledProcessError as error:
        if error.returncode != -signal.SIGILL or not machine:
            raise
        print("this machine lacks instructions of", machine[0])
        return 77


sys.exit(main(sys.argv[1:]))
