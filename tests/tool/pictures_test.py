# SPDX-License-Identifier: BSD-2-Clause
"""tvk export, sheet, compare and explain."""
import pathlib
import re
import struct
import subprocess
import tempfile
import unittest
import zlib

from support import CLIPS, CLIPS_KNOWN, decode, has_reference_decoder, run


def png_size(data):
    """Width and height; fails on a chunk whose check sum is wrong and on rows that are too few."""
    if data[:8] != b"\x89PNG\r\n\x1a\n":
        raise AssertionError("no PNG")
    at, packed = 8, b""
    while at < len(data):
        length, name = struct.unpack(">I4s", data[at : at + 8])
        body = data[at + 8 : at + 8 + length]
        if struct.unpack(">I", data[at + 8 + length : at + 12 + length])[0] != zlib.crc32(name + body):
            raise AssertionError(f"chunk {name} is damaged")
        if name == b"IHDR":
            width, height, depth, colour = struct.unpack(">IIBB", body[:10])
        packed += body if name == b"IDAT" else b""
        at += 12 + length
    if (depth, colour) != (8, 2) or len(zlib.decompress(packed)) != height * (1 + 3 * width):
        raise AssertionError("no picture of 24 bits, or cut short")
    return width, height


def jpeg_size(data):
    place = data.index(b"\xff\xc0")
    height, width = struct.unpack(">HH", data[place + 5 : place + 9])
    return width, height


def rgb(path):
    return subprocess.run(["ffmpeg", "-v", "error", "-i", path, "-f", "rawvideo", "-pix_fmt", "rgb24", "-"],
                          check=True, capture_output=True).stdout


class InFolder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def done(self, *arguments):
        result = run(*arguments)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        return result.stdout.decode()


class Export(InFolder):
    def test_pngHasTheSizeOfThePicture(self):
        for name, known in CLIPS_KNOWN.items():
            with self.subTest(name):
                self.done("export", CLIPS / name, "--frame", 9, "-o", self.folder / "one.png")
                self.assertEqual(png_size((self.folder / "one.png").read_bytes()), (known.width, known.height))

    def test_severalFramesGetTheirNumbersIntoTheNames(self):
        told = self.done("export", CLIPS / "odd_size.m2v", "--list", "3,7-8", "-o", self.folder / "f.png")
        names = [f"f-{number:05}.png" for number in (3, 7, 8)]
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), names)
        self.assertEqual([pathlib.Path(line).name for line in told.splitlines()], names)
        self.done("export", CLIPS / "odd_size.m2v", "--frame", 7, "-o", self.folder / "alone.png")
        self.assertEqual((self.folder / "alone.png").read_bytes(), (self.folder / "f-00007.png").read_bytes())

    def test_rawPlanesAreThoseOfTheFrame(self):
        self.done("export", CLIPS / "open_gop.m2v", "--frame", 8, "-o", self.folder / "p.raw")
        picture = decode(CLIPS / "open_gop.m2v").pictures[7]
        self.assertEqual((self.folder / "p.i").read_text(), "420  160  128")
        for ending, plane in zip("yuv", picture):
            self.assertEqual((self.folder / f"p.{ending}").read_bytes(), plane)

    @unittest.skipUnless(has_reference_decoder(), "ffmpeg is not installed")
    def test_bmpAndPngShowTheSamePixels(self):
        for ending in ("bmp", "png"):
            self.done("export", CLIPS / "interlaced_tff.m2v", "--frame", 8, "-o", self.folder / f"p.{ending}")
        self.assertEqual(rgb(self.folder / "p.bmp"), rgb(self.folder / "p.png"))

    def test_unknownEndingIsRefused(self):
        for name in ("picture.gif", "picture", ".png"):
            result = run("export", CLIPS / "demo.m2v", "--frame", 1, "-o", name)
            self.assertEqual(result.returncode, 2)
            self.assertIn(b"has to end in", result.stderr)

    def test_frameBehindTheEndIsRefused(self):
        result = run("export", CLIPS / "open_gop.m2v", "--frame", 25, "-o", self.folder / "p.png")
        self.assertEqual((result.returncode, list(self.folder.iterdir())), (2, []))
        self.assertIn(b"the last one is 24", result.stderr)

    def test_folderThatIsMissingIsToldWithCodeThree(self):
        for ending in ("png", "jpg", "bmp"):
            result = run("export", CLIPS / "open_gop.m2v", "--frame", 2, "-o", self.folder / "none" / f"p.{ending}")
            self.assertEqual(result.returncode, 3)
            self.assertIn(b"cannot write", result.stderr)


