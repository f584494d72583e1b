#pragma once

#include "widgets/HDialog.h"

class YumConfIO;
class YumIO;

namespace RepoEditor
{
// The repository editor: every configured repository, enabled for the
// session or permanently, added, copied, edited, removed and written back.
class Dialog : public HDialog
{
    Q_OBJECT

public:
    Dialog(YumIO* yum, YumConfIO* conf, QWidget* parent = nullptr);

    // At start-up the main window waits for the editor to close before it
    // collects: closing then reports a change whatever happened.
    void setStartup(bool startup);

Q_SIGNALS:
    // Emitted after the dialog was hidden when the files were written, a
    // session state was toggled, or at start-up.
    void reposChanged();

    // (the rest is the editor's own)
};
} // namespace RepoEditor
