"""A whole agent on a private bus with a home of its own, for system tests.

Everything a test makes lives in one temporary folder; a World that was left has no process and no mount behind it.
"""

import ctypes
import json
import os
import plistlib
import secrets
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

BIN = Path(os.environ.get("VANTARO_BIN", Path(__file__).resolve().parents[2] / "build/release/bin"))


def sanitizer():
    """What the programs under test were built with: "asan", "tsan" or None."""
    needed = (BIN / "vantaro").read_bytes()
    return next((name for name in ("asan", "tsan") if f"lib{name}.so".encode() in needed), None)


# The limits of time and memory in these tests are the release build's. A sanitizer multiplies the processor time (the
# one for addresses by 2 to 3, the one for threads by 5 to 15); a loop that never rests is found all the same.
SANITIZER = sanitizer()
SLOWER = {None: 1, "asan": 3, "tsan": 10}[SANITIZER]


def memory_limit(size):
    """The bytes that a program may hold where the release build may hold `size`. Under a sanitizer what it holds itself
    cannot be told from the shadow and the freed memory that is kept: there only growth without bound is found."""
    return size if SANITIZER is None else max(2 << 30, 10 * size)


PATIENCE = float(os.environ.get("VANTARO_PATIENCE", 60 * min(SLOWER, 3)))  # seconds, a bound for hangs and no part of any result


def own_mounts():
    """Mounts of this process and its children are seen by nobody else from now on, nor are those of others seen here."""
    libc = ctypes.CDLL(None, use_errno=True)
    new_namespace, recursive, private = 0x20000, 0x4000, 1 << 18  # linux/sched.h, linux/mount.h
    if libc.unshare(new_namespace) != 0 or libc.mount(b"none", b"/", None, ctypes.c_ulong(recursive | private), None) != 0:
        # Where that is not allowed only those tests fail that mount something.
        print("no mount namespace of its own: " + os.strerror(ctypes.get_errno()), file=sys.stderr)


# An agent looks at every mount there is: tests that run side by side must not see each other's.
own_mounts()


def wait_until(condition, what, patience=None):
    """Asks until `condition` is true; fails with `what` when the patience is over."""
    deadline = time.monotonic() + (patience or PATIENCE)
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError(f"waited in vain: {what}")
        time.sleep(0.02)


def let_pass(seconds):
    """A pause of the people in a story; its length decides nothing."""
    time.sleep(seconds)


class Bus:
    """A private session bus."""

    def __init__(self, folder):
        config = Path(folder) / "bus.conf"
        config.write_text(
            '<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"\n'
            ' "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">\n'
            f"<busconfig><type>session</type><listen>unix:dir={folder}</listen>\n"
            '<policy context="default"><allow send_destination="*" eavesdrop="true"/>'
            '<allow eavesdrop="true"/><allow own="*"/><allow user="*"/></policy></busconfig>\n'
        )
        self.process = subprocess.Popen(
            ["dbus-daemon", f"--config-file={config}", "--nofork", "--nopidfile", "--print-address=1"],
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
            text=True,
        )
        self.address = self.process.stdout.readline().strip()

    def stop(self):
        self.process.terminate()
        self.process.wait()
        self.process.stdout.close()