class Sheet(InFolder):
    def test_sheetHasItsCells(self):
        self.done("sheet", CLIPS / "demo.m2v", "--columns", 3, "--rows", 2, "--width", 160, "-o", self.folder / "s.png")
        self.assertEqual(png_size((self.folder / "s.png").read_bytes()), (3 * 168 + 8, 2 * 128 + 8))

    def test_jpegSheetHasTheSameSize(self):
        self.done("sheet", CLIPS / "demo.m2v", "--columns", 3, "--rows", 2, "--width", 160, "-o", self.folder / "s.jpg")
        self.assertEqual(jpeg_size((self.folder / "s.jpg").read_bytes()), (3 * 168 + 8, 2 * 128 + 8))

    def test_everyClipMakesASheet(self):
        for name in CLIPS_KNOWN:
            with self.subTest(name):
                self.done("sheet", CLIPS / name, "-o", self.folder / "s.png")
                png_size((self.folder / "s.png").read_bytes())

    def test_shortFileMakesASmallerSheet(self):
        told = self.done("sheet", CLIPS / "interlaced_bff.m2v", "--columns", 5, "--rows", 5, "-o", self.folder / "s.png")
        self.assertIn("12 frames", told)

    @unittest.skipUnless(has_reference_decoder(), "ffmpeg is not installed")
    def test_cellShowsItsFrame(self):
        """Without a reduction the one cell is the frame itself, but for the time that is drawn in."""
        self.done("sheet", CLIPS / "chroma422.m2v", "--columns", 1, "--rows", 1, "--width", 192, "-o", self.folder / "s.png")
        self.done("export", CLIPS / "chroma422.m2v", "--frame", 7, "--precision", "fast", "-o", self.folder / "f.png")
        sheet, frame = rgb(self.folder / "s.png"), rgb(self.folder / "f.png")
        distance = [abs(sheet[3 * (208 * (y + 8) + x + 8) + 1] - frame[3 * (192 * y + x) + 1])
                    for y in range(100) for x in range(192)]
        self.assertLess(sum(distance) / len(distance), 4.0)


class Compare(InFolder):
    def lines(self, *arguments):
        return [line.split() for line in self.done("compare", *arguments).splitlines()[1:]]

    def test_equalFilesAreInfinitelyClose(self):
        lines = self.lines(CLIPS / "open_gop.m2v", CLIPS / "open_gop.m2v")
        self.assertEqual(len(lines), 24 + 1)
        self.assertEqual(lines[-1], ["all"] + 4 * ["inf"])
        self.assertEqual({value for line in lines for value in line[1:]}, {"inf"})

    def test_streamEqualsItsOwnY4m(self):
        for name in ("odd_size.m2v", "chroma422.m2v", "mpeg1.m1v"):
            with self.subTest(name):
                run("decode", CLIPS / name, "-o", self.folder / "own.y4m")
                self.assertEqual(self.lines(CLIPS / name, self.folder / "own.y4m", "--total"), [["all"] + 4 * ["inf"]])

    def test_differenceOfOneIsFortyEightDecibels(self):
        for name, luma in (("a.y4m", 100), ("b.y4m", 101)):
            planes = bytes([luma]) * 64 + bytes([128]) * 32
            (self.folder / name).write_bytes(b"YUV4MPEG2 W8 H8 F25:1 C420\n" + 2 * (b"FRAME\n" + planes))
        lines = self.lines(self.folder / "a.y4m", self.folder / "b.y4m")
        self.assertEqual(lines[0], ["1", "48.131", "inf", "inf", "49.892"])
        self.assertEqual(lines[-1][1:], lines[0][1:])

    def test_differentShapesAndLengthsAreTold(self):
        result = run("compare", CLIPS / "open_gop.m2v", CLIPS / "demo.m2v")
        self.assertEqual(result.returncode, 3)
        self.assertIn(b"160 x 128 4:2:0 in one and 640 x 480 4:2:0", result.stderr)
        run("decode", CLIPS / "open_gop.m2v", "--to", 20, "-o", self.folder / "short.y4m")
        result = run("compare", CLIPS / "open_gop.m2v", self.folder / "short.y4m")
        self.assertEqual(result.returncode, 3)
        self.assertIn(b"more frames than the 20", result.stderr)

    def test_brokenY4mIsRefused(self):
        head = b"YUV4MPEG2 W8 H8 F25:1 C420\n"
        for content in (b"YUV4MPEG2", b"YUV4MPEG2 W8\n", b"YUV4MPEG2 W-8 H8\n", b"YUV4MPEG2 W8 H8 C420p10\n",
                        b"YUV4MPEG2 W8 H99999999999\n", b"YUV4MPEG2 " + 5000 * b"x", head + b"FRAME\n" + 50 * b"x",
                        head + b"GRAME\n" + 96 * b"x"):
            (self.folder / "broken.y4m").write_bytes(content)
            result = run("compare", self.folder / "broken.y4m", CLIPS / "open_gop.m2v")
            self.assertEqual(result.returncode, 3, content[:40])
            self.assertIn(b"broken.y4m", result.stderr)


class Explain(InFolder):
    def test_everyMacroblockIsCounted(self):
        for name, known in CLIPS_KNOWN.items():
            with self.subTest(name):
                told = self.done("explain", CLIPS / name)
                ways = r"intra|forward|backward|both directions|skipped|no vector"
                counted = sum(int(number) for number in re.findall(rf"^ +(?:{ways}) +(\d+) ", told, re.MULTILINE))
                step = 16 if known.scan == "p" and name != "pulldown.m2v" else 32
                rows = -(-known.height // step) * step // 16
                self.assertEqual(counted, known.frames * -(-known.width // 16) * rows)

    def test_kindsOfPicturesAreNamed(self):
        told = self.done("explain", CLIPS / "interlaced_tff.m2v")
        for words in ("I, frame: 2 pictures", "P, frame: 3 pictures", "B, frame: 8 pictures", "field prediction"):
            self.assertIn(words, told)


if __name__ == "__main__":
    unittest.main()
