#!/usr/bin/env python3
"""Every header compiles alone with the warnings that careful users ask for as errors: the public ones with each installed
compiler in every language version from C++17 on, the private ones with the compiler and the language of the build. For a compiler that
knows none of GCC's extensions the public headers hold none.

usage: headers_alone.py COMPILER SOURCE_DIR
"""
import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

build_compiler, source = sys.argv[1], pathlib.Path(sys.argv[2])
WARNINGS = ["-Wall", "-Wextra", "-Wconversion", "-Wshadow", "-Wpedantic", "-Woverloaded-virtual", "-Werror"]
headers = sorted(header for room in source.glob("limber*") if room.is_dir() for header in room.rglob("*.h"))


def engine_includes():
    """The include directories of MPI and PETSc, as arguments; None if one of them is missing."""
    commands = (["mpicxx", "--showme:compile"], ["pkg-config", "--cflags-only-I", "PETSc"])
    if not all(shutil.which(command[0]) for command in commands):
        return None
    answers = [subprocess.run(command, capture_output=True, text=True) for command in commands]
    if any(answer.returncode for answer in answers):
        return None
    words = " ".join(answer.stdout for answer in answers).split()
    return [f"-isystem{word[2:]}" for word in words if word.startswith("-I")]


# The headers of limber_petsc need those of PETSc and MPI.
ENGINE = engine_includes()
if ENGINE is None:
    print("limber_petsc is left out: MPI or PETSc is not installed")
    headers = [header for header in headers if "limber_petsc" not in header.parts]
else:
    WARNINGS += ENGINE + ["-DOMPI_SKIP_MPICXX", "-DMPICH_SKIP_MPICXX"]
public = [header for header in headers if "detail" not in header.parts]


def syntax_errors(compiler, standard, text, warnings=()):
    command = [compiler, f"-std={standard}", *WARNINGS, *warnings, "-fsyntax-only", f"-I{source}", "-x", "c++", "-"]
    done = subprocess.run(command, input=text, capture_output=True, text=True)
    return done.stderr or "refused" if done.returncode else None


def check(job):
    header, compiler, standard = job
    name = header.relative_to(source).as_posix()
    # Included twice, to find a header without a guard.
    warnings = ["-Wnon-virtual-dtor"] if header in public else []
    errors = syntax_errors(compiler, standard, f'#include "{name}"\n' * 2, warnings)
    return errors and f"{name} with {compiler} as {standard}:\n{errors}"


def check_other_compilers(header):
    """Checks that our headers contain no extension of GCC if the compiler is not compatible with it. The standard headers are
    empty here."""
    with tempfile.TemporaryDirectory() as empty:
        for name in set(re.findall(r"#include <([^>]+)>", "".join(h.read_text() for h in public + bodies))):
            stub = pathlib.Path(empty, name)
            stub.parent.mkdir(parents=True, exist_ok=True)
            stub.touch()
        command = [build_compiler, "-E", "-P", "-nostdinc", "-nostdinc++", "-U__GNUC__", "-U__clang__", "-U__SSE2__", "-D_WIN32",
                   "-D_MSC_VER=1930", f"-I{empty}", f"-I{source}", "-x", "c++", str(header)]
        text = subprocess.run(command, capture_output=True, text=True)
    left = re.findall(r"__attribute__|__builtin_\w*|__asm\w*|__restrict\w*", text.stdout)
    return left and f"{header.relative_to(source)} for another compiler holds {sorted(set(left))}" or \
        text.returncode and f"{header}:\n{text.stderr}"


elsewhere = [header for header in public if "limber_petsc" not in header.parts]
bodies = [body for room in source.glob("limber*") if room.is_dir() for body in room.rglob("*.inl")]
compilers = [build_compiler] + [c for c in ("g++", "clang++") if shutil.which(c)]
compilers = sorted({os.path.realpath(shutil.which(c)) for c in compilers})
jobs = [(header, build_compiler, "c++17") for header in headers if header not in public]
for compiler in compilers:
    standards = [s for s in ("c++17", "c++20", "c++2b") if not syntax_errors(compiler, s, "")]
    print(f"{compiler}: {', '.join(standards)}")
    if "c++17" not in standards:
        sys.exit(f"{compiler} does not know C++17")
    jobs += [(header, compiler, standard) for standard in standards for header in public]
with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
    failures = [failure for failure in pool.map(check, jobs) if failure]
    failures += [failure for failure in pool.map(check_other_compilers, elsewhere) if failure]
print("\n".join(failures) or f"{len(headers)} headers compile alone")
sys.exit(bool(failures) or not public)
