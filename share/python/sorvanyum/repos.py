"""The repository store: the repositories of the managed root's configuration.

The program reads `repos` (id -> repository) and asks to enable or disable
repositories for the session; the store remembers those choices and applies
them to every dnf session it configures, because the session reads the files
afresh each time it reloads metadata.
"""

import fnmatch
import glob
import os
import re
import tempfile

import dnf.conf.read
import dnf.exceptions
import dnf.util

from sorvanyum import output
from yum.Errors import RepoError

log = output.logger()
# The store reads the files again for every session: each warning is given once.
_warned = set()


def _warnOnce(message):
    if message not in _warned:
        _warned.add(message)
        log.warning(message)


def configFiles(conf):
    """The main file, then the .repo files in dnf's order."""
    files = []
    if os.path.isfile(conf.config_file_path):
        files.append(conf.config_file_path)
    repoFiles = []
    for directory in conf.reposdir:
        repoFiles.extend(glob.glob(os.path.join(directory, "*.repo")))
    # Reading a FIFO or a device would wait for ever: only regular files.
    for path in repoFiles:
        if not os.path.isdir(path) and not os.path.isfile(path):
            _warnOnce("%s is not a regular file; it is skipped" % path)
    repoFiles = [p for p in repoFiles if os.path.isfile(p)]
    repoFiles.sort(key=lambda p: dnf.util.split_path(p[:-5]))
    return files + repoFiles


def _parseFile(reader, path):
    """The repositories of one file.  dnf's parser takes only UTF-8: a file
    that is not is read as Latin-1, through a UTF-8 copy.  A section that
    appears twice, which dnf reads as one, is pointed out."""
    try:
        with open(path, "rb") as f:
            data = f.read()
    except OSError:
        return list(reader._get_repos(path))
    try:
        text = data.decode("utf-8")
        found = list(reader._get_repos(path))
    except UnicodeDecodeError as e:
        _warnOnce("%s, line %d: the file is not UTF-8; it is read as Latin-1"
                  % (path, data.count(b"\n", 0, e.start) + 1))
        text = data.decode("latin-1")
        with tempfile.TemporaryDirectory(prefix="sorvan-repo-") as tmp:
            copy = os.path.join(tmp, os.path.basename(path))
            with open(copy, "w", encoding="utf-8") as f:
                f.write(text)
            found = list(reader._get_repos(copy))
        for repo in found:
            repo.repofile = path
    seen = set()
    for match in re.finditer(r"^[ \t]*\[([^\]\n]*)\]", text, re.M):
        section = match.group(1).strip()
        if section in seen:
            _warnOnce("%s, line %d: the section [%s] appears again; its lines count as the "
                      "first one's" % (path, text.count("\n", 0, match.start()) + 1, section))
        seen.add(section)
    return found


def readRepos(conf):
    """dnf repositories of the configuration, and the errors met reading it.

    A file that cannot be parsed is reported and skipped; so is a repository
    whose id another file already used."""
    reader = dnf.conf.read.RepoReader(conf, None)
    repos = []
    errors = []
    seen = {}
    for path in configFiles(conf):
        try:
            found = _parseFile(reader, path)
        except dnf.exceptions.ConfigError as e:
            errors.append(str(e))
            continue
        for repo in found:
            if repo.id in seen:
                errors.append("Repository %s is listed more than once in the configuration: "
                              "in %s and in %s" % (repo.id, seen[repo.id], path))
                continue
            seen[repo.id] = path
            repos.append(repo)
    return repos, errors


class Repository:
    """One repository as the program sees it; `enabled` is this session's state."""

    def __init__(self, repo):
        self.id = repo.id
        self._enabled = bool(repo.enabled)
        self.update(repo)

    def update(self, repo):
        """Take the configuration of a fresh read of the same repository."""
        self.dnfRepo = repo
        self.name = repo.name
        self.baseurl = list(repo.baseurl)
        self.mirrorlist = repo.mirrorlist or ""
        self.metalink = repo.metalink or ""
        self.repofile = getattr(repo, "repofile", "")

    @property
    def enabled(self):
        return 1 if self._enabled else 0

    def isEnabled(self):
        return self._enabled

    def enable(self):
        self._enabled = True

    def disable(self):
        self._enabled = False

    def __str__(self):
        return self.id

    def __repr__(self):
        return "<Repository %s %s>" % (self.id, "enabled" if self._enabled else "disabled")


class RepoStore:
    """yum's repository store: `repos` maps each id to its Repository."""

    def __init__(self, conf):
        self.repos = {}
        self.errors = []
        self.reload(conf)

    def reload(self, conf):
        """Read the configuration again; session choices of known ids are kept."""
        found, self.errors = readRepos(conf)
        repos = {}
        for repo in found:
            known = self.repos.get(repo.id)
            if known is None:
                known = Repository(repo)
            else:
                known.update(repo)
            repos[repo.id] = known
        self.repos = repos
        return found

    def configure(self, base, conf):
        """Fill a dnf session's repositories from the configuration, with this
        session's enabled states."""
        for repo in self.reload(conf):
            if self.repos[repo.id].isEnabled():
                repo.enable()
            else:
                repo.disable()
            base.repos.add(repo)

    def findRepos(self, pattern):
        return [r for rid, r in self.repos.items() if fnmatch.fnmatchcase(rid, pattern)]

    def getRepo(self, repoid):
        try:
            return self.repos[repoid]
        except KeyError:
            raise RepoError("Error getting repository data for %s, repository not found"
                            % repoid) from None

    def listEnabled(self):
        return [r for r in self.repos.values() if r.isEnabled()]

    def enableRepo(self, pattern):
        """Enable every repository whose id matches pattern; their ids."""
        return self._setEnabled(pattern, True)

    def disableRepo(self, pattern):
        return self._setEnabled(pattern, False)

    def _setEnabled(self, pattern, state):
        matched = self.findRepos(pattern)
        if not matched:
            raise RepoError("Error getting repository data for %s, repository not found"
                            % pattern)
        for repo in matched:
            if state:
                repo.enable()
            else:
                repo.disable()
        return [r.id for r in matched]
