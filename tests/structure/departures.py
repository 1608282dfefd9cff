# SPDX-License-Identifier: BSD-2-Clause
"""Fails when a DEPARTURE mark of the code has no line in docs/departures.md, or a line there has no mark."""
import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
listed = set(re.findall(r"^- `([^`]+)`:", (root / "docs/departures.md").read_text(encoding="utf-8"), re.MULTILINE))
marked = {}
for folder in ("core", "input", "syntax", "pipeline", "mpeg12", "output"):
    for file in (root / folder).rglob("*"):
        if file.suffix in (".h", ".cpp"):
            for name in re.findall(r"DEPARTURE\(([^)]+)\)", file.read_text(encoding="utf-8")):
                marked.setdefault(name, file.relative_to(root))
for name in sorted(marked.keys() - listed):
    print(f"{marked[name]}: DEPARTURE({name}) has no line in docs/departures.md")
for name in sorted(listed - marked.keys()):
    print(f"docs/departures.md: `{name}` has no DEPARTURE mark in the code")
sys.exit(marked.keys() != listed)
