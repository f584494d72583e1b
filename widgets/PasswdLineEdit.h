#pragma once

#include <QLineEdit>
#include <QRegularExpression>

// A one-line field for a URL that may carry a password: whatever the given
// expression captures is shown masked until the user asks to see it.
// text() and setText() always work on the real text; textChanged() and
// textEdited() carry the real text too.
class PasswdLineEdit : public QLineEdit
{
    Q_OBJECT

public:
    explicit PasswdLineEdit(QRegularExpression const& passwords, QWidget* parent = nullptr);

    QString text() const;
    void setText(QString const& text);

    bool revealed() const;
    void setRevealed(bool revealed);

Q_SIGNALS:
    // The real text, after every change by the user or by setText().
    void realTextChanged(QString const& text);
};
