"""The engine stays inside its managed root and off the terminal.

A whole session (fullrun.py) runs in a process of its own, under strace
recording where it writes, its standard output and error watched; then again
in a private mount namespace whose host dnf configuration is replaced by
decoys that would change every result if read."""

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

    def test_quiet_inside_the_root_and_blind_to_the_host(self):
        # One traced session (over HTTP too) for the terminal and the writes,
        # then the same session with decoys over the host's configuration.
        self.serve()
        trace = os.path.join(self.tmp, "trace")
        calls = ("open,openat,creat,mkdir,mkdirat,unlink,unlinkat,rename,renameat,renameat2,"
                 "rmdir,link,linkat,symlink,symlinkat,truncate,chmod,fchmodat")
        strace = ["strace", "-f", "-qq", "-e", "trace=" + calls, "-o", trace] \
            if shutil.which("strace") else []
        plain, proc = self.fullrun(prefix=strace, SORVAN_FULLRUN_HTTP="1")
        self.assertEqual((proc.stdout, proc.stderr), (b"", b""))
        # The engine did speak, to the program.
        self.assertGreater(plain["calls"]["log"], 0)
        self.assertEqual(plain["errors"], ["NoMoreMirrorsRepoError"])
        # releasever from sv-release's system-release(releasever), in the managed root.
        self.assertEqual(plain["yumvar"]["releasever"], "1")
        self.assertIn("sv-bigdata-1.0-1.noarch", plain["available"])
        self.assertEqual([plain[m] for m in CLEANERS], [0] * len(CLEANERS))
        if strace:
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
        decoyed, _ = self.fullrun(prefix=["unshare", "-m", "sh", "-c",
                                          " && ".join(mounts + ['exec "$@"']), "sh"],
                                  SORVAN_FULLRUN_HTTP="1")
        for key in ("updates", "installed", "available", "groups", "yumvar", "details"):
            self.assertEqual(decoyed[key], plain[key], key)

if __name__ == "__main__":
    run()
