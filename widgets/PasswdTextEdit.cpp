#include "widgets/PasswdTextEdit.h"

#include <QAction>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QStyle>
#include <QToolButton>

PasswdTextEdit::PasswdTextEdit(QRegularExpression const& passwords, QWidget* parent)
    : QPlainTextEdit(parent)
    , m_mask(passwords)
    , m_reveal(new QAction(this))
    , m_button(new QToolButton(this))
{
    m_mask.setMaskCharacter(QChar(style()->styleHint(QStyle::SH_LineEdit_PasswordCharacter, nullptr, this)));
    m_reveal->setCheckable(true);
    m_button->setDefaultAction(m_reveal);
    m_button->setAutoRaise(true);
    m_button->setCursor(Qt::ArrowCursor);
    m_button->setFocusPolicy(Qt::NoFocus);
    connect(m_reveal, &QAction::toggled, this, &PasswdTextEdit::setRevealed);
    connect(this, &QPlainTextEdit::textChanged, this, &PasswdTextEdit::shownChanged);
    updateReveal();
}

void PasswdTextEdit::setText(QString const& text)
{
    if (text == m_mask.real())
        return;
    m_mask.setReal(text);
    showMask();
    updateReveal();
    Q_EMIT realTextChanged(text);
}

void PasswdTextEdit::setRevealed(bool revealed)
{
    if (revealed == m_mask.revealed())
        return;
    m_mask.setRevealed(revealed);
    showMask();
    updateReveal();
}

void PasswdTextEdit::shownChanged()
{
    if (m_updating)
        return;
    QString const before = m_mask.real();
    if (m_mask.edit(toPlainText(), textCursor().position()))
        showMask();
    updateReveal();
    if (m_mask.real() != before)
        Q_EMIT realTextChanged(m_mask.real());
}

void PasswdTextEdit::showMask()
{
    // Only the part that differs is replaced, so that the view keeps its
    // place; the undo history goes, as its mask characters could otherwise
    // come back as real text.
    QString const current = toPlainText();
    QString const& shown = m_mask.shown();
    qsizetype const shorter = std::min(current.size(), shown.size());
    qsizetype head = 0;
    while (head < shorter && current[head] == shown[head])
        ++head;
    qsizetype tail = 0;
    while (tail < shorter - head && current[current.size() - 1 - tail] == shown[shown.size() - 1 - tail])
        ++tail;
    QTextCursor const user = textCursor();
    int const anchor = user.anchor(), position = user.position();
    m_updating = true;
    if (head < current.size() - tail || head < shown.size() - tail) {
        QTextCursor cursor(document());
        cursor.setPosition(int(head));
        cursor.setPosition(int(current.size() - tail), QTextCursor::KeepAnchor);
        cursor.insertText(shown.mid(head, shown.size() - tail - head));
    }
    document()->clearUndoRedoStacks();
    m_updating = false;
    QTextCursor restored(document());
    restored.setPosition(std::min(anchor, int(shown.size())));
    restored.setPosition(std::min(position, int(shown.size())), QTextCursor::KeepAnchor);
    setTextCursor(restored);
}

void PasswdTextEdit::updateReveal()
{
    bool const revealed = m_mask.revealed();
    bool const offered = m_mask.hasPasswords() || revealed;
    m_button->setVisible(offered);
    QSignalBlocker const blocker(m_reveal);
    m_reveal->setChecked(revealed);
    m_reveal->setIcon(PasswdMask::eyeIcon(revealed, palette().color(QPalette::Text)));
    m_reveal->setText(revealed ? tr("Hide passwords") : tr("Show passwords"));
    m_reveal->setToolTip(
        revealed ? tr("Hide the passwords in these URLs") : tr("Show the passwords in these URLs"));
    m_button->setAccessibleName(m_reveal->text());
    setViewportMargins(0, 0, offered ? m_button->sizeHint().width() : 0, 0);
    placeButton();
}

bool PasswdTextEdit::selectionMasked() const
{
    QTextCursor const cursor = textCursor();
    return cursor.hasSelection() && m_mask.masks(cursor.selectionStart(), cursor.selectionEnd());
}

void PasswdTextEdit::keyPressEvent(QKeyEvent* event)
{
    if (selectionMasked() && (event->matches(QKeySequence::Copy) || event->matches(QKeySequence::Cut))) {
        event->accept();
        return;
    }
    QTextCursor const cursor = textCursor();
    QString const typed = PasswdMask::typed(event);
    if (!typed.isEmpty() && !isReadOnly()
        && m_mask.typesIntoMask(cursor.selectionStart(), cursor.selectionEnd())) {
        typeReal(cursor.selectionStart(), cursor.selectionEnd(), typed);
        event->accept();
        return;
    }
    QPlainTextEdit::keyPressEvent(event);
}

void PasswdTextEdit::typeReal(int from, int to, QString const& text)
{
    m_mask.replace(from, to, text);
    showMask();
    QTextCursor cursor = textCursor();
    cursor.setPosition(from + int(text.size()));
    setTextCursor(cursor);
    updateReveal();
    Q_EMIT realTextChanged(m_mask.real());
}

void PasswdTextEdit::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu* menu = createStandardContextMenu(event->pos());
    if (selectionMasked())
        PasswdMask::refuseCopy(menu);
    if (!m_button->isHidden()) {
        menu->addSeparator();
        menu->addAction(m_reveal);
    }
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(event->globalPos());
}

QMimeData* PasswdTextEdit::createMimeDataFromSelection() const
{
    if (selectionMasked())
        return new QMimeData;
    return QPlainTextEdit::createMimeDataFromSelection();
}

void PasswdTextEdit::hideEvent(QHideEvent* event)
{
    setRevealed(false);
    QPlainTextEdit::hideEvent(event);
}

void PasswdTextEdit::resizeEvent(QResizeEvent* event)
{
    QPlainTextEdit::resizeEvent(event);
    placeButton();
}

void PasswdTextEdit::placeButton()
{
    // In the margin kept free right of the text, left of the scroll bar.
    QRect const text = viewport()->geometry();
    m_button->setGeometry(QRect(QPoint(text.right() + 1, text.top()), m_button->sizeHint()));
}

void PasswdTextEdit::changeEvent(QEvent* event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::StyleChange) {
        m_mask.setMaskCharacter(
            QChar(style()->styleHint(QStyle::SH_LineEdit_PasswordCharacter, nullptr, this)));
        showMask();
    } else if (event->type() == QEvent::PaletteChange) {
        updateReveal();
    }
}
