"""The session lock across processes, and the cache-cleaning methods."""

import os
import re
import shutil
import subprocess
import sys
import textwrap

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import enginetest  # noqa: E402
from enginetest import RootTestCase  # noqa: E402

# A second program: takes the lock on SORVANROOT and reports what happened.
SECOND_PROGRAM = textwrap.dedent("""
    import runpy, sys
    sys.path[:0] = [%(share)r, %(here)r]
    sys.argv = ["sorvan", "info"]
    ns = runpy.run_path(%(script)r, run_name="__main__")
    import yum.Errors
    y = ns["YumIO"]()
    try:
        y.lock()
    except yum.Errors.LockError as e:
        print("LockError", e.pid, e.value, file=sys.__stdout__)
    else:
        print("locked", file=sys.__stdout__)
        y.unlock()
""") % {"share": enginetest.SHARE_PYTHON, "here": enginetest.HERE, "script": enginetest.SCRIPT}


class LockTest(RootTestCase):

    def secondProgram(self):
        result = subprocess.run([sys.executable, "-I", "-B", "-c", SECOND_PROGRAM],
                                env=dict(os.environ, SORVANROOT=self.root),
                                capture_output=True, text=True, timeout=120)
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout.strip()

    def test_second_process_is_refused(self):
        y = self.session()
        y.lock()
        out = self.secondProgram()
        self.assertTrue(out.startswith("LockError %d " % os.getpid()), out)
        self.assertIn(self.path("/var/run/sorvan.pid"), out)
        y.unlock()
        self.assertEqual(self.secondProgram(), "locked")

    def test_lock_file_names_the_holder(self):
        y = self.session()
        y.lock()
        with open(self.path("/var/run/sorvan.pid")) as f:
            self.assertEqual(f.read().strip(), str(os.getpid()))

    def test_lock_outlives_a_replaced_session(self):
        # The program replaces its session object on a reload and keeps
        # believing that it holds the lock.
        y = self.session()
        y.lock()
        y._session.close()
        del y
        self.session().lock()
        self.assertTrue(self.secondProgram().startswith("LockError"))

    def test_lock_of_another_root_is_independent(self):
        other = enginetest.sandbox.clone(enginetest.SANDBOX, os.path.join(self.tmp, "other"))
        self.session().lock()
        result = subprocess.run([sys.executable, "-I", "-B", "-c", SECOND_PROGRAM],
                                env=dict(os.environ, SORVANROOT=other),
                                capture_output=True, text=True, timeout=120)
        self.assertEqual(result.stdout.strip(), "locked", result.stderr)


# What each cleaning method may remove, by path relative to the cache.
KINDS = {
    "packages": re.compile(r"^[^/]+-[0-9a-f]{16}/packages/.+\.rpm$"),
    "metadata": re.compile(r"^[^/]+-[0-9a-f]{16}/.*(\.xml(\.gz|\.xz|\.bz2|\.zck)?|mirrorlist)$"),
    "solver": re.compile(r"\.solvx?$"),
}


class CleanTest(RootTestCase):

    def setUp(self):
        super().setUp()
        self.y = self.session()
        self.collect(self.y)
        self.y.collectFileLists()
        self.cache = self.path("/var/cache/dnf")
        # A downloaded package, as dnf keeps it.
        packages = os.path.join(self.y._session.repoCachedir("sv-base"), "packages")
        os.makedirs(packages, exist_ok=True)
        shutil.copy(os.path.join(enginetest.REPOS, "sv-base", "Packages",
                                 "sv-noisy-1.0-1.noarch.rpm"), packages)

    def files(self):
        found = set()
        for top, _dirs, names in os.walk(self.cache):
            for n in names:
                found.add(os.path.relpath(os.path.join(top, n), self.cache))
        return found

    def kind(self, kind):
        return {f for f in self.files() if KINDS[kind].search(f)}

    def test_each_method_removes_exactly_its_kind(self):
        cases = [("cleanPackages", "packages"), ("cleanMetadata", "metadata"),
                 ("cleanSqlite", "solver")]
        for method, kind in cases:
            with self.subTest(method=method):
                before = self.files()
                doomed = self.kind(kind)
                self.assertTrue(doomed, "the cache has no %s files to clean" % kind)
                code, messages = getattr(self.y, method)()
                self.assertEqual(code, 0)
                self.assertEqual(self.files(), before - doomed)
                self.assertTrue(messages[0].startswith("%d " % len(doomed)), messages)

    def test_headers_and_pickles_are_never_kept(self):
        before = self.files()
        for method in ("cleanHeaders", "cleanPickles"):
            result = getattr(self.y, method)()
            self.assertIsInstance(result, tuple)
            self.assertEqual(result[0], 0)
        self.assertEqual(self.files(), before)

    def test_collection_after_cleaning_everything(self):
        for method in ("cleanHeaders", "cleanPackages", "cleanMetadata", "cleanSqlite"):
            self.assertEqual(getattr(self.y, method)()[0], 0)
        c = self.collect(self.y)
        self.assertEqual(len(c.available), 22)

    def test_cleaning_while_another_dnf_downloads(self):
        holder = subprocess.Popen(["sleep", "60"])
        self.addCleanup(holder.wait)
        self.addCleanup(holder.kill)
        self.writeFile("/var/cache/dnf/download_lock.pid", str(holder.pid))
        before = self.files()
        code, messages = self.y.cleanPackages()
        self.assertNotEqual(code, 0)
        self.assertIn(str(holder.pid), messages[0])
        self.assertEqual(self.files(), before)


if __name__ == "__main__":
    enginetest.run(sys.argv)
