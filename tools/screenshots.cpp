// Pictures of SORVAN at work on a copy of the sandbox's root: the marked
// table, the transaction listing, the two bars during the download and the
// transaction, the table afterwards, two failures, three descriptions, the
// Cache menu, and the repositories: the credentials asked for at start, the
// editor and one repository's form with its password masked.
//
//   sorvan-screenshots OUTDIR
//
// Runs on any Qt platform (offscreen will do) as root; the sandbox must be
// built (tools/sandbox/sandbox.py build).  Changes only OUTDIR/root.
#include "app/MainWindow.h"
#include "packagetable/PackageTableDescribeInstanceRepoDialog.h"
#include "packagetable/PackageTableModel.h"
#include "packagetable/PackageTableView.h"
#include "repo/YumConfIO.h"
#include "widgets/HProgressBar.h"
#include "yumio/YumIO.h"

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QTableView>
#include <QTimer>
#include <cstdio>
#include <cstdlib>

namespace
{

QString outDir;
QString sandboxDir;

// The modal dialog on top, if it is up.
QDialog* topDialog(QString const& title)
{
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    return dialog && dialog->isVisible() && dialog->windowTitle() == title ? dialog : nullptr;
}

void fill(QDialog* dialog, QString const& toolTipStart, QString const& value)
{
    for (QLineEdit* field : dialog->findChildren<QLineEdit*>()) {
        if (field->toolTip().startsWith(toolTipStart)) {
            field->setText(value);
            Q_EMIT field->textEdited(value);
        }
    }
}

void press(QDialog* dialog, QString const& text)
{
    for (QPushButton* push : dialog->findChildren<QPushButton*>()) {
        if (push->text().remove(QLatin1Char('&')) == text && push->isVisible()) {
            // Later: a dialog the button opens runs its own loop, in which
            // the caller's timer must fire again.
            QTimer::singleShot(0, push, &QPushButton::click);
            return;
        }
    }
}

bool sandbox(QStringList const& arguments)
{
    QProcess tool;
    tool.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    tool.start(QStringLiteral("/usr/bin/python3"),
        QStringList { QStringLiteral("-I"), QStringLiteral(SORVAN_SOURCE_DIR "/tools/sandbox/sandbox.py") }
            + arguments);
    return tool.waitForFinished(120000) && tool.exitCode() == 0;
}

void save(QWidget* widget, char const* name)
{
    QString const path = outDir + QLatin1Char('/') + QLatin1String(name);
    widget->grab().save(path);
}

void mark(MainWindow* window, QString const& name, Package::Action action)
{
    auto* view = window->findChild<PackageTable::View*>(QStringLiteral("view"));
    PackageTable::Model* model = view->tableModel();
    QModelIndexList const found
        = model->match(model->index(0, 3), Qt::DisplayRole, name, 1, Qt::MatchExactly);
    if (!found.isEmpty())
        model->setAction(model->index(found.first().row(), 0), action);
    window->stateChanged(-1);
}

} // namespace

