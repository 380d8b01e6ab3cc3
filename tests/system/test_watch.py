"""What "vantaroctl watch" shows while changes wait and a sync runs: as JSON lines, on a terminal, and without drawing."""

import fcntl
import json
import os
import pty
import re
import signal
import struct
import subprocess
import termios
import unittest

import support
from scripted import OPTIONAL_PROGRESS_KEYS, PROGRESS_KEYS, Scripted
from support import copies_folder, wait_until, write

CTL = str(support.BIN / "vantaroctl")
WAITING_KEYS = {"waitingFolders", "secondsUntilSync"}


class Screen:
    """A program on a terminal of 80 columns, and everything that it wrote there."""

    def __init__(self, command, env, cwd):
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            fcntl.ioctl(0, termios.TIOCSWINSZ, struct.pack("HHHH", 24, 80, 0, 0))
            os.chdir(cwd)
            os.execve(command[0], command, env)
        os.set_blocking(self.terminal, False)
        self.written = b""

    def text(self):
        try:
            while chunk := os.read(self.terminal, 65536):
                self.written += chunk
        except (BlockingIOError, OSError):  # nothing new, or the program has ended
            pass
        return self.written.decode("utf-8", "replace")

    def lines(self):
        """Every line that was ever drawn, without what steers the terminal."""
        return [line for line in re.split(r"[\r\n]+", re.sub(r"\x1b\[[0-9]*[A-Z]", "", self.text())) if line]

    def interrupt(self):
        os.write(self.terminal, b"\x03")
        return os.waitstatus_to_exitcode(os.waitpid(self.process, 0)[1])


class Watch(Scripted):
    def setUp(self):
        super().setUp()
        write(self.world.home / "Music/m.mp3", b"music")
        self.world.adopt(self.drive)
        self.world.ctl("set-list", self.drive, "Music", "Pictures")
        self.world.finish(self.drive)
        self.settle()

    def settle(self):
        """Waits until no sync is due any more."""
        wait_until(lambda: self.client.drives("Waiting")[0] == [] and not self.world.json("drives")[0]["busy"], "quiet")

    def screen(self, *arguments, **more):
        screen = Screen([CTL, "watch", *arguments], self.world.env | {"TERM": "xterm"} | more, self.world.home)
        self.addCleanup(os.close, screen.terminal)
        return screen

    def test_json_lines(self):
        path = self.world.folder / "watched"
        with open(path, "wb") as file:
            run = subprocess.Popen([CTL, "watch", "--json"], env=self.world.env, stdout=file, stderr=subprocess.PIPE)

        def lines():
            return [json.loads(line) for line in path.read_text().splitlines(True) if line.endswith("\n")]

        wait_until(lambda: is_waiting(run.pid), "the watching")
        write(self.world.home / "Music/new.mp3", b"new")
        wait_until(lambda: any(line["syncActivityType"] == 6 and line["syncCopied"] for line in lines()), "the sync")
        # A moment later nothing waits any more, before the end of the sync or behind it.
        wait_until(lambda: any(line.get("waitingFolders") == [] for line in lines()), "the end of the waiting")
        run.send_signal(signal.SIGINT)
        self.assertEqual((run.wait(), run.stderr.read()), (130, b""))
        run.stderr.close()
        waiting = [line for line in lines() if WAITING_KEYS <= set(line)]
        for line in lines():
            self.assertEqual(line["activePath"], str(self.drive))
            self.assertLessEqual(PROGRESS_KEYS, set(line))
            self.assertLessEqual(set(line), PROGRESS_KEYS | OPTIONAL_PROGRESS_KEYS | (WAITING_KEYS if line in waiting else set()))
        self.assertEqual(waiting[0]["waitingFolders"], [str(self.world.home / "Music")])
        self.assertTrue(0 < waiting[0]["secondsUntilSync"] <= 10, waiting[0])
        self.assertEqual((waiting[-1]["waitingFolders"], waiting[-1]["secondsUntilSync"]), ([], None))
        self.assertEqual((copies_folder(self.drive) / "Music/new.mp3").read_bytes(), b"new")

    def test_the_picture_on_a_terminal(self):
        screen = self.screen()
        wait_until(lambda: "drive  [" in screen.text(), "the first picture")
        write(self.world.home / "Music/new.mp3", b"new")
        wait_until(lambda: "changes in ~/Music" in screen.text(), "the waiting change")
        write(self.world.home / "Pictures/new.jpg", b"new")
        wait_until(lambda: "changes in ~/Music, ~/Pictures" in screen.text(), "both waiting changes")
        # The last line of the sync stays above; in the picture the drive is idle then.
        wait_until(lambda: re.search(r"100% .*  completed\r*\n.*drive  \[\.*\]  idle", screen.text()), "the sync's end")
        self.assertEqual(screen.interrupt(), 130)
        counted = [int(found.group(1)) for line in screen.lines() if (found := re.match(r" +sync in (\d+) s: changes", line))]
        self.assertLessEqual(max(counted), 10)
        self.assertGreater(len(set(counted)), 1, "the seconds are counted down")
        for line in screen.lines():
            self.assertLess(len(line), 80)
            self.assertTrue(line.startswith(("drive  [", "       sync in ")), line)

    def test_one_drive_of_several_and_drives_that_come(self):
        other = self.world.folder / "other"
        other.mkdir()
        every, one = self.screen(), self.screen("drive")
        wait_until(lambda: "drive  [" in every.text() and "drive  [" in one.text(), "the first pictures")
        self.world.adopt(other)
        wait_until(lambda: "other  [" in every.text(), "the new drive")
        self.world.ctl("forget", "drive")
        wait_until(lambda: "no drive is served" in one.text(), "the departure")
        self.assertNotIn("other", one.text())
        self.assertEqual((every.interrupt(), one.interrupt()), (130, 130))

    def test_nothing_is_drawn_over_where_colour_is_not_wanted(self):
        screen = self.screen(NO_COLOR="1")
        write(self.world.home / "Music/new.mp3", b"new")
        wait_until(lambda: "completed" in screen.text(), "the sync")
        self.assertEqual(screen.interrupt(), 130)
        self.assertNotIn("\x1b", screen.text())
        lines = screen.lines()
        self.assertTrue(all(line != following for line, following in zip(lines, lines[1:])), lines)
        self.assertRegex(lines[0], r"^drive  sync in \d+ s: changes in ~/Music$")


def is_waiting(process):
    """A vantaroctl that waits catches SIGTERM."""
    with open(f"/proc/{process}/status") as status:
        caught = int(status.read().split("SigCgt:")[1].split()[0], 16)
    return bool(caught >> (signal.SIGTERM - 1) & 1)


if __name__ == "__main__":
    unittest.main()
