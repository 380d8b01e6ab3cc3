"""What bash, zsh and fish really offer when a person asks them to complete a vantaroctl command line.

bash and zsh are driven as interactive shells on a terminal of their own and told to insert every completion; fish has a
command of its own for the question."""

import os
import pty
import select
import shlex
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
CTL = Path(os.environ.get("VANTARO_BUILD", ROOT / "build/release")) / "bin/vantaroctl"
SCRIPTS = ROOT / "packaging/completion"
PATIENCE = 60  # seconds, a bound for hangs

# A vantaroctl that serves three drives, two of one name, and asks the real one for everything else.
FAKE = """#!/bin/sh
if [ "$*" = "complete drives" ]; then
    printf '%s\\n' '/media/ann/My Stick' '/mnt/b' '/mnt/c' 'My Stick'
else exec {ctl} "$@"; fi
"""

COMMANDS = ("drives volumes adopt forget explain query list set-list add drop get set start stop status progress watch remove-sync "
            "eject log event debug quit").split()
DRIVES = ["/media/ann/My Stick", "/mnt/b", "/mnt/c", "My Stick"]
CLASSES = "unlimited apple-high apple-unlimited apple-low android kindle-fire kindle-fire-hd windows-rt".split()
SWITCHES = "continuous movies music pictures documents participate quiet device-filter".split()

# A command line up to the cursor, and what may stand there.
ROWS = [
    ("", COMMANDS),
    ("se", ["set-list", "set"]),
    ("rem", ["remove-sync"]),
    ("complet", []),
    ("--v", ["--version"]),
    ("list ", DRIVES),
    ("list /mnt/", ["/mnt/b", "/mnt/c"]),
    ("list My", ["My Stick"]),
    ("list My\\ S", ["My Stick"]),
    ("start --wait /media", ["/media/ann/My Stick"]),
    ("start --timeout 5 /mnt/", ["/mnt/b", "/mnt/c"]),
    ("start --timeout ", []),
    ("start /mnt/b --w", ["--wait"]),
    ("start --", ["--help", "--wait", "--timeout"]),
    ("drives --j", ["--json"]),
    ("drives ", []),
    ("get /mnt/b ", SWITCHES + ["valid"]),
    ("set /mnt/b d", ["documents", "device-filter"]),
    ("set /mnt/b quiet o", ["on", "off"]),
    ("set /mnt/b device-filter ", CLASSES),
    ("set My\\ Stick device-filter kindle", ["kindle-fire", "kindle-fire-hd"]),
    ("set /mnt/b quiet on ", []),
    ("debug ", ["on", "off"]),
    ("adopt Pic", ["Pictures"]),
    ("add /mnt/b P", ["Pictures", "Plan.txt"]),
    ("set-list /mnt/b Pictures --timeout ", []),
    ("explain /mnt/b Pl", ["Plan.txt"]),
    ("explain /mnt/b Plan.txt P", []),
    ("drop /mnt/b Pictures Pl", ["Plan.txt"]),
    ("set-list /mnt/", ["/mnt/b", "/mnt/c"]),
] + [(f"{command} /mnt/", ["/mnt/b", "/mnt/c"]) for command in
     "forget explain query list add drop get set start stop status progress watch remove-sync eject".split()]


class Terminal:
    """An interactive shell on a terminal of its own, which answers through a file."""

    def __init__(self, folder, command, setup):
        self.answer = Path(folder) / "answer"
        self.child, self.terminal = pty.fork()
        if self.child == 0:
            os.chdir(folder)
            environment = {"PATH": f"{folder}:{os.environ['PATH']}", "HOME": str(folder), "TERM": "dumb", "LANG": "C.UTF-8"}
            os.execvpe(command[0], command, environment)
        self.type(f"source {setup}; echo ready >answer\n")
        self.wait()

    def type(self, text):
        os.write(self.terminal, text.encode())

    def wait(self):
        """The answer, and its end."""
        deadline = time.monotonic() + PATIENCE
        shown = b""
        while not (self.answer.exists() and self.answer.read_text().endswith("\n")):
            if time.monotonic() > deadline:
                raise AssertionError(f"the shell does not answer: {shown.decode('utf-8', 'replace')}")
            # A terminal that nobody reads fills up.
            if select.select([self.terminal], [], [], 0.02)[0]:
                shown += os.read(self.terminal, 65536)
        text = self.answer.read_text()
        self.answer.unlink()
        return text.rstrip("\n")

    def end(self):
        os.close(self.terminal)  # hangs up
        os.waitpid(self.child, 0)


