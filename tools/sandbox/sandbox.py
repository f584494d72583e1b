#!/usr/bin/python3
"""SORVAN's sandbox: real RPMs, real repositories and a managed root to run on.

    sandbox.py build [DIR] [--force]        build (or reuse) everything under DIR
    sandbox.py clone DIR DEST               copy DIR's root to DEST for a test that changes it
    sandbox.py serve DIR [--root ROOT] [--port N] [--rate BYTES] [--foreground]
                                            serve DIR's repositories over HTTP on 127.0.0.1
    sandbox.py stop [--root ROOT | DIR]     stop the server serving ROOT
    sandbox.py env DIR                      print SORVANROOT=<DIR>/root

What is built comes from sandbox.toml; README.md beside this file explains
every name.  Nothing here reads or writes the host's rpm database, /etc or
caches: packages are installed into the root with dnf configured for that root
alone, by the same code the engine uses.
"""

import argparse
import concurrent.futures
import contextlib
import fcntl
import hashlib
import http.server
import json
import os
import random
import re
import shutil
import signal
import socketserver
import subprocess
import sys
import tempfile
import time
import tomllib
import urllib.parse

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE_DIR = os.path.dirname(os.path.dirname(HERE))
SHARE_PYTHON = os.path.join(SOURCE_DIR, "share", "python")
DATA_FILE = os.path.join(HERE, "sandbox.toml")
# Inputs whose change makes a built sandbox stale.
FINGERPRINT_FILES = (DATA_FILE, os.path.abspath(__file__),
                     os.path.join(SHARE_PYTHON, "sorvanyum", "root.py"))

STATE_NAME = "var/run/sv-sandbox-http.json"
# Until a server runs, HTTP repositories point at this port, where nothing listens.
CLOSED_PORT = 1
BITS64 = {"x86_64", "aarch64", "ppc64le", "ppc64", "s390x", "riscv64"}
TWINS = {"x86_64": "i686"}


class SandboxError(Exception):
    pass


def log(message):
    print("sandbox: " + message, file=sys.stderr, flush=True)


def defaultDir():
    if os.environ.get("SORVAN_SANDBOX"):
        return os.environ["SORVAN_SANDBOX"]
    if os.environ.get("SORVAN_BINARY_DIR"):
        return os.path.join(os.environ["SORVAN_BINARY_DIR"], "sandbox")
    return os.path.join(SOURCE_DIR, "sandbox")


def loadData():
    with open(DATA_FILE, "rb") as f:
        return tomllib.load(f)


def nativeArch():
    out = subprocess.run(["rpm", "--eval", "%{_arch}"], check=True, capture_output=True, text=True)
    return out.stdout.strip()


def fingerprint():
    h = hashlib.sha256()
    for path in FINGERPRINT_FILES:
        with open(path, "rb") as f:
            h.update(f.read())
    return h.hexdigest()


# Packages ---------------------------------------------------------------


