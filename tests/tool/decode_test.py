# SPDX-License-Identifier: BSD-2-Clause
"""tvk decode on the shipped clips."""
import hashlib
import pathlib
import re
import subprocess
import tempfile
import unittest

from support import CLIPS, CLIPS_KNOWN, decode, digests, has_reference_decoder, read_y4m, run

# Far above what a wrong picture reaches; two correct decoders with different inverse transforms stay above it.
LEAST_PSNR = 40.0


def psnr_to_reference(clip, known, y4m, folder):
    """The lowest PSNR of any plane, over the whole clip, against an independent decoder's pictures."""
    pixels = "yuv422p" if known.colours == "422" else "yuv420p"
    reference, ours = folder / "reference.yuv", folder / "ours.yuv"
    silent = ["ffmpeg", "-v", "error", "-nostdin", "-y"]
    subprocess.run([*silent, "-i", clip, "-fps_mode", "passthrough", "-f", "rawvideo", reference], check=True)
    ours.write_bytes(b"".join(plane for picture in y4m.pictures for plane in picture))
    if reference.stat().st_size != ours.stat().st_size:
        raise AssertionError(f"{clip.name}: the reference decoder gives another number of pictures")
    raw = ["-f", "rawvideo", "-pix_fmt", pixels, "-s", f"{known.width}x{known.height}", "-i"]
    compare = ["ffmpeg", "-nostdin", *raw, reference, *raw, ours, "-lavfi", "psnr", "-f", "null", "-"]
    report = subprocess.run(compare, check=True, capture_output=True, text=True).stderr
    line = next(line for line in report.splitlines() if "PSNR y:" in line)
    return min(float(value) for value in re.findall(r"\b[yuv]:([\d.]+|inf)", line))


class Decode(unittest.TestCase):
    def test_headerTellsShapeRateAndScan(self):
        for name, known in CLIPS_KNOWN.items():
            with self.subTest(name):
                header = decode(CLIPS / name, "--frames", 1).header
                expected = {"W": str(known.width), "H": str(known.height), "F": known.rate, "I": known.scan}
                self.assertEqual({key: header[key] for key in expected}, expected)
                self.assertEqual(header["C"], known.colours)
                self.assertEqual(header["A"], "1:1")

    def test_everyFrameOfEveryClipComesOut(self):
        for name, known in CLIPS_KNOWN.items():
            with self.subTest(name):
                self.assertEqual(len(decode(CLIPS / name).pictures), known.frames)

    @unittest.skipUnless(has_reference_decoder(), "ffmpeg is not installed")
    def test_picturesAreThoseOfAnIndependentDecoder(self):
        for name, known in CLIPS_KNOWN.items():
            with self.subTest(name), tempfile.TemporaryDirectory() as folder:
                reached = psnr_to_reference(CLIPS / name, known, decode(CLIPS / name), pathlib.Path(folder))
                self.assertGreater(reached, LEAST_PSNR)

    def test_digestsAreThoseOfThePictures(self):
        for name in ("interlaced_tff.m2v", "chroma422.m2v"):
            with self.subTest(name):
                for line, picture in zip(digests(CLIPS / name), decode(CLIPS / name).pictures, strict=True):
                    pairs = bytearray(2 * len(picture.cb))
                    pairs[0::2], pairs[1::2] = picture.cb, picture.cr
                    self.assertEqual(line[4], hashlib.md5(picture.luma).hexdigest())
                    self.assertEqual(line[5], hashlib.md5(pairs).hexdigest())

    def test_digestLinesCountFramesInDisplayOrder(self):
        lines = digests(CLIPS / "open_gop.m2v")
        self.assertEqual([int(line[0]) for line in lines], list(range(1, 25)))
        self.assertEqual(sorted(int(line[1]) for line in lines), list(range(1, 25)))
        self.assertEqual(lines[0][2], "I")
        self.assertIn("B", [line[2] for line in lines])

    def test_threadsChangeNothing(self):
        for name in ("interlaced_tff.m2v", "mpeg1.m1v", "chroma422.m2v"):
            for precision in ("fast", "exact"):
                with self.subTest(name, precision=precision):
                    one = digests(CLIPS / name, "--precision", precision, "--threads", 1)
                    for threads in (2, 3, 20):
                        self.assertEqual(digests(CLIPS / name, "--precision", precision, "--threads", threads), one)

    def test_exactIsTheDefault(self):
        clip = CLIPS / "interlaced_tff.m2v"
        self.assertEqual(digests(clip), digests(clip, "--precision", "exact"))
        self.assertNotEqual(digests(clip), digests(clip, "--precision", "fast"))

    def test_framesStopsTheDecoding(self):
        clip = CLIPS / "progressive.m2v"
        self.assertEqual(digests(clip, "--frames", 5), digests(clip)[:5])

    def test_reduceGivesSmallerPictures(self):
        for reduce in (2, 4, 8):
            with self.subTest(reduce=reduce):
                y4m = decode(CLIPS / "odd_size.m2v", "--reduce", reduce)
                self.assertEqual((y4m.width, y4m.height), (-(-99 // reduce), -(-67 // reduce)))
                self.assertEqual(len(y4m.pictures), 12)

    def test_fileAndStandardOutputAreTheSame(self):
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder) / "out.y4m"
            done = run("decode", CLIPS / "progressive.m2v", "-o", file)
            self.assertEqual((done.returncode, done.stdout, done.stderr), (0, b"", b""))
            self.assertEqual(read_y4m(file.read_bytes()), decode(CLIPS / "progressive.m2v"))

    @unittest.skipUnless(has_reference_decoder(), "ffmpeg is not installed")
    def test_ffmpegTakesThePipe(self):
        for name in ("interlaced_bff.m2v", "chroma422.m2v", "odd_size.m2v"):
            with self.subTest(name):
                pictures = run("decode", CLIPS / name, "-o", "-").stdout
                taken = subprocess.run(
                    ["ffmpeg", "-v", "error", "-i", "-", "-fps_mode", "passthrough", "-f", "rawvideo", "-"],
                    input=pictures, check=True, capture_output=True)
                self.assertEqual(taken.stderr, b"")
                planes = b"".join(plane for picture in read_y4m(pictures).pictures for plane in picture)
                self.assertEqual(taken.stdout, planes)


if __name__ == "__main__":
    unittest.main()
