#!/usr/bin/python3
"""SORVAN's scale fixture: a distribution-sized set of repositories and a root.

    scale.py build DIR [--packages N] [--installed I] [--installed-updates U] [--seed S]
                       [--apply-deps D] [--apply-updates A] [--no-apply-set]

writes, under DIR:
  repos/scale-os/       metadata of about 95% of N packages, with a comps file
  repos/scale-updates/  metadata of the rest: newer versions, some of installed packages
  repos/scale-apply/    real RPMs: an application that pulls in D new packages, and
                        newer builds of A installed packages (the apply set)
  apply-request.txt     what to mark to apply the set: "action name arch nevra" lines
  root/                 a managed root whose rpm database holds I installed packages,
                        U of which have an update in scale-updates

The repositories are metadata only (no package files): primary, filelists and
other XML written here, gzipped, with a repomd.xml that carries their
checksums, as createrepo_c would write them for real packages.  Names, files,
dependencies and change logs are generated from a seeded random source, so a
given seed always makes the same distribution.  The installed packages are
real RPMs, built as subpackages of one spec in one rpmbuild run and recorded
with `rpm --justdb` in one transaction.  Defaults: N = 70000 (a Fedora
release), I = 2500, U = 300, D = 20, A = 50.

Nothing here touches the host's rpm database, /etc or caches.
"""

import argparse
import concurrent.futures
import contextlib
import gzip
import hashlib
import io
import os
import random
import resource
import shutil
import subprocess
import sys
import tempfile
import time
from xml.sax.saxutils import escape, quoteattr

RELEASE = "40"
DIST = ".fc" + RELEASE
ARCH = "x86_64"
TWIN = "i686"

PREFIXES = [("", 40), ("python3-", 12), ("perl-", 9), ("rust-", 7), ("golang-github-", 6),
            ("texlive-", 5), ("rubygem-", 4), ("nodejs-", 4), ("php-", 3), ("ghc-", 3),
            ("R-", 2), ("lib", 5)]
SUBPACKAGES = [("", 100), ("-devel", 45), ("-libs", 30), ("-doc", 18), ("-common", 12),
               ("-tools", 8), ("-data", 6), ("-static", 4), ("-tests", 4)]
STEMS = ("gtk qt xml ssl font kde gnome net http json yaml gl mesa pulse alsa dbus glib "
         "pixel image audio video codec crypt zip tar bz lz zstd pcre regex curl wget ssh "
         "git svn hg make cmake meson ninja boost eigen blas lapack fft hdf netcdf proj geo "
         "map tile vector raster shader vulkan wayland xcb input touch print scan cups sane "
         "ldap krb sasl pam audit selinux policy systemd udev mount disk lvm raid nfs samba "
         "mail imap smtp spam dns dhcp ntp time zone locale lang spell dict hyph text doc "
         "pdf ps svg cairo pango harf fribidi icu unicode emoji theme icon cursor sound "
         "speech brltty braille game chess card puzzle arcade emu wine dosbox qemu virt "
         "libvirt docker podman kube helm ansible salt puppet chef terra vault consul nomad "
         "redis mongo maria postgres sqlite lmdb rocks level kafka rabbit zero nats grpc "
         "proto thrift avro arrow parquet orc numpy scipy pandas plot matplot seaborn torch "
         "tensor keras jax sympy astro bio chem physics stat math graph network crawl "
         "scrape parse lex yacc bison flex antlr llvm clang gcc rustc cargo go node deno "
         "ruby rails sinatra django flask fast tornado twisted async trio curio pytest nose "
         "mock faker hypo lint black isort mypy pyright ruff sphinx mkdocs pelican hugo").split()
SYLLABLES = "ka ri to mu se la no vi de fo zu pe gri bal tor mix nek sol dra vin lup"

AUTHORS = ["Fedora Release Engineering <releng@fedoraproject.org>",
           "Ada Builder <ada@example.org>", "Bo Packer <bo@example.org>",
           "Cy Maintainer <cy@example.org>", "Di Reviewer <di@example.org>",
           "Ed Porter <ed@example.org>"]
LICENSES = ["MIT", "GPL-2.0-or-later", "GPL-3.0-or-later", "LGPL-2.1-or-later",
            "Apache-2.0", "BSD-3-Clause", "MPL-2.0", "ISC", "Artistic-1.0-Perl OR GPL-1.0-or-later"]
GROUPS = ["Unspecified", "System Environment/Libraries", "Development/Libraries",
          "Applications/System", "Documentation", "Development/Tools"]
BUILDTIME = 1710000000
# Stands for "version-release of the same build" in a generated dependency.
SAME_BUILD = "@same@"


