"""Four people write into two hundred folders while syncs run. Once they stop, one quiet period and one sync later the
drive equals the computer.

VANTARO_STORY_SECONDS sets how long they write (15): such stories are new ones. VANTARO_STORY_SEED makes a story again."""

import os
import random
import signal
import subprocess
import sys
import threading
import time
import unittest
from pathlib import Path

from support import PATIENCE, LoopImage, SystemTest, World, copies_folder, let_pass, wait_until

SECONDS = float(os.environ.get("VANTARO_STORY_SECONDS", "15"))
USUAL_SEED = time.time_ns() % 1_000_000 if "VANTARO_STORY_SECONDS" in os.environ else 20130521
SEED = int(os.environ.get("VANTARO_STORY_SEED", USUAL_SEED))
ITEMS = ("Pictures", "Music", "Work")
FOLDERS = 200
WRITERS = 4
QUIET = 10.0  # seconds between the last change and its sync
SLACK = 1.5  # until a change was told of, and until the drive's worker has taken its task


def content_of(root):
    """Date and content of every file below `root`. No links: they are only copied as part of a new folder."""
    found = {}
    for folder, _, files in os.walk(os.fsencode(root)):
        for name in files:
            path = os.path.join(folder, name)
            if not os.path.islink(path):
                with open(path, "rb") as file:
                    key = os.fsdecode(os.path.relpath(path, os.fsencode(root)))
                    found[key] = (os.fstat(file.fileno()).st_mtime_ns, file.read())
    return found


class LivingHome(SystemTest):
    def setUp(self):
        self.dice = random.Random(SEED)
        print(f"story {SEED}", file=sys.stderr)
        self.world = World().__enter__()
        self.addCleanup(self.world.__exit__, None, None, None)
        self.folders = [self.world.home / ITEMS[number % 3] / f"folder {number}" for number in range(FOLDERS)]
        for folder in self.folders:
            folder.mkdir(parents=True)
        self.writers = []
        self.addCleanup(self.stop_writing)

    def begin(self, drive):
        self.drive = Path(drive)
        self.world.start()
        self.world.adopt(self.drive)
        self.world.ctl("set-list", self.drive, *(self.world.home / item for item in ITEMS))
        self.world.finish(self.drive)
        self.copies = copies_folder(self.drive)

    def start_writing(self):
        script = Path(__file__).with_name("writers.py")
        for number in range(WRITERS):
            command = [sys.executable, "-B", script, str(SEED * 10 + number), *self.folders]
            self.writers.append(subprocess.Popen([os.fspath(word) for word in command]))

    def stop_writing(self):
        for writer in self.writers:
            writer.send_signal(signal.SIGTERM)
        for writer in self.writers:
            writer.wait()
        self.writers = []

    def syncs(self):
        return sum("Synchronizing" in line for line in self.world.messages())

    def busy(self):
        drives = self.world.json("drives")
        return not drives or drives[0]["busy"]

    def is_over(self, begun):
        """The sync of the last change has ended, or none was due; asked from one quiet period after `begun`."""
        deadline = begun + QUIET + SLACK
        wait_until(lambda: time.monotonic() > deadline and not self.busy(), "the last sync", 2 * PATIENCE)

    def is_equal(self):
        if self.busy():
            return False
        expected = content_of(self.world.home)
        try:
            found = content_of(self.copies)
        except FileNotFoundError:  # a sync has begun meanwhile
            return False
        return all(found.get(key) == expected[key] for key in expected if key.startswith(ITEMS))

    def expect_equal(self):
        """Nothing is edited any more. A busy computer may be late in telling of the last edit; a lost one never comes."""
        begun = time.monotonic()
        try:
            wait_until(self.is_equal, "the last edit", PATIENCE)
        except AssertionError:
            pass  # what differs is told below
        print(f"equal {time.monotonic() - begun:.1f} s after its time", file=sys.stderr)
        expected, found = content_of(self.world.home), content_of(self.copies)
        self.assertGreater(len([key for key in expected if key.startswith(ITEMS)]), 100)
        wrong = []
        for key in sorted(key for key in expected if key.startswith(ITEMS)):
            if found.get(key) != expected[key]:
                wrong.append(f"{key}: {self.short(expected[key])} on the computer, {self.short(found.get(key))}")
        self.assertEqual(wrong, [], f"story {SEED}: {len(wrong)} of {len(expected)} differ after {self.syncs()} syncs")

    @staticmethod
    def short(value):
        return value and (value[0], len(value[1]), value[1][:20])

    def play(self):
        self.start_writing()
        end = time.monotonic() + SECONDS
        while time.monotonic() < end:
            self.world.ctl("start", self.drive, check=False)  # refused while one runs
            let_pass(self.dice.random() * 0.5)
        self.stop_writing()
        begun = time.monotonic()
        before = self.syncs()
        self.is_over(begun)
        self.expect_equal()
        self.assertGreater(before, 1)
        self.assertIn("completed successfully", self.world.messages()[-1] + self.world.messages()[-2])

    def play_with_kills(self):
        self.start_writing()
        end = time.monotonic() + SECONDS
        kills = 0
        while time.monotonic() < end:
            self.world.ctl("start", self.drive, check=False)
            if self.dice.random() < 0.5:
                let_pass(self.dice.random() * 2)
            self.world.stop(signal.SIGKILL)
            kills += 1
            let_pass(self.dice.random() * 2)
            self.world.start()
        self.stop_writing()
        if self.dice.random() < 0.5:  # the last edits were made while no agent ran
            self.world.stop(signal.SIGKILL)
            self.world.start()
        self.is_over(time.monotonic() + 2)  # the sync on connect
        self.expect_equal()
        self.assertGreater(kills, 0)

    def test_a_folder_drive_is_equal_after_the_storm(self):
        self.begin(self.make_folder_drive())
        self.play()

    def test_a_mounted_drive_is_equal_after_the_storm(self):
        with LoopImage(self.world.folder, megabytes=4000) as drive:
            self.begin(drive.mount_point)
            self.play()
            self.world.stop()

    def test_a_killed_agent_loses_nothing(self):
        self.begin(self.make_folder_drive())
        self.play_with_kills()

    def make_folder_drive(self):
        drive = self.world.folder / "drive"
        drive.mkdir()
        return drive


if __name__ == "__main__":
    unittest.main()