class Build:
    """One binary package to build: a package's version for one architecture."""

    def __init__(self, pkg, defaults, index, arch):
        self.pkg = pkg
        self.defaults = defaults
        self.index = index
        self.ver = pkg["versions"][index]
        self.arch = arch
        self.name = pkg["name"]
        self.version = self.ver["version"]
        self.release = str(self.ver.get("release", "1"))
        self.epoch = self.ver.get("epoch")
        self.sign = self.ver.get("sign")

    @property
    def nvra(self):
        return "%s-%s-%s.%s" % (self.name, self.version, self.release, self.arch)

    def field(self, key):
        return self.pkg.get(key, self.defaults.get(key, ""))

    def expand(self, path):
        libdir = "/usr/lib64" if self.arch in BITS64 else "/usr/lib"
        return (path.replace("%{_libdir}", libdir).replace("%{version}", self.version)
                .replace("%{release}", self.release))

    def files(self):
        return [self.expand(p) for p in self.pkg.get("files", [])]

    def changelog(self):
        entries = [e for e in self.pkg.get("changelog", [])
                   if self.versionIndex(e["version"]) <= self.index]
        if not entries:
            entries = [{"version": self.version, "date": "Mon Jan 02 2023",
                        "author": self.defaults["packager"],
                        "text": "- Build %s-%s for the sandbox" % (self.version, self.release)}]
        entries.sort(key=lambda e: time.strptime(e["date"], "%a %b %d %Y"), reverse=True)
        out = []
        for e in entries:
            out.append("* %s %s - %s-%s\n%s\n" % (e["date"], e["author"], e["version"],
                                                  self.release, e["text"]))
        return "\n".join(out)

    def versionIndex(self, version):
        for i, v in enumerate(self.pkg["versions"]):
            if v["version"] == version:
                return i
        raise SandboxError("%s: change log names unknown version %s" % (self.name, version))

    def spec(self):
        lines = [
            "%global debug_package %{nil}",
            "%global __os_install_post %{nil}",
            "%global _build_id_links none",
            "%global use_source_date_epoch_as_buildtime 1",
            "%global clamp_mtime_to_source_epoch 1",
            "%global _buildhost " + self.field("buildhost"),
            "%global _binary_payload w6.gzdio",
            "Name: " + self.name,
        ]
        if self.epoch is not None:
            lines.append("Epoch: %d" % self.epoch)
        lines += [
            "Version: " + self.version,
            "Release: " + self.release,
            "Summary: " + self.field("summary"),
            "License: " + self.field("license"),
            "Group: " + self.field("group"),
            "Vendor: " + self.field("vendor"),
            "Packager: " + self.field("packager"),
            "URL: " + self.field("url"),
            "AutoReqProv: no",
        ]
        if self.pkg["arch"] == "noarch":
            lines.append("BuildArch: noarch")
        if self.pkg.get("prefix"):
            lines.append("Prefix: " + self.pkg["prefix"])
        for key, tag in (("provides", "Provides"), ("requires", "Requires"),
                         ("obsoletes", "Obsoletes"), ("conflicts", "Conflicts")):
            for value in self.pkg.get(key, []):
                lines.append("%s: %s" % (tag, value))
        lines += ["", "%description", self.pkg.get("description", self.field("summary") + "."), ""]
        lines += ["%install", "cp -a %{_sourcedir}/tree/. %{buildroot}/", ""]
        for script in ("pre", "post", "preun", "postun"):
            if self.pkg.get(script):
                lines += ["%" + script, self.pkg[script], ""]
        lines += ["%files"] + self.files() + ["", "%changelog", self.changelog()]
        return "\n".join(lines) + "\n"

    def writeSources(self, sourcedir):
        tree = os.path.join(sourcedir, "tree")
        for path in self.files():
            target = os.path.join(tree, path.lstrip("/"))
            os.makedirs(os.path.dirname(target), exist_ok=True)
            with open(target, "wb") as f:
                if self.pkg.get("blob_bytes"):
                    # Incompressible but reproducible.
                    f.write(random.Random(self.nvra).randbytes(self.pkg["blob_bytes"]))
                else:
                    f.write(("%s %s-%s (%s): %s\n" % (self.name, self.version, self.release,
                                                      self.arch, path)).encode())


def plannedBuilds(data, native):
    builds = []
    for pkg in data["package"]:
        for index, ver in enumerate(pkg["versions"]):
            if pkg["arch"] == "noarch":
                arches = ["noarch"]
            elif pkg["arch"] == "native":
                arches = [native]
            elif pkg["arch"] == "multilib":
                arches = [native] + ([TWINS[native]] if native in TWINS else [])
            else:
                raise SandboxError("%s: unknown arch kind %s" % (pkg["name"], pkg["arch"]))
            for arch in arches:
                builds.append(Build(pkg, data["defaults"], index, arch))
    return builds


