# SPDX-License-Identifier: BSD-2-Clause
"""The tool on containers and on standard input."""
import json
import pathlib
import shutil
import subprocess
import tempfile
import unittest

from support import CLIPS, TOOL, digests, run

KINDS = {
    "clip.ts": [],
    "clip.m2ts": ["-f", "mpegts", "-mpegts_m2ts_mode", "1"],
    "clip.mpg": ["-f", "mpeg"],
    "clip.vob": ["-f", "vob"],
    "clip.mxf": [],
    "clip.mkv": [],
    "clip.avi": [],
    "clip.mov": [],
}


def pictures(lines):
    """What a line of digests tells but for the time, which an elementary stream does not have."""
    return [line[:3] + line[4:] for line in lines]


def fed(path, *arguments):
    with open(path, "rb") as file:
        piped = subprocess.run(["cat"], stdin=file, capture_output=True, check=True).stdout
    return subprocess.run([TOOL, *map(str, arguments)], input=piped, capture_output=True, check=False)


class Container(unittest.TestCase):
    def setUp(self):
        if shutil.which("ffmpeg") is None:
            self.skipTest("ffmpeg is not there")
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.stream = CLIPS / "open_gop.m2v"
        done = run("info", self.put("clip.ts"))
        if b"libavformat" in done.stderr:
            self.skipTest("containers are not read by this build")

    def put(self, name):
        path = self.folder / name
        command = ["ffmpeg", "-v", "error", "-y", "-fflags", "+genpts", "-i", self.stream, "-c", "copy", *KINDS[name], path]
        subprocess.run(command, check=True, stdin=subprocess.DEVNULL, capture_output=True)
        return path

    def test_everyKindDecodesToThePicturesOfItsStream(self):
        expected = pictures(digests(self.stream))
        for name in KINDS:
            with self.subTest(name):
                lines = digests(self.put(name))
                self.assertEqual(pictures(lines), expected)
                times = [float(line[3]) for line in lines]
                for earlier, later in zip(times, times[1:]):
                    self.assertAlmostEqual(later - earlier, 0.04, delta=0.0011)

    def test_framesAreReachedByNumberThroughAnIndexBesideTheFile(self):
        expected = pictures(digests(self.stream))
        for name in KINDS:
            with self.subTest(name):
                path = self.put(name)
                for _ in range(2):
                    self.assertEqual(pictures(digests(path, "--list", "3,14,20")), [expected[i - 1] for i in (3, 14, 20)])
                    self.assertEqual(pictures(digests(path, "--from", 9, "--reverse")), expected[8:][::-1])
                    self.assertEqual(run("index", path).returncode, 0)

    def test_cutIsTheCutOfTheElementaryStream(self):
        expected, made = self.folder / "expected.m2v", self.folder / "made.m2v"
        for arguments in ([], ["--from", 14], ["--from", 3, "--to", 10]):
            self.assertEqual(run("cut", self.stream, "-o", expected, *arguments).returncode, 0)
            for name in KINDS:
                with self.subTest(name, arguments=arguments):
                    self.assertEqual(run("cut", self.put(name), "-o", made, *arguments).returncode, 0)
                    self.assertEqual(made.read_bytes(), expected.read_bytes())

    def test_infoTellsTheContainer(self):
        told = json.loads(run("info", self.put("clip.mkv"), "--json", "--count").stdout)
        self.assertEqual(told["container"], "Matroska")
        self.assertEqual(told["frames"], 24)
        self.assertEqual(told["videoStreams"], 1)
        text = run("info", self.put("clip.ts")).stdout.decode()
        self.assertRegex(text, r"Container +transport stream\n")
        self.assertRegex(run("info", self.stream).stdout.decode(), r"Container +video elementary stream\n")

    def test_sheetAndExportTakeContainers(self):
        path = self.put("clip.mxf")
        self.assertEqual(run("sheet", path, "-o", self.folder / "sheet.png").returncode, 0)
        self.assertEqual(run("export", path, "--frame", 14, "-o", self.folder / "a.png").returncode, 0)
        self.assertEqual(run("export", self.stream, "--frame", 14, "-o", self.folder / "b.png").returncode, 0)
        self.assertEqual((self.folder / "a.png").read_bytes(), (self.folder / "b.png").read_bytes())

    def test_standardInputIsReadWhereNothingIsSought(self):
        for path in (self.stream, self.put("clip.ts"), self.put("clip.mkv"), self.put("clip.vob")):
            with self.subTest(path.name):
                done = fed(path, "decode", "-", "--md5")
                self.assertEqual(done.returncode, 0, done.stderr)
                self.assertEqual(done.stdout, run("decode", path, "--md5").stdout)
                self.assertEqual(fed(path, "info", "-").returncode, 0)
                self.assertEqual(fed(path, "explain", "-").stdout, run("explain", path).stdout)
                self.assertEqual(fed(path, "compare", "-", self.stream, "--total").returncode, 0)

    def test_pipeIsRefusedWhereSomethingIsSought(self):
        out = self.folder / "out.png"
        for arguments in (
            ["decode", "-", "--md5", "--from", 3],
            ["decode", "-", "--md5", "--reverse"],
            ["index", "-", "-o", self.folder / "x.vidx"],
            ["cut", "-", "-o", self.folder / "x.m2v"],
            ["export", "-", "--frame", 2, "-o", out],
            ["sheet", "-", "-o", out],
            ["info", "-", "--count"],
        ):
            with self.subTest(arguments=arguments):
                done = fed(self.folder / "clip.ts", *arguments)
                self.assertEqual(done.returncode, 2, done.stderr)
                self.assertIn(b"a pipe is read once", done.stderr)
                self.assertEqual(len(done.stderr.splitlines()), 1)

    def test_fileOnStandardInputCanBeSoughtIn(self):
        with open(self.folder / "clip.ts", "rb") as file:
            done = subprocess.run([TOOL, "decode", "-", "--md5", "--list", "14"], stdin=file, capture_output=True, check=False)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(pictures([done.stdout.decode().split()]), [pictures(digests(self.stream))[13]])

    def test_damagedContainerSaysNothingOfItsOwn(self):
        data = bytearray((self.folder / "clip.ts").read_bytes())
        for i in range(40000, 42000):
            data[i] ^= i * 7 & 0xFF
        path = self.folder / "damaged.ts"
        path.write_bytes(data)
        done = run("decode", path, "--md5")
        self.assertEqual(done.returncode, 0)
        self.assertEqual(done.stderr, b"")