def weighted(rng, table):
    total = sum(w for _, w in table)
    pick = rng.uniform(0, total)
    for value, w in table:
        pick -= w
        if pick <= 0:
            return value
    return table[-1][0]


class Universe:
    """Source packages and their binary packages, generated from one seed."""

    def __init__(self, seed, packages):
        self.rng = random.Random(seed)
        self.names = set()
        self.sources = []
        self.libraries = []  # (provide text, binary)
        self.binaries = 0
        syllables = SYLLABLES.split()
        extra = ["".join(self.rng.sample(syllables, 2)) for _ in range(1500)]
        self.stems = STEMS + extra
        while self.binaries < packages:
            self.sources.append(self.makeSource())

    def stemName(self):
        rng = self.rng
        stem = rng.choice(self.stems)
        if rng.random() < 0.45:
            stem += rng.choice(["-", ""]) + rng.choice(self.stems)
        return weighted(rng, PREFIXES) + stem

    def makeSource(self):
        rng = self.rng
        while True:
            base = self.stemName()
            if base not in self.names:
                break
            base += "%d" % rng.randint(2, 9)
            if base not in self.names:
                break
        noarch = base.startswith(("python3-", "perl-", "texlive-", "rubygem-", "nodejs-",
                                  "php-", "golang-")) or rng.random() < 0.12
        version = ".".join(str(rng.randint(0, 30)) for _ in range(rng.choice((2, 2, 3))))
        source = {
            "name": base, "version": version, "release": "%d%s" % (rng.randint(1, 9), DIST),
            "epoch": "0" if rng.random() > 0.04 else str(rng.randint(1, 3)),
            "license": rng.choice(LICENSES), "url": "https://%s.example.org/" % base,
            "changelog": self.changelog(version), "binaries": [],
        }
        count = 1 + sum(1 for _ in range(4) if rng.random() < 0.35)
        suffixes = [""] + rng.sample([s for s, _ in SUBPACKAGES[1:]], count - 1)
        for suffix in suffixes:
            name = base + suffix
            if name in self.names:
                continue
            self.names.add(name)
            arch = "noarch" if noarch or suffix in ("-doc", "-data") else ARCH
            binary = self.makeBinary(source, name, suffix, arch)
            source["binaries"].append(binary)
            self.binaries += 1
            if arch == ARCH and suffix in ("-libs", "") and rng.random() < 0.08:
                twin = dict(binary, arch=TWIN)
                twin["files"] = [f.replace("/usr/lib64/", "/usr/lib/") for f in binary["files"]]
                source["binaries"].append(twin)
                self.binaries += 1
        return source

    def makeBinary(self, source, name, suffix, arch):
        rng = self.rng
        stem = source["name"].split("-")[-1]
        files = self.files(name, stem, suffix, arch)
        provides = []
        requires = []
        if suffix in ("-libs", "") and arch != "noarch" and rng.random() < 0.5:
            lib = "lib%s.so.%d()(64bit)" % (stem, rng.randint(0, 9))
            provides.append(lib)
            self.libraries.append(lib)
        for _ in range(rng.randint(0, 5)):
            if self.libraries:
                requires.append(rng.choice(self.libraries))
        if suffix and suffix != "-libs":
            # Written with the version of the build that carries it (see depEntries).
            requires.append(source["name"] + " = " + SAME_BUILD)
        if rng.random() < 0.2:
            requires.append("/bin/sh")
        return {
            "name": name, "arch": arch, "suffix": suffix,
            "summary": "%s %s" % (stem.capitalize(), {"": "program", "-devel": "development files",
                                                      "-libs": "libraries",
                                                      "-doc": "documentation"}.get(suffix, "files")),
            "description": "The %s package of %s. " % (suffix.strip("-") or "main", stem) * 3,
            "group": rng.choice(GROUPS), "files": files,
            "provides": sorted(set(provides)), "requires": sorted(set(requires)),
            "size": rng.randint(4000, 4000000),
        }

    def files(self, name, stem, suffix, arch):
        rng = self.rng
        libdir = "/usr/lib64" if arch == ARCH else "/usr/lib"
        n = max(1, int(rng.lognormvariate(2.3, 1.0)))
        if suffix == "-devel":
            base = ["/usr/include/%s/%s%d.h" % (stem, stem, i) for i in range(n)]
            base += ["%s/pkgconfig/%s.pc" % (libdir, name), "%s/lib%s.so" % (libdir, stem)]
        elif suffix == "-libs":
            base = ["%s/lib%s.so.%d" % (libdir, stem, i) for i in range(min(n, 8))]
        elif suffix == "-doc":
            base = ["/usr/share/doc/%s/%s-%d.html" % (name, stem, i) for i in range(n)]
        elif name.startswith("python3-"):
            base = ["/usr/lib/python3.12/site-packages/%s/m%d.py" % (stem, i) for i in range(n)]
        elif name.startswith("perl-"):
            base = ["/usr/share/perl5/vendor_perl/%s/M%d.pm" % (stem, i) for i in range(n)]
        else:
            base = ["/usr/bin/%s" % name] + ["/usr/share/%s/f%d" % (name, i) for i in range(n)]
        base.append("/usr/share/licenses/%s/LICENSE" % name)
        return base

    def changelog(self, version, newest=BUILDTIME):
        rng = self.rng
        entries = []
        t = newest - rng.randint(0, 90) * 86400
        for i in range(rng.randint(1, 6)):
            text = rng.choice(["- Update to %s" % version,
                               "- Rebuilt for https://fedoraproject.org/wiki/Fedora_%s_Mass_Rebuild"
                               % RELEASE, "- Fix build with the new compiler",
                               "- Add missing BuildRequires\n- Tidy the packaging",
                               "- Security fix for CVE-2024-%04d" % rng.randint(1, 9999)])
            entries.append((t - t % 86400 + 43200, rng.choice(AUTHORS), text))
            t -= rng.randint(5, 200) * 86400
        return entries

    def update(self, source):
        """A newer build of a source package."""
        parts = source["version"].split(".")
        parts[-1] = str(int(parts[-1]) + 1)
        version = ".".join(parts)
        newer = dict(source, version=version, release="1" + DIST,
                     changelog=self.changelog(version, BUILDTIME + 30 * 86400)
                     + source["changelog"])
        return newer


