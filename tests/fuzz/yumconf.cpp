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
    QString const path = mainFile ? QStringLiteral("/etc/dnf/dnf.conf") : QStringLiteral("/etc/yum.repos.d/f.repo");
    Read first;
    if (!first.io.parse(path, bytes, mainFile))
        return;
    QByteArray const again
        = first.io.encodeFor(path, YumConfIO::fileText(mainFile ? first.io.mainText() : QString(), first.io.repos()));
    Read second;
    QString failure;
    if (!second.io.parse(path, again, mainFile, &failure)) {
        qWarning() << "the written text does not read:" << failure << again;
        std::abort();
    }
    FUZZ_CHECK_EQUAL(second.io.repos().size(), first.io.repos().size());
    for (qsizetype i = 0; i < first.io.repos().size(); ++i) {
        Repo::Entry const& a = second.io.repos().at(i);
        Repo::Entry const& b = first.io.repos().at(i);
        FUZZ_CHECK_EQUAL(a.id, b.id);
        FUZZ_CHECK_EQUAL(a.name, b.name);
        FUZZ_CHECK_EQUAL(a.baseurl, b.baseurl);
        FUZZ_CHECK_EQUAL(a.mirrorlist, b.mirrorlist);
        FUZZ_CHECK_EQUAL(int(a.enabled), int(b.enabled));
        FUZZ_CHECK_EQUAL(int(a.gpgcheck), int(b.gpgcheck));
        FUZZ_CHECK_EQUAL(a.other, b.other);
        FUZZ_CHECK_EQUAL(a.position, b.position);
    }
    FUZZ_CHECK_EQUAL(second.io.mainText(), first.io.mainText());
    FUZZ_CHECK_EQUAL(second.io.cachedir(), first.io.cachedir());
    FUZZ_CHECK_EQUAL(second.io.reposdirs(), first.io.reposdirs());
    FUZZ_CHECK_EQUAL(second.io.mainEnabled(), first.io.mainEnabled());
    FUZZ_CHECK_EQUAL(second.io.mainGpgcheck(), first.io.mainGpgcheck());
    FUZZ_CHECK_EQUAL(second.session, first.session);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    QByteArray const bytes(reinterpret_cast<char const*>(data), qsizetype(size));
    roundTrip(bytes, false);
    roundTrip(bytes, true);
    return 0;
}
