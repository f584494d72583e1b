#include "app/MainWindow.h"

#include "app/Colors.h"
#include "app/Execute.h"
#include "app/Share.h"
#include "log/LogWindow.h"
#include "packagetable/PackageTableModel.h"
#include "packagetable/PackageTableSortFilterProxyModel.h"
#include "packagetable/PackageTableView.h"
#include "repo/RepoAuthChecker.h"
#include "repo/RepoBrowse.h"
#include "repo/RepoEditorDialog.h"
#include "repo/YumConfIO.h"
#include "widgets/HFrameLabel.h"
#include "widgets/HMenu.h"
#include "widgets/HProgressBar.h"
#include "yumio/Python.h"
#include "yumio/YumIO.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFile>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <sys/utsname.h>
#include <unistd.h>

MainWindow::MainWindow()
    : QMainWindow(nullptr)
    , updateIcon(Share::absolute(QStringLiteral("icons/update.png")))
    , clearIcon()
    , applyIcon(Share::absolute(QStringLiteral("icons/check.png")))
    , startRepoEditor(false)
    , startLog(false)
    , manualDirs { Share::installedDir(
                       QStringLiteral(SORVAN_DOC_INSTALLED), QStringLiteral(SORVAN_DOC_FROM_BINDIR)),
        QStringLiteral(SORVAN_DOC_BUILT) }
    , session(nullptr)
    , yumConfIO(nullptr)
    , initialized(false)
    , sessionStarted(false)
    , busyCursor(false)
    , quitPending(false)
    , quitting(false)
    , repoEditor(nullptr)
    , logWindow(nullptr)
{
    setObjectName(QStringLiteral("MainWindow"));
    struct utsname names;
    QString const node = ::uname(&names) == 0 ? QString::fromLocal8Bit(names.nodename) : QString();
    setWindowTitle(tr("SORVAN - %1").arg(node));

    createMenuBar();
    createMainArea();
}

// The session is deleted by quit(); a window that never quit (a test's)
// takes it along through its children.
MainWindow::~MainWindow() = default;

