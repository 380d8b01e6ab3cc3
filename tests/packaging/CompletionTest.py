"""What bash offers behind each beginning of a vantaroctl command line."""

import os
import subprocess
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
CTL = Path(os.environ.get("VANTARO_BUILD", ROOT / "build/release")) / "bin/vantaroctl"

# A vantaroctl that serves two drives, and asks the real one for everything else.
FAKE = """#!/bin/sh
if [ "$*" = "complete drives" ]; then printf '/media/ann/My Stick\\n/mnt/b\\nMy Stick\\nb\\n'; else exec {ctl} "$@"; fi
"""
ASK = """
source {script}
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
_vantaroctl 2>/dev/null
printf '%s\\n' "${{COMPREPLY[@]}}"
"""


class CompletionTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="vantaro-completion-")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.fake = self.folder / "vantaroctl"
        self.fake.write_text(FAKE.format(ctl=CTL))
        self.fake.chmod(0o755)
        (self.folder / "Pictures").mkdir()
        (self.folder / "Plan.txt").write_text("")

    def offered(self, *words):
        script = ASK.format(script=ROOT / "packaging/completion/vantaroctl.bash")
        run = subprocess.run(["bash", "-c", script, "bash", str(self.fake), *words], capture_output=True, text=True,
                             check=True, cwd=self.folder)
        return [line for line in run.stdout.splitlines() if line]

    def test_commands(self):
        self.assertEqual(self.offered("set"), ["set-list", "set"])
        self.assertEqual(self.offered("rem"), ["remove-sync"])
        self.assertNotIn("complete", self.offered(""))

    def test_drive_names_and_mount_points(self):
        self.assertEqual(self.offered("list", ""), ["/media/ann/My\\ Stick", "/mnt/b", "My\\ Stick", "b"])
        self.assertEqual(self.offered("start", "--wait", "/mnt"), ["/mnt/b"])
        self.assertEqual(self.offered("list", "My\\ S"), ["My\\ Stick"])
        self.assertEqual(self.offered("start", "--timeout", "5", "b"), ["b"])

    def test_options_of_each_command(self):
        self.assertEqual(self.offered("start", "--"), ["--help", "--wait", "--timeout"])
        self.assertEqual(self.offered("start", "b", "--w"), ["--wait"])
        self.assertEqual(self.offered("--v"), ["--version"])
        self.assertEqual(self.offered("start", "--timeout", ""), [])

    def test_settings_and_their_values(self):
        self.assertEqual(self.offered("get", "b", "d"), ["documents", "device-filter"])
        self.assertEqual(self.offered("get", "b", "v"), ["valid"])
        self.assertEqual(self.offered("set", "b", "v"), [])
        self.assertEqual(self.offered("set", "b", "quiet", "o"), ["on", "off"])
        self.assertEqual(self.offered("set", "b", "device-filter", "kindle"), ["kindle-fire", "kindle-fire-hd"])
        self.assertEqual(self.offered("debug", ""), ["on", "off"])

    def test_paths(self):
        self.assertEqual(self.offered("adopt", "P"), ["Pictures"])
        self.assertEqual(sorted(self.offered("add", "b", "P")), ["Pictures", "Plan.txt"])
        self.assertEqual(self.offered("add", "b", "Pictures", "Pl"), ["Plan.txt"])
        self.assertEqual(self.offered("explain", "b", "Pl"), ["Plan.txt"])
        self.assertEqual(self.offered("explain", "b", "Plan.txt", "P"), [])


if __name__ == "__main__":
    unittest.main()
