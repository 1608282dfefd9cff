# SPDX-License-Identifier: BSD-2-Clause
"""Takes the complete C program out of a header's manual or a Markdown file: from its first #include to the end of main."""
import pathlib
import re
import sys

document, output = map(pathlib.Path, sys.argv[1:])
lines = document.read_text(encoding="utf-8").splitlines()
if document.suffix == ".h":
    lines = [re.sub(r"^ \*( {5})?", "", line) for line in lines]
first = next(i for i, line in enumerate(lines) if line.startswith("#include <stdio.h>"))
last = next(i for i in range(first, len(lines)) if lines[i] == "}")
output.write_text("\n".join(lines[first:last + 1]) + "\n", encoding="utf-8")
