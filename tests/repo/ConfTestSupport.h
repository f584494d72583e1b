#pragma once

// Throw-away managed roots and message-box answering for the configuration
// file tests.  Nothing here touches the host's /etc: every path is inside a
// temporary directory that SORVANROOT points at.

#include "repo/RepoEntry.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ConfTest
{

// A managed root in a temporary directory, made the current one
// ($SORVANROOT) for the object's life.  Paths given to its members are those
// of the managed system ("/etc/yum.conf").
class Root
{
public:
    Root()
    {
        m_previous = qgetenv("SORVANROOT");
        m_hadPrevious = qEnvironmentVariableIsSet("SORVANROOT");
        qputenv("SORVANROOT", QFile::encodeName(m_dir.path()));
        // Traversable by everyone, so that the tests that drop privileges
        // meet only the permissions they set up themselves.
        ::chmod(QFile::encodeName(m_dir.path()).constData(), 0755);
    }
    ~Root()
    {
        if (m_hadPrevious)
            qputenv("SORVANROOT", m_previous);
        else
            qunsetenv("SORVANROOT");
    }
    bool isValid() const { return m_dir.isValid(); }
    QString path() const { return m_dir.path(); }
    QString host(QString const& system) const { return m_dir.path() + system; }

    void mkdir(QString const& system) const { QDir().mkpath(host(system)); }

    bool put(QString const& system, QByteArray const& content, mode_t mode = 0644) const
    {
        mkdir(QFileInfo(system).path());
        QFile file(host(system));
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(content) != content.size())
            return false;
        file.close();
        return ::chmod(QFile::encodeName(host(system)).constData(), mode) == 0;
    }

    bool link(QString const& system, QString const& target) const
    {
        mkdir(QFileInfo(system).path());
        return ::symlink(QFile::encodeName(target).constData(), QFile::encodeName(host(system)).constData())
            == 0;
    }

    QByteArray get(QString const& system) const
    {
        QFile file(host(system));
        if (!file.open(QIODevice::ReadOnly))
            return QByteArray("<unreadable>");
        return file.readAll();
    }

    bool exists(QString const& system) const
    {
        struct stat st;
        return ::lstat(QFile::encodeName(host(system)).constData(), &st) == 0;
    }

    bool isLink(QString const& system) const
    {
        struct stat st;
        return ::lstat(QFile::encodeName(host(system)).constData(), &st) == 0 && S_ISLNK(st.st_mode);
    }

    struct stat status(QString const& system) const
    {
        struct stat st;
        std::memset(&st, 0, sizeof st);
        ::lstat(QFile::encodeName(host(system)).constData(), &st);
        return st;
    }

    // Every file and link below the root, by system path: the content of a
    // file with its mode and owner, or the target of a link.
    QMap<QString, QByteArray> snapshot() const
    {
        QMap<QString, QByteArray> files;
        QDirIterator it(m_dir.path(), QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
            QDirIterator::Subdirectories);
        while (it.hasNext()) {
            QString const hostPath = it.next();
            QString const system = hostPath.mid(m_dir.path().size());
            struct stat st;
            if (::lstat(QFile::encodeName(hostPath).constData(), &st) != 0 || S_ISDIR(st.st_mode))
                continue;
            if (S_ISLNK(st.st_mode)) {
                char target[4096];
                ssize_t const length
                    = ::readlink(QFile::encodeName(hostPath).constData(), target, sizeof target);
                files.insert(system, "-> " + QByteArray(target, int(std::max<ssize_t>(length, 0))));
                continue;
            }
            files.insert(system,
                QByteArray::number(st.st_mode & 07777, 8) + ' ' + QByteArray::number(st.st_uid) + ':'
                    + QByteArray::number(st.st_gid) + '\n' + get(system));
        }
        return files;
    }

private:
    QTemporaryDir m_dir;
    QByteArray m_previous;
    bool m_hadPrevious = false;
};

// Takes the file-system identity of an unprivileged user for the calling
// thread while it lives, so that permissions mean something to a test run
// as root.  Does nothing for a test not run as root.
class AsNobody
{
public:
    AsNobody()
        : m_root(::geteuid() == 0)
    {
        if (m_root) {
            ::setfsgid(65534);
            ::setfsuid(65534);
        }
    }
    ~AsNobody()
    {
        if (m_root) {
            ::setfsuid(0);
            ::setfsgid(0);
        }
    }
    AsNobody(AsNobody const&) = delete;
    AsNobody& operator=(AsNobody const&) = delete;

private:
    bool m_root;
};

