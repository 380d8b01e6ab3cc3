"""Drives that come, go, freeze and fail for real, and a gate that holds the agent in the middle of a sync."""

import ctypes
import fcntl
import os
import select
import struct
import subprocess
from pathlib import Path

from support import PATIENCE, wait_until

_libc = ctypes.CDLL(None, use_errno=True)

# linux/fanotify.h
_CLASS_CONTENT, _CLOEXEC, _MARK_ADD, _OPEN_PERM, _ALLOW = 0x4, 0x1, 0x1, 0x10000, 1
_FREEZE, _THAW = 0xC0045877, 0xC0045878
_SHUTDOWN = 0x8004587D


def _checked(answer):
    if answer < 0:
        raise OSError(ctypes.get_errno(), os.strerror(ctypes.get_errno()))
    return answer


class Gate:
    """Whoever opens the file waits here until the gate is opened: a sync stands still at a file of the test's choice."""

    def __init__(self, path):
        self.file = _checked(_libc.fanotify_init(_CLASS_CONTENT | _CLOEXEC, os.O_RDONLY))
        _checked(_libc.fanotify_mark(self.file, _MARK_ADD, ctypes.c_uint64(_OPEN_PERM), -100, os.fsencode(path)))

    def wait(self, patience=PATIENCE):
        """Returns when somebody stands at the gate."""
        if not select.select([self.file], [], [], patience)[0]:
            raise AssertionError("nobody opened the file behind the gate")
        event = os.read(self.file, 4096)
        self.waiting = struct.unpack_from("=IBBHQii", event)[5]

    def open(self):
        """Lets everybody through from now on."""
        if self.file is None:
            return
        if getattr(self, "waiting", None) is not None:
            os.write(self.file, struct.pack("=iI", self.waiting, _ALLOW))
            os.close(self.waiting)
        os.close(self.file)
        self.file = None

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.open()


class Drive:
    """A file system of any kind in an image, mounted where the test wants it."""

    MAKERS = {
        "ext4": ("mkfs.ext4", "-q"),
        "xfs": ("mkfs.xfs", "-q"),
        "btrfs": ("mkfs.btrfs", "-q"),
        "exfat": ("mkfs.exfat",),
        "ntfs": ("mkfs.ntfs", "-q", "-F", "-f"),
        "fat": ("mkfs.vfat", "-F", "32"),
    }
    DRIVERS = {"exfat": ("mount.exfat-fuse",), "ntfs": ("ntfs-3g",), "fat": ("fusefat", "-o", "rw+")}
    LEAST = {"xfs": 320, "btrfs": 128, "fat": 64}

    def __init__(self, folder, name="drive", kind="ext4", megabytes=32):
        self.kind = kind
        self.image = Path(folder) / f"{kind}-{len(os.listdir(folder))}.img"
        self.mount_point = Path(folder) / name
        self.mount_point.mkdir(parents=True, exist_ok=True)
        self.mounted = []
        with open(self.image, "wb") as file:
            file.truncate(max(megabytes, self.LEAST.get(kind, 0)) << 20)
        subprocess.run([*self.MAKERS[kind], str(self.image)], check=True, capture_output=True)

    def mount(self, *options, at=None):
        at = Path(at or self.mount_point)
        if self.kind in self.DRIVERS:
            run = subprocess.run(["losetup", "-f", "--show", str(self.image)], check=True, capture_output=True, text=True)
            device = run.stdout.strip()
            subprocess.run([*self.DRIVERS[self.kind], device, str(at)], check=True, capture_output=True)
            subprocess.run(["losetup", "-d", device], check=True)  # the device goes with its last user
        else:
            subprocess.run(["mount", "-o", ",".join(("loop", *options)), str(self.image), str(at)], check=True)
        self.mounted.append(at)
        return self

    def unmount(self, *options):
        run = subprocess.run(["umount", *options, str(self.mounted[-1])], capture_output=True, text=True)
        if run.returncode == 0:
            self.mounted.pop()
        return run

    def let_go(self):
        """Unmounts as soon as nothing is at work on it any more: a watched folder may have started a last sync."""
        wait_until(lambda: self.unmount().returncode == 0, f"a plain unmount of {self.mount_point}")

    def left(self):
        """Somebody else unmounted it."""
        self.mounted.pop()

    def bytes(self):
        """The whole image as the device holds it now."""
        subprocess.run(["sync", "-f", str(self.mounted[-1])], check=True)
        return self.image.read_bytes()

    def pull(self):
        """The device is gone: every later write, create, rename and flush fails."""
        root = os.open(self.mounted[-1], os.O_RDONLY | os.O_DIRECTORY)
        fcntl.ioctl(root, _SHUTDOWN, struct.pack("I", 2))
        os.close(root)

    def vanish(self):
        """The stick is pulled out while it is mounted: the device has no medium any more, its mount stays."""
        device = subprocess.run(["findmnt", "-no", "SOURCE", str(self.mounted[-1])], check=True, capture_output=True,
                                text=True).stdout.strip()
        os.truncate(self.image, 0)
        subprocess.run(["losetup", "-c", device], check=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        while self.mounted:
            subprocess.run(["umount", "-l", str(self.mounted.pop())], capture_output=True)


class Frozen:
    """Every write to the drive waits until the block is left."""

    def __init__(self, mount_point):
        self.root = os.open(mount_point, os.O_RDONLY | os.O_DIRECTORY)

    def __enter__(self):
        fcntl.ioctl(self.root, _FREEZE, 0)
        return self

    def __exit__(self, *_):
        fcntl.ioctl(self.root, _THAW, 0)
        os.close(self.root)