def rpmbuild(build, workdir, rpmdir):
    top = os.path.join(workdir, build.nvra)
    sourcedir = os.path.join(top, "SOURCES")
    os.makedirs(sourcedir)
    build.writeSources(sourcedir)
    specfile = os.path.join(top, build.name + ".spec")
    with open(specfile, "w") as f:
        f.write(build.spec())
    env = dict(os.environ, HOME=top, LC_ALL="C",
               SOURCE_DATE_EPOCH=str(build.defaults["buildtime"]))
    # The last four settings spare each run most of its shells: the search
    # for unpackaged files (the tree holds only listed files), the CPU count
    # and the home database (both shell-outs) and the cleanup (the work
    # directory goes as a whole).  None of them changes the package.
    cmd = ["rpmbuild", "-bb", "--quiet", "--target", build.arch,
           "--define", "_topdir " + top, "--define", "_sourcedir " + sourcedir,
           "--define", "_rpmdir " + rpmdir, "--define", "_tmppath " + top,
           "--define", "__check_files %{nil}", "--define", "_smp_build_ncpus 1",
           "--define", "_dbpath " + os.path.join(top, "rpmdb"), "--noclean", specfile]
    result = subprocess.run(cmd, env=env, capture_output=True, text=True)
    if result.returncode != 0:
        raise SandboxError("rpmbuild of %s failed:\n%s%s" % (build.nvra, result.stdout,
                                                              result.stderr))
    path = os.path.join(rpmdir, build.arch, build.nvra + ".rpm")
    if not os.path.exists(path):
        raise SandboxError("rpmbuild of %s made no %s" % (build.nvra, path))
    return path


def buildRpms(data, dest, native):
    rpmdir = os.path.join(dest, "rpms")
    shutil.rmtree(rpmdir, ignore_errors=True)
    workdir = tempfile.mkdtemp(prefix="rpmbuild-", dir=dest)
    try:
        builds = plannedBuilds(data, native)
        # Two rpmbuilds run at once; each creates its output directories if
        # missing and fails when the other wins that race, so make them first.
        for arch in {b.arch for b in builds}:
            os.makedirs(os.path.join(rpmdir, arch), exist_ok=True)
        with concurrent.futures.ThreadPoolExecutor(max_workers=2) as pool:
            paths = list(pool.map(lambda b: rpmbuild(b, workdir, rpmdir), builds))
    finally:
        shutil.rmtree(workdir, ignore_errors=True)
    return dict(zip((b.nvra for b in builds), paths))


# Signing keys -------------------------------------------------------------


def gpgCommand():
    gpg = shutil.which("gpg")
    if not gpg:
        raise SandboxError("gpg not found: install gnupg (tools/install-deps)")
    return gpg


def stopAgent(home):
    """gpg starts an agent for the keyring; end it so that no build leaves
    one behind."""
    if os.path.isdir(home) and shutil.which("gpgconf"):
        subprocess.run(["gpgconf", "--homedir", home, "--kill", "gpg-agent"],
                       capture_output=True)


def makeKeys(data, dest):
    """Make a fresh keyring under dest/keys/gnupg holding one unprotected RSA
    key per [[key]], export each public key to dest/keys/RPM-GPG-KEY-sv-<id>
    and record fingerprints and key ids in dest/keys/keys.json.  Returns
    {id: {"fingerprint", "keyid", "public"}}."""
    keydir = os.path.join(dest, "keys")
    home = os.path.join(keydir, "gnupg")
    stopAgent(home)
    shutil.rmtree(keydir, ignore_errors=True)
    os.makedirs(home, mode=0o700)
    gpg = [gpgCommand(), "--homedir", home, "--batch", "--no-tty"]
    params = []
    for key in data["key"]:
        params += ["Key-Type: RSA", "Key-Length: 2048", "Key-Usage: sign",
                   "Name-Real: " + key["name"], "Name-Email: " + key["email"],
                   "Expire-Date: 0", "%no-protection", "%commit"]
    result = subprocess.run(gpg + ["--gen-key"], input="\n".join(params) + "\n",
                            capture_output=True, text=True)
    if result.returncode != 0:
        raise SandboxError("gpg could not make the signing keys:\n" + result.stderr)
    listing = subprocess.run(gpg + ["--with-colons", "--list-secret-keys"],
                             capture_output=True, text=True, check=True).stdout
    # "fpr" follows its "sec" line and precedes the key's "uid" lines.
    byEmail, fpr = {}, None
    for line in listing.splitlines():
        fields = line.split(":")
        if fields[0] == "sec":
            fpr = None
        elif fields[0] == "fpr" and fpr is None:
            fpr = fields[9]
        elif fields[0] == "uid" and fpr:
            m = re.search(r"<([^>]+)>", fields[9])
            if m:
                byEmail[m.group(1)] = fpr
    keys = {}
    for key in data["key"]:
        fpr = byEmail.get(key["email"])
        if not fpr:
            raise SandboxError("gpg made no key for " + key["email"])
        public = os.path.join(keydir, "RPM-GPG-KEY-sv-" + key["id"])
        with open(public, "wb") as f:
            subprocess.run(gpg + ["--armor", "--export", fpr], stdout=f, check=True)
        keys[key["id"]] = {"fingerprint": fpr, "keyid": fpr[-16:].lower(), "public": public}
    with open(os.path.join(keydir, "keys.json"), "w") as f:
        json.dump(keys, f, indent=2, sort_keys=True)
        f.write("\n")
    return keys


