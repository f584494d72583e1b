"""The engine stays inside its managed root and off the terminal.

Each test runs a whole session (fullrun.py) in a process of its own: watching
its standard output and error, in a private mount namespace whose host dnf
configuration is replaced by decoys that would change every result if read,
and under strace, recording where it writes."""

import json
import os
import re
import shutil
import subprocess
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from enginetest import CLEANERS, HERE, REPOS, RootTestCase, run  # noqa: E402


class IsolationTest(RootTestCase):

    def fullrun(self, prefix=(), **env):
        result = os.path.join(self.tmp, "result.json")
        proc = subprocess.run(list(prefix) + [sys.executable, "-I", "-B",
                                              os.path.join(HERE, "fullrun.py"), result],
                              env=dict(os.environ, SORVANROOT=self.root, **env),
                              capture_output=True, timeout=600)
        self.assertEqual(proc.returncode, 0, proc.stderr.decode(errors="replace"))
        with open(result) as f:
            return json.load(f), proc

    def test_nothing_reaches_the_terminal(self):
        self.serve()
        result, proc = self.fullrun(SORVAN_FULLRUN_HTTP="1")
        self.assertEqual((proc.stdout, proc.stderr), (b"", b""))
        # The engine did speak, to the program.
        for function in ("log", "errorlog", "collectGrabMeterUpdate"):
            self.assertGreater(result["calls"][function], 0, function)
        self.assertEqual(result["errors"], ["NoMoreMirrorsRepoError"])
        self.assertIn("sv-bigdata-1.0-1.noarch", result["available"])
        self.assertEqual([result[m] for m in CLEANERS], [0] * len(CLEANERS))

    def test_host_dnf_configuration_is_never_used(self):
        if os.geteuid() != 0 or not shutil.which("unshare") \
                or subprocess.run(["unshare", "-m", "true"], capture_output=True).returncode:
            self.skipTest("a private mount namespace needs root and unshare -m")
        plain, _ = self.fullrun()
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
        decoyed, _ = self.fullrun(prefix=["unshare", "-m", "sh", "-c",
                                          " && ".join(mounts + ['exec "$@"']), "sh"])
        for key in ("updates", "installed", "available", "groups", "yumvar", "details"):
            self.assertEqual(decoyed[key], plain[key], key)
        self.assertEqual(decoyed["yumvar"]["releasever"], "1")

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
                if m and "= -1" not in line and (m[1] not in ("open", "openat") or re.search(
                        r"O_WRONLY|O_RDWR|O_CREAT|O_TRUNC", m[3])):
                    written.add(os.path.normpath(m[2]))
        # The test's own result is in self.tmp, beside the root.
        allowed = (self.root, self.tmp, "/dev/null", "/dev/tty")
        self.assertEqual(sorted(p for p in written
                                if not any(p == a or p.startswith(a + "/") for a in allowed)), [])


if __name__ == "__main__":
    run()
