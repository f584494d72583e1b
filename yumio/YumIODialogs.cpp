#include "yumio/YumIODialogs.h"

#include "widgets/ScrollableConfirmDialog.h"
#include "widgets/ScrollableErrorDialog.h"
#include "yumio/Secrets.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QThread>

YumIODialogs::YumIODialogs(QWidget* parent)
    : minion(new YumIODialogsMinion(parent))
{
    minion->moveToThread(QCoreApplication::instance()->thread());
    // Automatic connections: direct when asked on the GUI thread, queued both
    // ways when asked on a worker.
    connect(minion, &YumIODialogsMinion::setResult, this, &YumIODialogs::setResult);
    connect(this, &YumIODialogs::confirmSig, minion, &YumIODialogsMinion::confirm);
    connect(this, &YumIODialogs::warningSig, minion, &YumIODialogsMinion::warning);
    connect(this, &YumIODialogs::criticalSig, minion, &YumIODialogsMinion::critical);
    connect(this, &YumIODialogs::scrollableSig, minion, &YumIODialogsMinion::scrollable);
}

YumIODialogs::~YumIODialogs()
{
    // The minion belongs to the GUI thread, which deletes it.
    disconnect(minion, nullptr, this, nullptr);
    if (minion->thread() == QThread::currentThread())
        delete minion;
    else
        minion->deleteLater();
}

int YumIODialogs::confirm(
    QString const& title, QString const& text, QString const& second, QString const& third)
{
    done = false;
    Q_EMIT confirmSig(title, text, second, third);
    return waitForResult();
}

int YumIODialogs::warning(QString const& title, QString const& text, QString const& button0,
    QString const& button1, QString const& button2, int defaultButton, int escapeButton)
{
    done = false;
    Q_EMIT warningSig(title, text, button0, button1, button2, defaultButton, escapeButton);
    return waitForResult();
}

int YumIODialogs::critical(QString const& title, QString const& text, QString const& button0,
    QString const& button1, QString const& button2, int defaultButton, int escapeButton)
{
    done = false;
    Q_EMIT criticalSig(title, text, button0, button1, button2, defaultButton, escapeButton);
    return waitForResult();
}

void YumIODialogs::scrollable(QString const& title, QString const& text)
{
    done = false;
    Q_EMIT scrollableSig(title, text);
    waitForResult();
}

void YumIODialogs::setResult(int value)
{
    result = value;
    done = true;
    loop.quit();
}

int YumIODialogs::waitForResult()
{
    direct = done;
    while (!done)
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    return result;
}

// --- the minion ---------------------------------------------------------------

YumIODialogsMinion::YumIODialogsMinion(QWidget* parent)
    : parent(parent)
{
}

void YumIODialogsMinion::confirm(
    QString const& title, QString const& text, QString const& second, QString const& third)
{
    ScrollableConfirmDialog dialog(Secrets::masked(text), second, third, parent);
    dialog.setWindowTitle(title);
    Q_EMIT setResult(dialog.exec());
}

namespace
{

// A message box with up to three buttons of the given texts, or the single
// standard button when all are empty; the number of the button pressed.
int messageBox(QMessageBox::Icon icon, QWidget* parent, QString const& title, QString const& text,
    QString const& button0, QString const& button1, QString const& button2, int defaultButton,
    int escapeButton)
{
    QMessageBox box(icon, title, Secrets::masked(text), QMessageBox::NoButton, parent);
    QList<QAbstractButton*> buttons;
    for (QString const& label : { button0, button1, button2 }) {
        if (label.isEmpty())
            break;
        buttons.append(box.addButton(label, QMessageBox::ActionRole));
    }
    if (buttons.isEmpty())
        buttons.append(box.addButton(QMessageBox::Ok));
    if (defaultButton >= 0 && defaultButton < buttons.size())
        box.setDefaultButton(qobject_cast<QPushButton*>(buttons[defaultButton]));
    if (escapeButton >= 0 && escapeButton < buttons.size())
        box.setEscapeButton(buttons[escapeButton]);
    else if (buttons.size() == 1)
        box.setEscapeButton(buttons[0]);
    box.exec();
    qsizetype const pressed = buttons.indexOf(box.clickedButton());
    return pressed < 0 ? escapeButton : int(pressed);
}

} // namespace

void YumIODialogsMinion::warning(QString const& title, QString const& text, QString const& button0,
    QString const& button1, QString const& button2, int defaultButton, int escapeButton)
{
    Q_EMIT setResult(messageBox(
        QMessageBox::Warning, parent, title, text, button0, button1, button2, defaultButton, escapeButton));
}

void YumIODialogsMinion::critical(QString const& title, QString const& text, QString const& button0,
    QString const& button1, QString const& button2, int defaultButton, int escapeButton)
{
    Q_EMIT setResult(messageBox(
        QMessageBox::Critical, parent, title, text, button0, button1, button2, defaultButton, escapeButton));
}

void YumIODialogsMinion::scrollable(QString const& title, QString const& text)
{
    ScrollableErrorDialog dialog(Secrets::masked(text), parent);
    dialog.setWindowTitle(title);
    dialog.exec();
    Q_EMIT setResult(0);
}

// --- the scope --------------------------------------------------------------------

YumIODialogsUser::YumIODialogsUser(YumIODialogs*& slot, QWidget* parent)
    : slot(slot)
    , previous(slot)
{
    slot = new YumIODialogs(parent);
}

YumIODialogsUser::~YumIODialogsUser()
{
    delete slot;
    slot = previous;
}
