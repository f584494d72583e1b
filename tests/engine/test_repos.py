"""Repositories: the configuration the engine reads, the ones it cannot use,
and the progress it reports while reading them."""

import os
import re
import subprocess
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import enginetest  # noqa: E402
import yumIOC  # noqa: E402
from enginetest import Collection, RootTestCase  # noqa: E402

# The program's repository acts (its RepoAct numbers).
MIRRORLIST, REPOMD, GROUPS, CONTENTS, CONVERT, READ = range(6)


class Acts:
    """The program's act numbering of collect meters, for an engine with
    multi-file meters and without sqlite, replayed over recorded calls."""

    def __init__(self, repos):
        self.R = repos
        self.c = 0
        self.lastTotal = None
        self.lastName = None
        self.started = []

    def start(self, name, act, total):
        R, c = self.R, self.c
        if act in (CONVERT, READ):
            base = 4 * R
            c = base + 2 * ((max(c, base) - base) // 2) + act - 3
        elif act in (GROUPS, CONTENTS):
            base = 2 * R
            c = base + 2 * ((max(c, base) - base) // 2) + act - 1
        else:
            c = 2 * (c // 2) + act + 1
        self.c, self.lastTotal, self.lastName = c, total, name
        self.started.append((name, act, c))

    def grabStart(self, filename, size, text):
        name, textUsed = filename or "", False
        if not name and isinstance(text, str):
            name, textUsed = text, True
        i = name.rfind("/")
        act = CONTENTS
        if i != -1:
            if name[i + 1:i + 7] == "repomd":
                act = REPOMD
            elif name[i + 1:i + 9] == "metalink":
                act = MIRRORLIST
            elif name[i + 1:i + 9] == "group_gz":
                act = GROUPS
        if not textUsed:
            j = name.rfind("/", 0, i) if i > 0 else -1
            if i != -1 and j != -1:
                name = name[j + 1:i]
            name = re.sub(r"buffet?.*=.*&.*=.*&path=", "", name)
        else:
            name = name.split("/", 1)[0]
        self.start(name, act, 1 if size is None else size)

    def progress(self, current, total, name):
        if self.c > 0 and total == self.lastTotal and name == self.lastName:
            return
        self.start(name, READ, total if (current, total) != (-1, -1) else 1)

    def replay(self, calls):
        for name, args in calls:
            if name == "collectGrabMeterStart":
                self.grabStart(args[1], args[4], args[5])
            elif name == "collectProgress":
                self.progress(*args)
        return self


class ConfigurationTest(RootTestCase):

    def test_malformed_repo_file_is_named_and_the_rest_stays_usable(self):
        broken = self.writeFile("/etc/yum.repos.d/broken.repo", "[broken\nbaseurl=file:///x/\n")
        y = self.session()
        self.assertIn("sv-base", y.repos.repos)
        y.lock()
        with self.assertRaises(self.Errors.RepoError) as caught:
            y.setupRepos()
        self.assertIn(broken, caught.exception.value)
        os.unlink(broken)
        c = self.collect(self.session())
        self.assertTrue(c.available)

    def test_same_id_in_two_files(self):
        dup = self.writeFile("/etc/yum.repos.d/zz-dup.repo",
                             "[sv-base]\nname=again\nbaseurl=file:///nowhere/\n")
        y = self.session()
        with self.assertRaises(self.Errors.RepoError) as caught:
            y.setupRepos()
        self.assertIn(dup, caught.exception.value)
        self.assertIn(self.path("/etc/yum.repos.d/sv-sandbox.repo"), caught.exception.value)

    def test_enable_and_disable(self):
        y = self.session()
        self.assertEqual(y.repos.enableRepo("sv-e*"), ["sv-extras"])
        self.assertEqual(y.repos.repos["sv-extras"].enabled, 1)
        self.assertEqual(y.repos.disableRepo("sv-base"), ["sv-base"])
        self.assertEqual(y.repos.repos["sv-base"].enabled, 0)
        with self.assertRaises(self.Errors.RepoError):
            y.repos.enableRepo("no-such-repo")

    def test_releasever_comes_from_the_managed_root(self):
        release = os.path.join(self.tmp, "rel")
        os.makedirs(release)
        os.symlink(os.path.join(enginetest.REPOS, "sv-extras"), os.path.join(release, "1"))
        self.writeFile("/etc/yum.repos.d/rel.repo",
                       "[rel]\nname=By release\nbaseurl=file://%s/$releasever/\n" % release)
        c = self.collect()
        self.assertEqual(c.find("available", "sv-extra-tool").repoid, "rel")

    def test_reposdir_of_the_main_file(self):
        os.makedirs(self.path("/etc/sorvan.repos.d"))
        os.rename(self.path("/etc/yum.repos.d/sv-extras.repo"),
                  self.path("/etc/sorvan.repos.d/sv-extras.repo"))
        with open(self.path("/etc/dnf/dnf.conf"), "a") as f:
            f.write("reposdir=/etc/sorvan.repos.d\n")
        y = self.session()
        self.assertEqual(list(y.repos.repos), ["sv-extras"])

    def test_main_file_lookup_order(self):
        # Each candidate names its own repository directory.
        cases = [("/etc/yum/yum.conf", "a"), ("/etc/yum.conf", "b"), ("/etc/dnf/dnf.conf", "c")]
        os.unlink(self.path("/etc/yum.conf"))
        for name, tag in cases:
            self.writeFile(name, "[main]\nreposdir=/etc/repos-%s\n" % tag)
            self.writeFile("/etc/repos-%s/%s.repo" % (tag, tag),
                           "[repo-%s]\nname=%s\nbaseurl=file:///nowhere/\n" % (tag, tag))
        for name, tag in cases:
            with self.subTest(main=name):
                self.assertEqual(list(self.session().repos.repos), ["repo-" + tag])
                os.unlink(self.path(name))


class UnusableRepositoryTest(RootTestCase):

    def test_unreachable_enabled_repository(self):
        y = self.session()
        y.lock()
        y.repos.enableRepo("sv-unreachable")
        with self.assertRaises(self.Errors.RepoError) as caught:
            y.setupRepos()
        self.assertIn("sv-unreachable", caught.exception.value)
        self.assertTrue([t for _, t in yumIOC.of("errorlog") if "sv-unreachable" in t])
        # The session goes on once the repository is disabled again.
        y.repos.disableRepo("sv-unreachable")
        self.assertTrue(self.collect(y).available)

    def test_unreachable_repository_that_may_be_skipped(self):
        with open(self.path("/etc/yum.repos.d/sv-unreachable.repo"), "a") as f:
            f.write("skip_if_unavailable=1\n")
        c = self.collect(enables={"sv-unreachable": True})
        self.assertEqual(Collection.names(c.updates)[0], "2:sv-epoch-1.0-1.noarch")
        warnings = [t for level, t in yumIOC.of("errorlog") if "sv-unreachable" in t]
        self.assertTrue(warnings)

    def test_metadata_locked_by_another_dnf(self):
        holder = subprocess.Popen(["sleep", "60"])
        self.addCleanup(holder.wait)
        self.addCleanup(holder.kill)
        self.writeFile("/var/cache/dnf/metadata_lock.pid", str(holder.pid))
        y = self.session()
        with self.assertRaises(self.Errors.RepoError) as caught:
            y.setupRepos()
        e = caught.exception
        self.assertIsInstance(e, self.Errors.LockError)
        self.assertIn(str(holder.pid), e.value)
        self.assertEqual(e.pid, holder.pid)


class HttpRepositoryTest(RootTestCase):

    def meterCalls(self, repoid):
        meters = [args[0] for name, args in yumIOC.calls if name == "collectGrabMeterStart"
                  and args[5] == repoid + "/repodata"]
        return [(name, args[1:]) for name, args in yumIOC.calls
                if name.startswith("collectGrabMeter") and args and args[0] in meters]

    def test_download_moves_one_meter_per_repository(self):
        self.serve()
        c = self.collect(enables={"sv-http": True})
        self.assertIn("sv-bigdata-1.0-1.noarch", Collection.names(c.available))
        calls = self.meterCalls("sv-http")
        self.assertEqual(calls[0], ("collectGrabMeterStart", ("", None, None, 1000,
                                                              "sv-http/repodata")))
        self.assertEqual(calls[-1], ("collectGrabMeterEnd", (1000,)))
        values = [args[0] for name, args in calls if name == "collectGrabMeterUpdate"]
        self.assertTrue(values)
        self.assertEqual(values, sorted(values))
        self.assertLessEqual(values[-1], 1000)
        self.assertEqual([n for n, _ in calls].count("collectGrabMeterStart"), 1)

    def test_fresh_cache_downloads_nothing(self):
        self.serve()
        y = self.session()
        self.collect(y, enables={"sv-http": True})
        yumIOC.reset()
        self.collect(y)
        self.assertEqual(self.meterCalls("sv-http"), [])

    def test_progress_acts_stay_within_six_per_repository(self):
        self.serve()
        # Without cached metadata every repository is downloaded, then read.
        self.session().cleanMetadata()
        yumIOC.reset()
        self.collect(enables={"sv-http": True})
        acts = Acts(4).replay(yumIOC.calls)
        self.assertLessEqual(acts.c, 6 * 4)
        reads = [s for s in acts.started if s[1] == READ]
        self.assertEqual(sorted(n for n, _, _ in reads),
                         ["sv-base", "sv-http", "sv-mirrored", "sv-updates"])
        self.assertEqual(len([s for s in acts.started if s[1] == CONTENTS]), 4)
        self.assertTrue(all(c > 4 * 4 for _, _, c in reads))

    def test_buffet_repository_needs_its_name_and_password(self):
        self.serve()
        repo = self.path("/etc/yum.repos.d/sv-buffet.repo")
        with open(repo) as f:
            text = f.read()
        with open(repo, "w") as f:
            f.write(text.replace("user=&pass=", "user=sorvan&pass=wrong"))
        with self.assertRaises(self.Errors.RepoError):
            self.collect(enables={"sv-buffet": True})
        with open(repo, "w") as f:
            f.write(text.replace("user=&pass=", "user=sorvan&pass=sandbox"))
        c = self.collect(enables={"sv-buffet": True})
        self.assertEqual(c.find("available", "sv-buffet-tool").repoid, "sv-buffet")


if __name__ == "__main__":
    enginetest.run(sys.argv)
