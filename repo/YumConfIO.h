#pragma once

#include "repo/RepoEntry.h"
#include "repo/YumRepoEnabled.h"

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QWidget>
#include <cstdio>

// The yum configuration on disk: the main file with its [main] section and
// every ".repo" file of the repository directories, all under the managed
// root (Repo::ManagedRoot).  Reads them into a list of Repo::Entry, writes the
// list back, and seeds the session's table of enabled repositories from the
// files and the --enablerepo/--disablerepo requests.  Used on the GUI thread
// only; failures are reported in message boxes parented to the widget given to
// the last read() or write().
class YumConfIO : public QObject
{
    Q_OBJECT

public:
    // Keeps both references; reads nothing yet.
    YumConfIO(QList<YumRepoEnabled> const& patterns, QHash<QString, bool>& sessionEnabled,
        QObject* parent = nullptr);

    // The main configuration file: the first of /etc/yum/yum.conf,
    // /etc/yum.conf that exists, else /etc/dnf/dnf.conf, under the managed
    // root.  Looked up afresh at each call.
    static QString fileName();

    // Reads everything anew; emits changed() on success.
    bool read(QWidget* parent);
    // Checks for missing and duplicate identifiers (asking whether to go on),
    // then writes every file and deletes the ".repo" files left empty.  No
    // file is ever left half written; see Repo::FileReplacer.
    // With `checkEdited`, also refuses what checkEntries() refuses (after the
    // questions about missing and duplicate identifiers).
    bool write(QWidget* parent, bool checkEdited = false);
    // Before write(), for the editor: whether every entry added or changed
    // since the last read is one dnf accepts (an identifier of its
    // characters, a URL, whole buffet pairs).  Reports the first problem in a
    // box on `parent` and returns false.
    bool checkEntries(QWidget* parent);

    // Paths are those of this machine, the managed root included.
    QString const& cachedir() const { return m_cachedir; }
    QStringList const& reposdirs() const { return m_reposdirs; }
    bool mainEnabled() const { return m_mainEnabled; }
    bool mainGpgcheck() const { return m_mainGpgcheck; }
    Repo::EntryList& repos() { return m_repos; }
    Repo::EntryList const& repos() const { return m_repos; }
    void setRepos(Repo::EntryList const& repos) { m_repos = repos; }
    QList<YumRepoEnabled> const& repoEnabledPatterns() const { return m_repoEnabledPatterns; }
    QHash<QString, bool>& sessionEnabled() const { return m_sessionEnabled; }
    // The [main] part of the main file as read, one logical line per line.
    QString const& mainText() const { return m_mainText; }

    // Whether the logical `line` sets `option` (exact, case-sensitive key
    // before the first ':' or '='); if so `value` gets what follows the
    // separator and its blanks, to the end of the line.
    static bool isOption(QString const& line, QString const& option, QString& value);
    // Whether a file's content carries a password: a buffet URL, a URL with a
    // user's password, or a password key.  Such a file is created readable
    // by root only.
    static bool holdsPassword(QByteArray const& content);
    // Parses one file's bytes as read() parses each file it reads, adding its
    // entries to repos() (and for the main file its settings and mainText()),
    // without touching the disk and without a message box: on failure
    // `failure` gets what read() would report.
    bool parse(QString const& path, QByteArray const& content, bool mainFile, QString* failure = nullptr);
    // The text write() gives a file: `head` (the main file's [main] part),
    // then the sections of `entries` in order, a blank line between two.
    static QString fileText(QString head, Repo::EntryList const& entries);
    // The bytes write() puts in `path` for `text`: UTF-8, unless the file
    // was read as Latin-1 and the text reads back the same from Latin-1.
    QByteArray encodeFor(QString const& path, QString const& text) const;
    // Write order: by file name, then by position within the file.
    static bool filePositionLessThan(Repo::Entry const& a, Repo::Entry const& b);

Q_SIGNALS:
    void changed();

private:
    enum class Result { Line, EndOfFile, Error };
    enum class FileRead { Done, Unopened, Failed };

    // Reads one file whole, remembers its bytes and parses it.  Unopened
    // leaves errno set and reports nothing; Failed has been reported.
    FileRead readFile(QString const& path, bool mainFile);
    // What write() may not do: a file changed on disk since it was read, or an
    // entry dnf would reject or SORVAN could not write faithfully.  Reports
    // the first problem and returns false.
    bool checkFiles(QList<QPair<QString, QByteArray>> const& files, QSet<QString> const& removed);
    bool utf8File(QString const& path) const;
    // A box like error()'s, for problems no system call reported.
    void refuse(QString const& message);

    bool readConfFile(FILE* file);
    bool readRepoFile(FILE* file, QString const& path);
    Result readLogicalLine(FILE* file, QString& line);
    Result readLine(FILE* file, QString& line);
    void unreadLine(QString const& line);
    void cleanupRead(Repo::Entry& entry);
    void applyUsedOptions(Repo::Entry const& entry);
    bool checkErrors();
    bool hasEmptyId() const;
    QString getDuplicateId() const;
    void cleanupWrite(Repo::EntryList& list) const;
    static void writeRepo(QString& file, Repo::Entry const& entry);
    bool removeUnusedFiles(QSet<QString> const& written);
    // Records why parsing failed, for the caller to report.
    void fail(QString const& message, int errorNumber);
    // A critical box with the message and the "; errno = ..." suffix.
    void error(QString const& message, int errorNumber);

    QString m_cachedir;
    QStringList m_reposdirs;
    bool m_mainEnabled = true;
    bool m_mainGpgcheck = false;
    Repo::EntryList m_repos;
    QList<YumRepoEnabled> const& m_repoEnabledPatterns;
    QHash<QString, bool>& m_sessionEnabled;
    QString m_mainText;
    QPointer<QWidget> m_parent;
    QStringList m_pushedBack;

    // The file being read, for read error messages.
    QString m_readingPath;
    // Why the last parse failed.
    QString m_failure;
    int m_failureErrno = 0;
    // Only a complete read gives a list that may replace the files: writing
    // after a failed read would delete whatever was not read.
    bool m_readComplete = false;
    // The ".repo" files of the last read.  Only these may be deleted as
    // unused: a file that appeared since was never shown to the user.
    QSet<QString> m_readFiles;
    // Every file's bytes as last read or written, to notice another
    // program's changes before overwriting them.
    QHash<QString, QByteArray> m_readContents;
    // The files that were valid UTF-8 and are written back as UTF-8; the
    // others are Latin-1 both ways.
    QSet<QString> m_utf8Files;
    Repo::EntryList m_readRepos;
    bool m_readingUtf8 = true;
};
