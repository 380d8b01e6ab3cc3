"""The agent among many clients: fast ones, hostile ones, and drives that leave under their hands."""

import os
import statistics
import subprocess
import threading
import time
import unittest

import support
from drive_ground import Gate
from scripted import Scripted
from support import PATIENCE, SLOWER, copies_folder, facts, memory_limit, wait_until, write
from test_scripting import BOOLEAN_REPLIES, COMMANDS, SETTERS
from wire import NO_REPLY_EXPECTED, AgentClient, BusError, boolean, furl, integer, leaf, listing

READING = "QURY GETL GCSS GSMS GSSS GSPS GSDS GSDF GPSS DHFS GQSS INFO".split()


def in_threads(*bodies):
    """Runs them all at once; the first failure is raised here."""
    failures = []

    def guarded(body):
        try:
            body()
        except BaseException as failure:  # must reach the test
            failures.append(failure)

    threads = [threading.Thread(target=guarded, args=(body,)) for body in bodies]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    if failures:
        raise failures[0]


class UnderLoad(Scripted):
    def read_settings(self, number, count):
        """`count` reading commands, twenty on their way at a time: every reply in order, none an error."""
        with AgentClient(self.world.bus.address) as client:
            expected = []
            for index in range(count):
                event = READING[(index + number) % len(READING)]
                expected.append((client.send(*client.event_arguments(event, {"----": furl(self.drive)})), event))
                while len(expected) > 20 or (index == count - 1 and expected):
                    serial, asked = expected.pop(0)
                    answered, reply = client.receive()
                    self.assertEqual(answered, serial, "replies out of order")
                    self.assertNotIsInstance(reply, BusError)
                    key = "STAT" if asked == "INFO" else "----"
                    self.assertEqual(set(reply[0]), {key}, asked)
                    self.assertEqual(reply[0][key][0] in ("true", "fals"), asked in BOOLEAN_REPLIES, asked)

    def test_a_thousand_reading_commands_during_a_sync(self):
        for index in range(1500):
            write(self.world.home / f"Pictures/{index // 100}/{index}.jpg", os.urandom(64) * (index % 40))
        last = write(self.world.home / "Pictures/zz/last.jpg", b"last")
        self.client.drives("Adopt", "s", str(self.drive))
        # The sync goes through all files but cannot end before the questions have.
        with Gate(last) as gate:
            wait_until(lambda: (self.drive / ".VantaroConfig").exists() and self.client.drives(
                "Progress", "s", str(self.drive))[0]["syncActivityType"] == 2, "the running sync")
            begun = time.monotonic()
            in_threads(*[lambda number=number: self.read_settings(number, 250) for number in range(4)])
            print(f"{1000 / (time.monotonic() - begun):.0f} commands a second during a sync ", end="")
            self.assertEqual(self.client.drives("Progress", "s", str(self.drive))[0]["syncIsBusy"], 1)
            gate.wait()
            gate.open()
        self.world.finish(self.drive)
        self.assertEqual(facts(copies_folder(self.drive) / "Pictures"), facts(self.world.home / "Pictures"))
        self.assertLogged(self.world, "completed successfully.")
        self.assertNoWorkFolders(self.world, self.drive)

    def test_an_idle_agent_answers_at_once(self):
        self.world.adopt(self.drive)
        self.wait_until_idle()

        times = []
        before = self.processor_time()
        for index in range(600):
            begun = time.monotonic()
            self.client.event(READING[index % len(READING)], self.drive)
            times.append(time.monotonic() - begun)
        used = (self.processor_time() - before) / len(times)
        print(f"median reply {1000 * statistics.median(times):.2f} ms, {1000 * used:.2f} ms of processor time ", end="")
        # How fast a computer is decides on the figures; that a question costs no search of the drive holds on all.
        self.assertLess(used, 0.02 * SLOWER)

    def processor_time(self):
        """Seconds that the agent has used."""
        with open(f"/proc/{self.world.agent.pid}/stat") as file:
            fields = file.read().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class Hostile(Scripted):
    """Senders that flood, that never read, that die, and messages that no library would send."""

    def setUp(self):
        super().setUp()
        self.world.adopt(self.drive)
        self.wait_until_idle()
        self.before = self.world.config(self.drive)

    def memory(self):
        with open(f"/proc/{self.world.agent.pid}/status") as file:
            status = file.read()
        return int(status.split("VmRSS:")[1].split()[0]) * 1024

    def assertUnharmed(self):
        self.assertAlive()
        self.assertEqual(self.world.config(self.drive), self.before)
        self.assertEqual(self.client.event("DHFS", self.drive), {"----": ("true", b"")})

    def test_a_flood_that_wants_no_reply(self):
        with AgentClient(self.world.bus.address) as flooder:
            call = flooder.message(*flooder.event_arguments("QURY", {"----": furl(self.drive)}), flags=NO_REPLY_EXPECTED)
            flooder.socket.sendall(call * 1000)
            # Behind all of them one more: each was taken from the queue.
            self.assertEqual(flooder.event("DHFS", self.drive), {"----": ("true", b"")})
        self.assertUnharmed()

    def test_a_flood_does_not_keep_the_agent_from_ending(self):
        flooder = self.connect()
        call = flooder.message(*flooder.event_arguments("QURY", {"----": furl(self.drive)}), flags=NO_REPLY_EXPECTED)
        flooder.socket.sendall(call * 60_000)
        self.client.close()
        begun = time.monotonic()
        self.assertEqual(self.world.stop(), 0)
        print(f"ended after {time.monotonic() - begun:.1f} s in a flood ", end="")

    def test_a_flood_of_large_messages_is_held_back_and_not_kept(self):
        large = {"----": furl(self.drive), "xxxx": leaf("utf8", b"x" * (12 << 20))}
        before = self.memory()
        with AgentClient(self.world.bus.address) as flooder:
            call = flooder.message(*flooder.event_arguments("DHFS", large), flags=NO_REPLY_EXPECTED)
            for _ in range(40):
                flooder.socket.sendall(call)
            self.assertEqual(self.answer_behind(flooder), {"----": ("true", b"")})
        self.assertLess(self.memory() - before, memory_limit(300 << 20), "480 MiB came in")
        self.assertUnharmed()

    def answer_behind(self, flooder):
        """Asked behind all that the flooder sent. The bus may keep the question in its hands, once it has held a sender
        back, until that sender says something more."""
        question = flooder.send(*flooder.event_arguments("DHFS", {"----": furl(self.drive)}))
        answers = []

        def answered():
            flooder.socket.settimeout(1)
            try:
                answers.append(flooder.receive())
            except TimeoutError:
                flooder.socket.settimeout(PATIENCE)
                flooder.send("org.freedesktop.DBus", "/", "org.freedesktop.DBus.Peer", "Ping")
            return any(serial == question for serial, _ in answers)

        wait_until(answered, "the answer behind the flood")
        return dict(answers)[question][0]

    def test_a_sender_that_reads_none_of_its_replies(self):
        flooder = AgentClient(self.world.bus.address)
        for _ in range(1000):
            flooder.send(*flooder.event_arguments("INFO", {"----": furl(self.drive)}))
        # It has not read one of them, and others are served all the same.
        self.assertUnharmed()
        flooder.close()
        self.assertUnharmed()

    def test_senders_that_die_with_their_questions_on_the_way(self):
        for _ in range(50):
            doomed = AgentClient(self.world.bus.address)
            for event in READING:
                doomed.send(*doomed.event_arguments(event, {"----": furl(self.drive)}))
            doomed.close()
        self.assertUnharmed()

    def test_messages_nested_deeper_than_the_bus_allows(self):
        for levels in (22, 100):
            deep = leaf("true")
            for _ in range(levels):
                deep = listing([deep])
            with self.assertRaises((BusError, EOFError, ConnectionError)):
                with AgentClient(self.world.bus.address) as sender:
                    sender.event("SETL", self.drive, ITMZ=deep)
        self.assertUnharmed()

    def test_a_message_larger_than_the_bus_allows(self):
        with AgentClient(self.world.bus.address) as sender:
            data = bytearray(sender.message(*sender.event_arguments("DHFS", {"----": furl(self.drive)})))
            data[4:8] = (256 << 20).to_bytes(4, "little")  # the body's length
            with self.assertRaises((BusError, EOFError, ConnectionError)):
                sender.socket.sendall(bytes(data))
                sender.receive()
        self.assertUnharmed()

    def test_made_up_news_of_changes(self):
        # Anybody may post that a folder changed; what is on no list or is no path is nobody's change.
        writer = self.connect()
        for data in (b"", b"\xff\xfe", b"/nowhere", b"x" * (1 << 20), b"\0", str(self.drive).encode()):
            emit(writer, "com.corvane.vantaro.eventdata.notification.evt", {"evdata": ("ay", data)})
        for _ in range(2000):
            emit(writer, "com.corvane.vantaro.eventdata.notification.evt", {"evdata": ("ay", b"/nowhere")})
        emit(writer, "com.corvane.vantaro.eventdata.notification.evt", {"evdata": ("s", "/nowhere")})
        emit(writer, "com.corvane.vantaro.eventdata.notification.evt", {})
        self.assertUnharmed()
        self.assertEqual(self.client.drives("Waiting"), [[]])