# Metadata -----------------------------------------------------------------


def evrAttrs(epoch, version, release):
    return 'epoch="%s" ver=%s rel=%s' % (epoch, quoteattr(version), quoteattr(release))


def depEntries(tag, deps, source):
    if not deps:
        return ""
    out = ["    <rpm:%s>\n" % tag]
    for dep in deps:
        dep = dep.replace(SAME_BUILD, "%s-%s" % (source["version"], source["release"]))
        name, _, rest = dep.partition(" = ")
        if rest:
            version, _, release = rest.rpartition("-")
            out.append('      <rpm:entry name=%s flags="EQ" epoch="0" ver=%s rel=%s/>\n'
                       % (quoteattr(name), quoteattr(version), quoteattr(release)))
        else:
            out.append("      <rpm:entry name=%s/>\n" % quoteattr(dep))
    out.append("    </rpm:%s>\n" % tag)
    return "".join(out)


def pkgid(source, binary):
    key = "%s-%s-%s.%s" % (binary["name"], source["version"], source["release"], binary["arch"])
    return hashlib.sha256(key.encode()).hexdigest()


def isPrimaryFile(path):
    return path.startswith(("/etc/", "/usr/bin/", "/usr/sbin/", "/bin/", "/sbin/"))


def writeRepo(path, entries, comps=None):
    """Write repodata for (source, binary) entries; return the repository size."""
    repodata = os.path.join(path, "repodata")
    os.makedirs(repodata)
    count = len(entries)
    writers = {}
    for kind, root in (("primary", 'xmlns="http://linux.duke.edu/metadata/common" '
                                    'xmlns:rpm="http://linux.duke.edu/metadata/rpm"'),
                       ("filelists", 'xmlns="http://linux.duke.edu/metadata/filelists"'),
                       ("other", 'xmlns="http://linux.duke.edu/metadata/other"')):
        raw = io.BytesIO()
        gz = gzip.GzipFile(fileobj=raw, mode="wb", compresslevel=6, mtime=0)
        tag = "metadata" if kind == "primary" else kind + "data"
        gz.write(('<?xml version="1.0" encoding="UTF-8"?>\n<%s %s packages="%d">\n'
                  % (tag, root, count)).encode())
        writers[kind] = [raw, gz, tag, hashlib.sha256(), 0]
        writers[kind][3].update(('<?xml version="1.0" encoding="UTF-8"?>\n<%s %s packages="%d">\n'
                                 % (tag, root, count)).encode())

    def emit(kind, text):
        data = text.encode()
        w = writers[kind]
        w[1].write(data)
        w[3].update(data)
        w[4] += len(data)

    for source, binary in entries:
        pid = pkgid(source, binary)
        evr = evrAttrs(source["epoch"], source["version"], source["release"])
        nvr = "%s-%s-%s" % (binary["name"], source["version"], source["release"])
        primaryFiles = "".join("    <file>%s</file>\n" % escape(f)
                               for f in binary["files"] if isPrimaryFile(f))
        provides = ["%s = %s-%s" % (binary["name"], source["version"], source["release"])]
        emit("primary",
             '<package type="rpm">\n  <name>%s</name>\n  <arch>%s</arch>\n  <version %s/>\n'
             '  <checksum type="sha256" pkgid="YES">%s</checksum>\n  <summary>%s</summary>\n'
             '  <description>%s</description>\n  <packager>Fedora Project</packager>\n'
             '  <url>%s</url>\n  <time file="%d" build="%d"/>\n'
             '  <size package="%d" installed="%d" archive="%d"/>\n'
             '  <location href="Packages/%s/%s.%s.rpm"/>\n  <format>\n'
             '    <rpm:license>%s</rpm:license>\n    <rpm:vendor>Fedora Project</rpm:vendor>\n'
             '    <rpm:group>%s</rpm:group>\n    <rpm:buildhost>buildvm-x86-%02d.example.org'
             '</rpm:buildhost>\n    <rpm:sourcerpm>%s-%s-%s.src.rpm</rpm:sourcerpm>\n'
             '    <rpm:header-range start="4504" end="%d"/>\n%s%s%s  </format>\n</package>\n'
             % (escape(binary["name"]), binary["arch"], evr, pid, escape(binary["summary"]),
                escape(binary["description"]), escape(source["url"]), BUILDTIME, BUILDTIME,
                binary["size"], binary["size"] * 3, binary["size"] * 3, binary["name"][0].lower(),
                escape(nvr), binary["arch"], escape(source["license"]), escape(binary["group"]),
                len(binary["name"]) % 40, escape(source["name"]), source["version"],
                source["release"], 4504 + 2000 + 40 * len(binary["files"]),
                depEntries("provides", provides + binary["provides"], source),
                depEntries("requires", binary["requires"], source), primaryFiles))
        emit("filelists", '<package pkgid="%s" name=%s arch="%s">\n  <version %s/>\n%s</package>\n'
             % (pid, quoteattr(binary["name"]), binary["arch"], evr,
                "".join("  <file>%s</file>\n" % escape(f) for f in binary["files"])))
        emit("other", '<package pkgid="%s" name=%s arch="%s">\n  <version %s/>\n%s</package>\n'
             % (pid, quoteattr(binary["name"]), binary["arch"], evr,
                "".join('  <changelog author=%s date="%d">%s</changelog>\n'
                        % (quoteattr("%s - %s-%s" % (a, source["version"], source["release"])),
                           t, escape(x)) for t, a, x in source["changelog"])))

    records = []
    for kind in ("primary", "filelists", "other"):
        raw, gz, tag, opened, size = writers[kind]
        tail = ("</%s>\n" % tag).encode()
        gz.write(tail)
        opened.update(tail)
        size += len(tail)
        gz.close()
        records.append(storeRecord(repodata, kind, raw.getvalue(), opened.hexdigest(), size))
    if comps is not None:
        data = comps.encode()
        records.append(storeRecord(repodata, "group", data, None, None, compressed=False))
        raw = io.BytesIO()
        with gzip.GzipFile(fileobj=raw, mode="wb", mtime=0) as gz:
            gz.write(data)
        records.append(storeRecord(repodata, "group_gz", raw.getvalue(),
                                   hashlib.sha256(data).hexdigest(), len(data)))
    with open(os.path.join(repodata, "repomd.xml"), "w") as f:
        f.write('<?xml version="1.0" encoding="UTF-8"?>\n<repomd xmlns="http://linux.duke.edu/'
                'metadata/repo" xmlns:rpm="http://linux.duke.edu/metadata/rpm">\n'
                '  <revision>%d</revision>\n' % BUILDTIME)
        f.write("".join(records))
        f.write("</repomd>\n")
    return count


