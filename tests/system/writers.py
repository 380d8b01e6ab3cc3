"""Busy people: processes that change files in many folders at once until they are told to stop.

What they do is what reaches a drive by the rules: dates only grow, names keep their kind, and a name that was given up
by a move is not used again. usage: writers.py SEED FOLDER..., ends at SIGTERM
"""

import os
import random
import signal
import sys
import threading

SUFFIXES = ("txt", "jpg", "mp3", "pdf")


class Writer:
    def __init__(self, seed, folders):
        self.dice = random.Random(seed)
        self.mark = str(seed)
        self.folders = folders
        self.made = 0

    def run(self):
        acts = (self.create, self.create, self.overwrite, self.overwrite, self.append, self.append, self.save_safely,
                self.in_small_pieces, self.shorten, self.rename, self.remove, self.grow_a_tree, self.move_a_tree,
                self.replace_a_tree, self.link)
        # Waited for and never handled: a handler could come while this very thread holds the lock that it needs.
        signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGTERM})
        while signal.sigtimedwait({signal.SIGTERM}, self.dice.random() * 0.008) is None:
            try:
                self.dice.choice(acts)(self.dice.choice(self.folders))
            except OSError:
                pass  # somebody else was quicker

    def content(self):
        return self.dice.randbytes(self.dice.choice((0, 1, 40, 700, 5_000, 5_000, 60_000)))

    def new_name(self, kind="file"):
        self.made += 1
        return f"{kind} {self.mark}.{self.made}"

    def some_file(self, folder):
        names = [name for name in os.listdir(folder) if name.startswith("file ")]
        return os.path.join(folder, self.dice.choice(names or ["file missing.txt"]))

    def create(self, folder):
        name = f"{self.new_name()}.{self.dice.choice(SUFFIXES)}"
        with open(os.path.join(folder, name), "wb") as file:
            file.write(self.content())

    def overwrite(self, folder):
        with open(self.some_file(folder), "r+b") as file:
            file.write(self.content())

    def append(self, folder):
        fd = os.open(self.some_file(folder), os.O_WRONLY | os.O_APPEND)
        os.write(fd, self.content())
        os.close(fd)

    def in_small_pieces(self, folder):
        fd = os.open(self.some_file(folder), os.O_WRONLY | os.O_TRUNC)
        for _ in range(self.dice.randint(2, 40)):
            os.write(fd, self.dice.randbytes(100))
        os.close(fd)

    def save_safely(self, folder):
        """As editors do: beside the file, then over it."""
        path = self.some_file(folder)
        os.stat(path)
        beside = os.path.join(folder, f".{self.new_name('saving')}")
        with open(beside, "wb") as file:
            file.write(self.content())
            file.flush()
            os.fsync(file.fileno()) if self.dice.random() < 0.05 else None
        os.rename(beside, path)

    def shorten(self, folder):
        os.truncate(self.some_file(folder), self.dice.randint(0, 500))

    def rename(self, folder):
        path = self.some_file(folder)
        os.rename(path, os.path.join(self.dice.choice(self.folders), f"{self.new_name()}{os.path.splitext(path)[1]}"))

    def remove(self, folder):
        os.unlink(self.some_file(folder))

    def trees(self, folder):
        names = [name for name in os.listdir(folder) if name.startswith("tree ")]
        return os.path.join(folder, self.dice.choice(names or ["tree missing"]))

    def grow_a_tree(self, folder):
        deep = os.path.join(folder, self.dice.choice(("tree a", "tree b", self.new_name("tree"))), "deep", "deeper")
        os.makedirs(deep, exist_ok=True)
        for place in (deep, os.path.dirname(deep)):
            with open(os.path.join(place, f"file {self.dice.randint(0, 3)}.txt"), "wb") as file:
                file.write(self.content())

    def move_a_tree(self, folder):
        os.rename(self.trees(folder), os.path.join(self.dice.choice(self.folders), self.new_name("tree")))

    def replace_a_tree(self, folder):
        tree = self.trees(folder)
        os.rename(tree, os.path.join(self.dice.choice(self.folders), self.new_name("tree")))
        os.makedirs(os.path.join(tree, "deep"))
        with open(os.path.join(tree, "deep", "file 1.txt"), "wb") as file:
            file.write(self.content())

    def link(self, folder):
        os.symlink(os.path.basename(self.some_file(folder)), os.path.join(folder, self.new_name("link") + ".txt"))


if __name__ == "__main__":
    Writer(int(sys.argv[1]), sys.argv[2:]).run()