class World:
    """One user on one computer: a home, a bus and an agent. Use it as a context manager."""

    def __init__(self, address=None, machine=None, debug=False, folder=None):
        # A drive serves whoever it names: no two worlds have the same address.
        address = address or f"02{secrets.token_hex(5).upper()}"
        self.folder = Path(folder or tempfile.mkdtemp(prefix="vantaro-test-"))
        self.owns_folder = folder is None
        self.home = self.folder / "home"
        self.home.mkdir(parents=True, exist_ok=True)
        self.machine = machine
        self.agent = None
        self.bus = Bus(self.folder)
        self.env = {
            "PATH": os.environ["PATH"],
            "HOME": str(self.home),
            "LANG": "C.UTF-8",
            "TZ": "UTC",
            "XDG_RUNTIME_DIR": str(self.folder),
            "DBUS_SESSION_BUS_ADDRESS": self.bus.address,
        }
        if "LD_LIBRARY_PATH" in os.environ:
            self.env["LD_LIBRARY_PATH"] = os.environ["LD_LIBRARY_PATH"]
        for name in ("ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LSAN_OPTIONS"):
            # Findings are kept, also those of a program whose output and exit code nobody looks at.
            self.env[name] = f"{os.environ.get(name, '')}:log_path={self.folder}/finding"
        state = self.home / ".local/state/vantaro"
        state.mkdir(parents=True, exist_ok=True)
        (state / "host-identity").write_text(address + "\n")
        self.host_id = f"{address}-{os.getuid()}"
        if debug:
            self.set_default("debug", True)

    def __enter__(self):
        return self

    def __exit__(self, *failure):
        self.stop()
        self.bus.stop()
        if failure[0] is not None:
            log = self.log()
            print("".join(f"  log: {line}\n" for line in log.splitlines()[-60:]))
        findings = "".join(path.read_text("utf-8", "replace") for path in sorted(self.folder.glob("finding.*")))
        if self.owns_folder:
            subprocess.run(["chattr", "-R", "-i", str(self.folder)], stderr=subprocess.DEVNULL, check=False)
            shutil.rmtree(self.folder, ignore_errors=True)
        if findings:
            raise AssertionError(f"findings of the sanitizer:\n{findings}")

    # The agent.

    def launch(self, wrapper=()):
        """Starts the agent and waits for nothing."""
        command = [*wrapper, str(BIN / "vantaro")]
        if self.machine:
            command = ["unshare", "--uts", "sh", "-c", 'hostname "$0" && exec "$@"', self.machine, *command]
        self.errors = open(self.folder / "stderr.txt", "ab")
        self.agent = subprocess.Popen(command, env=self.env, stdout=self.errors, stderr=self.errors)

    def start(self, wrapper=()):
        self.launch(wrapper)
        wait_until(lambda: self.agent.poll() is not None or self.ctl("drives", check=False).returncode != 3, "the agent")
        if self.agent.poll() is not None:
            raise AssertionError("the agent ended: " + self.system_log())
        return self

    def stop(self, how=signal.SIGTERM):
        if self.agent is None:
            return None
        if self.agent.poll() is None:
            self.agent.send_signal(how)
        try:
            code = self.agent.wait(timeout=PATIENCE)
        except subprocess.TimeoutExpired:
            self.agent.kill()
            self.agent.wait()
            raise
        self.errors.close()
        self.agent = None
        return code

    def ctl(self, *arguments, check=True, timeout=None):
        run = subprocess.run(
            [str(BIN / "vantaroctl"), *[os.fspath(argument) for argument in arguments]],
            env=self.env,
            capture_output=True,
            timeout=timeout or 4 * PATIENCE,
            cwd=self.home,
        )
        run.out = run.stdout.decode("utf-8", "replace").strip()
        run.err = run.stderr.decode("utf-8", "replace").strip()
        if check and run.returncode != 0:
            raise AssertionError(f"vantaroctl {arguments} answered {run.returncode}: {run.out} {run.err}")
        return run

    def json(self, *arguments):
        return json.loads(self.ctl(*arguments, "--json").out)

    def adopt(self, drive):
        """Adopts the drive and waits until the sync on connect is over."""
        self.ctl("adopt", drive)
        self.finish(drive)

    def finish(self, drive, patience=None):
        """Waits until the sync that is due or running has ended."""
        self.ctl("start", drive, "--wait", "--timeout", str(patience or PATIENCE), check=False)

    def sync(self, drive):
        return self.ctl("start", drive, "--wait", "--timeout", str(PATIENCE))

    # What it left.

    def log(self):
        path = self.home / "Library/Logs/Vantaro.log"
        return path.read_text("utf-8", "replace") if path.exists() else ""

    def messages(self):
        return [line[20:] for line in self.log().splitlines()]

    def system_log(self):
        return (self.folder / "stderr.txt").read_text("utf-8", "replace")

    def config(self, drive):
        return plistlib.loads((Path(drive) / ".VantaroConfig").read_bytes())

    def set_default(self, key, value):
        path = self.home / ".config/com.corvane.vantaro/defaults.plist"
        path.parent.mkdir(parents=True, exist_ok=True)
        values = plistlib.loads(path.read_bytes()) if path.exists() else {}
        values[key] = value
        path.write_bytes(plistlib.dumps(values))


