#include "repo/FileReplacer.h"

#include "repo/ManagedRoot.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace Repo
{

namespace
{

int failAtOperation = 0;
int operationCount = 0;
FileReplacer::FailMode failMode = FileReplacer::FailMode::Error;
bool crashed = false;

// Called before each counted operation: false when the seam makes it fail,
// with errno set.
bool proceed()
{
    if (crashed) {
        errno = EIO;
        return false;
    }
    ++operationCount;
    if (operationCount != failAtOperation)
        return true;
    if (failMode == FileReplacer::FailMode::Crash) {
        crashed = true;
        errno = EIO;
    } else {
        errno = ENOSPC;
    }
    return false;
}

// Clean-up is not counted, so a failing operation is always followed by
// a real clean-up; only a simulated crash prevents it.
bool alive()
{
    return !crashed;
}

QByteArray encoded(QString const& path)
{
    return QFile::encodeName(path);
}

mode_t currentUmask()
{
    mode_t const mask = ::umask(022);
    ::umask(mask);
    return mask;
}

bool sameContent(QString const& path, qint64 size, QByteArray const& content)
{
    if (size != content.size())
        return false;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    return file.readAll() == content;
}

// SELinux labels and ACLs live in extended attributes; a configuration
// file must not lose them by being rewritten.  Attributes the file system
// or our privileges refuse are left to the defaults.
void copyAttributes(QByteArray const& from, int to)
{
    ssize_t size = ::listxattr(from.constData(), nullptr, 0);
    if (size <= 0)
        return;
    QByteArray names(size, '\0');
    size = ::listxattr(from.constData(), names.data(), names.size());
    if (size <= 0)
        return;
    names.truncate(size);
    for (QByteArray const& name : names.split('\0')) {
        if (name.isEmpty())
            continue;
        ssize_t length = ::getxattr(from.constData(), name.constData(), nullptr, 0);
        if (length < 0)
            continue;
        QByteArray value(length, '\0');
        length = ::getxattr(from.constData(), name.constData(), value.data(), value.size());
        if (length < 0)
            continue;
        ::fsetxattr(to, name.constData(), value.constData(), size_t(length), 0);
    }
}

bool syncDirectory(QString const& directory)
{
    if (!proceed())
        return false;
    int const fd = ::open(encoded(directory).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return false;
    int const result = ::fsync(fd);
    int const saved = errno;
    ::close(fd);
    errno = saved;
    return result == 0;
}

} // namespace

void FileReplacer::failAt(int operation, FailMode mode)
{
    failAtOperation = operation;
    failMode = mode;
    operationCount = 0;
    crashed = false;
}

int FileReplacer::operations()
{
    return operationCount;
}

FileReplacer::~FileReplacer()
{
    discard();
}

bool FileReplacer::fail(QString const& path, int error)
{
    m_failedPath = path;
    m_failedErrno = error;
    return false;
}

bool FileReplacer::stage(QString const& path, QByteArray const& content, bool secret)
{
    QString const target = ManagedRoot::resolve(path);
    QByteArray const targetName = encoded(target);

    struct stat old;
    bool const exists = ::stat(targetName.constData(), &old) == 0;
    if (!exists && errno != ENOENT)
        return fail(path, errno);
    if (exists && !S_ISREG(old.st_mode))
        return fail(path, S_ISDIR(old.st_mode) ? EISDIR : EINVAL);
    if (exists && sameContent(target, old.st_size, content))
        return true;

    QFileInfo const info(target);
    QByteArray temporary
        = encoded(info.path() + QLatin1String("/.") + info.fileName() + QLatin1String(".sorvan-XXXXXX"));
    if (!proceed())
        return fail(path, errno);
    // mkostemp creates the file readable by its owner only, so a password is
    // never visible while the file is being filled.
    int const fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0)
        return fail(path, errno);
    m_staged.append({ path, target, QFile::decodeName(temporary) });

    auto failed = [&]() {
        int const saved = errno;
        ::close(fd);
        return fail(path, saved);
    };

    for (qsizetype done = 0; done < content.size();) {
        if (!proceed())
            return failed();
        ssize_t const n = ::write(fd, content.constData() + done, size_t(content.size() - done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return failed();
        done += n;
    }

    mode_t mode;
    if (exists) {
        struct stat fresh;
        if (::fstat(fd, &fresh) != 0)
            return failed();
        if (fresh.st_uid != old.st_uid || fresh.st_gid != old.st_gid) {
            if (!proceed() || ::fchown(fd, old.st_uid, old.st_gid) != 0)
                return failed();
        }
        copyAttributes(targetName, fd);
        mode = old.st_mode & 07777;
        // A password takes the file away from group and others.
        if (secret)
            mode &= ~mode_t(077);
    } else {
        mode = secret ? 0600 : (0666 & ~currentUmask());
    }
    // After the chown, which clears set-id bits.
    if (!proceed() || ::fchmod(fd, mode) != 0)
        return failed();
    if (!proceed() || ::fsync(fd) != 0)
        return failed();
    if (!proceed()) // the descriptor is still ours to close
        return failed();
    if (::close(fd) != 0)
        return fail(path, errno);
    return true;
}

bool FileReplacer::commit()
{
    // Each directory once, in order, with a file renamed into it to name if
    // its flush fails.
    QList<QPair<QString, QString>> directories;
    while (!m_staged.isEmpty()) {
        Staged const next = m_staged.first();
        if (!proceed()
            || ::rename(encoded(next.temporary).constData(), encoded(next.target).constData()) != 0) {
            int const saved = errno;
            discard();
            return fail(next.path, saved);
        }
        m_staged.removeFirst();
        QString const directory = QFileInfo(next.target).path();
        if (std::none_of(directories.cbegin(), directories.cend(),
                [&](auto const& known) { return known.first == directory; }))
            directories.append({ directory, next.path });
    }
    for (auto const& [directory, path] : std::as_const(directories)) {
        if (!syncDirectory(directory))
            return fail(path, errno);
    }
    return true;
}

void FileReplacer::discard()
{
    for (Staged const& staged : std::as_const(m_staged)) {
        if (alive())
            ::unlink(encoded(staged.temporary).constData());
    }
    m_staged.clear();
}

bool FileReplacer::remove(QString const& path)
{
    if (!proceed() || ::unlink(encoded(path).constData()) != 0)
        return fail(path, errno);
    if (!syncDirectory(QFileInfo(path).path()))
        return fail(path, errno);
    return true;
}

} // namespace Repo
