# SPDX-License-Identifier: BSD-2-Clause
"""tvk info on the shipped clips."""
import json
import unittest

from support import CLIPS, CLIPS_KNOWN, run


def info(*arguments):
    done = run("info", *arguments)
    if done.returncode != 0:
        raise AssertionError(done.stderr.decode())
    return done.stdout.decode()


class Info(unittest.TestCase):
    def test_jsonTellsTheFacts(self):
        for name, known in CLIPS_KNOWN.items():
            with self.subTest(name):
                facts = json.loads(info(CLIPS / name, "--json"))
                self.assertEqual((facts["width"], facts["height"]), (known.width, known.height))
                self.assertEqual(facts["frameRate"], [int(part) for part in known.rate.split(":")])
                self.assertEqual(facts["scan"], known.scan_text)
                self.assertEqual(facts["mpegVersion"], 1 if name.endswith(".m1v") else 2)
                self.assertEqual(facts["chromaFormat"], "4:2:2" if known.colours == "422" else "4:2:0")

    def test_countReadsTheWholeFile(self):
        for name, known in CLIPS_KNOWN.items():
            with self.subTest(name):
                facts = json.loads(info(CLIPS / name, "--json", "--count"))
                self.assertTrue(facts["counted"])
                self.assertEqual(facts["frames"], known.frames)
                numerator, denominator = facts["frameRate"]
                periods = known.frames * (1.25 if name == "pulldown.m2v" else 1)
                self.assertAlmostEqual(facts["seconds"], periods * denominator / numerator)

    def test_shortFileIsCountedWithoutBeingAsked(self):
        facts = json.loads(info(CLIPS / "pulldown.m2v", "--json"))
        self.assertEqual((facts["counted"], facts["frames"]), (True, 16))

    def test_rateThatSaysNothingGivesNoDuration(self):
        facts = json.loads(info(CLIPS / "demo.m2v", "--json"))
        self.assertEqual((facts["bitRate"], facts["frames"], facts["seconds"]), (None, None, None))

    def test_textNamesSizeRateAndScan(self):
        text = info(CLIPS / "interlaced_bff.m2v")
        for words in ("MPEG-2, Main@", "240 x 192, 4:2:0", "29.970 (30000/1001)", "bottom field first"):
            self.assertIn(words, text)


if __name__ == "__main__":
    unittest.main()