def storeRecord(repodata, kind, data, openChecksum, openSize, compressed=True):
    checksum = hashlib.sha256(data).hexdigest()
    suffix = {"group": "comps.xml", "group_gz": "comps.xml.gz"}.get(kind, kind + ".xml.gz")
    name = "%s-%s" % (checksum, suffix)
    with open(os.path.join(repodata, name), "wb") as f:
        f.write(data)
    opened = ""
    if openChecksum is not None:
        opened = ('    <open-checksum type="sha256">%s</open-checksum>\n'
                  '    <open-size>%d</open-size>\n' % (openChecksum, openSize))
    return ('  <data type="%s">\n    <checksum type="sha256">%s</checksum>\n%s'
            '    <location href="repodata/%s"/>\n    <timestamp>%d</timestamp>\n'
            '    <size>%d</size>\n  </data>\n'
            % (kind, checksum, opened, name, BUILDTIME, len(data)))


def compsXml(universe, rng):
    """About a hundred groups of packages, in the way a distribution's comps has them."""
    names = [b["name"] for s in universe.sources for b in s["binaries"] if not b["suffix"]]
    out = ['<?xml version="1.0" encoding="UTF-8"?>\n<comps>\n']
    groups = []
    for i in range(100):
        gid = "scale-group-%03d" % i
        groups.append(gid)
        members = rng.sample(names, rng.randint(10, 150))
        out.append("  <group>\n    <id>%s</id>\n    <name>Scale Group %03d</name>\n"
                   "    <description>Generated group %d.</description>\n"
                   "    <uservisible>%s</uservisible>\n    <packagelist>\n"
                   % (gid, i, i, "false" if i % 10 == 9 else "true"))
        for j, name in enumerate(members):
            kind = "mandatory" if j < 5 else ("default" if j < 40 else "optional")
            out.append('      <packagereq type="%s">%s</packagereq>\n' % (kind, escape(name)))
        out.append("    </packagelist>\n  </group>\n")
    for i in range(10):
        out.append("  <environment>\n    <id>scale-env-%d</id>\n    <name>Scale Environment %d"
                   "</name>\n    <grouplist>\n" % (i, i))
        out += ["      <groupid>%s</groupid>\n" % g for g in rng.sample(groups, 8)]
        out.append("    </grouplist>\n  </environment>\n")
    out.append("</comps>\n")
    return "".join(out)


