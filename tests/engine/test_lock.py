"""The session lock across processes."""

import os
import subprocess
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import enginetest  # noqa: E402
from enginetest import RootTestCase, run  # noqa: E402

# A second program: takes the lock on SORVANROOT and reports what happened.
SECOND_PROGRAM = """
import runpy, sys
sys.path[:0] = [%r, %r]
sys.argv = ["sorvan", "info"]
ns = runpy.run_path(%r, run_name="__main__")
import yum.Errors
try:
    ns["YumIO"]().lock()
except yum.Errors.LockError as e:
    print("LockError", e.pid, e.value, file=sys.__stdout__)
else:
    print("locked", file=sys.__stdout__)
""" % (enginetest.SHARE_PYTHON, enginetest.HERE, enginetest.SCRIPT)


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
        # The program replaces its session object on a reload and keeps
        # believing that it holds the lock.
        y._session.close()
        del y
        y = self.session()
        y.lock()
        self.assertTrue(self.secondProgram().startswith("LockError"))
        y.unlock()
        self.assertEqual(self.secondProgram(), "locked")


if __name__ == "__main__":
    run()
