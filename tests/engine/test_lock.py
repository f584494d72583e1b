"""The session lock across processes, and the cache-cleaning methods."""

import os
import re
import shutil
import subprocess
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import enginetest  # noqa: E402
from enginetest import REPOS, RootTestCase, run  # noqa: E402

# A second program: takes the lock on SORVANROOT and reports what happened.
SECOND_PROGRAM = """
import runpy, sys
sys.path[:0] = [%r, %r]
sys.argv = ["sorvan", "info"]
ns = runpy.run_path(%r, run_name="__main__")
import yum.Errors
y = ns["YumIO"]()
try:
    y.lock()
except yum.Errors.LockError as e:
    print("LockError", e.pid, e.value, file=sys.__stdout__)
else:
    print("locked", file=sys.__stdout__)
""" % (enginetest.SHARE_PYTHON, enginetest.HERE, enginetest.SCRIPT)


class LockTest(RootTestCase):

    def secondProgram(self, root=None):
        result = subprocess.run([sys.executable, "-I", "-B", "-c", SECOND_PROGRAM],
                                env=dict(os.environ, SORVANROOT=root or self.root),
                                capture_output=True, text=True, timeout=120)
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout.strip()

    def test_second_process_is_refused(self):
        y = self.session()
        y.lock()
        with open(self.path("/var/run/sorvan.pid")) as f:
            self.assertEqual(f.read().strip(), str(os.getpid()))
        out = self.secondProgram()
        self.assertTrue(out.startswith("LockError %d " % os.getpid()), out)
        self.assertIn(self.path("/var/run/sorvan.pid"), out)
        # Another root has a lock of its own.
        other = enginetest.sandbox.clone(enginetest.SANDBOX, os.path.join(self.tmp, "other"))
        self.assertEqual(self.secondProgram(other), "locked")
        # The program replaces its session object on a reload and keeps
        # believing that it holds the lock.
        y._session.close()
        del y
        y = self.session()
        y.lock()
        self.assertTrue(self.secondProgram().startswith("LockError"))
        y.unlock()
        self.assertEqual(self.secondProgram(), "locked")


# What each cleaning method may remove, by path relative to the cache.
KINDS = {
    "cleanPackages": re.compile(r"^[^/]+-[0-9a-f]{16}/packages/.+\.rpm$"),
    "cleanMetadata": re.compile(r"^[^/]+-[0-9a-f]{16}/.*(\.xml(\.gz|\.xz|\.bz2|\.zck)?|mirrorlist)$"),
    "cleanSqlite": re.compile(r"\.solvx?$"),
    "cleanHeaders": None, "cleanPickles": None,  # never kept
}


class CleanTest(RootTestCase):

    def setUp(self):
        super().setUp()
        self.y = self.session()
        self.collect(self.y)
        self.y.collectFileLists()
        # A downloaded package, as dnf keeps it.
        packages = os.path.join(self.y._session.repoCachedir("sv-base"), "packages")
        os.makedirs(packages, exist_ok=True)
        shutil.copy(os.path.join(REPOS, "sv-base", "Packages", "sv-noisy-1.0-1.noarch.rpm"), packages)

    def files(self):
        cache = self.path("/var/cache/dnf")
        return {os.path.relpath(os.path.join(top, n), cache)
                for top, _dirs, names in os.walk(cache) for n in names}

    def test_each_method_removes_exactly_its_kind(self):
        # Nothing while another dnf downloads, and the report says who.
        pid = self.holdLock("/var/cache/dnf/download_lock.pid")
        before = self.files()
        code, messages = self.y.cleanPackages()
        self.assertNotEqual(code, 0)
        self.assertIn(str(pid), messages[0])
        self.assertEqual(self.files(), before)
        os.unlink(self.path("/var/cache/dnf/download_lock.pid"))
        for method, kind in KINDS.items():
            with self.subTest(method=method):
                before = self.files()
                doomed = {f for f in before if kind and kind.search(f)}
                self.assertEqual(bool(doomed), bool(kind), "files to clean")
                code, messages = getattr(self.y, method)()
                self.assertEqual(code, 0)
                self.assertEqual(self.files(), before - doomed)
                if kind:
                    self.assertTrue(messages[0].startswith("%d " % len(doomed)), messages)
        # And the next collection reads everything anew.
        self.assertEqual(len(self.collect(self.y).available), 22)

if __name__ == "__main__":
    run()
