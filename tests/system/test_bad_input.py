"""What a person or a drive can get wrong: a clear error or log line, and every other file stays whole."""

import os
import subprocess
import unittest
from pathlib import Path

import support
from support import LoopImage, SystemTest, World, copies_folder, facts, write


class BadInput(SystemTest):
    def setUp(self):
        self.world = World().__enter__()
        self.addCleanup(self.world.__exit__, None, None, None)
        self.drive = self.world.folder / "drive"
        self.drive.mkdir()

    def refused(self, *arguments, code=1):
        run = self.world.ctl(*arguments, check=False)
        self.assertEqual(run.returncode, code, run.out + run.err)
        self.assertTrue(run.err.startswith("vantaroctl: "), run.err)
        return run.err

    def test_what_cannot_be_adopted_is_refused_with_its_path(self):
        self.world.start()
        plain = write(self.world.folder / "plain.txt")
        rows = {
            self.world.folder / "missing": "No such file or directory",
            plain: "it is no volume and no folder",
            self.world.home: "the home folder cannot be a drive",
            Path("/"): "the home folder cannot be a drive",
            self.world.home / ".config/com.corvane.vantaro": "the agent keeps files of its own there",
        }
        for path, reason in rows.items():
            error = self.refused("adopt", path)
            self.assertIn(str(path), error)
            self.assertIn(reason, error)
        self.assertEqual(self.world.json("drives"), [])

    def test_a_read_only_volume_is_refused(self):
        with LoopImage(self.world.folder, name="image") as image:
            image.unmount()
            image.mount("ro")
            self.world.start()
            self.assertIn("read-only", self.refused("adopt", image.mount_point))

    def test_closed_standard_streams_take_no_message(self):
        write(self.world.home / "Pictures/p.jpg")
        self.world.start(wrapper=("sh", "-c", 'exec "$0" <&- >&- 2>&-'))
        for stream in range(3):
            self.assertEqual(os.readlink(f"/proc/{self.world.agent.pid}/fd/{stream}"), "/dev/null")
        self.world.adopt(self.drive)
        self.assertEqual((copies_folder(self.drive) / "Pictures/p.jpg").read_bytes(), b"content")
        for closed in (">&-", "<&- >&-"):
            run = subprocess.run(["sh", "-c", f'exec "$0" drives --json {closed}', str(support.BIN / "vantaroctl")],
                                 env=self.world.env, stderr=subprocess.PIPE, text=True)
            self.assertEqual((run.returncode, run.stderr), (1, "vantaroctl: the answer could not be written\n"))

    def test_unknown_drives_commands_and_values(self):
        self.world.start()
        self.assertIn("is not a served drive", self.refused("list", "nowhere"))
        self.assertIn("unknown command", self.refused("frobnicate", code=2))
        self.assertIn("unknown option", self.refused("drives", "--frobnicate", code=2))
        self.refused("set", self.drive, "continuous", "perhaps", code=2)
        self.refused("set", self.drive, "device-filter", "9", code=2)
        self.refused("get", self.drive, "colour", code=2)
        self.refused("list", code=2)

    def test_a_full_drive_fails_the_sync_and_leaves_no_partial_file(self):
        with LoopImage(self.world.folder, megabytes=16, name="image") as image:
            write(self.world.home / "Pictures/small.jpg", b"small")
            write(self.world.home / "Music/huge.mp3", os.urandom(40 << 20))
            self.world.start()
            self.world.adopt(image.mount_point)
            copies = copies_folder(image.mount_point)
            self.assertFalse((copies / "Music/huge.mp3").exists())
            self.assertEqual((copies / "Pictures/small.jpg").read_bytes(), b"small")
            self.assertLogged(self.world, "Unable to copy")
            self.assertLogged(self.world, "Not enough free space on disk")
            self.assertNoWorkFolders(self.world, image.mount_point)

    def test_a_missing_sync_item_is_no_failure(self):
        write(self.world.home / "Pictures/p.jpg")
        self.world.start()
        self.world.adopt(self.drive)
        self.world.ctl("add", self.drive, self.world.home / "Gone")
        self.world.sync(self.drive)
        self.assertTrue((copies_folder(self.drive) / "Pictures/p.jpg").exists())

    def test_a_broken_configuration_is_kept_aside_and_replaced(self):
        write(self.drive / ".VantaroConfig", b"<plist><dict><key>broken")
        write(self.drive / "of somebody else.txt", b"keep me")
        write(self.world.home / "Pictures/p.jpg")
        self.world.start()
        self.world.adopt(self.drive)
        self.assertLogged(self.world, "appears to be corrupt.")
        kept = list(self.drive.glob("Archived Vantaro Backups/*/.VantaroConfig"))
        self.assertEqual([path.read_bytes() for path in kept], [b"<plist><dict><key>broken"])
        self.assertEqual(self.world.config(self.drive)["config-version"], 3)
        self.assertEqual((self.drive / "of somebody else.txt").read_bytes(), b"keep me")

    def test_names_of_any_bytes_arrive_unharmed(self):
        names = [b"with space.jpg", b"'single' \"double\".jpg", b"new\nline.jpg", b"caf\xe9 latin1.jpg", b"%@ %s %1$@.jpg",
                 "snow ☃.jpg".encode(), b"-rf.jpg", b"back\\slash.jpg", b"tab\tand\x7f.jpg"]
        pictures = self.world.home / "Pictures"
        for name in names:
            path = os.path.join(os.fsencode(pictures), b"of any bytes", name)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "wb") as file:
                file.write(name)
        self.world.start()
        self.world.adopt(self.drive)
        self.assertEqual(facts(copies_folder(self.drive) / "Pictures"), facts(pictures))
        # And once more file by file, against copies that exist.
        for name in names:
            with open(os.path.join(os.fsencode(pictures), b"of any bytes", name), "ab") as file:
                file.write(b" edited")
        self.world.sync(self.drive)
        self.assertEqual(facts(copies_folder(self.drive) / "Pictures"), facts(pictures))

    def test_a_tree_deeper_than_any_path_arrives(self):
        name = b"n" * 100
        below = os.path.join(b"", *[name] * 60)
        folder = os.open(self.world.home, os.O_RDONLY)
        for part in [b"Pictures", *[name] * 60]:
            os.mkdir(part, dir_fd=folder)
            deeper = os.open(part, os.O_RDONLY, dir_fd=folder)
            os.close(folder)
            folder = deeper
        with open(os.open("bottom.jpg", os.O_WRONLY | os.O_CREAT, 0o640, dir_fd=folder), "wb") as file:
            file.write(b"bottom")
        expected = os.stat("bottom.jpg", dir_fd=folder)
        os.close(folder)
        self.world.start()
        self.world.adopt(self.drive)
        copy = os.open(copies_folder(self.drive) / "Pictures", os.O_RDONLY)
        for part in below.split(b"/"):
            deeper = os.open(part, os.O_RDONLY, dir_fd=copy)
            os.close(copy)
            copy = deeper
        arrived = os.stat("bottom.jpg", dir_fd=copy)
        os.close(copy)
        self.assertEqual((arrived.st_size, arrived.st_mtime_ns, arrived.st_mode),
                         (expected.st_size, expected.st_mtime_ns, expected.st_mode))
        self.assertFalse((self.drive / "Archived Vantaro Backups").exists())
        # The temporary folder is removed by path, which is too long for some.
        subprocess.run(["rm", "-rf", str(self.drive), str(self.world.home / "Pictures")], check=True)

    def test_a_drive_whose_path_has_odd_characters(self):
        drive = self.world.folder / "odd % drive \"quoted\" ☃"
        drive.mkdir()
        write(self.world.home / "Pictures/p.jpg")
        self.world.start()
        self.world.adopt(drive)
        self.assertTrue((copies_folder(drive) / "Pictures/p.jpg").exists())
        self.assertEqual(self.world.json("drives")[0]["mountPoint"], str(drive))
        self.assertEqual(self.world.ctl("query", drive).out, "true")

    def test_a_sync_item_in_no_utf8_is_refused(self):
        self.world.start()
        self.world.adopt(self.drive)
        path = os.fsencode(self.world.home) + b"/caf\xe9"
        os.makedirs(path)
        run = self.world.ctl("set-list", self.drive, path, "--timeout", "40", check=False)
        self.assertEqual(run.returncode, 1)
        self.assertIn("log", run.err)
        self.assertNotIn("caf", "".join(self.world.json("list", self.drive)))
        self.assertLogged(self.world, "caf")


if __name__ == "__main__":
    unittest.main()
