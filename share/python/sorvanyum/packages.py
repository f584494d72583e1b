"""Package objects with yum's names over dnf's (hawkey's) packages.

A package object belongs to the session, not to one sack: the session
rebuilds its sack to load file lists or change logs, and a detail read from
an object collected earlier is answered from the sack that has them.
"""

import datetime
import os
import re

import rpm

INSTALLED_REPO = "installed"
SYSTEM_REPO = "@System"

_FLAGS = {"=": "EQ", "<": "LT", ">": "GT", "<=": "LE", ">=": "GE"}
_RELDEP = re.compile(r"^([^\s(][^\s]*|\(.*\))\s+(<=|>=|=|<|>)\s+(\S+)$")


def splitEvr(evr):
    """(epoch, version, release) of an "e:v-r" text; epoch "0" when absent,
    release None when absent."""
    epoch, sep, rest = evr.partition(":")
    if not sep:
        epoch, rest = "0", evr
    version, sep, release = rest.rpartition("-")
    if not sep:
        return epoch, rest, None
    return epoch, version, release


def prcoTuple(reldep):
    """yum's (name, flag, (epoch, version, release)) of one dependency."""
    text = str(reldep)
    m = _RELDEP.match(text)
    if not m:
        return (text, None, (None, None, None))
    return (m.group(1), _FLAGS[m.group(2)], splitEvr(m.group(3)))


def _text(value):
    if isinstance(value, bytes):
        return value.decode("utf-8", "replace")
    return value


def _epochSeconds(value):
    """A change-log time as seconds since the epoch.  hawkey gives the day
    only; rpm stores a change-log day as its noon UTC, so the same entry reads
    the same from a repository and from the rpm database, and the same day in
    every time zone."""
    if isinstance(value, datetime.datetime):
        return int(value.replace(tzinfo=value.tzinfo or datetime.timezone.utc).timestamp())
    if isinstance(value, datetime.date):
        return int(datetime.datetime(value.year, value.month, value.day, 12,
                                     tzinfo=datetime.timezone.utc).timestamp())
    return int(value)


