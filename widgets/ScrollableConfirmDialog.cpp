#include "widgets/ScrollableConfirmDialog.h"

#include "widgets/MessageLayout.h"

#include <QBoxLayout>
#include <QPushButton>

ScrollableConfirmDialog::ScrollableConfirmDialog(
    QString const& text, QString const& reject, QString const& accept, QWidget* parent)
    : HDialog(parent)
    , acceptPush(new QPushButton(accept.isEmpty() ? tr("&Yes") : accept, this))
    , rejectPush(new QPushButton(reject.isEmpty() ? tr("&No") : reject, this))
{
    QBoxLayout* row = MessageLayout::build(this, QStyle::SP_MessageBoxQuestion, text);
    row->addWidget(rejectPush);
    row->addWidget(acceptPush);
    acceptPush->setAutoDefault(false);
    rejectPush->setDefault(true);
    rejectPush->setFocus();
    connect(acceptPush, &QPushButton::clicked, this, &QDialog::accept);
    connect(rejectPush, &QPushButton::clicked, this, &QDialog::reject);
}