def signRpms(builds, rpms, keys, dest):
    """Sign every build that names a key, one rpmsign run per key."""
    home = os.path.join(dest, "keys", "gnupg")
    for keyId in sorted({b.sign for b in builds if b.sign}):
        if keyId not in keys:
            raise SandboxError("unknown signing key %r" % keyId)
        files = [rpms[b.nvra] for b in builds if b.sign == keyId]
        # rpm's default %__gpg is gpg2, which Debian does not have.
        cmd = ["rpmsign", "--addsign", "--define", "__gpg " + gpgCommand(),
               "--define", "_gpg_path " + home,
               "--define", "_gpg_name " + keys[keyId]["fingerprint"]] + files
        env = dict(os.environ, HOME=os.path.dirname(home), GNUPGHOME=home, LC_ALL="C")
        result = subprocess.run(cmd, env=env, stdin=subprocess.DEVNULL,
                                capture_output=True, text=True)
        if result.returncode != 0:
            raise SandboxError("rpmsign with key %s failed:\n%s%s" % (keyId, result.stdout,
                                                                       result.stderr))


# Repositories -----------------------------------------------------------


def compsXml(data):
    from xml.sax.saxutils import escape

    def text(tag, value, lang=None):
        attr = ' xml:lang="%s"' % lang if lang else ""
        return "    <%s%s>%s</%s>\n" % (tag, attr, escape(value), tag)

    out = ['<?xml version="1.0" encoding="UTF-8"?>\n',
           '<!DOCTYPE comps PUBLIC "-//Red Hat, Inc.//DTD Comps info//EN" "comps.dtd">\n',
           "<comps>\n"]
    for group in data.get("group", []):
        out.append("  <group>\n")
        out.append(text("id", group["id"]))
        out.append(text("name", group["name"]))
        for lang, name in sorted(group.get("translations", {}).items()):
            out.append(text("name", name, lang))
        out.append(text("description", group.get("description", "")))
        out.append(text("default", "false"))
        out.append(text("uservisible", "true" if group.get("visible", True) else "false"))
        out.append("    <packagelist>\n")
        for kind in ("mandatory", "default", "optional"):
            for name in group.get(kind, []):
                out.append('      <packagereq type="%s">%s</packagereq>\n' % (kind, escape(name)))
        for cond in group.get("conditional", []):
            out.append('      <packagereq type="conditional" requires="%s">%s</packagereq>\n'
                       % (escape(cond["requires"]), escape(cond["name"])))
        out.append("    </packagelist>\n  </group>\n")
    for env in data.get("environment", []):
        out.append("  <environment>\n")
        out.append(text("id", env["id"]))
        out.append(text("name", env["name"]))
        out.append(text("description", env.get("description", "")))
        out.append("    <grouplist>\n")
        out += ["      <groupid>%s</groupid>\n" % escape(g) for g in env.get("groups", [])]
        out.append("    </grouplist>\n    <optionlist>\n")
        out += ["      <groupid>%s</groupid>\n" % escape(g) for g in env.get("options", [])]
        out.append("    </optionlist>\n  </environment>\n")
    out.append("</comps>\n")
    return "".join(out)


