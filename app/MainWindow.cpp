#include "app/MainWindow.h"

#include "app/Share.h"
#include "log/LogWindow.h"
#include "widgets/HMenu.h"
#include "widgets/HProgressBar.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <sys/utsname.h>

MainWindow::MainWindow()
    : QMainWindow(nullptr)
    , startRepoEditor(false)
    , startLog(false)
    , updateIcon(Share::absolute(QStringLiteral("icons/update.png")))
    , clearIcon()
    , applyIcon(Share::absolute(QStringLiteral("icons/check.png")))
    , initialized(false)
    , log(std::make_unique<Log::EntryList>())
    , logWindow(nullptr)
{
    setObjectName(QStringLiteral("MainWindow"));
    struct utsname names;
    QString const node = ::uname(&names) == 0 ? QString::fromLocal8Bit(names.nodename) : QString();
    setWindowTitle(tr("SORVAN - %1").arg(node));

    createMenuBar();
    createMainArea();
}

MainWindow::~MainWindow() = default;

void MainWindow::createMenuBar()
{
    programMenu = new HMenu(tr("&Program"), this);
    programMenu->setObjectName(QStringLiteral("programMenu"));
    quitAction = programMenu->addAction(tr("&Quit"), this, &MainWindow::quit);
    quitAction->setShortcut(QKeySequence(tr("Ctrl+Q")));
    menuBar()->addMenu(programMenu);

    windowsMenu = new HMenu(tr("&Windows"), this);
    windowsMenu->setObjectName(QStringLiteral("windowsMenu"));
    logAction = windowsMenu->addAction(tr("&Log"), this, &MainWindow::displayLog);
    logAction->setShortcut(QKeySequence(tr("Ctrl+L")));
    menuBar()->addMenu(windowsMenu);

    helpMenu = new HMenu(tr("&Help"), this);
    helpMenu->setObjectName(QStringLiteral("helpMenu"));
    aboutAction = helpMenu->addAction(tr("&About"), this, &MainWindow::about);
    menuBar()->addMenu(helpMenu);
}

void MainWindow::createMainArea()
{
    QWidget* central = new QWidget(this);
    QVBoxLayout* centralLayout = new QVBoxLayout(central);

    mainPanel = new QWidget(central);
    mainPanel->setObjectName(QStringLiteral("mainPanel"));
    QVBoxLayout* panelLayout = new QVBoxLayout(mainPanel);
    panelLayout->setContentsMargins(0, 0, 0, 0);

    QHBoxLayout* filterBar = new QHBoxLayout;
    modeBox = new QComboBox(mainPanel);
    modeBox->setObjectName(QStringLiteral("modeBox"));
    modeBox->addItem(tr("Filter"), 0);
    modeBox->addItem(tr("Search"), 1);
    filterBar->addWidget(modeBox);

    regexpEdit = new QLineEdit(QStringLiteral(".*"), mainPanel);
    regexpEdit->setObjectName(QStringLiteral("regexpEdit"));
    filterBar->addWidget(regexpEdit, 1);

    filterButton = new QPushButton(mainPanel);
    filterButton->setObjectName(QStringLiteral("filterButton"));
    filterButton->setDefault(true);
    filterBar->addWidget(filterButton);

    stateBox = new QComboBox(mainPanel);
    stateBox->setObjectName(QStringLiteral("stateBox"));
    stateBox->addItem(tr("View Updatable"));
    stateBox->addItem(tr("View Installable"));
    stateBox->addItem(tr("View Removable"));
    stateBox->addItem(tr("View All"));
    filterBar->addWidget(stateBox);

    dupsCheck = new QCheckBox(tr("Include Duplicates"), mainPanel);
    dupsCheck->setObjectName(QStringLiteral("dupsCheck"));
    dupsCheck->setChecked(true);
    filterBar->addWidget(dupsCheck);

    groupsCheck = new QCheckBox(tr("Include Groups"), mainPanel);
    groupsCheck->setObjectName(QStringLiteral("groupsCheck"));
    groupsCheck->setChecked(false);
    filterBar->addWidget(groupsCheck);
    panelLayout->addLayout(filterBar);

    connect(modeBox, &QComboBox::currentIndexChanged, this, &MainWindow::modeChanged);

    stateBox->setToolTip(
        tr("Filter for those packages which are eligible for updating,\nfor installing, or for "
           "removing; or show all packages"));
    dupsCheck->setToolTip(
        tr("Whether or not filter should include packages with duplicate names.\nIf unchecked, "
           "the package with the architecture closest to the base architecture is shown."));
    groupsCheck->setToolTip(tr("Whether or not filter should include package groups"));

    itemBar = new HProgressBar(central);
    itemBar->setObjectName(QStringLiteral("itemBar"));
    totalBar = new HProgressBar(central);
    totalBar->setObjectName(QStringLiteral("totalBar"));

    centralLayout->addWidget(mainPanel, 1);
    centralLayout->addWidget(itemBar);
    centralLayout->addWidget(totalBar);
    setCentralWidget(central);

    // The panel appears once the packages are collected.
    mainPanel->hide();
    collectedExtraData();
    modeChanged(0);
}

