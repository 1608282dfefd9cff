# SPDX-License-Identifier: BSD-2-Clause
"""What the tool says and returns when it cannot do what it was asked."""
import pathlib
import tempfile
import unittest

from support import CLIPS, run


class Errors(unittest.TestCase):
    def refuse(self, code, word, *arguments):
        """The call ends with this code and one line on stderr that holds `word`; stdout stays empty."""
        done = run(*arguments)
        self.assertEqual(done.returncode, code, done.stderr)
        lines = done.stderr.decode().splitlines()
        self.assertEqual(len(lines), 1, lines)
        self.assertTrue(lines[0].startswith("tvk: "), lines)
        self.assertIn(word, lines[0])
        self.assertEqual(done.stdout, b"")

    def test_missingFileIsNamed(self):
        for command in ("info", "decode", "index", "explain"):
            self.refuse(1, "no/such.m2v", command, "no/such.m2v")
        self.refuse(1, "no/such.m2v", "cut", "no/such.m2v", "-o", "out.m2v")
        self.refuse(1, "no/such.m2v", "export", "no/such.m2v", "--frame", 1, "-o", "out.png")
        self.refuse(1, "no/such.m2v", "sheet", "no/such.m2v", "-o", "out.png")
        self.refuse(1, "no/such.m2v", "compare", "no/such.m2v", CLIPS / "demo.m2v")

    def test_fileWithoutVideoIsRefused(self):
        contents = {"empty": b"", "text": b"not a video\n" * 1000, "zeros": bytes(100000), "ones": b"\xff" * 5000}
        with tempfile.TemporaryDirectory() as folder:
            for name, content in contents.items():
                path = pathlib.Path(folder) / name
                path.write_bytes(content)
                with self.subTest(name):
                    self.refuse(1, name, "decode", path)
                    self.refuse(1, name, "info", path)

    def test_folderIsRefused(self):
        self.refuse(1, str(CLIPS), "decode", CLIPS)

    def test_headersWithoutAPictureAreRefused(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "head.m2v"
            path.write_bytes((CLIPS / "progressive.m2v").read_bytes()[:20])
            self.refuse(1, "no picture", "decode", path)

    def test_wrongUseIsToldWithCodeTwo(self):
        clip = CLIPS / "progressive.m2v"
        self.refuse(2, "--help", "decode")
        self.refuse(2, "--help", "frobnicate", clip)
        self.refuse(2, "--precision", "decode", clip, "--precision", "perfect")
        self.refuse(2, "--reduce", "decode", clip, "--reduce", 3)
        self.refuse(2, "--threads", "decode", clip, "--threads", 0)
        self.refuse(2, "--precision fast", "decode", clip, "--reduce", 2, "--precision", "exact")

    def test_framesThatCannotBeAreToldWithCodeTwo(self):
        clip = CLIPS / "open_gop.m2v"
        self.refuse(2, "24 frames", "decode", clip, "--md5", "--from", 25)
        self.refuse(2, "the last one is 24", "decode", clip, "--md5", "--list", "3,25")
        self.refuse(2, "24 frames", "decode", clip, "--md5", "--time", 1.0)
        self.refuse(2, "--to", "decode", clip, "--md5", "--from", 9, "--to", 8)
        self.refuse(2, "--from", "decode", clip, "--md5", "--from", 0)
        self.refuse(2, "no frame of the types", "decode", clip, "--md5", "--from", 8, "--to", 12, "--types", "i")
        self.refuse(2, "--list", "decode", clip, "--md5", "--list", 3, "--reverse")
        self.refuse(2, "--frame or --list", "export", clip, "-o", "out.png")
        for text in ("", "x", "3-", "-3", "5-4", "0", "1,,2", "1 2", "99999999999"):
            self.refuse(2, "5,9,100-120" if text else "--list", "export", clip, "-o", "out.png", f"--list={text}")

    def test_inputIsNeverOverwritten(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "clip.m2v"
            bytes_before = (CLIPS / "progressive.m2v").read_bytes()
            path.write_bytes(bytes_before)
            self.refuse(2, "input file", "decode", path, "-o", path)
            self.refuse(2, "input file", "index", path, "-o", path)
            self.assertEqual(path.read_bytes(), bytes_before)

    def test_fullDiskIsToldWithCodeThree(self):
        self.refuse(3, "/dev/full", "decode", CLIPS / "progressive.m2v", "-o", "/dev/full")
        self.refuse(3, "no/such", "decode", CLIPS / "progressive.m2v", "-o", "no/such/folder.y4m")

    def test_helpTellsCommandsAndExitCodes(self):
        done = run("--help")
        self.assertEqual(done.returncode, 0)
        for words in ("info", "decode", "index", "cut", "export", "sheet", "compare", "explain", "Exit codes"):
            self.assertIn(words, done.stdout.decode())
        self.assertEqual(run("decode", "--help").returncode, 0)
        self.assertEqual(run("--version").returncode, 0)

    def test_cutFileGivesThePicturesAheadOfTheCut(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "cut.m2v"
            path.write_bytes((CLIPS / "progressive.m2v").read_bytes()[:60000])
            done = run("decode", path, "--md5")
            self.assertEqual((done.returncode, done.stderr), (0, b""))
            self.assertGreater(len(done.stdout.splitlines()), 5)


if __name__ == "__main__":
    unittest.main()
