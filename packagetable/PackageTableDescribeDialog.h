#pragma once

#include "widgets/HDialog.h"

#include <QList>

class HScrollArea;
class QPushButton;
class YumConfIO;
class YumIO;

namespace Package
{
struct Entry;
}

namespace PackageTable::Describe
{

namespace Instance
{
class Area;
}

// Everything known about one table entry: one section for the entry and a
// short one for each further installed instance.  The table's model keeps
// one dialog and configures it anew for every entry it describes.
class Dialog : public HDialog
{
    Q_OBJECT

public:
    explicit Dialog(QWidget* parent = nullptr);
    ~Dialog() override;

    void config(YumIO* session, Package::Entry const& entry, YumConfIO* confIO);
    // Hiding drops the content: the next entry gets a fresh one.
    void setVisible(bool visible) override;
    // While not ready (a file list or change log loads on the session's work
    // thread) the dialog refuses to close.
    void setReady(bool ready);
    bool isReady() const { return ready; }
    // A load of extra data may have changed what every section's "Show"
    // buttons say.
    void updateButtons();

    QList<Instance::Area*> const& sections() const { return areas; }

public Q_SLOTS:
    void done(int result) override;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void clearContent();

    bool ready = true;
    QPushButton* closeButton;
    HScrollArea* scroll;
    QWidget* content = nullptr;
    QList<Instance::Area*> areas;
};

} // namespace PackageTable::Describe
