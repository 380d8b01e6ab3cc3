"""The agent as other programs drive it: its bus interfaces and its event commands."""

import os
import plistlib
import re
import subprocess
import threading
import time
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

from scripted import OPTIONAL_PROGRESS_KEYS, PROGRESS_KEYS, Scripted, leaf_of
from support import copies_folder, facts, wait_until, write
from wire import NO_REPLY_EXPECTED, AgentClient, BusError, boolean, furl, integer, leaf, listing, record

ROOT = Path(__file__).resolve().parents[2]
ACTIVITY = "com.corvane.vantaro.syncInProgress.notification.evt"
COMMANDS = ("QURY GETL SETL GCSS SCSS GSMS SSMS GSSS SSSS GSPS SSPS GSDS SSDS GSDF SSDF GPSS SPSS DHFS GQSS SQSS DOIT STOP "
            "INFO REMV").split()
BOOLEAN_REPLIES = set("QURY GCSS GSMS GSSS GSPS GSDS GPSS DHFS GQSS REMV".split())
# Each setter with its keyword, the name that error texts give to it, and what it takes.
SETTERS = {
    "SETL": ("ITMZ", "ITMZ", "typeAEList"),
    "SCSS": ("CSSP", "CSSP", "typeTrue or typeFalse"),
    "SSMS": ("SMSP", "kMRLSyncMoviesStateProperty", "typeTrue or typeFalse"),
    "SSSS": ("SSSP", "kMRLSyncMusicStateProperty", "typeTrue or typeFalse"),
    "SSPS": ("SPSP", "kMRLSyncPicturesStateProperty", "typeTrue or typeFalse"),
    "SSDS": ("SDSP", "kMRLSyncDocumentsStateProperty", "typeTrue or typeFalse"),
    "SSDF": ("SDFP", "kMRLSyncDeviceFilterProperty", "typeTrue or typeFalse"),
    "SPSS": ("PSSP", "PSSP", "typeTrue or typeFalse"),
    "SQSS": ("QSSP", "QSSP", "typeTrue or typeFalse"),
}


