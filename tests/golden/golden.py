#!/usr/bin/env python3
"""The golden numbers have the same bits in every build.

usage: golden.py [--update] BITS PROGRAM...                  runs an existing program, by its emulator if there is one
       golden.py --build SOURCE-DIR BINARY-DIR BITS COMPILER -- FLAG... [-- LIBRARY...]
                                                             builds the library and the program again

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


def compare(bits, program, update=False):
    printed = subprocess.run(program, check=True, capture_output=True, text=True).stdout
    if update:
        with open(bits, "w") as file:
            file.write(printed)
    with open(bits) as file:
        expected = file.read()
    difference = list(difflib.unified_diff(expected.splitlines(), printed.splitlines(), bits, program[-1], n=0, lineterm=""))
    print("\n".join(difference[:40]))
    print(len(printed.splitlines()), "numbers,", "other bits" if difference else "the same bits")
    return bool(difference) or not printed


def build(source, binary, compiler, flags, libraries):
    sources = glob.glob(f"{source}/tests/golden/*.cpp")
    for room in ROOMS:
        sources += glob.glob(f"{source}/limber/{room}/*.cpp") + glob.glob(f"{source}/limber/{room}/detail/*.cpp")
    os.makedirs(binary, exist_ok=True)
    command = ([shutil.which("ccache")] if shutil.which("ccache") else []) + [compiler]

    headers = glob.glob(f"{source}/limber/**/*.h", recursive=True) + glob.glob(f"{source}/tests/golden/*.h")
    newest = max(map(os.path.getmtime, headers + [__file__]))

    def compiled(path):
        target = os.path.join(binary, os.path.relpath(path, source).replace(os.sep, "_") + ".o")
        if os.path.exists(target) and os.path.getmtime(target) > max(newest, os.path.getmtime(path)):
            return target  # the flags are always those of this directory
        subprocess.run(command + ["-std=c++17", "-DLIMBER_BUILDING", "-I" + source, "-c", path, "-o", target] + flags,
                       check=True)
        return target

    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        objects = list(pool.map(compiled, sorted(sources)))
    program = os.path.join(binary, "golden")
    subprocess.run([compiler] + objects + ["-o", program] + libraries, check=True)
    return program


def main(arguments):
    if arguments[0] != "--build":
        update = arguments[0] == "--update"
        bits, *program = arguments[1:] if update else arguments
        return compare(bits, program, update)
    source, binary, bits, compiler = arguments[1:5]
    if not shutil.which(compiler):
        print("no", compiler)
        return 77
    rest = arguments[6:]
    cut = rest.index("--") if "--" in rest else len(rest)
    program = build(source, binary, compiler, rest[:cut], rest[cut + 1:])
    machine = [flag for flag in rest[:cut] if flag.startswith("-march=")]
    try:
        return compare(bits, [program])
    except subprocess.CalledProcessError as error:
        if error.returncode != -signal.SIGILL or not machine:
            raise
        print("this machine lacks instructions of", machine[0])
        return 77


sys.exit(main(sys.argv[1:]))
