# SPDX-License-Identifier: BSD-2-Clause
"""Digests of streams that the project does not ship, from the folder that TVK_EXTRA_STREAMS names.

Its subfolder expected/ holds a file STREAM.pP.rR for a precision P (1 exact, 2 fast) and a reduce coefficient R, a line a
frame: number, number in coded order, type, luma size, chroma size, MD5 of the luma, MD5 of the chroma.
"""
import os
import pathlib
import unittest

from support import digests

FOLDER = pathlib.Path(os.environ.get("TVK_EXTRA_STREAMS", ""))
PRECISIONS = {"1": "exact", "2": "fast"}


@unittest.skipUnless(os.environ.get("TVK_EXTRA_STREAMS"), "TVK_EXTRA_STREAMS is not set")
class ExtraStreams(unittest.TestCase):
    def compare(self, precision, reduce):
        streams = {path.name: path for path in FOLDER.glob("*/*.m[12]v")}
        suffix = f".p{precision}.r{reduce}"
        files = sorted((FOLDER / "expected").glob(f"*{suffix}"))
        self.assertTrue(files, f"{FOLDER}/expected holds no {suffix} file")
        for file in files:
            name = file.name[: -len(suffix)]
            with self.subTest(name):
                self.assertIn(name, streams)
                wanted = [line.split() for line in file.read_text().splitlines()]
                options = ("--precision", PRECISIONS[precision], "--reduce", reduce)
                got = digests(streams[name], *options)
                self.assertEqual([line[:3] + line[4:] for line in got], [line[:3] + line[5:] for line in wanted])

    def test_exact(self):
        self.compare("1", "1")

    def test_fast(self):
        self.compare("2", "1")

    def test_half(self):
        self.compare("2", "2")

    def test_quarter(self):
        self.compare("2", "4")

    def test_eighth(self):
        self.compare("2", "8")


if __name__ == "__main__":
    unittest.main()
