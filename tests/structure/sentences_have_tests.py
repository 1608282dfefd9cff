# SPDX-License-Identifier: BSD-2-Clause
"""Fails when a sentence of docs/frame-numbers.md names no test, or one that does not exist."""
import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
tests = set()
for file in (root / "tests").rglob("*_test.cpp"):
    text = file.read_text(encoding="utf-8")
    tests.update(f"{suite}.{name}" for suite, name in re.findall(r"^TEST(?:_[FP])?\((\w+), (\w+)\)", text, re.MULTILINE))
for file in (root / "tests/tool").glob("*_test.py"):
    subject = file.stem.removesuffix("_test")
    tests.update(f"tool.{subject}.{name}" for name in re.findall(r"^    def test_(\w+)", file.read_text(encoding="utf-8"), re.MULTILINE))

items = re.findall(r"^- (.*)$", (root / "docs/frame-numbers.md").read_text(encoding="utf-8"), re.MULTILINE)
faults = 0 if items else 1
for item in items:
    sentence, named = re.fullmatch(r"(.*?)((?: `[\w.]+\.\w+`)*)", item).groups()
    missing = [name for name in re.findall(r"`(.*?)`", named) if name not in tests]
    if not named or missing or not re.fullmatch(r"[^.]*(?:\.\d[^.]*)*\.", sentence):
        print(f"{'no test ' + ', '.join(missing) if missing else 'not one sentence and its tests'}: {item}")
        faults += 1
sys.exit(faults != 0)
