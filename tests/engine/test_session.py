"""The companion script run as the program runs it (as __main__, with this
directory's yumIOC stand-in), each test on its own copy of the sandbox's root.
A whole session (this file with --fullrun RESULT) runs under strace, then in a
mount namespace whose host dnf configuration is replaced by decoys."""

import collections
import contextlib
import glob
import json
import logging
import os
import re
import runpy
import shutil
import subprocess
import sys
import tempfile
import traceback
import types
import unittest
import warnings

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE_DIR = os.environ.get("SORVAN_SOURCE_DIR") or os.path.dirname(os.path.dirname(HERE))
SHARE_PYTHON = os.path.join(SOURCE_DIR, "share", "python")
SCRIPT = os.path.join(SHARE_PYTHON, "YumIO.py")
SANDBOX = os.environ.get("SORVAN_SANDBOX") or os.path.join(
    os.environ.get("SORVAN_BINARY_DIR") or SOURCE_DIR, "sandbox")
REPOS = os.path.join(SANDBOX, "repos")

sys.path[:0] = [SHARE_PYTHON, HERE, os.path.join(SOURCE_DIR, "tools", "sandbox")]

import sandbox  # noqa: E402
import yumIOC  # noqa: E402

CLEANERS = ("cleanHeaders", "cleanPackages", "cleanMetadata", "cleanPickles", "cleanSqlite")


def script():
    sys.argv = ["sorvan", "info"]
    return runpy.run_path(SCRIPT, run_name="__main__")


def names(pkgs):
    return sorted(str(p) for p in pkgs)


def collect(y, enables=None):
    """The program's collection sequence on session y."""
    y.lock()
    for rid, state in (enables or {}).items():
        (y.repos.enableRepo if state else y.repos.disableRepo)(rid)
    y.setupRepos()
    y.setupTs()
    c = types.SimpleNamespace(session=y, updates=list(y.collectUpdates()))
    everything = y.collectAll()
    c.installed, c.available = list(everything.installed), list(everything.available)
    try:
        y.setupTsGroup()
    except sys.modules["yum.Errors"].GroupsError as e:
        if "No Groups Available" not in e.value:
            raise
    c.groups = list(y.collectGroupInfo())
    y.collectDone()
    return c


class RootTestCase(unittest.TestCase):
    ns = None

    def setUp(self):
        if RootTestCase.ns is None:
            sandbox.build(SANDBOX)
            RootTestCase.ns = script()
        self.Errors = sys.modules["yum.Errors"]
        self.tmp = tempfile.mkdtemp(prefix="sorvan-engine-")
        self.addCleanup(shutil.rmtree, self.tmp, True)
        self.root = sandbox.clone(SANDBOX, os.path.join(self.tmp, "root"))
        self.addCleanup(sandbox.stopServer, self.root)
        os.environ["SORVANROOT"] = self.root
        yumIOC.reset()

    def session(self):
        y = self.ns["YumIO"]()

        def release():
            with contextlib.suppress(Exception):
                y.unlock()
            y._session.close()
        self.addCleanup(release)
        return y

    def collect(self, y=None, enables=None):
        return collect(y or self.session(), enables)

    def path(self, relative):
        return os.path.join(self.root, relative.lstrip("/"))

    def writeFile(self, relative, text, mode="w"):
        path = self.path(relative)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, mode) as f:
            f.write(text)
        return path


def fullrun(result_path):
    """The program's calls on SORVANROOT, the HTTP repository included; what
    it collected and the yumIOC calls go to result_path."""
    ns = script()
    result = {}
    try:
        c = collect(ns["YumIO"](), {"sv-http": True})
        y = c.session
        result.update(updates=names(c.updates), installed=names(c.installed), available=names(c.available),
                      groups=sorted((g.name, g.installed) for g in c.groups), yumvar=dict(y.conf.yumvar))
        y.collectFileLists()
        y.collectOtherData()
        tool = next(p for p in c.available if p.name == "sv-net-tool")
        result["buildhost"] = tool.returnSimple("buildhost")
        result["cleaned"] = [getattr(y, method)()[0] for method in CLEANERS]
        y.flush()
        y.unlock()
    except BaseException:
        traceback.print_exc(file=sys.__stderr__)  # sys.stderr goes to yumIOC
        sys.exit(1)
    result["calls"] = collections.Counter(yumIOC.names())
    with open(result_path, "w") as f:
        json.dump(result, f)


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

    def test_read_only_cache_is_named(self):
        cache = self.path("/var/cache")
        if subprocess.run(["mount", "--bind", cache, cache], stderr=subprocess.DEVNULL).returncode:
            self.skipTest("no bind mounts here")
        self.addCleanup(subprocess.run, ["umount", cache])
        subprocess.run(["mount", "-o", "remount,bind,ro", cache], check=True)
        y = self.session()
        y.lock()
        with self.assertRaises(self.Errors.RepoError) as caught:
            y.setupRepos()
        self.assertRegex(caught.exception.value, r"Unable to write %s/dnf/\S+: Read-only file system\.\n"
                         r"SORVAN keeps .* in the cache directory %s/dnf" % (re.escape(cache), re.escape(cache)))


