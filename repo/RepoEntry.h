#pragma once

#include <QList>
#include <QString>

namespace Repo
{

// One repository section of a configuration file, as read or as it will be
// written.  A value type: the editor copies, edits and hands back lists of it.
struct Entry {
    // Three-state keys (enabled, gpgcheck).  Only "0" in a file is Off; any
    // other value is On; a missing key is Unset and stays missing on write.
    enum Flag { Off = 0, Unset = 1, On = 2 };

    QString id;
    QString name;
    QString baseurl; // one URL per line, separated by single line feeds
    QString mirrorlist;
    Flag enabled = Unset;
    Flag gpgcheck = Unset;
    QString other; // every other line of the section, each ended by a line feed
    QString file; // the file that holds the section
    double position = 0.0; // orders sections within one file; never written

    friend bool operator==(Entry const&, Entry const&) = default;
};

using EntryList = QList<Entry>;

} // namespace Repo
