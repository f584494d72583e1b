"""The managed root: the system SORVAN manages, named by SORVANROOT.

dnf is told about every path it uses here, joined to the root, because its
defaults (and its own search "inside the installroot first") fall back to the
host's /etc, /var and rpm database whenever a path is missing in the root.
"""

import glob
import os

import dnf
import dnf.conf
import dnf.rpm
import dnf.yum.misc
import libdnf.conf
import rpm

# The main configuration file, in the order SORVAN's repository editor looks.
MAIN_CONFIG_CANDIDATES = ("/etc/yum/yum.conf", "/etc/yum.conf", "/etc/dnf/dnf.conf")
# The repository directories unless [main] names its own (the editor's default).
DEFAULT_REPOSDIRS = ("/etc/yum.repos.d", "/etc/yum/repos.d")
DEFAULT_CACHEDIR = "/var/cache/dnf"
DEFAULT_PERSISTDIR = "/var/lib/dnf"
DEFAULT_LOGDIR = "/var/log"
VARSDIRS = ("/etc/dnf/vars", "/etc/yum/vars")
PROTECTED_DIRS = ("/etc/dnf/protected.d", "/etc/yum/protected.d")
# Where rpm keeps its database, newest layout first.  Debian's rpm defaults to
# the user's home directory, which is never the managed system's database.
RPMDB_CANDIDATES = ("/usr/lib/sysimage/rpm", "/var/lib/rpm")
RPMDB_FILES = ("rpmdb.sqlite", "Packages", "Packages.db")
OS_RELEASE_FILES = ("/etc/os-release", "/usr/lib/os-release")


class ManagedRoot:
    """Paths of one managed root and the dnf configuration that stays inside it."""

    def __init__(self, path=None):
        if path is None:
            path = os.environ.get("SORVANROOT") or "/"
        self.path = os.path.normpath(os.path.abspath(path))

    @property
    def isHost(self):
        return self.path == "/"

    def join(self, path):
        """The file `path` of the managed system, as seen from this process."""
        return os.path.normpath(os.path.join(self.path, path.lstrip("/")))

    def mainConfigName(self):
        """The main configuration file, as the managed system names it."""
        for name in MAIN_CONFIG_CANDIDATES:
            if os.path.exists(self.join(name)):
                return name
        return MAIN_CONFIG_CANDIDATES[-1]

    def mainConfig(self):
        return self.join(self.mainConfigName())

    def rpmdbPath(self):
        """The rpm database directory of the root, relative to the root."""
        for candidate in RPMDB_CANDIDATES:
            directory = self.join(candidate)
            if any(os.path.exists(os.path.join(directory, f)) for f in RPMDB_FILES):
                return candidate
        for candidate in RPMDB_CANDIDATES:
            if os.path.isdir(self.join(candidate)):
                return candidate
        return RPMDB_CANDIDATES[-1]

    def selectRpmdb(self):
        """Point rpm (process-wide) at the root's database.

        Every dnf and rpm call of the session reads this macro; it is set again
        before each use because a configuration reload may reset macros."""
        rpm.delMacro("_dbpath")
        rpm.addMacro("_dbpath", self.rpmdbPath())

    def platformId(self):
        for name in OS_RELEASE_FILES:
            try:
                with open(self.join(name), encoding="utf-8", errors="replace") as f:
                    for line in f:
                        key, sep, value = line.strip().partition("=")
                        if sep and key == "PLATFORM_ID":
                            return value.strip().strip("\"'")
            except OSError:
                continue
        return ""

    def protectedPackages(self):
        """Package names listed in the root's protected.d files."""
        names = []
        for directory in PROTECTED_DIRS:
            for path in sorted(glob.glob(os.path.join(self.join(directory), "*.conf"))):
                try:
                    with open(path, encoding="utf-8", errors="replace") as f:
                        for line in f:
                            line = line.split("#", 1)[0].strip()
                            if line and line not in names:
                                names.append(line)
                except OSError:
                    continue
        return names

    def _rootedOption(self, conf, name, default):
        """A path option from the main file, or SORVAN's default, inside the root."""
        if conf._get_priority(name) > dnf.conf.PRIO_DEFAULT:
            value = conf._get_value(name)
        else:
            value = default
        return libdnf.conf.ConfigParser.substitute(self.join(value), conf.substitutions)

    def makeConf(self):
        """A dnf configuration for this root, read from the root's main file.

        Raises dnf.exceptions.ConfigError when the main file cannot be parsed."""
        conf = dnf.conf.Conf()
        conf.installroot = self.path
        mainConfig = self.mainConfig()
        if os.path.exists(mainConfig):
            conf.read(mainConfig, priority=dnf.conf.PRIO_MAINCONFIG)
        conf.config_file_path = mainConfig

        # Variables first: the paths below may use them.
        conf.substitutions.update_from_etc(self.path, varsdir=VARSDIRS)
        self.selectRpmdb()
        if "releasever" not in conf.substitutions:
            releasever = dnf.rpm.detect_releasever(self.path)
            if releasever is not None:
                conf.releasever = releasever

        if conf._get_priority("reposdir") > dnf.conf.PRIO_DEFAULT:
            reposdirs = list(conf.reposdir)
        else:
            reposdirs = list(DEFAULT_REPOSDIRS)
        conf.reposdir = [self.join(d) for d in reposdirs]
        self.reposdirs = reposdirs

        if os.geteuid() == 0 or os.access(self.join(DEFAULT_CACHEDIR), os.W_OK):
            conf.cachedir = self._rootedOption(conf, "cachedir", DEFAULT_CACHEDIR)
        else:
            # Without root the system cache is read-only: list from a private
            # cache, as dnf does for users.
            conf.cachedir = dnf.yum.misc.getCacheDir()
        conf.persistdir = self._rootedOption(conf, "persistdir", DEFAULT_PERSISTDIR)
        conf.logdir = self._rootedOption(conf, "logdir", DEFAULT_LOGDIR)
        if os.geteuid() != 0 and not os.access(conf.logdir, os.W_OK):
            # dnf's and hawkey's logs cannot go into a system's /var/log
            # without root: a user's listing logs beside its private cache.
            conf.logdir = conf.cachedir

        if conf._get_priority("protected_packages") <= dnf.conf.PRIO_DEFAULT:
            conf.protected_packages = self.protectedPackages()
        conf.protect_running_kernel = self.isHost
        conf.module_platform_id = self.platformId()
        # Another dnf busy on this root fails our operation instead of hanging it.
        conf.exit_on_lock = True
        return conf
