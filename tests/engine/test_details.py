"""Details on demand: file lists and change logs appear only once loaded, on
objects collected before the load too."""

import calendar
import os
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import yumIOC  # noqa: E402
from enginetest import RootTestCase, run  # noqa: E402


def noonUtc(day):
    """rpm's time of a change-log day ("Wed Mar 01 2023")."""
    return calendar.timegm(time.strptime(day, "%a %b %d %Y")) + 12 * 3600


SV_TOOL_1_2_LOG = [
    (noonUtc("Thu Mar 02 2023"), "Bo Packer <bo@sorvan.example> - 1.2-1", "- Rebuild with new flags"),
    (noonUtc("Wed Mar 01 2023"), "Ada Builder <ada@sorvan.example> - 1.2-1",
     "- Fix the --quiet option\n- Faster start-up"),
    (noonUtc("Mon Jan 09 2023"), "Ada Builder <ada@sorvan.example> - 1.0-1", "- First release"),
]


class DetailTest(RootTestCase):

    def setUp(self):
        super().setUp()
        self.c = self.collect()
        self.y = self.c.session

    def test_file_lists_appear_only_after_their_load(self):
        p = self.c.find("available", "sv-office-suite")
        self.assertEqual((p.returnFileEntries("file"), p.files), ([], {}))
        # Installed packages' files need no load.
        self.assertEqual(sorted(self.c.find("installed", "sv-reloc").returnFileEntries("file")),
                         ["/opt/sv-reloc/bin/sv-reloc", "/opt/sv-reloc/share/sv-reloc.conf"])
        yumIOC.reset()
        self.y.collectFileLists()
        self.assertEqual(p.returnFileEntries("file"), ["/usr/share/sv-office-suite/README"])
        self.assertEqual(p.files["file"], ["/usr/share/sv-office-suite/README"])
        # Each repository read is reported, in the order of the configuration files.
        self.assertEqual(yumIOC.of("collectProgress"), [
            (0, 1, "sv-mirrored"), (1, 1, "sv-mirrored"), (0, 1, "sv-base"), (1, 1, "sv-base"),
            (0, 1, "sv-updates"), (1, 1, "sv-updates")])
        self.y.collectFileLists()  # loaded already: nothing read again
        self.assertEqual(yumIOC.names().count("collectProgress"), 6)
        c = self.collect(self.y)  # a new collection drops them
        self.assertEqual(c.find("available", "sv-app").returnFileEntries(), [])

    def test_change_logs_appear_only_after_their_load(self):
        p = self.c.find("available", "sv-tool")
        self.assertEqual((p.returnChangelog(), p.changelog), ([], []))
        # An installed package's change log comes from its header.
        self.assertEqual(self.c.find("installed", "sv-tool").returnChangelog(), SV_TOOL_1_2_LOG[2:])
        app = self.c.find("available", "sv-app")
        self.y.collectFileLists()
        self.y.collectOtherData()
        self.assertEqual((p.returnChangelog(), p.changelog), (SV_TOOL_1_2_LOG, SV_TOOL_1_2_LOG))
        self.assertEqual(p.hawkey.reponame, "sv-updates")
        # File lists survive the reload of the repositories.
        self.assertEqual(app.returnFileEntries(), ["/usr/bin/sv-app"])
        # The same entry reads the same from a repository and the rpm database.
        self.assertEqual(self.c.find("available", "sv-docs").returnChangelog()[1:],
                         self.c.find("installed", "sv-docs").returnChangelog())

    def test_build_host_of_a_remote_package_without_downloading_it(self):
        self.serve()
        c = self.collect(enables={"sv-http": True})
        p = c.find("available", "sv-net-tool")
        self.assertEqual(p.returnSimple("buildhost"), "builder.sorvan.example")
        self.assertFalse(os.path.exists(p.localPkg()))
        with open(self.path("/var/run/sv-sandbox-http.log")) as f:
            self.assertNotIn(".rpm", f.read())


if __name__ == "__main__":
    run()
