"""Shared set-up of the engine's suites.

The companion script runs as the program runs it: as __main__, from
share/python at the front of sys.path, with sys.argv = [program, "info"] and
this directory's yumIOC stand-in in place of the program's module.  Every
test works on its own copy of the sandbox's root.
"""

import contextlib
import os
import runpy
import shutil
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE_DIR = os.environ.get("SORVAN_SOURCE_DIR") or os.path.dirname(os.path.dirname(HERE))
SHARE_PYTHON = os.path.join(SOURCE_DIR, "share", "python")
SCRIPT = os.path.join(SHARE_PYTHON, "YumIO.py")
SANDBOX_TOOL = os.path.join(SOURCE_DIR, "tools", "sandbox", "sandbox.py")


def sandboxDir():
    if os.environ.get("SORVAN_SANDBOX"):
        return os.environ["SORVAN_SANDBOX"]
    if os.environ.get("SORVAN_BINARY_DIR"):
        return os.path.join(os.environ["SORVAN_BINARY_DIR"], "sandbox")
    return os.path.join(SOURCE_DIR, "sandbox")


SANDBOX = sandboxDir()
REPOS = os.path.join(SANDBOX, "repos")

sys.path[:0] = [SHARE_PYTHON, HERE, os.path.dirname(SANDBOX_TOOL)]

import sandbox  # noqa: E402
import yumIOC  # noqa: E402

_script = None


def script():
    """The script's __main__ namespace, run once per process as the program does."""
    global _script
    if _script is None:
        sandbox.build(SANDBOX)
        sys.argv = ["sorvan", "info"]
        _script = runpy.run_path(SCRIPT, run_name="__main__")
    return _script


def run(argv=None):
    """unittest's main, reporting on the real standard error: the script has
    routed sys.stdout and sys.stderr to yumIOC."""
    unittest.main(argv=argv, testRunner=unittest.TextTestRunner(stream=sys.__stderr__,
                                                                verbosity=2))


class RootTestCase(unittest.TestCase):
    """A test on its own copy of the sandbox's root."""

    def setUp(self):
        self.ns = script()
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
        self.addCleanup(self._release, y)
        return y

    def _release(self, y):
        with contextlib.suppress(Exception):
            y.unlock()
        y._session.close()

    def collect(self, y=None, enables=None):
        """The program's collection sequence; what it returned."""
        y = y or self.session()
        y.lock()
        repos = y.repos.repos
        for rid, state in (enables or {}).items():
            if rid in repos:
                (y.repos.enableRepo if state else y.repos.disableRepo)(rid)
        y.setupRepos()
        y.setupTs()
        updates = list(y.collectUpdates())
        everything = y.collectAll()
        try:
            y.setupTsGroup()
        except self.Errors.GroupsError as e:
            if "No Groups Available" not in e.value:
                raise
        info = y.collectGroupInfo()
        y.collectDone()
        return Collection(y, updates, list(everything.installed), list(everything.available),
                          list(info), info)

    def path(self, relative):
        return os.path.join(self.root, relative.lstrip("/"))

    def writeFile(self, relative, text):
        path = self.path(relative)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w") as f:
            f.write(text)
        return path

    def serve(self, **kwargs):
        port, _pid = sandbox.serve(SANDBOX, self.root, **kwargs)
        return port


class Collection:
    def __init__(self, session, updates, installed, available, groups, info):
        self.session = session
        self.updates = updates
        self.installed = installed
        self.available = available
        self.groups = groups
        self.info = info

    @staticmethod
    def names(pkgs):
        return sorted(str(p) for p in pkgs)

    def find(self, which, name, arch=None):
        found = [p for p in getattr(self, which) if p.name == name
                 and (arch is None or p.arch == arch)]
        if len(found) != 1:
            raise AssertionError("%d %s packages named %s" % (len(found), which, name))
        return found[0]

    def group(self, name):
        return next(g for g in self.groups if g.name == name)


def nativeArch():
    return subprocess.run(["rpm", "--eval", "%{_arch}"], check=True, capture_output=True,
                          text=True).stdout.strip()
