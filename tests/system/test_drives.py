"""Which drives are taken into service when they are attached, and that no other is ever touched."""

import os
import plistlib
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

from drive_ground import Drive
from support import BIN, PATIENCE, SLOWER, SystemTest, World, copies_folder, facts, wait_until, write


class DriveTest:
    def setUp(self):
        self.world = World().__enter__()
        self.addCleanup(self.end_of_the_world)
        write(self.world.home / "Pictures/p.jpg", b"picture")
        write(self.world.home / "Music/m.mp3", b"music")

    def end_of_the_world(self):
        result = self._outcome.result
        failed = any(test is self for test, _ in result.failures + result.errors)
        self.world.__exit__(AssertionError if failed else None, None, None)

    def drive(self, name="drive", kind="ext4", megabytes=32):
        drive = Drive(self.world.folder, name, kind, megabytes)
        self.addCleanup(drive.__exit__, None, None, None)
        return drive

    def served(self):
        return [drive["mountPoint"] for drive in self.world.json("drives")]

    def reason(self, mount_point):
        rows = [row for row in self.world.json("volumes") if row["mountPoint"] == str(mount_point)]
        self.assertEqual(len(rows), 1, f"{mount_point} is listed once")
        self.assertEqual(rows[0]["served"], rows[0].get("reason") is None)
        return rows[0].get("reason")

    def syncs_by_itself(self, mount_point):
        """The whole home arrives on the drive without a command."""
        def arrived():
            try:
                copies = copies_folder(mount_point)
                return all(facts(copies / item) == facts(self.world.home / item) for item in ("Pictures", "Music"))
            except (AssertionError, FileNotFoundError):
                return False
        wait_until(arrived, f"a sync of {mount_point} by itself")
        wait_until(lambda: not any(drive["busy"] for drive in self.world.json("drives")), "the end of the sync")

    def forget_adoptions(self):
        (self.world.home / ".config/com.corvane.vantaro/adopted-drives.plist").unlink()