def buildRepos(data, dest, rpms, native, keys):
    reposdir = os.path.join(dest, "repos")
    shutil.rmtree(reposdir, ignore_errors=True)
    builds = plannedBuilds(data, native)
    for repo in data["repo"]:
        if not repo.get("built", True):
            continue
        path = os.path.join(reposdir, repo["id"])
        packages = os.path.join(path, "Packages")
        os.makedirs(packages)
        for b in builds:
            if b.ver["repo"] == repo["id"]:
                os.link(rpms[b.nvra], os.path.join(packages, os.path.basename(rpms[b.nvra])))
        for keyId in repo.get("keys", []):
            if keyId not in keys:
                raise SandboxError("%s publishes unknown key %r" % (repo["id"], keyId))
            shutil.copy(keys[keyId]["public"], path)
        gpgkey = repo.get("gpgkey", "").format(repos=reposdir)
        if gpgkey.startswith("file://") and not os.path.exists(gpgkey[len("file://"):]):
            raise SandboxError("%s: gpgkey %s is not published" % (repo["id"], gpgkey))
        cmd = ["createrepo_c", "--quiet", "--no-database", "--workers", "2"]
        if repo.get("comps"):
            comps = os.path.join(dest, repo["comps"])
            with open(comps, "w") as f:
                f.write(compsXml(data))
            cmd += ["--groupfile", comps]
        result = subprocess.run(cmd + [path], capture_output=True, text=True)
        if result.returncode != 0:
            raise SandboxError("createrepo_c %s failed:\n%s" % (repo["id"], result.stderr))


# The root ---------------------------------------------------------------


def repoFiles(data, reposdir, port):
    """The .repo files of the root: file name -> text."""
    files = {}
    for repo in data["repo"]:
        urls = repo["baseurl"] if isinstance(repo["baseurl"], list) else [repo["baseurl"]]
        urls = [u.format(repos=reposdir, port=port) for u in urls]
        section = ["[%s]" % repo["id"], "name=" + repo["name"],
                   "baseurl=" + "\n        ".join(urls),
                   "enabled=%d" % (1 if repo["enabled"] else 0),
                   "gpgcheck=%d" % (1 if repo.get("gpgcheck") else 0)]
        if repo.get("gpgkey"):
            section.append("gpgkey=" + repo["gpgkey"].format(repos=reposdir))
        files.setdefault(repo["file"], []).append("\n".join(section) + "\n")
    return {name: "\n".join(sections) for name, sections in files.items()}


def copyShell(root):
    """Give the root a /bin/sh: rpm runs scriptlets chrooted into it."""
    shell = os.path.realpath("/bin/sh")
    needed = [shell]
    out = subprocess.run(["ldd", shell], capture_output=True, text=True).stdout
    for line in out.splitlines():
        m = re.search(r"(/\S+)\s+\(0x", line)
        if m:
            needed.append(m.group(1))
    for path in needed:
        target = os.path.join(root, path.lstrip("/"))
        os.makedirs(os.path.dirname(target), exist_ok=True)
        shutil.copy2(os.path.realpath(path), target)
    os.makedirs(os.path.join(root, "bin"), exist_ok=True)
    sh = os.path.join(root, "bin", "sh")
    if not os.path.exists(sh):
        shutil.copy2(shell, sh)


def installBaseSet(data, root, native):
    """Install the packages marked installed, with dnf, from sv-base alone."""
    sys.path.insert(0, SHARE_PYTHON)
    import dnf
    import libdnf.transaction
    from sorvanyum.root import ManagedRoot

    wanted = []
    for b in plannedBuilds(data, native):
        inst = b.ver.get("installed", False)
        if inst is True or (inst == "native" and b.arch == native):
            wanted.append(b)
    managed = ManagedRoot(root)
    conf = managed.makeConf()
    os.makedirs(conf.logdir, exist_ok=True)
    with dnf.Base(conf) as base:
        base.read_all_repos()
        for repo in base.repos.values():
            if repo.id == "sv-base":
                repo.enable()
            else:
                repo.disable()
        base.fill_sack(load_system_repo=True)
        for b in wanted:
            epoch = "%d:" % b.epoch if b.epoch is not None else ""
            base.install("%s-%s%s-%s.%s" % (b.name, epoch, b.version, b.release, b.arch))
        base.resolve()
        base.download_packages(base.transaction.install_set)
        base.do_transaction()
        failed = [str(ts.pkg) for ts in base.transaction
                  if ts.state != libdnf.transaction.TransactionItemState_DONE]
        if failed:
            raise SandboxError("installing the base set failed for " + ", ".join(failed))
    return [b.nvra for b in wanted]


