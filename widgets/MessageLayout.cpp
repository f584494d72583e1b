#include "widgets/MessageLayout.h"

#include "widgets/HTextEdit.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace MessageLayout
{
QBoxLayout* build(QDialog* dialog, QStyle::StandardPixmap icon, QString const& text)
{
    dialog->setSizeGripEnabled(true);
    auto* outer = new QVBoxLayout(dialog);
    auto* message = new QHBoxLayout;
    outer->addLayout(message, 1);

    auto* iconLabel = new QLabel(dialog);
    QStyle* style = dialog->style();
    int const size = style->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, dialog);
    iconLabel->setPixmap(style->standardIcon(icon, nullptr, dialog).pixmap(size, size));
    iconLabel->setAlignment(Qt::AlignTop | Qt::AlignHCenter);
    message->addWidget(iconLabel, 0, Qt::AlignTop);
    message->addSpacing(style->pixelMetric(QStyle::PM_LayoutHorizontalSpacing, nullptr, dialog));
    message->addWidget(HTextEdit::plainViewer(text, dialog), 1);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    outer->addLayout(buttons);
    return buttons;
}
} // namespace MessageLayout
