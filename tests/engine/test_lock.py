"""The session lock across processes."""

import os
import subprocess
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import enginetest  # noqa: E402
from enginetest import RootTestCase, run  # noqa: E402

# A second program: takes the lock on SORVANROOT and reports what happened.
SECOND_PROGRAM = """
import sys
sys.path[:0] = [%r]
import enginetest
session = enginetest.script()["YumIO"]()
import yum.Errors
try:
    session.lock()
except yum.Errors.LockError as e:
    print("LockError", e.pid, e.value, file=sys.__stdout__)
else:
    print("locked", file=sys.__stdout__)
""" % enginetest.HERE


class LockTest(RootTestCase):

    def secondProgram(self):
        result = subprocess.run([sys.executable, "-I", "-B", "-c", SECOND_PROGRAM],
                                env=dict(os.environ, SORVANROOT=self.root),
                                capture_output=True, text=True, timeout=120)
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout.strip()

    def test_second_process_is_refused(self):
        # The program replaces its session object on a reload and keeps
        # believing that it holds the lock.
        y = self.session()
        y.lock()
        y._session.close()
        y = self.session()
        y.lock()
        out = self.secondProgram()
        self.assertTrue(out.startswith("LockError %d " % os.getpid()), out)
        self.assertIn(self.path("/var/run/sorvan.pid"), out)
        y.unlock()
        self.assertEqual(self.secondProgram(), "locked")


if __name__ == "__main__":
    run()