def buildRoot(data, dest, native):
    final = os.path.join(dest, "root")
    root = final + ".tmp"
    shutil.rmtree(root, ignore_errors=True)
    for d in ("etc/dnf", "etc/yum.repos.d", "var/lib/rpm", "var/lib/dnf", "var/cache/dnf",
              "var/log", "var/run", "var/tmp", "tmp", "dev"):
        os.makedirs(os.path.join(root, d))
    with open(os.path.join(root, "etc/dnf/dnf.conf"), "w") as f:
        f.write(data["root"]["main"].lstrip("\n"))
    os.symlink("dnf/dnf.conf", os.path.join(root, "etc/yum.conf"))
    for name, text in repoFiles(data, os.path.join(dest, "repos"), CLOSED_PORT).items():
        with open(os.path.join(root, "etc/yum.repos.d", name), "w") as f:
            f.write(text)
    copyShell(root)
    # dnf runs in a child so that its process-wide state (rpm macros, loggers,
    # libdnf's log handler) never leaks into whoever called build().
    result = subprocess.run([sys.executable, "-I", "-B", os.path.abspath(__file__),
                             "_install", dest, root], capture_output=True, text=True)
    if result.returncode != 0:
        raise SandboxError("installing into %s failed:\n%s%s" % (root, result.stdout,
                                                                 result.stderr))
    shutil.rmtree(final, ignore_errors=True)
    os.rename(root, final)


# Build, clone ----------------------------------------------------------


@contextlib.contextmanager
def locked(path):
    with open(path, "w") as f:
        fcntl.flock(f, fcntl.LOCK_EX)
        try:
            yield
        finally:
            fcntl.flock(f, fcntl.LOCK_UN)


def build(dest=None, force=False):
    """Build the sandbox under dest, reusing what an earlier build made from
    the same inputs.  Returns the root's path."""
    dest = os.path.abspath(dest or defaultDir())
    os.makedirs(dest, exist_ok=True)
    stamp = os.path.join(dest, "stamp")
    with locked(os.path.join(dest, ".lock")):
        fp = fingerprint()
        if not force and os.path.exists(stamp) and os.path.isdir(os.path.join(dest, "root")):
            with open(stamp) as f:
                if f.read().strip() == fp:
                    return os.path.join(dest, "root")
        with contextlib.suppress(FileNotFoundError):
            os.unlink(stamp)
        data = loadData()
        native = nativeArch()
        started = time.monotonic()
        rpms = buildRpms(data, dest, native)
        keys = {}
        if data.get("key"):
            try:
                keys = makeKeys(data, dest)
                signRpms(plannedBuilds(data, native), rpms, keys, dest)
            finally:
                stopAgent(os.path.join(dest, "keys", "gnupg"))
        buildRepos(data, dest, rpms, native, keys)
        buildRoot(data, dest, native)
        with open(stamp, "w") as f:
            f.write(fp + "\n")
        log("built %d packages, %d repositories and the root in %.1f s"
            % (len(rpms), sum(1 for r in data["repo"] if r.get("built", True)),
               time.monotonic() - started))
    return os.path.join(dest, "root")


def clone(sandbox, dest):
    """Copy the built root to dest (which must not exist); returns dest."""
    source = os.path.join(os.path.abspath(sandbox), "root")
    if not os.path.isdir(source):
        raise SandboxError("no built root in %s: run 'sandbox.py build %s' first"
                           % (sandbox, sandbox))
    dest = os.path.abspath(dest)
    if os.path.lexists(dest):
        raise SandboxError("%s already exists" % dest)
    shutil.copytree(source, dest, symlinks=True)
    with contextlib.suppress(FileNotFoundError):
        os.unlink(os.path.join(dest, STATE_NAME))
    return dest


# The HTTP server ------------------------------------------------------