void MainWindow::createMenuBar()
{
    programMenu = new HMenu(tr("&Program"), this);
    programMenu->setObjectName(QStringLiteral("programMenu"));
    quitAction = programMenu->addAction(tr("&Quit"), this, [this] { requestQuit(true); });
    quitAction->setShortcut(QKeySequence(tr("Ctrl+Q")));
    menuBar()->addMenu(programMenu);

    windowsMenu = new HMenu(tr("&Windows"), this);
    windowsMenu->setObjectName(QStringLiteral("windowsMenu"));
    logAction = windowsMenu->addAction(tr("&Log"), this, &MainWindow::displayLog);
    logAction->setShortcut(QKeySequence(tr("Ctrl+L")));
    menuBar()->addMenu(windowsMenu);

    reposMenu = new HMenu(tr("&Repositories"), this);
    reposMenu->setObjectName(QStringLiteral("reposMenu"));
    editReposAction = reposMenu->addAction(tr("&Edit Configuration"), this, [this] { editRepositories(); });
    editReposAction->setShortcut(QKeySequence(tr("Ctrl+E")));
    menuBar()->addMenu(reposMenu);

    cacheMenu = new HMenu(tr("&Cache"), this);
    cacheMenu->setObjectName(QStringLiteral("cacheMenu"));
    cacheMenu->setToolTipsVisible(true);
    cleanHeadersAction = cacheMenu->addAction(tr("Clean Headers"), this, &MainWindow::cleanHeaders);
    cleanPackagesAction = cacheMenu->addAction(tr("Clean Packages"), this, &MainWindow::cleanPackages);
    cleanXmlMetadataAction
        = cacheMenu->addAction(tr("Clean XML Metadata"), this, &MainWindow::cleanXmlMetadata);
    cleanPickledCacheAction
        = cacheMenu->addAction(tr("Clean Pickled Data"), this, &MainWindow::cleanPickledCache);
    cleanSqliteCacheAction
        = cacheMenu->addAction(tr("Clean Sqlite Data"), this, &MainWindow::cleanSqliteCache);
    cacheMenu->addSeparator();
    cleanAllAction = cacheMenu->addAction(tr("Clean All"), this, &MainWindow::cleanAll);
    menuBar()->addMenu(cacheMenu);

    helpMenu = new HMenu(tr("&Help"), this);
    helpMenu->setObjectName(QStringLiteral("helpMenu"));
    manualHtmlAction = helpMenu->addAction(tr("Manual (html)"), this, &MainWindow::manualHtml);
    manualHtmlAction->setShortcut(QKeySequence(tr("F1")));
    manualPdfAction = helpMenu->addAction(tr("Manual (PDF)"), this, &MainWindow::manualPdf);
    helpMenu->addSeparator();
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

    // The filter bar.
    QHBoxLayout* filterBar = new QHBoxLayout;
    modeBox = new QComboBox(mainPanel);
    modeBox->setObjectName(QStringLiteral("modeBox"));
    modeBox->addItem(tr("Filter"), 0);
    modeBox->addItem(tr("Search"), 1);
    filterBar->addWidget(modeBox);

    regexpEdit = new QLineEdit(QStringLiteral(".*"), mainPanel);
    regexpEdit->setObjectName(QStringLiteral("regexpEdit"));
    regexpEdit->setClearButtonEnabled(true);
    // No label stands beside the field and its clear button shows only an
    // icon: a screen reader needs names for both.
    regexpEdit->setAccessibleName(tr("Regular expression"));
    for (QToolButton* clear : regexpEdit->findChildren<QToolButton*>())
        clear->setAccessibleName(tr("Clear"));
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
    connect(regexpEdit, &QLineEdit::returnPressed, this, &MainWindow::filtersearch);
    // Emptying the field (its clear button) drops the filter at once.
    connect(regexpEdit, &QLineEdit::textEdited, this, [this](QString const& text) {
        if (text.isEmpty())
            filtersearch();
    });
    connect(filterButton, &QPushButton::clicked, this, &MainWindow::filtersearch);
    connect(stateBox, &QComboBox::currentIndexChanged, this, &MainWindow::stateFilterChanged);
    connect(dupsCheck, &QCheckBox::stateChanged, this, &MainWindow::dupsFilterChanged);
    connect(groupsCheck, &QCheckBox::stateChanged, this, &MainWindow::groupsFilterChanged);

    // The session starts nothing until initialize().
    session = new YumIO(this);
    connect(session, &YumIO::collectedExtraData, this, &MainWindow::collectedExtraData);

    model = new PackageTable::Model(session, mainPanel);
    model->setBrowser([](YumIO* yum, Package::Entry const& entry, YumConfIO* conf, QWidget* parent) {
        RepoBrowse::browse(parent, entry.repo, yum, conf);
    });
    proxy = new PackageTable::SortFilterProxyModel(PackageTable::Updatable, true, false, session, mainPanel);
    proxy->setSourceModel(model);
    view = new PackageTable::View(model, proxy, mainPanel);
    view->setObjectName(QStringLiteral("view"));
    view->setAccessibleName(tr("Packages"));
    panelLayout->addWidget(view, 1);
    connect(
        view, qOverload<int, int>(&PackageTable::View::currentChanged), this, &MainWindow::currentChanged);
    connect(view, &PackageTable::View::stateChanged, this, &MainWindow::stateChanged);

    // The button row.
    QHBoxLayout* buttons = new QHBoxLayout;
    describeButton = new QPushButton(tr("&Describe"), mainPanel);
    describeButton->setObjectName(QStringLiteral("describeButton"));
    describeButton->setEnabled(false);
    describeButton->setToolTip(
        tr("Pop up a window with a detailed description of the currently selected package"));
    connect(describeButton, &QPushButton::clicked, view, &PackageTable::View::describe);
    buttons->addWidget(describeButton);
    buttons->addStretch(1);

    QPushButton* resizeButton = new QPushButton(tr("Re&size"), mainPanel);
    resizeButton->setObjectName(QStringLiteral("resizeButton"));
    resizeButton->setToolTip(tr("Resize the columns and window to optimal values"));
    connect(resizeButton, &QPushButton::clicked, this, &MainWindow::resize);
    buttons->addWidget(resizeButton);

    QPushButton* refreshButton = new QPushButton(tr("Re&fresh"), mainPanel);
    refreshButton->setObjectName(QStringLiteral("refreshButton"));
    refreshButton->setToolTip(tr("Refresh the list of installed packages and packages available for "
                                 "update.\nUse this to check for new "
                                 "updates in repositories, or if any packages were installed manually."));
    connect(refreshButton, &QPushButton::clicked, this, &MainWindow::refresh);
    buttons->addWidget(refreshButton);

    QPushButton* selectedButton = new QPushButton(tr("Set &Install/Update of Selected"), mainPanel);
    selectedButton->setObjectName(QStringLiteral("selectedButton"));
    selectedButton->setToolTip(
        tr("Sets the Action for all selected packages which are Not Installed to Install, and\nsets the "
           "Action for "
           "all selected packages which are Installed but Out-of-date to Update.\nDoes not Apply Actions "
           "automatically."));
    connect(selectedButton, &QPushButton::clicked, this, &MainWindow::setSelected);
    buttons->addWidget(selectedButton);

    QPushButton* updateListedButton = new QPushButton(updateIcon, tr("Set &Update of Listed"), mainPanel);
    updateListedButton->setObjectName(QStringLiteral("updateListedButton"));
    updateListedButton->setToolTip(tr("Sets the Action to Update for any packages which are Installed but "
                                      "Out-of-date,\nand which are currently "
                                      "listed based on the the Mode, Filter, Search, State, Duplicates, and "
                                      "Groups settings.\nDoes not Apply "
                                      "Actions automatically."));
    connect(updateListedButton, &QPushButton::clicked, this, &MainWindow::setUpdateListed);
    buttons->addWidget(updateListedButton);

    QPushButton* clearButton = new QPushButton(clearIcon, tr("&Clear Actions"), mainPanel);
    clearButton->setObjectName(QStringLiteral("clearButton"));
    clearButton->setToolTip(tr("Clears all specified Actions (Updates, Installs, and Removals)"));
    connect(clearButton, &QPushButton::clicked, this, &MainWindow::clearActions);
    buttons->addWidget(clearButton);

    warningLabel = new HFrameLabel(mainPanel);
    warningLabel->setObjectName(QStringLiteral("warningLabel"));
    warningLabel->setPalette(Colors::makeWarning(warningLabel->palette()));
    warningLabel->setAlignment(Qt::AlignCenter);
    buttons->addWidget(warningLabel);

    applyButton = new QPushButton(applyIcon, tr("&Apply Actions"), mainPanel);
    applyButton->setObjectName(QStringLiteral("applyButton"));
    applyButton->setEnabled(false);
    applyButton->setToolTip(tr("Applies the specified Actions (Updates, Installs, and Removals)"));
    connect(applyButton, &QPushButton::clicked, this, &MainWindow::apply);
    buttons->addWidget(applyButton);
    panelLayout->addLayout(buttons);
    warnConfigure();

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
    // Beside the bars, a way out of downloads that stall; shown only while
    // a download runs.
    cancelButton = new QPushButton(tr("Cancel &Download"), central);
    cancelButton->setObjectName(QStringLiteral("cancelDownloadButton"));
    cancelButton->setToolTip(tr("Stop the downloads: the package list is read from the metadata already in "
                                "the cache, and no package is installed, updated or removed"));
    cancelButton->hide();
    connect(cancelButton, &QPushButton::clicked, this, &MainWindow::cancelDownloads);
    connect(session, &YumIO::downloadsCancellable, this, [this](bool on) {
        cancelButton->setVisible(on);
        cancelButton->setEnabled(on);
    });
    auto* barsLayout = new QGridLayout;
    barsLayout->addWidget(itemBar, 0, 0);
    barsLayout->addWidget(totalBar, 1, 0);
    barsLayout->addWidget(cancelButton, 0, 1, 2, 1);
    centralLayout->addWidget(mainPanel, 1);
    centralLayout->addLayout(barsLayout);
    setCentralWidget(central);
    session->setup(this, totalBar, itemBar);

    // The panel appears once the packages are collected.
    mainPanel->hide();
    collectedExtraData();
    modeChanged(0);
}

