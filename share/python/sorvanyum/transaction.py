"""Applying marked actions: dnf's resolution, download and RPM transaction
behind yum's apply(), with every step reported through yumIOC.

The program hands over three lists (packages to install, [new, installed]
pairs to update, installed packages to remove).  This module resolves them
in the session's dnf Base, tells the program what resolution added (as yum's
"TSINFO: " log lines), lists the transaction, asks for confirmation, fetches
and checks the packages, and runs the transaction, which dnf records in the
managed root's history.  Every failure is a yum.Errors exception whose text
says what failed and for which package; nothing is changed on the system
before the confirmation, and nothing at all when a step before the RPM
transaction fails.
"""

import fcntl
import os

import dnf
import dnf.callback
import dnf.exceptions
import dnf.lock
import dnf.rpm.miscutils as miscutils
import dnf.transaction
import dnf.yum.rpmtrans
import hawkey
import libdnf.transaction
import rpm

import yumIOC
from sorvanyum import meters, output, packages
from yum.Errors import LockError, YumBaseError

log = output.logger()

# The program's codes for what happens to a package in the RPM transaction:
# yum's transaction-member states, and four of SORVAN's own for the steps
# around the packages.
TS_UPDATE = 10
TS_ERASE = 20
TS_INSTALL = 30
TS_OBSOLETED = 50
TS_OBSOLETING = 60
TS_UPDATED = 90
TS_SCRIPTLET = 110
TS_POST = 120
TS_VERIFY = 130

_A = libdnf.transaction
_EVENT_CODES = {
    _A.TransactionItemAction_INSTALL: TS_INSTALL,
    _A.TransactionItemAction_REINSTALL: TS_INSTALL,
    _A.TransactionItemAction_UPGRADE: TS_UPDATE,
    _A.TransactionItemAction_DOWNGRADE: TS_UPDATE,
    _A.TransactionItemAction_OBSOLETE: TS_OBSOLETING,
    _A.TransactionItemAction_REMOVE: TS_ERASE,
    _A.TransactionItemAction_OBSOLETED: TS_OBSOLETED,
    _A.TransactionItemAction_UPGRADED: TS_UPDATED,
    _A.TransactionItemAction_DOWNGRADED: TS_UPDATED,
    _A.TransactionItemAction_REINSTALLED: TS_UPDATED,
    dnf.transaction.PKG_CLEANUP: TS_UPDATED,
    dnf.transaction.PKG_SCRIPTLET: TS_SCRIPTLET,
    dnf.transaction.TRANS_POST: TS_POST,
    dnf.transaction.PKG_VERIFY: TS_VERIFY,
}
_INSTALLING = (_A.TransactionItemAction_INSTALL, _A.TransactionItemAction_OBSOLETE,
               _A.TransactionItemAction_REINSTALL)
_UPDATING = (_A.TransactionItemAction_UPGRADE, _A.TransactionItemAction_DOWNGRADE)
_FORWARD = _INSTALLING + _UPDATING


def _envra(pkg):
    """yum's envra of a dnf package: [epoch:]name-version-release.arch."""
    if pkg.epoch:
        return "%d:%s-%s-%s.%s" % (pkg.epoch, pkg.name, pkg.version, pkg.release, pkg.arch)
    return "%s-%s-%s.%s" % (pkg.name, pkg.version, pkg.release, pkg.arch)


def verifyWithRootDatabase(root):
    """dnf checks signatures with rpmkeys --root, which takes the database path
    from the host's macros, not from this process: on a host whose default is
    elsewhere (Debian keeps it in the home directory) it would look for the
    keys in the wrong place.  Name the root's database to it."""
    import subprocess

    def verify(package, installroot):
        binary = miscutils._find_rpmkeys_binary()
        if binary is None or not os.path.isfile(binary):
            log.critical("Cannot find rpmkeys executable to verify signatures.")
            return 2
        args = ("rpmkeys", "--checksig", "--root", installroot, "--dbpath", root.rpmdbPath(),
                "--verbose", "--define=_pkgverify_level signature", "--define=_pkgverify_flags 0x0",
                "-")
        env = dict(os.environ, LC_ALL="C")
        with subprocess.Popen(args=args, executable=binary, env=env, stdout=subprocess.PIPE,
                              cwd="/", stdin=package) as p:
            data = p.communicate()[0]
        if p.returncode >= 2 or p.returncode < 0:
            return 2
        result = miscutils._process_rpm_output(data.split(b"\n"))
        if result:
            return result
        return 2 if p.returncode else 0

    miscutils._verifyPackageUsingRpmkeys = verify


