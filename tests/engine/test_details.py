"""Details on demand: file lists and change logs appear only once loaded, and
objects collected before a load answer from the reloaded repositories."""

import calendar
import os
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import enginetest  # noqa: E402
import yumIOC  # noqa: E402
from enginetest import RootTestCase  # noqa: E402


def noonUtc(day):
    """rpm's time of a change-log day ("Wed Mar 01 2023")."""
    return calendar.timegm(time.strptime(day, "%a %b %d %Y")) + 12 * 3600


SV_TOOL_1_2_LOG = [
    (noonUtc("Thu Mar 02 2023"), "Bo Packer <bo@sorvan.example> - 1.2-1",
     "- Rebuild with new flags"),
    (noonUtc("Wed Mar 01 2023"), "Ada Builder <ada@sorvan.example> - 1.2-1",
     "- Fix the --quiet option\n- Faster start-up"),
    (noonUtc("Mon Jan 09 2023"), "Ada Builder <ada@sorvan.example> - 1.0-1", "- First release"),
]


class FileListTest(RootTestCase):

    def setUp(self):
        super().setUp()
        self.c = self.collect()
        self.y = self.c.session

    def test_available_files_appear_only_after_their_load(self):
        p = self.c.find("available", "sv-office-suite")
        self.assertEqual(p.returnFileEntries("file"), [])
        self.assertEqual(p.files, {})
        self.y.collectFileLists()
        self.assertEqual(p.returnFileEntries("file"), ["/usr/share/sv-office-suite/README"])
        self.assertEqual(p.files["file"], ["/usr/share/sv-office-suite/README"])
        self.assertEqual(p._loadFiles(), p.files)

    def test_installed_files_need_no_load(self):
        p = self.c.find("installed", "sv-reloc")
        self.assertEqual(sorted(p.returnFileEntries("file")),
                         ["/opt/sv-reloc/bin/sv-reloc", "/opt/sv-reloc/share/sv-reloc.conf"])

    def test_asking_twice_loads_once(self):
        self.y.collectFileLists()
        loads = yumIOC.names().count("collectProgress")
        generation = self.y._session.generation
        self.y.collectFileLists()
        self.assertEqual(yumIOC.names().count("collectProgress"), loads)
        self.assertEqual(self.y._session.generation, generation)

    def test_a_new_collection_drops_the_file_lists(self):
        self.y.collectFileLists()
        c = self.collect(self.y)
        self.assertEqual(c.find("available", "sv-app").returnFileEntries(), [])

    def test_reading_a_repository_reports_progress(self):
        yumIOC.reset()
        self.y.collectFileLists()
        # In the order of the configuration files: sv-mirrored.repo, sv-sandbox.repo.
        self.assertEqual(yumIOC.of("collectProgress"), [
            (0, 1, "sv-mirrored"), (1, 1, "sv-mirrored"), (0, 1, "sv-base"), (1, 1, "sv-base"),
            (0, 1, "sv-updates"), (1, 1, "sv-updates")])


class ChangeLogTest(RootTestCase):

    def setUp(self):
        super().setUp()
        self.c = self.collect()
        self.y = self.c.session

    def test_change_logs_appear_only_after_their_load(self):
        p = self.c.find("available", "sv-tool")
        self.assertEqual(p.returnChangelog(), [])
        self.assertEqual(p.changelog, [])
        self.y.collectOtherData()
        self.assertEqual(p.returnChangelog(), SV_TOOL_1_2_LOG)
        self.assertEqual(p.changelog, SV_TOOL_1_2_LOG)

    def test_installed_change_log_comes_from_its_header(self):
        p = self.c.find("installed", "sv-tool")
        self.assertEqual(p.returnChangelog(), SV_TOOL_1_2_LOG[2:])

    def test_same_entry_reads_the_same_from_repository_and_rpm_database(self):
        self.y.collectOtherData()
        installed = self.c.find("installed", "sv-docs").returnChangelog()
        available = self.c.find("available", "sv-docs").returnChangelog()
        self.assertEqual(available[1:], installed)

    def test_file_lists_survive_loading_change_logs(self):
        p = self.c.find("available", "sv-app")
        self.y.collectFileLists()
        self.y.collectOtherData()
        self.assertEqual(p.returnFileEntries(), ["/usr/bin/sv-app"])
        self.assertEqual(len(p.returnChangelog()), 1)

    def test_objects_answer_from_the_reloaded_sack(self):
        p = self.c.find("available", "sv-tool")
        before = p.hawkey
        self.y.collectOtherData()
        after = p.hawkey
        self.assertIsNot(before, after)
        self.assertEqual(str(after), str(before))
        self.assertEqual(after.reponame, "sv-updates")


class RemoteDetailTest(RootTestCase):
    """Details of a package whose file is not on this machine."""

    def test_build_host_of_a_remote_package_without_downloading_it(self):
        self.serve()
        c = self.collect(enables={"sv-http": True})
        p = c.find("available", "sv-net-tool")
        self.assertFalse(os.path.exists(p.localPkg()))
        self.assertEqual(p.returnSimple("buildhost"), "builder.sorvan.example")
        with open(self.path("/var/run/sv-sandbox-http.log")) as f:
            self.assertNotIn(".rpm", f.read())


if __name__ == "__main__":
    enginetest.run(sys.argv)
