"""Drives with file systems of every kind, and many of them at once."""

import os
import time
import unittest
from pathlib import Path

from drive_ground import Drive
from support import SystemTest, copies_folder, facts, identities, wait_until, write
from test_drives import DriveTest

SECOND = 1_000_000_000


class Kinds(SystemTest, DriveTest):
    def setUp(self):
        DriveTest.setUp(self)
        home = self.world.home
        write(home / "Pictures/odd date.jpg", b"picture", 1_500_000_001 * SECOND + 987_654_321, 0o600)
        write(home / "Pictures/Album/Ünï.jpg", os.urandom(300_000), 1_400_000_000 * SECOND + 1)
        os.symlink("p.jpg", home / "Pictures/link.jpg")

    def syncs_twice(self, kind, weak=False):
        """What the drive can hold arrives; the second sync copies nothing; nothing is called an error."""
        drive = self.drive(kind=kind, name=kind).mount()
        self.world.start()
        self.world.adopt(drive.mount_point)
        copies = copies_folder(drive.mount_point)
        source = facts(self.world.home / "Pictures")
        copied = facts(copies / "Pictures")
        if kind in Drive.DRIVERS:
            self.assertTrue(copied.keys() >= {name for name in source if source[name][0] != "link"}, copied.keys())
            for name, fact in copied.items():
                self.assertEqual(fact[:2], source[name][:2], name)
                if fact[0] == "file":
                    self.assertLessEqual(fact[2], source[name][2], f"{name}: the copy is never the later one")
        else:
            self.assertEqual(copied, source)
        before = identities(copies)
        run = self.world.sync(drive.mount_point)
        self.assertIn("completed successfully", run.out)
        self.assertIn("Nothing was copied", run.out)
        self.assertIn(" 0 failed or skipped", run.out)
        self.assertEqual(identities(copies), before)
        self.assertFalse([line for line in self.world.messages() if "Unable to" in line], self.world.log())
        self.assertNoWorkFolders(self.world, drive.mount_point)
        write(self.world.home / "Pictures/odd date.jpg", b"another picture")
        self.world.sync(drive.mount_point)
        self.assertEqual((copies / "Pictures/odd date.jpg").read_bytes(), b"another picture")
        self.assertNoWorkFolders(self.world, drive.mount_point)
        return drive

    def test_ext4(self):
        self.syncs_twice("ext4")

    def test_xfs(self):
        self.syncs_twice("xfs")

    def test_btrfs(self):
        self.syncs_twice("btrfs")

    def test_exfat(self):
        drive = self.syncs_twice("exfat")
        self.assertEqual(self.world.json("drives")[0]["fileSystem"], "exfat")
        # A name that the drive refuses is said once and skipped; the rest arrives.
        write(self.world.home / "Pictures/what?.jpg", b"question")
        write(self.world.home / "Pictures/fine.jpg", b"fine")
        run = self.world.ctl("start", drive.mount_point, "--wait", check=False)
        copies = copies_folder(drive.mount_point)
        self.assertEqual((copies / "Pictures/fine.jpg").read_bytes(), b"fine", run.out + run.err)
        self.assertFalse((copies / "Pictures/what?.jpg").exists())
        self.assertTrue([line for line in self.world.messages() if "what?.jpg" in line], self.world.log())

    def test_ntfs(self):
        self.syncs_twice("ntfs")
        self.assertEqual(self.world.json("drives")[0]["fileSystem"], "ntfs")

    def test_fat(self):
        # The driver knows plain names only, and reports no free space.
        (self.world.home / "Pictures/Album/Ünï.jpg").unlink()
        drive = self.drive(kind="fat", name="fat").mount()
        self.world.start()
        self.world.adopt(drive.mount_point)
        self.assertEqual(self.world.json("drives")[0]["fileSystem"], "msdos")
        copies = copies_folder(drive.mount_point)
        self.assertEqual((copies / "Pictures/odd date.jpg").read_bytes(), b"picture")
        self.assertFalse((copies / "Pictures/link.jpg").exists(), "a FAT drive holds no links")
        run = self.world.sync(drive.mount_point)
        self.assertIn("Nothing was copied", run.out)
        self.assertIn(" 0 failed or skipped", run.out)
        self.assertFalse([line for line in self.world.messages() if "Unable to" in line], self.world.log())


class Many(SystemTest, DriveTest):
    def setUp(self):
        DriveTest.setUp(self)

    def test_eight_drives_at_once_each_with_its_own_list_and_a_quiet_agent(self):
        drives = [self.drive(f"drive {number}").mount() for number in range(6)]
        points = [drive.mount_point for drive in drives]
        for name in ("folder one", "folder two"):
            points.append(self.world.folder / name)
            points[-1].mkdir()
        for number, point in enumerate(points):
            for file in range(20):
                write(self.world.home / f"Sets/{number}/{file}.jpg", os.urandom(20_000))
        self.world.start()
        for point in points:
            self.world.ctl("adopt", point)
        for number, point in enumerate(points):
            self.world.ctl("set-list", point, self.world.home / f"Sets/{number}")
        for number, point in enumerate(points):
            self.world.finish(point)
            self.assertEqual(
                facts(copies_folder(point) / f"Sets/{number}"), facts(self.world.home / f"Sets/{number}"), str(point))
            sets = sorted(path.name for path in (copies_folder(point) / "Sets").iterdir())
            self.assertEqual(sets, [str(number)], "no other drive's list")
        self.assertEqual(len(self.served()), 8)
        self.idle()

    def idle(self):
        wait_until(lambda: not any(drive["busy"] for drive in self.world.json("drives")), "rest")
        seconds = float(os.environ.get("VANTARO_IDLE_SECONDS", "5"))
        before = self.processor_seconds()
        end = time.monotonic() + seconds  # the time that is measured over
        wait_until(lambda: time.monotonic() >= end, "the measured time", seconds + 60)
        used = (self.processor_seconds() - before) / seconds
        status = dict(line.split(":", 1) for line in self.kernel_file("status").splitlines())
        resident = int(status["VmRSS"].split()[0]) / 1024
        print(f"eight idle drives: {used:.3%} of a core, {resident:.1f} MB", flush=True)
        self.assertLess(used, 0.02)
        self.assertLess(resident, 60)

    def kernel_file(self, name):
        return Path(f"/proc/{self.world.agent.pid}/{name}").read_text()

    def processor_seconds(self):
        threads = os.listdir(f"/proc/{self.world.agent.pid}/task")
        return sum(int(self.kernel_file(f"task/{thread}/schedstat").split()[0]) for thread in threads) / 1e9


if __name__ == "__main__":
    unittest.main()
