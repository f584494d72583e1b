#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace Repo
{

// Replaces a set of files so that none is ever seen half written: every new
// content first goes to a temporary file beside its target, is flushed to
// disk and given the target's owner and mode; only when all of them are ready
// are they renamed over their targets, one by one.  A failure before the
// renames leaves every target as it was; a failure during them leaves each
// target either wholly old or wholly new.  The temporary files are hidden and
// do not end in ".repo", so nothing reads one left behind by a crash.
//
// A target that is a symbolic link is written through to the file the link
// leads to (see ManagedRoot::resolve), and the link stays a link.
class FileReplacer
{
public:
    FileReplacer() = default;
    FileReplacer(FileReplacer const&) = delete;
    FileReplacer& operator=(FileReplacer const&) = delete;
    // Removes the temporary files of an unfinished replacement.
    ~FileReplacer();

    // Prepares `path` to receive `content`.  A file that does not exist yet is
    // created with the mode a new file gets (0666 less the umask), or readable
    // by its owner only when `secret` is set; an existing file keeps its owner,
    // group, mode and extended attributes, except that `secret` takes every
    // permission of group and others away.  A file that already holds exactly
    // `content` is left alone.  False on failure, with failedPath() and
    // failedErrno() saying where and why.
    bool stage(QString const& path, QByteArray const& content, bool secret);

    // Renames every staged file over its target, in staging order, and
    // flushes the directories.  False on the first failure; the targets not
    // yet renamed are then untouched.
    bool commit();

    // Removes the temporary files not yet renamed.
    void discard();

    // Removes `path` (the link itself for a symbolic link) and flushes its
    // directory.  Reports failure like stage().
    bool remove(QString const& path);

    QString failedPath() const { return m_failedPath; }
    int failedErrno() const { return m_failedErrno; }

    // Test seam.  Every step that changes the file system or flushes it
    // counts as one operation.  failAt(n) makes the n-th operation from now
    // fail (n = 0: none).  With Error it fails with ENOSPC, as on a full disk,
    // and the caller cleans up as usual; with Crash nothing at all happens
    // from the n-th operation on, cleaning up included, as if the process had
    // died there.  operations() counts the operations since the last failAt().
    enum class FailMode { Error, Crash };
    static void failAt(int operation, FailMode mode = FailMode::Error);
    static int operations();

private:
    struct Staged {
        QString path; // as given
        QString target; // where the content goes, links followed
        QString temporary;
    };

    bool fail(QString const& path, int error);

    QList<Staged> m_staged;
    QString m_failedPath;
    int m_failedErrno = 0;
};

} // namespace Repo
