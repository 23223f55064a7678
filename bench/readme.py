#!/usr/bin/env python3
"""readme.py PAGE ROWS README [--check]: copies the rows of PAGE (docs/benchmarks.md) that ROWS names into the table between
the two marks of README. A row that PAGE does not have is named and left out. With --check nothing is written; the exit
status is 1 if the README has other rows than PAGE."""
import pathlib
import re
import sys

BEGIN, END = "<!-- figures: bench/run writes these rows -->", "<!-- end of figures -->"


def rows_of(page):
    """The rows of each pair (work, peer); some works are measured in more than one size, whose words differ."""
    rows = {}
    for line in page.splitlines():
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if line.startswith("|") and len(cells) == 5 and re.fullmatch(r"[0-9.]+", cells[4]):
            rows[cells[0], cells[2]] = line
    return rows


def table_of(page, wanted_rows):
    rows = rows_of(page)
    lines = [BEGIN, "| work | Limber | peer | its time | ratio |", "|---|---|---|---|---|"]
    for wanted in wanted_rows.splitlines():
        if wanted and not wanted.startswith("#"):
            work, _, peer = (part.strip() for part in wanted.partition(" | "))
            if (work, peer) in rows:
                lines.append(rows[work, peer])
            else:
                print(f"the page of figures has no row \"{work}\" with the peer \"{peer}\"", file=sys.stderr)
    return "\n".join(lines + [END])


def main():
    page, wanted_rows, readme = map(pathlib.Path, sys.argv[1:4])
    old = readme.read_text()
    if old.count(BEGIN) != 1 or old.count(END) != 1:
        sys.exit(f"{readme} has no place for the figures")
    new = old[:old.index(BEGIN)] + table_of(page.read_text(), wanted_rows.read_text()) + old[old.index(END) + len(END):]
    if sys.argv[4:] == ["--check"]:
        sys.exit(None if new == old else f"the figures of {readme} are not those of {page}: run bench/readme.py {' '.join(sys.argv[1:4])}")
    readme.write_text(new)


if __name__ == "__main__":
    main()
