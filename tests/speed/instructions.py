# SPDX-License-Identifier: BSD-2-Clause
"""Counts the instructions that the library takes to decode a clip and compares them with what is recorded.

usage: instructions.py SETTINGS CLIP REDUCE     compares
       instructions.py SETTINGS --update        records anew, for the compiler and flags of that build
"""
import collections
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
RECORDS = HERE / "instruction_counts.json"
CASES = [(clip, reduce) for clip in ("interlaced_tff.m2v", "mpeg1.m1v") for reduce in ("1", "2")]
TOLERANCE = 0.03
SKIPPED = 77  # ctest's word for a skipped test


def named(names, text):
    """A name of callgrind's file: "(1) name" where it comes up first, then "(1)"."""
    number, name = re.fullmatch(r"(\(\d+\))?\s?(.*)", text).groups()
    if number and name:
        names[number] = name
    return names[number] if number else name


def instructions_by_function(listing, library):
    """Instructions of the library's own functions, without what they call elsewhere."""
    objects, functions, found = {}, {}, collections.Counter()
    here, function, is_call = "", "", False
    for line in listing:
        key, equals, value = line.rstrip("\n").partition("=")
        if equals and key == "ob":
            here = named(objects, value)
        elif equals and key == "fn":
            function = named(functions, value)
        elif equals and key == "cob":
            named(objects, value)
        elif equals and key == "cfn":
            named(functions, value)
        elif equals and key == "calls":
            is_call = True
        elif re.match(r"[\d+*-]", line):
            # The line behind a call has what the callee took.
            if not is_call and here == library:
                found[function] += int(line.split()[1])
            is_call = False
    return found


def count(settings, clip, reduce):
    # Beside the library of this build there may be one that the loader would rather take.
    environment = {name: value for name, value in os.environ.items() if not name.startswith("LD_")}
    with tempfile.TemporaryDirectory() as place:
        out = f"{place}/callgrind.out"
        subprocess.run(
            [settings["valgrind"], "-q", "--tool=callgrind", f"--callgrind-out-file={out}", settings["program"],
             HERE.parent / "clips" / clip, reduce],
            check=True, stdout=subprocess.DEVNULL, env=environment)
        with open(out, encoding="utf-8") as listing:
            return instructions_by_function(listing, str(pathlib.Path(settings["library"]).resolve()))


def compare(settings, records, clip, reduce):
    recorded = records.get(settings["configuration"], {}).get(f"{clip} 1/{reduce}")
    if recorded is None:
        print(f"skipped: nothing is recorded for {settings['configuration']}")
        return SKIPPED
    found = count(settings, clip, reduce)
    total = sum(found.values())
    change = total / recorded - 1
    print(f"{clip} at 1/{reduce}: {total} instructions, {recorded} recorded, {100 * change:+.1f} %")
    if abs(change) <= TOLERANCE:
        return 0
    for function, instructions in found.most_common(12):
        print(f"{100 * instructions / total:5.1f} %  {function[:120]}")
    print("Dearer needs a reason, cheaper needs recording: scripts/update-instruction-counts")
    return 1


def update(settings, records):
    records[settings["configuration"]] = {}
    for clip, reduce in CASES:
        total = sum(count(settings, clip, reduce).values())
        print(f"{clip} at 1/{reduce}: {total} instructions")
        records[settings["configuration"]][f"{clip} 1/{reduce}"] = total
    RECORDS.write_text(json.dumps(records, indent=1) + "\n", encoding="utf-8")


def main(words):
    if len(words) not in (2, 3):
        sys.exit(__doc__)
    settings = json.loads(pathlib.Path(words[0]).read_text(encoding="utf-8"))
    records = json.loads(RECORDS.read_text(encoding="utf-8")) if RECORDS.exists() else {}
    if words[1] == "--update":
        return update(settings, records)
    return compare(settings, records, *words[1:])


sys.exit(main(sys.argv[1:]))
