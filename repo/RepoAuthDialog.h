#pragma once

#include "repo/RepoEntry.h"
#include "widgets/HDialog.h"

#include <QCursor>
#include <QList>
#include <optional>

class QEventLoop;
class QLabel;
class QLineEdit;
class QPushButton;

namespace RepoAuth
{
// Asks for the buffet name and password of one repository after another.
// The dialog stays on screen from one repository to the next; whoever asks
// hides it at the end.  While it is hidden the application shows the busy
// cursor it had before the dialog appeared.
class Dialog : public HDialog
{
    Q_OBJECT

public:
    // The result codes of exec(Repo::Entry*), one per button.
    enum Result { SkipAll = 0, OK = 1, ApplyAll = 2, ApplyHost = 3, Disable = 4, Quit = 5 };

    explicit Dialog(QWidget* parent = nullptr);

    // Shows `entry` and waits for a button.  OK and both Apply buttons write
    // the name and password into the entry's URLs first.  Escape and the
    // window's close button are Skip All.
    int exec(Repo::Entry* entry);

public Q_SLOTS:
    void done(int result) override;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void authChanged();
    void setUrls();
    void handleQuit() { done(Quit); }
    void handleDisable() { done(Disable); }
    void handleSkipAll() { done(SkipAll); }
    void handleApplyAll();
    void handleApplyHost();
    void handleOK();

    Repo::Entry* m_entry = nullptr;
    QString m_baseurl; // the entry's URLs as they came, which the labels show masked
    QString m_mirrorlist;
    QString m_key1;
    QString m_key2;
    QLabel* m_id;
    QLabel* m_name;
    QLabel* m_urls;
    QLabel* m_mirrorlistLabel;
    QLabel* m_key1Label;
    QLabel* m_key2Label;
    QLineEdit* m_user;
    QLineEdit* m_password;
    QList<QPushButton*> m_buttons;
    QEventLoop* m_loop = nullptr;
    int m_result = Quit;
    std::optional<QCursor> m_busy; // the override cursor given back on hiding
};
} // namespace RepoAuth