// Answers every message box that shows up while it lives, recording what
// each one said.  The answers are used in order; once they run out, boxes
// are answered with the last one; an answer the box has no button for is
// given by pressing Escape.
class BoxAnswerer : public QObject
{
public:
    struct Box {
        QMessageBox::Icon icon;
        QString title;
        QString text;
        QMessageBox::StandardButtons buttons;
        QMessageBox::StandardButton defaultButton;
        QMessageBox::StandardButton escapeButton;
    };

    explicit BoxAnswerer(QList<QMessageBox::StandardButton> answers = { QMessageBox::Ok })
        : m_answers(answers)
    {
        connect(&m_timer, &QTimer::timeout, this, &BoxAnswerer::answer);
        m_timer.start(5);
    }

    QList<Box> boxes;

    QStringList texts() const
    {
        QStringList list;
        for (Box const& box : boxes)
            list.append(box.text);
        return list;
    }

private:
    void answer()
    {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            auto* box = qobject_cast<QMessageBox*>(widget);
            if (!box || !box->isVisible() || m_answered.contains(box))
                continue;
            m_answered.insert(box);
            auto standard = [&](QAbstractButton* button) {
                return button ? box->standardButton(button) : QMessageBox::NoButton;
            };
            boxes.append({ box->icon(), box->windowTitle(), box->text(), box->standardButtons(),
                standard(box->defaultButton()), standard(box->escapeButton()) });
            QMessageBox::StandardButton const answer
                = m_answers.size() > 1 ? m_answers.takeFirst() : m_answers.value(0, QMessageBox::Ok);
            if (QAbstractButton* button = box->button(answer))
                button->click();
            else // what a user pressing Escape gets
                QTest::keyClick(box, Qt::Key_Escape);
        }
    }

    QTimer m_timer;
    QList<QMessageBox::StandardButton> m_answers;
    QSet<QMessageBox*> m_answered;
};

// Builds expected entries: E("a", 1).name("A").enabled(Repo::Entry::On).
class E
{
public:
    E(QString const& id, double position)
    {
        m_entry.id = id;
        m_entry.position = position;
    }
    E& name(QString const& value) { return m_entry.name = value, *this; }
    E& baseurl(QString const& value) { return m_entry.baseurl = value, *this; }
    E& mirrorlist(QString const& value) { return m_entry.mirrorlist = value, *this; }
    E& enabled(Repo::Entry::Flag value) { return m_entry.enabled = value, *this; }
    E& gpgcheck(Repo::Entry::Flag value) { return m_entry.gpgcheck = value, *this; }
    E& other(QString const& value) { return m_entry.other = value, *this; }
    E& file(QString const& value) { return m_entry.file = value, *this; }
    operator Repo::Entry() const { return m_entry; }

private:
    Repo::Entry m_entry;
};

// The texts that strerror gives, for the "; errno = %1 (%2)." suffix.
inline QString errnoSuffix(int error)
{
    return QStringLiteral("; errno = %1 (%2).").arg(error).arg(QString::fromLocal8Bit(::strerror(error)));
}

// One entry on one line, for comparisons with readable differences.
inline QString describe(Repo::Entry const& entry)
{
    auto escaped = [](QString text) {
        return text.replace(QLatin1Char('\\'), QLatin1String("\\\\"))
            .replace(QLatin1Char('\n'), QLatin1String("\\n"));
    };
    return QStringLiteral("[%1] name=%2 baseurl=%3 mirrorlist=%4 enabled=%5 gpgcheck=%6 other=%7 position=%8")
        .arg(escaped(entry.id), escaped(entry.name), escaped(entry.baseurl), escaped(entry.mirrorlist))
        .arg(int(entry.enabled))
        .arg(int(entry.gpgcheck))
        .arg(escaped(entry.other))
        .arg(entry.position);
}

inline QStringList describe(Repo::EntryList const& entries)
{
    QStringList list;
    for (Repo::Entry const& entry : entries)
        list.append(describe(entry));
    return list;
}

} // namespace ConfTest
