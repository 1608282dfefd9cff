# SPDX-License-Identifier: BSD-2-Clause
"""Runs the documents' programs on a clip and holds what they print against the clip's kept list of frames."""
import hashlib
import pathlib
import subprocess
import sys

kind, program, clip, golden = sys.argv[1:]
block, frames = None, []
for line in pathlib.Path(golden).read_text(encoding="utf-8").splitlines():
    words = line.split()
    if words[0] == "p":
        block = words
    elif block == ["p", "1", "r", "1"]:
        frames.append(words)
if not frames:
    sys.exit(f"{golden} lists no frame")
printed = subprocess.run([program, clip], check=True, capture_output=True).stdout
if kind == "luma":
    at = 0
    for words in frames:
        width, height = map(int, words[3].split("x"))
        luma = printed[at:at + width * height]
        at += width * height
        if hashlib.md5(luma).hexdigest() != words[5]:
            sys.exit(f"frame {words[0]} differs")
    sys.exit(f"{len(printed) - at} bytes too many" if at != len(printed) else 0)
expected = "".join(f"frame {words[0]}: {words[3].replace('x', ' x ')}\n" for words in frames)
sys.exit("other lines than the clip has frames" if printed.decode() != expected else 0)
