#include "app/DefaultStyle.h"

#include <QApplication>
#include <QSettings>
#include <QStyle>
#include <QStyleFactory>
#include <cstdlib>
#include <cstring>

DefaultStyle::DefaultStyle(int argc, char** argv)
    : chosen(false)
{
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "-style=", 7) == 0 || std::strcmp(argv[i], "-style") == 0) {
            chosen = true;
            return;
        }
    }
    char const* override = std::getenv("QT_STYLE_OVERRIDE");
    if (override && *override) {
        chosen = true;
        return;
    }
    // The per-user setting of older toolkits is still honoured.
    QSettings settings(QSettings::UserScope, QStringLiteral("Trolltech"), QString());
    settings.beginGroup(QStringLiteral("Qt"));
    if (settings.contains(QStringLiteral("style")))
        chosen = true;
}

void DefaultStyle::set(QApplication& application, QString const& style)
{
    if (chosen)
        return;
    // A desktop's platform theme that picked a style of its own counts as the
    // user's choice; the toolkit's fallbacks do not.
    QString const current = application.style() ? application.style()->name().toLower() : QString();
    if (!current.isEmpty() && current != QLatin1String("fusion") && current != QLatin1String("windows"))
        return;
    QStyle* chosenStyle = QStyleFactory::create(style);
    if (!chosenStyle)
        chosenStyle = QStyleFactory::create(QStringLiteral("Fusion"));
    if (!chosenStyle)
        return;
    QApplication::setStyle(chosenStyle);
    QApplication::setPalette(chosenStyle->standardPalette());
}
