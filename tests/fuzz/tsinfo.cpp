// The engine's TSINFO lines and the [epoch:]name-version-release.arch names in them.
// Input: any text; where it holds four NULs, also the five parts of a name that
// must read back.
#include "yumio/TsInfo.h"

#include "tests/fuzz/FuzzCheck.h"

#include <QRegularExpression>
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    QByteArray const bytes(reinterpret_cast<char const*>(data), qsizetype(size));
    QString const text = QString::fromUtf8(bytes);
    QString name, arch;

    TsInfo::Line const line = TsInfo::parse(text);
    if (line.kind == TsInfo::Marked || line.kind == TsInfo::Obsoleting) {
        FUZZ_CHECK(!line.envra.contains(QLatin1Char(' ')) && text.contains(line.envra));
        TsInfo::parseEnvra(line.envra, name, arch);
    }
    if (TsInfo::parseEnvra(text, name, arch)) {
        FUZZ_CHECK(!name.isEmpty() && !arch.isEmpty() && !arch.contains(QLatin1Char('.')));
        FUZZ_CHECK(text.endsWith(QLatin1Char('.') + arch) && text.contains(name + QLatin1Char('-')));
    }

    // A well-formed name reads back whatever its parts hold, within what rpm
    // allows in each.
    QList<QByteArray> const parts = bytes.split('\0');
    if (parts.size() != 5)
        return 0;
    QString const epoch = QString::fromUtf8(parts[0]), n = QString::fromUtf8(parts[1]),
                  version = QString::fromUtf8(parts[2]), release = QString::fromUtf8(parts[3]),
                  a = QString::fromUtf8(parts[4]);
    bool numeric = false;
    epoch.toUShort(&numeric);
    static QRegularExpression const dashOrColon(QStringLiteral("[-:]"));
    if ((!epoch.isEmpty() && (!numeric || epoch.startsWith(QLatin1Char('+')))) || n.isEmpty()
        || n.contains(QLatin1Char(':')) || version.isEmpty() || version.contains(dashOrColon)
        || release.isEmpty() || release.contains(dashOrColon) || a.isEmpty() || a.contains(QLatin1Char('.')))
        return 0;
    QString const envra = (epoch.isEmpty() ? QString() : epoch + QLatin1Char(':')) + n + QLatin1Char('-')
        + version + QLatin1Char('-') + release + QLatin1Char('.') + a;
    FUZZ_CHECK(TsInfo::parseEnvra(envra, name, arch) && name == n && arch == a);
    TsInfo::Line const marked = TsInfo::parse(QStringLiteral("Marking %1 to install").arg(envra));
    if (!envra.contains(QLatin1Char(' ')))
        FUZZ_CHECK(marked.kind == TsInfo::Marked && marked.envra == envra);
    return 0;
}
