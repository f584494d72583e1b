"""SORVAN's companion script: the yum session the program talks to, over dnf 4.

The program runs this file as __main__ in its embedded interpreter, with this
directory at the front of sys.path and the module `yumIOC` registered; it
then creates one YumIO() and calls its methods.  Everything the engine says
goes back through yumIOC: nothing is written to the terminal.

The managed root is the directory named by SORVANROOT ("/" when unset); dnf
reads and writes only inside it.
"""

import gc
import os

import yumIOC  # noqa: F401  (the program's callbacks; imported first so a missing one fails loudly)

from sorvanyum import output

# Before dnf is imported: importing it may already warn.
output.install()

import bdb  # noqa: E402,F401  (the program looks up bdb.BdbQuit)

import dnf.drpm  # noqa: E402
import dnf.exceptions  # noqa: E402
import rpm  # noqa: E402,F401

import yum  # noqa: E402
import yum.Errors  # noqa: E402
from sorvanyum import lock as sessionLock  # noqa: E402
from sorvanyum import transaction  # noqa: E402
from sorvanyum.session import Session  # noqa: E402

log = output.logger()


def usesSqlite():
    """dnf reads repository metadata into libsolv, never through sqlite."""
    return False


class YumIO:
    """The yum session of the program: collection, groups, details, cleaning."""

    def __init__(self):
        try:
            self._session = Session()
        except (dnf.exceptions.Error, OSError) as e:
            message = "Unable to start the package engine for %s: %s" % (
                os.environ.get("SORVANROOT") or "/", e)
            log.error(message)
            raise SystemExit(message) from None
        self.repos = self._session.repos
        self.conf = self._session.confView
        self._groupInfo = None
        self._lastLists = ()

    # The lock -----------------------------------------------------------

    def lock(self):
        sessionLock.acquire(self._session.root)

    def unlock(self):
        sessionLock.release(self._session.root)

    # Collection ---------------------------------------------------------

    def setupRepos(self):
        """Read the enabled repositories (downloading what is stale) and the rpm
        database.  File lists and change logs wait until they are asked for."""
        self._session.fillSack(filelists=False, other=False, cancellable=True)

    def setupTs(self):
        self._session.requireSack()

    def collectUpdates(self):
        return self._session.updates()

    def collectAll(self):
        return self._session.installedAndAvailable()

    def setupTsGroup(self):
        self._session.readComps()

    def collectGroupInfo(self):
        self._groupInfo = self._session.groupInfo()
        return self._groupInfo

    def collectDone(self):
        pass

    def flush(self):
        self._session.flush()

    def close(self):
        """Let go of the engine's package data: the program is about to make a
        new session (the lock is the process's and stays held)."""
        self._groupInfo = None
        # The old collection's cycles (a sack and its packages) must be found.
        gc.unfreeze()
        self._session.close()

    def end(self):
        """The program ends: close the engine's databases and write what it
        keeps between runs.  What was read is left to the end of the process."""
        self._session.close()

    def isBetterThan(self, a, b):
        return self._session.isBetterThan(a, b)

    def getBiArch(self, arch):
        return self._session.biArch(arch)

    def usesPresto(self):
        return bool(self._session.conf.deltarpm) and _applyDeltaAvailable()

    def hasMultiProgress(self):
        return True

    # Applying ------------------------------------------------------------

    def apply(self, installs, updates, removes):
        """Resolve, list, confirm, download and run; see sorvanyum.transaction."""
        return transaction.apply(self._session, installs, updates, removes)

    def applyFailCleanup(self):
        transaction.failCleanup(self._session)

    def makelists(self):
        return self._lastLists

    def _group(self, name):
        group = self._groupInfo.return_group(name) if self._groupInfo is not None else None
        if group is None:
            raise yum.Errors.GroupsError("There is no group %s." % name)
        return group

    def requiredPkgs(self, name):
        """The package names that installing the group brings: its mandatory
        and default packages, the conditional ones whose condition another of
        them or an installed package meets, and those of its groups (an
        environment's groups and default options)."""
        return self._groupPackages(name, optional=False, seen=set())

    def pkgTree(self, name):
        """Every package name of the group and of its groups: what removing it
        removes."""
        return self._groupPackages(name, optional=True, seen=set())

    def _groupPackages(self, name, optional, seen):
        if name in seen:
            return []
        seen.add(name)
        group = self._group(name)
        names = list(group.mandatory_packages) + list(group.default_packages)
        if optional:
            names += list(group.optional_packages) + list(group.conditional_packages)
        else:
            installed = self._session.installedNames()
            for member, condition in group.conditional_packages.items():
                if condition is None or condition in names or condition in installed:
                    names.append(member)
        for sub in list(group.sub_groups) + list(group.default_metapkgs):
            names += self._groupPackages(sub, optional, seen)
        result = []
        for n in names:
            if n not in result:
                result.append(n)
        return result

    # Details on demand --------------------------------------------------

    def collectFileLists(self):
        self._session.loadFilelists()

    def collectOtherData(self):
        self._session.loadOther()

    # Cleaning ------------------------------------------------------------

    def cleanHeaders(self):
        # dnf keeps no header cache.
        return 0, ["0 header files removed"]

    def cleanPackages(self):
        return self._session.clean("packages")

    def cleanMetadata(self):
        return self._session.clean("metadata")

    def cleanPickles(self):
        # dnf keeps no pickled cache.
        return 0, ["0 pickle files removed"]

    def cleanSqlite(self):
        # dnf's counterpart of yum's sqlite cache is its solver cache.
        return self._session.clean("dbcache")


def _applyDeltaAvailable():
    return os.access(dnf.drpm.APPLYDELTA, os.X_OK)
