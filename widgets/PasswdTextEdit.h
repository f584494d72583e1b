#pragma once

#include <QPlainTextEdit>
#include <QRegularExpression>

// The multi-line counterpart of PasswdLineEdit, for a list of URLs one per
// line.
class PasswdTextEdit : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit PasswdTextEdit(QRegularExpression const& passwords, QWidget* parent = nullptr);

    QString text() const;
    void setText(QString const& text);

    bool revealed() const;
    void setRevealed(bool revealed);

Q_SIGNALS:
    void realTextChanged(QString const& text);
};
