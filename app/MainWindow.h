#pragma once

#include "packagetable/PackageTableTypes.h"
#include "repo/YumRepoEnabled.h"

#include <QHash>
#include <QIcon>
#include <QList>
#include <QMainWindow>
#include <QString>
#include <QStringList>
#include <functional>

class QAction;
class QCloseEvent;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;
class HFrameLabel;
class HMenu;
class HProgressBar;
class YumConfIO;
class YumIO;

namespace Log
{
class Window;
} // namespace Log

namespace RepoEditor
{
class Dialog;
} // namespace RepoEditor

namespace PackageTable
{
class Model;
class SortFilterProxyModel;
class View;
} // namespace PackageTable

// The program's one top-level window and its controller: menus, the filter
// bar, the package table, the action buttons and the two progress bars.  It
// owns the yum session and starts it once the window is on the screen.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    MainWindow();
    ~MainWindow() override;

    // Used by the command line; each acts on its widget only, whose own
    // change signal then does the work.
    void setMode(PackageTable::Mode mode);
    void setRegexp(char const* regexp);
    void setStateFilter(PackageTable::StateFilter filter);
    void setDups(bool dups);
    void setGroups(bool groups);

    QSize sizeHint() const override;
    void setVisible(bool visible) override;

    bool isInitialized() const { return initialized; }
    // The engine could not be started (reported): the program ends with a
    // failure status.
    bool hasStartFailed() const { return startFailed; }
    YumIO* yumSession() const { return session; }

    QIcon updateIcon;
    QIcon clearIcon;
    QIcon applyIcon;

    bool startRepoEditor;
    bool startLog;
    // Quitting ends the process: the session's data is left to its end
    // rather than taken apart (see YumIO::leaveToProcessEnd).
    bool quitEndsProcess = false;
    QList<YumRepoEnabled> repoRequests;
    QHash<QString, bool> repoEnable;
    // Where the Help menu looks for the manual, in order: the installed
    // documentation, then the one built in this build tree.
    QStringList manualDirs;

public Q_SLOTS:
    void resize();
    void refresh();
    void initialize();
    void quit();
    void displayLog();
    void manualHtml();
    void manualPdf();
    void about();
    void filtersearch();
    void currentChanged(int current, int previous);
    void stateChanged(int row = -1);
    void modeChanged(int mode);
    void collectedExtraData();
    void stateFilterChanged(int index);
    void dupsFilterChanged(int state);
    void groupsFilterChanged(int state);
    void setSelected();
    void setUpdateListed();
    void clearActions();
    void apply();
    void yumConfIOChanged();
    void cleanHeaders();
    void cleanPackages();
    void cleanXmlMetadata();
    void cleanPickledCache();
    void cleanSqliteCache();
    void cleanAll();
    void editRepositories(bool startup = false);
    void reposChanged();
    // Quits once nothing runs: at once when idle (asking first when actions
    // are marked and `ask` is set), else when the running operation ends.
    // A transaction is never interrupted.
    void requestQuit(bool ask = true);
    // Stops the running downloads (the Cancel beside the bars).
    void cancelDownloads();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void createMenuBar();
    void createMainArea();
    void setReady(bool ready);
    // Collects the packages anew.  With `keepMarks`, entries that are still
    // there unchanged keep their actions.
    void collectPackages();
    void showRegexpValidity();
    void recollect(bool keepMarks = false);
    void prepareFilterSearch();
    void anyFilterChanged();
    void changeFilter(std::function<void()> const& change);
    void warnConfigure();
    void warnUnlistedActions();
    bool searchMode() const;
    // The number of entries with an action.
    int markedCount() const;
    // Asks whether to go on although the marked actions will be lost.
    bool discardMarks(QString const& question, QString const& button);
    // One of the Cache menu's commands: refused without root, a failure
    // shown with the engine's reasons, and the packages collected anew
    // unless only downloaded package files went.
    void runClean(bool (YumIO::*member)(), bool collectAgain);
    // Asks for the credentials buffet repositories lack; false when the user
    // chose to quit.  `reset` tells whether the engine must read the
    // repositories afresh.
    bool checkAuthentication(bool& reset);
    // Says in the log which --enablerepo/--disablerepo requests name no
    // configured repository.
    void warnUnknownRepos();
    // The path of `relative` in the first of manualDirs that holds it; when
    // none does, says that the manual is not installed and returns "".
    QString manualFile(QString const& relative);

    YumIO* session;
    YumConfIO* yumConfIO;
    bool initialized;
    // The interpreter and the script run: extra data can be loaded.
    bool sessionStarted;
    bool busyCursor;
    bool startFailed = false;
    // A quit waits for the running operation; quitting is under way.
    bool quitPending;
    bool quitting;

    HMenu* programMenu;
    QAction* quitAction;
    HMenu* windowsMenu;
    QAction* logAction;
    HMenu* reposMenu;
    QAction* editReposAction;
    HMenu* cacheMenu;
    QAction* cleanHeadersAction;
    QAction* cleanPackagesAction;
    QAction* cleanXmlMetadataAction;
    QAction* cleanPickledCacheAction;
    QAction* cleanSqliteCacheAction;
    QAction* cleanAllAction;
    RepoEditor::Dialog* repoEditor;
    HMenu* helpMenu;
    QAction* manualHtmlAction;
    QAction* manualPdfAction;
    QAction* aboutAction;

    QWidget* mainPanel;
    QComboBox* modeBox;
    QLineEdit* regexpEdit;
    QPushButton* filterButton;
    QComboBox* stateBox;
    QCheckBox* groupsCheck;
    QCheckBox* dupsCheck;

    PackageTable::Model* model;
    PackageTable::SortFilterProxyModel* proxy;
    PackageTable::View* view;

    QPushButton* describeButton;
    HFrameLabel* warningLabel;
    QPushButton* applyButton;

    HProgressBar* itemBar;
    HProgressBar* totalBar;
    QPushButton* cancelButton;

    Log::Window* logWindow;
};