void MainWindow::warnConfigure()
{
    // The label always takes the room of the warning, so that showing and
    // hiding it never moves the buttons.
    warningLabel->setText(tr("Unlisted Actions"));
    warningLabel->setFixedSize(warningLabel->sizeHint());
    warningLabel->setText(QString());
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
    // Talking to the package manager starts once the window is on the screen.
    if (visible && !initialized)
        QTimer::singleShot(0, this, &MainWindow::initialize);
}

bool MainWindow::searchMode() const
{
    return modeBox->currentIndex() == PackageTable::Search;
}

void MainWindow::initialize()
{
    if (initialized || !session)
        return;
    if (!yumConfIO) {
        yumConfIO = new YumConfIO(repoRequests, repoEnable, this);
        connect(yumConfIO, &YumConfIO::changed, this, &MainWindow::yumConfIOChanged);
        model->setYumConfIO(yumConfIO);
    }
    if (startLog)
        displayLog();

    setReady(false);
    if (!session->initialize()) {
        startFailed = true;
        setReady(true);
        quit();
        return;
    }
    sessionStarted = true;
    if (::geteuid() != 0)
        session->log(Log::Warning, 0,
            tr("SORVAN runs without root (user id %1): it lists and searches packages, but applying "
               "actions needs root. Start it as root to change the system, for example with: pkexec sorvan")
                .arg(::geteuid()));
    if (startRepoEditor) {
        // The table waits for the editor: closing it collects, whatever the
        // user did there (reposChanged).
        model->reset();
        setReady(true);
        initialized = true;
        editRepositories(true);
        return;
    }
    // The check reads the configuration, which seeds this run's table of
    // enabled repositories from the files and the --enablerepo/--disablerepo
    // requests; a file that cannot be read has been reported in a box.
    bool reset = false;
    if (!checkAuthentication(reset)) {
        setReady(true);
        quit();
        return;
    }
    if (reset)
        session->clear();
    warnUnknownRepos();
    collectPackages();
    model->reset();
    mainPanel->show();
    view->resizeColumnsToContents();
    filtersearch();
    setReady(true);
    initialized = true;
}