class Interfaces(Scripted):
    def test_the_introspection_text_is_the_installed_file(self):
        text = self.client.call("com.corvane.vantaro", "/com/corvane/vantaro", "org.freedesktop.DBus.Introspectable",
                                "Introspect")[0]
        self.assertEqual(text, (ROOT / "packaging/com.corvane.vantaro.xml").read_text())

    def test_another_program_reads_the_same_members(self):
        run = subprocess.run(["gdbus", "introspect", "--session", "--dest", "com.corvane.vantaro", "--object-path",
                              "/com/corvane/vantaro", "--xml"], env=self.world.env, capture_output=True, text=True)
        self.assertEqual(run.returncode, 0, run.stderr)

        def members(text):
            return {(interface.get("name"), member.tag, member.get("name"),
                     tuple((arg.get("type"), arg.get("direction")) for arg in member.findall("arg")))
                    for interface in ElementTree.fromstring(text).findall("interface")
                    for member in interface}

        self.assertEqual(members(run.stdout), members((ROOT / "packaging/com.corvane.vantaro.xml").read_text()))

    def test_another_program_sends_an_event(self):
        self.world.adopt(self.drive)
        run = subprocess.run(["gdbus", "call", "--session", "--dest", "com.corvane.vantaro", "--object-path",
                              "/com/corvane/vantaro", "--method", "com.corvane.vantaro.Events.Send", "vnTR", "DHFS",
                              f"{{'----': ('furl', <b'file://{self.drive}'>)}}"],
                             env=self.world.env, capture_output=True, text=True)
        # A byte string literal ends with a zero byte, which is no part of a URL.
        self.assertIn("unable to retrieve main URL", run.stdout.replace("\\0", "") + decoded(run.stdout))
        url = ", ".join(f"0x{byte:02x}" for byte in f"file://{self.drive}".encode())
        run = subprocess.run(["gdbus", "call", "--session", "--dest", "com.corvane.vantaro", "--object-path",
                              "/com/corvane/vantaro", "--method", "com.corvane.vantaro.Events.Send", "vnTR", "DHFS",
                              f"{{'----': ('furl', <[byte {url}]>)}}"], env=self.world.env, capture_output=True, text=True)
        self.assertIn("'----': ('true'", run.stdout, run.stderr)

    def test_unknown_members_and_signatures_are_errors(self):
        rows = [("Drives", "Explode", "", [], "org.freedesktop.DBus.Error.UnknownMethod"),
                ("Nothing", "List", "", [], "org.freedesktop.DBus.Error.Unknown"),
                ("Drives", "List", "s", ["x"], "org.freedesktop.DBus.Error.InvalidArgs"),
                ("Drives", "Adopt", "", [], "org.freedesktop.DBus.Error.InvalidArgs"),
                ("Drives", "Adopt", "i", [3], "org.freedesktop.DBus.Error.InvalidArgs"),
                ("Drives", "Adopt", "s", [""], "com.corvane.vantaro.Error."),
                ("Drives", "Adopt", "s", ["relative"], "com.corvane.vantaro.Error."),
                ("Drives", "Progress", "s", ["/nowhere"], "com.corvane.vantaro.Error.NotServed"),
                ("Drives", "Forget", "s", ["/nowhere"], "com.corvane.vantaro.Error.NotServed"),
                ("Drives", "Eject", "s", ["/nowhere"], "com.corvane.vantaro.Error.NotServed"),
                ("Events", "Send", "ss", ["vnTR", "QURY"], "org.freedesktop.DBus.Error.InvalidArgs"),
                ("Events", "Send", "ssa{sv}", ["vnTR", "QURY", {}], "org.freedesktop.DBus.Error.InvalidArgs")]
        for interface, member, signature, arguments, name in rows:
            with self.subTest(member=member, signature=signature):
                with self.assertRaises(BusError) as raised:
                    self.client.call("com.corvane.vantaro", "/com/corvane/vantaro", f"com.corvane.vantaro.{interface}",
                                     member, signature, arguments)
                self.assertTrue(raised.exception.name.startswith(name), raised.exception)
        self.assertAlive()

    def test_drives_come_and_go_with_signals(self):
        self.client.watch("com.corvane.vantaro.Drives")
        self.client.drives("Adopt", "s", str(self.drive))
        self.assertEqual(self.client.next_signal(), ("com.corvane.vantaro.Drives", "Appeared", [str(self.drive)]))
        self.wait_until_idle()
        self.client.drives("Forget", "s", str(self.drive))
        self.assertEqual(self.client.next_signal(), ("com.corvane.vantaro.Drives", "Disappeared", [str(self.drive)]))


def decoded(printed):
    """The byte lists of a printed reply as text."""
    lists = re.findall(r"\[byte ([^\]]*)\]", printed)
    return " ".join(bytes(int(number, 16) for number in found.split(", ")).decode("latin-1") for found in lists)


