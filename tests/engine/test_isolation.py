"""The engine stays inside its managed root and off the terminal: a whole
session (this file with --fullrun RESULT) runs under strace, then in a mount
namespace whose host dnf configuration is replaced by decoys."""

import collections
import json
import os
import re
import shutil
import subprocess
import sys
import traceback

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import enginetest  # noqa: E402
from enginetest import CLEANERS, REPOS, RootTestCase, names  # noqa: E402


def fullrun(result_path):
    """The program's calls on SORVANROOT, the HTTP repository included; what
    it collected and the yumIOC calls go to result_path."""
    ns = enginetest.script()
    import yumIOC
    result = {}
    try:
        c = enginetest.collect(ns["YumIO"](), {"sv-http": True})
        y = c.session
        result.update(updates=names(c.updates), installed=names(c.installed), available=names(c.available),
                      groups=sorted((g.name, g.installed) for g in c.groups), yumvar=dict(y.conf.yumvar))
        y.collectFileLists()
        y.collectOtherData()
        result["cleaned"] = [getattr(y, method)()[0] for method in CLEANERS]
        y.flush()
        y.unlock()
    except BaseException:
        traceback.print_exc(file=sys.__stderr__)  # sys.stderr goes to yumIOC
        sys.exit(1)
    result["calls"] = collections.Counter(yumIOC.names())
    with open(result_path, "w") as f:
        json.dump(result, f)


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
        self.serve()
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
        enginetest.run()
