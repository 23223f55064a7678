#!/usr/bin/env python3
"""No room of the library includes a room to its right, and no public header a private one. Components and
examples include no private header of the library, and of the tests only those in a detail/ folder, in tests/paths or in
tests/solvers/table.

usage: layers.py SOURCE_DIR
"""
import pathlib
import re
import sys

may_see = {
    "foundation": set(),
    "linalg": {"foundation"},
    "solvers": {"foundation", "linalg"},
    "geometry": {"foundation", "linalg"},
    "ode": {"foundation", "linalg"},
    "io": {"foundation"},
    "graphics": {"foundation", "geometry/Pnt3.h"},
}
source = pathlib.Path(sys.argv[1])
complaints, seen = [], 0
for room, allowed in may_see.items():
    for file in sorted((source / "limber" / room).rglob("*")):
        if file.suffix not in (".h", ".inl", ".cpp"):
            continue
        private = "detail" in file.parts or file.suffix == ".cpp"
        for target in re.findall(r'#include "limber/([^"]+)"', file.read_text()):
            seen += 1
            other = target.split("/")[0]
            if "/" in target and other != room and other not in allowed and target not in allowed:
                complaints.append(f"{file.relative_to(source)} includes limber/{target}")
            if "/detail/" in target and not private:
                complaints.append(f"{file.relative_to(source)} is public and includes the private limber/{target}")
            if target == "foundation/CaseCompare.h" and not private:
                complaints.append(f"{file.relative_to(source)} is public and includes limber/{target}")
# Components, examples and the tests of public headers see what every program sees.
for folder in ("limber_motion", "limber_petsc", "examples", "tests"):
    for file in sorted((source / folder).rglob("*")):
        if file.suffix not in (".h", ".cpp") or folder == "tests" and {"detail", "paths", "table"} & set(file.parts):
            continue
        for target in re.findall(r'#include "(limber[^"]*)"', file.read_text()):
            seen += 1
            if target.startswith("limber/") and "/detail/" in target:
                complaints.append(f"{file.relative_to(source)} includes the private {target}")
            if "/detail/" in target and folder.startswith("limber_") and file.suffix == ".h" and "detail" not in file.parts:
                complaints.append(f"{file.relative_to(source)} is public and includes the private {target}")
print("\n".join(complaints) or f"{seen} includes go one way")
sys.exit(bool(complaints) or not seen)
