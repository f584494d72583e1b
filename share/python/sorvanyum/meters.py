"""Metadata progress, forwarded to the program's collect meters.

librepo reports a repository's metadata download as one stream of
(total, done) pairs that restarts for each file it fetches, first repomd.xml
and then the rest, whose total grows as the files start.  The program expects
one start per repository and act, so a repository's whole download is one
"contents" item on a fixed scale: repomd.xml fills its first tenth, the other
files the rest.  Reading each repository into the solver is one "read" item.
"""

import dnf.callback
import dnf.repo

import yumIOC

SCALE = 1000
REPOMD_SHARE = 0.1


def _cancellable(progress):
    def checked(self, totalToDownload, downloaded):
        progress(self, totalToDownload, downloaded)
        # librepo stops the transfer when its progress callback says abort (1);
        # it asks about once a second even while a server sends nothing.
        return 1 if yumIOC.downloadCancelled() else 0
    return checked


# Every metadata and package download of the process can be cancelled.
dnf.repo.RepoCallbacks.progress = _cancellable(dnf.repo.RepoCallbacks.progress)
dnf.repo.PackageTargetCallbacks.progress = _cancellable(dnf.repo.PackageTargetCallbacks.progress)


def cancellable(on):
    """Tell the program whether a Cancel would stop a download now."""
    yumIOC.downloadsCancellable(1 if on else 0)


class MetadataProgress(dnf.callback.DownloadProgress):
    """The download meter of one repository's metadata; it is its own meter
    object for the program."""

    def __init__(self, repoid):
        super().__init__()
        self.repoid = repoid
        self._reset()

    def _reset(self):
        self.started = False
        self.files = 0
        self.value = 0
        self._lastDone = 0
        self._lastTotal = 0

    def start(self, total_files, total_size, total_drpms=0):
        self._reset()

    def progress(self, payload, done):
        total = payload.download_size
        if not self.started:
            self.started = True
            # An empty file name and "<repo>/<file>" as text: the program names
            # the item after the repository and, from the file, calls it contents.
            yumIOC.collectGrabMeterStart(self, "", None, None, SCALE,
                                         "%s/repodata" % self.repoid)
        if total <= 0:
            return
        if done < self._lastDone or (self._lastDone >= self._lastTotal > 0
                                     and total != self._lastTotal):
            self.files += 1
        self._lastDone, self._lastTotal = done, total
        fraction = min(done / total, 1.0)
        if self.files == 0:
            value = REPOMD_SHARE * fraction
        else:
            value = REPOMD_SHARE + (1.0 - REPOMD_SHARE) * fraction
        value = max(int(SCALE * value), self.value)
        if value != self.value:
            self.value = value
            yumIOC.collectGrabMeterUpdate(self, value)

    def end(self, payload, status, msg):
        if self.started:
            yumIOC.collectGrabMeterEnd(self, SCALE)
        self._reset()


def attach(repo):
    """Give a dnf repository a metadata meter that reports to the program.

    A failed mirror is not reported: outside a parallel batch the program has
    no failure state, and librepo goes on with the next mirror within the
    same item."""
    meter = MetadataProgress(repo.id)
    repo.set_progress_bar(meter)
    return meter


def readStarted(repoid):
    yumIOC.collectProgress(0, 1, repoid)


def readDone(repoid):
    yumIOC.collectProgress(1, 1, repoid)