def user_name():
    import pwd

    return pwd.getpwuid(os.getuid()).pw_name


def copies_folder(drive, machine=None):
    """Where this user's copies of this computer stand on the drive."""
    found = [p for p in Path(drive).iterdir() if p.is_dir() and p.name.startswith(user_name() + "_")]
    if machine:
        found = [p for p in found if p.name == f"{user_name()}_{machine}"]
    assert len(found) == 1, f"the drive's user folders: {found}"
    return found[0]


def write(path, content=b"content", mtime_ns=None, mode=None):
    path = Path(path)
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content if isinstance(content, bytes) else content.encode())
    if mode is not None:
        path.chmod(mode)
    if mtime_ns is not None:
        os.utime(path, ns=(mtime_ns, mtime_ns))
    return path


def facts(root):
    """Everything below `root` by its relative path: what a copy must have in common with its source."""
    root = os.fsencode(root)
    found = {}
    for folder, folders, files in os.walk(root):
        for name in folders + files:
            path = os.path.join(folder, name)
            status = os.lstat(path)
            key = os.path.relpath(path, root)
            if os.path.islink(path):
                found[key] = ("link", os.readlink(path))
            elif os.path.isdir(path):
                found[key] = ("folder",)
            else:
                with open(path, "rb") as file:
                    content = file.read()
                found[key] = ("file", content, status.st_mtime_ns, status.st_mode & 0o7777, user_attributes(path))
    return found


def user_attributes(path):
    try:
        return {name: os.getxattr(path, name) for name in os.listxattr(path) if name.startswith("user.")}
    except OSError:  # the file system holds none
        return {}


def identities(root):
    """Inode and status-change time of every file: what tells a file that was left alone from one written anew."""
    return {
        str(path.relative_to(root)): (path.lstat().st_ino, path.lstat().st_ctime_ns)
        for path in Path(root).rglob("*")
        if path.is_file()
    }


class LoopImage:
    """A file system of its own on a loop device, mounted as a drive."""

    def __init__(self, folder, kind="ext4", megabytes=64, name="drive"):
        self.image = Path(folder) / f"{name}.img"
        self.mount_point = Path(folder) / name
        self.mount_point.mkdir(exist_ok=True)
        with open(self.image, "wb") as file:
            file.truncate(megabytes << 20)
        subprocess.run([f"mkfs.{kind}", "-q", str(self.image)], check=True, capture_output=True)
        self.mounted = False

    def mount(self, *options):
        subprocess.run(["mount", "-o", ",".join(("loop", *options)), str(self.image), str(self.mount_point)], check=True)
        self.mounted = True
        return self

    def unmount(self, *options):
        run = subprocess.run(["umount", *options, str(self.mount_point)], capture_output=True, text=True)
        self.mounted = self.mounted and run.returncode != 0
        return run

    def __enter__(self):
        return self.mount()

    def __exit__(self, *_):
        if self.mounted:
            self.unmount("-l")


class SystemTest(unittest.TestCase):
    """Tests that name what they expect of a log line, a tree or a configuration."""

    maxDiff = None

    def assertLogged(self, world, text):
        self.assertTrue(any(text in line for line in world.messages()), f"not in the log: {text}\n{world.log()}")

    def assertNoWorkFolders(self, world, drive):
        left = [str(p) for p in Path(drive).rglob(".Z_VT_W/*")] + [str(p) for p in (world.home / ".Z_VT_W").glob("*")]
        self.assertEqual(left, [])
