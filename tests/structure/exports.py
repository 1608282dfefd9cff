# SPDX-License-Identifier: BSD-2-Clause
"""Fails unless a shared library exports exactly the functions that its public header declares."""
import pathlib
import re
import subprocess
import sys

library, header = sys.argv[1:]
declared = set(re.findall(r"^TVK_API\b[^(;]*?\b(tvk\w+)\s*\(", pathlib.Path(header).read_text(encoding="utf-8"), re.MULTILINE))
listing = subprocess.run(["nm", "--dynamic", "--defined-only", "--format=posix", library], check=True, capture_output=True, text=True)
exported = {line.split()[0] for line in listing.stdout.splitlines()}
# Symbols in the implementation's own namespace come with the tools: sanitizers, version nodes. So do the names of
# function types, which clang's sanitizer compares at calls through pointers.
exported = {name for name in exported if not name.startswith(("__", "_ZTIF", "_ZTSF"))}
for name in sorted(declared - exported):
    print(f"declared, not exported: {name}")
for name in sorted(exported - declared):
    print(f"exported, not declared: {name}")
if not declared:
    print(f"found no declaration in {header}")
sys.exit(not declared or declared != exported)
