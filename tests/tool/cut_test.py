# SPDX-License-Identifier: BSD-2-Clause
"""tvk cut: exactly the pictures that it says, decodable without what was cut off."""
import pathlib
import re
import subprocess
import tempfile
import unittest

from support import CLIPS, CLIPS_KNOWN, digests, has_reference_decoder, run

SEQUENCE_HEADER, SEQUENCE_END = b"\x00\x00\x01\xb3", b"\x00\x00\x01\xb7"


def cut(source, target, first, last):
    """The first and the last frame that it says it took."""
    done = run("cut", source, "--from", first, "--to", last, "-o", target)
    if done.returncode != 0:
        raise AssertionError(done.stderr.decode())
    told = re.fullmatch(r"Took frames (\d+) to (\d+): (\d+) frames? in \d+ groups?\n", done.stdout.decode())
    taken = int(told[1]), int(told[2])
    if int(told[3]) != taken[1] - taken[0] + 1:
        raise AssertionError(done.stdout)
    return taken


def shown(path):
    """Type and digests of every frame."""
    return [[line[2], *line[4:]] for line in digests(path)]


def reference_frames(path):
    """Digests of another decoder's frames; fails when it reports anything."""
    done = subprocess.run(["ffmpeg", "-v", "error", "-i", path, "-fps_mode", "passthrough", "-f", "framemd5", "-"],
                          check=True, capture_output=True, text=True)
    if done.stderr:
        raise AssertionError(done.stderr)
    return [line.split(",")[-1] for line in done.stdout.splitlines() if not line.startswith("#")]


def elements(data):
    """The elements of a stream, each from its start code on."""
    places = [match.start() for match in re.finditer(b"\x00\x00\x01", data)]
    return [data[a:b] for a, b in zip(places, places[1:] + [len(data)])]


def ranges(frames):
    return {(1, 2), (6, 6), (8, 9), (10, frames), (frames, frames), (1, frames)}


class Cut(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.out = self.folder / "out.m2v"

    def test_framesAreThoseOfTheFile(self):
        for name, known in CLIPS_KNOWN.items():
            every = shown(CLIPS / name)
            for first, last in ranges(known.frames):
                with self.subTest(name, first=first, last=last):
                    taken = cut(CLIPS / name, self.out, first, last)
                    self.assertLessEqual(taken[0], first)
                    self.assertGreaterEqual(taken[1], last)
                    self.assertEqual(shown(self.out), every[taken[0] - 1 : taken[1]])

    @unittest.skipUnless(has_reference_decoder(), "ffmpeg is not installed")
    def test_anotherDecoderPlaysItWithoutAnError(self):
        for name, known in CLIPS_KNOWN.items():
            every = reference_frames(CLIPS / name)
            for first, last in ranges(known.frames):
                with self.subTest(name, first=first, last=last):
                    taken = cut(CLIPS / name, self.out, first, last)
                    self.assertEqual(reference_frames(self.out), every[taken[0] - 1 : taken[1]])

    def test_outputBeginsWithASequenceHeaderAndEndsWithAnEndCode(self):
        for name in CLIPS_KNOWN:
            with self.subTest(name):
                cut(CLIPS / name, self.out, 11, 12)
                data = self.out.read_bytes()
                self.assertTrue(data.startswith(SEQUENCE_HEADER))
                self.assertTrue(data.endswith(SEQUENCE_END))
                self.assertEqual(data.count(SEQUENCE_END), 1)

    def test_wholeFileIsCopiedByteForByte(self):
        for name, known in CLIPS_KNOWN.items():
            with self.subTest(name):
                cut(CLIPS / name, self.out, 1, known.frames)
                original = (CLIPS / name).read_bytes()
                self.assertEqual(self.out.read_bytes(), original.removesuffix(SEQUENCE_END) + SEQUENCE_END)

    def test_openGroupLosesItsLeadingPicturesAndIsMarkedClosed(self):
        self.assertEqual(cut(CLIPS / "open_gop.m2v", self.out, 14, 15), (13, 16))
        group = next(part for part in elements(self.out.read_bytes()) if part[3] == 0xB8)
        self.assertEqual(group[7] & 0x60, 0x40)
        first = next(part for part in elements(self.out.read_bytes()) if part[3] == 0)
        self.assertEqual(first[4] << 2 | first[5] >> 6, 0)  # the I picture is shown first

    def test_leadingPictureBringsTheGroupThatItNeeds(self):
        self.assertEqual(cut(CLIPS / "open_gop.m2v", self.out, 11, 11), (7, 16))

    def test_cutsJoinedAgainHoldEveryFrame(self):
        every = shown(CLIPS / "progressive.m2v")
        parts = b""
        for first, last in ((1, 10), (11, 20)):
            self.assertEqual(cut(CLIPS / "progressive.m2v", self.out, first, last), (first, last))
            parts += self.out.read_bytes()
        self.out.write_bytes(parts)
        self.assertEqual(shown(self.out), every)

    def test_onlySequenceHeaderOfTheFileComesAlong(self):
        parts = elements((CLIPS / "open_gop.m2v").read_bytes())
        header = parts[:2]  # the header and its extension, which this clip repeats ahead of every group
        once = header + [part for part in parts if part not in header]
        source = self.folder / "once.m2v"
        source.write_bytes(b"".join(once))
        self.assertEqual(source.read_bytes().count(SEQUENCE_HEADER), 1)
        taken = cut(source, self.out, 14, 15)
        self.assertEqual(shown(self.out), shown(source)[taken[0] - 1 : taken[1]])
        self.assertTrue(self.out.read_bytes().startswith(b"".join(header)))

    def test_matricesLoadedAheadOfTheCutStayInForce(self):
        parts = elements((CLIPS / "open_gop.m2v").read_bytes())
        header = parts[:2]
        once = header + [part for part in parts if part not in header]
        # Behind the first picture's coding extension: intra values of 24 throughout, no others.
        loaded = 3 << 516 | 1 << 515 | int.from_bytes(64 * b"\x18", "big") << 3
        extension = b"\x00\x00\x01\xb5" + loaded.to_bytes(65, "big")
        place = next(i for i, part in enumerate(once) if part[3] == 0xB5 and part[4] >> 4 == 8) + 1
        source = self.folder / "matrices.m2v"
        source.write_bytes(b"".join(once[:place] + [extension] + once[place:]))
        every = shown(source)
        self.assertNotEqual(every, shown(CLIPS / "open_gop.m2v"))
        taken = cut(source, self.out, 14, 15)
        self.assertEqual(shown(self.out), every[taken[0] - 1 : taken[1]])

    def test_rangeBehindTheEndIsRefused(self):
        done = run("cut", CLIPS / "open_gop.m2v", "--from", 25, "-o", self.out)
        self.assertEqual(done.returncode, 2)
        self.assertIn(b"24 frames", done.stderr)
        self.assertFalse(self.out.exists())

    def test_inputIsNeverOverwritten(self):
        clip = self.folder / "clip.m2v"
        clip.write_bytes((CLIPS / "open_gop.m2v").read_bytes())
        done = run("cut", clip, "--from", 13, "-o", clip)
        self.assertEqual(done.returncode, 2)
        self.assertEqual(clip.read_bytes(), (CLIPS / "open_gop.m2v").read_bytes())


if __name__ == "__main__":
    unittest.main()
