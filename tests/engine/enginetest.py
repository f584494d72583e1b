"""Shared set-up of the engine's suites.  The companion script runs as the
program runs it: as __main__ from share/python, with sys.argv = [program,
"info"] and this directory's yumIOC stand-in for the program's module."""

import contextlib
import os
import runpy
import shutil
import sys
import tempfile
import types
import unittest

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
    """The script's __main__ namespace, as the program runs it."""
    sys.argv = ["sorvan", "info"]
    return runpy.run_path(SCRIPT, run_name="__main__")


def run():
    """unittest's main on the real standard error (the script routes
    sys.stdout and sys.stderr to yumIOC)."""
    unittest.main(testRunner=unittest.TextTestRunner(stream=sys.__stderr__, verbosity=2))


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
    """A test on its own copy of the sandbox's root."""
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
        """A new session object, as the program makes one."""
        y = self.ns["YumIO"]()

        def release():
            with contextlib.suppress(Exception):
                y.unlock()
            y._session.close()
        self.addCleanup(release)
        return y

    def collect(self, y=None, enables=None):
        return collect(y or self.session(), enables)

    def serve(self):
        sandbox.serve(SANDBOX, self.root)

    def path(self, relative):
        return os.path.join(self.root, relative.lstrip("/"))

    def writeFile(self, relative, text, mode="w"):
        path = self.path(relative)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, mode) as f:
            f.write(text)
        return path
