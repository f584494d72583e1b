#include "packagetable/PackageTableDescribeDialog.h"

#include "app/Fonts.h"
#include "packagetable/PackageTableDescribeInstanceArea.h"
#include "widgets/HScrollArea.h"
#include "widgets/HSeparator.h"
#include "yumio/YumIO.h"

#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace PackageTable::Describe
{

Dialog::Dialog(QWidget* parent)
    : HDialog(parent)
    , closeButton(new QPushButton(tr("Close"), this))
    , scroll(new HScrollArea(this))
{
    setWindowTitle(tr("SORVAN Package Description"));
    setSizeGripEnabled(true);
    auto* layout = new QVBoxLayout(this);
    scroll->setFrameShape(QFrame::NoFrame);
    layout->addWidget(scroll, 1);
    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton(closeButton, QDialogButtonBox::AcceptRole);
    closeButton->setDefault(true);
    connect(closeButton, &QPushButton::clicked, this, &QDialog::accept);
    layout->addWidget(buttons);
}

Dialog::~Dialog()
{
    qDeleteAll(areas);
}

// The configuration files are for the repository's details, which this
// dialog does not offer yet.
void Dialog::config(YumIO* session, Package::Entry const& entry, YumConfIO* confIO)
{
    clearContent();
    content = new QWidget;
    auto* layout = new QVBoxLayout(content);

    auto* name = new QLabel(session->getName(entry), content);
    name->setFont(Fonts::makeHeader(name->font()));
    name->setAlignment(Qt::AlignHCenter);
    name->setTextFormat(Qt::PlainText);
    layout->addWidget(name);
    layout->addWidget(new HSeparator(content));

    areas.append(new Instance::Area(this, layout, session, entry, confIO, true));
    for (Package::Entry const* instance = entry.next; instance; instance = instance->next) {
        layout->addWidget(new HSeparator(content));
        areas.append(new Instance::Area(this, layout, session, *instance, confIO, false));
    }
    layout->addStretch(1);

    scroll->setWidget(content);
    // Size the next showing for this content, not the last entry's.
    if (!isVisible())
        setAttribute(Qt::WA_Resized, false);
}

void Dialog::setVisible(bool visible)
{
    // Never under a load that is still running: its section is on the stack.
    if (!visible && ready)
        clearContent();
    HDialog::setVisible(visible);
}

void Dialog::clearContent()
{
    // The sections refer to widgets of the content: they go first.
    qDeleteAll(areas);
    areas.clear();
    if (content) {
        delete scroll->takeWidget();
        content = nullptr;
    }
}

void Dialog::setReady(bool ready)
{
    this->ready = ready;
    closeButton->setEnabled(ready);
}

void Dialog::updateButtons()
{
    for (Instance::Area* area : std::as_const(areas))
        area->updateButtons();
}

void Dialog::done(int result)
{
    if (ready)
        HDialog::done(result);
}

void Dialog::closeEvent(QCloseEvent* event)
{
    if (ready)
        HDialog::closeEvent(event);
    else
        event->ignore();
}

} // namespace PackageTable::Describe
