#!/usr/bin/env python3
"""The shared library exports every documented signature and nothing of anybody else's.

usage: exports.py LIBRARY LIST...       a list holds one demangled signature a line; '#' starts a comment
"""
import re
import subprocess
import sys

library, lists = sys.argv[1], sys.argv[2:]
table = subprocess.run(["nm", "-DC", "--defined-only", library], check=True, capture_output=True, text=True).stdout
exported = {line.split(" ", 2)[2].strip() for line in table.splitlines()}
exported = {re.sub(r"@@?\w+$", "", name) for name in exported}
documented = []
for path in lists:
    with open(path) as file:
        documented += [line.strip() for line in file if line.strip() and not line.startswith("#")]
missing = [name for name in documented if name not in exported]
foreign = [name for name in sorted(exported) if re.match(r"([^(]* )?(std|__gnu_cxx|limber(?!::motion::(?!detail)))::", name)]
for name in missing:
    print("not exported:", name)
for name in foreign:
    print("exported, but not ours to export:", name)
print(f"{len(documented)} documented signatures, {len(exported)} exported symbols")
sys.exit(bool(missing or foreign) or not documented)
