"""SORVAN's own lock on a managed root, held from lock() to unlock().

dnf locks only around each of its operations; a session needs the root for
as long as it shows packages that it may change.  The lock is a flock on a
PID file: the kernel drops it when the process dies, so no stale lock ever
blocks the next start, and it is kept per process (not per session object)
because the program replaces its session object on a reload while it keeps
believing that it holds the lock.
"""

import errno
import fcntl
import hashlib
import os

import dnf.yum.misc

from yum.Errors import LockError

LOCK_NAME = "/var/run/sorvan.pid"

# Lock files this process holds: path -> open descriptor.
_held = {}


def lockPath(root):
    """The lock file for a managed root; a private one for a user who cannot
    write into the root (who can then only list)."""
    path = root.join(LOCK_NAME)
    directory = os.path.dirname(path)
    if os.access(directory, os.W_OK) or (not os.path.exists(directory) and os.geteuid() == 0):
        return path
    digest = hashlib.sha1(root.path.encode("utf-8")).hexdigest()
    return os.path.join(dnf.yum.misc.getCacheDir(), "locks", digest, "sorvan.pid")


def acquire(root):
    path = lockPath(root)
    if path in _held:
        return
    try:
        os.makedirs(os.path.dirname(path), exist_ok=True)
        fd = os.open(path, os.O_RDWR | os.O_CREAT | os.O_CLOEXEC, 0o644)
    except OSError as e:
        raise LockError("Unable to create the lock file %s: %s" % (path, e.strerror))
    try:
        fcntl.flock(fd, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except OSError as e:
        holder = _readPid(fd)
        os.close(fd)
        if e.errno in (errno.EWOULDBLOCK, errno.EACCES):
            if holder:
                raise LockError("Existing lock %s: another copy of SORVAN is running as pid %d."
                                % (path, holder), holder)
            raise LockError("Existing lock %s: another copy of SORVAN is running." % path)
        raise LockError("Unable to lock %s: %s" % (path, e.strerror))
    os.ftruncate(fd, 0)
    os.pwrite(fd, b"%d\n" % os.getpid(), 0)
    _held[path] = fd


def release(root):
    path = lockPath(root)
    fd = _held.pop(path, None)
    if fd is None:
        return
    try:
        os.ftruncate(fd, 0)
        fcntl.flock(fd, fcntl.LOCK_UN)
    except OSError as e:
        raise LockError("Unable to release the lock %s: %s" % (path, e.strerror))
    finally:
        os.close(fd)


def isHeld(root):
    return lockPath(root) in _held


def _readPid(fd):
    try:
        return int(os.pread(fd, 32, 0).split()[0])
    except (OSError, ValueError, IndexError):
        return None