def emit(client, name, user_info):
    """Sends the signal Posted as any program of the session can."""
    client.signal("/com/corvane/vantaro", "com.corvane.vantaro.Notifications", "Posted", "ssa{sv}",
                  [name, "com.corvane.vantaro.notifications", user_info])


class Leaving(Scripted):
    """A drive that leaves between a command's look-up of it and its work."""

    def values(self):
        home = self.world.home
        special = {"SETL": listing([furl(home / "Pictures")]), "SSDF": integer(0)}
        return {event: {keyword: special.get(event, boolean(True))} for event, (keyword, _, _) in SETTERS.items()}

    def test_every_command_while_the_drive_comes_and_goes(self):
        self.world.adopt(self.drive)
        self.wait_until_idle()
        over = threading.Event()
        values = self.values()

        def come_and_go():
            try:
                with AgentClient(self.world.bus.address) as owner:
                    for _ in range(20):
                        owner.drives("Forget", "s", str(self.drive))
                        owner.drives("Adopt", "s", str(self.drive))
            finally:
                over.set()

        def command(number):
            with AgentClient(self.world.bus.address) as client:
                index = number * 7
                while not over.is_set():
                    event = COMMANDS[index % len(COMMANDS)]
                    index += 1
                    if event == "REMV":
                        continue
                    reply = client.event(event, self.drive, **values.get(event, {}))
                    if "errs" in reply:
                        self.assertIn(reply["errs"][1], (b"drive is not valid for sync", b"bad volume format"), event)

        try:
            in_threads(come_and_go, *[lambda number=number: command(number) for number in range(3)])
        finally:
            over.set()
        self.assertAlive()
        self.world.sync(self.drive)
        self.assertEqual(facts(copies_folder(self.drive) / "Pictures"), facts(self.world.home / "Pictures"))

    def test_what_a_command_had_planned_ends_with_the_drives_service(self):
        self.world.adopt(self.drive)
        self.wait_until_idle()
        write(self.world.home / "Pictures/late.jpg", b"late")
        for event in ("SETL", "DOIT", "SSDF"):
            self.client.event(event, self.drive, **self.values().get(event, {}))
        self.client.drives("Forget", "s", str(self.drive))
        before = facts(self.drive)
        # Every planned call is due a second later; this one is asked for later still.
        deadline = time.monotonic() + 2.5
        wait_until(lambda: time.monotonic() > deadline, "the time in which it would have happened")
        self.assertEqual(facts(self.drive), before)
        self.assertAlive()

    def test_vantaroctl_waits_for_no_drive_that_has_gone(self):
        late = write(self.world.home / "Pictures/zz.jpg", b"late")
        self.world.adopt(self.drive)
        self.wait_until_idle()
        write(self.world.home / "Pictures/zz.jpg", b"later")
        with Gate(late) as gate:
            runs = [subprocess.Popen([str(support.BIN / "vantaroctl"), *arguments], env=self.world.env, cwd=self.world.home,
                                     stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
                    for arguments in (["start", "drive", "--wait"],)]
            gate.wait()
            runs.append(subprocess.Popen([str(support.BIN / "vantaroctl"), "set-list", "drive", "Music"], env=self.world.env,
                                         cwd=self.world.home, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True))
            self.client.drives("Forget", "s", str(self.drive))
            codes = [run.communicate(timeout=support.PATIENCE) and run.returncode for run in runs]
            gate.open()
        self.assertEqual(codes, [5, 1])
        self.assertAlive()


if __name__ == "__main__":
    unittest.main()