# The installed set ---------------------------------------------------------


def installedSpec(chunk, installed, sourcedir):
    lines = ["%global debug_package %{nil}", "%global __os_install_post %{nil}",
             "%global _build_id_links none", "%global _binary_payload w1.gzdio",
             "Name: scale-installed-set-%d" % chunk, "Version: 1", "Release: 1",
             "Summary: Part of the installed set of the scale root", "License: MIT",
             "AutoReqProv: no", "", "%description", "Builds installed packages.", ""]
    files = []
    for source, binary in installed:
        name = binary["name"]
        lines += ["%%package -n %s" % name, "Version: " + source["version"],
                  "Release: " + source["release"], "Summary: " + binary["summary"],
                  "License: " + source["license"], "Group: " + binary["group"],
                  "URL: " + source["url"]]
        if source["epoch"] != "0":
            lines.append("Epoch: " + source["epoch"])
        if binary["arch"] == "noarch":
            lines.append("BuildArch: noarch")
        for p in binary["provides"]:
            lines.append("Provides: " + p)
        if name == "scale-release":
            lines += ["Provides: system-release", "Provides: system-release(releasever) = "
                      + RELEASE]
        lines += ["", "%%description -n %s" % name, binary["description"], ""]
        # A few of its files: enough for a realistic database, quick to build.
        owned = binary["files"][:3]
        files += ["%%files -n %s" % name] + owned + [""]
        for path in owned:
            target = os.path.join(sourcedir, "tree", path.lstrip("/"))
            os.makedirs(os.path.dirname(target), exist_ok=True)
            with open(target, "w") as f:
                f.write("%s\n" % path)
    lines += ["%install", "cp -a %{_sourcedir}/tree/. %{buildroot}/", ""]
    return "\n".join(lines + files) + "\n"


# One rpmbuild works on one core; a few specs let two run side by side.
CHUNK = 250


def buildInstalled(installed, root, work):
    """Build the installed set as subpackages of a few specs, two at a time, and
    record them all in the root's rpm database in one transaction."""
    env = dict(os.environ, LC_ALL="C", SOURCE_DATE_EPOCH=str(BUILDTIME))
    rpmdir = os.path.join(work, "RPMS")
    commands = []
    for chunk, first in enumerate(range(0, len(installed), CHUNK)):
        top = os.path.join(work, "rpmbuild-%d" % chunk)
        sourcedir = os.path.join(top, "SOURCES")
        os.makedirs(sourcedir)
        spec = os.path.join(top, "installed.spec")
        with open(spec, "w") as f:
            f.write(installedSpec(chunk, installed[first:first + CHUNK], sourcedir))
        commands.append(["rpmbuild", "-bb", "--quiet", "--target", ARCH,
                         "--define", "_topdir " + top, "--define", "_sourcedir " + sourcedir,
                         "--define", "_rpmdir " + rpmdir, "--define", "_tmppath " + top, spec])
    with measured("rpmbuild (%d specs)" % len(commands)):
        with concurrent.futures.ThreadPoolExecutor(max_workers=2) as pool:
            list(pool.map(lambda cmd: run(cmd, dict(env, HOME=os.path.dirname(cmd[-1]))),
                          commands))
    packages = [os.path.join(d, f) for d, _, fs in os.walk(rpmdir) for f in fs
                if f.endswith(".rpm")]
    os.makedirs(os.path.join(root, "var/lib/rpm"), exist_ok=True)
    with measured("rpm --justdb"):
        run(["rpm", "--root", root, "--dbpath", "/var/lib/rpm", "-i", "--justdb", "--nodeps",
             "--noscripts", "--notriggers", "--nosignature", "--nodigest", "--replacefiles"]
            + packages, env)
    return len(packages)