class Arrival(SystemTest, DriveTest):
    def setUp(self):
        DriveTest.setUp(self)

    def test_an_adopted_volume_syncs_whenever_it_is_attached_again(self):
        drive = self.drive().mount()
        self.world.start()
        self.world.adopt(drive.mount_point)
        drive.let_go()
        wait_until(lambda: self.served() == [], "the departure")
        write(self.world.home / "Pictures/new.jpg", b"taken while it was away")
        # Known by its UUID: wherever it is mounted, it is the same drive.
        elsewhere = self.world.folder / "elsewhere"
        elsewhere.mkdir()
        drive.mount(at=elsewhere)
        self.syncs_by_itself(elsewhere)
        self.assertEqual(self.served(), [str(elsewhere)])
        self.assertIsNone(self.reason(elsewhere))

    def test_a_volume_whose_configuration_names_this_user_syncs_by_itself(self):
        drive = self.drive().mount()
        self.world.start()
        self.world.adopt(drive.mount_point)
        self.world.stop()
        drive.let_go()
        self.forget_adoptions()
        self.world.start()
        self.assertEqual(self.served(), [])
        write(self.world.home / "Music/new.mp3", b"new")
        drive.mount()
        self.syncs_by_itself(drive.mount_point)

    def test_a_volume_that_nobody_chose_stays_as_it_is_byte_for_byte(self):
        stranger = self.drive("stranger").mount("strictatime")
        write(stranger.mount_point / "letters/of somebody else.txt", b"not yours")
        late = self.drive("late")
        chosen = self.drive("chosen").mount()
        before = stranger.bytes()
        self.world.start()
        self.world.adopt(chosen.mount_point)
        self.assertEqual(self.reason(stranger.mount_point), "it was not adopted")
        late.mount("strictatime")
        late_before = late.bytes()
        wait_until(lambda: any(row["mountPoint"] == str(late.mount_point) for row in self.world.json("volumes")), "late")
        self.world.sync(chosen.mount_point)
        self.assertEqual(self.reason(late.mount_point), "it was not adopted")
        self.world.stop()
        self.assertTrue(stranger.bytes() == before, "the image of the stranger changed")
        self.assertTrue(late.bytes() == late_before, "the image of the late stranger changed")
        self.assertEqual(list((self.world.home / ".local/state/vantaro").glob("*stranger*")), [])

    def test_a_drive_of_other_people_only_is_left_alone_until_it_is_adopted(self):
        drive = self.drive().mount("strictatime")
        other = {
            "config-version": 3,
            "sync-type": "ptop",
            "sync-user-list": ["001B63D4E5F6-1000"],
            "001B63D4E5F6-1000": {"sync-computer-name": "den", "local-participate-in-sync": True},
            "ptop-list": {"001B63D4E5F6-1000": {"sync-path": "den", "items-to-sync": ["~/Music"]}},
        }
        write(drive.mount_point / ".VantaroConfig", plistlib.dumps(other))
        before = drive.bytes()
        chosen = self.drive("chosen").mount()
        self.world.start()
        self.world.adopt(chosen.mount_point)
        self.assertEqual(self.reason(drive.mount_point), "it was not adopted")
        self.assertEqual(self.world.ctl("query", drive.mount_point, check=False).returncode, 1)
        self.assertTrue(drive.bytes() == before, "the image changed")
        self.world.adopt(drive.mount_point)
        self.syncs_by_itself(drive.mount_point)
        config = self.world.config(drive.mount_point)
        self.assertEqual(config["001B63D4E5F6-1000"], other["001B63D4E5F6-1000"])
        self.assertEqual(config["ptop-list"]["001B63D4E5F6-1000"], other["ptop-list"]["001B63D4E5F6-1000"])
        self.assertEqual(config["sync-user-list"], ["001B63D4E5F6-1000", self.world.host_id])

    def test_a_drive_full_of_files_in_the_place_of_the_configuration(self):
        rows = {"folder": lambda path: write(path / "inside.txt"), "pipe": os.mkfifo,
                "link": lambda path: os.symlink("/etc/hostname", path), "loop": lambda path: os.symlink(path, path)}
        drives = {}
        for name, make in rows.items():
            drives[name] = self.drive(name).mount("strictatime")
            make(drives[name].mount_point / ".VantaroConfig")
        before = {name: drive.bytes() for name, drive in drives.items()}
        chosen = self.drive("chosen").mount()
        self.world.start()
        self.world.adopt(chosen.mount_point)
        for name, drive in drives.items():
            self.assertEqual(self.reason(drive.mount_point), "it was not adopted", name)
            self.assertTrue(drive.bytes() == before[name], f"{name}: the image changed")
        # Adopted, what stands there is never taken for a configuration and never lost.
        hostname = Path("/etc/hostname").read_bytes()
        for name, drive in drives.items():
            self.world.ctl("adopt", drive.mount_point)
            self.world.finish(drive.mount_point)
            self.assertIn(str(drive.mount_point), self.served())
        self.assertEqual(Path("/etc/hostname").read_bytes(), hostname)
        self.assertTrue((drives["folder"].mount_point / ".VantaroConfig/inside.txt").exists())

    def test_an_adoption_is_remembered_and_forgetting_ends_it(self):
        drive = self.drive().mount()
        self.world.start()
        self.world.adopt(drive.mount_point)
        self.world.stop()
        write(self.world.home / "Pictures/later.jpg", b"later")
        self.world.start()
        self.syncs_by_itself(drive.mount_point)
        self.world.ctl("forget", drive.mount_point)
        wait_until(lambda: self.served() == [], "the departure")
        # Its configuration still names the user: a person's word counts more.
        self.assertEqual(self.reason(drive.mount_point), "it was let go by a person")
        copied = facts(copies_folder(drive.mount_point))
        self.world.stop()
        write(self.world.home / "Pictures/last.jpg", b"last")
        self.world.start()
        chosen = self.drive("chosen").mount()
        self.world.adopt(chosen.mount_point)
        self.assertEqual(self.reason(drive.mount_point), "it was let go by a person")
        self.assertEqual(facts(copies_folder(drive.mount_point)), copied)
        self.world.adopt(drive.mount_point)
        self.syncs_by_itself(drive.mount_point)

    def test_a_read_only_volume_is_not_served_and_says_why(self):
        drive = self.drive().mount()
        self.world.start()
        self.world.adopt(drive.mount_point)
        drive.let_go()
        wait_until(lambda: self.served() == [], "the departure")
        drive.mount("ro")
        wait_until(lambda: any(row["mountPoint"] == str(drive.mount_point) for row in self.world.json("volumes")), "it")
        self.assertEqual(self.reason(drive.mount_point), "it is read-only")
        self.assertEqual(self.served(), [])

    def test_mount_points_of_any_name(self):
        names = ["with space", "it's \"quoted\"", "new\nline", "snow ☃ Ünï", "back\\slash\\040", "%@ %s"]
        self.world.start()
        for name in names:
            with self.subTest(name=name):
                drive = self.drive(name).mount()
                self.world.adopt(drive.mount_point)
                self.assertEqual(facts(copies_folder(drive.mount_point) / "Pictures"), facts(self.world.home / "Pictures"))
                self.assertEqual(len(self.served()), 1)
                wait_until(lambda: self.world.ctl("eject", drive.mount_point, check=False).returncode == 0, "the eject")
                self.assertFalse(os.path.ismount(drive.mount_point))
                drive.left()
                wait_until(lambda: self.served() == [], "the departure")

    def test_a_mount_point_that_is_no_text_is_served_like_others(self):
        drive = self.drive().mount()
        self.world.start()
        self.world.adopt(drive.mount_point)
        drive.let_go()
        odd = os.path.join(os.fsencode(self.world.folder), b"caf\xe9")
        os.mkdir(odd)
        write(self.world.home / "Pictures/new.jpg", b"new")
        drive.mount(at=os.fsdecode(odd))
        self.syncs_by_itself(os.fsdecode(odd))
        self.assertEqual(len(self.served()), 1)

    def test_bind_mounts_and_remounts_change_nothing(self):
        drive = self.drive().mount()
        self.world.start()
        self.world.adopt(drive.mount_point)
        before = self.world.json("drives")
        twin = self.world.folder / "twin"
        twin.mkdir()
        subprocess.run(["mount", "--bind", str(drive.mount_point), str(twin)], check=True)
        self.addCleanup(subprocess.run, ["umount", "-l", str(twin)], capture_output=True)
        subprocess.run(["mount", "-o", "remount,noatime", str(drive.mount_point)], check=True)
        self.world.sync(drive.mount_point)
        self.assertEqual(self.served(), [str(drive.mount_point)])
        self.assertEqual(self.world.json("drives")[0]["key"], before[0]["key"])
        self.assertFalse(any(row["mountPoint"] == str(twin) for row in self.world.json("volumes")))
        subprocess.run(["umount", str(twin)], check=True)
        self.world.sync(drive.mount_point)
        self.assertEqual(self.served(), [str(drive.mount_point)])

    def test_a_moved_mount_leaves_and_arrives(self):
        moves = self.world.folder / "moves"
        moves.mkdir()
        subprocess.run(["mount", "-t", "tmpfs", "moves", str(moves)], check=True)
        self.addCleanup(subprocess.run, ["umount", "-l", str(moves)], capture_output=True)
        subprocess.run(["mount", "--make-private", str(moves)], check=True)
        for at in ("from", "to"):
            (moves / at).mkdir()
        drive = self.drive().mount(at=moves / "from")
        self.world.start()
        self.world.adopt(moves / "from")
        write(self.world.home / "Pictures/moved.jpg", b"moved")
        subprocess.run(["mount", "--move", str(moves / "from"), str(moves / "to")], check=True)
        drive.mounted = [moves / "to"]
        wait_until(lambda: self.served() == [str(moves / "to")], "the drive at its new place")
        self.syncs_by_itself(moves / "to")
        self.assertEqual(os.listdir(moves / "from"), [])

    def test_a_folder_drive_goes_with_its_folder_and_comes_back(self):
        folder = self.world.folder / "folder"
        folder.mkdir()
        self.world.start()
        self.world.adopt(folder)
        folder.rename(self.world.folder / "away")
        wait_until(lambda: self.served() == [], "the departure")
        write(self.world.home / "Pictures/meanwhile.jpg", b"meanwhile")
        (self.world.folder / "away").rename(folder)
        self.syncs_by_itself(folder)

    def test_the_sync_starts_within_a_second_of_its_time(self):
        drive = self.drive().mount()
        self.world.start()
        self.world.adopt(drive.mount_point)
        # What else the computer does can only make it later, and with it the mount itself.
        waited = []
        while len(waited) < 1 or min(waited) >= 2 and len(waited) < 8:
            drive.let_go()
            wait_until(lambda: self.served() == [], "the departure")
            count = self.world.messages().count('Synchronizing "drive"...')
            begun = time.monotonic()
            drive.mount()
            wait_until(lambda: self.world.messages().count('Synchronizing "drive"...') > count, "the sync on connect")
            waited.append(time.monotonic() - begun)
            self.assertGreaterEqual(waited[-1], 1, "it is due one second after the arrival")
            wait_until(lambda: not self.world.json("drives")[0]["busy"], "its end")
        print("from the mount to the start of the sync:", ", ".join(f"{time:.2f} s" for time in waited), flush=True)
        self.assertLess(min(waited), 5 * SLOWER, "no other wait lies in between")

    def test_drives_are_served_wherever_a_person_mounts_them(self):
        self.world.start()
        for base in ("/mnt", "/media", "/run/media/ada", "/srv", "/opt", "/var", "/var/tmp", "/var/backups", self.world.home):
            with self.subTest(base=str(base)):
                if not os.path.isdir(base):
                    os.makedirs(base)
                    self.addCleanup(os.removedirs, base)
                place = Path(tempfile.mkdtemp(prefix="vantaro-test-", dir=base))
                self.addCleanup(place.rmdir)
                drive = self.drive(str(len(os.listdir(self.world.folder)))).mount(at=place)
                wait_until(lambda: any(row["mountPoint"] == str(place) for row in self.world.json("volumes")), "its report")
                self.assertEqual(self.reason(place), "it was not adopted")
                self.world.adopt(place)
                self.assertEqual(self.served(), [str(place)])
                self.assertEqual(facts(copies_folder(place) / "Music"), facts(self.world.home / "Music"))
                drive.let_go()
                wait_until(lambda: self.served() == [], "the departure")

    def test_drives_in_the_systems_own_places_are_not(self):
        self.world.start()
        for base in ("/run", "/var/lib", "/usr/local"):
            with self.subTest(base=base):
                place = Path(tempfile.mkdtemp(prefix="vantaro-test-", dir=base))
                self.addCleanup(place.rmdir)
                hidden = self.drive(f"hidden {len(os.listdir(self.world.folder))}").mount(at=place)
                mark = self.drive(f"mark {len(os.listdir(self.world.folder))}").mount()
                wait_until(lambda: any(row["mountPoint"] == str(mark.mount_point) for row in self.world.json("volumes")),
                           "a later mount")
                self.assertFalse([row for row in self.world.json("volumes") if row["mountPoint"] == str(place)])
                hidden.unmount()
                mark.unmount()

    def test_other_callers_are_answered_while_a_drive_is_unmounted(self):
        drive = self.drive().mount()
        self.world.start(("strace", "-D", "-f", "-qq", "-o", "/dev/null", "-e", "trace=umount2",
                          "-e", "inject=umount2:delay_enter=10000000"))
        self.world.adopt(drive.mount_point)
        wait_until(lambda: not self.world.json("drives")[0]["busy"], "rest")
        ejects = subprocess.Popen([str(BIN / "vantaroctl"), "eject", str(drive.mount_point)], env=self.world.env)
        try:
            answers = 0
            while ejects.poll() is None and answers < 3:
                self.world.ctl("volumes")
                self.assertEqual(self.served(), [str(drive.mount_point)])
                answers += 1
            self.assertEqual(answers, 3, "each was answered before the drive had left")
            self.assertIsNone(ejects.poll())
            self.assertEqual(ejects.wait(PATIENCE), 0)
        finally:
            ejects.kill()
        self.assertFalse(os.path.ismount(drive.mount_point))
        drive.left()
        wait_until(lambda: self.served() == [], "the departure")


if __name__ == "__main__":
    unittest.main()