class TxMember:
    """One package of the transaction as yum's transaction members showed it."""

    def __init__(self, session, pkg, relatedto=()):
        self.po = packages.wrap(session, pkg, session.generation)
        self.pkgtup = self.po.pkgtup
        self.repoid = self.po.repoid
        self.name = pkg.name
        self.relatedto = list(relatedto)

    def __str__(self):
        return str(self.po)


class TsInfo:
    """yum's tsInfo: the transaction's packages in seven lists, by what happens
    to them and whether the user asked for it or resolution added it."""

    LISTS = ("updated", "installed", "removed", "obsoleted", "depupdated", "depinstalled",
             "depremoved")

    def __init__(self):
        for name in self.LISTS:
            setattr(self, name, [])

    def makelists(self):
        return tuple(getattr(self, name) for name in self.LISTS)

    def __len__(self):
        return sum(len(getattr(self, name)) for name in self.LISTS)


class TransactionView:
    """What listTransaction() and postTransactionOutput() read: its tsInfo."""

    def __init__(self, tsInfo):
        self.tsInfo = tsInfo


def _key(pkg):
    return (pkg.name, pkg.epoch, pkg.version, pkg.release, pkg.arch, pkg.reponame)


class ApplyDownloadProgress(dnf.callback.DownloadProgress):
    """Package downloads, forwarded to the program's apply meters as one
    parallel batch per dnf download round.  The payload is the meter."""

    def __init__(self):
        super().__init__()
        self._open = False
        self._started = set()

    def start(self, total_files, total_size, total_drpms=0):
        self.finish()
        self._open = True
        self._started = set()
        yumIOC.applyGrabMultiMeterStart(total_files, total_size)

    def _begin(self, payload):
        if payload in self._started:
            return
        self._started.add(payload)
        yumIOC.applyGrabMultiMeterNew(payload)
        size = payload.download_size
        yumIOC.applyGrabMeterStart(payload, str(payload), None, None,
                                   size if size else None, str(payload))

    def progress(self, payload, done):
        self._begin(payload)
        yumIOC.applyGrabMeterUpdate(payload, int(done))

    def end(self, payload, status, msg):
        self._begin(payload)
        if status in (dnf.callback.STATUS_OK, dnf.callback.STATUS_ALREADY_EXISTS):
            yumIOC.applyGrabMeterEnd(payload, int(payload.download_size or 0))
        else:
            yumIOC.applyGrabMeterFailure(payload, msg or "")
            if status == dnf.callback.STATUS_MIRROR:
                # librepo goes on with the next mirror: the file starts again.
                self._started.discard(payload)
                return
            if msg and not yumIOC.downloadCancelled():
                log.error("Unable to download %s: %s", payload, msg)
        yumIOC.applyGrabMultiMeterRemove(payload)

    def finish(self):
        if self._open:
            self._open = False
            yumIOC.applyGrabMultiMeterEnd()


class TransactionEvents(dnf.yum.rpmtrans.TransactionDisplay):
    """dnf's transaction display: each step of each package goes to tsEvent,
    errors to the log (and to the failure report)."""

    def __init__(self):
        super().__init__()
        self.errors = []

    def progress(self, package, action, ti_done, ti_total, ts_done, ts_total):
        if action == dnf.transaction.TRANS_PREPARATION:
            return  # tsCallback shows rpm's preparation
        code = _EVENT_CODES.get(action, -int(action or 0) or -1)
        name = "" if package is None else str(package)
        yumIOC.tsEvent(name, code, int(ti_done or 0), int(ti_total or 0), int(ts_done or 0),
                       int(ts_total or 0))

    def error(self, message):
        self.errors.append(str(message))


def _forwardingTransaction():
    """dnf's rpm callback that also hands every raw rpm callback to tsCallback,
    the test run's too (which has no display), so that the program can show
    the transaction test and rpm's preparation."""

    class ForwardingRPMTransaction(dnf.yum.rpmtrans.RPMTransaction):
        def callback(self, what, amount, total, key, client_data):
            try:
                name = ""
                if hasattr(key, "pkg"):
                    name = str(key.pkg)
                yumIOC.tsCallback(int(what), int(amount or 0), int(total or 0), name,
                                  bool(self.test))
            except Exception as e:  # a report must never stop rpm
                log.error("Unable to report rpm's progress: %s", e)
            return super().callback(what, amount, total, key, client_data)

    return ForwardingRPMTransaction


