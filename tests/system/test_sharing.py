"""Several drives of one computer, and several computers of one drive."""

import concurrent.futures
import os
import unittest

from support import SystemTest, World, copies_folder, facts, wait_until, write

SECOND = 1_000_000_000


class TwoDrives(SystemTest):
    def setUp(self):
        self.world = World().__enter__()
        self.addCleanup(self.world.__exit__, None, None, None)
        home = self.world.home
        write(home / "Music/song.mp3", b"song" * 1000)
        write(home / "Pictures/cat.png", b"cat" * 1000)
        write(home / "Movies/notes.txt", b"notes")
        self.drives = [self.world.folder / "one", self.world.folder / "two"]
        for drive in self.drives:
            drive.mkdir()

    def test_each_drive_follows_its_own_list_and_filter(self):
        world, (one, two) = self.world, self.drives
        world.start()
        for drive in self.drives:
            world.adopt(drive)
        world.ctl("set", one, "music", "off")
        world.ctl("set-list", two, world.home / "Music")
        write(world.home / "Music/later.mp3", b"later")
        write(world.home / "Pictures/later.png", b"later")
        with concurrent.futures.ThreadPoolExecutor() as pool:
            self.assertEqual([run.returncode for run in pool.map(world.sync, self.drives)], [0, 0])
        self.assertFalse((copies_folder(one) / "Music/later.mp3").exists())
        self.assertEqual((copies_folder(one) / "Pictures/later.png").read_bytes(), b"later")
        self.assertEqual((copies_folder(two) / "Music/later.mp3").read_bytes(), b"later")
        self.assertFalse((copies_folder(two) / "Pictures/later.png").exists())
        # What was there stays, whatever the list and the filter say today.
        self.assertTrue((copies_folder(one) / "Music/song.mp3").exists())
        self.assertTrue((copies_folder(two) / "Pictures/cat.png").exists())

    def test_a_cancel_on_one_drive_leaves_the_other_running(self):
        world, (one, two) = self.world, self.drives
        world.start()
        for drive in self.drives:
            world.adopt(drive)
        for number in range(300):
            write(world.home / f"Pictures/many/{number}.png", os.urandom(100_000))
        with concurrent.futures.ThreadPoolExecutor() as pool:
            second = pool.submit(world.ctl, "start", two, "--wait", check=False)
            first = pool.submit(world.ctl, "start", one, "--wait", check=False)
            wait_until(lambda: world.json("progress", one).get("syncIsBusy") == 1 or first.done(), "the first sync")
            world.ctl("stop", one)
            self.assertEqual(second.result().returncode, 0)
            first.result()
        self.assertEqual(facts(copies_folder(two) / "Pictures"), facts(world.home / "Pictures"))
        self.assertEqual(world.sync(one).returncode, 0)
        self.assertEqual(facts(copies_folder(one) / "Pictures"), facts(world.home / "Pictures"))
        for drive in self.drives:
            self.assertNoWorkFolders(world, drive)


class TwoComputers(SystemTest):
    """Two agents, each with a home, a bus and a machine name of its own, and one drive."""

    def setUp(self):
        self.worlds = []
        for address, machine in (("0017F2A1B2C3", "studio"), ("001B63D4E5F6", "den")):
            world = World(address=address, machine=machine).__enter__()
            self.addCleanup(world.__exit__, None, None, None)
            write(world.home / "Music/song.mp3", b"song of " + machine.encode(), 1_500_000_000 * SECOND)
            write(world.home / f"Pictures/{machine}.png", machine, 1_500_000_000 * SECOND)
            self.worlds.append(world)
        self.drive = self.worlds[0].folder / "drive"
        self.drive.mkdir()

    def assertEverybodysEntriesAndCopies(self):
        config = self.worlds[0].config(self.drive)
        self.assertEqual(set(config["sync-user-list"]), {world.host_id for world in self.worlds})
        for world in self.worlds:
            self.assertEqual(config[world.host_id]["sync-computer-name"], world.machine)
            self.assertIn("local-last-sync-time", config[world.host_id])
            self.assertIn("items-to-sync", config["ptop-list"][world.host_id])
            copies = copies_folder(self.drive, world.machine)
            for item in ("Music", "Pictures"):
                self.assertEqual(facts(copies / item), facts(world.home / item), item)
        self.assertFalse((self.drive / "Archived Vantaro Backups").exists())

    def test_in_turn(self):
        for number in range(2):
            for world in self.worlds:
                write(world.home / f"Music/{number}.mp3", f"{number} of {world.machine}")
                world.start()
                if number == 0:
                    world.adopt(self.drive)
                self.assertEqual(world.sync(self.drive).returncode, 0)
                world.stop()
        self.assertEverybodysEntriesAndCopies()

    def test_at_the_same_time(self):
        for world in self.worlds:
            world.start()
        with concurrent.futures.ThreadPoolExecutor() as pool:
            list(pool.map(lambda world: world.adopt(self.drive), self.worlds))
            for number in range(3):
                for world in self.worlds:
                    for each in range(50):
                        write(world.home / f"Music/{number}/{each}.mp3", f"{each} of {world.machine}")
                done = list(pool.map(lambda world: world.sync(self.drive).returncode, self.worlds))
                self.assertEqual(done, [0, 0])
                changed = pool.map(lambda world: world.ctl("set", self.drive, "documents", "off").returncode, self.worlds)
                self.assertEqual(list(changed), [0, 0])
        for world in self.worlds:
            world.stop()
        self.assertEverybodysEntriesAndCopies()
        for world in self.worlds:
            self.assertFalse(world.config(self.drive)[world.host_id]["local-sync-documents"])
            self.assertNoWorkFolders(world, self.drive)


if __name__ == "__main__":
    unittest.main()
