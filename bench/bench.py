"""First sync and no-change sync of two loads: this system against rsync and cp, alternating, in one run.

Every measurement starts from the same state: the source on the same file system as the copy, everything written flushed,
caches dropped where that is allowed and read warm where it is not. Two times are taken: until the command returns, and
until its copy is on the disk (a flush of the file system follows). The ratios compare the second, because a copy on a
drive that may be pulled is done only then; this system flushes by itself.

usage: bench.py PROJECT [--quick], inside a session bus of its own with HOME below PROJECT/build/bench"""

import json
import os
import platform
import random
import shutil
import statistics
import subprocess
import sys
import time

from agent import Agent
import media

TOOLS = ("vantaro", "rsync -a", "cp -a")
ROUNDS = 5
# Seconds after which a quick run starts no further round.
QUICK_ENOUGH = 35


class Load:
    """A source tree, made once and used by every tool in turn."""

    def __init__(self, name, title, folder):
        self.name, self.title, self.path = name, title, os.path.join(folder, name)

    def make(self, fill):
        mark = self.path + ".made"
        if not os.path.exists(mark):
            shutil.rmtree(self.path, ignore_errors=True)
            os.makedirs(self.path)
            fill(self.path)
            open(mark, "w", encoding="utf-8").close()
        self.contents = measure(self.path)


