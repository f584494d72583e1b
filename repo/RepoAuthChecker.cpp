#include "repo/RepoAuthChecker.h"

#include "repo/RepoAuthDialog.h"
#include "repo/RepoBuffet.h"
#include "repo/URL.h"
#include "repo/YumConfIO.h"

namespace
{
void replace(Repo::Entry& entry, RepoAuth::Checker::Auth const& auth)
{
    entry.baseurl = Repo::Buffet::replaceAuth(entry.baseurl, auth.name, auth.password);
    entry.mirrorlist = Repo::Buffet::replaceAuth(entry.mirrorlist, auth.name, auth.password);
}
} // namespace

RepoAuth::Checker::Checker(QWidget* parent, YumConfIO* conf)
{
    if (!conf->read(parent))
        return;
    Repo::EntryList& repos = conf->repos();
    QHash<QString, bool>& session = conf->sessionEnabled();
    for (Repo::Entry& entry : repos) {
        QString key1, name, key2, password;
        if (!session.value(entry.id) || !Repo::Buffet::getAuth(entry, key1, name, key2, password)
            || !name.isEmpty() || !password.isEmpty())
            continue;
        if (!m_dialog)
            m_dialog = new Dialog(parent);
        QString host = URL::getHost(entry.baseurl);
        if (host.isEmpty())
            host = URL::getHost(entry.mirrorlist);

        Repo::Entry const before = entry;
        if (m_all) {
            replace(entry, *m_all);
        } else if (m_hosts.contains(host)) {
            replace(entry, m_hosts.value(host));
        } else {
            int const result = m_dialog->exec(&entry);
            if (result == Dialog::Quit) {
                m_quit = true;
                break;
            }
            if (result == Dialog::SkipAll)
                break;
            if (result == Dialog::Disable) {
                session.insert(entry.id, false);
                m_disabled = true;
                continue;
            }
            Auth entered;
            Repo::Buffet::getAuth(entry, key1, entered.name, key2, entered.password);
            if (result == Dialog::ApplyAll)
                m_all = entered;
            else if (result == Dialog::ApplyHost)
                m_hosts.insert(host, entered);
        }
        if (entry != before)
            m_changed = true;
    }

    if (m_dialog)
        m_dialog->hide();
    if (m_changed)
        conf->write(parent);
}

RepoAuth::Checker::~Checker()
{
    delete m_dialog;
}
