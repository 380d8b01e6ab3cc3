"""The man pages are well formed and name every command and option that the program has."""

import os
import re
import subprocess
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
CTL = Path(os.environ.get("VANTARO_BUILD", ROOT / "build/release")) / "bin/vantaroctl"


def words(*arguments):
    return subprocess.run([str(CTL), "complete", *arguments], capture_output=True, text=True, check=True).stdout.split()


class ManualTest(unittest.TestCase):
    def test_groff_has_nothing_to_say(self):
        for page in ("vantaro.1", "vantaroctl.1"):
            run = subprocess.run(["groff", "-mdoc", "-Tutf8", "-ww", str(ROOT / "packaging" / page)],
                                 capture_output=True, text=True)
            self.assertEqual((run.returncode, run.stderr), (0, ""), page)

    def test_every_command_and_option_is_described(self):
        page = (ROOT / "packaging/vantaroctl.1").read_text()
        for command in words("commands"):
            heading = re.search(rf"^\.It Cm {command}\b.*$", page, re.MULTILINE)
            self.assertIsNotNone(heading, command)
            for option in words("options", command):
                if option != "--help":
                    self.assertIn("Fl " + option[1:], heading.group(0), f"{command} {option}")

    def test_the_words_of_a_quoted_text_are_no_macros(self):
        run = subprocess.run(["groff", "-mdoc", "-Tascii", str(ROOT / "packaging/vantaroctl.1")],
                             capture_output=True, text=True, check=True)
        self.assertIn('"Sync In Progress"', re.sub(r"\x1b\[\d*m|.\x08", "", run.stdout))

    def test_every_setting_and_class_is_named(self):
        page = (ROOT / "packaging/vantaroctl.1").read_text()
        for word in words("settings") + words("classes"):
            self.assertIn(word, page)


if __name__ == "__main__":
    unittest.main()
