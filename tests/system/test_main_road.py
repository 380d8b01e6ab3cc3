"""The main job as a person sees it: a folder of the computer arrives on a drive."""

import json
import os
import signal
import stat
import subprocess
import unittest
from pathlib import Path

from support import PATIENCE, LoopImage, SystemTest, World, copies_folder, facts, identities, wait_until, write
from test_watch import is_waiting

SECOND = 1_000_000_000


def sample_home(world):
    home = world.home
    write(home / "Pictures/Holiday 2019/beach.jpg", b"\xff\xd8beach" * 1000, 1_560_000_000 * SECOND + 123_456_789)
    write(home / "Pictures/cat.png", b"cat", 1_500_000_000 * SECOND + 1, 0o600)
    write(home / "Music/Björk - song.mp3", b"mp3" * 4096, 1_400_000_000 * SECOND + 999_999_999, 0o444)
    write(home / "Music/empty.wav", b"", 1_300_000_000 * SECOND)
    write(home / "Movies/notes.txt", b"notes", 1_200_000_000 * SECOND, 0o640)
    os.setxattr(home / "Pictures/cat.png", "user.comment", b"a cat")
    os.symlink("cat.png", home / "Pictures/link.png")
    write(home / "Documents/not on the list.txt", b"stays")


class MainRoad(SystemTest):
    def setUp(self):
        self.world = World().__enter__()
        self.addCleanup(self.world.__exit__, None, None, None)
        sample_home(self.world)
        self.drive = self.world.folder / "drive"
        self.drive.mkdir()

    def test_first_sync_copies_everything_exactly(self):
        self.world.start()
        self.world.adopt(self.drive)
        copies = copies_folder(self.drive)
        for item in ("Pictures", "Music", "Movies"):
            expected = facts(self.world.home / item)
            self.assertEqual(facts(copies / item), expected, item)
        self.assertFalse((copies / "Documents").exists())
        self.assertNoWorkFolders(self.world, self.drive)
        self.assertLogged(self.world, 'completed successfully.')

    def test_configuration_holds_exactly_its_keys(self):
        self.world.start()
        self.world.adopt(self.drive)
        config = self.world.config(self.drive)
        user = self.world.host_id
        self.assertEqual(set(config), {"config-version", "sync-type", "ptop-list", "sync-user-list", user})
        self.assertEqual((config["config-version"], config["sync-type"]), (3, "ptop"))
        self.assertEqual(config["sync-user-list"], [user])
        self.assertEqual(config["ptop-list"][user]["items-to-sync"], ["~/Movies", "~/Music", "~/Pictures"])
        self.assertEqual(set(config["ptop-list"][user]), {"sync-path", "items-to-sync"})
        settings = config[user]
        last_sync = settings.pop("local-last-sync-time")
        self.assertEqual(last_sync.microsecond, 0)
        name = settings.pop("sync-computer-name")
        self.assertEqual(name, config["ptop-list"][user]["sync-path"])
        self.assertEqual(
            settings,
            {
                "local-sync-movies": True,
                "local-sync-music": True,
                "local-sync-pictures": True,
                "local-sync-documents": True,
                "local-sync-devicefilters": 1,
                "local-participate-in-sync": True,
                "local-continuous-sync": True,
                "local-quiet-sync": True,
                "sync-user-list": [user],
            },
        )
        mode = stat.S_IMODE((self.drive / ".VantaroConfig").stat().st_mode)
        self.assertEqual(mode, 0o666)

    def test_second_sync_copies_nothing_and_says_so(self):
        self.world.start()
        self.world.adopt(self.drive)
        before = identities(copies_folder(self.drive))
        run = self.world.sync(self.drive)
        self.assertIn("Nothing was copied", run.out)
        self.assertEqual(identities(copies_folder(self.drive)), before)
        self.assertNoWorkFolders(self.world, self.drive)

    def test_an_edited_file_goes_over_alone(self):
        self.world.start()
        self.world.adopt(self.drive)
        copies = copies_folder(self.drive)
        before = identities(copies)
        write(self.world.home / "Pictures/cat.png", b"another cat", mode=0o600)
        self.world.sync(self.drive)
        after = identities(copies)
        changed = {path for path in after if before.get(path) != after[path]}
        self.assertEqual(changed, {"Pictures/cat.png"})
        self.assertEqual((copies / "Pictures/cat.png").read_bytes(), b"another cat")
        self.assertNoWorkFolders(self.world, self.drive)

    def test_list_can_be_read_and_changed(self):
        self.world.start()
        self.world.adopt(self.drive)
        home = str(self.world.home)
        self.assertEqual(self.world.json("list", self.drive), [f"{home}/Movies", f"{home}/Music", f"{home}/Pictures"])
        self.world.ctl("set-list", self.drive, f"{home}/Documents")
        self.assertEqual(self.world.json("list", self.drive), [f"{home}/Documents"])
        self.world.ctl("add", self.drive, f"{home}/Music")
        self.world.ctl("drop", self.drive, f"{home}/Documents")
        self.assertEqual(self.world.json("list", self.drive), [f"{home}/Music"])
        self.world.finish(self.drive)
        config = self.world.config(self.drive)
        self.assertEqual(config["ptop-list"][self.world.host_id]["items-to-sync"], ["~/Music"])
        # What left the list stays on the drive.
        self.assertTrue((copies_folder(self.drive) / "Pictures/cat.png").exists())
        self.assertTrue((copies_folder(self.drive) / "Documents/not on the list.txt").exists())

    def test_drives_shows_every_field(self):
        self.world.start()
        self.world.adopt(self.drive)
        drives = self.world.json("drives")
        self.assertEqual(len(drives), 1)
        fields = "mountPoint name key fileSystem totalBytes freeBytes busy participating continuous quiet movies music " \
            "pictures documents deviceFilter syncList lastSyncTime wireless serviceName"
        self.assertEqual(set(drives[0]), set(fields.split()))
        self.assertEqual(drives[0]["mountPoint"], str(self.drive))
        self.assertEqual(drives[0]["name"], "drive")
        self.assertEqual(drives[0]["deviceFilter"], 1)
        self.assertRegex(drives[0]["lastSyncTime"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
        self.assertIs(drives[0]["wireless"], False)
        self.assertIsNone(drives[0]["serviceName"])

    def test_adopting_answers_with_the_drive_as_it_was_set_up(self):
        self.world.start()
        for number in range(10):
            drive = self.world.folder / f"drive {number}"
            drive.mkdir()
            answer = self.world.json("adopt", drive)
            self.assertEqual(answer["mountPoint"], str(drive))
            self.assertIs(answer["participating"], True)
            self.assertIs(answer["continuous"], True)
            self.assertEqual(answer["deviceFilter"], 1)
            self.assertNotEqual(answer["syncList"], [])

    def test_progress_has_exactly_its_keys(self):
        self.world.start()
        self.world.adopt(self.drive)
        keys = {"syncActivityType", "syncIsBusy", "syncCancelPending", "syncSize", "syncSkipFilter", "syncSkipPresent",
                "syncCopied", "syncUnaccounted"}
        progress = {}

        def idle():
            # A second sync may follow the one on connect: while it runs, the dictionary also names its path.
            progress["keys"] = set(self.world.json("progress", self.drive))
            return "activePath" not in progress["keys"]

        wait_until(idle, "the drive's rest")
        self.assertEqual(progress["keys"], keys)

    def test_switches_are_kept(self):
        self.world.start()
        self.world.adopt(self.drive)
        for name in ("continuous", "movies", "music", "pictures", "documents", "participate"):
            self.world.ctl("set", self.drive, name, "off")
            self.assertEqual(self.world.ctl("get", self.drive, name).out, "off", name)
            self.world.ctl("set", self.drive, name, "on")
            self.assertEqual(self.world.ctl("get", self.drive, name).out, "on", name)
        self.world.ctl("set", self.drive, "device-filter", "kindle-fire")
        self.assertEqual(self.world.ctl("get", self.drive, "device-filter").out, "6")
        self.assertEqual(self.world.ctl("get", self.drive, "valid").out, "on")
        self.assertEqual(self.world.ctl("query", self.drive).out, "true")

    def test_adoption_is_remembered_and_a_drive_can_be_let_go(self):
        self.world.start()
        self.world.adopt(self.drive)
        self.assertEqual(self.world.stop(), 0)
        self.world.start()
        wait_until(lambda: len(self.world.json("drives")) == 1, "the remembered drive")
        self.world.ctl("forget", self.drive)
        wait_until(lambda: self.world.json("drives") == [], "the drive's departure")
        self.assertTrue((copies_folder(self.drive) / "Pictures/cat.png").exists())
        self.assertEqual(self.world.ctl("query", self.drive, check=False).returncode, 1)

    def test_watch_prints_the_activity_of_a_sync(self):
        self.world.start()
        path = self.world.folder / "watched"
        with open(path, "wb") as file:
            watch = subprocess.Popen([os.environ.get("VANTARO_CTL", str(self.bin() / "vantaroctl")), "watch"],
                                     env=self.world.env, stdout=file)

        def types():
            return {json.loads(line)["syncActivityType"] for line in path.read_text().splitlines(True) if line.endswith("\n")}

        wait_until(lambda: is_waiting(watch.pid), "the watching")
        self.world.adopt(self.drive)
        wait_until(lambda: {1, 2, 3, 6} <= types(), "every activity of a sync")
        watch.terminate()
        self.assertEqual(watch.wait(PATIENCE), 130)

    def bin(self):
        import support
        return support.BIN

    def test_log_file_tells_the_story(self):
        self.world.start()
        self.world.adopt(self.drive)
        self.world.stop()
        messages = self.world.messages()
        self.assertEqual(messages[0], "-" * 52)
        self.assertEqual(messages[1], "Vantaro starting.")
        self.assertRegex(messages[2], r"^Vantaro v\d")
        self.assertIn('Synchronizing "drive"...', messages)
        self.assertIn('Processing "Pictures".', messages)
        self.assertIn('Synchronization of "drive" completed successfully.', messages)
        self.assertEqual(messages[-1], "Mirrorly stopping.")

    def test_signals_end_it_in_order(self):
        for number, how in enumerate((signal.SIGTERM, signal.SIGINT, signal.SIGHUP), 1):
            self.world.start()
            self.assertEqual(self.world.stop(how), 0, how)
            self.assertEqual(self.world.messages().count("Mirrorly stopping."), number, how)

    def test_a_hang_up_that_is_ignored_stays_ignored(self):
        self.world.start(wrapper=["nohup"])
        self.world.agent.send_signal(signal.SIGHUP)
        self.assertEqual(self.world.json("drives"), [])
        self.assertEqual(self.world.stop(), 0)

    def test_a_second_agent_leaves_the_first_alone(self):
        self.world.start()
        second = subprocess.run([str(self.bin() / "vantaro")], env=self.world.env, capture_output=True, text=True,
                                timeout=PATIENCE)
        self.assertEqual(second.returncode, 0)
        self.assertIn("already running", second.stdout)
        self.assertEqual(self.world.json("drives"), [])

    def test_quit_ends_the_agent(self):
        self.world.start()
        self.world.ctl("quit")
        self.assertEqual(self.world.agent.wait(timeout=PATIENCE), 0)
        self.assertEqual(self.world.ctl("drives", check=False).returncode, 3)


class RealVolume(SystemTest):
    def test_an_ext4_image_on_a_loop_device_is_a_drive(self):
        with World() as world, LoopImage(world.folder) as image:
            sample_home(world)
            world.start()
            world.adopt(image.mount_point)
            copies = copies_folder(image.mount_point)
            for item in ("Pictures", "Music", "Movies"):
                self.assertEqual(facts(copies / item), facts(world.home / item), item)
            drive = world.json("drives")[0]
            self.assertEqual(drive["fileSystem"], "ext4")
            self.assertRegex(drive["key"], r"^disk\d+s\d+$")
            self.assertNoWorkFolders(world, image.mount_point)


class TwoUsers(SystemTest):
    def test_two_computers_keep_their_lists_and_copies_apart(self):
        with World(address="0017F2A1B2C3", machine="studio") as ann, World(address="001B63D4E5F6", machine="den") as bob:
            drive = ann.folder / "drive"
            drive.mkdir()
            write(ann.home / "Pictures/p.jpg", b"ann's")
            write(bob.home / "Pictures/p.jpg", b"bob's")
            write(bob.home / "Music/m.mp3", b"music")
            ann.start()
            ann.adopt(drive)
            bob.start()
            bob.adopt(drive)
            bob.ctl("set-list", drive, bob.home / "Music")
            bob.finish(drive)
            ann.sync(drive)
            self.assertEqual((copies_folder(drive, "studio") / "Pictures/p.jpg").read_bytes(), b"ann's")
            self.assertEqual((copies_folder(drive, "den") / "Pictures/p.jpg").read_bytes(), b"bob's")
            self.assertEqual((copies_folder(drive, "den") / "Music/m.mp3").read_bytes(), b"music")
            config = ann.config(drive)
            self.assertEqual(config["ptop-list"][ann.host_id]["items-to-sync"], ["~/Pictures"])
            self.assertEqual(config["ptop-list"][bob.host_id]["items-to-sync"], ["~/Music"])
            self.assertEqual(sorted(config["sync-user-list"]), sorted([ann.host_id, bob.host_id]))
            self.assertEqual(config[ann.host_id]["sync-computer-name"], "studio")
            self.assertEqual(config[bob.host_id]["sync-computer-name"], "den")


if __name__ == "__main__":
    unittest.main()
