#pragma once

#include "widgets/HDialog.h"

class HTextEdit;
class QDialogButtonBox;

// A dialog that shows a long plain text (a file list, a change log) in a
// scrollable read-only area with a Close button.  The caller sets the title.
class TextDialog : public HDialog
{
    Q_OBJECT

public:
    explicit TextDialog(QWidget* parent = nullptr);
    TextDialog(QString const& text, QWidget* parent = nullptr);

    QString text() const;
    // Replaces the text; the dialog resizes to it when it is next shown.
    void setText(QString const& text);

private:
    QDialogButtonBox* buttons;
    HTextEdit* area = nullptr;
};