class Apply:
    """One apply of the program's three lists in the session's Base."""

    def __init__(self, session):
        self.session = session
        self.base = session.base
        self.root = session.root

    # Before anything is resolved ------------------------------------

    def checkPrivileges(self):
        if os.geteuid() != 0:
            raise YumBaseError(
                "Changing the packages of %s needs root: this SORVAN runs as user id %d. "
                "Start SORVAN as root (for example with pkexec sorvan) to apply actions."
                % (self.root.path, os.geteuid()))

    def checkLocks(self):
        """Fail at once, naming the lock, when another process is busy with
        the root's rpm database or package cache: never wait for it."""
        conf = self.base.conf
        for build, what in ((dnf.lock.build_rpmdb_lock, conf.persistdir),
                            (dnf.lock.build_download_lock, conf.cachedir)):
            lock = build(what, True)
            try:
                with lock:
                    pass
            except dnf.exceptions.LockError as e:
                raise LockError("%s is locked by another process (pid %s), probably dnf or "
                                "PackageKit working on %s: %s. Try again when it has finished."
                                % (lock.target, getattr(e, "pid", "?"), self.root.path, e),
                                getattr(e, "pid", None)) from None
        # rpm's own transaction lock, held by rpm -i/-U/-e on this root.
        self.root.selectRpmdb()
        configured = rpm.expandMacro("%{?_rpmlock_path}")
        path = self.root.join(configured or os.path.join(self.root.rpmdbPath(), ".rpm.lock"))
        if os.path.exists(path):
            try:
                fd = os.open(path, os.O_RDWR | os.O_CLOEXEC)
            except OSError as e:
                raise LockError("Unable to open rpm's transaction lock %s: %s"
                                % (path, e.strerror)) from None
            try:
                fcntl.lockf(fd, fcntl.LOCK_EX | fcntl.LOCK_NB)
                fcntl.lockf(fd, fcntl.LOCK_UN)
            except OSError:
                raise LockError("rpm's transaction lock %s is held by another process: rpm is "
                                "changing %s. Try again when it has finished."
                                % (path, self.root.path)) from None
            finally:
                os.close(fd)

    # Resolution ------------------------------------------------------

    def mark(self, installs, updates, removes):
        base = self.base
        base.reset(goal=True)
        self.requested = set()
        for p in installs:
            pkg = p.hawkey
            self.requested.add(_key(pkg))
            try:
                base.package_install(pkg, strict=True)
            except dnf.exceptions.Error as e:
                raise YumBaseError("Unable to mark %s for installation: %s" % (p, e)) from None
        done = set()
        installed = base.sack.query().installed()
        for pair in updates:
            new, old = pair[0].hawkey, pair[1].hawkey
            pkg = self._upgradeFor(new, old)
            if pkg is None:
                raise YumBaseError("No update of %s.%s is available any more (it was %s)."
                                   % (old.name, old.arch, pair[0]))
            # A package installed for two architectures (a library and its
            # 32-bit twin) shares files between them: both move together.
            wanted = [pkg] + [self._upgradeFor(new, twin) for twin in
                              installed.filter(name=old.name).filterm(arch__neq=[old.arch, "noarch"])]
            for target in wanted:
                if target is None or _key(target) in done:
                    continue
                done.add(_key(target))
                self.requested.add(_key(target))
                try:
                    base.package_upgrade(target)
                except dnf.exceptions.Error as e:
                    raise YumBaseError("Unable to mark %s for update to %s: %s"
                                       % (pair[1], target, e)) from None
        for p in removes:
            pkg = p.hawkey
            self.requested.add(_key(pkg))
            base.package_remove(pkg)
        self.anyRemoves = bool(removes)

    def _upgradeFor(self, new, old):
        """The package that updates `old`: the program's new package when the
        architectures go together, else the newest update of old's own
        architecture (a package installed for two architectures is updated
        in both)."""
        if new.arch == old.arch or "noarch" in (new.arch, old.arch) or new.name != old.name:
            return new
        q = self.base.sack.query().available().filterm(name=old.name, arch=old.arch)
        q = q.filterm(evr__gt=old.evr).latest()
        return q[0] if q else None

    def resolve(self):
        yumIOC.dsTsCheck()
        try:
            got = self.base.resolve(allow_erasing=self.anyRemoves)
        except dnf.exceptions.DepsolveError as e:
            raise YumBaseError("The actions cannot be applied together: dependency resolution "
                               "failed.\n%s" % e) from None
        except dnf.exceptions.Error as e:
            raise YumBaseError("Dependency resolution failed: %s" % e) from None
        return got

    def buildLists(self):
        """The seven lists, and what resolution added as TSINFO lines."""
        ts = self.base.transaction
        goal = self.base._goal
        info = TsInfo()
        session = self.session
        obsoletedBy = {}
        replaced = {}
        added = 0
        for tsi in ts:
            if tsi.action in _FORWARD:
                for old in goal.obsoleted_by_package(tsi.pkg):
                    if old.name != tsi.pkg.name:
                        obsoletedBy.setdefault(_key(old), tsi.pkg)
        for tsi in ts:
            if tsi.action in (_A.TransactionItemAction_UPGRADED, _A.TransactionItemAction_DOWNGRADED):
                replaced.setdefault(tsi.pkg.name, []).append(tsi.pkg)
        for tsi in ts:
            pkg = tsi.pkg
            asked = _key(pkg) in self.requested
            action = tsi.action
            if action in _INSTALLING:
                (info.installed if asked else info.depinstalled).append(TxMember(session, pkg))
                if not asked:
                    self._tsinfo("Marking %s as install to resolve dependencies" % _envra(pkg))
                    added += 1
            elif action in _UPDATING:
                (info.updated if asked else info.depupdated).append(TxMember(session, pkg))
                if not asked:
                    olds = replaced.get(pkg.name, [])
                    self._tsinfo("Marking %s as update for %s" % (
                        _envra(pkg), ", ".join(_envra(o) for o in olds) or pkg.name))
                    added += 1
            elif action == _A.TransactionItemAction_REMOVE:
                (info.removed if asked else info.depremoved).append(TxMember(session, pkg))
                if not asked:
                    self._tsinfo("%s marked as erase to resolve dependencies" % _envra(pkg))
            elif action == _A.TransactionItemAction_OBSOLETED:
                new = obsoletedBy.get(_key(pkg))
                if new is None:
                    continue  # an installonly or same-name replacement: part of its update
                info.obsoleted.append(TxMember(session, pkg, [
                    (packages.wrap(session, new, session.generation), "obsoletedby")]))
                self._tsinfo("Obsoleting %s with %s removed" % (_envra(new), _envra(pkg)))
                added += 1
        if added:
            yumIOC.dsRestartLoop()
            yumIOC.dsTsCheck()
        self.info = info
        return info

    @staticmethod
    def _tsinfo(text):
        yumIOC.log(2, "TSINFO: " + text)

    # Packages --------------------------------------------------------

    def installPackages(self):
        return [tsi.pkg for tsi in self.base.transaction if tsi.action in _FORWARD]

    def remoteAndLocal(self, pkgs):
        """The packages to download, after checking that the files of local
        repositories are still there and intact."""
        remote, local = [], []
        for pkg in pkgs:
            (local if pkg._is_local_pkg() else remote).append(pkg)
        bad = []
        for pkg in local:
            path = pkg.localPkg()
            try:
                ok = os.path.exists(path) and pkg.verifyLocalPkg()
            except Exception:
                ok = False
            if not ok:
                bad.append("%s (%s from repository %s)" % (_envra(pkg), path, pkg.reponame))
        if bad:
            raise YumBaseError(
                "The package files of these packages are missing or damaged: %s.\nThe repository "
                "may have changed since SORVAN read it: refresh the package list and try again."
                % "; ".join(bad))
        return remote, local

    def download(self, remote):
        if not remote:
            return
        meter = ApplyDownloadProgress()
        meters.cancellable(True)
        failure = None
        try:
            self.base.download_packages(remote, progress=meter)
        except dnf.exceptions.Error as e:
            failure = e
        finally:
            meters.cancellable(False)
            meter.finish()
        # Cancelled, the download's own failure is the cancel's doing; a cancel
        # that came with the last bytes still stops before rpm starts.
        if yumIOC.downloadCancelled():
            raise YumBaseError("The download was cancelled: nothing was changed.")
        if isinstance(failure, dnf.exceptions.LockError):
            raise LockError("The package cache is locked by another process: %s" % failure,
                            getattr(failure, "pid", None))
        if isinstance(failure, dnf.exceptions.DownloadError):
            raise YumBaseError("Unable to download the packages: nothing was changed.\n%s"
                               % dnf.exceptions.DownloadError.errmap2str(failure.errmap))
        if failure:
            raise YumBaseError("Unable to download the packages: %s" % failure)

    def checkSignatures(self, pkgs):
        base = self.base
        for pkg in pkgs:
            result, message = base.package_signature_check(pkg)
            if result == 0:
                continue
            if result == 1:
                try:
                    base.package_import_key(pkg, askcb=self._askKey)
                except dnf.exceptions.Error as e:
                    raise YumBaseError("The signature of %s from repository %s cannot be "
                                       "checked: nothing was changed.\n%s"
                                       % (_envra(pkg), pkg.reponame, e)) from None
                continue
            raise YumBaseError("The signature of %s from repository %s is not valid: %s.\n"
                               "Nothing was changed." % (_envra(pkg), pkg.reponame, message))

    def _askKey(self, po, userid, hexkeyid):
        repo = self.base.repos.get(po.reponame)
        urls = ", ".join(repo.gpgkey) if repo is not None else ""
        return bool(yumIOC.gpgsigcheck(_envra(po), po.reponame, str(userid), str(hexkeyid), urls))

    # The RPM transaction ----------------------------------------------

    def run(self):
        base = self.base
        events = TransactionEvents()
        yumIOC.tsInitCallback(len([t for t in base.transaction
                                   if t.action != _A.TransactionItemAction_REASON_CHANGE]))
        original = dnf.yum.rpmtrans.RPMTransaction
        dnf.yum.rpmtrans.RPMTransaction = _forwardingTransaction()
        try:
            base.do_transaction(display=[events])
        except dnf.exceptions.LockError as e:
            raise LockError("The rpm database of %s is locked by another process: %s"
                            % (self.root.path, e), getattr(e, "pid", None)) from None
        except dnf.exceptions.TransactionCheckError as e:
            raise YumBaseError("The transaction check failed: nothing was changed.\n%s" % e) from None
        except dnf.exceptions.Error as e:
            text = str(e)
            if "Transaction test error" in text:
                raise YumBaseError("The transaction test failed: nothing was changed.\n%s"
                                   % text) from None
            raise YumBaseError("The transaction failed: %s%s" % (
                text, "".join("\n" + m for m in events.errors))) from None
        finally:
            dnf.yum.rpmtrans.RPMTransaction = original
        failed = [tsi for tsi in base.transaction
                  if tsi.state == _A.TransactionItemState_ERROR]
        if failed or events.errors:
            # rpm's own messages are in the log already, just above this one.
            names = ", ".join(str(t.pkg) for t in failed) or "some packages"
            raise YumBaseError("The transaction ran, but it failed for %s.\nThe rpm database of "
                               "%s records what was really done." % (names, self.root.path))

    def results(self):
        """The lists again, as they were carried out."""
        return TransactionView(self.info)


def apply(session, installs, updates, removes):
    """yum's apply(): False when nothing was done (nothing to do, or not
    confirmed), True once the transaction ran."""
    session.requireSack()
    verifyWithRootDatabase(session.root)
    job = Apply(session)
    job.checkPrivileges()
    job.checkLocks()
    job.mark(list(installs), list(updates), list(removes))
    if not job.resolve():
        log.info("Nothing to do: the marked actions need no change of the system.")
        return False
    info = job.buildLists()
    yumIOC.listTransaction(TransactionView(info))
    remote, local = job.remoteAndLocal(job.installPackages())
    yumIOC.reportDownloadSize([packages.wrap(session, p, session.generation) for p in remote])
    if not yumIOC.userconfirm():
        return False
    job.download(remote)
    job.checkSignatures(remote + local)
    job.run()
    yumIOC.postTransactionOutput(job.results())
    return True


def failCleanup(session):
    """Forget the failed transaction, so that the next apply starts afresh."""
    if session.base is not None:
        try:
            session.base.reset(goal=True)
        except Exception as e:
            log.warning("Unable to reset the package engine after a failed apply: %s", e)
    session.flush()
