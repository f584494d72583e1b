#pragma once

#include "repo/RepoEntry.h"
#include "widgets/HDialog.h"

#include <QHash>
#include <QString>

class HFrameLabel;
class QModelIndex;
class QPushButton;
class YumConfIO;
class YumIO;

namespace RepoEditor
{
class ConfigDialog;
class Model;
class SortFilterProxyModel;
class View;

// The repository editor: every configured repository, enabled for the
// session or permanently, added, copied, edited, removed and written back.
// Edits live in YumConfIO's list until Apply writes them; each showing starts
// from a fresh read of the files, and refuses to show when that fails.
class Dialog : public HDialog
{
    Q_OBJECT

public:
    Dialog(YumIO* yum, YumConfIO* conf, QWidget* parent = nullptr);

    // At start-up the main window waits for the editor to close before it
    // collects: closing then reports a change whatever happened.
    void setStartup(bool startup);

    View* view() const { return table; }
    Model* model() const { return repoModel; }
    ConfigDialog* configDialog() const { return configurator; }

Q_SIGNALS:
    // Emitted after the dialog was hidden when the files were written, a
    // session state was toggled, or at start-up.
    void reposChanged();

public Q_SLOTS:
    void browse();
    // Edits the current row, or the row of the model's `index` when valid.
    void edit();
    void edit(QModelIndex const& index);
    void add();
    void copy();
    // Removes the selected rows, or the current one when none is selected.
    void remove();
    void resetAll();
    // Writes the files; false, with every edit kept, when that fails.
    bool apply();
    void ok();
    void cancel();
    // Escape and the window's close button cancel too.
    void reject() override;

    void useChanged();
    void configChanged();
    void currentChanged(int previous, int current);

protected:
    bool aboutToShow() override;

private:
    // Hands `entry` to the configuration dialog; true when it was accepted.
    bool configure(Repo::Entry* entry);
    void refresh();
    void clearFlags();
    // Makes current the last row with the identifier; no row when none has it.
    void selectId(QString const& id);
    QString currentId() const;

    YumIO* yum;
    YumConfIO* conf;
    Model* repoModel;
    SortFilterProxyModel* proxy;
    View* table;
    ConfigDialog* configurator;
    HFrameLabel* statusLabel;
    QPushButton* browseButton;
    QPushButton* editButton;
    QPushButton* copyButton;
    QPushButton* removeButton;
    QPushButton* resetAllButton;
    QPushButton* applyButton;

    // The session table as it was when the dialog was shown.
    QHash<QString, bool> sessionAtShow;
    bool useHasChanged = false;
    bool configHasChanged = false;
    bool applied = false;
    bool startup = false;
};
} // namespace RepoEditor
