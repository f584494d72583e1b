// The configuration files' reader and writer: what reads, reads the same after a write.
// Any bytes are read as a .repo file and as the main configuration file; the entries,
// the main file's settings and [main] part and the session's enabled repositories
// must come back from the written text.
#include "repo/YumConfIO.h"
#include "tests/fuzz/FuzzCheck.h"

#include <cstddef>
#include <cstdint>

namespace
{
struct Read {
    QList<YumRepoEnabled> patterns { YumRepoEnabled(false, QStringLiteral("*-debug*")) };
    QHash<QString, bool> session;
    YumConfIO io { patterns, session };
};

void roundTrip(QByteArray const& bytes, bool mainFile)
{
    QString const path
        = mainFile ? QStringLiteral("/etc/dnf/dnf.conf") : QStringLiteral("/etc/yum.repos.d/f.repo");
    Read first;
    if (!first.io.parse(path, bytes, mainFile))
        return;
    QByteArray const again = first.io.encodeFor(
        path, YumConfIO::fileText(mainFile ? first.io.mainText() : QString(), first.io.repos()));
    Read second;
    QString failure;
    bool const read = second.io.parse(path, again, mainFile, &failure);
    if (!read || second.io.repos() != first.io.repos() || second.io.mainText() != first.io.mainText()
        || second.io.cachedir() != first.io.cachedir() || second.io.reposdirs() != first.io.reposdirs()
        || second.io.mainEnabled() != first.io.mainEnabled()
        || second.io.mainGpgcheck() != first.io.mainGpgcheck() || second.session != first.session) {
        qWarning() << "the written text reads differently:" << failure << again;
        std::abort();
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    QByteArray const bytes(reinterpret_cast<char const*>(data), qsizetype(size));
    roundTrip(bytes, false);
    roundTrip(bytes, true);
    return 0;
}
