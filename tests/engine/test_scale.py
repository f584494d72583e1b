"""The scale fixture, made small: its metadata must be what dnf accepts and
its root what it claims (the benchmarks trust both)."""

import os
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import enginetest  # noqa: E402
from enginetest import Collection, RootTestCase  # noqa: E402

SCALE = os.path.join(enginetest.SOURCE_DIR, "tools", "scale", "scale.py")


class ScaleFixtureTest(RootTestCase):

    @classmethod
    def setUpClass(cls):
        cls.dir = tempfile.mkdtemp(prefix="sorvan-scale-")
        cls.out = subprocess.run(
            [sys.executable, "-I", "-B", SCALE, "build", cls.dir, "--packages", "1200",
             "--installed", "80", "--installed-updates", "12", "--seed", "7"],
            capture_output=True, text=True, timeout=600)

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.dir, ignore_errors=True)

    def test_engine_collects_what_the_fixture_claims(self):
        self.assertEqual(self.out.returncode, 0, self.out.stderr)
        os.environ["SORVANROOT"] = os.path.join(self.dir, "root")
        c = self.collect()
        self.assertGreaterEqual(len(c.installed), 70)
        self.assertLessEqual(len(c.installed), 80)
        updated = {p.name for p in c.updates}
        self.assertGreaterEqual(len(updated), 12)
        self.assertTrue(updated <= {p.name for p in c.installed})
        total = len(c.installed) + len(c.available) - len(c.updates)
        self.assertGreater(total, 1000)
        self.assertEqual(c.session.conf.yumvar["releasever"], "40")
        self.assertEqual(len([g for g in c.groups if g.user_visible]), 90 + 10)
        # File lists and change logs load from the generated XML.
        p = next(p for p in c.available if p.repoid == "scale-os")
        c.session.collectFileLists()
        c.session.collectOtherData()
        self.assertTrue(p.returnFileEntries())
        self.assertTrue(p.returnChangelog())
        self.assertTrue(p.returnSimple("buildhost").startswith("buildvm-x86-"))
        self.assertIn("scale-release-40-1.noarch", Collection.names(c.installed))

    def test_same_seed_same_metadata(self):
        again = tempfile.mkdtemp(prefix="sorvan-scale-")
        self.addCleanup(shutil.rmtree, again, True)
        generate = ("import sys; sys.path.insert(0, %r); import scale; "
                    "u = scale.Universe(7, 1140); "
                    "print(sum(len(s['binaries']) for s in u.sources), u.sources[-1]['name'])"
                    % os.path.dirname(SCALE))
        first = subprocess.run([sys.executable, "-I", "-B", "-c", generate], capture_output=True,
                               text=True)
        second = subprocess.run([sys.executable, "-I", "-B", "-c", generate], capture_output=True,
                                text=True)
        self.assertEqual(first.returncode, 0, first.stderr)
        self.assertEqual(first.stdout, second.stdout)


if __name__ == "__main__":
    enginetest.run(sys.argv)
