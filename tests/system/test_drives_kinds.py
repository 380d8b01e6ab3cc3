"""Drives with file systems of every kind, and many of them at once."""

import os
import time
import unittest
from pathlib import Path

from drive_ground import Drive
from support import SLOWER, SystemTest, copies_folder, facts, identities, memory_limit, wait_until, write
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

    def leaves_out(self, drive, refused, also_there):
        """Each refused name is said once, however often the drive is synced; what stands beside it arrives."""
        pictures = os.fsencode(self.world.home / "Pictures")
        for name in refused:
            path = os.path.join(pictures, name)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "wb") as file:
                file.write(b"refused")
        for name in also_there:
            write(self.world.home / "Pictures" / name, b"holdable")
        self.world.sync(drive.mount_point)
        run = self.world.sync(drive.mount_point)
        self.assertIn("completed successfully", run.out)
        self.assertIn("Nothing was copied", run.out)
        self.assertIn(f" {len(refused)} failed or skipped", run.out)
        copies = copies_folder(drive.mount_point)
        for name in also_there:
            self.assertEqual((copies / "Pictures" / name).read_bytes(), b"holdable")
        before = identities(copies)
        self.assertEqual(self.world.log().count('" is left out: the drive cannot hold its name.\n'), len(refused))
        for name in refused:
            left_out = next(p for p in self.parts(name) if not os.path.exists(os.path.join(os.fsencode(copies / "Pictures"), p)))
            shown = os.path.join(pictures, left_out).decode("utf-8", "replace").replace("\n", "\\x0A")
            self.assertEqual(self.world.log().count(f'"{shown}" is left out'), 1, shown)
        self.assertFalse([line for line in self.world.messages() if "Unable to" in line], self.world.log())
        self.assertEqual(identities(copies), before)
        self.assertNoWorkFolders(self.world, drive.mount_point)

    @staticmethod
    def parts(name):
        """The name and the folders that it stands in, outermost first."""
        pieces = name.split(b"/")
        return [b"/".join(pieces[:end]) for end in range(1, len(pieces) + 1)]

    def test_exfat(self):
        drive = self.syncs_twice("exfat")
        self.assertEqual(self.world.json("drives")[0]["fileSystem"], "exfat")
        self.leaves_out(
            drive,
            [b"what?.jpg", b"Album/a:b.jpg", b"new/one*.jpg", b"no:folder/x.jpg", b"new\nline.jpg", b"caf\xe9.jpg"],
            ["fine.jpg", "new/fine.jpg", "dot..jpg", " blank .jpg", "con.jpg", "Ünï.jpg"])

    def test_ntfs(self):
        drive = self.syncs_twice("ntfs")
        self.assertEqual(self.world.json("drives")[0]["fileSystem"], "ntfs")
        self.leaves_out(drive, [b"caf\xe9.jpg", b"new/\xff.jpg"], ["what?.jpg", "new/a:b.jpg", "new\nline.jpg", "fine.jpg"])

    def test_fat(self):
        # The driver knows plain names only, reports no free space, and dates anew what is renamed.
        (self.world.home / "Pictures/Album/Ünï.jpg").unlink()
        refused = [b"what?.jpg", "Ünï.jpg".encode(), b"new/one*.jpg", b"caf\xe9.jpg"]
        for name in refused:
            path = os.path.join(os.fsencode(self.world.home / "Pictures"), name)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            Path(os.fsdecode(path)).write_bytes(b"refused")
        os.chown(self.world.home / "Pictures/p.jpg", 12345, 12345)
        drive = self.drive(kind="fat", name="fat").mount()
        self.world.start()
        self.world.adopt(drive.mount_point)
        self.assertEqual(self.world.json("drives")[0]["fileSystem"], "msdos")
        copies = copies_folder(drive.mount_point)
        # It also forgets what lies in a folder that is renamed: a later sync brings that again.
        wait_until(lambda: self.world.sync(drive.mount_point) and (copies / "Pictures/odd date.jpg").exists(), "the copy")
        self.assertEqual((copies / "Pictures/odd date.jpg").read_bytes(), b"picture")
        self.assertFalse(os.path.lexists(copies / "Pictures/link.jpg"), "a FAT drive holds no links")
        run = self.world.sync(drive.mount_point)
        self.assertIn(f" {len(refused)} failed or skipped", run.out)
        self.assertEqual(self.world.log().count('" is left out: the drive cannot hold its name.\n'), len(refused))
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
        """An agent with nothing to do: the quietest of some stretches counts. How much of a core its few wake-ups take
        is the computer's matter and only told; a loop that never rests is found on every one."""
        wait_until(lambda: not any(drive["busy"] for drive in self.world.json("drives")), "rest")
        stretches = [self.measured(4) for _ in range(2)]
        while min(wake_ups for _, wake_ups in stretches) >= 16 and len(stretches) < 5:
            stretches.append(self.measured(4))
        used, wake_ups = min(used for used, _ in stretches), min(wake_ups for _, wake_ups in stretches)
        status = dict(line.split(":", 1) for line in self.kernel_file("status").splitlines())
        resident = int(status["VmRSS"].split()[0]) << 10
        print(f"eight idle drives: {used:.3%} of a core, {wake_ups:.1f} wake-ups a second, {resident >> 20} MiB", flush=True)
        self.assertLess(used, 0.02 * SLOWER)
        # Each worker wakes once a second, and so does what looks at two folder drives; a busy kernel makes them wait more
        # often than that, and the thread sanitizer wakes ten times a second. A loop that asks all the time is far above.
        self.assertLess(wake_ups, 40)
        self.assertLess(resident, memory_limit(60 << 20))

    def measured(self, seconds):
        """Processor time used by the time that passed, and wake-ups a second."""
        start, before = time.monotonic(), self.activity()
        wait_until(lambda: time.monotonic() >= start + seconds, "the measured time", seconds + 60)
        after, passed = self.activity(), time.monotonic() - start
        return (after[0] - before[0]) / passed, (after[1] - before[1]) / passed

    def kernel_file(self, name):
        return Path(f"/proc/{self.world.agent.pid}/{name}").read_text()

    def activity(self):
        """Seconds on a processor, to the nanosecond, and waits that ended, of all threads."""
        seconds = waits = 0
        for thread in os.listdir(f"/proc/{self.world.agent.pid}/task"):
            seconds += int(self.kernel_file(f"task/{thread}/schedstat").split()[0]) / 1e9
            waits += int(self.kernel_file(f"task/{thread}/status").split("\nvoluntary_ctxt_switches:")[1].split()[0])
        return seconds, waits


if __name__ == "__main__":
    unittest.main()