void MainWindow::setReady(bool ready)
{
    {
        // The probes below may ask the interpreter.
        Python::PyGILStateWrapper gil(ready && sessionStarted);
        programMenu->setEnabled(ready);
        quitAction->setEnabled(ready);
        // Until the engine runs, nothing can be cleaned.
        bool const cleanable = ready && sessionStarted && session;
        cacheMenu->setEnabled(cleanable);
        reposMenu->setEnabled(ready && sessionStarted);
        editReposAction->setEnabled(ready && sessionStarted);
        for (QAction* action :
            { cleanHeadersAction, cleanPackagesAction, cleanXmlMetadataAction, cleanAllAction })
            action->setEnabled(cleanable);
        cleanPickledCacheAction->setEnabled(cleanable && session->hasPickledCache());
        cleanSqliteCacheAction->setEnabled(cleanable && session->hasSqliteCache());
        mainPanel->setEnabled(ready);
    }
    // One busy cursor at most: a filter change before start-up asks for
    // "not ready" twice without a "ready" in between.
    if (ready && busyCursor)
        QApplication::restoreOverrideCursor();
    else if (!ready && !busyCursor)
        QApplication::setOverrideCursor(Qt::BusyCursor);
    busyCursor = !ready;
    // Paint the change before a long operation starts.
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    // A quit asked for meanwhile happens once the command's stack has unwound.
    if (ready && quitPending && !quitting)
        QTimer::singleShot(0, this, [this] { requestQuit(false); });
}