@contextlib.contextmanager
def measured(what):
    """Report the wall and CPU time of the tools run inside (the machine may be shared)."""
    started = time.monotonic()
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    yield
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    cpu = (after.ru_utime - before.ru_utime) + (after.ru_stime - before.ru_stime)
    print("scale: %s took %.1f s (%.1f s of CPU)" % (what, time.monotonic() - started, cpu),
          flush=True)


def run(cmd, env=None):
    result = subprocess.run(cmd, env=env, capture_output=True, text=True)
    if result.returncode != 0:
        sys.exit("scale.py: %s failed:\n%s%s" % (cmd[0], result.stdout[-4000:],
                                                 result.stderr[-4000:]))


# The apply set ---------------------------------------------------------------
#
# The repositories above hold metadata only.  Applying needs package files, so
# a small third repository, scale-apply, holds real RPMs for one request: an
# application whose dependencies pull in a tree of new packages, and newer
# builds of installed packages.  Its packages exist nowhere else, so dnf can
# only fetch them from there.

APPLY_APP = "scale-studio"
# The payload of one file of the set: enough for rpm to write real data.
APPLY_FILE_BYTES = (4000, 120000)


def applyUpdate(source):
    """A newer build of an installed source that scale-updates does not update."""
    parts = source["version"].split(".")
    parts[-1] = str(int(parts[-1]) + 1)
    return dict(source, version=".".join(parts), release="1" + DIST)


def applySet(rng, installedSources, updateSources, depCount, updateCount):
    """(source, binary, requires) of the application, its dependencies and the
    updates; the requires name packages or library provides of the set or of
    the installed set."""
    stems = rng.sample(STEMS, depCount)
    app = {"name": APPLY_APP, "version": "3.2.1", "release": "1" + DIST, "epoch": "0",
           "license": "GPL-3.0-or-later", "url": "https://studio.example.org/"}
    deps = []
    for i, stem in enumerate(stems):
        library = i % 3 != 2
        name = ("libstudio-%s" if library else "studio-%s-data") % stem
        binary = {"name": name, "arch": ARCH if library else "noarch",
                  "summary": "Studio %s %s" % (stem, "library" if library else "data"),
                  "description": "The %s part of the studio." % stem, "group": GROUPS[1],
                  "provides": ["libstudio-%s.so.%d()(64bit)" % (stem, 1 + i % 4)] if library else [],
                  "files": (["/usr/lib64/libstudio-%s.so.%d" % (stem, 1 + i % 4)] if library else
                            ["/usr/share/studio/%s/d%d" % (stem, j) for j in range(3)])
                  + ["/usr/share/licenses/%s/LICENSE" % name]}
        deps.append(dict(binary, requires=[]))
    # A tree: each dependency is needed by the application or by an earlier
    # one, by name or by a library it provides.
    top = {"name": APPLY_APP, "arch": ARCH, "summary": "Studio application",
           "description": "An application with many libraries.", "group": GROUPS[3],
           "provides": [], "requires": [],
           "files": ["/usr/bin/%s" % APPLY_APP, "/usr/share/%s/studio.conf" % APPLY_APP,
                     "/usr/share/licenses/%s/LICENSE" % APPLY_APP]}
    nodes = [top] + deps
    for i, dep in enumerate(deps, 1):
        parent = nodes[rng.randrange(0, min(i, 6))]
        parent["requires"].append(dep["provides"][0] if dep["provides"] and rng.random() < 0.6
                                  else dep["name"])
    # Some needs the installed system already meets.
    present = [b for s, b in installedSources if b["arch"] != "noarch" and b["provides"]]
    for node in rng.sample(nodes, min(6, len(nodes))):
        if present:
            node["requires"].append(rng.choice(present)["provides"][0])
    entries = [(app, b) for b in nodes]

    # Installed packages may share a path (the database was written with
    # --replacefiles); an update of one of those would fail rpm's file check.
    owners = {}
    for _, b in installedSources:
        for path in b["files"][:3]:
            owners[path] = owners.get(path, 0) + 1
    updated = {id(s) for s in updateSources}
    candidates = [(s, b) for s, b in installedSources
                  if id(s) not in updated and b["name"] != "scale-release"
                  and all(owners[path] == 1 for path in b["files"][:3])]
    newer = {}
    for source, binary in rng.sample(candidates, min(updateCount, len(candidates))):
        if id(source) not in newer:
            newer[id(source)] = applyUpdate(source)
        entries.append((newer[id(source)], dict(binary, requires=[])))
    return entries


