#pragma once

#include "packagetable/PackageTableTypes.h"
#include "repo/YumRepoEnabled.h"

#include <QHash>
#include <QIcon>
#include <QList>
#include <QMainWindow>
#include <QString>
#include <memory>

class QAction;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;
class HMenu;
class HProgressBar;

namespace Log
{
class EntryList;
class Window;
} // namespace Log

// The program's one top-level window: menus, the filter bar, the package
// table and the two progress bars.
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

    bool startRepoEditor;
    bool startLog;
    QList<YumRepoEnabled> repoRequests;
    QHash<QString, bool> repoEnable;

public Q_SLOTS:
    void initialize();
    void quit();
    void displayLog();
    void about();
    void modeChanged(int mode);
    void collectedExtraData();

private:
    void createMenuBar();
    void createMainArea();

    QIcon updateIcon;
    QIcon clearIcon;
    QIcon applyIcon;

    bool initialized;

    HMenu* programMenu;
    QAction* quitAction;
    HMenu* windowsMenu;
    QAction* logAction;
    HMenu* helpMenu;
    QAction* aboutAction;

    QWidget* mainPanel;
    QComboBox* modeBox;
    QLineEdit* regexpEdit;
    QPushButton* filterButton;
    QComboBox* stateBox;
    QCheckBox* groupsCheck;
    QCheckBox* dupsCheck;

    HProgressBar* itemBar;
    HProgressBar* totalBar;

    std::unique_ptr<Log::EntryList> log;
    Log::Window* logWindow;
};
