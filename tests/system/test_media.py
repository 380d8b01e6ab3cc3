"""The media filter as a person meets it: what it takes of real films, how it explains that, and what it remembers."""

import ctypes
import json
import os
import plistlib
import shutil
import struct
import subprocess
from pathlib import Path

from support import SystemTest, World, copies_folder, wait_until, write


def make_film(path, size="320x240", rate=25, arguments=()):
    """An H.264 film of one second with AAC sound."""
    path.parent.mkdir(parents=True, exist_ok=True)
    subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", "-f", "lavfi", "-i", f"testsrc=duration=1:rate={rate}:size={size}",
                    "-f", "lavfi", "-i", "sine=duration=1", "-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p",
                    "-c:a", "aac", "-ac", "2", *arguments, str(path)], check=True)
    return path


class Opens:
    """The names of the files in a folder that anybody opens while the with-block runs."""

    def __init__(self, folder):
        self.folder = folder

    def __enter__(self):
        libc = ctypes.CDLL(None)
        self.descriptor = libc.inotify_init1(os.O_NONBLOCK)
        assert libc.inotify_add_watch(self.descriptor, os.fsencode(self.folder), 0x20) > 0  # IN_OPEN
        return self

    def __exit__(self, *_):
        os.close(self.descriptor)

    def names(self):
        found = []
        while True:
            try:
                events = os.read(self.descriptor, 1 << 16)
            except BlockingIOError:
                return found
            at = 0
            while at < len(events):
                length = struct.unpack_from("iIII", events, at)[3]
                name = events[at + 16:at + 16 + length].rstrip(b"\0").decode()
                found += [name] if name else []
                at += 16 + length


