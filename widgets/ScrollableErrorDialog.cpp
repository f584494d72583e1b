#include "widgets/ScrollableErrorDialog.h"

#include "widgets/MessageLayout.h"

#include <QBoxLayout>
#include <QPushButton>

ScrollableErrorDialog::ScrollableErrorDialog(QString const& text, QWidget* parent)
    : HDialog(parent)
{
    QBoxLayout* row = MessageLayout::build(this, QStyle::SP_MessageBoxCritical, text);
    auto* ok = new QPushButton(tr("&OK"), this);
    ok->setDefault(true);
    ok->setFocus();
    row->addWidget(ok);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
}