def fill_small(path, files=20000, folders=200):
    dice = random.Random(20120305)
    for folder in range(folders):
        inside = os.path.join(path, f"folder {folder:03d}")
        os.mkdir(inside)
        for number in range(files // folders):
            suffix = "jpg" if number % 2 else "txt"
            with open(os.path.join(inside, f"item {number:03d}.{suffix}"), "wb") as file:
                file.write(dice.randbytes(dice.randint(1024, 8192)))


def fill_big(path, mebibytes=1024):
    dice = random.Random(42)
    with open(os.path.join(path, "concert.wav"), "wb") as file:
        for _ in range(mebibytes):
            file.write(dice.randbytes(1 << 20))


def measure(path):
    """Number of files and bytes below a folder, the agent's own hidden files aside."""
    count = size = 0
    for folder, folders, names in os.walk(path):
        folders[:] = [name for name in folders if not name.startswith(".")]
        for name in names:
            if not name.startswith("."):
                count += 1
                size += os.lstat(os.path.join(folder, name)).st_size
    return count, size


def settle(path):
    """The same state before every measurement. Answers whether the caches are cold."""
    os.sync()
    try:
        with open("/proc/sys/vm/drop_caches", "w", encoding="ascii") as file:
            file.write("3")
        return True
    except OSError:
        subprocess.run(["tar", "-cf", "-", "-C", path, "."], stdout=subprocess.DEVNULL, check=True)
        return False


def timed(command, destination):
    """Seconds until the command returned, and until its copy is on disk."""
    start = time.monotonic()
    answer = subprocess.run(command, stdout=subprocess.DEVNULL, check=False)
    returned = time.monotonic() - start
    if answer.returncode != 0:
        sys.exit(f"bench: {' '.join(command)} ended with {answer.returncode}")
    subprocess.run(["sync", "-f", destination], check=True)
    return {"returned": returned, "onDisk": time.monotonic() - start}


def checked(load, destination, tool):
    found = measure(destination)
    if found != load.contents:
        sys.exit(f"bench: {tool} left {found[0]} files with {found[1]} bytes of \"{load.name}\", "
                 f"the source has {load.contents[0]} with {load.contents[1]}")


def run_peer(tool, load, work):
    target = os.path.join(work, "copy")
    shutil.rmtree(target, ignore_errors=True)
    os.mkdir(target)
    again = {"rsync -a": ["rsync", "-a"], "cp -a": ["cp", "-au"]}[tool]
    settle(load.path)
    first = timed(tool.split() + [load.path, target], target)
    settle(load.path)
    unchanged = timed(again + [load.path, target], target)
    checked(load, target, tool)
    shutil.rmtree(target)
    return first, unchanged


def run_vantaro(load, work, programs):
    home, drive = os.path.join(work, "home"), os.path.join(work, "drive")
    for folder in (home, drive):
        shutil.rmtree(folder, ignore_errors=True)
    listed = os.path.join(home, "Music", "load")
    os.makedirs(listed)
    os.mkdir(drive)
    place = os.path.join(listed, load.name)
    with Agent(programs, os.path.join(work, "agent.log")) as agent:
        # The drive is set up while the listed folder is empty; then the load appears in it by a rename.
        agent.control("adopt", drive)
        agent.control("set", drive, "continuous", "off")
        agent.control("set-list", drive, listed)
        agent.control("start", drive, "--wait")
        os.rename(load.path, place)
        try:
            settle(place)
            first = timed(agent.command("start", drive, "--wait"), drive)
            first["peakKiB"] = agent.peak_memory()
            settle(place)
            unchanged = timed(agent.command("start", drive, "--wait"), drive)
            unchanged["peakKiB"] = agent.peak_memory()
        finally:
            os.rename(place, load.path)
    checked(load, drive, "vantaro")
    shutil.rmtree(drive)
    return first, unchanged


def medians(samples):
    return {key: statistics.median(sample[key] for sample in samples) for key in samples[0]}


def table(results, loads, rounds, cold):
    caches = "cold" if cold else "warm"
    lines = [f"Seconds, median of {rounds} round{'s'[:rounds > 1]}, caches {caches}: until on disk (until it returned)",
             f"{'':26}" + "".join(f"{tool:>14}" for tool in TOOLS) + f"{'/rsync':>6}{'/cp':>6}"]
    for load in loads:
        for kind, title in (("first", "first"), ("unchanged", "no change")):
            row = {tool: medians(results[load.name][tool][kind]) for tool in TOOLS}
            cells = "".join(f"{row[tool]['onDisk']:>6.2f} ({row[tool]['returned']:5.2f})" for tool in TOOLS)
            ours = row["vantaro"]["onDisk"]
            ratios = f"{ours / row['rsync -a']['onDisk']:6.2f}{ours / row['cp -a']['onDisk']:6.2f}"
            lines.append(f"{load.title + ', ' + title:26}{cells}{ratios}")
        peak = max(sample["peakKiB"] for kind in ("first", "unchanged") for sample in results[load.name]["vantaro"][kind])
        lines.append(f"  the agent's peak memory: {peak / 1024:.1f} MiB")
    lines.append("cp without a change is cp -au. A sync that is asked for begins after one second.")
    return "\n".join(lines)


def main():
    project, quick = os.path.abspath(sys.argv[1]), "--quick" in sys.argv[2:]
    work = os.path.join(project, "build", "bench")
    programs = os.path.join(project, "build", "release", "bin")
    source = os.path.join(work, "source")
    os.makedirs(source, exist_ok=True)
    small, big = Load("small", "20,000 files", source), Load("big", "one 1 GiB file", source)
    small.make(fill_small)
    big.make(fill_big)
    loads = (small, big)
    results = {load.name: {tool: {"first": [], "unchanged": []} for tool in TOOLS} for load in loads}
    cold = settle(source)
    began = time.monotonic()
    rounds = 0
    while rounds < ROUNDS and not (quick and rounds and time.monotonic() - began > QUICK_ENOUGH):
        for load in loads:
            # The order turns with every round, so that nobody always comes first.
            for tool in TOOLS[rounds % 3:] + TOOLS[:rounds % 3]:
                print(f"round {rounds + 1}, {load.title}: {tool}", file=sys.stderr)
                run = run_vantaro(load, work, programs) if tool == "vantaro" else run_peer(tool, load, work)
                for kind, sample in zip(("first", "unchanged"), run):
                    results[load.name][tool][kind].append(sample)
        rounds += 1
    print("media filter", file=sys.stderr)
    filtering = media.measure(work, programs, quick)
    machine = {"kernel": platform.release(), "cores": os.cpu_count(), "rounds": rounds, "coldCaches": cold,
               "fileSystem": subprocess.run(["stat", "-f", "-c", "%T", work], capture_output=True, text=True,
                                            check=True).stdout.strip()}
    summary = {load.name: {tool: {kind: medians(samples) for kind, samples in kinds.items()}
                           for tool, kinds in results[load.name].items()} for load in loads}
    with open(os.path.join(project, "build", "bench.json"), "w", encoding="utf-8") as file:
        json.dump({"machine": machine, "medians": summary, "samples": results, "mediaFilter": filtering}, file, indent=1)
    print(table(results, loads, rounds, cold))
    print(media.table(filtering))


if __name__ == "__main__":
    main()
