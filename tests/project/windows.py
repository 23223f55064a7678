#!/usr/bin/env python3
"""Every source of the library and of its motion component compiles for Windows (LLP64: long has 32 bits there), and a program that
includes every header, also behind windows.h with its macros, gets no warning. Skipped by name where the cross-compiler is not
installed.

usage: windows.py SOURCE_DIR
"""
import concurrent.futures
import pathlib
import shutil
import subprocess
import sys

compiler = "x86_64-w64-mingw32-g++"
if not shutil.which(compiler):
    print(f"skipped: no {compiler} on this machine (tools/install-packages windows)")
    sys.exit(77)
source = pathlib.Path(sys.argv[1])
sources = sorted(s for part in ("limber", "limber_motion") for s in (source / part).rglob("*.cpp"))


def check(file):
    command = [compiler, "-std=c++17", "-O1", "-Wall", "-Wextra", "-Werror", "-DLIMBER_BUILDING", "-DLIMBER_MOTION_BUILDING", f"-I{source}",
               "-c", str(file), "-o", "/dev/null"]
    done = subprocess.run(command, capture_output=True, text=True)
    return None if done.returncode == 0 else f"{file.relative_to(source)}:\n{done.stderr}"


def check_consumer(before, *flags):
    """A program that includes everything gets no warning."""
    text = before + '#include "limber/limber.h"\n#include "limber/names.h"\n#include "limber_motion/motion.h"\n'
    command = [compiler, "-std=c++17", "-Wall", "-Wextra", "-Werror", f"-I{source}", "-fsyntax-only", *flags, "-x", "c++", "-"]
    done = subprocess.run(command, input=text, capture_output=True, text=True)
    return None if done.returncode == 0 else f"a program with {before}{flags}:\n{done.stderr}"


with concurrent.futures.ThreadPoolExecutor(2) as pool:
    failures = [failure for failure in pool.map(check, sources) if failure]
    failures += [failure for failure in (check_consumer(""), check_consumer("#include <windows.h>\n", "-O2"),
                                    check_consumer("", "-DLIMBER_STATIC")) if failure]
print("\n".join(failures) or f"{len(sources)} sources compile for Windows")
sys.exit(bool(failures) or not sources)