class Shell:
    """The rows, for one shell; a class below asks it."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="vantaro-completion-")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        fake = self.folder / "vantaroctl"
        fake.write_text(FAKE.format(ctl=CTL))
        fake.chmod(0o755)
        (self.folder / "Pictures").mkdir()
        (self.folder / "Plan.txt").write_text("")

    def test_what_is_offered(self):
        for line, expected in ROWS:
            with self.subTest(line=line):
                # Shells differ in when they end a folder with a slash.
                self.assertEqual(sorted(word.removesuffix("/") for word in self.offered(line)), sorted(expected))


class OnTerminal(Shell):
    def start(self, command, setup):
        script = self.folder / "setup"
        script.write_text(setup)
        self.shell = Terminal(self.folder, command, script)
        self.addCleanup(self.shell.end)

    def offered(self, line):
        """The words that stand where the word at the cursor stood, once every completion is inserted."""
        before = shlex.split("vantaroctl " + line)
        kept = len(before) if line == "" or line.endswith(" ") else len(before) - 1
        inserted = shlex.split(self.asked("vantaroctl " + line))
        # Nothing on offer leaves the line as it was.
        return [] if inserted == before else inserted[kept:]


class BashCompletion(OnTerminal, unittest.TestCase):
    def setUp(self):
        super().setUp()
        self.start(["bash", "--norc", "--noprofile", "-i"], f"""
PS1='$ '
source {SCRIPTS}/vantaroctl.bash
answer() {{ printf '%s\\n' "$READLINE_LINE" >answer.new; mv answer.new answer; READLINE_LINE= READLINE_POINT=0; }}
bind 'set mark-directories on'
bind '"\\C-xa": insert-completions'
bind -x '"\\C-xd": answer'
""")

    def asked(self, line):
        self.shell.type(line + "\x18a\x18d")
        return self.shell.wait()


class ZshCompletion(OnTerminal, unittest.TestCase):
    def setUp(self):
        super().setUp()
        self.start(["zsh", "-f", "-i"], f"""
PROMPT='$ '
fpath=({SCRIPTS} $fpath)
autoload -Uz compinit
compinit -u -D
insert-all() {{ compstate[insert]=all }}
ask() {{
    BUFFER="$(<question)"
    CURSOR=$#BUFFER
    comppostfuncs=(insert-all)
    zle complete-word
    print -r -- "$BUFFER" >answer.new
    mv answer.new answer
    BUFFER=
}}
zle -N ask
bindkey '^T' ask
""")

    def asked(self, line):
        # A command substitution loses the line's end only.
        (self.folder / "question").write_text(line)
        self.shell.type("\x14")
        return self.shell.wait()


class FishCompletion(Shell, unittest.TestCase):
    def offered(self, line):
        run = subprocess.run(["fish", "--no-config", "-c", 'source $argv[1]; complete -C "$argv[2]"',
                              str(SCRIPTS / "vantaroctl.fish"), "vantaroctl " + line],
                             env={"PATH": f"{self.folder}:{os.environ['PATH']}", "HOME": str(self.folder), "LANG": "C.UTF-8"},
                             cwd=self.folder, capture_output=True, text=True, check=True)
        self.assertEqual(run.stderr, "")
        return [word.split("\t")[0] for word in run.stdout.splitlines()]


if __name__ == "__main__":
    unittest.main()
