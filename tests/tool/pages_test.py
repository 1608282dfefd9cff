# SPDX-License-Identifier: BSD-2-Clause
"""The manual pages and the shells' completion name what the tool has."""
import pathlib
import re
import shutil
import subprocess
import unittest

from support import TOOL, run

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGES = ROOT / "packaging/man"
BASH = ROOT / "packaging/completion/tvk.bash"
ZSH = ROOT / "packaging/completion/_tvk"


def help_of(*arguments):
    return run(*arguments, "--help").stdout.decode()


def commands():
    listed = help_of().split("Subcommands:\n")[1].split("\n\n")[0]
    return re.findall(r"^  (\w+)", listed, re.MULTILINE)


def options(*command):
    """Every spelling of every option that a help text lists."""
    listed = help_of(*command).split("Options:\n")[1].split("\n\n")[0]
    return [name for line in re.findall(r"^  (-\S+)", listed, re.MULTILINE) for name in line.split(",")]


def completed(*words):
    """What bash offers for the last of the words."""
    script = f'source "{BASH}"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _tvk; printf "%s\\n" "${{COMPREPLY[@]}}"'
    done = subprocess.run(["bash", "-c", script, "bash", "tvk", *words], check=True, capture_output=True, text=True)
    return done.stdout.split()


class Pages(unittest.TestCase):
    def test_pagesAndCompletionAreCurrent(self):
        done = subprocess.run([ROOT / "scripts/make-pages", "--check", TOOL], capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 0, done.stderr)

    def test_commandPageNamesEveryOption(self):
        page = (PAGES / "tvk.1").read_text(encoding="utf-8").replace("\\-", "-")
        for command in commands():
            section = page.split(f"\n.SS {command}\n")[1].split("\n.S")[0]
            for option in options(command):
                if "h" not in option.strip("-")[:1]:
                    self.assertIn(f"\\fB{option}\\fR", section, command)

    def test_libraryPageNamesEveryCall(self):
        page = (PAGES / "tvk.3").read_text(encoding="utf-8")
        for header in (ROOT / "include").glob("*.h"):
            calls = re.findall(r"^TVK_API\b[^(;]*?\b(tvk\w+)\s*\(", header.read_text(encoding="utf-8"), re.MULTILINE)
            self.assertTrue(calls)
            for call in calls:
                self.assertIn(f"\\fB{call}\\fR(", page)

    @unittest.skipUnless(shutil.which("groff"), "groff is not installed")
    def test_pagesAreFormattedWithoutAWarning(self):
        for page in sorted(PAGES.iterdir()):
            done = subprocess.run(["groff", "-man", "-Tutf8", "-ww", "-z", page], capture_output=True, text=True, check=True)
            self.assertEqual(done.stderr, "")


class Completion(unittest.TestCase):
    def test_bashOffersEveryCommand(self):
        self.assertLessEqual(set(commands()) | {"--help", "--version"}, set(completed("")))

    def test_bashOffersEveryOptionOfACommand(self):
        for command in commands():
            with self.subTest(command):
                wanted = [option for option in options(command) if option != "-h"]
                self.assertLessEqual(set(wanted), set(completed(command, "-")))

    def test_bashOffersTheValuesOfAnOption(self):
        self.assertEqual(completed("decode", "--precision", ""), ["fast", "exact"])
        self.assertEqual(completed("decode", "--precision", "e"), ["exact"])

    def test_bashLeavesFilesToTheShell(self):
        self.assertEqual(completed("decode", ""), [])
        self.assertEqual(completed("decode", "clip.m2v", "-o", ""), [])

    def test_zshNamesEveryCommandAndOption(self):
        text = ZSH.read_text(encoding="utf-8")
        for command in commands():
            self.assertIn(f"'{command}:", text)
            section = text.split(f"            {command})\n")[1].split(";;")[0]
            for option in options(command):
                if option != "-h":
                    self.assertIn(f"'{option}[", section, command)

    @unittest.skipUnless(shutil.which("zsh"), "zsh is not installed")
    def test_zshReadsItsCompletion(self):
        subprocess.run(["zsh", "-fn", ZSH], check=True)
