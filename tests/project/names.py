#!/usr/bin/env python3
"""limber/names.h has every public class, and nothing else, in namespace limber.

usage: names.py SOURCE_DIR
"""
import pathlib
import re
import sys

source = pathlib.Path(sys.argv[1]) / "limber"
# A definition at the start of a line is in the global namespace; a declaration ends with a semicolon.
definition = re.compile(r"^(?:class|struct|enum)(?: LIMBER_API)? (\w+)(?: final)?(?: : [^;{]*)? \{", re.MULTILINE)
public = {name for header in source.rglob("*.h") if "detail" not in header.parts and header.parent != source
          for name in definition.findall(header.read_text())}
lists = re.findall(r"^using ([^;]*);", (source / "names.h").read_text(), re.MULTILINE)
named = set(re.findall(r"::(\w+)", " ".join(lists)))
complaints = [f"limber/names.h lacks `using ::{name};`" for name in sorted(public - named)]
complaints += [f"limber/names.h names {name}, which is no public class" for name in sorted(named - public)]
print("\n".join(complaints) or f"{len(public)} public classes have their names in namespace limber")
sys.exit(bool(complaints) or not public)
