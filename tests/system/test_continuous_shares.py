"""Folders that lie on a share are looked at from time to time, and a share that hangs holds up nothing else."""

import os
import signal
import subprocess
import unittest
from pathlib import Path

from support import PATIENCE, SystemTest, World, copies_folder, wait_until, write


class SlowShare:
    """A share of its own, served by a process that can be stopped."""

    def __init__(self, folder, mount_point):
        self.folder, self.mount_point = Path(folder), Path(mount_point)
        self.folder.mkdir(parents=True)
        self.mount_point.mkdir(parents=True)

    def __enter__(self):
        script = Path(__file__).with_name("slow_share.py")
        # The system's own Python has the library.
        self.server = subprocess.Popen(["/usr/bin/python3", "-B", script, self.folder, self.mount_point])
        wait_until(lambda: os.path.ismount(self.mount_point) or self.server.poll() is not None, "the share to be mounted")
        assert self.server.poll() is None, "the share's server ended"
        return self

    def hang(self):
        self.server.send_signal(signal.SIGSTOP)

    def hangs(self):
        return Path(f"/proc/{self.server.pid}/stat").read_text().rpartition(") ")[2][0] == "T"

    def go_on(self):
        self.server.send_signal(signal.SIGCONT)

    def __exit__(self, *_):
        self.go_on()
        subprocess.run(["umount", "-l", str(self.mount_point)], check=False)
        self.server.terminate()
        self.server.wait()


class Shares(SystemTest):
    def setUp(self):
        self.world = World().__enter__()
        self.addCleanup(self.world.__exit__, None, None, None)
        self.home = self.world.home
        write(self.home / "Pictures/cat.txt", b"cat")
        self.share = SlowShare(self.world.folder / "server", self.world.folder / "mnt/share").__enter__()
        self.addCleanup(self.share.__exit__)
        write(self.share.folder / "photos/sea.txt", b"sea")
        os.symlink(self.share.mount_point, self.home / "nas")
        self.drive = self.world.folder / "drive"
        self.drive.mkdir()

    def begin(self, item):
        self.world.start()
        self.world.adopt(self.drive)
        self.world.ctl("set-list", self.drive, self.home / "Pictures", item)
        self.world.finish(self.drive)

    def arrives(self, path, expected):
        def there():
            try:
                return path.read_bytes() == expected
            except OSError:
                return False

        wait_until(there, f"{path} on the drive")

    def on_drive(self, name):
        return next(self.drive.rglob(name))

    def check_a_share(self, item):
        self.begin(item)
        copy = self.on_drive("sea.txt")
        self.assertEqual(copy.read_bytes(), b"sea")
        # Another computer changes it: this one is told nothing.
        write(self.share.folder / "photos/sea.txt", b"a stormy sea")
        self.arrives(copy, b"a stormy sea")
        write(self.share.folder / "photos/new/wave.txt", b"wave")
        self.arrives(copy.parent / "new/wave.txt", b"wave")

        self.share.hang()
        write(self.home / "Pictures/cat.txt", b"another cat")
        self.arrives(self.on_drive("cat.txt"), b"another cat")
        self.assertEqual(len(self.world.json("drives")), 1)
        # The watched folders are asked for anew: the share among them.
        self.world.ctl("set", self.drive, "movies", "on")
        write(self.home / "Pictures/dog.txt", b"dog")
        self.arrives(copies_folder(self.drive) / "Pictures/dog.txt", b"dog")

        write(self.share.folder / "photos/sea.txt", b"a calm sea")
        self.share.go_on()
        self.arrives(copy, b"a calm sea")

    def test_a_share_is_looked_at_and_may_hang(self):
        self.check_a_share(self.share.mount_point / "photos")

    def test_a_share_behind_a_link_is_looked_at_and_may_hang(self):
        self.check_a_share(self.home / "nas/photos")

    def test_an_agent_that_starts_while_the_share_hangs_serves_the_rest(self):
        self.begin(self.home / "nas/photos")
        self.world.ctl("set", self.drive, "continuous", "off")
        self.world.finish(self.drive)
        self.world.stop()
        self.share.hang()
        self.world.start()
        wait_until(lambda: self.world.json("drives"), "the drive")
        write(self.home / "Pictures/cat.txt", b"another cat")
        self.world.sync(self.drive)
        self.assertLogged(self.world, f'"{self.home / "nas/photos"}" does not answer and is left out.')
        self.assertEqual(self.on_drive("cat.txt").read_bytes(), b"another cat")
        write(self.share.folder / "photos/sea.txt", b"a calm sea")
        self.share.go_on()
        self.world.sync(self.drive)
        self.assertEqual(self.on_drive("sea.txt").read_bytes(), b"a calm sea")

    def test_an_agent_that_is_ended_while_a_sync_hangs_on_the_share_makes_room_for_the_next(self):
        self.begin(self.share.mount_point / "photos")
        self.world.ctl("set", self.drive, "continuous", "off")
        self.world.finish(self.drive)
        mark = self.share.folder / "photos/deep/.hang"
        write(mark)
        self.world.ctl("start", self.drive)
        wait_until(self.share.hangs, "the sync to ask for the folder that hangs")
        self.world.ctl("stop", self.drive)
        self.assertEqual([drive["busy"] for drive in self.world.json("drives")], [True])
        ended = self.world.agent
        ended.send_signal(signal.SIGTERM)
        # The system keeps a process whose thread waits for a server's answer; all else of this one has gone.
        wait_until(lambda: self.world.ctl("drives", check=False).returncode == 3, "the agent's name to be free")
        self.world.errors.close()
        self.world.start()
        wait_until(lambda: self.world.json("drives"), "the drive")
        write(self.home / "Pictures/cat.txt", b"another cat")
        self.world.sync(self.drive)
        self.assertLogged(self.world, f'"{self.share.mount_point / "photos"}" does not answer and is left out.')
        self.assertEqual(self.on_drive("cat.txt").read_bytes(), b"another cat")
        mark.unlink()
        self.share.go_on()
        self.assertEqual(ended.wait(timeout=PATIENCE), 0)
        write(self.share.folder / "photos/sea.txt", b"a calm sea")
        self.world.sync(self.drive)
        self.assertEqual(self.on_drive("sea.txt").read_bytes(), b"a calm sea")


if __name__ == "__main__":
    unittest.main()
