"""The agent as somebody drives it who has nothing but the bus tools of the system: busctl and gdbus."""

import json
import os
import subprocess
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path
from urllib.parse import quote, unquote

import support
from scripted import PROGRESS_KEYS, Scripted
from support import copies_folder, wait_until, write
from test_scripting import unarchived

ROOT = Path(__file__).resolve().parents[2]
NAME, PATH = "com.corvane.vantaro", "/com/corvane/vantaro"


class BusTools(Scripted):
    """What the agent is asked with busctl; its news are followed with gdbus."""

    def busctl(self, *arguments):
        return subprocess.run(["busctl", "--user", *arguments], env=self.world.env, capture_output=True, text=True)

    def call(self, interface, member, *arguments):
        """The reply's value, or the error's text."""
        run = self.busctl("--json=short", "--", "call", NAME, PATH, f"{NAME}.{interface}", member, *arguments)
        if run.returncode != 0:
            return run.stderr.strip()
        return json.loads(run.stdout)["data"][0] if run.stdout.strip() else None

    def event(self, event, drive, *parameters):
        """`parameters`: key, type code, signature and words of the value. The reply's descriptors by keyword."""
        url = b"file://" + quote(os.fsencode(drive)).encode()
        fields = [("----", "furl", "ay", octets(url)), *parameters]
        words = [str(len(fields))]
        for key, code, signature, value in fields:
            words += [key, code, signature, *value]
        reply = self.call("Events", "Send", "ssa{s(sv)}", "vnTR", event, *words)
        return {key: (code, plain(value)) for key, (code, value) in reply.items()}

    def follow(self):
        """The names and values of the signals from now on, as gdbus prints them, in a growing list of lines."""
        path = self.world.folder / "signals"
        with open(path, "wb") as file:
            monitor = subprocess.Popen(["gdbus", "monitor", "--session", "--dest", NAME, "--object-path", PATH],
                                       env=self.world.env, stdout=file, stderr=subprocess.DEVNULL)
        self.addCleanup(monitor.wait)
        self.addCleanup(monitor.terminate)
        wait_until(lambda: "is owned by" in path.read_text(), "gdbus to follow")
        return lambda: path.read_text()

    def test_a_whole_story(self):
        home, drive = self.world.home, self.drive
        write(home / "Music/m.mp3", b"music" * 1000)
        adopted = self.call("Drives", "Adopt", "s", str(drive))
        self.assertEqual(adopted["mountPoint"]["data"], str(drive))
        self.wait_until_idle()
        self.assertEqual([entry["mountPoint"]["data"] for entry in self.call("Drives", "List")], [str(drive)])

        both = [("furl", furl_bytes(home / folder)) for folder in ("Music", "Pictures")]
        self.assertEqual(self.event("GETL", drive), {"----": ("list", both)})
        items = [str(2)]
        for folder in ("Pictures", "Music"):
            items += ["furl", "ay", *octets(furl_bytes(home / folder))]
        self.assertEqual(self.event("SETL", drive, ("ITMZ", "list", "a(sv)", items)), {})

        def has_the_list():
            paths = [unquote(url.decode()) for _, url in self.event("GETL", drive)["----"][1]]
            return paths == [f"file://{home}/Pictures", f"file://{home}/Music"]

        wait_until(has_the_list, "the new list")
        self.wait_until_idle()

        write(home / "Music/new.mp3", b"new")
        news = self.follow()
        self.assertEqual(self.event("DOIT", drive), {})
        wait_until(lambda: (copies_folder(drive) / "Music/new.mp3").exists(), "the copy")
        wait_until(lambda: "'syncActivityType': <6>" in news().replace("<int64 ", "<").replace("<uint32 ", "<"),
                   "the sync's end")
        self.assertIn(f"'activePath': <'{drive}'>", news())
        self.assertEqual((copies_folder(drive) / "Music/new.mp3").read_bytes(), b"new")
        self.wait_until_idle()
        self.assertLessEqual(PROGRESS_KEYS, set(self.call("Drives", "Progress", "s", str(drive))))

        status = self.event("INFO", drive)
        self.assertEqual(status["STAT"][0], "STAT")
        user = unarchived(status["STAT"][1])[self.world.host_id]
        self.assertTrue(user["participateSyncEnabled"])

        self.assertEqual(self.event("REMV", drive), {"----": ("true", b"")})
        wait_until(lambda: self.event("QURY", drive) == {"----": ("fals", b"")}, "the removed configuration")
        self.assertFalse((drive / ".VantaroConfig").exists())
        self.assertIsNone(self.call("Drives", "Forget", "s", str(drive)))
        wait_until(lambda: f"Disappeared ('{drive}',)" in news(), "the drive's departure")
        self.assertEqual((copies_folder(drive) / "Music/new.mp3").read_bytes(), b"new")

    def test_errors_read_well(self):
        self.assertEqual(self.call("Drives", "Progress", "s", "/nowhere"), 'Call failed: "/nowhere" is not a served drive')
        self.assertEqual(self.event("QURY", "/nowhere"), {"----": ("fals", b""), "errn": ("long", b"\xff\xff\xff\xce"),
                                                          "errs": ("utf8", b"drive is not valid for sync")})
        self.assertEqual(self.call("Events", "Send", "ssa{s(sv)}", "vnTR", "NONE", "0"),
                         "Call failed: no command has the event class 'vnTR' and the id 'NONE'")

    def test_what_busctl_reads_is_what_is_installed(self):
        text = self.busctl("--xml-interface", "introspect", NAME, PATH)
        self.assertEqual(text.returncode, 0, text.stderr)
        installed = (ROOT / "packaging/com.corvane.vantaro.xml").read_text()
        self.assertEqual(text.stdout.strip(), installed.strip())
        listed = self.busctl("introspect", NAME, PATH)
        self.assertEqual(listed.returncode, 0, listed.stderr)
        self.assertEqual(members_of(listed.stdout), members_in(installed))


def members_of(listed):
    """(interface, kind, name, signature in, signature out) of busctl's table."""
    found, interface = set(), ""
    for line in listed.splitlines()[1:]:
        name, kind, *signatures = ("" if cell == "-" else cell for cell in line.split()[:4])
        if kind == "interface":
            interface = name
        else:
            found.add((interface, kind, name.removeprefix("."), *signatures))
    return found


def members_in(installed):
    found = set()
    for interface in ElementTree.fromstring(installed).findall("interface"):
        for member in interface:
            arguments = [(argument.get("type"), argument.get("direction", "in")) for argument in member.findall("arg")]
            signatures = ["".join(kind for kind, direction in arguments if direction == wanted) for wanted in ("in", "out")]
            found.add((interface.get("name"), member.tag, member.get("name"), *signatures))
    return found


def octets(data):
    """A byte array as busctl's arguments write it."""
    return [str(len(data)), *map(str, data)]


def furl_bytes(path):
    return b"file://" + quote(os.fsencode(path)).encode()


def plain(value):
    """What busctl prints of a descriptor's value: bytes or a list of descriptors."""
    if value["type"] == "ay":
        return bytes(value["data"])
    assert value["type"] == "a(sv)", value
    return [(code, plain(inner)) for code, inner in value["data"]]


if __name__ == "__main__":
    unittest.main()
