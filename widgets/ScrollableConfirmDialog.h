#pragma once

#include "widgets/HDialog.h"

class QPushButton;

// A question whose text may be long (the list of a transaction): the question
// icon, the text in a scrollable read-only area, and two buttons.  `reject`
// and `accept` are the buttons' texts, "No" and "Yes" when empty; exec()
// returns Accepted for the accepting button.  The rejecting button is the
// default, so that an Enter pressed by mistake changes nothing.  The caller
// sets the title.
class ScrollableConfirmDialog : public HDialog
{
    Q_OBJECT

public:
    ScrollableConfirmDialog(
        QString const& text, QString const& reject, QString const& accept, QWidget* parent = nullptr);

    QPushButton* acceptButton() const { return acceptPush; }
    QPushButton* rejectButton() const { return rejectPush; }

private:
    QPushButton* acceptPush;
    QPushButton* rejectPush;
};
