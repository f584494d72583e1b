"""What the program requires of the script itself: its module-level names,
the yum names it looks up, the probes, and where the script's output goes."""

import logging
import os
import re
import sys
import warnings

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import enginetest  # noqa: E402
import yumIOC  # noqa: E402
from enginetest import RootTestCase  # noqa: E402


def programVersion(text):
    """The program's number for a version text: the first three parts
    weighted 10000, 100 and 1."""
    parts = [int(p) for p in text.split(".")[:3]]
    return sum(p * w for p, w in zip(parts, (10000, 100, 1)))


class NamesTest(RootTestCase):

    def test_module_level_names(self):
        self.assertTrue(callable(self.ns["YumIO"]))
        self.assertIs(self.ns["usesSqlite"](), False)

    def test_yum_names_the_program_looks_up(self):
        yum = sys.modules["yum"]
        self.assertIs(yum.__dict__["Errors"], self.Errors)
        self.assertRegex(yum.__version__, r"^\d+\.\d+(\.\d+)?$")
        # dnf's version is past every version test of the program.
        self.assertGreaterEqual(programVersion(yum.__version__), 40000)
        import bdb
        self.assertTrue(issubclass(bdb.BdbQuit, Exception))
        self.assertIn("rpm", sys.modules)

    def test_exception_hierarchy(self):
        E = self.Errors
        cases = [
            (E.RepoError, E.YumBaseError), (E.LockError, E.YumBaseError),
            (E.GroupsError, E.YumBaseError), (E.NoMoreMirrorsRepoError, E.RepoError),
            (E.RepoLockError, E.RepoError), (E.RepoLockError, E.LockError),
        ]
        for sub, base in cases:
            with self.subTest(sub=sub.__name__, base=base.__name__):
                self.assertTrue(issubclass(sub, base))
        self.assertFalse(issubclass(E.GroupsError, E.RepoError))
        e = E.LockError("held by 12", 12)
        self.assertEqual((e.value, str(e), e.pid), ("held by 12", "held by 12", 12))

    def test_probes(self):
        y = self.session()
        self.assertIs(y.hasMultiProgress(), True)
        self.assertIsInstance(y.usesPresto(), bool)

    def test_bi_architectures(self):
        y = self.session()
        cases = {"x86_64": "x86_64", "i686": "i386", "i586": "i386", "i386": "i386",
                 "athlon": "i386", "noarch": "noarch", "aarch64": "aarch64",
                 "armv7hl": "armhfp", "ppc64le": "ppc64le", "no-such-arch": "no-such-arch"}
        for arch, expected in cases.items():
            with self.subTest(arch=arch):
                self.assertEqual(y.getBiArch(arch), expected)


class StartTest(RootTestCase):

    def test_malformed_main_file_stops_the_engine_with_its_name(self):
        # /etc/yum.conf, a link to dnf/dnf.conf, is the file the engine reads.
        main = self.path("/etc/yum.conf")
        with open(main, "w") as f:
            f.write("[main\ngpgcheck=0\n")
        with self.assertRaises(SystemExit) as caught:
            self.session()
        self.assertIn(main, str(caught.exception))
        self.assertTrue([t for _, t in yumIOC.of("errorlog") if main in t])

    def test_missing_root_stops_the_engine(self):
        os.environ["SORVANROOT"] = os.path.join(self.tmp, "nowhere")
        with self.assertRaises(SystemExit) as caught:
            self.session()
        self.assertIn("nowhere", str(caught.exception))

    def test_root_without_configuration_has_no_repositories(self):
        bare = os.path.join(self.tmp, "bare")
        os.makedirs(bare)
        os.environ["SORVANROOT"] = bare
        self.assertEqual(self.session().repos.repos, {})


class OutputTest(RootTestCase):

    def test_standard_streams_go_to_yumioc(self):
        sys.stdout.write("out one\nout ")
        print("two", file=sys.stdout)
        print("err", file=sys.stderr)
        self.assertEqual(yumIOC.of("stdoutWrite"), [("out one\nout ",), ("two",), ("\n",)])
        self.assertEqual(yumIOC.of("stderrWrite"), [("err",), ("\n",)])
        self.assertFalse(sys.stdout.isatty())

    def test_log_records_keep_yums_detail_levels(self):
        cases = [
            ("dnf", logging.CRITICAL, "errorlog", 0), ("dnf", logging.ERROR, "errorlog", 0),
            ("dnf", logging.WARNING, "errorlog", 1), ("dnf", logging.INFO, "log", 1),
            ("dnf", logging.DEBUG, "log", 3), ("dnf", 8, "log", 7), ("dnf", 6, "log", 8),
            ("dnf", 4, "log", 9), ("librepo", logging.DEBUG, "log", 3),
            ("dnf.rpm", logging.INFO, "log", 1), ("dnf.plugin", logging.WARNING, "errorlog", 1),
        ]
        for logger, level, function, detail in cases:
            with self.subTest(logger=logger, level=level):
                yumIOC.reset()
                logging.getLogger(logger).log(level, "line %d\nsecond", level)
                self.assertEqual(yumIOC.calls, [(function, (detail, "line %d\nsecond" % level))])

    def test_python_warnings_go_to_the_error_log(self):
        warnings.warn("an old API")
        self.assertTrue([t for level, t in yumIOC.of("errorlog")
                         if level == 1 and re.search("an old API", t)])


if __name__ == "__main__":
    enginetest.run(sys.argv)