int main(int argc, char** argv)
{
    // Qt's own warnings would be captured into the error boxes pictured.
    qInstallMessageHandler([](QtMsgType, QMessageLogContext const&, QString const&) {});
    if (qEnvironmentVariableIsEmpty("SORVANSHARE"))
        qputenv("SORVANSHARE", SORVAN_BINARY_DIR "/share");
    QApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: sorvan-screenshots OUTDIR\n");
        return 2;
    }
    outDir = QDir(QString::fromLocal8Bit(argv[1])).absolutePath();
    sandboxDir = QStringLiteral(SORVAN_BINARY_DIR "/sandbox");
    QString const root = outDir + QLatin1String("/root");
    QDir(root).removeRecursively();
    QDir().mkpath(outDir);
    if (!sandbox({ QStringLiteral("clone"), sandboxDir, root })
        || !sandbox({ QStringLiteral("serve"), sandboxDir, QStringLiteral("--root"), root,
            QStringLiteral("--rate"), QStringLiteral("400000") }))
        return 1;
    qputenv("SORVANROOT", root.toLocal8Bit());

    auto* window = new MainWindow;
    window->repoRequests = { YumRepoEnabled(true, QStringLiteral("sv-http")),
        YumRepoEnabled(true, QStringLiteral("sv-faults")),
        YumRepoEnabled(true, QStringLiteral("sv-buffet")) };
    window->QWidget::resize(1100, 700);
    window->show();
    // A message before the table is up means the sandbox is not usable.
    QTimer failed;
    QObject::connect(&failed, &QTimer::timeout, [] {
        if (QDialog* auth = topDialog(QStringLiteral("SORVAN Authentication"))) {
            fill(auth, QStringLiteral("Authentication name"), QStringLiteral("sorvan"));
            fill(auth, QStringLiteral("Authentication password"), QStringLiteral("sandbox"));
            save(auth, "repo-authentication.png");
            press(auth, QStringLiteral("OK"));
            return;
        }
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            std::fprintf(stderr, "sorvan-screenshots: %s\n", qPrintable(box->text()));
            std::exit(1);
        }
    });
    failed.start(100);
    while (!window->isInitialized())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    failed.stop();
    window->findChild<QComboBox*>(QStringLiteral("stateBox"))->setCurrentIndex(3);

    for (char const* name : { "sv-app", "sv-bigdata", "sv-new" })
        mark(window, QString::fromLatin1(name), Package::Install);
    for (char const* name : { "sv-tool", "sv-kernel" })
        mark(window, QString::fromLatin1(name), Package::Update);
    save(window, "apply-1-marked.png");

    // Pictures are taken as things happen: the question, the bars while the
    // download runs and while rpm installs.
    QStringList taken;
    auto* itemBar = window->findChild<HProgressBar*>(QStringLiteral("itemBar"));
    QTimer watch;
    QString fault;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            dialog && dialog->isVisible()) {
            if (!fault.isEmpty()) {
                save(dialog, qPrintable(fault));
                dialog->accept();
                return;
            }
            if (!taken.contains(QLatin1String("listing"))) {
                taken << QStringLiteral("listing");
                save(dialog, "apply-2-listing.png");
            }
            for (QPushButton* push : dialog->findChildren<QPushButton*>())
                if (push->text() == QLatin1String("Apply"))
                    push->click();
            return;
        }
        QString const text = itemBar->activity();
        if (text.startsWith(QLatin1String("Downloading")) && itemBar->value() > itemBar->maximum() / 3
            && !taken.contains(QLatin1String("download"))) {
            taken << QStringLiteral("download");
            save(window, "apply-3-downloading.png");
        }
        if (text.startsWith(QLatin1String("Installing")) && !taken.contains(QLatin1String("install"))) {
            taken << QStringLiteral("install");
            save(window, "apply-4-installing.png");
        }
    });
    watch.start(5);
    QMetaObject::invokeMethod(window, "apply");
    save(window, "apply-5-after.png");

    fault = QStringLiteral("fault-file-conflict.png");
    mark(window, QStringLiteral("sv-conflict-a"), Package::Install);
    mark(window, QStringLiteral("sv-conflict-b"), Package::Install);
    QMetaObject::invokeMethod(window, "apply");
    fault = QStringLiteral("fault-prefail.png");
    for (char const* name : { "sv-conflict-a", "sv-conflict-b" })
        mark(window, QString::fromLatin1(name), Package::NoAction);
    mark(window, QStringLiteral("sv-prefail"), Package::Install);
    QMetaObject::invokeMethod(window, "apply");
    // Descriptions: a package with two installed versions, an available
    // package and a group.
    auto* view = window->findChild<PackageTable::View*>(QStringLiteral("view"));
    for (char const* name : { "sv-kernel", "sv-calc", "SORVAN Desktop" }) {
        fault = QStringLiteral("describe-%1.png")
                    .arg(QString::fromLatin1(name).replace(QLatin1Char(' '), QLatin1Char('-')));
        QModelIndexList const found = view->tableModel()->match(
            view->tableModel()->index(0, 3), Qt::DisplayRole, QString::fromLatin1(name), 1, Qt::MatchExactly);
        if (!found.isEmpty())
            view->tableModel()->describe(found.first(), window);
    }
    watch.stop();

    auto* cache = window->findChild<QMenu*>(QStringLiteral("cacheMenu"));
    cache->popup(window->mapToGlobal(QPoint(120, 20)));
    QCoreApplication::processEvents();
    save(cache, "cache-menu.png");
    cache->hide();

    // A package's repository as its description shows it, password masked.
    {
        QList<YumRepoEnabled> none;
        QHash<QString, bool> enabled;
        YumConfIO conf(none, enabled);
        if (conf.read(window)) {
            for (Repo::Entry const& repo : conf.repos()) {
                if (repo.id != QLatin1String("sv-buffet"))
                    continue;
                PackageTable::Describe::Instance::RepoDialog details(window->yumSession(), window);
                details.config(repo);
                details.show();
                QCoreApplication::processEvents();
                save(&details, "describe-repository.png");
            }
        }
    }

    // The editor with the buffet repository selected, and its form.
    QTimer editor;
    QObject::connect(&editor, &QTimer::timeout, [&] {
        if (QDialog* form = topDialog(QStringLiteral("SORVAN Repository Configuration"))) {
            save(form, "repo-configuration.png");
            press(form, QStringLiteral("Cancel"));
        } else if (QDialog* list = topDialog(QStringLiteral("SORVAN Repository Configuration Editor"))) {
            if (editor.property("done").toBool()) {
                press(list, QStringLiteral("Cancel"));
                return;
            }
            auto* table = list->findChild<QTableView*>();
            QModelIndexList const buffet = table->model()->match(table->model()->index(0, 2), Qt::DisplayRole,
                QStringLiteral("sv-buffet"), 1, Qt::MatchExactly);
            if (!buffet.isEmpty())
                table->setCurrentIndex(buffet.first());
            save(list, "repo-editor.png");
            editor.setProperty("done", true);
            press(list, QStringLiteral("Edit"));
        }
    });
    editor.start(50);
    window->editRepositories();
    editor.stop();

    sandbox({ QStringLiteral("stop"), QStringLiteral("--root"), root });
    window->quit();
    std::printf("screenshots in %s\n", qPrintable(outDir));
    return 0;
}
