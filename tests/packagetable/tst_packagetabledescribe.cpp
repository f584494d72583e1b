// The package description dialog over a real collection of the sandbox root:
// its rows for each kind of entry, the repository's details, and the "Show"
// buttons before and after the extra data loads.

#include "SandboxSession.h"
#include "packagetable/PackageTableDescribeDialog.h"
#include "packagetable/PackageTableDescribeInstanceArea.h"
#include "packagetable/PackageTableModel.h"
#include "repo/YumConfIO.h"
#include "tests/yumio/TestRows.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QTextEdit>
#include <functional>

using namespace PackageTable;
using QSL = QStringList;

namespace
{
// Calls `act` with every dialog as it is shown, before anything else sees it.
class ShowWatcher : public QObject
{
public:
    explicit ShowWatcher(std::function<void(QDialog*)> act)
        : act(std::move(act))
    {
        qApp->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* object, QEvent* event) override
    {
        if (auto* dialog = qobject_cast<QDialog*>(object); dialog && event->type() == QEvent::Show)
            act(dialog);
        return false;
    }

private:
    std::function<void(QDialog*)> act;
};
} // namespace

class TableDescribe : public QObject
{
    Q_OBJECT

    SandboxSession sandbox;
    QWidget* window = nullptr;
    Model* model = nullptr;
    YumConfIO* conf = nullptr;
    QList<YumRepoEnabled> noRequests;
    QHash<QString, bool> sessionEnabled;

    // As the table describes a row: through the model.
    void describe(QString const& name, int kind = Package::Ordinary)
    {
        model->describe(model->index(sandbox.row(name, Package::Kind(kind)), NameColumn), window);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(sandbox.start(), qPrintable(sandbox.failure));
        window = new QWidget;
        model = new Model(sandbox.yumIO, window);
        conf = new YumConfIO(noRequests, sessionEnabled, window);
        QVERIFY(conf->read(window));
        model->setYumConfIO(conf);
    }
    void cleanupTestCase()
    {
        delete window;
        // The session's answerer may meet the dialogs of these tests, but no error.
        for (SessionTest::Dialog const& dialog : std::as_const(sandbox.dialogs.dialogs))
            QVERIFY2(dialog.kind == SessionTest::Dialog::Other, qPrintable(sandbox.dialogs.summary()));
    }

    void rows_data()
    {
        // One "state: labels" string per section; `lines` must all appear.
        columns<QString, int, QSL, QSL>("name", "kind", "sections", "lines");
        QString const details = QStringLiteral("Summary Description Group Vendor Build Time Build Host");
        QString const rpm = QStringLiteral("Binary RPM Source RPM License Packager URL");
        QString const further
            = QStringLiteral("Installed: Version Architecture Size Build Time Packager Files Change Log");
        row("two installed versions behind an update", "sv-kernel", int(Package::Ordinary),
            QSL { "Available for update: Kind Version Repository Architecture Size " + details + ' ' + rpm
                    + " Provides Files Change Log",
                further, further },
            QSL { "Version: 5.2-1", "Repository: sv-updates Details", "Version: 5.0-1", "Version: 5.1-1",
                "Files: Show (must load extra data)", "Files: Show" });
        row("available", "sv-app", int(Package::Ordinary),
            QSL { "Available for installation: Kind Version Repository Architecture Size " + details + ' '
                + rpm + " Provides Requires Files Change Log" },
            QSL { "Requires: sv-libfoo >= 1.0" });
        row("installed, relocatable", "sv-reloc", int(Package::Ordinary),
            QSL { "Installed: Kind Version Architecture Size " + details + " Install Time " + rpm
                + " Relocations Provides Requires Files Change Log" },
            QSL { "Relocations: /opt/sv-reloc", "Change Log: Show" });
        row("group", "SORVAN Core", int(Package::Group),
            QSL { "Available for update: Kind Mandatory Packages Default Packages Optional Packages" },
            QSL { "Mandatory Packages: sv-tool\nsv-docs\nsv-corelib", "Default Packages: sv-reloc",
                "Optional Packages: sv-extra-docs" });
    }
    void rows()
    {
        QFETCH(QString, name);
        QFETCH(int, kind);
        QFETCH(QSL, lines);
        QSL sections, shown;
        ShowWatcher watch([&](QDialog* dialog) {
            auto* description = qobject_cast<Describe::Dialog*>(dialog);
            if (!description)
                return;
            for (Describe::Instance::Area const* area : description->sections()) {
                QSL labels;
                for (auto const& [label, value] : area->rows()) {
                    labels.append(label.isEmpty() ? value + ':' : label.chopped(1));
                    if (!label.isEmpty())
                        shown.append(label + ' ' + value);
                }
                sections.append(labels.join(' '));
            }
            QTimer::singleShot(0, dialog, &QDialog::accept);
        });
        describe(name, kind);
        QTEST(sections, "sections");
        for (QString const& line : lines)
            QVERIFY2(shown.contains(line), qPrintable(line));
    }

