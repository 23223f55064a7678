#!/usr/bin/env python3
"""Checks that a shared library exports every documented signature and nothing else, not even parts of other libraries.

usage: exports.py LIBRARY LIST...       a list holds one demangled signature a line; '#' starts a comment
"""
import re
import subprocess
import sys

library, lists = sys.argv[1], sys.argv[2:]
table = subprocess.run(["nm", "-DC", "--defined-only", library], check=True, capture_output=True, text=True).stdout
symbols = [line.split(" ", 2)[1:] for line in table.splitlines()]
# The table contains the names of symbol versions as absolute symbols.
exported = {re.sub(r"@@?\w+$", "", name.strip()): kind for kind, name in symbols if kind != "A"}
documented = set()
for path in lists:
    with open(path) as file:
        documented |= {line.strip() for line in file if line.strip() and not line.startswith("#")}


def follows_from_another(name):
    """True for the type information of a class, which accompanies its virtual table, and for inline members of a component,
    which its library contains if the compiler chooses so. The core library emits all its inline members."""
    return re.match(r"typeinfo (name )?for ", name) or exported[name] == "W" and name.startswith("limber::")


missing = sorted(documented - exported.keys())
foreign = [name for name in sorted(exported) if re.match(r"([^(]* )?(std|__gnu_cxx|limber(?!::(motion|petsc)::(?!detail)))::", name)]
unknown = sorted(name for name in exported.keys() - documented if not follows_from_another(name))
for name in missing:
    print("documented, but not exported:", name)
for name in foreign:
    print("exported, but not ours to export:", name)
for name in unknown:
    print("exported, but not documented (add it to the room's exports.txt, or hide it with LIMBER_HIDDEN):", name)
print(f"{len(documented)} documented signatures, {len(exported)} exported symbols")
sys.exit(bool(missing or foreign or unknown) or not documented)
