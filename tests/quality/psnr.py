# SPDX-License-Identifier: BSD-2-Clause
"""Decodes a clip of TVK_EXTRA_STREAMS and holds the PSNR against ffmpeg's decode to the clip's line in floors.txt."""
import math
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

TOOL = os.environ["TVK_TOOL"]
SKIPPED = 77


def floors(clip):
    """The first frame to compare, and what is to be reached."""
    text = (pathlib.Path(__file__).parent / "floors.txt").read_text(encoding="utf-8")
    for line in text.splitlines():
        words = line.split(maxsplit=5)
        if words and words[0] == clip:
            return words[1], dict(zip(("exact luma", "exact chroma", "fast luma"), map(float, words[2:5])))
    sys.exit(f"floors.txt has no {clip}")


def reference(path, target):
    subprocess.run(["ffmpeg", "-nostdin", "-v", "quiet", "-y", "-flags2", "+showall", "-i", path, "-vsync", "passthrough",
                    "-strict", "-1", "-f", "yuv4mpegpipe", target], check=False)


def pooled(cb, cr):
    """The PSNR of both components together."""
    errors = 10 ** (-cb / 10) + 10 ** (-cr / 10)
    return -10 * math.log10(errors / 2) if errors > 0 else math.inf


def measure(path, precision, first, wanted, folder):
    own = folder / "own.y4m"
    subprocess.run([TOOL, "decode", path, "-o", own, "--precision", precision, "--from", first], check=True)
    done = subprocess.run([TOOL, "compare", "--total", own, wanted], capture_output=True, check=False, text=True)
    last = [line.split() for line in done.stdout.splitlines() if line.split()[0] == "all"]
    if not last or done.returncode != 0:
        sys.exit(f"{path} {precision}: {done.stderr}")
    luma, cb, cr = map(float, last[0][1:4])
    return {f"{precision} luma": luma, f"{precision} chroma": pooled(cb, cr)}


def main(clip):
    streams = os.environ.get("TVK_EXTRA_STREAMS")
    path = pathlib.Path(streams or "/") / clip
    if not streams or not path.exists() or shutil.which("ffmpeg") is None:
        print("needs TVK_EXTRA_STREAMS with this clip, and ffmpeg")
        return SKIPPED
    first, least = floors(clip)
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        reference(path, folder / "wanted.y4m")
        reached = {}
        for precision in ("exact", "fast"):
            reached.update(measure(path, precision, first, folder / "wanted.y4m", folder))
    low = False
    for what, floor in least.items():
        low |= reached[what] < floor
        print(f"{what}: {reached[what]:.2f} dB, floor {floor:g}")
    return 1 if low else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