class Media(SystemTest):
    def setUp(self):
        self.world = World().__enter__()
        self.addCleanup(self.world.__exit__, None, None, None)
        self.movies = self.world.home / "Movies"
        make_film(self.movies / "small.mp4")
        make_film(self.movies / "large.mp4", "1920x1080")
        shutil.copy(self.movies / "large.mp4", self.movies / "film.mkv")
        write(self.movies / "text.mp4", "no film at all" * 1000)
        self.drive = self.world.folder / "drive"
        self.drive.mkdir()
        self.world.start()
        self.world.ctl("adopt", self.drive)
        self.world.ctl("set", self.drive, "continuous", "off")
        self.world.ctl("set", self.drive, "device-filter", "apple-high")
        self.world.ctl("set-list", self.drive, self.movies)
        self.world.sync(self.drive)

    def copies(self):
        return {path.name for path in (copies_folder(self.drive) / "Movies").iterdir() if not path.name.startswith(".")}

    def start_again(self):
        self.world.start()
        wait_until(lambda: self.world.json("drives") != [], "the drive that is served again")

    def explain(self, path):
        return self.world.json("explain", self.drive, path)

    def test_takes_what_the_class_plays_and_counts_the_rest(self):
        self.assertEqual(self.copies(), {"small.mp4"})
        refused = [self.movies / name for name in ("large.mp4", "film.mkv", "text.mp4")]
        total = sum(-(-path.stat().st_size // 512) * 512 for path in refused)
        self.assertLogged(self.world, f"0 failed or skipped, 3 filtered ({total} bytes), 0 only on the drive.")
        self.world.ctl("set", self.drive, "device-filter", "unlimited")
        self.world.sync(self.drive)
        self.assertEqual(self.copies(), {"small.mp4", "large.mp4", "film.mkv", "text.mp4"})

    def test_explains_each_answer(self):
        small = self.explain(self.movies / "small.mp4")
        self.assertEqual((small["accepted"], small["reason"]), (True, "content"))
        self.assertEqual(small["explanation"], '"H264 high" accepts it: its video and its sound fit')
        self.assertEqual((small["examined"], small["movie"], small["listed"]), (True, True, True))
        self.assertEqual((small["deviceFilter"], small["deviceClass"]), (1, "Apple, high"))
        video, sound = small["tracks"]
        self.assertEqual(video, {"kind": "video", "enabled": True, "format": "avc1", "codec": "H.264", "width": 320,
                                 "height": 240, "frameRate": 25})
        self.assertEqual(sound, {"kind": "sound", "enabled": True, "format": "mp4a", "codec": "AAC", "sampleRate": 44100,
                                 "channels": 2})
        self.assertEqual([(p["list"], p["pattern"], p["answer"]) for p in small["patterns"]],
                         [("movies", r".*\.mp4$", "accepted")])
        large = self.explain(self.movies / "large.mp4")
        self.assertEqual((large["accepted"], large["reason"]), (False, "refused"))
        self.assertIn("1920 x 1080 pixels are more than 1280 x 720", large["explanation"])
        text = self.explain(self.movies / "text.mp4")
        self.assertEqual((text["accepted"], text["movie"]), (False, False))
        self.assertNotEqual(text["problem"], "")
        unknown = self.explain(self.movies / "film.mkv")
        self.assertEqual((unknown["reason"], unknown["examined"], unknown["patterns"]), ("no pattern", False, []))
        song = self.explain(write(self.world.home / "elsewhere/song.mp3"))
        self.assertEqual((song["accepted"], song["reason"], song["examined"], song["listed"]), (True, "name", False, False))

    def test_explains_for_people_too(self):
        run = self.world.ctl("explain", "drive", "Movies/large.mp4")
        lines = run.out.splitlines()
        self.assertEqual(lines[0], f'{self.movies}/large.mp4 is refused: "H264 high" refuses it: '
                                   "1920 x 1080 pixels are more than 1280 x 720.")
        self.assertEqual(lines[1], 'The drive\'s device class is "Apple, high".')
        self.assertIn("1920 x 1080 pixels, 25 frames per second", run.out)
        self.assertIn("44100 Hz, 2 channels", run.out)
        write(self.world.home / "song.mp3")
        run = self.world.ctl("explain", "drive", "song.mp3")
        self.assertIn("It lies in nothing that is on the drive's sync list.", run.out)
        self.assertIn("Nobody looked inside.", run.out)

    def test_errors_of_an_explanation_are_clear(self):
        run = self.world.ctl("explain", self.drive, "Movies/missing.mp4", check=False)
        self.assertEqual((run.returncode, run.out), (1, ""))
        self.assertEqual(run.err, f'vantaroctl: "{self.movies}/missing.mp4": no such file')
        run = self.world.ctl("explain", self.drive, "Movies/missing.mp4", "--json", check=False)
        self.assertEqual(json.loads(run.out)["error"]["message"], f'"{self.movies}/missing.mp4": no such file')
        self.assertEqual(self.world.ctl("explain", self.drive, check=False).returncode, 2)
        os.mkfifo(self.movies / "pipe.mp4")
        pipe = self.explain(self.movies / "pipe.mp4")  # opening it would wait for a writer
        self.assertEqual((pipe["accepted"], pipe["kind"], pipe["problem"]), (False, "special file", "not a regular file"))
        os.symlink("nowhere.mp4", self.movies / "broken.mp4")
        self.assertEqual(self.explain(self.movies / "broken.mp4")["kind"], "broken link")

    def test_a_pipe_named_like_a_film_holds_up_no_sync(self):
        os.mkfifo(self.movies / "pipe.mp4")
        os.symlink("/dev/zero", self.movies / "zero.mov")
        make_film(self.movies / "later.mp4")
        self.world.sync(self.drive)
        self.assertEqual(self.copies(), {"small.mp4", "later.mp4"})

    def test_libraries_pass_whole_or_not_at_all(self):
        pictures = self.world.home / "Pictures"
        for name in ("Trip.photolibrary/Database/index.bin", "Trip.photolibrary/Masters/a.jpg", "Booth/raw.bin",
                     "Booth 2/raw.bin", "Other/raw.bin"):
            write(pictures / name)
        booth = self.world.home / ".config/com.apple.PhotoBooth/defaults.plist"
        booth.parent.mkdir(parents=True)
        booth.write_bytes(plistlib.dumps({"LibraryPath": str(pictures / "Booth")}))
        self.world.ctl("add", self.drive, pictures)
        self.world.ctl("set", self.drive, "device-filter", "windows-rt")
        self.world.sync(self.drive)
        self.assertFalse((copies_folder(self.drive) / "Pictures").exists())
        self.assertEqual(self.explain(pictures / "Booth/raw.bin")["reason"], "no pattern")
        self.world.ctl("set", self.drive, "device-filter", "apple-high")
        self.world.sync(self.drive)
        copies = copies_folder(self.drive) / "Pictures"
        self.assertEqual(sorted(str(p.relative_to(copies)) for p in copies.rglob("*") if p.is_file()),
                         ["Booth 2/raw.bin", "Booth/raw.bin", "Trip.photolibrary/Database/index.bin",
                          "Trip.photolibrary/Masters/a.jpg"])  # the library's path is a plain prefix
        self.assertEqual(self.explain(pictures / "Booth/raw.bin")["reason"], "library")
        library = self.explain(pictures / "Trip.photolibrary")
        self.assertEqual((library["accepted"], library["reason"], library["kind"]), (True, "name", "folder"))

    def test_looks_into_no_film_again(self):
        self.world.stop()
        with Opens(self.movies) as opens:
            self.start_again()
            self.world.sync(self.drive)
            self.assertEqual(opens.names(), [])
        make_film(self.movies / "large.mp4", "640x480")
        with Opens(self.movies) as opens:
            self.world.sync(self.drive)
            self.assertIn("large.mp4", opens.names())
            self.assertNotIn("text.mp4", opens.names())
        self.assertIn("large.mp4", self.copies())

    def test_a_cache_that_is_damaged_is_made_anew(self):
        cache = Path(self.world.home / ".local/state/vantaro/characterizations")
        self.world.stop()
        whole = cache.read_bytes()
        for content in (b"", whole[:-9], whole[:40] + b"\xff" + whole[41:], b"VTMC\x63" + whole[5:], os.urandom(5000)):
            cache.write_bytes(content)
            self.start_again()
            self.world.sync(self.drive)
            self.assertEqual(self.copies(), {"small.mp4"})
            self.assertIn("starts empty: it is damaged", self.world.system_log())
            self.world.stop()
            self.assertEqual(len(cache.read_bytes()), len(whole))
            self.assertEqual(cache.stat().st_mode & 0o777, 0o600)
        self.assertEqual([path.name for path in cache.parent.iterdir() if "characterizations" in path.name],
                         ["characterizations"])
