"""A file system in user space that shows a folder, as a network share would: what others change in the folder raises no
event, and a server that was stopped answers nobody until it goes on. It stops itself when it is asked for a folder that holds
".hang", with that question taken.

usage: slow_share.py FOLDER MOUNT_POINT"""

import os
import signal
import sys

from fusepy import FUSE, FuseOSError, Operations


class Share(Operations):
    def __init__(self, folder):
        self.folder = os.fsencode(folder)

    def at(self, path):
        return self.folder + os.fsencode(path)

    def __call__(self, operation, *arguments):
        try:
            return super().__call__(operation, *arguments)
        except FuseOSError:
            raise
        except OSError as error:
            raise FuseOSError(error.errno) from error

    def getattr(self, path, fh=None):
        status = os.lstat(self.at(path))
        return {key: getattr(status, key) for key in ("st_mode", "st_nlink", "st_uid", "st_gid", "st_size",
                                                      "st_atime", "st_mtime", "st_ctime", "st_ino")}

    def readdir(self, path, fh):
        if os.path.lexists(self.at(path) + b"/.hang"):
            os.kill(os.getpid(), signal.SIGSTOP)
        return [".", "..", *(os.fsdecode(name) for name in os.listdir(self.at(path)))]

    def readlink(self, path):
        return os.fsdecode(os.readlink(self.at(path)))

    def open(self, path, flags):
        return os.open(self.at(path), flags)

    def read(self, path, size, offset, fh):
        return os.pread(fh, size, offset)

    def release(self, path, fh):
        return os.close(fh)


if __name__ == "__main__":
    FUSE(Share(sys.argv[1]), sys.argv[2], foreground=True, nothreads=True, fsname="server:/share", subtype="share")
