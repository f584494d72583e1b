#pragma once

#include <QHash>
#include <QPointer>
#include <QString>
#include <optional>

class QWidget;
class YumConfIO;

namespace RepoAuth
{
class Dialog;

// Before the engine uses the repositories: reads the configuration and asks
// for the name and password of every session-enabled buffet repository whose
// URLs still lack both, then writes what was entered.  The whole check runs
// in the constructor.
class Checker
{
public:
    struct Auth {
        QString name;
        QString password;
    };

    Checker(QWidget* parent, YumConfIO* conf);
    ~Checker();

    // The user chose Quit.
    bool quit() const { return m_quit; }
    // The configuration files or the session's table of enabled repositories
    // changed: the engine must forget what it read before.
    bool reset() const { return m_changed || m_disabled; }

private:
    bool m_quit = false;
    bool m_changed = false;
    bool m_disabled = false;
    QPointer<Dialog> m_dialog; // made on first need
    QHash<QString, Auth> m_hosts;
    std::optional<Auth> m_all;
};
} // namespace RepoAuth
