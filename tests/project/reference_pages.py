#!/usr/bin/env python3
"""Compares the reference pages of the guide with the code.

reference_pages.py SOURCE-DIR

- docs/guide/messages.md names every text that the library or a component prints or throws as a message, and no other;
- docs/guide/tuning.md has every exported variable with the initial value of its definition;
- docs/guide/surprises.md names tests that exist, and everything that a public header marks as a contract;
- docs/architecture.md, docs/guide/motion.md and docs/guide/distributed.md have a line for every private header of the
  library, of limber_motion and of limber_petsc, and name no other; a name with a file behind it stands in that file;
- CITATION.cff and the recipes in packaging/ have the version of the library, and options and folders that exist."""
import glob
import json
import os
import re
import sys

source = sys.argv[1]
problems = []


def read(*path):
    with open(os.path.join(source, *path), encoding="utf-8") as file:
        return file.read()


def files(pattern):
    return sorted(glob.glob(os.path.join(source, pattern), recursive=True))


def without_comments(text):
    return re.sub(r"^\s*#\s*include.*$", "", re.sub(r"//.*", "", text), flags=re.M)


# Texts that are output formats rather than messages: a drawing's operators, a script's lines, a matrix as text, a report.
formats = ("graphics/AIPSWriter.cpp", "graphics/AIPSPaths.cpp", "solvers/MatLab.cpp", "geometry/Matrix3x3.cpp",
           "limber_motion/Report.cpp")
not_messages = re.compile(r"^(-W|\\x|# |avx|GCC diagnostic|<C MQ3|\s*//|\s*\|\||\s*\\\\)|^%s = ")


def plain(text):
    """A printf format as a page shows it: no conversions, no escapes, single spaces."""
    text = re.sub(r"\\n|\\t", " ", text).replace('\\"', '"').replace("\\\\", "\\")
    text = re.sub(r"%%", "PERCENT", text)
    text = re.sub(r"%[-+ 0]*\d*(\.\d+)?l*[a-zA-Z]", "...", text).replace("PERCENT", "%")
    return re.sub(r"\s+", " ", text).strip()


def least_words(path):
    """Components compose their messages of pieces. Shorter pieces, such as "in frame", need not be on the page."""
    return 2 if path.startswith(os.path.join(source, "limber", "")) else 3


def messages():
    source_texts = []
    page = re.sub(r"\s+", " ", read("docs", "guide", "messages.md").replace("\\|", "|"))
    for path in files("limber*/**/*.cpp") + files("limber*/**/*.h"):
        text = re.sub(r'"\s*\n\s*"', "", without_comments(open(path, encoding="utf-8").read()))
        text = re.sub(r"static_assert\(.*?\);|LIMBER_\w+\(\".*?\"\)", "", text, flags=re.S)
        for literal in re.findall(r'"((?:[^"\\\n]|\\.)*)"', text):
            source_texts.append(plain(literal))
            words = re.findall(r"[A-Za-z]{2,}", plain(literal).replace("...", " "))
            if len(words) < least_words(path) or not_messages.search(literal):
                continue
            if path.endswith(formats) and not re.search(r"\.(error|warn|fatal)\(\"|Report\(\"", text.split(literal)[0][-30:] + '"'):
                continue
            if plain(literal) not in page:
                problems.append(f"messages.md: nothing about \"{plain(literal)}\" of {os.path.relpath(path, source)}")
    everything = "\n".join(source_texts)
    for row in re.findall(r"^\| (``?.*?``?) \|", read("docs", "guide", "messages.md").replace("\\|", "|"), re.M):
        for message in re.findall(r"``(.+?)``|`([^`]+)`", row):
            for piece in (piece.strip(" '()<>:;,|-") for piece in max(message).split("...")):
                if len(piece.split()) > 1 and piece not in everything:
                    problems.append(f"messages.md: no message has \"{piece}\"")


