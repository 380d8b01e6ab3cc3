"""Watching many folders, and how soon one change among many files is on the drive: this system, inotifywait and lsyncd.

Everybody watches the same tree, which has been read once before. What a watch costs the kernel is the same for all and is
not counted. The quiet period, which this system keeps on purpose and lsyncd is given too, is taken off the time until a
copy is there. Processor time stands beside the times: it says the same on a machine that has other work to do."""

import os
import shutil
import statistics
import subprocess
import sys
import time

from agent import Agent
from media import figures

QUIET = 10.0  # seconds
IDLE, QUICK_IDLE = 120, 5  # seconds
FOLDERS, QUICK_FOLDERS = 100_000, 10_000
FILES, QUICK_FILES = 100_000, 10_000
ROUNDS = 3
IN_A_FOLDER = 100
LIMIT = "/proc/sys/fs/inotify/max_user_watches"


class Peer:
    """A watching program while the with-block runs, from the moment on when its output has said that it is ready."""

    def __init__(self, command, ready, log):
        self._command, self._ready, self._log = command, ready, log

    def __enter__(self):
        start = time.monotonic()
        with open(self._log, "wb") as log:
            self._process = subprocess.Popen(self._command, stdout=log, stderr=log)
        self.id = self._process.pid
        self.wait_for_line(self._ready)
        self.seconds, self.processor = time.monotonic() - start, processor_seconds(self.id)
        return self

    def __exit__(self, *_):
        self._process.terminate()
        self._process.wait()

    def wait_for_line(self, text):
        def said():
            if self._process.poll() is not None:
                sys.exit(f"bench: {self._command[0]} has ended; its messages are in {self._log}")
            with open(self._log, encoding="utf-8", errors="replace") as file:
                return text in file.read()

        wait_for(said)


