#include "app/Colors.h"

#include <QColor>
#include <QCoreApplication>

namespace
{
QString tr(char const* text)
{
    return QCoreApplication::translate("Colors", text);
}

QPalette makeBackground(QPalette const& palette, QString const& name)
{
    QPalette result(palette);
    QColor const background(name);
    result.setColor(QPalette::All, QPalette::Window, background);
    QColor const text = qGray(background.rgb()) < 124 ? QColor(Qt::white) : QColor(Qt::black);
    result.setColor(QPalette::All, QPalette::WindowText, text);
    return result;
}
} // namespace

/* TRANSLATOR Colors

   Colour names (SVG keywords such as "blue") and #rrggbb values, as the
   toolkit reads them: keep them as they are, unless your language wants
   another colour here.
*/
namespace Colors
{
QString action()
{
    return tr("blue");
}
QString error()
{
    return tr("red");
}
QString errorDisabled()
{
    return tr("#ffa9b8");
}
QString warning()
{
    return tr("darkorange");
}
QString minor()
{
    return tr("#8b5a2b");
}
QString minorDisabled()
{
    return tr("#ffbd94");
}
QString ok()
{
    return tr("green");
}
QString requiredBg()
{
    return tr("#fffacd");
}
QString errorBg()
{
    return tr("#ff6060");
}
QString warningBg()
{
    return tr("yellow");
}
QString okBg()
{
    return tr("lightgreen");
}

QPalette makeRequired(QPalette const& palette)
{
    // Made once and kept for the whole run.
    static QColor const required(requiredBg());
    QPalette result(palette);
    result.setColor(QPalette::Active, QPalette::Base, required);
    result.setColor(QPalette::Inactive, QPalette::Base, required);
    return result;
}

QPalette makeError(QPalette const& palette)
{
    return makeBackground(palette, errorBg());
}
QPalette makeWarning(QPalette const& palette)
{
    return makeBackground(palette, warningBg());
}
QPalette makeOK(QPalette const& palette)
{
    return makeBackground(palette, okBg());
}
} // namespace Colors
