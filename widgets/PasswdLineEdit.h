#pragma once

#include <QIcon>
#include <QLineEdit>
#include <QList>
#include <QRegularExpression>

class QKeyEvent;
class QMenu;

// The text of a URL field that may carry passwords: the real text, and what
// the field shows, in which every password the expression captures is
// replaced by one mask character per character.  Both texts are equally
// long, so a position means the same in either.
class PasswdMask
{
public:
    explicit PasswdMask(QRegularExpression const& passwords);

    QString const& real() const { return m_real; }
    QString const& shown() const { return m_shown; }
    void setReal(QString const& real);
    void setMaskCharacter(QChar mask);

    bool revealed() const { return m_revealed; }
    void setRevealed(bool revealed);
    // Whether the real text has a password at all, shown or not.
    bool hasPasswords() const { return !m_spans.isEmpty(); }
    // Whether any masked character lies in [from, to).
    bool masks(qsizetype from, qsizetype to) const;
    // Whether text typed over [from, to) goes into a masked password.
    bool typesIntoMask(qsizetype from, qsizetype to) const;
    // The real text with [from, to) replaced by `text`.
    void replace(qsizetype from, qsizetype to, QString const& text);
    // The text a key press types, if it types any.
    static QString typed(QKeyEvent const* event);

    // The field now shows `shown` after an edit that left the cursor at
    // `cursor`: the same edit is made to the real text.  A masked character
    // stands for the real one at its place, so deleting or overtyping it
    // changes the password blindly, as in a password field.  Returns whether
    // the field must be given shown() again: the edit removed masked
    // characters (so the field's undo history now holds mask characters that
    // do not stand for the password) or what it shows is no longer masked as
    // it should be.
    bool edit(QString const& shown, qsizetype cursor);

    // An eye, crossed out once the passwords are shown, in `color`.
    static QIcon eyeIcon(bool crossed, QColor const& color);
    // Disables the copy and cut entries of a field's standard context menu.
    static void refuseCopy(QMenu* menu);

private:
    void update();

    QRegularExpression m_passwords;
    QString m_real;
    QString m_shown;
    QList<std::pair<qsizetype, qsizetype>> m_spans; // [start, end) of each password
    QChar m_mask = QLatin1Char('*');
    bool m_revealed = false;
};

// A one-line field for a URL that may carry a password: whatever the given
// expression captures is shown masked until the user asks to see it with the
// eye at the end of the field.  text() and setText() work on the real text,
// and realTextChanged() carries it; everything the field exposes as a
// QLineEdit (QLineEdit::text(), textChanged(), textEdited(), the clipboard,
// accessibility) only ever sees the masked text.
//
// The field is edited naturally: an edit outside a password lands in the real
// text at the same place, and an edit inside one changes the password blindly
// (one mask character per character); keys typed into a password never reach
// the field as plain text, so that not even accessibility announces them.
// Copying or cutting a selection that holds masked characters is refused.
// Hiding the field masks it again.
class PasswdLineEdit : public QLineEdit
{
    Q_OBJECT

public:
    explicit PasswdLineEdit(QRegularExpression const& passwords, QWidget* parent = nullptr);

    QString text() const { return m_mask.real(); }
    void setText(QString const& text);

    bool revealed() const { return m_mask.revealed(); }
    void setRevealed(bool revealed);

Q_SIGNALS:
    // The real text, after every change by the user or by setText().
    void realTextChanged(QString const& text);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void shownChanged(QString const& shown);
    // Types `text` over [from, to) straight into the real text.
    void typeReal(int from, int to, QString const& text);
    // Puts the mask's shown text into the field, keeping cursor and selection.
    void showMask();
    void updateReveal();
    bool selectionMasked() const;

    PasswdMask m_mask;
    QAction* m_reveal;
    bool m_updating = false;
};
