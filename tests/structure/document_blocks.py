# SPDX-License-Identifier: BSD-2-Clause
"""Joins the C blocks of a Markdown file to one source, each at its line of the document."""
import pathlib
import sys

document, output = map(pathlib.Path, sys.argv[1:])
lines, inside = [], False
for number, line in enumerate(document.read_text(encoding="utf-8").splitlines(), 1):
    if inside and line == "```":
        inside = False
    elif inside:
        lines.append(line)
    elif line == "```c":
        inside = True
        lines.append(f'#line {number + 1} "{document.name}"')
if not lines or inside:
    sys.exit(f"{document} has no C block, or one without an end")
output.write_text("\n".join(lines) + "\n", encoding="utf-8")
