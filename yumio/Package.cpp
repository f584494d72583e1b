#include "yumio/Package.h"

#include <QCoreApplication>
#include <atomic>
#include <cstdio>
#include <ctime>

namespace Package
{

namespace
{
QString tr(char const* text)
{
    return QCoreApplication::translate("Package", text);
}

std::atomic_bool extantReported = false;
} // namespace

QString stateText(int state)
{
    switch (state) {
    case AvailableForUpdate:
        return tr("Available for update");
    case Available:
        return tr("Available for installation");
    case Installed:
        return tr("Installed");
    }
    return QString();
}

QString kindText(int kind)
{
    switch (kind) {
    case Suite:
        return tr("Suite of packages");
    case Group:
        return tr("Group of packages");
    case Ordinary:
        return tr("Ordinary package");
    }
    return QString();
}

Entry::~Entry()
{
    if (object && !extantReported.exchange(true))
        std::fprintf(stderr,
            "Internal error: attempt to delete Package::Entry %p with extant python obj %p\n",
            static_cast<void*>(this), static_cast<void*>(object));
    // Iteratively, so that a long chain cannot exhaust the stack.
    Entry* chain = next;
    next = nullptr;
    while (chain) {
        Entry* following = chain->next;
        chain->next = nullptr;
        delete chain;
        chain = following;
    }
}

int Entry::instances() const
{
    int n = 0;
    for (Entry const* e = next; e; e = e->next)
        ++n;
    return n;
}

EntryList::~EntryList()
{
    deleteAll();
}

void EntryList::deleteAll()
{
    for (Entry* entry : std::as_const(*this))
        delete entry;
    clear();
}

QString bytesFormat(quint64 bytes)
{
    static char const* const units[] = { QT_TRANSLATE_NOOP("Package", "b"),
        QT_TRANSLATE_NOOP("Package", "Kb"), QT_TRANSLATE_NOOP("Package", "Mb"),
        QT_TRANSLATE_NOOP("Package", "Gb"), QT_TRANSLATE_NOOP("Package", "Tb"),
        QT_TRANSLATE_NOOP("Package", "Pb"), QT_TRANSLATE_NOOP("Package", "Eb") };
    // Step k is taken once the count reaches 1000 * 2^(10(k-1)); from then on
    // the count is shown divided by 2^(10k).
    int step = 0;
    while (step < 6 && bytes >= 1000ull << (10 * step))
        ++step;
    double const value = static_cast<double>(bytes) / static_cast<double>(1ull << (10 * step));
    QString const number
        = value > 0 && value < 9.95 ? QString::asprintf("%.1f", value) : QString::asprintf("%.0f", value);
    return number + tr(units[step]);
}

QString timeFormat(long time)
{
    time_t const t = time;
    char buffer[64];
    if (!ctime_r(&t, buffer))
        return QString();
    QString text = QString::fromLatin1(buffer);
    if (text.endsWith(QLatin1Char('\n')))
        text.chop(1);
    return text;
}

QString dateFormat(long time)
{
    // "Tue Nov 14 22:13:20 2023" loses "22:13:20 ".
    QString text = timeFormat(time);
    qsizetype const colon = text.indexOf(QLatin1Char(':'));
    if (colon < 2)
        return text;
    qsizetype const start = colon - 2;
    qsizetype const blank = text.indexOf(QLatin1Char(' '), colon);
    if (blank < 0)
        return text;
    text.remove(start, blank + 1 - start);
    return text;
}

} // namespace Package
