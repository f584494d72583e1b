#include "widgets/HDialog.h"

HDialog::HDialog(QWidget* parent, Qt::WindowFlags flags)
    : QDialog(parent, flags)
{
}

void HDialog::setVisible(bool visible)
{
    bool const wasVisible = isVisible();
    if (visible && !wasVisible) {
        bool const approved = showApproved || aboutToShow();
        showApproved = false;
        if (!approved)
            return;
    }
    QDialog::setVisible(visible);
    if (!visible && wasVisible)
        Q_EMIT hidden();
}

int HDialog::exec()
{
    if (!isVisible()) {
        if (!aboutToShow()) {
            setResult(QDialog::Rejected);
            return QDialog::Rejected;
        }
        // exec() shows the dialog itself; it must not be asked twice.
        showApproved = true;
    }
    return QDialog::exec();
}
