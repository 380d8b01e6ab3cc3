"""The agent on the present session bus, started and ended by a benchmark."""

import os
import re
import subprocess
import sys
import time


class Agent:
    """Runs while the with-block runs. `log` receives its standard error."""

    def __init__(self, programs, log):
        self._control = os.path.join(programs, "vantaroctl")
        self._program = os.path.join(programs, "vantaro")
        self._log = log
        self._process = None

    def __enter__(self):
        with open(self._log, "wb") as log:
            self._process = subprocess.Popen([self._program], stdout=log, stderr=log)
        self.id = self._process.pid
        limit = time.monotonic() + 15
        while subprocess.run(self.command("drives"), capture_output=True, check=False).returncode != 0:
            if self._process.poll() is not None or time.monotonic() > limit:
                self.__exit__()
                sys.exit(f"bench: the agent does not answer; its messages are in {self._log}")
            time.sleep(0.05)
        return self

    def __exit__(self, *_):
        self._process.terminate()
        try:
            self._process.wait(10)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()

    def command(self, *words):
        return [self._control, *words]

    def control(self, *words):
        answer = subprocess.run(self.command(*words), capture_output=True, text=True, check=False)
        if answer.returncode != 0:
            sys.exit(f"bench: vantaroctl {' '.join(words)} ended with {answer.returncode}: {answer.stderr.strip()}")
        return answer.stdout

    def processor_seconds(self):
        """Of all its threads so far, in the kernel and outside."""
        with open(f"/proc/{self._process.pid}/stat", encoding="ascii") as file:
            fields = file.read().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def peak_memory(self):
        """The largest resident size so far, in KiB."""
        with open(f"/proc/{self._process.pid}/status", encoding="ascii") as file:
            return int(re.search(r"VmHWM:\s*(\d+) kB", file.read()).group(1))
