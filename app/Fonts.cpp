#include "app/Fonts.h"

#include <QCoreApplication>
#include <QFontInfo>

QFont Fonts::makeHeader(QFont const& font)
{
    QFont result(font);
    result.setFixedPitch(false);
    result.setStyleHint(QFont::SansSerif);
    result.setBold(true);
    if (result.pixelSize() > 0)
        result.setPixelSize(result.pixelSize() * 3 / 2);
    else if (result.pointSize() > 0)
        result.setPointSize(result.pointSize() * 3 / 2);
    return result;
}

/* TRANSLATOR Fonts

   Font families tried in turn for fixed-width text: keep the names, or
   name a family that suits your script better.
*/
QFont Fonts::makeFixed(QFont const& font)
{
    static char const* const families[] = {
        QT_TRANSLATE_NOOP("Fonts", "Bitstream Vera Sans Mono"),
        QT_TRANSLATE_NOOP("Fonts", "DejaVu Sans Mono"),
        QT_TRANSLATE_NOOP("Fonts", "Monospace"),
        QT_TRANSLATE_NOOP("Fonts", "Courier"),
    };
    QFont result(font);
    result.setFixedPitch(true);
    for (char const* family : families) {
        QString const name = QCoreApplication::translate("Fonts", family);
        result.setFamily(name);
        if (QFontInfo(result).family() == name)
            break;
    }
    return result;
}

QFont Fonts::makeBold(QFont const& font)
{
    QFont result(font);
    result.setBold(true);
    return result;
}
