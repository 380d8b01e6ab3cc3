"""An installation into an empty folder holds exactly what a package would ship, and every file of it is usable."""

import configparser
import os
import re
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("VANTARO_BUILD", ROOT / "build/release"))

PREFIX = re.search(r"^CMAKE_INSTALL_PREFIX:\w+=/(.*)$", (BUILD / "CMakeCache.txt").read_text(), re.MULTILINE).group(1)
SETTINGS = "etc" if PREFIX == "usr" else PREFIX + "/etc"
EXPECTED = {
    f"{PREFIX}/bin/vantaro",
    f"{PREFIX}/bin/vantaroctl",
    f"{PREFIX}/share/dbus-1/interfaces/com.corvane.vantaro.xml",
    f"{SETTINGS}/xdg/autostart/vantaro.desktop",
    f"{PREFIX}/share/man/man1/vantaro.1",
    f"{PREFIX}/share/man/man1/vantaroctl.1",
    f"{PREFIX}/share/bash-completion/completions/vantaroctl",
    f"{PREFIX}/share/zsh/site-functions/_vantaroctl",
    f"{PREFIX}/share/fish/vendor_completions.d/vantaroctl.fish",
}


class InstallTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="vantaro-install-")
        run = subprocess.run(["cmake", "--install", str(BUILD)], env={**os.environ, "DESTDIR": cls.folder.name},
                             capture_output=True, text=True)
        assert run.returncode == 0, run.stdout + run.stderr
        cls.root = Path(cls.folder.name)

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def test_every_file_is_where_it_belongs(self):
        found = {str(path.relative_to(self.root)) for path in self.root.rglob("*") if path.is_file()}
        self.assertEqual(EXPECTED - found, set())
        others = {f"{PREFIX}/bin/vantaro-manager"}
        self.assertEqual({path for path in found - EXPECTED - others if not path.startswith(f"{PREFIX}/share/locale/")}, set())

    def test_the_programs_run_from_there(self):
        for program in ("vantaro", "vantaroctl"):
            run = subprocess.run([str(self.root / PREFIX / "bin" / program), "--version"], capture_output=True, text=True)
            self.assertEqual(run.returncode, 0)
            self.assertTrue(run.stdout.startswith(program + " "), run.stdout)

    def test_the_interface_file_names_the_three_interfaces(self):
        node = ElementTree.parse(self.root / PREFIX / "share/dbus-1/interfaces/com.corvane.vantaro.xml").getroot()
        names = [interface.get("name") for interface in node.findall("interface")]
        self.assertEqual(names, ["com.corvane.vantaro.Events", "com.corvane.vantaro.Drives",
                                 "com.corvane.vantaro.Notifications"])

    def test_the_agent_starts_with_the_session(self):
        entry = configparser.ConfigParser(interpolation=None, strict=True)
        entry.optionxform = str
        entry.read(self.root / SETTINGS / "xdg/autostart/vantaro.desktop")
        desktop = entry["Desktop Entry"]
        self.assertEqual(desktop["Type"], "Application")
        self.assertTrue((self.root / PREFIX / "bin" / desktop["Exec"]).exists())
        self.assertEqual(desktop["Terminal"], "false")


if __name__ == "__main__":
    unittest.main()
