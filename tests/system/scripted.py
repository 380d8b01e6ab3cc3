"""One agent, one folder drive and one client of its bus, for tests of the scripting interface."""

from urllib.parse import unquote

from support import SystemTest, World, wait_until, write
from wire import AgentClient, integer

PROGRESS_KEYS = {"syncActivityType", "syncIsBusy", "syncCancelPending", "syncSize", "syncSkipFilter", "syncSkipPresent",
                 "syncCopied", "syncUnaccounted"}
OPTIONAL_PROGRESS_KEYS = {"activePath", "syncActivityFailureType", "syncCopySourcePath"}


class Scripted(SystemTest):
    """One agent, one folder drive and one client of the bus."""

    def setUp(self):
        self.world = World().__enter__()
        self.addCleanup(self.world.__exit__, None, None, None)
        self.drive = self.world.folder / "drive"
        self.drive.mkdir()
        write(self.world.home / "Pictures/p.jpg", b"picture")
        self.world.start()
        self.client = self.connect()

    def connect(self):
        client = AgentClient(self.world.bus.address)
        self.addCleanup(client.close)
        return client

    def assertRefused(self, reply, text, boolean_reply=False):
        expected = {"errn": leaf_of(integer(-50)), "errs": ("utf8", text.encode())}
        if boolean_reply:
            expected["----"] = ("fals", b"")
        self.assertEqual(reply, expected)

    def assertAlive(self):
        self.assertIsNone(self.world.agent.poll(), "the agent has ended")
        with AgentClient(self.world.bus.address) as another:
            self.assertIsInstance(another.drives("List")[0], list)

    def wait_for_list(self, paths):
        def has_it():
            return [path_of(item) for item in self.client.event("GETL", self.drive)["----"][1]] == [str(p) for p in paths]

        wait_until(has_it, f"the list {paths}")

    def wait_until_idle(self):
        wait_until(lambda: self.client.drives("Progress", "s", str(self.drive))[0]["syncIsBusy"] == 0, "an idle drive")


def leaf_of(descriptor):
    """A descriptor as it is read back: without the variant's signature."""
    return descriptor[0], descriptor[1][1]


def path_of(descriptor):
    return unquote(descriptor[1].decode().removeprefix("file://"))
