#include "repo/RepoEditorConfigDialog.h"

#include "repo/RepoEditorConfig.h"
#include "repo/YumConfIO.h"
#include "widgets/HFrameLabel.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

namespace RepoEditor
{

ConfigDialog::ConfigDialog(YumConfIO* conf, QWidget* parent)
    : HDialog(parent)
    , conf(conf)
{
    setObjectName(QStringLiteral("repoConfigDialog"));
    setWindowTitle(tr("SORVAN Repository Configuration"));
    setModal(true);

    auto* layout = new QVBoxLayout(this);
    auto* grid = new QGridLayout;
    layout->addLayout(grid);
    fields = new Config(grid, this);

    auto* buttons = new QHBoxLayout;
    statusLabel = new HFrameLabel(this);
    statusLabel->setObjectName(QStringLiteral("statusLabel"));
    buttons->addWidget(statusLabel);
    buttons->addStretch();
    resetButton = new QPushButton(tr("Reset"), this);
    resetButton->setObjectName(QStringLiteral("resetButton"));
    resetButton->setToolTip(tr("Undo changes to this repository configuration"));
    resetButton->setAutoDefault(false);
    auto* cancelButton = new QPushButton(tr("Cancel"), this);
    cancelButton->setObjectName(QStringLiteral("cancelButton"));
    cancelButton->setToolTip(tr("Undo changes to this repository configuration and close the window"));
    cancelButton->setAutoDefault(false);
    auto* okButton = new QPushButton(tr("OK"), this);
    okButton->setObjectName(QStringLiteral("okButton"));
    okButton->setToolTip(tr("Apply changes to all repository configurations, and close the window"));
    okButton->setDefault(true);
    for (QPushButton* button : { resetButton, cancelButton, okButton })
        buttons->addWidget(button);
    layout->addLayout(buttons);

    connect(fields, &Config::changed, this, &ConfigDialog::changed);
    connect(resetButton, &QPushButton::clicked, this, &ConfigDialog::reset);
    connect(cancelButton, &QPushButton::clicked, this, &ConfigDialog::cancel);
    connect(okButton, &QPushButton::clicked, this, &ConfigDialog::ok);
    setHasChanged(false);
}

void ConfigDialog::setEntry(Repo::Entry* entry)
{
    this->entry = entry;
    reset();
}

bool ConfigDialog::aboutToShow()
{
    fields->setDefaults(conf->mainEnabled(), conf->mainGpgcheck());
    setHasChanged(false);
    fields->firstField()->setFocus();
    return true;
}

void ConfigDialog::setHasChanged(bool changed)
{
    hasChanged = changed;
    resetButton->setEnabled(changed);
    fields->setStatus(conf, statusLabel);
}

void ConfigDialog::changed()
{
    setHasChanged(true);
}

void ConfigDialog::reset()
{
    fields->setEntry(entry ? *entry : Repo::Entry());
    setHasChanged(false);
}

void ConfigDialog::cancel()
{
    reject();
}

void ConfigDialog::ok()
{
    if (!hasChanged || !entry) {
        reject();
        return;
    }
    Repo::Entry const edited = fields->toEntry();
    // Editing a repository also sets its session state to what its file says.
    bool const enabled
        = edited.enabled == Repo::Entry::On || (edited.enabled == Repo::Entry::Unset && conf->mainEnabled());
    conf->sessionEnabled().insert(edited.id, enabled);
    *entry = edited;
    accept();
}

} // namespace RepoEditor
