"""The dnf session behind SORVAN's yum contract.

Each metadata load makes a fresh dnf.Base: dnf loads a repository's metadata
once per Base, and file lists and change logs are loaded only on request, so
asking for them later means reading the repositories afresh.  The sack is
filled in two passes, first every repository's download and then every
repository's read, so that the program's progress acts come in the order it
numbers them.
"""

import bz2
import collections
import gc
import gzip
import io
import lzma
import os
import re
import xml.etree.ElementTree as ElementTree

import dnf
import dnf.exceptions
import dnf.goal
import dnf.lock
import dnf.repo
import dnf.rpm
import dnf.sack
import hawkey
import rpm
import yumIOC

from sorvanyum import groups as groupsModule
from sorvanyum import meters, output, packages
from sorvanyum.repos import RepoStore
from sorvanyum.root import ManagedRoot
from yum.Errors import GroupsError, NoMoreMirrorsRepoError, RepoError, RepoLockError, YumBaseError

log = output.logger()

# Each architecture and the one it falls back to, as rpm's compatibility
# goes: the further from the machine's own, the worse the choice.
ARCH_PARENT = {
    "x86_64": "athlon", "amd64": "x86_64", "ia32e": "x86_64", "athlon": "i686",
    "i686": "i586", "i586": "i486", "i486": "i386", "i386": "noarch",
    "aarch64": "noarch", "armv7hl": "armv7l", "armv7l": "armv6l", "armv6l": "armv5tel",
    "armv5tel": "noarch", "ppc64le": "noarch", "ppc64": "ppc", "ppc": "noarch",
    "s390x": "s390", "s390": "noarch", "riscv64": "noarch",
}
FAR = 1000

_NS = "{http://linux.duke.edu/metadata/common}"
_RPMNS = "{http://linux.duke.edu/metadata/rpm}"


def _unwritable(error, conf):
    """What a failed write into the cache or dnf's own directories means."""
    where = error.filename or conf.cachedir
    text = "Unable to write %s: %s." % (where, error.strerror or error)
    if str(where).startswith(conf.cachedir):
        text += ("\nSORVAN keeps the repositories' metadata in the cache directory %s and needs to "
                 "write there." % conf.cachedir)
    return text


class ConfView:
    """The session's configuration as yum's `conf`: `yumvar` holds the variables."""

    def __init__(self, conf):
        self._conf = conf
        self.yumvar = {k: str(v) for k, v in conf.substitutions.items()}

    def __getattr__(self, name):
        return getattr(self._conf, name)


class CollectResult:
    """What collectAll() returns."""

    def __init__(self, installed, available):
        self.installed = installed
        self.available = available


class Collected(list):
    """Collected packages, with what the program's table shows of each read
    along in `rows`: (package, name, arch, printVer, repoid, size, summary,
    buildtime, is a suite), in the list's order.  One pass over tens of
    thousands of packages costs far less than a call per field of each."""

    rows = ()


