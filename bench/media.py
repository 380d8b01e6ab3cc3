"""The media filter: names decided, media files characterised against ffprobe, and a sync without a change of many films."""

import ctypes
import json
import os
import shutil
import struct
import subprocess
import sys
import time

from agent import Agent

FILMS = 5000
QUICK_FILMS = 1000
OPENED = 0x20  # IN_OPEN
KINDS = {
    "film.mp4": "-f lavfi -i testsrc=duration=20:rate=25:size=320x240 -f lavfi -i sine=duration=20 -c:v libx264 "
                "-preset ultrafast -pix_fmt yuv420p -c:a aac",
    "wide.mov": "-f lavfi -i testsrc=duration=4:rate=25:size=1920x1080 -c:v libx264 -preset ultrafast -pix_fmt yuv420p",
    "song.m4a": "-f lavfi -i sine=duration=60 -c:a aac",
    "clip.avi": "-f lavfi -i testsrc=duration=4:rate=25:size=640x480 -c:v mjpeg -pix_fmt yuvj420p",
}


class OpenCounter:
    """Counts how often files directly in a folder are opened, by anybody, while the with-block runs."""

    def __init__(self, folder):
        self._folder = folder

    def __enter__(self):
        libc = ctypes.CDLL(None, use_errno=True)
        self._descriptor = libc.inotify_init1(os.O_NONBLOCK)
        if libc.inotify_add_watch(self._descriptor, os.fsencode(self._folder), OPENED) < 0:
            sys.exit("bench: the folder of films cannot be watched")
        return self

    def __exit__(self, *_):
        os.close(self._descriptor)

    def count(self):
        """Opens of the folder itself have no name and do not count."""
        opened = 0
        while True:
            try:
                events = os.read(self._descriptor, 1 << 20)
            except BlockingIOError:
                return opened
            at = 0
            while at < len(events):
                length = struct.unpack_from("iIII", events, at)[3]
                opened += 1 if length else 0
                at += 16 + length


def make_files(folder):
    os.makedirs(folder, exist_ok=True)
    paths = []
    for name, arguments in KINDS.items():
        path = os.path.join(folder, name)
        if not os.path.exists(path):
            subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", *arguments.split(), path + ".part." + name], check=True)
            os.rename(path + ".part." + name, path)
        paths.append(path)
    return paths


def figures(command):
    answer = subprocess.run(command, capture_output=True, text=True, check=False)
    if answer.returncode != 0:
        sys.exit(f"bench: {command[0]} ended with {answer.returncode}: {answer.stderr}")
    return {name: float(value) for name, value in (line.split() for line in answer.stdout.splitlines())}


def children_seconds():
    times = os.times()
    return times.children_user + times.children_system


def ffprobe_rate(paths, seconds=1):
    """Files a processor second."""
    done, start = 0, children_seconds()
    while children_seconds() - start < seconds:
        for path in paths:
            subprocess.run(["ffprobe", "-v", "error", "-show_streams", "-show_format", path], stdout=subprocess.DEVNULL,
                           check=True)
        done += len(paths)
    return done / (children_seconds() - start)


def spread(film, folder, count):
    """Many films of one content: half with a name that the drive's class takes, half too large for it."""
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    small, wide = film
    for number in range(count):
        original = small if number % 2 else wide
        shutil.copyfile(original, os.path.join(folder, f"film {number:04d}{os.path.splitext(original)[1]}"))


def until_served(agent):
    """An agent that has just begun has not met its drives yet."""
    limit = time.monotonic() + 30
    while json.loads(agent.control("drives", "--json")) == []:
        if time.monotonic() > limit:
            sys.exit("bench: the agent does not serve its drive again")
        time.sleep(0.05)


def unchanged_sync(work, programs, film, count):
    """Seconds and opened films of a sync without a change, with what an earlier run of the agent remembered and without."""
    home, drive = os.path.join(work, "home"), os.path.join(work, "drive")
    for folder in (home, drive):
        shutil.rmtree(folder, ignore_errors=True)
    films = os.path.join(home, "Movies")
    spread(film, films, count)
    os.mkdir(drive)
    log = os.path.join(work, "agent.log")
    cache = os.path.join(os.environ["XDG_STATE_HOME"], "vantaro", "characterizations")
    with Agent(programs, log) as agent:
        agent.control("adopt", drive)
        agent.control("set", drive, "continuous", "off")
        agent.control("set", drive, "device-filter", "apple-low")
        agent.control("set-list", drive, films)
        agent.control("start", drive, "--wait")
    found = {}
    for kind in ("remembered", "forgotten"):
        if kind == "forgotten":
            os.unlink(cache)
        with Agent(programs, log) as agent, OpenCounter(films) as opens:
            until_served(agent)
            start = time.monotonic()
            agent.control("start", drive, "--wait")
            found[kind] = {"seconds": time.monotonic() - start, "opened": opens.count()}
    copied = sum(len([name for name in names if name.startswith("film")]) for _, _, names in os.walk(drive))
    if copied != count // 2:
        sys.exit(f"bench: {copied} of {count} films were copied, it should be half of them")
    shutil.rmtree(drive)
    return found


def measure(work, programs, quick):
    paths = make_files(os.path.join(work, "media"))
    program = os.path.join(programs, "bench_media")
    names = figures([program, "names"])
    files = figures([program, "files", *paths])["files"]
    count = QUICK_FILMS if quick else FILMS
    small = [path for path in paths if path.endswith(("film.mp4", "wide.mov"))]
    return {"namesPerSecond": names, "filesPerSecond": {"vantaro": files, "ffprobe": ffprobe_rate(paths)},
            "unchangedSync": {"films": count, **unchanged_sync(work, programs, small, count)}}


def table(found):
    files, sync = found["filesPerSecond"], found["unchangedSync"]
    lines = ["Media filter: names decided a processor second: " +
             ", ".join(f"{rate / 1e6:.1f} million ({name})" for name, rate in found["namesPerSecond"].items()),
             f"  media files characterised a processor second: {files['vantaro']:.0f}, ffprobe {files['ffprobe']:.0f}: "
             f"{files['vantaro'] / files['ffprobe']:.0f} times as many"]
    for kind, title in (("remembered", "with"), ("forgotten", "without")):
        lines.append(f"  {sync['films']} films without a change, {title} the cache: {sync[kind]['seconds']:.2f} s, "
                     f"{sync[kind]['opened']} of them opened")
    return "\n".join(lines)