def applySpec(entries, sourcedir, rng):
    lines = ["%global debug_package %{nil}", "%global __os_install_post %{nil}",
             "%global _build_id_links none", "%global _binary_payload w1.gzdio",
             "Name: scale-apply-set", "Version: 1", "Release: 1",
             "Summary: The packages of the scale fixture's apply request", "License: MIT",
             "AutoReqProv: no", "", "%description", "Builds the apply set.", ""]
    files = []
    for source, binary in entries:
        name = binary["name"]
        lines += ["%%package -n %s" % name, "Version: " + source["version"],
                  "Release: " + source["release"], "Summary: " + binary["summary"],
                  "License: " + source["license"], "Group: " + binary["group"],
                  "URL: " + source["url"], "AutoReqProv: no"]
        if source["epoch"] != "0":
            lines.append("Epoch: " + source["epoch"])
        if binary["arch"] == "noarch":
            lines.append("BuildArch: noarch")
        lines += ["Provides: " + p for p in binary["provides"]]
        lines += ["Requires: " + r for r in binary["requires"]]
        lines += ["", "%%description -n %s" % name, binary["description"], ""]
        # The files an installed package owns (an update replaces them), or
        # the new package's own.
        owned = binary["files"][:3] if source["name"] != APPLY_APP else binary["files"]
        files += ["%%files -n %s" % name] + owned + [""]
        for path in owned:
            target = os.path.join(sourcedir, "tree", path.lstrip("/"))
            os.makedirs(os.path.dirname(target), exist_ok=True)
            with open(target, "wb") as f:
                f.write(rng.randbytes(rng.randint(*APPLY_FILE_BYTES)))
    lines += ["%install", "cp -a %{_sourcedir}/tree/. %{buildroot}/", ""]
    return "\n".join(lines + files) + "\n"


def nevra(source, binary):
    epoch = "" if source["epoch"] == "0" else source["epoch"] + ":"
    return "%s-%s%s-%s.%s" % (binary["name"], epoch, source["version"], source["release"],
                              binary["arch"])


def buildApplySet(entries, repo, work, rng):
    """Build the set's RPMs into the repository and publish it with createrepo_c."""
    env = dict(os.environ, LC_ALL="C", SOURCE_DATE_EPOCH=str(BUILDTIME))
    top = os.path.join(work, "rpmbuild-apply")
    sourcedir = os.path.join(top, "SOURCES")
    os.makedirs(sourcedir)
    spec = os.path.join(top, "apply.spec")
    with open(spec, "w") as f:
        f.write(applySpec(entries, sourcedir, rng))
    os.makedirs(repo)
    with measured("rpmbuild and createrepo_c of the apply set (%d packages)" % len(entries)):
        run(["rpmbuild", "-bb", "--quiet", "--target", ARCH, "--define", "_topdir " + top,
             "--define", "_sourcedir " + sourcedir, "--define",
             "_rpmdir " + os.path.join(repo, "Packages"), "--define", "_tmppath " + top, spec],
            dict(env, HOME=top))
        run(["createrepo_c", "--quiet", "--no-database", repo], env)
    # The request, for the benchmarks: what to mark, and what to name to dnf.
    with open(os.path.join(os.path.dirname(os.path.dirname(repo)), "apply-request.txt"), "w") as f:
        f.write("# action name arch nevra: the scale fixture's apply request\n")
        for source, binary in entries:
            if source["name"] == APPLY_APP and binary["name"] != APPLY_APP:
                continue  # pulled in by resolution
            action = "install" if source["name"] == APPLY_APP else "update"
            f.write("%s %s %s %s\n" % (action, binary["name"], binary["arch"],
                                       nevra(source, binary)))


# Putting it together ---------------------------------------------------------