namespace
{

// What identifies an entry across two collections.
struct Mark {
    Package::Kind kind;
    Package::State state;
    QString name, arch, verRel, repo;
    Package::Action action;
    bool matches(Package::Entry const& e) const
    {
        return e.kind == kind && e.state == state && e.name == name && e.arch == arch && e.verRel == verRel
            && e.repo == repo;
    }
};

} // namespace

void MainWindow::collectPackages()
{
    session->collect(repoEnable);
    // A repository the user disabled because it could not be reached stays
    // disabled for the rest of the run, as the editor's session column shows.
    for (QString const& id : session->unreachableReposDisabled())
        repoEnable.insert(id, false);
}

void MainWindow::recollect(bool keepMarks)
{
    QList<Mark> marks;
    if (keepMarks)
        for (Package::Entry const* e : *session)
            if (e->action != Package::NoAction)
                marks.append(Mark { e->kind, e->state, e->name, e->arch, e->verRel, e->repo, e->action });
    session->clear();
    collectPackages();
    if (!marks.isEmpty()) {
        for (Package::Entry* e : *session) {
            for (Mark const& mark : std::as_const(marks)) {
                if (mark.matches(*e)) {
                    e->action = mark.action;
                    break;
                }
            }
        }
    }
    model->reset();
}

int MainWindow::markedCount() const
{
    int count = 0;
    if (session)
        for (Package::Entry const* e : *session)
            if (e->action != Package::NoAction)
                ++count;
    return count;
}

bool MainWindow::discardMarks(QString const& question, QString const& button)
{
    int const count = markedCount();
    if (count == 0)
        return true;
    QMessageBox box(QMessageBox::Question, tr("SORVAN"),
        question + QLatin1Char('\n') + tr("%n marked action(s) will be lost.", nullptr, count),
        QMessageBox::NoButton, this);
    QPushButton* go = box.addButton(button, QMessageBox::DestructiveRole);
    QPushButton* keep = box.addButton(QMessageBox::Cancel);
    box.setDefaultButton(keep);
    box.exec();
    return box.clickedButton() == go;
}

void MainWindow::refresh()
{
    if (!discardMarks(tr("Refresh the package list?"), tr("Re&fresh")))
        return;
    setReady(false);
    // The configuration is read at start and after the editor changed it;
    // the engine reads the repository files for itself on every collection.
    recollect();
    warnUnlistedActions();
    stateChanged(-1);
    setReady(true);
}

void MainWindow::resize()
{
    view->resizeColumnsToContents();
}

void MainWindow::cancelDownloads()
{
    if (!session || session->downloadCancelled())
        return;
    session->cancelDownloads();
    cancelButton->setEnabled(false);
    session->log(Log::Warning, 0, tr("Cancelling the downloads."));
}

void MainWindow::requestQuit(bool ask)
{
    if (quitting)
        return;
    // While a command runs (between setReady(false) and setReady(true)) the
    // session may be in use on this very stack, even before a work thread
    // starts: the quit waits for the command's end.
    if (busyCursor || (session && session->isBusy())) {
        // Downloads need not finish for a quit; a transaction does.
        if (!cancelButton->isHidden())
            cancelDownloads();
        if (!quitPending) {
            quitPending = true;
            QString const text = tr("SORVAN will quit as soon as the running operation has finished.\nA "
                                    "transaction that has started is never interrupted.");
            session->log(Log::Warning, 0, text);
            auto* notice
                = new QMessageBox(QMessageBox::Information, tr("SORVAN"), text, QMessageBox::Ok, this);
            notice->setAttribute(Qt::WA_DeleteOnClose);
            notice->setWindowModality(Qt::NonModal);
            notice->show();
        }
        return;
    }
    if (ask && !discardMarks(tr("Quit SORVAN?"), tr("&Quit")))
        return;
    quit();
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    if (quitting) {
        event->accept();
        return;
    }
    // quit() closes the window itself once nothing runs any more.
    event->ignore();
    requestQuit(true);
}