class Story(Scripted):
    def test_another_program_does_it_all(self):
        write(self.world.home / "Music/m.mp3", b"music" * 1000)
        client = self.client
        drive = client.drives("Adopt", "s", str(self.drive))[0]
        self.assertEqual(drive["mountPoint"], str(self.drive))
        self.wait_until_idle()
        self.assertEqual([entry["mountPoint"] for entry in client.drives("List")[0]], [str(self.drive)])
        self.assertEqual(client.event("QURY", self.drive), {"----": ("true", b"")})

        home = self.world.home
        self.assertEqual(client.event("SETL", self.drive, ITMZ=listing([furl(home / "Music"), furl(home / "Pictures")])), {})
        self.wait_for_list([home / "Music", home / "Pictures"])
        self.wait_until_idle()

        write(home / "Music/new.mp3", b"new")
        client.watch("com.corvane.vantaro.Notifications")
        self.assertEqual(client.event("DOIT", self.drive), {})
        activities = self.activities_until_the_end()
        self.assertEqual(activities[-1], 6)
        self.assertTrue({1, 2, 3} <= set(activities), activities)
        self.assertEqual((copies_folder(self.drive) / "Music/new.mp3").read_bytes(), b"new")

        status = client.event("INFO", self.drive)
        self.assertEqual(set(status), {"STAT"})
        self.assertEqual(status["STAT"][0], "STAT")
        self.assertEqual(set(unarchived(status["STAT"][1])), {self.world.host_id})

        self.wait_until_idle()
        self.assertEqual(client.event("REMV", self.drive), {"----": ("true", b"")})
        wait_until(lambda: client.event("QURY", self.drive) == {"----": ("fals", b"")}, "the removed configuration")
        # The copies stay.
        self.assertTrue((copies_folder(self.drive) / "Music/new.mp3").exists())

    def activities_until_the_end(self):
        activities = []
        while not activities or activities[-1] not in (5, 6):
            interface, member, (name, source, info) = self.client.next_signal()
            self.assertEqual((interface, member), ("com.corvane.vantaro.Notifications", "Posted"))
            if name == ACTIVITY and info.get("activePath") == str(self.drive):
                self.assertLessEqual(set(info), PROGRESS_KEYS | OPTIONAL_PROGRESS_KEYS)
                activities.append(info["syncActivityType"])
        return activities

    def test_the_status_is_a_keyed_archive(self):
        self.world.adopt(self.drive)
        archive = plistlib.loads(self.client.event("INFO", self.drive)["STAT"][1])
        self.assertEqual(set(archive), {"$archiver", "$version", "$top", "$objects"})
        self.assertEqual((archive["$archiver"], archive["$version"]), ("NSKeyedArchiver", 100000))
        self.assertIsInstance(archive["$top"]["root"], plistlib.UID)
        self.assertEqual(archive["$objects"][0], "$null")
        user = unarchived(self.client.event("INFO", self.drive)["STAT"][1])[self.world.host_id]
        last_sync = user.pop("lastSyncTime")
        self.assertAlmostEqual(last_sync + 978307200, time.time(), delta=600)
        computer = self.world.config(self.drive)[self.world.host_id]["sync-computer-name"]
        self.assertEqual(user, {"continuousSyncEnabled": True, "quietSyncEnabled": True, "participateSyncEnabled": True,
                                "computerName": computer})

    def test_the_unforced_post_behind_a_status_says_nothing_while_nothing_is_busy(self):
        self.world.adopt(self.drive)
        self.wait_until_idle()
        self.client.watch("com.corvane.vantaro.Notifications")
        self.assertEqual(self.client.event("INFO", self.world.folder / "nowhere"), {})
        self.client.event("INFO", self.drive)
        self.client.event("INFO", self.drive)
        self.assertNotIn(0, [info.get("syncActivityType", 0) for _, _, (_, _, info) in self.client.signals])

    def test_a_call_without_a_wanted_reply_is_carried_out_in_silence(self):
        self.world.adopt(self.drive)
        arguments = self.client.event_arguments("SSMS", {"----": furl(self.drive), "SMSP": boolean(False)})
        self.client.send(*arguments, flags=NO_REPLY_EXPECTED)
        wait_until(lambda: self.client.event("GSMS", self.drive) == {"----": ("fals", b"")}, "the switch")
        # Not even an error comes back.
        silent = [self.client.event_arguments("QURY", {}), self.client.event_arguments("XXXX", {}),
                  self.client.event_arguments("QURY", {"toolong": leaf("true")})]
        sent = [self.client.send(*arguments, flags=NO_REPLY_EXPECTED) for arguments in silent]
        last = self.client.send(*self.client.event_arguments("DHFS", {"----": furl(self.drive)}))
        self.assertEqual(self.client.receive(), (last, [{"----": ("true", b"")}]))
        self.assertEqual(len(sent), 3)


