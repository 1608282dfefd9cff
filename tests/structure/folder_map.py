# SPDX-License-Identifier: BSD-2-Clause
"""Fails when docs/architecture.md has no line for a top-level folder."""
import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
mapped = set(re.findall(r"^- `([\w.]+)/`", (root / "docs/architecture.md").read_text(encoding="utf-8"), re.MULTILINE))
present = {
    entry.name
    for entry in root.iterdir()
    if entry.is_dir() and entry.name != ".git" and not entry.name.startswith("build") and any(entry.iterdir())
}
for name in sorted(present - mapped):
    print(f"docs/architecture.md says nothing of {name}/")
sys.exit(bool(present - mapped))