    // Details shows the package's repository, its password masked.
    void repositoryDetails()
    {
        QString shown;
        ShowWatcher watch([&](QDialog* dialog) {
            QTimer::singleShot(0, dialog, [&shown, dialog] {
                if (qobject_cast<Describe::Dialog*>(dialog)) {
                    // The current content only: the last entry's waits for
                    // its deferred delete, which the click's loop runs.
                    QWidget* content = dialog->findChild<QScrollArea*>()->widget();
                    for (QPushButton* button : content->findChildren<QPushButton*>()) {
                        if (button->text() == QLatin1String("Details")) {
                            button->click();
                            break;
                        }
                    }
                } else {
                    shown = dialog->windowTitle();
                    for (QLabel const* label : dialog->findChildren<QLabel*>())
                        shown += '|' + label->text();
                }
                dialog->accept();
            });
        });
        for (Repo::Entry& repo : conf->repos())
            if (repo.id == QLatin1String("sv-updates"))
                repo.baseurl += QLatin1String("\nhttps://h/rhel/u=me/p=secret/x/");
        describe(QStringLiteral("sv-kernel"));
        QVERIFY2(shown.startsWith(QLatin1String("SORVAN Repository Description|sv-updates|Name:|SORVAN "
                                                "Sandbox Updates|URLs:|file://")),
            qPrintable(shown));
        QVERIFY2(shown.contains(QLatin1String("/rhel/u=me/p=********/x/")), qPrintable(shown));
    }

    void showExtraData()
    {
        Describe::Dialog dialog(window);
        dialog.config(sandbox.yumIO, *sandbox.entry(QStringLiteral("sv-app")), nullptr);
        dialog.show();
        QPushButton* close = nullptr;
        for (QPushButton* button : dialog.findChildren<QPushButton*>())
            close = button->text() == QLatin1String("Close") ? button : close;
        QVERIFY(close);
        QPushButton* files = dialog.sections().value(0)->filesButton();
        QPushButton* changeLog = dialog.sections().value(0)->changeLogButton();
        QString const mustLoad = QStringLiteral("Show (must load extra data)");
        QCOMPARE(files->text(), mustLoad);

        QSL texts;
        ShowWatcher watch([&](QDialog* shown) {
            if (shown != &dialog) {
                texts.append(shown->windowTitle() + '\n' + shown->findChild<QTextEdit*>()->toPlainText());
                QTimer::singleShot(0, shown, &QDialog::reject);
            }
        });
        // While the file list loads, the dialog stays open whatever asks it to close.
        QSL whileLoading;
        QTimer::singleShot(0, this, [&] {
            if (sandbox.yumIO->isBusy())
                whileLoading << QStringLiteral("busy");
            if (!dialog.close())
                whileLoading << QStringLiteral("close refused");
            dialog.reject();
            if (dialog.isVisible() && !close->isEnabled())
                whileLoading << QStringLiteral("still open, Close disabled");
        });
        files->click();
        QCOMPARE(whileLoading, QSL({ "busy", "close refused", "still open, Close disabled" }));
        QCOMPARE(texts, QSL { "sv-app 1.0-1 File List\n/usr/bin/sv-app" });
        QCOMPARE(files->text(), QStringLiteral("Show"));
        QCOMPARE(changeLog->text(), mustLoad);

        changeLog->click();
        QVERIFY2(texts.value(1).startsWith(QLatin1String("sv-app 1.0-1 Change Log\n* ")),
            qPrintable(texts.join('|')));
        QCOMPARE(changeLog->text(), QStringLiteral("Show"));
        // Loaded, it closes again, and drops its content.
        QVERIFY(close->isEnabled() && dialog.close());
        QVERIFY(dialog.sections().isEmpty());
    }
};

QTEST_MAIN(TableDescribe)
#include "tst_packagetabledescribe.moc"