class RepoHandler(http.server.BaseHTTPRequestHandler):
    """Serves the built repositories read-only; sv-buffet only through the
    buffet front end with the right name and password."""

    server_version = "SORVANSandbox/1"
    protocol_version = "HTTP/1.1"

    def log_message(self, fmt, *args):
        if self.server.accessLog:
            with open(self.server.accessLog, "a") as f:
                f.write("%s %s\n" % (self.command, fmt % args))

    def resolve(self):
        url = urllib.parse.urlsplit(self.path)
        path = urllib.parse.unquote(url.path)
        if path.startswith(("/stall/", "/stallrpm/")):
            # A server that accepts and never answers: for every file, or
            # for the packages only.
            kind, _, rest = path[1:].partition("/")
            path = "/" + rest
            if kind == "stall" or path.endswith(".rpm"):
                return None, None
        if path == "/buffet" or path.startswith("/buffet/"):
            # yum appended the file to the URL, so it ended the path parameter;
            # librepo inserts it before the query: /buffet/<file>?...&path=<dir>.
            query = dict(urllib.parse.parse_qsl(url.query, keep_blank_values=True))
            if not self.authorized(query.get("user"), query.get("pass")):
                return None, 403
            path = query.get("path", "") + path[len("/buffet/"):]
        elif path.startswith("/rhel/"):
            parts = path.split("/", 4)
            if len(parts) < 5:
                return None, 404
            user = parts[2].partition("=")[2]
            password = parts[3].partition("=")[2]
            if not self.authorized(user, password):
                return None, 403
            path = "/" + parts[4]
        elif path.startswith("/sv-buffet/"):
            return None, 403
        full = os.path.normpath(os.path.join(self.server.reposdir, path.lstrip("/")))
        if not full.startswith(self.server.reposdir + os.sep) or not os.path.isfile(full):
            return None, 404
        return full, 200

    def authorized(self, user, password):
        return user == self.server.buffet["user"] and password == self.server.buffet["password"]

    def do_HEAD(self):
        self.serve(body=False)

    def do_GET(self):
        self.serve(body=True)

    def serve(self, body):
        full, status = self.resolve()
        if status is None:
            self.rfile.read()  # until the client gives up
            return
        if full is None:
            self.send_error(status)
            return
        size = os.path.getsize(full)
        self.send_response(200)
        self.send_header("Content-Type", "application/octet-stream")
        self.send_header("Content-Length", str(size))
        self.end_headers()
        if not body:
            return
        with open(full, "rb") as f:
            rate = self.server.rate
            chunk = 16384 if rate else 1 << 20
            while True:
                data = f.read(chunk)
                if not data:
                    break
                self.wfile.write(data)
                if rate:
                    time.sleep(len(data) / rate)


class RepoServer(socketserver.ThreadingMixIn, http.server.HTTPServer):
    daemon_threads = True
    allow_reuse_address = True


def pointReposAt(data, root, port):
    """Write the server's port into the root's HTTP .repo files, keeping every
    other edit a test made to them."""
    files = {r["file"] for r in data["repo"] if "{port}" in str(r["baseurl"])}
    for name in files:
        path = os.path.join(root, "etc/yum.repos.d", name)
        if not os.path.exists(path):
            continue
        with open(path) as f:
            text = f.read()
        text = re.sub(r"(http://127\.0\.0\.1:)\d+/", lambda m: "%s%d/" % (m.group(1), port), text)
        tmp = path + ".tmp"
        with open(tmp, "w") as f:
            f.write(text)
        os.replace(tmp, path)


def _terminate(signum, frame):
    raise KeyboardInterrupt


def runServer(sandbox, root, port, rate, ready=None):
    data = loadData()
    server = RepoServer(("127.0.0.1", port), RepoHandler)
    server.reposdir = os.path.join(os.path.abspath(sandbox), "repos")
    server.buffet = data["buffet"]
    server.rate = rate
    server.accessLog = os.path.join(root, "var/run/sv-sandbox-http.log")
    port = server.server_address[1]
    pointReposAt(data, root, port)
    state = os.path.join(root, STATE_NAME)
    os.makedirs(os.path.dirname(state), exist_ok=True)
    with open(state + ".tmp", "w") as f:
        json.dump({"pid": os.getpid(), "port": port}, f)
    os.replace(state + ".tmp", state)
    signal.signal(signal.SIGTERM, _terminate)
    if ready:
        ready(port)
    try:
        server.serve_forever()
    except KeyboardInterrupt:
        pass
    finally:
        server.server_close()
        with contextlib.suppress(FileNotFoundError):
            os.unlink(state)


