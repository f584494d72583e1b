#pragma once

#include <QStyle>

class QBoxLayout;
class QDialog;
class QString;

namespace MessageLayout
{
// Lays `dialog` out as a message box with a long text: the standard `icon` on
// the left, the text in a scrollable read-only area on the right, and returns
// the row below them for the buttons.
QBoxLayout* build(QDialog* dialog, QStyle::StandardPixmap icon, QString const& text);
} // namespace MessageLayout
