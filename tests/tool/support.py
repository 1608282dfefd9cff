# SPDX-License-Identifier: BSD-2-Clause
"""Running the tool, reading what it writes, and what is known of the shipped clips."""
import collections
import os
import pathlib
import shutil
import subprocess

TOOL = os.environ["TVK_TOOL"]
CLIPS = pathlib.Path(os.environ["TVK_CLIPS"])

Clip = collections.namedtuple("Clip", "width height frames rate scan colours scan_text")

CLIPS_KNOWN = {
    "demo.m2v": Clip(640, 480, 75, "25:1", "p", "420mpeg2", "progressive"),
    "mpeg1.m1v": Clip(176, 144, 25, "25:1", "p", "420jpeg", "progressive"),
    "progressive.m2v": Clip(192, 160, 20, "24:1", "p", "420mpeg2", "progressive"),
    "interlaced_tff.m2v": Clip(352, 288, 13, "25:1", "t", "420mpeg2", "interlaced, top field first"),
    "interlaced_bff.m2v": Clip(240, 192, 12, "30000:1001", "b", "420mpeg2", "interlaced, bottom field first"),
    "chroma422.m2v": Clip(192, 128, 13, "25:1", "t", "422", "interlaced, top field first"),
    "odd_size.m2v": Clip(99, 67, 12, "30:1", "p", "420mpeg2", "progressive"),
    "open_gop.m2v": Clip(160, 128, 24, "25:1", "p", "420mpeg2", "progressive"),
    "pulldown.m2v": Clip(320, 256, 16, "30000:1001", "p", "420mpeg2", "progressive frames with repeated fields"),
}

Picture = collections.namedtuple("Picture", "luma cb cr")
Y4m = collections.namedtuple("Y4m", "header width height pictures")


def run(*arguments):
    return subprocess.run([TOOL, *map(str, arguments)], capture_output=True, check=False)


def decode(path, *options):
    """Decodes to Y4M through standard output."""
    done = run("decode", path, "-o", "-", *options)
    if done.returncode != 0:
        raise AssertionError(f"{path}: exit code {done.returncode}: {done.stderr.decode()}")
    return read_y4m(done.stdout)


def digests(path, *options):
    """The lines of --md5, split into fields."""
    done = run("decode", path, "--md5", *options)
    if done.returncode != 0:
        raise AssertionError(f"{path}: exit code {done.returncode}: {done.stderr.decode()}")
    return [line.split() for line in done.stdout.decode().splitlines()]


def read_y4m(data):
    line, at = data.split(b"\n", 1)[0].decode(), data.index(b"\n") + 1
    words = line.split()
    if words[0] != "YUV4MPEG2":
        raise AssertionError(f"no Y4M header: {line!r}")
    header = {word[0]: word[1:] for word in words[1:]}
    width, height = int(header["W"]), int(header["H"])
    chroma_width = width if header["C"] == "444" else (width + 1) // 2
    chroma_height = (height + 1) // 2 if header["C"].startswith("420") else height
    sizes = (width * height, chroma_width * chroma_height, chroma_width * chroma_height)
    pictures = []
    while at < len(data):
        if data[at : at + 6] != b"FRAME\n":
            raise AssertionError(f"no frame marker at byte {at}")
        at += 6
        planes = []
        for size in sizes:
            planes.append(data[at : at + size])
            at += size
        pictures.append(Picture(*planes))
    if at != len(data):
        raise AssertionError("the last picture is cut short")
    return Y4m(header, width, height, pictures)


def has_reference_decoder():
    return shutil.which("ffmpeg") is not None
