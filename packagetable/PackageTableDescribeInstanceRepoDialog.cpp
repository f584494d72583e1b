#include "packagetable/PackageTableDescribeInstanceRepoDialog.h"

#include "app/Fonts.h"
#include "repo/RepoBrowse.h"
#include "yumio/Secrets.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace PackageTable::Describe::Instance
{

RepoDialog::RepoDialog(YumIO* session, QWidget* parent)
    : QDialog(parent)
    , session(session)
    , layout(new QVBoxLayout(this))
{
    setWindowTitle(tr("SORVAN Repository Description"));
    auto* buttons = new QDialogButtonBox(this);
    QPushButton* browseButton = buttons->addButton(tr("Browse Repository"), QDialogButtonBox::ActionRole);
    browseButton->setToolTip(
        tr("Browse the first URL specified for the selected repository using an external web browser"));
    browseButton->setAutoDefault(false);
    connect(browseButton, &QPushButton::clicked, this, &RepoDialog::browse);
    QPushButton* close = buttons->addButton(tr("Close"), QDialogButtonBox::AcceptRole);
    close->setDefault(true);
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    layout->addWidget(buttons);
}

void RepoDialog::config(Repo::Entry const& entry)
{
    repo = entry;
    delete content;
    content = new QWidget(this);
    auto* grid = new QGridLayout(content);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setColumnStretch(1, 1);
    auto* header = new QLabel(repo.id, content);
    header->setTextFormat(Qt::PlainText);
    header->setFont(Fonts::makeHeader(header->font()));
    grid->addWidget(header, 0, 0, 1, 2, Qt::AlignLeft);
    int row = 1;
    auto addPair = [&](QString const& name, QString const& value) {
        if (value.trimmed().isEmpty())
            return;
        grid->addWidget(new QLabel(tr("%1:").arg(name), content), row, 0, Qt::AlignRight | Qt::AlignTop);
        auto* label = new QLabel(value.trimmed(), content);
        label->setTextFormat(Qt::PlainText);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
        grid->addWidget(label, row++, 1, Qt::AlignLeft | Qt::AlignTop);
    };
    // Shown, and so copied, without the passwords the URLs may carry.
    addPair(tr("Name"), repo.name);
    addPair(tr("URLs"), Secrets::masked(repo.baseurl));
    addPair(tr("Mirror list URL"), Secrets::masked(repo.mirrorlist));
    layout->insertWidget(0, content);
}

void RepoDialog::browse()
{
    RepoBrowse::browse(this, repo, session);
}

void RepoDialog::hideEvent(QHideEvent* event)
{
    QDialog::hideEvent(event);
    delete content;
    content = nullptr;
}

} // namespace PackageTable::Describe::Instance