void MainWindow::quit()
{
    if (session && session->isBusy()) {
        requestQuit(false);
        return;
    }
    quitting = true;
    quitPending = false;
    if (session && quitEndsProcess)
        session->leaveToProcessEnd();
    else if (session)
        session->clearEntriesBeforeQuit();
    if (logWindow && logWindow->isVisible())
        logWindow->hide();
    close();
    // The log window shows the session's entries: it goes first.
    delete logWindow;
    logWindow = nullptr;
    delete session;
    session = nullptr;
}

void MainWindow::displayLog()
{
    if (!session)
        return;
    if (!logWindow)
        logWindow = new Log::Window(session->logEntries(), this);
    logWindow->show();
    logWindow->raise();
    logWindow->activateWindow();
}

QString MainWindow::manualFile(QString const& relative)
{
    QStringList looked;
    for (QString const& dir : std::as_const(manualDirs)) {
        QString const path = dir + QLatin1Char('/') + relative;
        if (QFileInfo(path).isFile())
            return path;
        looked << path;
    }
    QMessageBox::warning(this, tr("SORVAN"),
        tr("The manual is not installed.\nSORVAN looked for it in:\n%1").arg(looked.join(QLatin1Char('\n'))));
    return QString();
}

namespace
{

// Starts a viewer detached; Execute reports a viewer that fails.
void startViewer(QWidget* parent, QStringList const& arguments)
{
    QList<QByteArray> storage;
    for (QString const& argument : arguments)
        storage << QFile::encodeName(argument);
    QList<char*> argv;
    for (QByteArray& argument : storage)
        argv << argument.data();
    argv << nullptr;
    Execute::execute(parent, argv.data());
}

} // namespace

void MainWindow::manualHtml()
{
    QString const page = manualFile(QStringLiteral("html/index.html"));
    if (!page.isEmpty())
        startViewer(this, { Share::absolute(QStringLiteral("webbrowser")), page });
}

