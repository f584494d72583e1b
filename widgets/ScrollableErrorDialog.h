#pragma once

#include "widgets/HDialog.h"

// An error message too long for a message box (yum's own error output, a
// walkback): the error icon, the text in a scrollable read-only area, and one
// OK button.  The caller sets the title.
class ScrollableErrorDialog : public HDialog
{
    Q_OBJECT

public:
    explicit ScrollableErrorDialog(QString const& text, QWidget* parent = nullptr);
};
