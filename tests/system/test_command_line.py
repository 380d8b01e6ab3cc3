"""Every command of vantaroctl on a real agent: its work, its exit codes and its JSON."""

import json
import os
import plistlib
import signal
import subprocess
import unittest
from pathlib import Path

import support
from scripted import OPTIONAL_PROGRESS_KEYS, PROGRESS_KEYS, Scripted
from support import LoopImage, wait_until, write


class CommandLine(Scripted):
    def code(self, *arguments):
        return self.world.ctl(*arguments, check=False).returncode

    def test_every_command_does_its_work(self):
        home, drive, ctl = self.world.home, self.drive, self.world.ctl
        write(home / "Music/m.mp3")
        adopted = self.world.json("adopt", drive)
        self.assertEqual(adopted["mountPoint"], str(drive))
        self.world.finish(drive)
        self.assertEqual([entry["mountPoint"] for entry in self.world.json("drives")], [str(drive)])
        for volume in self.world.json("volumes"):
            self.assertLessEqual({"mountPoint", "served"}, set(volume))
            self.assertEqual(volume["served"], "reason" not in volume)
        for spelling in (drive, str(drive) + "/", drive / "below", "drive", os.path.relpath(drive, home)):
            self.assertEqual(ctl("query", spelling).out, "true", spelling)
        ctl("set-list", drive, "Pictures", home / "Music")
        self.assertEqual(ctl("list", drive).out.splitlines(), [f"{home}/Pictures", f"{home}/Music"])
        ctl("drop", drive, "Music")
        ctl("add", drive, "./Music/../Music/")
        self.assertEqual(self.world.json("list", drive), [f"{home}/Pictures", f"{home}/Music"])
        self.assertEqual(ctl("get", drive, "valid").out, "on")
        ctl("set", drive, "device-filter", "windows-rt")
        self.assertEqual(ctl("get", drive, "device-filter").out, "8")
        self.assertIn("copied", ctl("start", drive, "--wait").out)
        self.assertEqual(self.code("start", drive), 0)
        self.assertEqual(self.code("stop", drive), 0)
        self.world.finish(drive)
        status = self.world.json("status", drive)[self.world.host_id]
        self.assertEqual(set(status), {"continuousSyncEnabled", "quietSyncEnabled", "participateSyncEnabled",
                                       "computerName", "lastSyncTime"})
        self.assertRegex(status["lastSyncTime"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
        self.assertIn(self.world.host_id, ctl("status", drive).out)
        progress = self.world.json("progress", drive)
        self.assertLessEqual(PROGRESS_KEYS, set(progress))
        self.assertLessEqual(set(progress), PROGRESS_KEYS | OPTIONAL_PROGRESS_KEYS)
        self.assertIn("%", ctl("progress", drive).out)
        self.assertIn("Vantaro starting.", ctl("log").out)
        self.assertEqual(ctl("complete", "drives").out.splitlines(), [str(drive), "drive"])
        ctl("set-list", drive)
        self.assertEqual(ctl("list", drive).out, "")
        ctl("remove-sync", drive)
        wait_until(lambda: ctl("query", drive).out == "false", "the removed configuration")
        ctl("forget", "drive")
        wait_until(lambda: self.world.json("drives") == [], "the drive's departure")
        ctl("quit")
        self.assertEqual(self.world.agent.wait(timeout=support.PATIENCE), 0)

    def test_a_name_that_two_drives_have_is_ambiguous(self):
        other = self.world.folder / "elsewhere/drive"
        other.mkdir(parents=True)
        for drive in (self.drive, other):
            self.world.adopt(drive)
        run = self.world.ctl("query", "drive", check=False)
        both = ", ".join(sorted([str(self.drive), str(other)]))
        self.assertEqual((run.returncode, run.out), (1, ""))
        self.assertIn('several drives are named "drive": ', run.err)
        self.assertEqual(", ".join(sorted(run.err.split('": ')[1].split(", "))), both)
        for named in (self.drive, other, other / "below"):
            self.assertEqual(self.world.ctl("query", named).out, "true")
        self.assertEqual(self.world.ctl("complete", "drives").out.splitlines(), self.mount_points())

    def mount_points(self):
        return [drive["mountPoint"] for drive in self.world.json("drives")]

    def test_a_slip_of_the_pen_in_a_list_is_noted(self):
        self.world.adopt(self.drive)
        run = self.world.ctl("add", self.drive, "Musik", "Pictures")
        self.assertEqual((run.out, run.err), ("", f'vantaroctl: note: "{self.world.home}/Musik" is not there now'))
        self.assertIn(f"{self.world.home}/Musik", self.world.json("list", self.drive))

    def test_a_volume_is_ejected_unless_it_is_busy(self):
        with LoopImage(self.world.folder, name="image") as image:
            self.world.adopt(image.mount_point)
            self.world.ctl("eject", image.mount_point)
            wait_until(lambda: not os.path.ismount(image.mount_point), "the unmounting")
            wait_until(lambda: self.world.json("drives") == [], "the drive's departure")
            image.mounted = False

    def test_raw_events_print_their_descriptors(self):
        self.world.adopt(self.drive)
        ctl = self.world.ctl
        self.assertEqual(ctl("event", "vnTR", "DHFS", f"----=furl:{self.drive}").out, "----=true:")
        self.assertEqual(ctl("event", "vnTR", "GSDF", f"----=furl:{self.drive}").out, "----=long:1")
        self.assertEqual(ctl("event", "vnTR", "GETL", f"----=furl:{self.drive}").out,
                         f"----=list:furl:file://{self.world.home}/Pictures")
        self.assertEqual(ctl("event", "vnTR", "SSDF", f"----=furl:{self.drive}", "SDFP=long:5").out, "")
        self.assertEqual(ctl("get", self.drive, "device-filter").out, "5")
        run = ctl("event", "vnTR", "SSDF", f"----=furl:{self.drive}", "SDFP=true", check=False)
        text = "kMRLSyncDeviceFilterProperty property not typeTrue or typeFalse"
        self.assertEqual((run.returncode, run.out, run.err), (1, f"errn=long:-50\nerrs=utf8:{text}", f"vantaroctl: {text}"))
        self.assertEqual(self.code("event", "vnTR", "XXXX"), 1)
        self.assertEqual(self.code("event", "vnTR", "QURY", "short=true"), 2)

    def test_one_the_agent_answered_with_an_error(self):
        rows = [("forget", "x"), ("query", "x"), ("list", "x"), ("set-list", "x"), ("add", "x", "y"), ("drop", "x", "y"),
                ("get", "x", "quiet"), ("set", "x", "quiet", "on"), ("start", "x"), ("start", "x", "--wait"), ("stop", "x"),
                ("status", "x"), ("progress", "x"), ("watch", "x"), ("remove-sync", "x"), ("eject", "x"),
                ("explain", "x", "y"), ("adopt", "missing")]
        for row in rows:
            run = self.world.ctl(*row, check=False)
            self.assertEqual((run.returncode, run.out), (1, ""), row)
            self.assertTrue(run.err.startswith("vantaroctl: "), row)
        for command in ("list", "status", "progress"):
            run = self.world.ctl(command, "x", "--json", check=False)
            self.assertEqual(json.loads(run.out), {"error": {"number": None, "message": '"x" is not a served drive'}})
            self.assertEqual((run.returncode, run.err), (1, 'vantaroctl: "x" is not a served drive'))

    def test_a_log_that_is_no_file_is_never_waited_for(self):
        self.world.stop()
        log = self.world.home / "Library/Logs/Vantaro.log"
        log.unlink()
        for make, remove in ((os.mkfifo, os.unlink), (os.mkdir, os.rmdir)):
            make(log)
            run = self.world.ctl("log", check=False)
            self.assertEqual((run.returncode, run.out, run.err), (1, "", f"vantaroctl: there is no log at {log}"))
            remove(log)

    def test_an_answer_that_cannot_be_written_is_no_success(self):
        with open("/dev/full", "w") as full:
            run = subprocess.run([str(support.BIN / "vantaroctl"), "drives", "--json"], env=self.world.env, stdout=full,
                                 stderr=subprocess.PIPE, text=True)
        self.assertEqual((run.returncode, run.stderr), (1, "vantaroctl: the answer could not be written\n"))

    def test_three_without_an_agent(self):
        self.client.close()
        self.world.stop()
        for row in (("drives",), ("volumes", "--json"), ("adopt", "x"), ("forget", "x"), ("query", "x"), ("list", "x"),
                    ("set-list", "x"), ("add", "x", "y"), ("drop", "x", "y"), ("get", "x", "quiet"),
                    ("set", "x", "quiet", "on"), ("start", "x"), ("stop", "x"), ("status", "x"), ("progress", "x"),
                    ("watch",), ("remove-sync", "x"), ("eject", "x"), ("explain", "x", "y"), ("event", "vnTR", "QURY"), ("log", "--follow"), ("quit",)):
            run = self.world.ctl(*row, check=False)
            self.assertEqual(run.returncode, 3, row)
            self.assertEqual(run.err, "vantaroctl: the agent is not running", row)
        # These read and write files.
        self.assertIn("Mirrorly stopping.", self.world.ctl("log").out)
        self.assertEqual(self.world.ctl("debug").out, "off")

    def test_four_when_the_time_is_over(self):
        write(self.world.home / "Music/m.mp3")
        self.world.adopt(self.drive)
        self.assertEqual(self.code("start", self.drive, "--wait", "--timeout", "0"), 4)
        self.assertEqual(self.code("set-list", self.drive, "Music", "--timeout", "0.01"), 4)

    def test_five_when_the_sync_ends_without_success(self):
        self.world.adopt(self.drive)
        self.wait_until_idle()
        run = subprocess.Popen([str(support.BIN / "vantaroctl"), "start", str(self.drive), "--wait"], env=self.world.env,
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        # Each STOP ends what runs or is queued then.
        def has_ended():
            self.client.event("STOP", self.drive)
            return run.poll() is not None

        wait_until(has_ended, "the end of the sync")
        out, err = run.communicate()
        self.assertEqual(run.returncode, 5, out + err)

    def test_130_when_interrupted(self):
        self.world.adopt(self.drive)
        self.wait_until_idle()
        for arguments in (["watch"], ["watch", "drive", "--json"], ["log", "--follow"]):
            run = subprocess.Popen([str(support.BIN / "vantaroctl"), *arguments], env=self.world.env, cwd=self.world.home,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
            caught = Path(f"/proc/{run.pid}/status")
            wait_until(lambda: run.poll() is not None or catches(caught, signal.SIGTERM), "the waiting program")
            run.send_signal(signal.SIGINT)
            out, err = run.communicate(timeout=support.PATIENCE)
            self.assertEqual((run.returncode, err), (130, ""), arguments)

    def test_130_when_interrupted_while_the_agent_does_not_answer(self):
        self.world.agent.send_signal(signal.SIGSTOP)
        try:
            # Whoever runs the tests in the background may have them ignore the signal.
            run = subprocess.Popen(["env", "--default-signal=INT", str(support.BIN / "vantaroctl"), "drives"],
                                   env=self.world.env, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
            wait_until(lambda: catches(Path(f"/proc/{run.pid}/status"), signal.SIGINT), "the waiting program")
            run.send_signal(signal.SIGINT)
            self.assertEqual((*run.communicate(timeout=support.PATIENCE), run.returncode), ("", "", 130))
        finally:
            self.world.agent.send_signal(signal.SIGCONT)

    def test_an_agent_that_dies_is_three(self):
        watch = subprocess.Popen([str(support.BIN / "vantaroctl"), "watch"], env=self.world.env, stdout=subprocess.PIPE,
                                 stderr=subprocess.PIPE, text=True)
        wait_until(lambda: catches(Path(f"/proc/{watch.pid}/status"), signal.SIGTERM), "the waiting program")
        self.world.agent.kill()
        _, err = watch.communicate(timeout=support.PATIENCE)
        self.assertEqual((watch.returncode, err), (3, "vantaroctl: the agent has ended\n"))
        self.world.agent.wait()

    def test_debug_lines_from_the_next_line_on(self):
        self.world.set_default("keep-aside", True)
        self.assertEqual(self.world.ctl("debug").out, "off")
        self.world.ctl("debug", "on")
        self.client.event("QURY", self.drive)
        self.world.ctl("debug", "off")
        self.client.event("QURY", self.drive)
        self.client.close()
        self.world.stop()
        lines = [line for line in self.world.messages() if "handleQueryEvent" in line]
        url = f"file://{self.drive}"
        self.assertEqual(lines, [
            f"> handleQueryEvent: 'vnTR'\\'QURY'{{ '----':'furl'(\"{url}\") }}",
            f"-handleQueryEvent: main URL is {self.drive}",
            "-handleQueryEvent: drive is not valid for sync.",
            "< handleQueryEvent: 'aevt'\\'ansr'{ '----':'fals'(), 'errn':-50, 'errs':'utf8'(\"drive is not valid for sync\") }",
        ])
        path = self.world.home / ".config/com.corvane.vantaro/defaults.plist"
        self.assertEqual(plistlib.loads(path.read_bytes()), {"debug": False, "keep-aside": True})


def catches(status, number):
    """Whether a process catches a signal, by its status file. A vantaroctl that waits catches SIGTERM."""
    for line in status.read_text().splitlines():
        if line.startswith("SigCgt:"):
            return bool(int(line.split()[1], 16) >> (number - 1) & 1)
    return False


if __name__ == "__main__":
    unittest.main()
