# SPDX-License-Identifier: BSD-2-Clause
"""Fails when a shared library exports other functions than its Debian symbols file records."""
import pathlib
import subprocess
import sys

library, record = sys.argv[1:]
lines = pathlib.Path(record).read_text(encoding="utf-8").splitlines()
recorded = {line.split("@")[0].strip() for line in lines[1:]}
listing = subprocess.run(["nm", "--dynamic", "--defined-only", "--format=posix", library], check=True, capture_output=True, text=True)
exported = {line.split()[0] for line in listing.stdout.splitlines() if line.startswith("tvk")}
if not recorded:
    sys.exit(f"{record} records nothing")
for name in sorted(recorded - exported):
    print(f"{name} is gone: programs that call it no longer start. Bring it back, or raise SOVERSION and name the packages anew.")
for name in sorted(exported - recorded):
    print(f"{name} is new: add a line for it, with the version that brings it, to {record}")
sys.exit(recorded != exported)
