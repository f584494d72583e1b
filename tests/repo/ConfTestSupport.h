#pragma once

// Throw-away managed roots (SORVANROOT, never the host's /etc) and message-box
// answering for the configuration tests.

#include "repo/YumConfIO.h"
#include "tests/yumio/TestRows.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDirIterator>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTimer>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace ConfTest
{

inline QByteArray local(QString const& path)
{
    return QFile::encodeName(path);
}

// A managed root, current for the object's life; members take the managed
// system's paths, a bare file name standing for one in /etc/yum.repos.d.
class Root
{
public:
    Root()
    {
        qputenv("SORVANROOT", local(m_dir.path()));
        ::chmod(local(m_dir.path()).constData(), 0755); // traversable for other users
    }
    ~Root() { qputenv("SORVANROOT", "/nonexistent/sorvan-test-root"); }
    QString path() const { return m_dir.path(); }
    QString host(QString const& system) const
    {
        return m_dir.path() + (system.startsWith('/') ? system : "/etc/yum.repos.d/" + system);
    }

    bool put(QString const& system, QByteArray const& content, mode_t mode = 0644) const
    {
        QDir().mkpath(QFileInfo(host(system)).path());
        QFile file(host(system));
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush()
            && ::chmod(local(host(system)).constData(), mode) == 0;
    }
    // Each file is "path=content" (Latin-1), "path->target", "path/" for a
    // directory or "path|" for a FIFO.
    bool make(QStringList const& files) const
    {
        for (QString const& file : files) {
            QString const path = file.section(QRegularExpression("->|="), 0, 0);
            QString const rest = file.mid(path.size());
            QDir().mkpath(QFileInfo(host(path)).path());
            bool const made = rest.startsWith("->")
                ? ::symlink(local(rest.mid(2)).constData(), local(host(path)).constData()) == 0
                : path.endsWith('|') ? ::mkfifo(local(host(path.chopped(1))).constData(), 0644) == 0
                : rest.isEmpty()     ? QDir().mkpath(host(path))
                                     : put(path, rest.mid(1).toLatin1());
            if (!made)
                return false;
        }
        return true;
    }
    QByteArray get(QString const& system) const
    {
        QFile file(host(system));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
    }

    // Every file and link below the root by system path: "mode uid:gid\n"
    // and the content of a file, "-> target" of a link.
    QMap<QString, QByteArray> snapshot() const
    {
        QMap<QString, QByteArray> files;
        QDirIterator it(path(), QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
            QDirIterator::Subdirectories);
        while (it.hasNext()) {
            QString const system = it.next().mid(path().size());
            struct stat st;
            ::lstat(local(host(system)).constData(), &st);
            char link[4096];
            if (S_ISLNK(st.st_mode))
                files.insert(system,
                    "-> " + QByteArray(link, ::readlink(local(it.filePath()).constData(), link, 4096)));
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

// Answers every message box shown while it lives, in order of `answers` (the
// last one repeats), recording its text; an answer the box lacks, and
// NoButton, is Return: its default button.
class BoxAnswerer : public QObject
{
public:
    QStringList texts;

    explicit BoxAnswerer(QList<QMessageBox::StandardButton> answers = { QMessageBox::NoButton })
        : m_answers(answers)
    {
        connect(&m_timer, &QTimer::timeout, this, &BoxAnswerer::answer);
        m_timer.start(5);
    }

private:
    void answer()
    {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box || !box->isVisible() || m_answered.contains(QPointer<QMessageBox>(box)))
            return;
        m_answered.append(box);
        texts.append(box->text());
        auto const answer = m_answers.size() > 1 ? m_answers.takeFirst() : m_answers.value(0);
        if (QAbstractButton* button = box->button(answer))
            button->click();
        else
            QTest::keyClick(box, Qt::Key_Return);
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

inline QString errnoSuffix(int error)
{
    return QStringLiteral("; errno = %1 (%2).").arg(error).arg(QString::fromLocal8Bit(::strerror(error)));
}

} // namespace ConfTest
