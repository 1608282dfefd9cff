# SPDX-License-Identifier: BSD-2-Clause
"""Fails unless two builds of the library decode damaged clips to the same bytes: same_frames.py FOLDER FOLDER TOOL CLIPS

Kept checksums know what sound clips give. What damage leads to, rare kinds and odd paths, is held build against build.
"""
import pathlib
import random
import subprocess
import sys
import tempfile

from loader import environment_with, problem_with

SETTINGS = (("--precision", "fast"), ("--precision", "exact"), ("--reduce", "2"), ("--reduce", "4"), ("--reduce", "8"))


def damaged(data, chance):
    data = bytearray(data)
    for _ in range(len(data) // 700):
        data[chance.randrange(len(data))] ^= 1 << chance.randrange(8)
    return data


def digests(tool, folder, clip, settings):
    done = subprocess.run([tool, "decode", clip, "--md5", "--threads", "1", *settings], env=environment_with(folder), capture_output=True, check=False)
    if done.returncode < 0:
        sys.exit(f"{clip.name} {settings}: signal {-done.returncode} with the library of {folder}")
    return done.returncode, done.stdout


def main(folders, tool, clips):
    for folder in folders:
        problem = problem_with(folder, tool)
        if problem:
            print(problem[1])
            sys.exit(problem[0])
    lines = 0
    with tempfile.TemporaryDirectory() as place:
        for clip in sorted(pathlib.Path(clips).glob("*.m[12]v")):
            broken = pathlib.Path(place, clip.name)
            broken.write_bytes(damaged(clip.read_bytes(), random.Random(clip.name)))
            for settings in SETTINGS:
                plain, other = (digests(tool, folder, broken, settings) for folder in folders)
                lines += plain[1].count(b"\n")
                if plain != other:
                    sys.exit(f"{clip.name} {settings}: the builds differ")
    if not lines:
        sys.exit("no frame was decoded")


main(sys.argv[1:3], *sys.argv[3:])