def tuning():
    page = read("docs", "guide", "tuning.md")
    sources = "\n".join(open(path, encoding="utf-8").read() for path in files("limber/**/*.cpp"))
    for path in files("limber/**/*.h"):
        for name in re.findall(r"^extern LIMBER_API [\w\s:]+[ *]+(\w+)(?:\[\d+\])?;", open(path, encoding="utf-8").read(), re.M):
            row = re.search(rf"^\| `{name}` \| ([^|]*) \|", page, re.M)
            if not row:
                problems.append(f"tuning.md: no row for {name}")
                continue
            value = re.search(rf"^[\w:\s]*[ *]{name}(?:\[\d+\])? = ([^;]*);", sources, re.M)
            shown = row.group(1).strip().strip("`")
            if value and re.match(r"^[-+.\de]+$", value.group(1)) and float(value.group(1)) != float(shown or "nan"):
                problems.append(f"tuning.md: {name} starts as {value.group(1)}, not {shown}")
            if value and value.group(1) == "nullptr" and shown != "null":
                problems.append(f"tuning.md: {name} starts as null, not {shown}")


def surprises():
    tests = set()
    for path in files("tests/**/*.cpp"):
        tests |= {f"{a}.{b}" for a, b in re.findall(r"^TEST(?:_F|_P)?\((\w+),\s*(\w+)\)", open(path, encoding="utf-8").read(), re.M)}
    page = read("docs", "guide", "surprises.md")
    named = re.findall(r"`([A-Z]\w+\.[A-Z]\w+)`", page)
    problems.extend(f"surprises.md: there is no test {name}" for name in named if name not in tests)
    if len(named) < 20:
        problems.append("surprises.md: fewer rows than there were")
    code = " ".join(re.findall(r"`(.*?)`", page))
    for path in files("limber/*/*.h"):
        for comment, declaration in re.findall(r"((?:^ *///.*\n)+)((?:(?! *///).*\n){1,4})", open(path, encoding="utf-8").read(), re.M):
            if "Contract:" in comment:
                name = max(re.search(r"class (?:LIMBER_API )?(\w+)|(operator\S+?|\w+) ?\(|(\w+);", declaration).groups(default=""))
                if not re.search(rf"(?<!\w){re.escape(name)}(?!\w)", code):
                    problems.append(f"surprises.md: nothing about {name} in {os.path.relpath(path, source)}")


def glossaries():
    for name, root, pattern in (("architecture.md", "limber", "*/detail/*.h"), ("guide/motion.md", "limber_motion", "detail/*.h"),
                                ("guide/distributed.md", "limber_petsc", "detail/*.h")):
        page = read("docs", name)
        present = {os.path.relpath(path, os.path.join(source, root)).replace(os.sep, "/") for path in files(f"{root}/{pattern}")}
        named = set(re.findall(r"^\| `((?:\w+/)?detail/\w+\.h)` \|", page, re.M))
        problems.extend(f"{name}: no line for {header}" for header in sorted(present - named))
        problems.extend(f"{name}: there is no {header}" for header in sorted(named - present))
    page = read("docs", "architecture.md")
    for name, path in re.findall(r"`([^`]+)` \(`([^`]+)`\)", page):
        if not files(f"limber/{path}") or name not in read("limber", path):
            problems.append(f"architecture.md: there is no {name} in {path}")
    if page.count("\n") > 120:
        problems.append("architecture.md: too long to be a map")


def recipes():
    version = re.search(r'define LIMBER_VERSION "(.*)"', read("limber", "Api.h"))[1]
    port = json.loads(read("packaging", "vcpkg", "limber", "vcpkg.json"))
    if port["version"] != version:
        problems.append(f"vcpkg.json: the version is {version}")
    if f"\nversion: {version}\n" not in read("CITATION.cff"):
        problems.append(f"CITATION.cff: the version is {version}")
    conan = read("packaging", "conan", "conanfile.py")
    options = set(re.findall(r"LIMBER_[A-Z]+", conan + read("packaging", "vcpkg", "limber", "portfile.cmake")))
    known = set(re.findall(r"(?:option\(|set\()(LIMBER_[A-Z]+)", read("CMakeLists.txt"))) | {"LIMBER_VERSION", "LIMBER_STATIC"}
    problems.extend(f"packaging: there is no option {name}" for name in sorted(options - known))
    exported = re.search(r"for pattern in \((.*?)\)", conan)[1]
    problems.extend(f"conanfile.py: there is no {pattern}" for pattern in re.findall(r'"([^"]+)"', exported) if not files(pattern))


messages()
tuning()
surprises()
glossaries()
recipes()
print("\n".join(problems) or "the reference pages agree with the code")
sys.exit(bool(problems))