class Package:
    """One package of a repository (or, as InstalledPackage, of the managed root)."""

    __slots__ = ("_session", "_pkg", "_gen", "name", "arch", "epoch", "version", "release",
                 "repoid", "__weakref__")

    def __init__(self, session, pkg, generation, nevra=None):
        """`nevra`, when the caller has read them already: (name, epoch text,
        version, release, arch, repoid)."""
        self._session = session
        self._pkg = pkg
        self._gen = generation
        if nevra is None:
            nevra = (pkg.name, str(pkg.epoch), pkg.version, pkg.release, pkg.arch,
                     INSTALLED_REPO if pkg.reponame == SYSTEM_REPO else pkg.reponame)
        self.name, self.epoch, self.version, self.release, self.arch, self.repoid = nevra

    # Identity -----------------------------------------------------------

    @property
    def pkgtup(self):
        return (self.name, self.arch, self.epoch, self.version, self.release)

    def printVer(self):
        if self.epoch != "0":
            return "%s:%s-%s" % (self.epoch, self.version, self.release)
        return "%s-%s" % (self.version, self.release)

    @property
    def ui_envra(self):
        if self.epoch != "0":
            return "%s:%s-%s-%s.%s" % (self.epoch, self.name, self.version, self.release,
                                       self.arch)
        return "%s-%s-%s.%s" % (self.name, self.version, self.release, self.arch)

    envra = ui_envra

    @property
    def nevra(self):
        return "%s-%s:%s-%s.%s" % (self.name, self.epoch, self.version, self.release, self.arch)

    def __str__(self):
        return self.ui_envra

    def __repr__(self):
        return "<%s %s from %s>" % (type(self).__name__, self.ui_envra, self.repoid)

    def __eq__(self, other):
        if not isinstance(other, Package):
            return NotImplemented
        return self.pkgtup == other.pkgtup and self.repoid == other.repoid

    def __hash__(self):
        return hash((self.pkgtup, self.repoid))

    @property
    def installed(self):
        return False

    @property
    def hawkey(self):
        """The dnf package as the session's current sack has it."""
        if self._gen != self._session.generation:
            current = self._session.findPackage(self)
            if current is not None:
                self._pkg = current
                self._gen = self._session.generation
        return self._pkg

    @property
    def storageOrder(self):
        """Where the package lies in the loaded metadata.  Its long texts are
        kept compressed in pages: read in this order, each page is unpacked once
        instead of once per package."""
        return hash(self.hawkey)

    # Simple fields ------------------------------------------------------

    @property
    def summary(self):
        return self._pkg.summary or ""

    @property
    def description(self):
        return self._pkg.description or ""

    @property
    def packagesize(self):
        return self._pkg.downloadsize

    @property
    def installedsize(self):
        return self._pkg.installsize

    def size(self):
        """Bytes to download; an installed package gives the space it takes."""
        return self.packagesize

    @property
    def buildtime(self):
        return self._pkg.buildtime

    @property
    def buildhost(self):
        return self._session.buildHost(self)

    @property
    def relativepath(self):
        return self._pkg.location or ""

    @property
    def repo(self):
        return self._session.repos.repos.get(self.repoid)

    _SIMPLE = {
        "name": lambda p: p.name,
        "arch": lambda p: p.arch,
        "epoch": lambda p: p.epoch,
        "version": lambda p: p.version,
        "release": lambda p: p.release,
        "repoid": lambda p: p.repoid,
        "summary": lambda p: p.summary,
        "description": lambda p: p.description,
        "group": lambda p: p._pkg.group or "",
        "vendor": lambda p: p._pkg.vendor or "",
        "license": lambda p: p._pkg.license or "",
        "packager": lambda p: p._pkg.packager or "",
        "url": lambda p: p._pkg.url or "",
        "sourcerpm": lambda p: p._pkg.sourcerpm or "",
        "buildtime": lambda p: p.buildtime,
        "buildhost": lambda p: p.buildhost,
        "relativepath": lambda p: p.relativepath,
        "size": lambda p: p.size(),
        "packagesize": lambda p: p.packagesize,
        "installedsize": lambda p: p.installedsize,
    }

    def returnSimple(self, field):
        """The value of one of yum's simple package fields."""
        try:
            getter = self._SIMPLE[field]
        except KeyError:
            raise AttributeError("package has no field %r" % field) from None
        return getter(self)

    # Dependencies -------------------------------------------------------

    _PRCO = ("provides", "requires", "conflicts", "obsoletes")

    def returnPrco(self, prcotype, printable=False):
        """The dependencies of one kind: (name, flag, (epoch, version, release)) tuples,
        or their texts when printable."""
        if prcotype not in self._PRCO:
            return []
        reldeps = getattr(self._pkg, prcotype)
        if printable:
            return [str(r) for r in reldeps]
        return [prcoTuple(r) for r in reldeps]

    @property
    def prco(self):
        return {kind: self.returnPrco(kind) for kind in self._PRCO}

    # File lists and change logs ----------------------------------------

    def _filesKnown(self):
        return self._session.filelistsLoaded

    def _loadFiles(self):
        """yum's per-package file load: here the files are those of the session's
        last load, so this only answers them."""
        return self.files

    @property
    def files(self):
        if not self._filesKnown():
            return {}
        return {"file": list(self.hawkey.files), "dir": [], "ghost": []}

    @property
    def filelist(self):
        return self.returnFileEntries("file")

    def returnFileEntries(self, ftype="file", primary_only=False):
        if ftype != "file" or not self._filesKnown():
            return []
        return list(self.hawkey.files)

    @property
    def changelog(self):
        return self.returnChangelog()

    def returnChangelog(self):
        """(time, author, text) tuples, newest first; empty until the change logs
        are loaded."""
        if not self._session.otherLoaded:
            return []
        return [(_epochSeconds(c["timestamp"]), c["author"], c["text"])
                for c in self.hawkey.changelogs]

    # Files of the transaction -------------------------------------------

    def localPkg(self):
        """Where the package file is, or will be once downloaded."""
        # Asked of the current sack's package: dnf answers through its session.
        return self.hawkey.localPkg()

    def localHdr(self):
        """Where yum kept a header; dnf keeps none, so this file never exists."""
        cachedir = self._session.repoCachedir(self.repoid)
        name = "%s-%s-%s-%s.%s.hdr" % (self.name, self.epoch, self.version, self.release,
                                       self.arch)
        return os.path.join(cachedir, "headers", name) if cachedir else ""

    def verifyLocalPkg(self):
        return self.hawkey.verifyLocalPkg()


class InstalledPackage(Package):
    """A package installed in the managed root; details come from its rpm header."""

    __slots__ = ()

    @property
    def installed(self):
        return True

    @property
    def hdr(self):
        return self._session.header(self)

    def size(self):
        return self.installedsize

    @property
    def installtime(self):
        return self._pkg.installtime

    def _filesKnown(self):
        return True

    def returnChangelog(self):
        h = self.hdr
        if h is None:
            return []
        return [(int(t), _text(n), _text(x)) for t, n, x in
                zip(h[rpm.RPMTAG_CHANGELOGTIME], h[rpm.RPMTAG_CHANGELOGNAME],
                    h[rpm.RPMTAG_CHANGELOGTEXT])]

    def localPkg(self):
        return ""

    def localHdr(self):
        return ""


def wrap(session, pkg, generation):
    if pkg.reponame == SYSTEM_REPO:
        return InstalledPackage(session, pkg, generation)
    return Package(session, pkg, generation)
