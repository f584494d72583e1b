#include "packagetable/PackageTableDescribeInstanceArea.h"

#include "app/Fonts.h"
#include "packagetable/PackageTableDescribeDialog.h"
#include "packagetable/PackageTableDescribeInstanceRepoDialog.h"
#include "repo/YumConfIO.h"
#include "widgets/TextDialog.h"
#include "yumio/YumIO.h"

#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace PackageTable::Describe::Instance
{

namespace
{
QLabel* valueLabel(QString const& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    // Packagers are written "Name <address>": never rich text.
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    return label;
}
} // namespace

Area::Area(Dialog* dialog, QVBoxLayout* layout, YumIO* session, Package::Entry const& entry,
    YumConfIO* confIO, bool first)
    : QObject(dialog)
    , dialog(dialog)
    , session(session)
    , entry(&entry)
    , confIO(confIO)
    , parent(layout->parentWidget())
{
    auto* frame = new QFrame(parent);
    grid = new QGridLayout(frame);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setColumnStretch(1, 1);
    layout->addWidget(frame);

    auto* state = new QLabel(session->getState(entry), frame);
    state->setFont(Fonts::makeBold(state->font()));
    grid->addWidget(state, row++, 0, 1, 2, Qt::AlignLeft | Qt::AlignTop);

    if (entry.kind == Package::Group) {
        addPair(tr("Kind"), session->getKind(entry));
        addPair(tr("Required Groups"), session->getRequiredGroups(entry));
        addPair(tr("Default MetaPkgs"), session->getDefaultMetaPkgs(entry));
        addPair(tr("Optional MetaPkgs"), session->getOptionalMetaPkgs(entry));
        addPair(tr("Mandatory Packages"), session->getMandatoryPkgs(entry));
        addPair(tr("Default Packages"), session->getDefaultPkgs(entry));
        addPair(tr("Optional Packages"), session->getOptionalPkgs(entry));
        addPair(tr("Conditional Packages"), session->getConditionalPkgs(entry));
        return;
    }

    if (first) {
        addPair(tr("Kind"), session->getKind(entry));
        addPair(tr("Version"), session->getVerRel(entry));
        // What comes from the rpm database has no repository to speak of.
        if (session->getRepo(entry) != QLatin1String("installed"))
            addRepository(session->getRepo(entry));
        addPair(tr("Architecture"), session->getArch(entry));
        addPair(tr("Size"), session->getSize(entry));
        addPair(tr("Summary"), session->getSummary(entry));
        addPair(tr("Description"), session->getDescription(entry));
        addPair(tr("Group"), session->getGroup(entry));
        addPair(tr("Vendor"), session->getVendor(entry));
        addPair(tr("Build Time"), session->getBuildTime(entry));
        addPair(tr("Build Host"), session->getBuildHost(entry));
        addPair(tr("Install Time"), session->getInstallTime(entry));
        addPair(tr("Binary RPM"), session->getBinaryRpm(entry));
        addPair(tr("Source RPM"), session->getSourceRpm(entry));
        addPair(tr("License"), session->getLicense(entry));
        addPair(tr("Packager"), session->getPackager(entry));
        addPair(tr("URL"), session->getUrl(entry));
        addPair(tr("Relocations"), session->getRelocations(entry));
        addPair(tr("Provides"), session->getProvides(entry));
        addPair(tr("Requires"), session->getRequires(entry));
        addPair(tr("Conflicts"), session->getConflicts(entry));
        addPair(tr("Obsoletes"), session->getObsoletes(entry));
    } else {
        addPair(tr("Version"), session->getVerRel(entry));
        addPair(tr("Architecture"), session->getArch(entry));
        addPair(tr("Size"), session->getSize(entry));
        addPair(tr("Build Time"), session->getBuildTime(entry));
        addPair(tr("Packager"), session->getPackager(entry));
    }
    files.text = tr("Show");
    changeLog.text = tr("Show");
    addButton(files, tr("Files"), &Area::handleFiles);
    addButton(changeLog, tr("Change Log"), &Area::handleChangeLog);
    updateButtons();
}

void Area::addPair(QString const& name, QString const& value)
{
    if (value.isEmpty())
        return;
    QWidget* frame = grid->parentWidget();
    grid->addWidget(new QLabel(tr("%1:").arg(name), frame), row, 0, Qt::AlignRight | Qt::AlignTop);
    // Descriptions come wrapped by their packagers; a label that wraps again
    // asks the scroll area for too little height.
    grid->addWidget(valueLabel(value, frame), row, 1, Qt::AlignLeft | Qt::AlignTop);
    ++row;
}

Repo::Entry const* Area::configuredRepo() const
{
    if (!confIO)
        return nullptr;
    QString const id = session->getRepo(*entry);
    for (Repo::Entry const& repo : confIO->repos()) {
        if (repo.id == id)
            return &repo;
    }
    return nullptr;
}

void Area::addRepository(QString const& id)
{
    if (id.isEmpty())
        return;
    QWidget* frame = grid->parentWidget();
    grid->addWidget(
        new QLabel(tr("%1:").arg(tr("Repository")), frame), row, 0, Qt::AlignRight | Qt::AlignVCenter);
    auto* line = new QHBoxLayout;
    line->addWidget(valueLabel(id, frame));
    // A repository no longer configured has nothing to detail.
    if (configuredRepo()) {
        auto* details = new QPushButton(tr("Details"), frame);
        details->setAutoDefault(false);
        connect(details, &QPushButton::clicked, this, &Area::handleRepo);
        line->addWidget(details);
    }
    line->addStretch(1);
    grid->addLayout(line, row, 1);
    ++row;
}

void Area::handleRepo()
{
    Repo::Entry const* repo = configuredRepo();
    if (!repo)
        return;
    if (!repoDialog)
        repoDialog = new RepoDialog(session, parent);
    repoDialog->config(*repo);
    repoDialog->exec();
}

void Area::addPair(QString const& name, QStringList const& values)
{
    addPair(name, values.join(QLatin1Char('\n')));
}

void Area::addButton(Button& button, QString const& name, void (Area::*handler)())
{
    QWidget* frame = grid->parentWidget();
    grid->addWidget(new QLabel(tr("%1:").arg(name), frame), row, 0, Qt::AlignRight | Qt::AlignVCenter);
    button.button = new QPushButton(button.text, frame);
    button.button->setAutoDefault(false);
    connect(button.button, &QPushButton::clicked, this, handler);
    grid->addWidget(button.button, row, 1, Qt::AlignLeft | Qt::AlignTop);
    ++row;
}

void Area::updateButtons()
{
    updateButton(files, session->fileListsLoaded());
    updateButton(changeLog, session->otherDataLoaded());
}

void Area::updateButton(Button const& button, bool loaded)
{
    if (!button.button)
        return;
    // An installed package reads both from its rpm header.
    bool const mustLoad = entry->state != Package::Installed && !loaded;
    button.button->setText(mustLoad ? tr("%1 (must load extra data)").arg(button.text) : button.text);
}

void Area::handleFiles()
{
    dialog->setReady(false);
    QString const text = session->getFiles(*entry).join(QLatin1Char('\n'));
    dialog->updateButtons();
    showText(tr("%1 %2 File List").arg(entry->name, entry->verRel), text);
    dialog->setReady(true);
}

void Area::handleChangeLog()
{
    dialog->setReady(false);
    QString const text = session->getChangeLog(*entry);
    dialog->updateButtons();
    showText(tr("%1 %2 Change Log").arg(entry->name, entry->verRel), text);
    dialog->setReady(true);
}

void Area::showText(QString const& title, QString const& text)
{
    if (!textDialog)
        textDialog = new TextDialog(parent);
    textDialog->setWindowTitle(title);
    textDialog->setText(text);
    textDialog->exec();
}

QList<QPair<QString, QString>> Area::rows() const
{
    auto text = [](QWidget const* widget) {
        if (auto const* label = qobject_cast<QLabel const*>(widget))
            return label->text();
        if (auto const* button = qobject_cast<QPushButton const*>(widget))
            return button->text();
        return QString();
    };
    QList<QPair<QString, QString>> result;
    for (int r = 0; r < grid->rowCount(); ++r) {
        QLayoutItem const* label = grid->itemAtPosition(r, 0);
        QLayoutItem* value = grid->itemAtPosition(r, 1);
        if (!label)
            continue;
        if (value == label) // the header spans both columns
            result.append({ QString(), text(label->widget()) });
        else if (value && value->layout()) {
            QStringList parts;
            for (int i = 0; i < value->layout()->count(); ++i)
                if (QWidget const* widget = value->layout()->itemAt(i)->widget())
                    parts << text(widget);
            result.append({ text(label->widget()), parts.join(QLatin1Char(' ')) });
        } else if (value)
            result.append({ text(label->widget()), text(value->widget()) });
    }
    return result;
}

} // namespace PackageTable::Describe::Instance