def serve(sandbox, root=None, port=0, rate=None):
    """Start a detached server for root (default: the sandbox's own root);
    returns (port, pid) once it listens."""
    sandbox = os.path.abspath(sandbox)
    root = os.path.abspath(root or os.path.join(sandbox, "root"))
    stopServer(root)
    readFd, writeFd = os.pipe()
    pid = os.fork()
    if pid == 0:
        try:
            os.close(readFd)
            os.setsid()
            if os.fork() != 0:
                os._exit(0)
            devnull = os.open(os.devnull, os.O_RDWR)
            for fd in (0, 1, 2):
                os.dup2(devnull, fd)

            def ready(p):
                os.write(writeFd, b"%d\n" % p)
                os.close(writeFd)
            runServer(sandbox, root, port, rate, ready)
        finally:
            os._exit(0)
    os.close(writeFd)
    os.waitpid(pid, 0)
    with os.fdopen(readFd) as f:
        line = f.readline().strip()
    if not line:
        raise SandboxError("the HTTP server for %s did not start" % root)
    with open(os.path.join(root, STATE_NAME)) as f:
        state = json.load(f)
    return state["port"], state["pid"]


def stopServer(root):
    """Stop the server serving root, if one runs; true when one was stopped."""
    state = os.path.join(os.path.abspath(root), STATE_NAME)
    try:
        with open(state) as f:
            pid = json.load(f)["pid"]
    except (OSError, ValueError, KeyError):
        return False
    try:
        with open("/proc/%d/cmdline" % pid, "rb") as f:
            ours = b"sandbox.py" in f.read()
    except OSError:
        ours = False
    if ours:
        os.kill(pid, signal.SIGTERM)
        for _ in range(100):
            if not os.path.exists("/proc/%d" % pid) or not os.path.exists(state):
                break
            time.sleep(0.05)
    with contextlib.suppress(FileNotFoundError):
        os.unlink(state)
    return ours


# Command line -------------------------------------------------------------


def main(argv):
    parser = argparse.ArgumentParser(prog="sandbox.py", description=__doc__.split("\n\n")[0])
    sub = parser.add_subparsers(dest="command", required=True)
    p = sub.add_parser("build", help="build the RPMs, repositories and root")
    p.add_argument("dir", nargs="?")
    p.add_argument("--force", action="store_true", help="rebuild even if up to date")
    p = sub.add_parser("clone", help="copy the built root for a test that changes it")
    p.add_argument("dir")
    p.add_argument("dest")
    p = sub.add_parser("serve", help="serve the repositories over HTTP on 127.0.0.1")
    p.add_argument("dir", nargs="?")
    p.add_argument("--root", help="root whose .repo files name the port (default DIR/root)")
    p.add_argument("--port", type=int, default=0, help="port (default: a free one)")
    p.add_argument("--rate", type=int, help="limit each download to this many bytes a second")
    p.add_argument("--foreground", action="store_true", help="do not detach")
    p = sub.add_parser("stop", help="stop the HTTP server of a root")
    p.add_argument("dir", nargs="?")
    p.add_argument("--root")
    p = sub.add_parser("env", help="print the SORVANROOT setting for DIR's root")
    p.add_argument("dir", nargs="?")
    p = sub.add_parser("_install")
    p.add_argument("dir")
    p.add_argument("root")
    args = parser.parse_args(argv)
    sandbox = os.path.abspath(args.dir or defaultDir())
    try:
        if args.command == "build":
            print(build(sandbox, args.force))
        elif args.command == "clone":
            print(clone(sandbox, args.dest))
        elif args.command == "serve":
            root = os.path.abspath(args.root or os.path.join(sandbox, "root"))
            if args.foreground:
                stopServer(root)
                runServer(sandbox, root, args.port, args.rate,
                          lambda p: print(json.dumps({"port": p, "pid": os.getpid()}),
                                          flush=True))
            else:
                port, pid = serve(sandbox, root, args.port, args.rate)
                print(json.dumps({"port": port, "pid": pid}))
        elif args.command == "stop":
            stopServer(os.path.abspath(args.root or os.path.join(sandbox, "root")))
        elif args.command == "env":
            print("SORVANROOT=" + os.path.join(sandbox, "root"))
        elif args.command == "_install":
            installBaseSet(loadData(), args.root, nativeArch())
    except SandboxError as e:
        print("sandbox.py: " + str(e), file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