def unarchived(data):
    """What a keyed archive holds; dates as seconds since 2001."""
    archive = plistlib.loads(data)
    objects = archive["$objects"]

    def value(reference):
        found = objects[reference.data]
        if not isinstance(found, dict):
            return None if found == "$null" else found
        name = objects[found["$class"].data]["$classname"]
        if name in ("NSDictionary", "NSMutableDictionary"):
            return {value(key): value(item) for key, item in zip(found["NS.keys"], found["NS.objects"], strict=True)}
        if name in ("NSArray", "NSMutableArray"):
            return [value(item) for item in found["NS.objects"]]
        assert name == "NSDate", name
        return found["NS.time"]

    return value(archive["$top"]["root"])


class WrongEvents(Scripted):
    def setUp(self):
        super().setUp()
        self.world.adopt(self.drive)
        self.before = self.world.config(self.drive)

    def test_unknown_classes_and_ids(self):
        for event_class, event in (("vnTR", "XXXX"), ("vntr", "QURY"), ("aevt", "oapp")):
            with self.assertRaises(BusError) as raised:
                self.client.event(event, self.drive, event_class=event_class)
            self.assertEqual(raised.exception.name, "com.corvane.vantaro.Error.UnknownEvent")
            self.assertIn(event, raised.exception.text)
        for event_class, event in (("", "QURY"), ("vnTRx", "QURY"), ("vnTR", "QUR"), ("vnTR", "ÄÄÄÄ")):
            with self.assertRaises(BusError) as raised:
                self.client.event(event, self.drive, event_class=event_class)
            self.assertEqual(raised.exception.name, "org.freedesktop.DBus.Error.InvalidArgs")
        self.assertAlive()

    def test_a_missing_drive(self):
        lower_case = {"GSMS", "GSSS", "GSPS", "GSDS", "GSDF"}
        for event in COMMANDS:
            text = "unable to get event descriptor" if event in lower_case else "unable to get Event Descriptor"
            self.assertRefused(self.client.event(event), text, event in BOOLEAN_REPLIES)
        self.assertEqual(self.world.config(self.drive), self.before)

    def test_missing_surplus_and_wrongly_typed_parameters(self):
        for event, (keyword, name, expected) in SETTERS.items():
            self.assertRefused(self.client.event(event, self.drive), f"unable to retrieve {name} property")
            for wrong in (leaf("utf8", b"true"), leaf("null"), leaf("shor", b"\0\1"), record({}), listing([], "utf8"),
                          integer(1) if expected.endswith("False") and event != "SSDF" else boolean(True)):
                reply = self.client.event(event, self.drive, **{keyword: wrong})
                self.assertRefused(reply, f"{name} property not {expected}")
        for wrong in (leaf("long", b"\0\0\1"), leaf("long", b"\0" * 5), leaf("long")):
            self.assertRefused(self.client.event("SSDF", self.drive, SDFP=wrong),
                               "kMRLSyncDeviceFilterProperty property not typeTrue or typeFalse")
        self.assertEqual(self.client.event("DHFS", self.drive, CSSP=boolean(True), zzzz=record({"aaaa": leaf("null")})),
                         {"----": ("true", b"")})
        self.assertEqual(self.world.config(self.drive), self.before)

    def test_a_list_with_an_item_that_is_no_file_url(self):
        items = [furl(self.world.home / "Music"), leaf("utf8", b"/etc")]
        self.assertRefused(self.client.event("SETL", self.drive, ITMZ=listing(items)), "cannot retrieve fileURL for item 2")
        items = [leaf("furl", b"http://example.org/x"), furl("/")]
        self.assertRefused(self.client.event("SETL", self.drive, ITMZ=listing(items)), "cannot retrieve fileURL for item 1")
        self.assertEqual(self.world.config(self.drive), self.before)

    def test_urls_that_lead_nowhere(self):
        path = str(self.drive).encode()
        for url in (b"", b"file://", b"file:", b"file:relative", path, b"http://localhost" + path, b"file://host" + path,
                    b"file://" + path + b"%00", b"file://" + path + b"\0", b"file://" + path + b"%2", b"file://" + path + b"%",
                    b"file://" + path + b"%zz", b"file://" + path + b"?query", b"file://" + path + b"#part",
                    b"\xff\xfe" * 1000):
            self.assertRefused(self.client.event("DHFS", **{"----": leaf("furl", url)}), "unable to retrieve main URL", True)
        for descriptor in (leaf("alis", b"file://" + path), leaf("utf8", path), listing([furl(self.drive)]),
                           record({"want": leaf("type", b"prop")}, "obj "), leaf("null")):
            self.assertRefused(self.client.event("DHFS", **{"----": descriptor}), "unable to retrieve main URL", True)

    def test_spellings_of_the_same_drive(self):
        path = str(self.drive).encode()
        escaped = b"".join(b"%%%02x" % byte for byte in path.replace(b"/", b"\1")).replace(b"%01", b"/")
        for url in (b"file://" + path, b"FILE://localhost" + path, b"file:" + path, b"file://" + path + b"/",
                    b"file://" + path + b"/../" + self.drive.name.encode(), b"file://" + path.replace(b"/", b"//"),
                    b"file:///.." + path, b"file://" + escaped):
            self.assertEqual(self.client.event("DHFS", **{"----": leaf("furl", url)}), {"----": ("true", b"")}, url)

    def test_a_drive_that_is_not_served(self):
        elsewhere = self.world.folder / "elsewhere"
        answers = {event: self.client.event(event, elsewhere) for event in COMMANDS if event not in SETTERS}
        yes, no = {"----": ("true", b"")}, {"----": ("fals", b"")}
        self.assertRefused(answers.pop("QURY"), "drive is not valid for sync", True)
        self.assertRefused(answers.pop("GETL"), "bad volume format")
        self.assertEqual(answers, {"GCSS": no, "GSMS": yes, "GSSS": yes, "GSPS": yes, "GSDS": no,
                                   "GSDF": {"----": leaf_of(integer(0))}, "GPSS": no, "DHFS": no, "GQSS": no, "DOIT": {},
                                   "STOP": {}, "INFO": {}, "REMV": yes})
        for event, (keyword, _, expected) in SETTERS.items():
            value = listing([]) if event == "SETL" else integer(3) if event == "SSDF" else boolean(False)
            self.assertEqual(self.client.event(event, elsewhere, **{keyword: value}), {}, event)
        self.assertEqual(self.world.config(self.drive), self.before)

    def test_too_much_and_too_deep(self):
        megabytes = 1 << 20
        self.assertRefused(self.client.event("DHFS", **{"----": leaf("furl", b"x" * (15 * megabytes))}),
                           "unable to retrieve main URL", True)
        deep = leaf("true")
        for _ in range(19):  # what a message can hold: each level opens an array, an entry, a struct
            deep = listing([deep])
        self.assertRefused(self.client.event("SETL", self.drive, ITMZ=deep), "cannot retrieve fileURL for item 1")
        for parameters in ({"----": leaf("furl", b"x" * (16 * megabytes))},
                           {"ITMZ": listing([leaf("furl", b"x" * megabytes)] * 17)},
                           {"ITMZ": listing([leaf("true")] * 1_100_000)}):
            with self.assertRaises(BusError) as raised:
                self.client.event("SETL", **parameters)
            self.assertEqual(raised.exception.name, "org.freedesktop.DBus.Error.InvalidArgs")
            self.assertIn("larger than 16 MiB", raised.exception.text)
        self.assertAlive()

    def test_messages_are_let_go_after_their_answer(self):
        # A connection that keeps more than 63 MiB of messages reads no more.
        large = {"----": furl(self.drive), "xxxx": listing([record({"yyyy": leaf("utf8", b"x" * (12 << 20))})])}
        for parameters in (large, {**large, "zzzz": leaf("toolong")}):
            for _ in range(8):
                try:
                    self.assertEqual(self.client.event("DHFS", **parameters), {"----": ("true", b"")})
                except BusError as error:
                    self.assertIn("zzzz", error.text)
        self.assertAlive()

    def test_malformed_descriptors_are_named_by_their_place(self):
        rows = [({"----": ("furlx", ("ay", b""))}, "parameters.----: a type code has four bytes"),
                ({"----": ("furl", ("s", "file:///"))}, "parameters.----: the value must be of type"),
                ({"----": ("furl", ("u", 7))}, "parameters.----: the value must be of type"),
                ({"----": ("furl", ("as", ["x"]))}, "parameters.----: the value must be of type"),
                ({"short": leaf("true")}, 'parameters: the key "short" is no four-character keyword'),
                ({"ITMZ": listing([furl("/"), ("x", ("ay", b""))])}, "parameters.ITMZ[2]: a type code has four bytes")]
        for parameters, text in rows:
            with self.assertRaises(BusError) as raised:
                self.client.event("SETL", **parameters)
            self.assertEqual(raised.exception.name, "org.freedesktop.DBus.Error.InvalidArgs")
            self.assertIn(text, raised.exception.text)
        self.assertAlive()

    def test_clients_that_die_in_the_middle_of_a_call(self):
        for event, drive in (("DOIT", self.drive), ("GETL", self.drive), ("INFO", self.drive)):
            doomed = AgentClient(self.world.bus.address)
            doomed.send(*doomed.event_arguments(event, {"----": furl(drive)}))
            doomed.close()
        doomed = AgentClient(self.world.bus.address)
        doomed.send("com.corvane.vantaro", "/com/corvane/vantaro", "com.corvane.vantaro.Drives", "Adopt", "s",
                    [str(self.world.folder / "another")])
        doomed.close()
        doomed = AgentClient(self.world.bus.address)
        whole = doomed.message(*doomed.event_arguments("DOIT", {"----": furl(self.drive)}))
        doomed.socket.sendall(whole[: len(whole) // 2])
        doomed.close()
        self.assertAlive()
        self.world.sync(self.drive)


class ManyCommands(Scripted):
    def test_a_thousand_commands_from_four_clients_disturb_no_sync(self):
        for index in range(1500):
            write(self.world.home / f"Pictures/{index // 100}/{index}.jpg", os.urandom(64) * (index % 40))
        self.client.drives("Adopt", "s", str(self.drive))
        failures = []
        readers = [threading.Thread(target=self.ask, args=(number, failures)) for number in range(4)]
        for reader in readers:
            reader.start()
        for reader in readers:
            reader.join()
        self.assertEqual(failures, [])
        self.world.finish(self.drive)
        self.assertEqual(facts(copies_folder(self.drive) / "Pictures"), facts(self.world.home / "Pictures"))
        self.assertLogged(self.world, "completed successfully.")
        self.assertNoWorkFolders(self.world, self.drive)

    def ask(self, number, failures):
        """250 commands, twenty on their way at a time: every reply in order, none an error."""
        asked = "QURY GETL GCSS GSMS GSDF GPSS DHFS GQSS INFO".split()
        try:
            with AgentClient(self.world.bus.address) as client:
                expected = []
                for index in range(250):
                    event = asked[(index + number) % len(asked)]
                    expected.append(client.send(*client.event_arguments(event, {"----": furl(self.drive)})))
                    while len(expected) > 20 or (index == 249 and expected):
                        self.check(client.receive(), expected.pop(0), failures)
        except Exception as exception:  # a thread's failure must reach the test
            failures.append(repr(exception))

    def check(self, answer, serial, failures):
        answered, reply = answer
        if answered != serial:
            failures.append(f"{answered} came instead of {serial}")
        elif isinstance(reply, BusError) or "errs" in reply[0]:
            failures.append(str(reply))


if __name__ == "__main__":
    unittest.main()
