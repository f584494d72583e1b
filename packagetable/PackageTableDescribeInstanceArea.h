#pragma once

#include "repo/RepoEntry.h"

#include <QObject>
#include <QString>
#include <QStringList>

class QGridLayout;
class QPushButton;
class QVBoxLayout;
class QWidget;
class TextDialog;
class YumConfIO;
class YumIO;

namespace Package
{
struct Entry;
}

namespace PackageTable::Describe
{

class Dialog;

namespace Instance
{
class RepoDialog;

// One instance's section of the description dialog: a grid of label and
// value rows, with rows whose value is empty left out.  The file list and the
// change log are read only when asked for, since for a package that is not
// installed they need extra repository data loaded first.
class Area : public QObject
{
    Q_OBJECT

public:
    // `first` selects the full set of rows; further instances get a short one.
    Area(Dialog* dialog, QVBoxLayout* layout, YumIO* session, Package::Entry const& entry, YumConfIO* confIO,
        bool first);

    // Brings the "Show" texts up to date with what the session has loaded.
    void updateButtons();

    // The rows in order: label ("Kind:") and value or button text; the
    // header row, the instance's state, has an empty label.
    QList<QPair<QString, QString>> rows() const;
    QPushButton* filesButton() const { return files.button; }
    QPushButton* changeLogButton() const { return changeLog.button; }

public Q_SLOTS:
    void handleFiles();
    void handleChangeLog();
    // Shows the configuration of the package's repository.
    void handleRepo();

private:
    struct Button {
        QString text;
        QPushButton* button = nullptr;
    };

    void addPair(QString const& name, QString const& value);
    // The Repository row, with a Details button while the repository is
    // configured.
    void addRepository(QString const& id);
    Repo::Entry const* configuredRepo() const;
    void addPair(QString const& name, QStringList const& values);
    void addButton(Button& button, QString const& name, void (Area::*handler)());
    void updateButton(Button const& button, bool loaded);
    void showText(QString const& title, QString const& text);

    Dialog* dialog;
    YumIO* session;
    Package::Entry const* entry;
    YumConfIO* confIO;
    QWidget* parent;
    TextDialog* textDialog = nullptr;
    RepoDialog* repoDialog = nullptr;
    QGridLayout* grid;
    int row = 0;
    Button files;
    Button changeLog;
};

} // namespace Instance

} // namespace PackageTable::Describe