def build(dest, packages, installedCount, installedUpdates, seed, applyDeps=20, applyUpdates=50):
    started = time.monotonic()
    dest = os.path.abspath(dest)
    if os.path.exists(dest):
        shutil.rmtree(dest)
    os.makedirs(dest)
    rng = random.Random(seed + 1)
    universe = Universe(seed, int(packages * 0.95))
    # The release package, installed like on any system.
    release = {"name": "scale-release", "version": RELEASE, "release": "1", "epoch": "0",
               "license": "MIT", "url": "https://example.org/", "changelog":
               universe.changelog(RELEASE), "binaries": []}
    release["binaries"].append({"name": "scale-release", "arch": "noarch", "suffix": "",
                                "summary": "Scale release files", "description": "Release.",
                                "group": "System Environment/Base",
                                "files": ["/etc/scale-release"], "provides": [],
                                "requires": [], "size": 10000})
    universe.sources.append(release)
    generated = time.monotonic()

    # Updates: newer builds of some sources, the first of them of installed ones.
    candidates = [s for s in universe.sources if s is not release]
    rng.shuffle(candidates)
    installed, updated = [release["binaries"][0]], []
    installedSources = [(release, release["binaries"][0])]
    updateSources = []
    for source in candidates:
        binaries = [b for b in source["binaries"] if b["arch"] != TWIN]
        if len(installed) + len(binaries) > installedCount:
            break
        wantUpdate = len(updated) < installedUpdates
        if wantUpdate:
            updated += binaries
            updateSources.append(source)
        installed += binaries
        installedSources += [(source, b) for b in binaries]
    remaining = [s for s in candidates if s not in updateSources]
    updatesTarget = packages - universe.binaries
    for source in remaining:
        if sum(len(s["binaries"]) for s in updateSources) >= updatesTarget:
            break
        if all(s is not source for s, _ in installedSources):
            updateSources.append(source)

    reposdir = os.path.join(dest, "repos")
    osEntries = [(s, b) for s in universe.sources for b in s["binaries"]]
    updEntries = [(u, b) for u in map(universe.update, updateSources) for b in u["binaries"]]
    counts = {
        "scale-os": writeRepo(os.path.join(reposdir, "scale-os"), osEntries,
                              compsXml(universe, rng)),
        "scale-updates": writeRepo(os.path.join(reposdir, "scale-updates"), updEntries),
    }
    written = time.monotonic()

    root = os.path.join(dest, "root")
    for d in ("etc/dnf", "etc/yum.repos.d", "var/cache/dnf", "var/lib/dnf", "var/log",
              "var/run", "var/tmp", "tmp"):
        os.makedirs(os.path.join(root, d))
    with open(os.path.join(root, "etc/dnf/dnf.conf"), "w") as f:
        f.write("[main]\ngpgcheck=0\ninstallonly_limit=3\nskip_if_unavailable=False\n")
    os.symlink("dnf/dnf.conf", os.path.join(root, "etc/yum.conf"))
    repos = ["scale-os", "scale-updates"]
    applyEntries = []
    if applyDeps or applyUpdates:
        repos.append("scale-apply")
        applyEntries = applySet(random.Random(seed + 2), installedSources, updateSources,
                                applyDeps, applyUpdates)
    with open(os.path.join(root, "etc/yum.repos.d/scale.repo"), "w") as f:
        for repo in repos:
            f.write("[%s]\nname=Scale %s\nbaseurl=file://%s/%s/\nenabled=1\n\n"
                    % (repo, repo, reposdir, repo))
    with tempfile.TemporaryDirectory(dir=dest) as work:
        installedBuilt = buildInstalled(installedSources, root, work)
        recorded = time.monotonic()
        if applyEntries:
            buildApplySet(applyEntries, os.path.join(reposdir, "scale-apply"), work,
                          random.Random(seed + 3))
    done = time.monotonic()
    print("scale: %d packages (%d in scale-os, %d in scale-updates), %d installed, "
          "%d of them with an update" % (counts["scale-os"] + counts["scale-updates"],
                                         counts["scale-os"], counts["scale-updates"],
                                         installedBuilt, len(updated)))
    if applyEntries:
        print("scale: scale-apply holds %d real packages: %s and %d dependencies, %d updates "
              "of installed packages" % (len(applyEntries), APPLY_APP, applyDeps,
                                         len(applyEntries) - applyDeps - 1))
    print("scale: generated in %.1f s, metadata written in %.1f s, installed set built and "
          "recorded in %.1f s, apply set built in %.1f s; %.1f s in all"
          % (generated - started, written - generated, recorded - written, done - recorded,
             done - started))
    print("SORVANROOT=" + root)


def main(argv):
    parser = argparse.ArgumentParser(prog="scale.py", description=__doc__.split("\n\n")[0])
    sub = parser.add_subparsers(dest="command", required=True)
    p = sub.add_parser("build", help="generate the repositories and the root")
    p.add_argument("dir")
    p.add_argument("--packages", type=int, default=70000)
    p.add_argument("--installed", type=int, default=2500)
    p.add_argument("--installed-updates", type=int, default=300)
    p.add_argument("--seed", type=int, default=1)
    p.add_argument("--apply-deps", type=int, default=20,
                   help="new packages the apply request's application pulls in (real RPMs)")
    p.add_argument("--apply-updates", type=int, default=50,
                   help="updates of installed packages in the apply request (real RPMs)")
    p.add_argument("--no-apply-set", action="store_true",
                   help="no scale-apply repository: metadata only, as before")
    args = parser.parse_args(argv)
    if args.no_apply_set:
        args.apply_deps = args.apply_updates = 0
    build(args.dir, args.packages, args.installed, args.installed_updates, args.seed,
          args.apply_deps, args.apply_updates)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
