"""A drive is kept up to date without a command."""

import os
import time
import unittest

from support import SystemTest, World, copies_folder, let_pass, wait_until, write

QUIET = 10.0  # seconds between the last change and the sync


def content(path):
    try:
        return path.read_bytes()
    except OSError:
        return None


class ContinuousTest:
    """A drive that has had its first sync; mixed into the classes below, which run beside each other."""

    def setUp(self):
        self.world = World().__enter__()
        self.addCleanup(self.world.__exit__, None, None, None)
        self.home = self.world.home
        write(self.home / "Pictures/cat.png", b"cat")
        write(self.home / "Music/deep/down/song.mp3", b"song")
        self.drive = self.world.folder / "drive"
        self.drive.mkdir()
        self.world.start()
        self.world.adopt(self.drive)
        self.copies = copies_folder(self.drive)
        self.assertEqual(self.world.ctl("get", self.drive, "continuous").out, "on")

    def syncs(self):
        return sum("Synchronizing" in line for line in self.world.messages())

    def arrives(self, path, expected):
        wait_until(lambda: content(self.copies / path) == expected, f"{path} on the drive")

    def settle(self):
        """Waits until no sync is due any more: nothing runs for longer than the quiet period."""
        last = [self.syncs(), time.monotonic()]

        def quiet():
            if self.syncs() != last[0] or self.world.json("drives")[0]["busy"]:
                last[:] = [self.syncs(), time.monotonic()]
            return time.monotonic() - last[1] > QUIET + 3

        wait_until(quiet, "a quiet agent", 120)


class Edits(SystemTest, ContinuousTest):
    """What is changed arrives."""

    def setUp(self):
        ContinuousTest.setUp(self)

    def test_edits_arrive_after_the_quiet_period(self):
        self.settle()
        begun = time.monotonic()
        write(self.home / "Pictures/cat.png", b"another cat")
        self.arrives("Pictures/cat.png", b"another cat")
        self.assertGreaterEqual(time.monotonic() - begun, QUIET)
        # A new tree, all at once; then a change deep inside it.
        write(self.home / "Music/new/tree/of/one.mp3", b"one")
        self.arrives("Music/new/tree/of/one.mp3", b"one")
        write(self.home / "Music/new/tree/of/two.mp3", b"two")
        write(self.home / "Music/deep/down/song.mp3", b"louder song")
        self.arrives("Music/new/tree/of/two.mp3", b"two")
        self.arrives("Music/deep/down/song.mp3", b"louder song")

    def test_a_folder_that_was_replaced_is_still_watched(self):
        self.settle()
        os.rename(self.home / "Pictures", self.home / "Away")
        write(self.home / "Pictures/dog.png", b"dog")
        self.arrives("Pictures/dog.png", b"dog")
        write(self.home / "Pictures/fish.png", b"fish")
        self.arrives("Pictures/fish.png", b"fish")


class Several(SystemTest, ContinuousTest):
    """Two drives follow one home."""

    def setUp(self):
        ContinuousTest.setUp(self)
        self.other = self.world.folder / "other"
        self.other.mkdir()

    def watches(self):
        """Inode numbers of the folders in the lists that the agent has the kernel watch, each as often as it is watched."""
        mine = {folder.stat().st_ino for item in ("Pictures", "Music") for folder in [self.home / item,
                *(path for path in (self.home / item).rglob("*") if path.is_dir())]}
        folder = f"/proc/{self.world.agent.pid}/fdinfo"
        found = []
        for name in os.listdir(folder):
            try:
                with open(f"{folder}/{name}", encoding="ascii") as file:
                    found += [int(line.split()[2].removeprefix("ino:"), 16) for line in file
                              if line.startswith("inotify wd:")]
            except OSError:
                pass  # closed meanwhile
        return sorted(number for number in found if number in mine)

    def syncs_of(self, drive):
        return self.world.messages().count(f'Synchronizing "{drive.name}"...')

    def test_changes_in_a_row_are_handed_over_once_after_the_last(self):
        self.settle()
        before = self.syncs()
        for name in ("one", "two", "three"):
            write(self.home / f"Pictures/{name}.png", name.encode())
            last = time.monotonic()
            if name != "three":
                let_pass(4)
        for name in ("one", "two", "three"):
            self.arrives(f"Pictures/{name}.png", name.encode())
        self.assertGreaterEqual(time.monotonic() - last, QUIET)
        self.settle()
        self.assertEqual(self.syncs() - before, 1)

    def test_a_folder_of_two_drives_is_watched_once(self):
        self.settle()
        alone = self.watches()
        self.assertEqual(len(alone), 4)
        self.world.adopt(self.other)
        self.settle()
        self.assertEqual(self.watches(), alone)
        write(self.home / "Pictures/both.png", b"both")
        self.arrives("Pictures/both.png", b"both")
        wait_until(lambda: content(copies_folder(self.other) / "Pictures/both.png") == b"both", "the second copy")

    def test_a_drive_that_takes_no_part_receives_nothing(self):
        self.world.adopt(self.other)
        self.settle()
        self.world.ctl("set", self.other, "participate", "off")
        self.settle()
        before = self.syncs_of(self.other)
        write(self.home / "Pictures/mine.png", b"mine")
        self.arrives("Pictures/mine.png", b"mine")
        self.settle()
        self.assertEqual(self.syncs_of(self.other), before)
        self.assertIsNone(content(copies_folder(self.other) / "Pictures/mine.png"))
        self.world.ctl("set", self.drive, "participate", "off")
        wait_until(lambda: self.watches() == [], "an agent that watches nothing")


