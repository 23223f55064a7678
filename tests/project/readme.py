#!/usr/bin/env python3
"""Compiles the program of README.md, runs it, and compares what it prints with what the README says it prints.

readme.py COMPILER SOURCE-DIR LIBRARY [FLAG...]"""
import os
import re
import subprocess
import sys
import tempfile

compiler, source, library, *flags = sys.argv[1:]
text = open(os.path.join(source, "README.md"), encoding="utf-8").read()
programs = re.findall(r"^```cpp\n(.*?)^```\n+```\n(.*?)^```", text, re.M | re.S)
if len(programs) != 1:
    sys.exit(f"README.md: {len(programs)} programs with their output, expected one")
program, expected = programs[0]
for picture in re.findall(r"\]\((docs/[^)]*|[A-Z]+\.md)\)", text):
    if not os.path.exists(os.path.join(source, picture)):
        sys.exit(f"README.md: there is no {picture}")
with tempfile.TemporaryDirectory() as folder:
    name = os.path.join(folder, "line.cpp")
    with open(name, "w", encoding="utf-8") as file:
        file.write(program)
    binary = os.path.join(folder, "line")
    command = [compiler, "-std=c++17", "-Wall", "-Wextra", "-Werror", *flags, "-I" + source, name, library,
               "-Wl,-rpath," + os.path.dirname(library), "-o", binary]
    subprocess.run(command, check=True)
    printed = subprocess.run([binary], check=True, capture_output=True, text=True).stdout
if printed != expected:
    sys.exit(f"README.md says\n{expected}\nand its program prints\n{printed}")
