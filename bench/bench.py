"""First sync, no-change sync and update of two loads: this system against rsync and cp, alternating, in one run.

Every measurement starts from the same state: the source on the same file system as the copy, everything written flushed,
caches dropped where that is allowed and read warm where it is not. Two times are taken: until the command returns, and
until its copy is on the disk (a flush of the file system follows). The ratios compare the second, because a copy on a
drive that may be pulled is done only then; this system flushes by itself. The processor time stands beside them: it
says the same on a machine that has other work to do.

usage: bench.py PROJECT [--quick] [--watching], inside a session bus of its own with HOME below PROJECT/build/bench"""

import json
import os
import platform
import random
import resource
import shutil
import statistics
import subprocess
import sys
import time

from agent import Agent
import media
import watching

TOOLS = ("vantaro", "rsync -a", "cp -a")
KINDS = {"first": "first", "unchanged": "no change", "changed": "1 % changed"}
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


def children_seconds():
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def timed(command, destination, agent_seconds=lambda: 0.0):
    """Seconds until the command returned, until its copy is on disk, and of the processor for all of it."""
    start, used = time.monotonic(), children_seconds() + agent_seconds()
    answer = subprocess.run(command, stdout=subprocess.DEVNULL, check=False)
    returned = time.monotonic() - start
    if answer.returncode != 0:
        sys.exit(f"bench: {' '.join(command)} ended with {answer.returncode}")
    subprocess.run(["sync", "-f", destination], check=True)
    on_disk = time.monotonic() - start
    return {"returned": returned, "onDisk": on_disk, "processor": children_seconds() + agent_seconds() - used}


def change(path):
    """Gives every hundredth file other content of the same length, and the date of now. Answers whether any."""
    number = 0
    for folder, folders, names in os.walk(path):
        folders.sort()
        for name in sorted(names):
            number += 1
            if number % 100 == 0:
                with open(os.path.join(folder, name), "r+b") as file:
                    first = file.read(1)
                    file.seek(0)
                    file.write(bytes([first[0] ^ 1]))
    return number >= 100


def runs(path, destination, first, again, agent_seconds=lambda: 0.0):
    """The measurements of each kind, from the same state; a load of few files is never changed."""
    results = {}
    for kind in KINDS:
        if kind == "changed" and not change(path):
            continue
        settle(path)
        results[kind] = timed(first if kind == "first" else again, destination, agent_seconds)
    return results


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
    results = runs(load.path, target, tool.split() + [load.path, target], again + [load.path, target])
    checked(load, target, tool)
    shutil.rmtree(target)
    return results


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
            start = agent.command("start", drive, "--wait")
            results = runs(place, drive, start, start, agent.processor_seconds)
            for result in results.values():
                result["peakKiB"] = agent.peak_memory()
        finally:
            os.rename(place, load.path)
    checked(load, drive, "vantaro")
    shutil.rmtree(drive)
    return results


def medians(samples):
    return {key: statistics.median(sample[key] for sample in samples) for key in samples[0]}


def table(results, loads, rounds, cold):
    caches = "cold" if cold else "warm"
    lines = [f"Seconds, median of {rounds} round{'s'[:rounds > 1]}, caches {caches}: until on disk (of the processor)",
             f"{'':27}" + "".join(f"{tool:>14}" for tool in TOOLS) + f"{'/rsync':>8}{'/cp':>6}"]
    for load in loads:
        for kind, title in KINDS.items():
            if kind not in results[load.name][TOOLS[0]]:
                continue
            row = {tool: medians(results[load.name][tool][kind]) for tool in TOOLS}
            cells = "".join(f"{row[tool]['onDisk']:>6.2f} ({row[tool]['processor']:5.2f})" for tool in TOOLS)
            ours = row["vantaro"]["onDisk"]
            ratios = f"{ours / row['rsync -a']['onDisk']:8.2f}{ours / row['cp -a']['onDisk']:6.2f}"
            lines.append(f"{load.title + ', ' + title:27}{cells}{ratios}")
        peak = max(sample["peakKiB"] for samples in results[load.name]["vantaro"].values() for sample in samples)
        lines.append(f"  the agent's peak memory: {peak / 1024:.1f} MiB")
    lines.append("cp for the second time is cp -au. A sync that is asked for begins after one second.")
    return "\n".join(lines)


def compare(work, programs, quick):
    """The loads against the peers, in rounds: what bench.json receives, and the table."""
    source = os.path.join(work, "source")
    os.makedirs(source, exist_ok=True)
    small, big = Load("small", "20,000 files", source), Load("big", "one 1 GiB file", source)
    small.make(fill_small)
    big.make(fill_big)
    loads = (small, big)
    results = {load.name: {tool: {} for tool in TOOLS} for load in loads}
    cold = settle(source)
    began = time.monotonic()
    rounds = 0
    while rounds < ROUNDS and not (quick and rounds and time.monotonic() - began > QUICK_ENOUGH):
        for load in loads:
            # The order turns with every round, so that nobody always comes first.
            for tool in TOOLS[rounds % 3:] + TOOLS[:rounds % 3]:
                print(f"round {rounds + 1}, {load.title}: {tool}", file=sys.stderr)
                run = run_vantaro(load, work, programs) if tool == "vantaro" else run_peer(tool, load, work)
                for kind, sample in run.items():
                    results[load.name][tool].setdefault(kind, []).append(sample)
        rounds += 1
    summary = {load.name: {tool: {kind: medians(samples) for kind, samples in kinds.items()}
                           for tool, kinds in results[load.name].items()} for load in loads}
    return {"medians": summary, "samples": results}, {"rounds": rounds, "coldCaches": cold}, \
        table(results, loads, rounds, cold)


def main():
    project, quick = os.path.abspath(sys.argv[1]), "--quick" in sys.argv[2:]
    work = os.path.join(project, "build", "bench")
    programs = os.path.join(project, "build", "release", "bin")
    os.makedirs(work, exist_ok=True)
    found = {"machine": {"kernel": platform.release(), "cores": os.cpu_count(),
                         "fileSystem": subprocess.run(["stat", "-f", "-c", "%T", work], capture_output=True, text=True,
                                                      check=True).stdout.strip()}}
    tables = []
    if "--watching" not in sys.argv[2:]:
        compared, conditions, text = compare(work, programs, quick)
        found.update(compared)
        found["machine"].update(conditions)
        tables.append(text)
        print("media filter", file=sys.stderr)
        found["mediaFilter"] = media.measure(work, programs, quick)
        tables.append(media.table(found["mediaFilter"]))
    if "--watching" in sys.argv[2:] or not quick:
        print("watching", file=sys.stderr)
        found["watching"] = watching.measure(work, programs, quick)
        tables.append(watching.table(found["watching"]))
    with open(os.path.join(project, "build", "bench.json"), "w", encoding="utf-8") as file:
        json.dump(found, file, indent=1)
    print("\n".join(tables))


if __name__ == "__main__":
    main()