class IsolationTest(RootTestCase):

    def fullrun(self, prefix=()):
        result = os.path.join(self.tmp, "result.json")
        proc = subprocess.run(list(prefix) + [sys.executable, "-I", "-B", os.path.abspath(__file__),
                                              "--fullrun", result],
                              env=dict(os.environ, SORVANROOT=self.root), capture_output=True, timeout=600)
        self.assertEqual(proc.returncode, 0, proc.stderr.decode(errors="replace"))
        self.assertEqual((proc.stdout, proc.stderr), (b"", b""))
        with open(result) as f:
            return json.load(f)

    def test_quiet_inside_the_root_and_blind_to_the_host(self):
        sandbox.serve(SANDBOX, self.root)
        trace = os.path.join(self.tmp, "trace")
        calls = ("open,openat,creat,mkdir,mkdirat,unlink,unlinkat,rename,renameat,renameat2,"
                 "rmdir,link,linkat,symlink,symlinkat,truncate,chmod,fchmodat")
        strace = ["strace", "-f", "-qq", "-e", "trace=" + calls, "-o", trace] \
            if shutil.which("strace") else []
        plain = self.fullrun(strace)
        # The engine did speak, to the program.
        self.assertGreater(plain["calls"]["log"], 0)
        # releasever from sv-release's system-release(releasever), in the managed root.
        self.assertEqual(plain["yumvar"]["releasever"], "1")
        self.assertIn("sv-bigdata-1.0-1.noarch", plain["available"])
        self.assertEqual(plain["cleaned"], [0] * len(CLEANERS))
        # A remote package's build host comes without downloading it.
        self.assertEqual(plain["buildhost"], "builder.sorvan.example")
        with open(self.path("/var/run/sv-sandbox-http.log")) as f:
            self.assertNotIn(".rpm", f.read())
        if strace:
            written = set()
            with open(trace) as f:
                for line in f:
                    m = re.search(r'(\w+)\((?:AT_FDCWD, )?"(/[^"]*)"(.*)', line)
                    if m and "= -1" not in line and (m[1] not in ("open", "openat") or re.search(
                            r"O_WRONLY|O_RDWR|O_CREAT|O_TRUNC", m[3])):
                        written.add(os.path.normpath(m[2]))
            # The test's own result is in self.tmp, beside the root.
            allowed = (self.tmp, "/dev/null", "/dev/tty")
            self.assertEqual(sorted(p for p in written
                                    if not any(p == a or p.startswith(a + "/") for a in allowed)), [])

        if os.geteuid() != 0 or not shutil.which("unshare") \
                or subprocess.run(["unshare", "-m", "true"], capture_output=True).returncode:
            self.skipTest("a private mount namespace needs root and unshare -m")
        decoys = os.path.join(self.tmp, "decoys")
        extras = "name=decoy\nbaseurl=file://%s/sv-extras/\n" % REPOS
        for name, text in [("dnf.conf", "[main]\nexcludepkgs=sv-tool,sv-docs\ninstallonlypkgs=sv-lib\n"
                            "reposdir=/etc/dnf/decoy.repos.d\ncachedir=/etc/dnf/cache\n"
                            "[decoy-main]\n" + extras),
                           ("decoy.repos.d/decoy.repo", "[decoy]\n" + extras),
                           ("vars/releasever", "99\n"), ("protected.d/decoy.conf", "sv-tool\n")]:
            os.makedirs(os.path.dirname(os.path.join(decoys, name)), exist_ok=True)
            with open(os.path.join(decoys, name), "w") as f:
                f.write(text)
        mounts = ["mount --bind %s /etc/dnf" % decoys] + [
            "mount -t tmpfs decoy " + d for d in ("/etc/yum.repos.d", "/etc/yum", "/var/lib/rpm",
                                                  "/var/cache/dnf") if os.path.isdir(d)]
        decoyed = self.fullrun(["unshare", "-m", "sh", "-c", " && ".join(mounts + ['exec "$@"']), "sh"])
        for key in ("updates", "installed", "available", "groups", "yumvar"):
            self.assertEqual(decoyed[key], plain[key], key)


if __name__ == "__main__":
    if sys.argv[1:2] == ["--fullrun"]:
        fullrun(sys.argv[2])
    else:
        # On the real standard error: the script routes sys.stderr to yumIOC.
        unittest.main(testRunner=unittest.TextTestRunner(stream=sys.__stderr__, verbosity=2))
