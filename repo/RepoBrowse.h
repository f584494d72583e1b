#pragma once

#include "repo/RepoEntry.h"

#include <QString>

class QWidget;
class YumConfIO;
class YumIO;

// Opens a repository's first URL in the desktop user's web browser, through
// the shared-data script "webbrowser".
namespace RepoBrowse
{
void browse(QWidget* parent, Repo::Entry const& entry, YumIO* yum);
// Browses the first configured repository with identifier `id`; nothing
// happens when there is none.
void browse(QWidget* parent, QString const& id, YumIO* yum, YumConfIO* conf);
} // namespace RepoBrowse
