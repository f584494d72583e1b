"""Exceptions of the yum contract, raised by the companion script for dnf's failures.

The program tells failures apart by these classes and shows `value`, so every
exception carries a complete message that says what failed and where.
"""


class YumBaseError(Exception):
    """A failure of the package engine; `value` is the message for the user."""

    def __init__(self, value=None, *args):
        Exception.__init__(self, value, *args)
        self.value = "" if value is None else str(value)

    def __str__(self):
        return self.value


class RepoError(YumBaseError):
    """A repository could not be read, reached or set up."""

    def __init__(self, value=None, repo=None, *args):
        YumBaseError.__init__(self, value, *args)
        self.repo = repo


class NoMoreMirrorsRepoError(RepoError):
    """Every mirror of a repository failed."""


class LockError(YumBaseError):
    """The managed root is locked by another process."""

    def __init__(self, value=None, pid=None, *args):
        YumBaseError.__init__(self, value, *args)
        self.pid = pid


class GroupsError(YumBaseError):
    """The group data could not be read."""


class RepoLockError(RepoError, LockError):
    """Repository metadata is locked by another process: both kinds at once, so
    that callers expecting either one recognise it."""

    def __init__(self, value=None, pid=None):
        RepoError.__init__(self, value)
        self.pid = pid
