"""What the program requires of the script itself: its module-level names,
the yum names it looks up, the probes, and where the script's output goes."""

import logging
import os
import sys
import warnings

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import yumIOC  # noqa: E402
from enginetest import ARCH, RootTestCase, run  # noqa: E402


class NamesTest(RootTestCase):

    def test_names_the_program_looks_up(self):
        self.assertTrue(callable(self.ns["YumIO"]))
        self.assertIs(self.ns["usesSqlite"](), False)
        yum = sys.modules["yum"]
        self.assertIs(yum.Errors, self.Errors)
        # The program's number (10000, 100, 1 per part) is past every version test.
        parts = [int(p) for p in yum.__version__.split(".")[:3]]
        self.assertGreaterEqual(sum(p * w for p, w in zip(parts, (10000, 100, 1))), 40000)
        E = self.Errors
        for sub, base in [(E.RepoError, E.YumBaseError), (E.LockError, E.YumBaseError),
                          (E.GroupsError, E.YumBaseError), (E.NoMoreMirrorsRepoError, E.RepoError),
                          (E.RepoLockError, E.RepoError), (E.RepoLockError, E.LockError)]:
            self.assertTrue(issubclass(sub, base), (sub, base))
        e = E.LockError("held by 12", 12)
        self.assertEqual((e.value, str(e), e.pid), ("held by 12", "held by 12", 12))

    def test_repository_store_and_variables(self):
        # What the program reads beside the collection (the collection itself
        # is checked through the program's own session).
        y = self.session()
        self.assertEqual({r: repo.enabled for r, repo in y.repos.repos.items()}, {
            "sv-base": 1, "sv-buffet": 0, "sv-extras": 0, "sv-faults": 0, "sv-http": 0, "sv-mirrored": 1,
            "sv-signed": 0,
            "sv-unreachable": 0, "sv-updates": 1})
        self.collect(y)
        # releasever from sv-release's system-release(releasever) = 1, in the managed root.
        self.assertEqual({k: y.conf.yumvar[k] for k in ("arch", "basearch", "releasever")},
                         {"arch": ARCH, "basearch": ARCH, "releasever": "1"})
        # The probes.
        self.assertIs(y.hasMultiProgress(), True)
        self.assertIsInstance(y.usesPresto(), bool)
        # One value per architecture family.
        cases = {"x86_64": "x86_64", "i686": "i386", "noarch": "noarch", "armv7hl": "armhfp",
                 "no-such-arch": "no-such-arch"}
        self.assertEqual({a: y.getBiArch(a) for a in cases}, cases)


class StartTest(RootTestCase):

    def test_malformed_main_file_stops_the_engine_with_its_name(self):
        main = self.writeFile("/etc/yum.conf", "[main\ngpgcheck=0\n")  # a link to dnf/dnf.conf
        with self.assertRaises(SystemExit) as caught:
            self.session()
        self.assertIn(main, str(caught.exception))
        self.assertTrue([t for _, t in yumIOC.of("errorlog") if main in t])

    def test_missing_root_stops_the_engine_a_bare_one_has_no_repositories(self):
        os.environ["SORVANROOT"] = os.path.join(self.tmp, "nowhere")
        with self.assertRaises(SystemExit) as caught:
            self.session()
        self.assertIn("nowhere", str(caught.exception))
        # A root without configuration has no repositories.
        os.environ["SORVANROOT"] = bare = os.path.join(self.tmp, "bare")
        os.makedirs(bare)
        self.assertEqual(self.session().repos.repos, {})


class OutputTest(RootTestCase):

    def test_standard_streams_go_to_yumioc(self):
        sys.stdout.write("out one\nout ")
        print("two")
        print("err", file=sys.stderr)
        self.assertEqual(yumIOC.of("stdoutWrite"), [("out one\nout ",), ("two",), ("\n",)])
        self.assertEqual(yumIOC.of("stderrWrite"), [("err",), ("\n",)])

    def test_log_records_keep_yums_detail_levels(self):
        cases = [("dnf", logging.ERROR, "errorlog", 0), ("dnf", logging.WARNING, "errorlog", 1),
                 ("dnf", logging.INFO, "log", 1), ("dnf", logging.DEBUG, "log", 3), ("dnf", 8, "log", 7),
                 ("dnf", 6, "log", 8), ("dnf", 4, "log", 9), ("librepo", logging.DEBUG, "log", 3)]
        for logger, level, function, detail in cases:
            with self.subTest(logger=logger, level=level):
                yumIOC.reset()
                logging.getLogger(logger).log(level, "line %d\nsecond", level)
                self.assertEqual(yumIOC.calls, [(function, (detail, "line %d\nsecond" % level))])
        yumIOC.reset()
        warnings.warn("an old API")
        self.assertTrue([t for level, t in yumIOC.of("errorlog") if level == 1 and "an old API" in t])


if __name__ == "__main__":
    run()
