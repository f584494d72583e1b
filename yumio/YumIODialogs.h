#pragma once

#include <QEventLoop>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QWidget>

class YumIODialogsMinion;

// Lets any thread show a modal dialog and wait for its answer.  The relay
// lives on the thread that asks; its minion lives on the GUI thread and shows
// the dialog.  Asked on the GUI thread, the dialog runs inside the call;
// asked on a worker, the question is queued to the GUI thread and the worker
// waits in the relay's own event loop until the answer is queued back.
class YumIODialogs : public QObject
{
    Q_OBJECT

public:
    explicit YumIODialogs(QWidget* parent);
    ~YumIODialogs() override;

    // A scrollable question; `second` and `third` are the rejecting and the
    // accepting button's texts.  The dialog's exec() result.
    int confirm(QString const& title, QString const& text, QString const& second, QString const& third);
    // Message boxes; empty button texts give the single standard button.  The
    // number of the button pressed.
    int warning(QString const& title, QString const& text, QString const& button0, QString const& button1,
        QString const& button2, int defaultButton, int escapeButton);
    int critical(QString const& title, QString const& text, QString const& button0, QString const& button1,
        QString const& button2, int defaultButton, int escapeButton);
    // A long error text in a scrollable dialog.
    void scrollable(QString const& title, QString const& text);

    // Whether the last question was answered without entering the wait loop
    // (it was asked on the minion's own thread).
    bool answeredDirectly() const { return direct; }

Q_SIGNALS:
    void confirmSig(QString const& title, QString const& text, QString const& second, QString const& third);
    void warningSig(QString const& title, QString const& text, QString const& button0, QString const& button1,
        QString const& button2, int defaultButton, int escapeButton);
    void criticalSig(QString const& title, QString const& text, QString const& button0,
        QString const& button1, QString const& button2, int defaultButton, int escapeButton);
    void scrollableSig(QString const& title, QString const& text);

public Q_SLOTS:
    void setResult(int result);

private:
    int waitForResult();

    QEventLoop loop;
    bool done = false;
    bool direct = false;
    int result = 0;
    YumIODialogsMinion* minion;
};

// The GUI-thread side of a relay: shows the dialogs with the relay's parent.
class YumIODialogsMinion : public QObject
{
    Q_OBJECT

public:
    explicit YumIODialogsMinion(QWidget* parent);

public Q_SLOTS:
    void confirm(QString const& title, QString const& text, QString const& second, QString const& third);
    void warning(QString const& title, QString const& text, QString const& button0, QString const& button1,
        QString const& button2, int defaultButton, int escapeButton);
    void critical(QString const& title, QString const& text, QString const& button0, QString const& button1,
        QString const& button2, int defaultButton, int escapeButton);
    void scrollable(QString const& title, QString const& text);

Q_SIGNALS:
    void setResult(int result);

private:
    QPointer<QWidget> parent;
};

// Installs a relay of the calling thread in the session's slot for a scope,
// and puts the previous one back at its end.
class YumIODialogsUser
{
public:
    YumIODialogsUser(YumIODialogs*& slot, QWidget* parent);
    ~YumIODialogsUser();
    YumIODialogsUser(YumIODialogsUser const&) = delete;
    YumIODialogsUser& operator=(YumIODialogsUser const&) = delete;

private:
    YumIODialogs*& slot;
    YumIODialogs* previous;
};