class Session:
    def __init__(self):
        self.root = ManagedRoot()
        if not os.path.isdir(self.root.path):
            raise dnf.exceptions.ConfigError("The managed root %s is not a directory."
                                             % self.root.path)
        self.conf = self.root.makeConf()
        self.confView = ConfView(self.conf)
        self.repos = RepoStore(self.conf)
        self.base = None
        self.generation = 0
        self.filelistsLoaded = False
        self.otherLoaded = False
        self._comps = None
        self._ts = None
        self._buildhosts = {}
        self._index = None
        self._headers = collections.OrderedDict()
        self._biarch = {}
        self._machineArch = self.conf.substitutions.get("arch") or hawkey.detect_arch()

    # The sack ---------------------------------------------------------

    def _newBase(self):
        conf = self.root.makeConf()
        base = dnf.Base(conf)
        self.repos.configure(base, conf)
        if self.repos.errors:
            base.close()
            raise RepoError("\n".join(self.repos.errors))
        return base

    def fillSack(self, filelists=None, other=None, cancellable=False):
        """Read the enabled repositories and the rpm database into a new sack.

        Raises RepoError for a repository that cannot be used (and is not marked
        skip_if_unavailable), RepoLockError while another dnf holds the metadata.
        When cancellable, the user may stop the downloads: the repositories are
        then read from the metadata already in the cache."""
        # The steps of dnf's Base.fill_sack, which cannot leave out file lists
        # and reads each repository right after downloading it.
        filelists = self.filelistsLoaded if filelists is None else filelists
        other = self.otherLoaded if other is None else other
        self.flush()
        base = self._newBase()
        conf = base.conf
        try:
            for directory in (conf.logdir, conf.cachedir, conf.persistdir):
                os.makedirs(directory, exist_ok=True)
            self.root.selectRpmdb()
            sack = dnf.sack._build_sack(base)
            base._sack = sack
            lock = dnf.lock.build_metadata_lock(conf.cachedir, True)
            with lock:
                sack.load_system_repo(build_cache=False)
                enabled = list(base.repos.iter_enabled())
                meters.cancellable(cancellable)
                try:
                    for repo in enabled:
                        self._download(repo, other, cancellable)
                finally:
                    meters.cancellable(False)
                for repo in enabled:
                    if repo.enabled:
                        self._read(sack, repo, filelists, other)
            sack._configure(conf.installonlypkgs, conf.installonly_limit,
                            conf.allow_vendor_change)
            base._setup_excludes_includes()
            base._goal = dnf.goal.Goal(sack)
            base._goal.protect_running_kernel = conf.protect_running_kernel
        except dnf.exceptions.LockError as e:
            base.close()
            raise RepoLockError("The repository metadata of %s is in use by another process: %s"
                                % (self.root.path, e), getattr(e, "pid", None)) from None
        except (RepoError, YumBaseError):
            base.close()
            raise
        except OSError as e:
            base.close()
            raise RepoError(_unwritable(e, conf)) from None
        except (dnf.exceptions.Error, hawkey.Exception) as e:
            base.close()
            raise RepoError(str(e)) from None
        if self.base is not None:
            # The old sack and its packages hold each other: the collector
            # must be able to find them.
            gc.unfreeze()
            self.base.close()
        self.base = base
        self.generation += 1
        self.filelistsLoaded = filelists
        self.otherLoaded = other
        self._comps = None
        self._buildhosts = {}
        self._index = None

    def _download(self, repo, other, cancellable=False):
        repo.load_metadata_other = other
        meters.attach(repo)
        if cancellable and yumIOC.downloadCancelled():
            self._loadCached(repo)
            return
        try:
            repo.load()
        except dnf.exceptions.RepoError as e:
            if cancellable and yumIOC.downloadCancelled():
                self._loadCached(repo)
                return
            repo._repo.expire()
            if repo.skip_if_unavailable:
                log.warning("Repository '%s' is not available and is skipped: %s", repo.id, e)
                repo.disable()
                return
            message = str(e)
            # The index was read but a file it lists was not the file it
            # describes: a truncated or stale copy, here or on the server.
            damaged = re.search(r"(repodata/\S+) - Cannot download, all mirrors were already tried", message)
            if damaged:
                message += ("\nThe metadata file %s of repository '%s' could not be read intact: it is "
                            "damaged in the cache or in the repository. Clean the metadata (Cache menu, "
                            "Clean XML Metadata) and try again; if the error stays, the repository itself "
                            "is damaged." % (damaged.group(1), repo.id))
            if "All mirrors were tried" in message:
                raise NoMoreMirrorsRepoError(message, repo.id) from None
            raise RepoError(message, repo.id) from None

    def _loadCached(self, repo):
        """After the user cancelled the downloads: the metadata already in the
        cache, however old; without any, the repository is left out."""
        repo._repo.setSyncStrategy(dnf.repo.SYNC_ONLY_CACHE)
        try:
            repo.load()
        except dnf.exceptions.RepoError:
            log.warning("Download cancelled: repository '%s' has no metadata in the cache and is "
                        "left out of the list.", repo.id)
            repo.disable()
            # Left out of later reads too (file lists, change logs) until the
            # next collection sets the enabled repositories again.
            self.repos.disableRepo(repo.id)
            return
        log.warning("Download cancelled: repository '%s' is listed from the metadata in the cache.",
                    repo.id)

    def _read(self, sack, repo, filelists, other):
        meters.readStarted(repo.id)
        try:
            sack.load_repo(repo._repo, build_cache=True, load_filelists=filelists,
                           load_presto=repo.deltarpm, load_updateinfo=True, load_other=other)
        except hawkey.Exception as e:
            raise RepoError("Loading repository '%s' has failed: %s" % (repo.id, e),
                            repo.id) from None
        meters.readDone(repo.id)

    def requireSack(self):
        if self.base is None or self.base._sack is None:
            raise YumBaseError("The repositories have not been read yet.")

    @property
    def sack(self):
        self.requireSack()
        return self.base._sack

    def loadFilelists(self):
        if not self.filelistsLoaded:
            self.fillSack(filelists=True)

    def loadOther(self):
        if not self.otherLoaded:
            self.fillSack(other=True)

    def findPackage(self, pkg):
        """The package of the current sack that `pkg` (of an earlier one) stands for."""
        if self.base is None or self.base._sack is None:
            return None
        # After a reload every collected package asks once: one pass over the
        # sack answers them all, where a query each would take minutes on a
        # distribution's worth of packages.
        if self._index is None:
            self._index = {(p.name, p.epoch, p.version, p.release, p.arch, p.reponame): p
                           for p in self.base._sack.query()}
        reponame = packages.SYSTEM_REPO if pkg.repoid == packages.INSTALLED_REPO else pkg.repoid
        return self._index.get((pkg.name, int(pkg.epoch), pkg.version, pkg.release, pkg.arch,
                                reponame))

    # Collections ------------------------------------------------------

    def _collect(self, query, skip=None, seen=None):
        """The query's packages sorted by name, architecture, evr and
        repository, each read once; those whose (name, epoch, version,
        release, arch) is in `skip` left out, and every one's added to
        `seen`."""
        gen = self.generation
        # Architecture and repository texts are few: one object each.
        shared = {}
        keyed = []
        # Tens of thousands of new objects would start the collector over and
        # over, each time through every object there is, and what is read
        # here lives until the next collection: frozen, the collector never
        # walks it again (a full pass over it takes a quarter of a second).
        # The session unfreezes it before it lets go of a sack.
        collecting = gc.isenabled()
        gc.disable()
        try:
            for p in query:
                name, epoch, version, release, arch = p.name, p.epoch, p.version, p.release, p.arch
                if skip is not None and (name, epoch, version, release, arch) in skip:
                    continue
                if seen is not None:
                    seen.add((name, epoch, version, release, arch))
                arch = shared.setdefault(arch, arch)
                reponame = shared.setdefault(p.reponame, p.reponame)
                epoch = str(epoch)
                if reponame == packages.SYSTEM_REPO:
                    pkg = packages.InstalledPackage(
                        self, p, gen, (name, epoch, version, release, arch, packages.INSTALLED_REPO))
                    size = p.installsize
                else:
                    pkg = packages.Package(self, p, gen, (name, epoch, version, release, arch, reponame))
                    size = p.downloadsize
                keyed.append(((name, arch, p.evr, reponame),
                              (pkg, name, arch, pkg.printVer(), pkg.repoid, size, p.summary or "",
                               p.buildtime, p.group == "Suite")))
            keyed.sort(key=lambda item: item[0])
            result = Collected(row[0] for _key, row in keyed)
            result.rows = [row for _key, row in keyed]
        finally:
            gc.freeze()
            if collecting:
                gc.enable()
        return result

    def updates(self):
        q = self.sack.query().upgrades().filterm(latest_per_arch_by_priority=True)
        return self._collect(q)

    def installedAndAvailable(self):
        q = self.sack.query()
        have = set()
        installed = self._collect(q.installed(), seen=have)
        available = self._collect(q.available().filterm(latest_per_arch_by_priority=True), skip=have)
        return CollectResult(installed, available)

    # Groups -----------------------------------------------------------

    def readComps(self):
        self.requireSack()
        try:
            comps = self.base.read_comps(arch_filter=True)
        except dnf.exceptions.Error as e:
            raise GroupsError("Unable to read the groups: %s" % e) from None
        if comps is None or (not comps.groups and not comps.environments):
            raise GroupsError("No Groups Available in any repository")
        self._comps = comps

    def groupInfo(self):
        if self._comps is None:
            return groupsModule.GroupInfo([])
        return groupsModule.GroupInfo(groupsModule.fromComps(self._comps, self.installedNames()))

    def installedNames(self):
        return {p.name for p in self.sack.query().installed()}

    # Architectures ----------------------------------------------------

    def biArch(self, arch):
        try:
            return self._biarch[arch]
        except KeyError:
            pass
        try:
            value = dnf.rpm.basearch(arch)
        except (KeyError, ValueError):
            value = arch
        self._biarch[arch] = value
        return value

    def archDistance(self, arch):
        distance = 0
        current = self._machineArch
        while current:
            if current == arch:
                return distance
            current = ARCH_PARENT.get(current)
            distance += 1
        return FAR

    def isBetterThan(self, a, b):
        da, db = self.archDistance(a.arch), self.archDistance(b.arch)
        if da != db:
            return da < db
        return rpm.labelCompare((a.epoch, a.version, a.release),
                                (b.epoch, b.version, b.release)) > 0

    # Headers and details ---------------------------------------------

    def _rpmTs(self):
        if self._ts is None:
            self.root.selectRpmdb()
            ts = rpm.TransactionSet(self.root.path)
            ts.setVSFlags(rpm._RPMVSF_NOSIGNATURES | rpm._RPMVSF_NODIGESTS)
            self._ts = ts
        return self._ts

    # The program reads a package's fields one by one, each from its header:
    # the last few headers read are kept rather than read again each time.
    _HEADERS_KEPT = 16

    def header(self, pkg):
        """The rpm header of an installed package, from the root's database."""
        key = pkg.pkgtup
        h = self._headers.get(key)
        if h is not None:
            self._headers.move_to_end(key)
            return h
        h = self._readHeader(pkg)
        if h is not None:
            self._headers[key] = h
            if len(self._headers) > self._HEADERS_KEPT:
                self._headers.popitem(last=False)
        return h

    def _readHeader(self, pkg):
        current = pkg.hawkey
        ts = self._rpmTs()
        for h in ts.dbMatch(rpm.RPMDBI_PACKAGES, current.rpmdbid):
            return h
        for h in ts.dbMatch("name", pkg.name):
            if (str(h[rpm.RPMTAG_EPOCHNUM]), h[rpm.RPMTAG_VERSION], h[rpm.RPMTAG_RELEASE],
                    h[rpm.RPMTAG_ARCH]) == (pkg.epoch, pkg.version, pkg.release, pkg.arch):
                return h
        return None

    def repoCachedir(self, repoid):
        if self.base is None or repoid not in self.base.repos:
            return ""
        return self.base.repos[repoid]._repo.getCachedir()

    def buildHost(self, pkg):
        """hawkey does not keep the build host: read it from the header of the
        installed package or of the package file, else from the primary metadata."""
        if pkg.installed:
            h = pkg.hdr
            return packages._text(h[rpm.RPMTAG_BUILDHOST]) if h is not None else ""
        path = pkg.localPkg()
        if path and os.path.exists(path):
            try:
                fd = os.open(path, os.O_RDONLY)
                try:
                    h = self._rpmTs().hdrFromFdno(fd)
                finally:
                    os.close(fd)
                return packages._text(h[rpm.RPMTAG_BUILDHOST])
            except (OSError, rpm.error):
                pass
        hosts = self._buildhosts.get(pkg.repoid)
        if hosts is None:
            hosts = self._buildhosts[pkg.repoid] = self._primaryBuildhosts(pkg.repoid)
        return hosts.get(pkg.pkgtup, "")

    def _primaryBuildhosts(self, repoid):
        if self.base is None or repoid not in self.base.repos:
            return {}
        repo = self.base.repos[repoid]
        path = repo.get_metadata_path("primary")
        opener = {".gz": gzip.open, ".xz": lzma.open, ".bz2": bz2.open, ".xml": open}
        ext = os.path.splitext(path)[1]
        hosts = {}
        try:
            if ext in opener:
                source = opener[ext](path, "rb")
            else:
                source = io.BytesIO(repo.get_metadata_content("primary").encode("utf-8"))
            with source:
                for _, elem in ElementTree.iterparse(source):
                    if elem.tag != _NS + "package":
                        continue
                    ver = elem.find(_NS + "version")
                    host = elem.find(_NS + "format/" + _RPMNS + "buildhost")
                    key = (elem.findtext(_NS + "name"), elem.findtext(_NS + "arch"),
                           ver.get("epoch", "0"), ver.get("ver"), ver.get("rel"))
                    hosts[key] = host.text if host is not None and host.text else ""
                    elem.clear()
        except (OSError, ElementTree.ParseError, EOFError, lzma.LZMAError) as e:
            log.warning("Unable to read the build hosts of repository %s: %s", repoid, e)
        return hosts

    # Cleaning ---------------------------------------------------------

    CLEAN_KINDS = {
        "packages": (dnf.repo.CACHE_FILES["packages"], "package"),
        "metadata": (dnf.repo.CACHE_FILES["metadata"], "metadata"),
        "dbcache": (dnf.repo.CACHE_FILES["dbcache"], "solver cache"),
    }

    def clean(self, kind):
        """Remove one kind of cached files; yum's (code, [messages])."""
        pattern, noun = self.CLEAN_KINDS[kind]
        cachedir = self.conf.cachedir
        if not os.path.isdir(cachedir):
            return 0, ["0 %s files removed" % noun]
        locks = (dnf.lock.build_metadata_lock(cachedir, True),
                 dnf.lock.build_download_lock(cachedir, True))
        removed = 0
        failed = []
        try:
            with locks[0], locks[1]:
                for top, _dirs, files in os.walk(cachedir):
                    for f in files:
                        rel = os.path.normpath(os.path.join(os.path.relpath(top, cachedir), f))
                        if not re.match(pattern, rel):
                            continue
                        try:
                            os.unlink(os.path.join(top, f))
                            removed += 1
                        except FileNotFoundError:
                            pass
                        except OSError as e:
                            failed.append("Unable to remove %s: %s" % (os.path.join(top, f),
                                                                       e.strerror))
        except dnf.exceptions.LockError as e:
            message = "Unable to clean the cache %s: %s" % (cachedir, e)
            log.error(message)
            return 1, [message]
        for message in failed:
            log.error(message)
        summary = "%d %s files removed" % (removed, noun)
        log.info(summary)
        return (1 if failed else 0), [summary] + failed

    # Lifetime ---------------------------------------------------------

    def flush(self):
        """Forget what was read from the rpm database, so the next read sees
        what a transaction changed."""
        self._headers.clear()
        if self._ts is not None:
            self._ts.closeDB()
            self._ts = None

    def close(self):
        self.flush()
        if self.base is not None:
            self.base.close()
            self.base = None
        self._index = None
