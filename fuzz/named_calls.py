# SPDX-License-Identifier: BSD-2-Clause
"""Fails unless the fuzzer's table of calls names exactly the functions that the header declares."""
import pathlib
import re
import sys

header, table = (pathlib.Path(path).read_text(encoding="utf-8") for path in sys.argv[1:])
declared = set(re.findall(r"^TVK_API\b[^(;]*?\b(tvk\w+)\s*\(", header, re.MULTILINE))
named = re.findall(r'^ *\{"(tvk\w+)",', table, re.MULTILINE)
for name in sorted(declared.symmetric_difference(named)):
    print(f"{name}: {'not in the table' if name in declared else 'not declared'}")
sys.exit(not declared or declared != set(named) or len(named) != len(set(named)))
