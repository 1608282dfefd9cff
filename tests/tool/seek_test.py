# SPDX-License-Identifier: BSD-2-Clause
"""Frames chosen by number, time, type and list: each is the frame that decoding from the start gives."""
import json
import pathlib
import shutil
import tempfile
import unittest

from support import CLIPS, CLIPS_KNOWN, digests, run


def pictures(lines):
    """Without the time, which the decoder tells otherwise behind a jump."""
    return [line[:3] + line[4:] for line in lines]


def chosen(clip, *options):
    return pictures(digests(clip, *options))


class Seek(unittest.TestCase):
    def test_fromAnyFrameIsTheLinearDecode(self):
        for name, known in CLIPS_KNOWN.items():
            every = chosen(CLIPS / name)
            for number in {2, 5, 8, known.frames // 2, known.frames - 1, known.frames}:
                with self.subTest(name, number=number):
                    self.assertEqual(chosen(CLIPS / name, "--from", number), every[number - 1 :])

    def test_fromAndToAreBothTaken(self):
        every = chosen(CLIPS / "open_gop.m2v")
        for first, last in ((1, 1), (1, 7), (5, 6), (9, 19), (24, 24)):
            with self.subTest(first=first, last=last):
                self.assertEqual(chosen(CLIPS / "open_gop.m2v", "--from", first, "--to", last), every[first - 1 : last])
        self.assertEqual(chosen(CLIPS / "open_gop.m2v", "--to", 99), every)

    def test_reverseIsTheLinearDecodeTurnedRound(self):
        for name in CLIPS_KNOWN:
            with self.subTest(name):
                self.assertEqual(chosen(CLIPS / name, "--reverse"), chosen(CLIPS / name)[::-1])

    def test_reverseOfARangeStopsWhereTold(self):
        every = chosen(CLIPS / "open_gop.m2v")
        turned = chosen(CLIPS / "open_gop.m2v", "--reverse", "--from", 4, "--to", 20, "--frames", 6)
        self.assertEqual(turned, every[3:20][::-1][:6])

    def test_listTakesItsFramesInRisingOrder(self):
        every = chosen(CLIPS / "open_gop.m2v")
        listed = chosen(CLIPS / "open_gop.m2v", "--list", "20,3,9-11,10-12,3")
        self.assertEqual(listed, [every[number - 1] for number in (3, 9, 10, 11, 12, 20)])

    def test_typesLeaveNumbersAsTheyAre(self):
        for name in ("open_gop.m2v", "interlaced_tff.m2v", "demo.m2v"):
            every = chosen(CLIPS / name)
            for types in ("i", "ip"):
                with self.subTest(name, types=types):
                    wanted = [line for line in every if line[2].lower() in types]
                    self.assertEqual(chosen(CLIPS / name, "--types", types), wanted)
                    self.assertEqual(chosen(CLIPS / name, "--types", types, "--reverse"), wanted[::-1])
                    behind = [line for line in wanted if int(line[0]) >= 6]
                    self.assertEqual(chosen(CLIPS / name, "--types", types, "--from", 6), behind)

    def test_reducedSizesSeekAlike(self):
        for reduce in (2, 4, 8):
            with self.subTest(reduce=reduce):
                every = chosen(CLIPS / "interlaced_tff.m2v", "--reduce", reduce)
                self.assertEqual(chosen(CLIPS / "interlaced_tff.m2v", "--reduce", reduce, "--from", 9), every[8:])

    def test_timeCountsRepeatedFields(self):
        first = digests(CLIPS / "pulldown.m2v", "--time", 0.501, "--frames", 1)
        self.assertEqual(first[0][0], "13")  # 1.25 frame periods each, of 1001/30000 seconds
        first = digests(CLIPS / "demo.m2v", "--time", 1.04, "--frames", 1)
        self.assertEqual(first[0][0], "27")

    def test_framesBehindASequenceEndCodeAreReached(self):
        with tempfile.TemporaryDirectory() as folder:
            double = pathlib.Path(folder) / "double.m2v"
            double.write_bytes(2 * (CLIPS / "pulldown.m2v").read_bytes())
            every = chosen(double)
            self.assertEqual(len(every), 32)
            self.assertEqual(chosen(double, "--from", 20), every[19:])
            self.assertEqual(chosen(double, "--list", "2,16-18,30"), [every[n - 1] for n in (2, 16, 17, 18, 30)])
            self.assertEqual(chosen(double, "--reverse"), every[::-1])


class Index(unittest.TestCase):
    def test_summaryCountsFramesAndKeyFrames(self):
        with tempfile.TemporaryDirectory() as folder:
            for name, known in CLIPS_KNOWN.items():
                with self.subTest(name):
                    done = run("index", CLIPS / name, "-o", pathlib.Path(folder) / "index", "--json")
                    facts = json.loads(done.stdout)
                    types = [line[2] for line in digests(CLIPS / name)]
                    keys = [number for number, kind in enumerate(types, 1) if kind == "I"]
                    longest = max(b - a for a, b in zip(keys, keys[1:] + [known.frames + 1]))
                    self.assertEqual(facts["frames"], known.frames)
                    self.assertEqual(facts["keyFrames"], len(keys))
                    self.assertEqual(facts["longestGroup"], longest)
                    self.assertTrue(facts["complete"])

    def test_indexBesideTheFileChangesNothing(self):
        with tempfile.TemporaryDirectory() as folder:
            clip = pathlib.Path(folder) / "clip.m2v"
            shutil.copy(CLIPS / "open_gop.m2v", clip)
            without = chosen(clip, "--from", 8)
            self.assertEqual(run("index", clip).returncode, 0)
            self.assertTrue(clip.with_name("clip.m2v.vidx").stat().st_size > 72)
            self.assertEqual(chosen(clip, "--from", 8), without)

    def test_indexOfAnotherFileIsNotUsed(self):
        with tempfile.TemporaryDirectory() as folder:
            clip = pathlib.Path(folder) / "clip.m2v"
            shutil.copy(CLIPS / "open_gop.m2v", clip)
            run("index", CLIPS / "demo.m2v", "-o", f"{clip}.vidx")
            self.assertEqual(chosen(clip, "--from", 8), chosen(clip)[7:])
            pathlib.Path(f"{clip}.vidx").write_bytes(b"no index")
            self.assertEqual(chosen(clip, "--from", 8), chosen(clip)[7:])

    def test_sequenceEndCodeInTheMiddleIsTold(self):
        with tempfile.TemporaryDirectory() as folder:
            double = pathlib.Path(folder) / "double.m2v"
            double.write_bytes(2 * (CLIPS / "pulldown.m2v").read_bytes())
            facts = json.loads(run("index", double, "--json").stdout)
            self.assertEqual((facts["frames"], facts["complete"]), (16, False))


if __name__ == "__main__":
    unittest.main()
