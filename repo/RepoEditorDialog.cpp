#include "repo/RepoEditorDialog.h"

#include "app/Colors.h"
#include "repo/RepoEditorConfigDialog.h"
#include "repo/RepoEditorContextMenu.h"
#include "repo/RepoEditorModel.h"
#include "repo/RepoEditorSortFilterProxyModel.h"
#include "repo/RepoEditorView.h"
#include "repo/YumConfIO.h"
#include "widgets/HFrameLabel.h"
#include "widgets/HSeparator.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QScreen>
#include <QSet>
#include <QVBoxLayout>
#include <algorithm>

namespace RepoEditor
{
namespace
{
QPushButton* button(
    QWidget* parent, QHBoxLayout* row, char const* name, QString const& text, QString const& toolTip)
{
    auto* button = new QPushButton(text, parent);
    button->setObjectName(QLatin1String(name));
    button->setToolTip(toolTip);
    button->setAutoDefault(false);
    row->addWidget(button);
    return button;
}
} // namespace

Dialog::Dialog(YumIO* yum, YumConfIO* conf, QWidget* parent)
    : HDialog(parent)
    , yum(yum)
    , conf(conf)
    , repoModel(new Model(yum, conf, this))
    , proxy(new SortFilterProxyModel(this))
{
    setObjectName(QStringLiteral("repoEditorDialog"));
    setWindowTitle(tr("SORVAN Repository Configuration Editor"));
    setModal(true);

    auto* layout = new QVBoxLayout(this);
    table = new View(repoModel, proxy, this);
    repoModel->setViewFont(table->font());
    layout->addWidget(table);

    auto* entryRow = new QHBoxLayout;
    browseButton = button(this, entryRow, "browseButton", tr("Browse Repository"),
        tr("Browse the first URL specified for the selected repository using an external web browser"));
    entryRow->addStretch();
    editButton
        = button(this, entryRow, "editButton", tr("Edit"), tr("Edit the selected repository configuration"));
    QPushButton* addButton = button(
        this, entryRow, "addButton", tr("Add"), tr("Create a new repository configuration from scratch"));
    copyButton = button(this, entryRow, "copyButton", tr("Copy"),
        tr("Create a new repository configuration based on the selected repository"));
    removeButton = button(
        this, entryRow, "removeButton", tr("Remove"), tr("Remove the selected repository configuration"));
    layout->addLayout(entryRow);

    layout->addWidget(new HSeparator(Qt::Horizontal, this));

    auto* dialogRow = new QHBoxLayout;
    statusLabel = new HFrameLabel(this);
    statusLabel->setObjectName(QStringLiteral("statusLabel"));
    dialogRow->addWidget(statusLabel);
    dialogRow->addStretch();
    resetAllButton = button(this, dialogRow, "resetAllButton", tr("Reset All"),
        tr("Undo changes to all repository configurations since the last Apply or opening of the dialog"));
    QPushButton* cancelButton = button(this, dialogRow, "cancelButton", tr("Cancel"),
        tr("Undo changes to all repository configurations since the last Apply or opening of the dialog, "
           "and close the window"));
    applyButton = button(this, dialogRow, "applyButton", tr("Apply"),
        tr("Apply changes to all repository configurations, but do not close the window"));
    applyButton->setDefault(true);
    QPushButton* okButton = button(this, dialogRow, "okButton", tr("OK"),
        tr("Apply changes to all repository configurations, and close the window"));
    layout->addLayout(dialogRow);

    configurator = new ConfigDialog(conf, this);

    // Room for a few dozen repositories with their names; the table grows the
    // window further when it shows longer ones.
    QFontMetrics const metrics(font());
    resize(metrics.averageCharWidth() * 90, metrics.lineSpacing() * 30);

    connect(repoModel, &Model::useChanged, this, &Dialog::useChanged);
    connect(repoModel, &Model::configChanged, this, &Dialog::configChanged);
    // Whoever reads the files again replaces the list the model shows.
    connect(conf, &YumConfIO::changed, repoModel, &Model::reset);
    connect(table, qOverload<int, int>(&View::currentChanged), this, &Dialog::currentChanged);
    connect(table, &View::sourceActivated, this, qOverload<QModelIndex const&>(&Dialog::edit));
    connect(table, &View::removeRequested, this, &Dialog::remove);
    connect(table->contextMenu(), &ContextMenu::edit, this, qOverload<QModelIndex const&>(&Dialog::edit));
    connect(browseButton, &QPushButton::clicked, this, &Dialog::browse);
    connect(editButton, &QPushButton::clicked, this, qOverload<>(&Dialog::edit));
    connect(addButton, &QPushButton::clicked, this, &Dialog::add);
    connect(copyButton, &QPushButton::clicked, this, &Dialog::copy);
    connect(removeButton, &QPushButton::clicked, this, &Dialog::remove);
    connect(resetAllButton, &QPushButton::clicked, this, &Dialog::resetAll);
    connect(cancelButton, &QPushButton::clicked, this, &Dialog::cancel);
    connect(applyButton, &QPushButton::clicked, this, &Dialog::apply);
    connect(okButton, &QPushButton::clicked, this, &Dialog::ok);
    connect(this, &HDialog::hidden, this, [this] {
        if (applied || useHasChanged || startup)
            Q_EMIT reposChanged();
    });
    refresh();
}

void Dialog::setStartup(bool startup)
{
    this->startup = startup;
}

bool Dialog::aboutToShow()
{
    sessionAtShow = conf->sessionEnabled();
    bool const read = conf->read(parentWidget());
    repoModel->reset();
    if (!read)
        return false;
    table->horizontalHeader()->setSortIndicator(Model::NameColumn, Qt::DescendingOrder);
    table->sortByColumn(Model::IdColumn);
    table->resizeColumnsToContents();
    clearFlags();
    applied = false;
    table->setCurrentRow(-1);
    table->setFocus();
    refresh();
    return true;
}

void Dialog::clearFlags()
{
    useHasChanged = false;
    configHasChanged = false;
}

QString Dialog::currentId() const
{
    int const row = table->currentRow();
    return row < 0 ? QString() : conf->repos().at(row).id;
}

void Dialog::selectId(QString const& id)
{
    int row = -1;
    for (int i = 0; i < conf->repos().size(); ++i) {
        if (conf->repos().at(i).id == id)
            row = i;
    }
    table->setCurrentRow(row);
}

void Dialog::refresh()
{
    bool const current = table->currentRow() >= 0;
    for (QPushButton* button : { browseButton, editButton, copyButton, removeButton })
        button->setEnabled(current);
    bool const changed = configHasChanged;
    resetAllButton->setEnabled(changed);
    applyButton->setEnabled(changed);

    Repo::EntryList const& repos = conf->repos();
    bool const emptyId = std::any_of(
        repos.cbegin(), repos.cend(), [](Repo::Entry const& entry) { return entry.id.isEmpty(); });
    QString duplicate;
    QSet<QString> seen;
    // The first entry, in list order, that a later one repeats.
    for (auto entry = repos.crbegin(); entry != repos.crend(); ++entry) {
        if (seen.contains(entry->id))
            duplicate = entry->id;
        seen.insert(entry->id);
    }
    if (emptyId) {
        statusLabel->setPalette(Colors::makeError(statusLabel->palette()));
        statusLabel->setText(tr("A repository has no Identifier"));
    } else if (!duplicate.isNull()) {
        statusLabel->setPalette(Colors::makeError(statusLabel->palette()));
        statusLabel->setText(tr("Two or more repositories have the Identifier, %1").arg(duplicate));
    } else if (!changed) {
        statusLabel->clear();
    } else {
        statusLabel->setPalette(Colors::makeOK(statusLabel->palette()));
        statusLabel->setText(tr("Unapplied Configuration Changes"));
    }
}

void Dialog::useChanged()
{
    useHasChanged = true;
    refresh();
}

void Dialog::configChanged()
{
    configHasChanged = true;
    refresh();
}

void Dialog::currentChanged(int, int)
{
    refresh();
}

void Dialog::browse()
{
    repoModel->browse(repoModel->index(table->currentRow(), Model::IdColumn), this);
}

bool Dialog::configure(Repo::Entry* entry)
{
    configurator->setEntry(entry);
    return configurator->exec() == QDialog::Accepted;
}

void Dialog::edit()
{
    edit(QModelIndex());
}

void Dialog::edit(QModelIndex const& index)
{
    int const row = index.isValid() ? index.row() : table->currentRow();
    if (row < 0 || row >= conf->repos().size())
        return;
    // Edited as a copy: the list must not be held while the dialog runs its
    // own event loop.
    Repo::Entry entry = conf->repos().at(row);
    if (!configure(&entry) || row >= conf->repos().size())
        return;
    conf->repos()[row] = entry;
    repoModel->rowChanged(row);
    configChanged();
}

void Dialog::add()
{
    Repo::Entry entry;
    if (!configure(&entry))
        return;
    table->setCurrentRow(-1);
    int const row = repoModel->addRow(entry);
    table->setCurrentRow(row);
    configChanged();
}

void Dialog::copy()
{
    int const row = table->currentRow();
    if (row < 0)
        return;
    Repo::Entry entry = conf->repos().at(row);
    if (!configure(&entry))
        return;
    table->setCurrentRow(-1);
    int const added = repoModel->addRow(entry);
    table->setCurrentRow(added);
    configChanged();
}

void Dialog::remove()
{
    QList<int> rows;
    for (QModelIndex const& index : table->selectedRows())
        rows.append(index.row());
    if (rows.isEmpty() && table->currentRow() >= 0)
        rows.append(table->currentRow());
    if (rows.isEmpty())
        return;
    table->setCurrentRow(-1);
    // From the highest, so that the rows still to go keep their numbers.
    std::sort(rows.begin(), rows.end(), std::greater<int>());
    for (int row : std::as_const(rows))
        repoModel->removeRow(row);
    configChanged();
}

void Dialog::resetAll()
{
    QString const id = currentId();
    bool const hadCurrent = table->currentRow() >= 0;
    conf->sessionEnabled() = sessionAtShow;
    conf->read(this);
    repoModel->reset();
    if (hadCurrent)
        selectId(id);
    clearFlags();
    refresh();
}

bool Dialog::apply()
{
    QString const id = currentId();
    bool const hadCurrent = table->currentRow() >= 0;
    Repo::EntryList const before = conf->repos();
    // Added and edited repositories must be ones dnf will take.
    bool const written = conf->write(this, true);
    // Even a refused write may have dropped what the user agreed to drop,
    // and names the files of new entries.
    if (written || conf->repos() != before) {
        repoModel->reset();
        if (hadCurrent)
            selectId(id);
    }
    if (written) {
        configHasChanged = false;
        applied = true;
        // Reset All and Cancel go back to what was applied last.
        sessionAtShow = conf->sessionEnabled();
    }
    refresh();
    return written;
}

void Dialog::ok()
{
    if (!configHasChanged || apply())
        accept();
}

void Dialog::cancel()
{
    reject();
}

void Dialog::reject()
{
    if (isVisible())
        resetAll();
    HDialog::reject();
}

} // namespace RepoEditor