def make_tree(root, folders, files):
    """`files` files spread over `folders` folders, a hundred folders in each group; in the second run they are there."""
    if not os.path.exists(root + ".made"):
        shutil.rmtree(root, ignore_errors=True)
        for number in range(folders):
            inside = os.path.join(root, f"group {number // 100}", f"folder {number}")
            os.makedirs(inside)
            for at in range(number * files // folders, (number + 1) * files // folders):
                with open(os.path.join(inside, f"item {at}.txt"), "wb") as file:
                    file.write(b"x")
        open(root + ".made", "w", encoding="utf-8").close()
    return sum(1 for _ in os.walk(root))


def processor_seconds(process):
    """Of all threads that run, to the nanosecond: an idle program uses less than one tick of the usual count."""
    total = 0
    for thread in os.listdir(f"/proc/{process}/task"):
        with open(f"/proc/{process}/task/{thread}/schedstat", encoding="ascii") as file:
            total += int(file.read().split()[0])
    return total / 1e9


def resident_bytes(process):
    with open(f"/proc/{process}/status", encoding="ascii") as file:
        return next(int(line.split()[1]) * 1024 for line in file if line.startswith("VmRSS"))


def watched_folders(process):
    count, folder = 0, f"/proc/{process}/fdinfo"
    for name in os.listdir(folder):
        try:
            with open(os.path.join(folder, name), encoding="ascii") as file:
                count += sum(line.startswith("inotify") for line in file)
        except FileNotFoundError:
            pass
    return count


def wait_for(condition, pause=0.01, limit=600):
    end = time.monotonic() + limit
    while not condition():
        if time.monotonic() > end:
            sys.exit("bench: waited in vain while watching")
        time.sleep(pause)


def idle_percent(process, seconds):
    before = processor_seconds(process)
    time.sleep(seconds)
    return (processor_seconds(process) - before) / seconds * 100


def until_copied(source, copy, process):
    """Seconds from the end of the quiet period to the changed file's copy, and of the processor since the change."""
    content = os.urandom(16)

    def arrived():
        try:
            with open(copy, "rb") as file:
                return file.read() == content
        except OSError:
            return False

    used = processor_seconds(process)
    with open(source, "wb") as file:
        file.write(content)
    changed = time.monotonic()
    time.sleep(QUIET)
    wait_for(arrived)
    seconds = time.monotonic() - changed - QUIET
    return {"seconds": seconds, "processor": processor_seconds(process) - used}


def medians(samples):
    return {key: statistics.median(sample[key] for sample in samples) for key in samples[0]}


def run_agent(work, programs, tree, folders, item, rounds, idle):
    """Keeps the tree up to date: the medians for one change, and what the agent uses when nothing changes."""
    print(f"watching {folders} folders: vantaro", file=sys.stderr)
    home, drive = os.path.join(work, "home"), os.path.join(work, "drive")
    for folder in (home, drive):
        shutil.rmtree(folder, ignore_errors=True)
    listed = os.path.join(home, "Music", "watched")
    os.makedirs(os.path.dirname(listed))
    os.mkdir(drive)
    os.rename(tree, listed)
    try:
        with Agent(programs, os.path.join(work, "agent.log")) as agent:
            agent.control("adopt", drive)
            agent.control("set-list", drive, listed)
            agent.control("start", drive, "--wait")
            wait_for(lambda: watched_folders(agent.id) >= folders, 0.5)
            copies = next(folder for folder, _, names in os.walk(drive) if os.path.basename(item) in names)
            found, samples = {}, []
            for _ in range(rounds):
                agent.control("start", drive, "--wait")  # nothing waits any more
                samples.append(until_copied(os.path.join(listed, item), os.path.join(copies, os.path.basename(item)),
                                            agent.id))
            found["change"] = medians(samples)
            if idle:
                agent.control("start", drive, "--wait")
                found["idlePercent"] = idle_percent(agent.id, idle)
            return found
    finally:
        os.rename(listed, tree)
        shutil.rmtree(drive, ignore_errors=True)


def run_peer(command, ready, settled, tree, folders, work, idle):
    """Set-up, resident memory beside that of watching one empty folder, and idling."""
    print(f"watching {folders} folders: {command(tree)[0]}", file=sys.stderr)
    log, empty = os.path.join(work, "peer.log"), os.path.join(work, "empty")
    os.makedirs(empty, exist_ok=True)
    with Peer(command(empty), ready, log) as peer:
        peer.wait_for_line(settled)
        base = resident_bytes(peer.id)
    with Peer(command(tree), ready, log) as peer:
        count = watched_folders(peer.id)
        if count < folders:
            sys.exit(f"bench: {command(tree)[0]} watches {count} of {folders} folders")
        peer.wait_for_line(settled)
        return {"setUp": peer.seconds, "setUpProcessor": peer.processor,
                "residentBytes": (resident_bytes(peer.id) - base) / folders, "idlePercent": idle_percent(peer.id, idle)}


def lsyncd(target):
    def command(tree):
        shutil.rmtree(target, ignore_errors=True)
        os.mkdir(target)
        return ["lsyncd", "-nodaemon", "-delay", str(int(QUIET)), "-rsync", tree, target]

    return command, "recursive startup rsync", " finished."


def change_by_lsyncd(work, tree, item, rounds):
    target = os.path.join(work, "lsyncd")
    command, ready, settled = lsyncd(target)
    with Peer(command(tree), ready, os.path.join(work, "peer.log")) as peer:
        peer.wait_for_line(settled)
        return medians([until_copied(os.path.join(tree, item), os.path.join(target, item), peer.id)
                        for _ in range(rounds)])


def measure(work, programs, quick):
    """In a quick run trees and rest are smaller; nothing is scaled up to the full size."""
    with open(LIMIT, encoding="ascii") as file:
        allowed = int(file.read()) * 9 // 10
    rest, rounds = (QUICK_IDLE, 1) if quick else (IDLE, ROUNDS)
    made = min(QUICK_FOLDERS if quick else FOLDERS, allowed)
    files = QUICK_FILES if quick else FILES
    wide, full = os.path.join(work, f"watched folders {made}"), os.path.join(work, f"watched files {files}")
    folders = make_tree(wide, made, made // IN_A_FOLDER)
    filled = make_tree(full, files // IN_A_FOLDER, files)
    wide_item = os.path.join("group 0", f"folder {IN_A_FOLDER - 1}", "item 0.txt")
    full_item = os.path.join("group 0", "folder 7", f"item {7 * IN_A_FOLDER}.txt")
    target = os.path.join(work, "lsyncd")
    result = {"folders": folders, "files": files, "idleSeconds": rest, "rounds": rounds}
    result["vantaro"] = figures([os.path.join(programs, "bench_watch"), wide])
    result["inotifywait"] = run_peer(lambda tree: ["inotifywait", "-m", "-r", tree], *["Watches established."] * 2, wide,
                                     folders, work, rest)
    result["lsyncd"] = run_peer(*lsyncd(target), wide, folders, work, rest)
    at_rest = run_agent(work, programs, wide, folders, wide_item, 1, rest)
    result["vantaro"]["idlePercent"] = at_rest["idlePercent"]
    result["vantaro"]["changeInFolders"] = at_rest["change"]
    result["vantaro"]["change"] = run_agent(work, programs, full, filled, full_item, rounds, 0)["change"]
    result["lsyncd"]["change"] = change_by_lsyncd(work, full, full_item, rounds)
    shutil.rmtree(target)
    return result


def table(result):
    tools = ("vantaro", "inotifywait", "lsyncd")
    lines = [f"Watching {result['folders']:,} folders, caches warm{'':4}" + "".join(f"{tool:>13}" for tool in tools)]
    for key, title, form in (("setUp", "set-up, seconds", ".2f"), ("setUpProcessor", "set-up, processor seconds", ".2f"),
                             ("allocatedBytes", "bytes allocated a folder", ".0f"),
                             ("residentBytes", "bytes resident a folder", ".0f"),
                             ("idlePercent", f"processor in {result['idleSeconds']} s of rest, %", ".4f")):
        cells = (format(result[tool][key], form) if key in result[tool] else "-" for tool in tools)
        lines.append(f"  {title:<38}" + "".join(f"{cell:>13}" for cell in cells))
    cells = (f"{result[tool]['change']['seconds']:.2f} ({result[tool]['change']['processor']:.2f})"
             if "change" in result[tool] else "-" for tool in tools)
    lines.append(f"  {'one change of ' + format(result['files'], ',') + ' files, seconds':<38}" +
                 "".join(f"{cell:>13}" for cell in cells))
    lines.append("A change: from the end of the quiet period to its copy, and of the processor; half a second of it is this "
                 "system's\ncollecting of events. lsyncd copies what changed and compares nothing; its rsync's processor "
                 "time is not counted.")
    return "\n".join(lines)
