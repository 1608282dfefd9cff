# SPDX-License-Identifier: BSD-2-Clause
"""The README's commands do as they are printed, one after the other, on a file of the name that they have."""
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

from support import CLIPS, TOOL, has_reference_decoder

README = pathlib.Path(__file__).resolve().parents[2] / "README.md"


class Readme(unittest.TestCase):
    def test_everyCommandOfTheReadmeRuns(self):
        section = README.read_text(encoding="utf-8").split("## The command\n")[1].split("\n## ")[0]
        commands = re.findall(r"^    (tvk .*?)\s+#", section, re.MULTILINE)
        self.assertGreater(len(commands), 8)
        with tempfile.TemporaryDirectory() as folder:
            shutil.copy(CLIPS / "demo.m2v", pathlib.Path(folder, "clip.m2v"))
            os.symlink(TOOL, pathlib.Path(folder, "tvk"))
            environment = dict(os.environ, PATH=f"{folder}:{os.environ['PATH']}")
            for command in commands:
                if "ffmpeg" in command and not has_reference_decoder():
                    continue
                done = subprocess.run(["bash", "-o", "pipefail", "-c", command], cwd=folder, env=environment, capture_output=True, check=False)
                self.assertEqual(done.returncode, 0, f"{command}: {done.stderr.decode()}")
            for made in ("clip.y4m", "clip.m2v.vidx", "part.m2v", "shot-00045.png", "sheet.jpg"):
                self.assertTrue(pathlib.Path(folder, made).is_file(), made)
