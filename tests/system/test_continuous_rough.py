"""Watching under rough treatment: folders that come and go, more events than the kernel keeps, no watches left."""

import os
import shutil
import signal
import unittest

from support import PATIENCE, SystemTest, World, copies_folder, wait_until, write


class Rough(SystemTest):
    def setUp(self):
        self.world = World().__enter__()
        self.addCleanup(self.world.__exit__, None, None, None)
        self.pictures = self.world.home / "Pictures"
        write(self.pictures / "cat.txt", b"cat")
        self.drive = self.world.folder / "drive"
        self.drive.mkdir()

    def begin(self, wrapper=()):
        self.world.start(wrapper)
        self.world.adopt(self.drive)
        self.copies = copies_folder(self.drive)

    def arrives(self, path, expected):
        def there():
            try:
                return (self.copies / path).read_bytes() == expected
            except OSError:
                return False

        wait_until(there, f"{path} on the drive", 2 * PATIENCE)

    def test_a_folder_made_and_removed_over_and_over_is_still_followed(self):
        self.begin()
        for number in range(200):
            shutil.rmtree(self.pictures)
            write(self.pictures / "deep/down/cat.txt", b"cat %d" % number)
        self.arrives("Pictures/deep/down/cat.txt", b"cat 199")
        write(self.pictures / "deep/down/cat.txt", b"the last cat")
        self.arrives("Pictures/deep/down/cat.txt", b"the last cat")

    def test_a_folder_that_was_a_file_for_a_while_is_followed_again(self):
        self.begin()
        for _ in range(20):
            shutil.rmtree(self.pictures)
            self.pictures.write_bytes(b"a file")
            self.pictures.unlink()
            self.pictures.mkdir()
        write(self.pictures / "dog.txt", b"dog")
        self.arrives("Pictures/dog.txt", b"dog")
        write(self.pictures / "fish.txt", b"fish")
        self.arrives("Pictures/fish.txt", b"fish")

    def test_names_of_any_bytes_arrive(self):
        self.begin()
        names = [b"not \xff\xfe UTF-8.txt", b"new\nline.txt", b"\x01\x7f.txt", b"-rf *.txt", b"x" * 251 + b".txt"]
        folder = os.path.join(os.fsencode(self.pictures), b"any \xff\n bytes")
        os.makedirs(folder)
        for name in names:
            with open(os.path.join(folder, name), "wb") as file:
                file.write(name)
        copies = os.path.join(os.fsencode(self.copies), b"Pictures", b"any \xff\n bytes")
        for name in names:
            self.arrives(os.fsdecode(os.path.join(copies, name)), name)
        with open(os.path.join(folder, names[0]), "wb") as file:
            file.write(b"again")
        self.arrives(os.fsdecode(os.path.join(copies, names[0])), b"again")

    def test_more_events_than_the_kernel_keeps_lose_nothing(self):
        self.begin()
        with open("/proc/sys/fs/inotify/max_queued_events", encoding="ascii") as file:
            kept = int(file.read())
        self.world.agent.send_signal(signal.SIGSTOP)
        for number in range(kept // 2 + 1000):
            path = self.pictures / f"{number % 50}.txt"
            path.write_bytes(b"%d" % number)  # opens, changes and closes
        # Nobody was told of this one.
        write(self.pictures / "new/folder/late.txt", b"late")
        self.world.agent.send_signal(signal.SIGCONT)
        self.arrives("Pictures/new/folder/late.txt", b"late")
        write(self.pictures / "new/folder/late.txt", b"later")
        self.arrives("Pictures/new/folder/late.txt", b"later")
        for number in range(50):
            self.arrives(f"Pictures/{number}.txt", (self.pictures / f"{number}.txt").read_bytes())

    def test_without_watches_one_line_says_what_is_needed_and_all_is_still_followed(self):
        for number in range(100):
            write(self.pictures / f"folder {number}/file.txt", b"x")
        # A user's name space has a limit of its own.
        command = 'echo 40 > /proc/sys/user/max_inotify_watches && exec "$@"'
        self.begin(["unshare", "--user", "--map-root-user", "sh", "-c", command, "sh"])
        wait_until(lambda: "fs.inotify.max_user_watches" in self.world.log(), "the line about watches")
        for number in (0, 99):
            write(self.pictures / f"folder {number}/file.txt", b"changed")
            self.arrives(f"Pictures/folder {number}/file.txt", b"changed")
        lines = [line for line in self.world.messages() if "fs.inotify.max_user_watches" in line]
        self.assertEqual(len(lines), 1, lines)
        numbers = [int(word.rstrip(".")) for word in lines[0].split() if word.rstrip(".").isdigit()]
        missing, limit, needed, seconds = numbers
        self.assertEqual(limit, 40)
        self.assertGreater(missing, 60)
        self.assertGreaterEqual(needed, limit + missing)
        self.assertEqual(seconds, 10)


if __name__ == "__main__":
    unittest.main()
