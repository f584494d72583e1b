"""What the program requires of the script (how it stops on a bad start,
where its log records and warnings go), the repository configuration it
reads, the repositories it cannot use, and one served over HTTP."""

import glob
import logging
import os
import shutil
import subprocess
import sys
import warnings

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import yumIOC  # noqa: E402
from enginetest import REPOS, RootTestCase, names, run  # noqa: E402


class ContractTest(RootTestCase):

    def test_malformed_main_file_stops_the_engine_with_its_name(self):
        main = self.writeFile("/etc/yum.conf", "[main\ngpgcheck=0\n")  # a link to dnf/dnf.conf
        with self.assertRaises(SystemExit) as caught:
            self.session()
        self.assertIn(main, str(caught.exception))
        self.assertTrue([t for _, t in yumIOC.of("errorlog") if main in t])

    def test_log_records_keep_yums_detail_levels(self):
        cases = [("dnf", logging.ERROR, "errorlog", 0), ("dnf", logging.WARNING, "errorlog", 1),
                 ("dnf", 4, "log", 9), ("librepo", logging.DEBUG, "log", 3)]
        for logger, level, function, detail in cases:
            with self.subTest(logger=logger, level=level):
                yumIOC.reset()
                logging.getLogger(logger).log(level, "line %d\nsecond", level)
                self.assertEqual(yumIOC.calls, [(function, (detail, "line %d\nsecond" % level))])
        yumIOC.reset()
        warnings.warn("an old API")
        self.assertTrue([t for level, t in yumIOC.of("errorlog") if level == 1 and "an old API" in t])


class ConfigurationTest(RootTestCase):

    def test_bad_repo_files_are_named_and_the_rest_stays_usable(self):
        broken = self.writeFile("/etc/yum.repos.d/broken.repo", "[broken\nbaseurl=file:///x/\n")
        y = self.session()
        self.assertIn("sv-base", y.repos.repos)
        y.lock()
        with self.assertRaises(self.Errors.RepoError) as caught:
            y.setupRepos()
        self.assertIn(broken, caught.exception.value)
        os.unlink(broken)
        # The same identifier in two files names both.
        dup = self.writeFile("/etc/yum.repos.d/zz-dup.repo", "[sv-base]\nbaseurl=file:///nowhere/\n")
        with self.assertRaises(self.Errors.RepoError) as caught:
            self.session().setupRepos()
        self.assertIn(dup, caught.exception.value)
        self.assertIn(self.path("/etc/yum.repos.d/sv-sandbox.repo"), caught.exception.value)
        os.unlink(dup)
        self.assertTrue(self.collect().available)

    def test_files_dnf_would_misread_are_read_with_a_warning(self):
        latin = self.writeFile("/etc/yum.repos.d/latin.repo",
                               b"[latin]\nname=Caf\xe9\nbaseurl=file:///nowhere/\nenabled=0\n"
                               b"[latin]\ngpgcheck=0\n", "wb")
        fifo = self.path("/etc/yum.repos.d/zz.repo")
        os.mkfifo(fifo)
        y = self.session()
        self.assertEqual(y.repos.repos["latin"].name, "Caf\xe9")
        warned = "\n".join(t for _, t in yumIOC.of("errorlog"))
        for part in (latin + ", line 2: the file is not UTF-8", latin + ", line 5: the section [latin]",
                     fifo + " is not a regular file"):
            self.assertIn(part, warned)
        self.assertTrue(self.collect(y).available)

    def test_the_main_file_the_repository_editor_picks_names_the_repository_files(self):
        os.unlink(self.path("/etc/yum.conf"))
        for main, tag in [("/etc/dnf/dnf.conf", "c"), ("/etc/yum.conf", "b"), ("/etc/yum/yum.conf", "a")]:
            self.writeFile(main, "[main]\nreposdir=/etc/repos-%s\n" % tag)
            self.writeFile("/etc/repos-%s/%s.repo" % (tag, tag),
                           "[repo-%s]\nbaseurl=file:///nowhere/\n" % tag)
            self.assertEqual(list(self.session().repos.repos), ["repo-" + tag])


class UnusableRepositoryTest(RootTestCase):

    def test_unreachable_repository_that_may_be_skipped(self):
        self.writeFile("/etc/yum.repos.d/sv-unreachable.repo", "skip_if_unavailable=1\n", "a")
        c = self.collect(enables={"sv-unreachable": True})
        self.assertIn("2:sv-epoch-1.0-1.noarch", names(c.updates))
        self.assertTrue([t for _, t in yumIOC.of("errorlog") if "sv-unreachable" in t])

    def test_metadata_locked_by_another_dnf(self):
        holder = subprocess.Popen(["sleep", "60"])
        self.addCleanup(holder.wait)
        self.addCleanup(holder.kill)
        self.writeFile("/var/cache/dnf/metadata_lock.pid", str(holder.pid))
        with self.assertRaises(self.Errors.LockError) as caught:
            self.session().setupRepos()
        self.assertIsInstance(caught.exception, self.Errors.RepoError)
        self.assertEqual(caught.exception.pid, holder.pid)
        self.assertIn(str(holder.pid), caught.exception.value)

    def test_damaged_metadata_says_what_to_do(self):
        repo = os.path.join(self.tmp, "damaged")
        shutil.copytree(os.path.join(REPOS, "sv-faults"), repo)
        with open(glob.glob(repo + "/repodata/*-primary.xml.gz")[0], "r+b") as f:
            f.truncate(40)
        self.writeFile("/etc/yum.repos.d/damaged.repo", "[damaged]\nname=D\nbaseurl=file://%s/\n" % repo)
        y = self.session()
        y.lock()
        with self.assertRaises(self.Errors.RepoError) as caught:
            y.setupRepos()
        self.assertEqual(caught.exception.repo, "damaged")
        self.assertRegex(caught.exception.value, r"primary\.xml\.gz of repository 'damaged'.*Clean XML Metadata")

    def test_remote_packages_stay_remote_and_a_fresh_cache_downloads_nothing(self):
        self.serve()
        y = self.session()
        c = self.collect(y, enables={"sv-http": True})
        # A remote package's build host comes without downloading it.
        p = next(p for p in c.available if p.name == "sv-net-tool")
        self.assertEqual(p.returnSimple("buildhost"), "builder.sorvan.example")
        with open(self.path("/var/run/sv-sandbox-http.log")) as f:
            self.assertNotIn(".rpm", f.read())
        yumIOC.reset()
        self.collect(y)
        self.assertFalse([a for n, a in yumIOC.calls if n == "collectGrabMeterStart" and "sv-http" in a[5]])


if __name__ == "__main__":
    run()
