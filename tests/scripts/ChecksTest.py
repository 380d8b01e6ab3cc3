"""What the checks of scripts/ find and what they let pass."""

import importlib.machinery
import importlib.util
import os
import subprocess
import sys
import tempfile
import unittest

SCRIPTS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "scripts")
sys.dont_write_bytecode = True


def load(name):
    loader = importlib.machinery.SourceFileLoader(name.replace("-", "_"), os.path.join(SCRIPTS, name))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader(loader.name, loader))
    loader.exec_module(module)
    return module


class Includes(unittest.TestCase):
    PRESENT = {"src/base/Value.h", "src/log/VTLogController.h", "src/sync/queue/TaskQueue.h", "src/common/Mapper.h",
               "src/platform/linux/LinuxClock.h", "src/platform/fake/FakeClock.h", "src/config/utilities/Names.h",
               "tools/vantaroctl/Bus.h", "tests/support/Trees.h"}

    ROWS = [
        ("lower part", "src/sync/Sync.cpp", '#include "base/Value.h"', True),
        ("own part, folder below", "src/sync/Sync.cpp", '#include "sync/queue/TaskQueue.h"', True),
        ("higher part", "src/log/Log.cpp", '#include "sync/queue/TaskQueue.h"', False),
        ("utilities from log", "src/log/Log.cpp", '#include "config/utilities/Names.h"', True),
        ("log from utilities", "src/config/utilities/Names.cpp", '#include "log/VTLogController.h"', False),
        ("part beside", "src/mediafilter/Filter.cpp", '#include "common/Mapper.h"', False),
        ("adapter from an application part", "src/app/App.cpp", '#include "platform/linux/LinuxClock.h"', False),
        ("adapter from the composition root", "src/agent/main.cpp", '#include "platform/linux/LinuxClock.h"', True),
        ("fake from the composition root", "src/agent/main.cpp", '#include "platform/fake/FakeClock.h"', False),
        ("fake from a test", "tests/sync/SyncTest.cpp", '#include "platform/fake/FakeClock.h"', True),
        ("support from a test", "tests/sync/SyncTest.cpp", '#include "support/Trees.h"', True),
        ("src from a bus program", "tools/vantaroctl/main.cpp", '#include "base/Value.h"', False),
        ("neighbour of a bus program", "tools/vantaroctl/main.cpp", '#include "Bus.h"', True),
        ("neighbour in src without its folder", "src/base/Text.cpp", '#include "Value.h"', False),
        ("standard header", "src/base/Text.cpp", "#include <string>", True),
        ("system header", "src/base/Date.cpp", "#include <sys/stat.h>", False),
        ("system header in an adapter", "src/platform/linux/Files.cpp", "#include <sys/stat.h>", True),
        ("catalogue header where it belongs", "src/base/Text.cpp", "#include <libintl.h>", True),
        ("catalogue header elsewhere", "src/log/Log.cpp", "#include <libintl.h>", False),
        ("pattern header in the media filter", "src/mediafilter/Pattern.cpp", "#include <regex.h>", True),
        ("not an include", "src/base/Text.cpp", '// see "sync/queue/TaskQueue.h"', True),
    ]

    def test_rows(self):
        check = load("check-includes").check
        for name, path, line, passes in self.ROWS:
            with self.subTest(name):
                self.assertEqual(check(path, [line], self.PRESENT.__contains__) == [], passes)


class Sizes(unittest.TestCase):
    def test_limits_and_exceptions(self):
        check = load("check-size").check
        self.assertEqual(check({"a.cpp": 400}, {}), ([], []))
        self.assertEqual(len(check({"a.cpp": 401}, {})[1]), 1)
        self.assertEqual(len(check({"a.cpp": 701}, {})[0]), 1)
        self.assertEqual(check({"a.cpp": 701}, {"a.cpp": "a table"}), ([], []))
        self.assertEqual(len(check({"a.cpp": 701}, {"a.cpp": ""})[0]), 1)
        self.assertEqual(len(check({}, {"gone.cpp": "a table"})[0]), 1)


class Words(unittest.TestCase):
    def test_rows(self):
        check = load("check-words").check_text
        for line, passes in [
            ("// a part of the path", True),
            ("// as Par" + "t 3.2 says", False),
            ("// the spe" + "cification says", False),
            ("// a special case, and specific", True),
            ("cd /wor" + "k/main", False),
            ("// network/share", True),
            ("// see D2" + "1", False),
            ('load("D21.txt");', True),
            ("// TO" + "DO later", False),
        ]:
            with self.subTest(line):
                self.assertEqual(check("src/a.cpp", [line]) == [], passes)


class Skips(unittest.TestCase):
    def test_a_skip_needs_its_line_in_the_list(self):
        check = load("check-skips").check
        lines = ["TEST(Drive, isPulled) {", "    GTEST_SKI" + "P();"]
        self.assertEqual(len(check("tests/a.cpp", lines, {})), 1)
        self.assertEqual(check("tests/a.cpp", lines, {"test_sync.Drive.isPulled": "needs a kernel module"}), [])
        self.assertEqual(len(check("tests/a.cpp", lines, {"test_sync.OtherDrive.isPulled": "no"})), 1)

    def test_a_test_does_not_sleep(self):
        check = load("check-skips").check
        self.assertEqual(len(check("tests/a.cpp", ["std::this_thread::sleep_fo" + "r(1s);"], {})), 1)
        self.assertEqual(len(check("tests/a.py", ["def test_it(self):", "    time.slee" + "p(1)"], {})), 1)
        self.assertEqual(check("tests/a.py", ["def wait_until(condition):", "    time.slee" + "p(1)"], {}), [])


class Behaviour(unittest.TestCase):
    TABLE = ["# Behaviour", "", "| what | test |", "|---|---|", "| one | `Drive.isPulled` |",
             "| two | `Drive.isPulled`, `Names.all` |", "| three | |"]

    def test_plain_names(self):
        plain = load("check-behaviour").plain
        for name, expected in [("test_sync.Drive.isPulled", "Drive.isPulled"), ("Drive.isPulled", "Drive.isPulled"),
                               ("test_sync.All/Names.all/3", "Names.all"), ("test_sync.Names.all/utf8", "Names.all"),
                               ("test_sync.Typed/0.holds", "Typed.holds"),
                               ("test_sync.Typed.holds<vt::Fake>", "Typed.holds")]:
            with self.subTest(name):
                self.assertEqual(plain(name), expected)

    def test_names_must_exist_and_run(self):
        check = load("check-behaviour").check
        both = {"Drive.isPulled", "Names.all"}
        self.assertEqual(check(self.TABLE[:-1], both, None), [])
        self.assertEqual(len(check(self.TABLE, both, None)), 1)
        self.assertEqual(len(check(self.TABLE[:-1], {"Drive.isPulled"}, None)), 1)
        self.assertEqual(len(check(self.TABLE[:-1], both, {"Drive.isPulled"})), 1)


class Setup(unittest.TestCase):
    def test_an_unknown_group_is_a_usage_error(self):
        with tempfile.TemporaryDirectory() as elsewhere:
            answer = subprocess.run([os.path.join(SCRIPTS, "setup"), "everything"], cwd=elsewhere, capture_output=True,
                                    check=False)
        self.assertEqual(answer.returncode, 2)
        self.assertIn(b'unknown group "everything"', answer.stderr)


if __name__ == "__main__":
    unittest.main()
