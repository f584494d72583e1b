#pragma once

// Throw-away managed roots, message-box answering and compact entry texts for
// the configuration file tests.  Every path is inside a temporary directory
// that SORVANROOT points at, never the host's /etc.

#include "repo/YumConfIO.h"
#include "tests/yumio/TestRows.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDirIterator>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <cstring>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ConfTest
{

inline QByteArray local(QString const& path)
{
    return QFile::encodeName(path);
}

// A managed root, current for the object's life; members take the managed
// system's paths ("/etc/yum.conf").
class Root
{
public:
    Root()
    {
        qputenv("SORVANROOT", local(m_dir.path()));
        ::chmod(local(m_dir.path()).constData(), 0755); // traversable for AsNobody
    }
    ~Root() { qputenv("SORVANROOT", "/nonexistent/sorvan-test-root"); }
    QString path() const { return m_dir.path(); }
    QString host(QString const& system) const { return m_dir.path() + system; }
    void mkdir(QString const& system) const { QDir().mkpath(host(system)); }

    bool put(QString const& system, QByteArray const& content, mode_t mode = 0644) const
    {
        mkdir(QFileInfo(system).path());
        QFile file(host(system));
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush()
            && ::chmod(local(host(system)).constData(), mode) == 0;
    }
    bool link(QString const& system, QString const& target) const
    {
        mkdir(QFileInfo(system).path());
        return ::symlink(local(target).constData(), local(host(system)).constData()) == 0;
    }
    QByteArray get(QString const& system) const
    {
        QFile file(host(system));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
    }
    struct stat status(QString const& system) const
    {
        struct stat st;
        std::memset(&st, 0, sizeof st);
        ::lstat(local(host(system)).constData(), &st);
        return st;
    }
    bool isLink(QString const& system) const { return S_ISLNK(status(system).st_mode); }

    // Every file and link below the root by system path: mode, owner and
    // content of a file, or the target of a link.
    QMap<QString, QByteArray> snapshot() const
    {
        QMap<QString, QByteArray> files;
        QDirIterator it(path(), QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
            QDirIterator::Subdirectories);
        while (it.hasNext()) {
            QString const system = it.next().mid(path().size());
            struct stat const st = status(system);
            char target[4096];
            if (S_ISLNK(st.st_mode))
                files.insert(system,
                    "-> "
                        + QByteArray(
                            target, ::readlink(local(host(system)).constData(), target, sizeof target)));
            else if (!S_ISDIR(st.st_mode))
                files.insert(system,
                    QByteArray::number(st.st_mode & 07777, 8) + ' ' + QByteArray::number(st.st_uid) + ':'
                        + QByteArray::number(st.st_gid) + '\n' + get(system));
        }
        return files;
    }

private:
    QTemporaryDir m_dir;
};

// The file-system identity of an unprivileged user for the calling thread,
// so that permissions mean something to a test run as root.
struct AsNobody {
    AsNobody() { become(65534); }
    ~AsNobody() { become(0); }
    static void become(unsigned id)
    {
        if (::geteuid() == 0) {
            ::setfsgid(id);
            ::setfsuid(id);
        }
    }
};

// Answers every message box shown while it lives, in order of `answers` (the
// last one repeats), recording each; an answer the box lacks is Escape.
class BoxAnswerer : public QObject
{
public:
    struct Box {
        QString title, text;
        QMessageBox::StandardButton defaultButton, escapeButton;
    };
    QList<Box> boxes;

    explicit BoxAnswerer(QList<QMessageBox::StandardButton> answers = { QMessageBox::Ok })
        : m_answers(answers)
    {
        connect(&m_timer, &QTimer::timeout, this, &BoxAnswerer::answer);
        m_timer.start(5);
    }
    // The texts of the boxes shown, joined by "|".
    QString texts() const
    {
        QStringList list;
        for (Box const& box : boxes)
            list.append(box.text);
        return list.join('|');
    }

private:
    void answer()
    {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box || !box->isVisible() || m_answered.contains(QPointer<QMessageBox>(box)))
            return;
        m_answered.append(box);
        auto standard
            = [box](QAbstractButton* b) { return b ? box->standardButton(b) : QMessageBox::NoButton; };
        boxes.append({ box->windowTitle(), box->text(), standard(box->defaultButton()),
            standard(box->escapeButton()) });
        auto const answer = m_answers.size() > 1 ? m_answers.takeFirst() : m_answers.value(0);
        if (QAbstractButton* button = box->button(answer))
            button->click();
        else
            QTest::keyClick(box, Qt::Key_Escape);
    }

    QTimer m_timer;
    QList<QMessageBox::StandardButton> m_answers;
    // Guarded: a later box may be allocated where an answered one was.
    QList<QPointer<QMessageBox>> m_answered;
};

// A YumConfIO with the tables it refers to.
struct Conf {
    QList<YumRepoEnabled> requests;
    QHash<QString, bool> session;
    YumConfIO io { requests, session };
};

inline Repo::Entry entry(QString const& id, double position, QString const& file = {})
{
    Repo::Entry e;
    e.id = id;
    e.position = position;
    e.file = file;
    return e;
}

// An entry as "id@position key=value ...", only the fields that are set, line
// feeds shown as "|"; a list joined by "; ".
inline QString describe(Repo::EntryList const& entries)
{
    QStringList list;
    for (Repo::Entry const& e : entries) {
        QString text = e.id + '@' + QString::number(e.position);
        auto add = [&](char const* key, QString const& value) {
            if (!value.isEmpty())
                text += ' ' + QLatin1String(key) + '=' + value;
        };
        auto flag = [](Repo::Entry::Flag f) {
            return f == Repo::Entry::Unset ? QString()
                                           : QString::fromLatin1(f == Repo::Entry::On ? "on" : "off");
        };
        add("name", e.name);
        add("baseurl", e.baseurl);
        add("mirrorlist", e.mirrorlist);
        add("enabled", flag(e.enabled));
        add("gpgcheck", flag(e.gpgcheck));
        add("other", e.other);
        list.append(text.replace('\n', '|'));
    }
    return list.join("; ");
}

inline QString errnoSuffix(int error)
{
    return QStringLiteral("; errno = %1 (%2).").arg(error).arg(QString::fromLocal8Bit(::strerror(error)));
}

} // namespace ConfTest
