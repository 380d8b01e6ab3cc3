"""The project's files, as the checks see them."""

import os
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def files(root=ROOT):
    """Paths relative to `root`: tracked files and new ones that are not ignored; without git, everything but build/."""
    answer = subprocess.run(["git", "-C", root, "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                            capture_output=True, check=False)
    if answer.returncode == 0:
        names = sorted({os.fsdecode(name) for name in answer.stdout.split(b"\0") if name})
        return [name for name in names if os.path.isfile(os.path.join(root, name))]
    found = []
    for folder, folders, names in os.walk(root):
        folders[:] = [name for name in folders if name not in ("build", ".git", "__pycache__")]
        found += [os.path.relpath(os.path.join(folder, name), root) for name in names]
    return sorted(found)


def sources(root=ROOT, below=("src", "tools", "tests", "bench", "fuzz")):
    """The C++ files of the given top folders."""
    return [name for name in files(root) if name.split("/")[0] in below and name.endswith((".h", ".cpp"))]


def text(name, root=ROOT):
    with open(os.path.join(root, name), encoding="utf-8", errors="replace") as file:
        return file.read()


def listed(name, root=ROOT):
    """A list file's entries: first word of each line to the rest of it, which is the reason."""
    entries = {}
    if os.path.exists(os.path.join(root, name)):
        for line in text(name, root).splitlines():
            if line.strip() and not line.startswith("#"):
                key, _, reason = line.strip().partition(" ")
                entries[key] = reason.strip()
    return entries


def report(check, findings, warnings=()):
    """Prints the findings and ends the process: 1 when there is one."""
    for line in warnings:
        print(f"{check}: warning: {line}")
    for line in findings:
        print(f"{check}: {line}")
    if not findings:
        print(f"{check}: ok")
    sys.exit(1 if findings else 0)
