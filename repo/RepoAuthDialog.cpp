#include "repo/RepoAuthDialog.h"

#include "repo/RepoBuffet.h"

#include <QApplication>
#include <QEventLoop>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

namespace
{
QLabel* valueLabel(QWidget* parent)
{
    auto* label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}
} // namespace

RepoAuth::Dialog::Dialog(QWidget* parent)
    : HDialog(parent)
    , m_id(valueLabel(this))
    , m_name(valueLabel(this))
    , m_urls(valueLabel(this))
    , m_mirrorlistLabel(valueLabel(this))
    , m_key1Label(new QLabel(this))
    , m_key2Label(new QLabel(this))
    , m_user(new QLineEdit(this))
    , m_password(new QLineEdit(this))
{
    setWindowTitle(tr("SORVAN Authentication"));
    m_id->setObjectName(QStringLiteral("identifier"));
    m_urls->setObjectName(QStringLiteral("urls"));
    m_mirrorlistLabel->setObjectName(QStringLiteral("mirrorlist"));
    setModal(true);

    auto* heading = new QLabel(tr("Some configured repositories require authentication"), this);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);

    auto* repository = new QFormLayout;
    repository->addRow(tr("Identifier"), m_id);
    repository->addRow(tr("Name"), m_name);
    repository->addRow(tr("URLs"), m_urls);
    repository->addRow(tr("Mirror list URL"), m_mirrorlistLabel);

    m_key1Label->setTextFormat(Qt::PlainText);
    m_key2Label->setTextFormat(Qt::PlainText);
    m_key1Label->setBuddy(m_user);
    m_key2Label->setBuddy(m_password);
    m_user->setObjectName(QStringLiteral("name"));
    m_user->setToolTip(tr("Authentication name for a repository using the buffet authentication method"));
    m_password->setObjectName(QStringLiteral("password"));
    m_password->setEchoMode(QLineEdit::Password);
    m_password->setToolTip(
        tr("Authentication password for a repository using the buffet authentication method"));
    auto* authentication = new QFormLayout;
    authentication->addRow(m_key1Label, m_user);
    authentication->addRow(m_key2Label, m_password);
    connect(m_user, &QLineEdit::textChanged, this, &Dialog::authChanged);
    connect(m_password, &QLineEdit::textChanged, this, &Dialog::authChanged);

    auto* buttons = new QHBoxLayout;
    auto button = [&](QString const& text, void (Dialog::*slot)()) {
        auto* b = new QPushButton(text, this);
        b->setAutoDefault(false);
        connect(b, &QPushButton::clicked, this, slot);
        buttons->addWidget(b);
        m_buttons.append(b);
        return b;
    };
    button(tr("Quit"), &Dialog::handleQuit);
    button(tr("Disable for Session"), &Dialog::handleDisable);
    button(tr("Skip All"), &Dialog::handleSkipAll);
    buttons->addStretch();
    button(tr("Apply to All"), &Dialog::handleApplyAll);
    button(tr("Apply to All with this Host"), &Dialog::handleApplyHost);
    button(tr("OK"), &Dialog::handleOK)->setDefault(true);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(heading);
    layout->addLayout(repository);
    layout->addLayout(authentication);
    layout->addLayout(buttons);

    // Hidden by anyone but the asker while it waits: nothing more is asked.
    connect(this, &HDialog::hidden, this, [this] {
        if (m_loop)
            done(SkipAll);
    });
}

int RepoAuth::Dialog::exec(Repo::Entry* entry)
{
    m_entry = entry;
    m_baseurl = entry->baseurl;
    m_mirrorlist = entry->mirrorlist;
    m_id->setText(entry->id);
    m_name->setText(entry->name);
    QString name, password;
    m_key1.clear();
    m_key2.clear();
    Repo::Buffet::getAuth(*entry, m_key1, name, m_key2, password);
    m_key1Label->setText(m_key1);
    m_key2Label->setText(m_key2);
    m_user->setText(name);
    m_password->setText(password);
    authChanged();
    for (QPushButton* button : std::as_const(m_buttons))
        button->setEnabled(true);
    m_user->setFocus();
    show();
    raise();
    activateWindow();

    // Should the loop end with the application, the answer is Quit.
    m_result = Quit;
    QEventLoop loop;
    m_loop = &loop;
    loop.exec(QEventLoop::DialogExec);
    m_loop = nullptr;
    return m_result;
}

void RepoAuth::Dialog::done(int result)
{
    if (!m_loop)
        return;
    for (QPushButton* button : std::as_const(m_buttons))
        button->setEnabled(false);
    m_result = result;
    setResult(result);
    m_loop->quit();
    Q_EMIT finished(result);
    if (result == OK)
        Q_EMIT accepted();
    else if (result == SkipAll)
        Q_EMIT rejected();
}

void RepoAuth::Dialog::authChanged()
{
    // The labels show the URLs as they will be written, the password masked.
    QChar const mask(style()->styleHint(QStyle::SH_LineEdit_PasswordCharacter, nullptr, m_password));
    QString const masked(m_password->text().size(), mask);
    m_urls->setText(Repo::Buffet::replaceAuth(m_baseurl, m_key1, m_user->text(), m_key2, masked));
    m_mirrorlistLabel->setText(
        Repo::Buffet::replaceAuth(m_mirrorlist, m_key1, m_user->text(), m_key2, masked));
}

void RepoAuth::Dialog::setUrls()
{
    m_entry->baseurl
        = Repo::Buffet::replaceAuth(m_baseurl, m_key1, m_user->text(), m_key2, m_password->text());
    m_entry->mirrorlist
        = Repo::Buffet::replaceAuth(m_mirrorlist, m_key1, m_user->text(), m_key2, m_password->text());
}

void RepoAuth::Dialog::handleApplyAll()
{
    setUrls();
    done(ApplyAll);
}

void RepoAuth::Dialog::handleApplyHost()
{
    setUrls();
    done(ApplyHost);
}

void RepoAuth::Dialog::handleOK()
{
    setUrls();
    done(OK);
}

void RepoAuth::Dialog::showEvent(QShowEvent* event)
{
    // The busy cursor of whoever works behind the dialog gives way to the
    // ordinary one while the user is asked.
    if (!m_busy && QApplication::overrideCursor()) {
        m_busy = *QApplication::overrideCursor();
        QApplication::restoreOverrideCursor();
    }
    HDialog::showEvent(event);
}

void RepoAuth::Dialog::hideEvent(QHideEvent* event)
{
    HDialog::hideEvent(event);
    if (m_busy) {
        QApplication::setOverrideCursor(*m_busy);
        m_busy.reset();
    }
}
