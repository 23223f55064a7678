#!/usr/bin/env python3
"""Compiles the program of each given page, runs it, and compares what it prints with the output that the page shows.

guide.py COMPILER SOURCE-DIR LIBRARY PAGE... [-- FLAG...]

A page holds one block ```cpp, followed by a block ``` with the output. A block ```text NAME is written to a file of
that name beside the program before it runs, gzip-compressed if NAME ends in .gz. Links to files are followed."""
import gzip
import os
import re
import subprocess
import sys
import tempfile

longest = 40  # lines of a program; a page must stay readable


def check(page, compiler, source, library, flags):
    path = os.path.join(source, page)
    text = open(path, encoding="utf-8").read()
    for target in re.findall(r"\]\(([^)#:]+)(?:#[^)]*)?\)", text):
        if not os.path.exists(os.path.join(os.path.dirname(path), target)):
            return f"there is no {target}"
    programs = re.findall(r"^```cpp\n(.*?)^```\n+```\n(.*?)^```", text, re.M | re.S)
    if len(programs) != 1:
        return f"{len(programs)} programs with their output, expected one"
    program, expected = programs[0]
    if program.count("\n") > longest:
        return f"the program has {program.count(chr(10))} lines, more than {longest}"
    with tempfile.TemporaryDirectory() as folder:
        for name, content in re.findall(r"^```text (\S+)\n(.*?)^```", text, re.M | re.S):
            opener = gzip.open if name.endswith(".gz") else open
            with opener(os.path.join(folder, name), "wt", encoding="utf-8") as file:
                file.write(content)
        name, binary = os.path.join(folder, "program.cpp"), os.path.join(folder, "program")
        with open(name, "w", encoding="utf-8") as file:
            file.write(program)
        command = [compiler, "-std=c++17", "-Wall", "-Wextra", "-Werror", *flags, "-I" + source, name, library,
                   "-Wl,-rpath," + os.path.dirname(os.path.abspath(library)), "-o", binary]
        if subprocess.run(command).returncode != 0:
            return "the program does not compile"
        run = subprocess.run([binary], capture_output=True, text=True, cwd=folder)
        if run.returncode != 0 or run.stderr:
            return f"the program ends with status {run.returncode} and prints\n{run.stdout}{run.stderr}"
    if run.stdout != expected:
        return f"the page says\n{expected}\nand the program prints\n{run.stdout}"
    return ""


compiler, source, library, *rest = sys.argv[1:]
pages, flags = (rest[:rest.index("--")], rest[rest.index("--") + 1:]) if "--" in rest else (rest, [])
failures = 0
for page in pages:
    problem = check(page, compiler, source, library, flags)
    print(f"{page}: {problem or 'as it says'}")
    failures += bool(problem)
sys.exit(failures > 0 or not pages)
