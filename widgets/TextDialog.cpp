#include "widgets/TextDialog.h"

#include "widgets/HTextEdit.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QVBoxLayout>

TextDialog::TextDialog(QWidget* parent)
    : TextDialog(QString(), parent)
{
}

TextDialog::TextDialog(QString const& text, QWidget* parent)
    : HDialog(parent)
    , buttons(new QDialogButtonBox(QDialogButtonBox::Close, this))
{
    setSizeGripEnabled(true);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    setText(text);
}

QString TextDialog::text() const
{
    return area->toPlainText();
}

void TextDialog::setText(QString const& text)
{
    // A new area, because its size hint is made for its text.
    HTextEdit* replacement = HTextEdit::plainViewer(text, this);
    auto* box = static_cast<QVBoxLayout*>(layout());
    if (area) {
        delete box->replaceWidget(area, replacement);
        delete area;
    } else {
        box->insertWidget(0, replacement, 1);
    }
    area = replacement;
    buttons->button(QDialogButtonBox::Close)->setFocus();
    // Let the next showing size the dialog for this text.
    if (!isVisible())
        setAttribute(Qt::WA_Resized, false);
}
