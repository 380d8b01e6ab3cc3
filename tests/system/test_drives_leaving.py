"""Drives that leave while a sync runs: nothing lands anywhere else, the agent stays well, the drive can come back."""

import os
import subprocess
import unittest

from drive_ground import Drive, Frozen, Gate
from support import SystemTest, World, copies_folder, facts, user_name, wait_until, write
from test_drives import DriveTest

FAILED = 'Synchronization of "drive" did not complete successfully.'


class Leaving(SystemTest, DriveTest):
    """Each test stops a sync at one picture: what was copied before it is staged, what comes after it is not."""

    def setUp(self):
        DriveTest.setUp(self)
        self.mounted = self.drive(megabytes=64).mount()
        self.point = self.mounted.mount_point
        self.world.start()
        self.world.adopt(self.point)
        for number in range(20):
            write(self.world.home / f"Pictures/many/{number:02}.jpg", os.urandom(100_000))
            write(self.world.home / f"Pictures/p{number:02}.jpg", os.urandom(50_000))
        self.gate = Gate(self.world.home / "Pictures/p19.jpg")
        self.addCleanup(self.gate.open)
        self.world.ctl("start", self.point)
        self.gate.wait()

    def is_well(self):
        self.assertIsNone(self.world.agent.poll())
        self.assertEqual(self.world.ctl("volumes", check=False).returncode, 0)

    def returns(self):
        """Mounted again, the drive arrives and the whole sync ends well."""
        # Two mounts of one image at once would be two caches over the same bytes, which no real drive can have.
        wait_until(self.mounted_nowhere, "the end of the old mount")
        self.mounted.mount()
        self.syncs_by_itself(self.point)
        self.assertNoWorkFolders(self.world, self.point)
        self.is_well()

    def failed(self):
        wait_until(lambda: FAILED in self.world.messages(), "the report of the failure")

    def test_a_plain_unmount_waits_for_the_end_of_the_sync(self):
        run = self.mounted.unmount()
        self.assertNotEqual(run.returncode, 0)
        self.assertIn("busy", run.stderr)
        refused = self.world.ctl("eject", self.point, check=False)
        self.assertEqual((refused.returncode, refused.err), (1, "vantaroctl: Sync In Progress"))
        self.assertTrue(self.world.json("drives")[0]["busy"])
        self.gate.open()
        self.syncs_by_itself(self.point)
        wait_until(lambda: self.world.ctl("eject", self.point, check=False).returncode == 0, "the eject")
        self.assertFalse(os.path.ismount(self.point))
        self.mounted.left()
        wait_until(lambda: self.served() == [], "the departure")
        self.assertEqual(os.listdir(self.point), [])
        self.returns()

    def test_a_lazy_unmount_ends_the_sync_and_nothing_lands_below_it(self):
        self.mounted.unmount("-l")
        self.gate.open()
        self.failed()
        wait_until(lambda: self.served() == [], "the departure")
        self.assertEqual(os.listdir(self.point), [])
        self.is_well()
        self.returns()

    def test_a_lazy_unmount_of_a_frozen_drive(self):
        self.gate.open()
        frozen = Frozen(self.point)
        with frozen:
            self.mounted.unmount("-l")
            wait_until(lambda: self.served() == [], "the departure")
            self.is_well()
        self.assertEqual(os.listdir(self.point), [])
        self.returns()

    def mounted_nowhere(self):
        run = subprocess.run(["losetup", "-j", str(self.mounted.image)], capture_output=True, text=True, check=True)
        return run.stdout == ""

    def test_another_drive_in_its_place_gets_nothing_of_the_old_sync(self):
        self.mounted.unmount("-l")
        other = self.drive("other").mount("strictatime", at=self.point)
        write(self.point / "of somebody else.txt", b"keep me")
        before = other.bytes()
        self.gate.open()
        self.failed()
        wait_until(lambda: self.served() == [], "the departure")
        self.assertEqual(self.reason(self.point), "it was not adopted")
        self.is_well()
        self.assertTrue(other.bytes() == before, "the other drive changed")
        other.unmount()
        self.returns()

    def test_another_served_drive_in_its_place_gets_its_own_sync_only(self):
        self.world.ctl("set-list", self.point, self.world.home / "Pictures", "--timeout", "1", check=False)
        self.mounted.unmount("-l")
        other = self.drive("other").mount(at=self.point)
        self.world.ctl("adopt", self.point)
        wait_until(lambda: self.point_is_synced_but_for_the_gate(), "the other drive's first copies")
        self.gate.open()
        self.syncs_by_itself(self.point)
        self.assertNoWorkFolders(self.world, self.point)
        self.is_well()
        other.let_go()
        self.returns()

    def point_is_synced_but_for_the_gate(self):
        # The old worker stands at the gate: the other drive's first task waits for it, its configuration does not.
        return (self.point / ".VantaroConfig").exists()

    def test_a_pulled_drive_fails_the_sync_with_its_errors(self):
        self.mounted.pull()
        self.gate.open()
        self.failed()
        self.assertTrue(any("Input/output error" in line for line in self.world.messages()), self.world.log())
        self.is_well()
        wait_until(lambda: self.mounted.unmount().returncode == 0, "the unmount of the dead drive")
        wait_until(lambda: self.served() == [], "the departure")
        self.assertEqual(os.listdir(self.point), [])
        self.returns()

    def test_a_stick_that_is_pulled_out_leaves_no_mount_and_no_file_behind(self):
        stranger = self.drive("stranger").mount()
        self.assertEqual(self.reason(stranger.mount_point), "it was not adopted")
        self.mounted.vanish()
        stranger.vanish()
        wait_until(lambda: self.served() == [], "the departure")
        wait_until(lambda: not os.path.ismount(self.point), "the end of the mount")
        self.gate.open()
        self.failed()
        self.assertEqual(os.listdir(self.point), [])
        self.assertLogged(self.world, f'The drive at "{self.point}" was pulled while it was mounted: its mount was taken off.')
        self.assertTrue(os.path.ismount(stranger.mount_point), "what is not served is not touched")
        self.is_well()
        self.mounted.left()
        # Another stick takes its place.
        other = self.drive("other").mount(at=self.point)
        self.world.adopt(self.point)
        self.assertEqual(facts(copies_folder(self.point) / "Music"), facts(self.world.home / "Music"))
        other.let_go()

    def test_a_drive_that_turns_read_only_gets_the_rest_later(self):
        # What is open for writing refuses the remount, so the worker stands at the gate.
        subprocess.run(["mount", "-o", "remount,ro", str(self.point)], check=True)
        self.gate.open()
        # Each refused file is a question that nobody is there to answer: the sync goes on and says how much failed.
        wait_until(lambda: any(" failed or skipped" in line and " 0 failed" not in line for line in self.world.messages()),
                   "the sum of the failures")
        self.assertTrue(any("Read-only file system" in line for line in self.world.messages()), self.world.log())
        self.assertEqual(self.served(), [str(self.point)])
        subprocess.run(["mount", "-o", "remount,rw", str(self.point)], check=True)
        self.world.sync(self.point)
        self.assertEqual(facts(copies_folder(self.point) / "Pictures"), facts(self.world.home / "Pictures"))
        self.assertNoWorkFolders(self.world, self.point)

    def test_a_drive_that_fills_up_keeps_the_old_copies(self):
        write(self.world.home / "Music/huge.mp3", os.urandom(80 << 20))
        write(self.world.home / "Music/m.mp3", b"new music")
        self.gate.open()
        self.world.finish(self.point)
        run = self.world.ctl("start", self.point, "--wait", check=False)
        self.assertIn('Sync summary for "drive": 1 failed or skipped', run.out)
        copies = copies_folder(self.point)
        self.assertFalse((copies / "Music/huge.mp3").exists())
        self.assertIn((copies / "Music/m.mp3").read_bytes(), (b"music", b"new music"))
        self.assertEqual(facts(copies / "Pictures"), facts(self.world.home / "Pictures"))
        (self.world.home / "Music/huge.mp3").unlink()
        self.world.sync(self.point)
        self.assertEqual((copies / "Music/m.mp3").read_bytes(), b"new music")
        self.assertNoWorkFolders(self.world, self.point)

    def test_quitting_in_the_middle_leaves_a_drive_that_goes_on_next_time(self):
        self.assertEqual(self.world.stop(), 0)
        self.gate.open()
        self.world.start()
        self.syncs_by_itself(self.point)
        self.assertNoWorkFolders(self.world, self.point)


if __name__ == "__main__":
    unittest.main()