void MainWindow::setMode(PackageTable::Mode mode)
{
    modeBox->setCurrentIndex(int(mode));
}

void MainWindow::setRegexp(char const* regexp)
{
    regexpEdit->setText(QString::fromLocal8Bit(regexp));
}

void MainWindow::setStateFilter(PackageTable::StateFilter filter)
{
    stateBox->setCurrentIndex(int(filter));
}

void MainWindow::setDups(bool dups)
{
    dupsCheck->setChecked(dups);
}

void MainWindow::setGroups(bool groups)
{
    groupsCheck->setChecked(groups);
}

QSize MainWindow::sizeHint() const
{
    QSize hint = QMainWindow::sizeHint();
    if (hint.width() < 768)
        hint.setWidth(768);
    return hint;
}

void MainWindow::setVisible(bool visible)
{
    QMainWindow::setVisible(visible);
    // Connecting to the package manager starts once the window is on screen.
    if (visible && !initialized)
        QTimer::singleShot(0, this, &MainWindow::initialize);
}

void MainWindow::initialize()
{
    if (initialized)
        return;
    if (startLog)
        displayLog();
    initialized = true;
}

void MainWindow::quit()
{
    if (logWindow && logWindow->isVisible())
        logWindow->hide();
    close();
}

void MainWindow::displayLog()
{
    if (!logWindow)
        logWindow = new Log::Window(*log, this);
    logWindow->show();
    logWindow->raise();
    logWindow->activateWindow();
}

void MainWindow::about()
{
    QMessageBox::about(this, tr("About"),
        tr("<h3>SORVAN %1</h3><hr><p>SORVAN, Quorvel, is a graphical user interface which allows a user to "
           "make "
           "modifications to the installed rpm packages on a system.</p><p>Capabilities:<p><ul><li>Install "
           "new "
           "packages or update existing packages by downloading them from a yum package "
           "repository</li><li>Remove "
           "existing packages.</li><li>Configure sets of repositories from which to obtain new and updated "
           "packages.</li><li>Examine installed packages or packages available for installation or "
           "update</li>"
           "<li>Install, update, or remove groups of packages</li><li>Install or update suites of "
           "packages</li></ul>")
                .arg(QStringLiteral(SORVAN_VERSION))
            + tr("<p>For more information see %1.</p>").arg(QStringLiteral("https://quorvel.com/sorvan")));
}

void MainWindow::modeChanged(int mode)
{
    if (mode == PackageTable::Search) {
        filterButton->setText(tr("Search"));
        regexpEdit->setToolTip(tr("Regular expression to compare to all fields of a package"));
        filterButton->setToolTip(tr("Perform the search for the regular expression specified to the left"));
    } else {
        filterButton->setText(tr("Filter"));
        regexpEdit->setToolTip(tr("Regular expression filter matching textual fields visible in the table"));
        filterButton->setToolTip(tr("Apply the filter specified to the left"));
    }
}

void MainWindow::collectedExtraData()
{
    QString const text = tr("Specify the method for using a regular expression to select packages in the "
                            "table:\n\tFilter uses the "
                            "textual fields visible in the table, as if they were separated by "
                            "spaces.\n\tSearch uses all fields in "
                            "packages, including list of Files, Change Log, Requires, "
                            "etc.,\n\tindependently.  It is considerably "
                            "slower.");
    // Nothing is loaded yet: the file lists and change logs come with the session.
    modeBox->setToolTip(tr("%1 (Must load extra data.)").arg(text));
}
