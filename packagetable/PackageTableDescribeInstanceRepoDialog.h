#pragma once

#include "repo/RepoEntry.h"

#include <QDialog>

class QVBoxLayout;
class YumIO;

namespace PackageTable::Describe::Instance
{

// The configuration of the repository a package comes from, with a button
// that opens it in the web browser.  Passwords in its URLs are masked.
class RepoDialog : public QDialog
{
    Q_OBJECT

public:
    RepoDialog(YumIO* session, QWidget* parent);

    void config(Repo::Entry const& repo);

public Q_SLOTS:
    void browse();

protected:
    void hideEvent(QHideEvent* event) override;

private:
    YumIO* session;
    Repo::Entry repo;
    QVBoxLayout* layout;
    QWidget* content = nullptr;
};

} // namespace PackageTable::Describe::Instance
