#pragma once

#include <QDialog>

// The base of the program's dialogs.  A dialog may refuse to be shown (for
// example when the files it edits cannot be read): aboutToShow() is asked
// before every showing, by whatever path, and a refusal keeps the dialog
// hidden and makes exec() return Rejected at once instead of waiting for a
// dialog that never appears.  hidden() is emitted after every hiding, whether
// by a button, Escape, the window's close button or hide().
class HDialog : public QDialog
{
    Q_OBJECT

public:
    explicit HDialog(QWidget* parent = nullptr, Qt::WindowFlags flags = {});

    void setVisible(bool visible) override;

public Q_SLOTS:
    int exec() override;

Q_SIGNALS:
    void hidden();

protected:
    // Called while the dialog is still hidden; false keeps it hidden.
    virtual bool aboutToShow() { return true; }

private:
    bool showApproved = false;
};