class Rush(SystemTest, ContinuousTest):
    """What is changed while a sync runs arrives too."""

    def setUp(self):
        ContinuousTest.setUp(self)

    def test_edits_while_a_sync_runs_arrive_too(self):
        for number in range(300):
            write(self.home / f"Pictures/many/{number}.png", b"x" * 100_000)
        self.world.ctl("start", self.drive)
        wait_until(lambda: (self.world.json("drives")[0]["busy"]), "the sync to begin")
        late = 0
        while self.world.json("drives")[0]["busy"]:
            write(self.home / f"Pictures/many/{late % 300}.png", b"late %d" % late)
            late += 1
        write(self.home / "Pictures/last.png", b"last")
        self.arrives("Pictures/last.png", b"last")
        self.settle()
        for number in range(300):
            name = f"Pictures/many/{number}.png"
            self.assertEqual(content(self.copies / name), content(self.home / name), name)


class Alone(SystemTest, ContinuousTest):
    """No session bus is at hand."""

    def setUp(self):
        ContinuousTest.setUp(self)

    def test_edits_arrive_without_a_session_bus(self):
        self.assertEqual(self.world.stop(), 0)
        self.world.env["DBUS_SESSION_BUS_ADDRESS"] = f"unix:path={self.world.folder}/no-bus"
        write(self.home / "Pictures/away.png", b"made while no agent ran")
        self.world.launch()
        self.arrives("Pictures/away.png", b"made while no agent ran")
        write(self.home / "Pictures/late.png", b"made while it ran")
        self.arrives("Pictures/late.png", b"made while it ran")
        self.assertEqual(self.world.stop(), 0)


class Quiet(SystemTest, ContinuousTest):
    """What starts no sync."""

    def setUp(self):
        ContinuousTest.setUp(self)

    def test_syncs_and_reading_start_no_sync(self):
        home = str(self.home)
        # The whole home, with the drive's own neighbours: log, work folders, settings and state stand in it.
        self.world.ctl("set-list", self.drive, home)
        self.world.finish(self.drive)
        self.settle()
        before = self.syncs()
        for folder, _, files in os.walk(self.home):
            for name in files:
                with open(os.path.join(folder, name), "rb") as file:
                    file.read()
        self.world.ctl("list", self.drive)
        deadline = time.monotonic() + QUIET + 5
        wait_until(lambda: time.monotonic() > deadline, "the time in which a sync would have begun")
        self.assertEqual(self.syncs(), before)

    def test_switched_off_nothing_arrives_and_on_again_it_does(self):
        self.settle()
        self.world.ctl("set", self.drive, "continuous", "off")
        self.settle()
        before = self.syncs()
        write(self.home / "Pictures/unseen.png", b"unseen")
        deadline = time.monotonic() + QUIET + 5
        wait_until(lambda: time.monotonic() > deadline, "the time in which a sync would have begun")
        self.assertEqual(self.syncs(), before)
        self.world.ctl("set", self.drive, "continuous", "on")
        write(self.home / "Pictures/seen.png", b"seen")
        self.arrives("Pictures/seen.png", b"seen")


if __name__ == "__main__":
    unittest.main()