void MainWindow::manualPdf()
{
    QString const pdf = manualFile(QStringLiteral("manual.pdf"));
    if (!pdf.isEmpty())
        startViewer(
            this, { Share::absolute(QStringLiteral("mimeviewer")), QStringLiteral("application/pdf"), pdf });
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

void MainWindow::prepareFilterSearch()
{
    QString const text = regexpEdit->text();
    if (text.isEmpty() || text == QLatin1String(".*") || !searchMode() || !sessionStarted)
        return;
    // No re-filtering against half-loaded data.
    proxy->setFilter(false);
    session->collectFileLists();
    session->collectOtherData();
    proxy->setFilter(true);
}

void MainWindow::filtersearch()
{
    bool const search = searchMode();
    if (search)
        setReady(false);
    prepareFilterSearch();
    proxy->setFilterRegExp(regexpEdit->text());
    if (search)
        setReady(true);
    showRegexpValidity();
    anyFilterChanged();
}

void MainWindow::showRegexpValidity()
{
    // An expression that does not compile lets every package through, as
    // if there were none: the field says so rather than leave it silent.
    bool const valid = proxy->isExpressionValid();
    QPalette palette = regexpEdit->palette();
    palette.setColor(QPalette::Base,
        valid ? QApplication::palette(regexpEdit).color(QPalette::Base) : QColor(Colors::errorBg()));
    regexpEdit->setPalette(palette);
    QString const note = valid ? QString() : tr("This expression is not valid: every package matches it.");
    QString const tip = searchMode()
        ? tr("Regular expression to compare to all fields of a package")
        : tr("Regular expression filter matching textual fields visible in the table");
    regexpEdit->setToolTip(valid ? tip : tip + QLatin1Char('\n') + note);
    regexpEdit->setAccessibleDescription(note);
}

void MainWindow::modeChanged(int mode)
{
    bool const search = mode == PackageTable::Search;
    if (search)
        setReady(false);
    if (search) {
        filterButton->setText(tr("Search"));
        filterButton->setToolTip(tr("Perform the search for the regular expression specified to the left"));
    } else {
        filterButton->setText(tr("Filter"));
        filterButton->setToolTip(tr("Apply the filter specified to the left"));
    }
    prepareFilterSearch();
    proxy->setMode(PackageTable::Mode(mode));
    showRegexpValidity();
    if (search)
        setReady(initialized);
    anyFilterChanged();
}

// A search re-reads every field: the window is busy meanwhile.
void MainWindow::changeFilter(std::function<void()> const& change)
{
    bool const search = searchMode();
    if (search)
        setReady(false);
    change();
    if (search)
        setReady(initialized);
    anyFilterChanged();
}

void MainWindow::stateFilterChanged(int index)
{
    changeFilter([&] { proxy->setStateFilter(PackageTable::StateFilter(index)); });
}

void MainWindow::dupsFilterChanged(int state)
{
    changeFilter([&] { proxy->setDupsFilter(state != 0); });
}

void MainWindow::groupsFilterChanged(int state)
{
    changeFilter([&] { proxy->setGroupsFilter(state != 0); });
}

void MainWindow::anyFilterChanged()
{
    warnUnlistedActions();
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
    if (session && session->fileListsLoaded() && session->otherDataLoaded())
        modeBox->setToolTip(text);
    else
        modeBox->setToolTip(tr("%1 (Must load extra data.)").arg(text));
}

void MainWindow::warnUnlistedActions()
{
    if (session) {
        int row = 0;
        for (Package::Entry const* entry : *session) {
            if (entry->action != Package::NoAction && !proxy->mapFromSource(model->index(row, 0)).isValid()) {
                // Only a shown warning paints its background.
                warningLabel->setAutoFillBackground(true);
                warningLabel->setText(tr("Unlisted Actions"));
                warningLabel->setToolTip(tr(
                    "Some packages have actions specified, but because of the current\nMode, Filter, Search, "
                    "State, Duplicates, and Groups settings,\nthese packages are not listed "
                    "currently.\nPressing "
                    "Apply will cause these actions to occur nonetheless."));
                return;
            }
            ++row;
        }
    }
    warningLabel->setAutoFillBackground(false);
    warningLabel->setText(QString());
    warningLabel->setToolTip(QString());
}

void MainWindow::stateChanged(int row)
{
    bool any = false;
    if (session) {
        if (row != -1 && row < session->count()) {
            any = (*session)[row]->action != Package::NoAction;
        }
        if (!any) {
            for (Package::Entry const* entry : *session) {
                if (entry->action != Package::NoAction) {
                    any = true;
                    break;
                }
            }
        }
    }
    applyButton->setEnabled(any);
}

void MainWindow::currentChanged(int current, int)
{
    describeButton->setEnabled(current != -1);
}

void MainWindow::setSelected()
{
    model->setSelected(view->selectedRows());
    stateChanged(-1);
    warnUnlistedActions();
}

void MainWindow::setUpdateListed()
{
    proxy->setUpdateListed();
    stateChanged(-1);
}

void MainWindow::clearActions()
{
    model->clearActions();
    warnUnlistedActions();
    stateChanged(-1);
}

void MainWindow::apply()
{
    if (!session || session->isBusy())
        return;
    setReady(false);
    bool const done = session->apply();
    bool const failed = session->lastApplyFailed();
    // What ran (or failed half way) may have changed the system: the table
    // shows it as it is now.  After a failure the actions that still make
    // sense stay marked, so that one fix and another Apply will do.
    // A package may have brought repositories that need credentials.
    bool reset = false;
    if (done && !checkAuthentication(reset)) {
        setReady(true);
        quit();
        return;
    }
    if (done || failed)
        recollect(failed && !done);
    warnUnlistedActions();
    stateChanged(-1);
    setReady(true);
}

void MainWindow::warnUnknownRepos()
{
    for (YumRepoEnabled const& request : std::as_const(repoRequests)) {
        auto const& repos = yumConfIO->repos();
        if (std::none_of(repos.cbegin(), repos.cend(),
                [&](Repo::Entry const& repo) { return request.matches(repo.id); }))
            session->log(Log::Warning, 0,
                tr("No configured repository matches %1=%2; it is ignored.")
                    .arg(request.enable ? QLatin1String("--enablerepo") : QLatin1String("--disablerepo"),
                        request.pattern));
    }
}

bool MainWindow::checkAuthentication(bool& reset)
{
    RepoAuth::Checker const checker(this, yumConfIO);
    reset = checker.reset();
    return !checker.quit();
}

void MainWindow::editRepositories(bool startup)
{
    if (!session || !yumConfIO)
        return;
    if (!repoEditor) {
        repoEditor = new RepoEditor::Dialog(session, yumConfIO, this);
        repoEditor->setObjectName(QStringLiteral("repoEditor"));
        connect(repoEditor, &RepoEditor::Dialog::reposChanged, this, &MainWindow::reposChanged);
    }
    repoEditor->setStartup(startup);
    repoEditor->exec();
    // An editor that could not read the files never showed, so never
    // reported; the table must come all the same.
    if (startup && mainPanel->isHidden())
        reposChanged();
}

void MainWindow::reposChanged()
{
    if (!session || session->isBusy())
        return;
    setReady(false);
    bool reset = false;
    if (!checkAuthentication(reset)) {
        setReady(true);
        quit();
        return;
    }
    // Marks on packages the change left alone stay.
    recollect(true);
    if (mainPanel->isHidden()) {
        mainPanel->show();
        view->resizeColumnsToContents();
        filtersearch();
    }
    stateChanged(-1);
    setReady(true);
}

void MainWindow::yumConfIOChanged()
{
    QString const cache = yumConfIO ? yumConfIO->cachedir() : QString();
    cleanHeadersAction->setToolTip(tr("Clean RPM package headers cached locally in %1").arg(cache));
    cleanPackagesAction->setToolTip(
        tr("Clean RPM packages cached locally in %1\n(useful for recovering disk space)").arg(cache));
    cleanXmlMetadataAction->setToolTip(
        tr("Clean XML metadata cached locally in %1\n(useful along with Clean "
           "Pickled Data for\n forcing download of new available package lists)")
            .arg(cache));
    cleanPickledCacheAction->setToolTip(
        tr("Clean pickled data cached locally in %1\n(useful along with Clean "
           "XML Metadata for\n forcing download of new available package lists)")
            .arg(cache));
    cleanSqliteCacheAction->setToolTip(
        tr("Clean sqlite data cached locally in %1\n(useful along with Clean XML "
           "Metadata for\n forcing download of new available package lists)")
            .arg(cache));
    cleanAllAction->setToolTip(tr("Clean all data cached locally in %1").arg(cache));
}

void MainWindow::runClean(bool (YumIO::*member)(), bool collectAgain)
{
    if (!session || session->isBusy())
        return;
    if (::geteuid() != 0) {
        // Without root the engine reads a private cache: cleaning that would
        // leave the system's as it is.
        QMessageBox::critical(this, tr("SORVAN Yum Error"),
            tr("Cleaning the cache %1 needs root.\nStart SORVAN as root to clean it, for example with: "
               "pkexec "
               "sorvan")
                .arg(yumConfIO ? yumConfIO->cachedir() : QString()));
        return;
    }
    setReady(false);
    if (!(session->*member)())
        QMessageBox::critical(this, tr("SORVAN Yum Error"),
            tr("Unable to clean the cache completely:\n%1")
                .arg(session->cleanMessages().join(QLatin1Char('\n'))));
    // The same packages, read afresh: what is marked stays marked.
    if (collectAgain)
        recollect(true);
    warnUnlistedActions();
    stateChanged(-1);
    setReady(true);
}

void MainWindow::cleanHeaders()
{
    runClean(&YumIO::cleanHeaders, true);
}

void MainWindow::cleanPackages()
{
    // Removing downloaded package files changes no list.
    runClean(&YumIO::cleanPackages, false);
}

void MainWindow::cleanXmlMetadata()
{
    runClean(&YumIO::cleanXmlMetadata, true);
}

void MainWindow::cleanPickledCache()
{
    runClean(&YumIO::cleanPickledCache, true);
}

void MainWindow::cleanSqliteCache()
{
    runClean(&YumIO::cleanSqliteCache, true);
}

void MainWindow::cleanAll()
{
    runClean(&YumIO::cleanAll, true);
}
