"""The engine stays inside its managed root and off the terminal.

Each test runs a whole session (fullrun.py) in a process of its own: once
watching its standard output and error, once in a private mount namespace
whose host dnf configuration is replaced by decoys that would change every
result if read, and once under strace, recording where it writes."""

import json
import os
import re
import shutil
import subprocess
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import enginetest  # noqa: E402
from enginetest import RootTestCase  # noqa: E402

FULLRUN = os.path.join(enginetest.HERE, "fullrun.py")


class IsolationTest(RootTestCase):

    def fullrun(self, prefix=(), **env):
        result = os.path.join(self.tmp, "result.json")
        proc = subprocess.run(list(prefix) + [sys.executable, "-I", "-B", FULLRUN, result],
                              env=dict(os.environ, SORVANROOT=self.root, **env),
                              capture_output=True, timeout=600)
        self.assertEqual(proc.returncode, 0, proc.stderr.decode(errors="replace"))
        with open(result) as f:
            return json.load(f), proc

    def test_nothing_reaches_the_terminal(self):
        self.serve()
        result, proc = self.fullrun(SORVAN_FULLRUN_HTTP="1")
        self.assertEqual(proc.stdout, b"")
        self.assertEqual(proc.stderr, b"")
        # The engine did speak, to the program.
        self.assertGreater(result["calls"]["log"], 0)
        self.assertGreater(result["calls"]["errorlog"], 0)
        self.assertGreater(result["calls"]["collectGrabMeterUpdate"], 0)
        self.assertEqual(result["errors"], ["NoMoreMirrorsRepoError"])
        self.assertIn("sv-bigdata-1.0-1.noarch", result["available"])
        for method in ("cleanHeaders", "cleanPackages", "cleanMetadata", "cleanPickles",
                       "cleanSqlite"):
            self.assertEqual(result[method], 0, method)

    def test_host_dnf_configuration_is_never_used(self):
        if os.geteuid() != 0 or not shutil.which("unshare"):
            self.skipTest("a private mount namespace needs root and unshare")
        plain, _ = self.fullrun()
        decoys = os.path.join(self.tmp, "decoys")
        os.makedirs(os.path.join(decoys, "vars"))
        os.makedirs(os.path.join(decoys, "decoy.repos.d"))
        os.makedirs(os.path.join(decoys, "protected.d"))
        with open(os.path.join(decoys, "dnf.conf"), "w") as f:
            f.write("[main]\nexcludepkgs=sv-tool,sv-docs\ninstallonlypkgs=sv-lib\n"
                    "reposdir=/etc/dnf/decoy.repos.d\ncachedir=/etc/dnf/cache\n"
                    "[decoy-main]\nname=decoy\nbaseurl=file://%s/sv-extras/\n"
                    % enginetest.REPOS)
        with open(os.path.join(decoys, "decoy.repos.d", "decoy.repo"), "w") as f:
            f.write("[decoy]\nname=decoy\nbaseurl=file://%s/sv-extras/\n" % enginetest.REPOS)
        with open(os.path.join(decoys, "vars", "releasever"), "w") as f:
            f.write("99\n")
        with open(os.path.join(decoys, "protected.d", "decoy.conf"), "w") as f:
            f.write("sv-tool\n")
        mounts = ["mount --bind %s /etc/dnf" % decoys]
        for d in ("/etc/yum.repos.d", "/etc/yum", "/var/lib/rpm", "/var/cache/dnf"):
            if os.path.isdir(d):
                mounts.append("mount -t tmpfs decoy %s" % d)
        check = subprocess.run(["unshare", "-m", "true"], capture_output=True)
        if check.returncode != 0:
            self.skipTest("unshare -m is not permitted here: %s" % check.stderr.decode())
        script = " && ".join(mounts + ['exec "$@"'])
        decoyed, _ = self.fullrun(prefix=["unshare", "-m", "sh", "-c", script, "sh"])
        for key in ("updates", "installed", "available", "groups", "yumvar"):
            self.assertEqual(decoyed[key], plain[key], key)
        self.assertEqual(decoyed["yumvar"]["releasever"], "1")
        self.assertEqual(decoyed["details"], plain["details"])

    def test_writes_stay_in_the_root(self):
        if not shutil.which("strace"):
            self.skipTest("strace is not installed")
        trace = os.path.join(self.tmp, "trace")
        calls = ("open,openat,creat,mkdir,mkdirat,unlink,unlinkat,rename,renameat,renameat2,"
                 "rmdir,link,linkat,symlink,symlinkat,truncate,chmod,fchmodat")
        self.fullrun(prefix=["strace", "-f", "-qq", "-e", "trace=" + calls, "-o", trace])
        written = set()
        with open(trace) as f:
            for line in f:
                m = re.search(r'(\w+)\((?:AT_FDCWD, )?"(/[^"]*)"(.*)', line)
                if not m or "= -1" in line:
                    continue
                call, path, rest = m.groups()
                if call in ("open", "openat") and not re.search(r"O_WRONLY|O_RDWR|O_CREAT|O_TRUNC",
                                                                 rest):
                    continue
                written.add(os.path.normpath(path))
        # The test's own files (the result) are in self.tmp, beside the root.
        allowed = (self.root, self.tmp, "/dev/null", "/dev/tty")
        outside = sorted(p for p in written
                         if not any(p == a or p.startswith(a + "/") for a in allowed))
        self.assertEqual(outside, [])


if __name__ == "__main__":
    enginetest.run(sys.argv)
