#pragma once

#include "repo/RepoEntry.h"
#include "widgets/HDialog.h"

class HFrameLabel;
class QPushButton;
class YumConfIO;

namespace RepoEditor
{
class Config;

// The form in which one repository section is edited.  OK copies the fields
// over the entry given to setEntry() and accepts; without an edit it rejects,
// so that the editor marks nothing as changed.
class ConfigDialog : public HDialog
{
    Q_OBJECT

public:
    ConfigDialog(YumConfIO* conf, QWidget* parent = nullptr);

    // The entry edited, which must outlive the dialog's showing.
    void setEntry(Repo::Entry* entry);
    Config* config() const { return fields; }

public Q_SLOTS:
    void changed();
    void reset();
    void cancel();
    void ok();

protected:
    bool aboutToShow() override;

private:
    void setHasChanged(bool changed);

    YumConfIO* conf;
    Config* fields;
    HFrameLabel* statusLabel;
    QPushButton* resetButton;
    Repo::Entry* entry = nullptr;
    bool hasChanged = false;
};
} // namespace RepoEditor
