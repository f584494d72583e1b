"""The scale fixture, made small: its metadata must be what dnf accepts and
its root what it claims, since the benchmarks trust both."""

import os
import subprocess
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from enginetest import SOURCE_DIR, RootTestCase, run  # noqa: E402

SCALE = os.path.join(SOURCE_DIR, "tools", "scale", "scale.py")


class ScaleFixtureTest(RootTestCase):

    def test_engine_collects_what_the_fixture_claims(self):
        out = os.path.join(self.tmp, "scale")
        build = subprocess.run([sys.executable, "-I", "-B", SCALE, "build", out, "--packages", "1200", "--installed",
                                "80", "--installed-updates", "12", "--seed", "7", "--no-apply-set"],
                               capture_output=True, text=True, timeout=600)
        self.assertEqual(build.returncode, 0, build.stderr)
        os.environ["SORVANROOT"] = os.path.join(out, "root")
        c = self.collect()
        self.assertTrue(70 <= len(c.installed) <= 80, len(c.installed))
        updated = {p.name for p in c.updates}
        self.assertGreaterEqual(len(updated), 12)
        self.assertLessEqual(updated, {p.name for p in c.installed})
        self.assertGreater(len(c.installed) + len(c.available) - len(c.updates), 1000)
        self.assertEqual(c.session.conf.yumvar["releasever"], "40")
        self.assertEqual(len([g for g in c.groups if g.user_visible]), 90 + 10)
        # File lists and change logs load from the generated XML.
        p = next(p for p in c.available if p.repoid == "scale-os")
        c.session.collectFileLists()
        c.session.collectOtherData()
        self.assertTrue(p.returnFileEntries() and p.returnChangelog())


if __name__ == "__main__":
    run()
