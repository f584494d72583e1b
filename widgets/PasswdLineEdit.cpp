#include "widgets/PasswdLineEdit.h"

#include <QAction>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QStyle>

// --- PasswdMask ---------------------------------------------------------------------

PasswdMask::PasswdMask(QRegularExpression const& passwords)
    : m_passwords(passwords)
{
}

void PasswdMask::setReal(QString const& real)
{
    m_real = real;
    update();
}

void PasswdMask::setMaskCharacter(QChar mask)
{
    m_mask = mask;
    update();
}

void PasswdMask::setRevealed(bool revealed)
{
    m_revealed = revealed;
    update();
}

bool PasswdMask::masks(qsizetype from, qsizetype to) const
{
    if (m_revealed)
        return false;
    for (auto const& [start, end] : m_spans) {
        if (from < end && start < to)
            return true;
    }
    return false;
}

bool PasswdMask::typesIntoMask(qsizetype from, qsizetype to) const
{
    if (m_revealed)
        return false;
    for (auto const& [start, end] : m_spans) {
        if (from <= end && start <= to)
            return true;
    }
    return false;
}

void PasswdMask::replace(qsizetype from, qsizetype to, QString const& text)
{
    m_real = m_real.left(from) + text + m_real.mid(to);
    update();
}

QString PasswdMask::typed(QKeyEvent const* event)
{
    if (event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier))
        return QString();
    QString const text = event->text();
    return !text.isEmpty() && text.at(0).isPrint() ? text : QString();
}

void PasswdMask::update()
{
    m_spans.clear();
    for (auto it = m_passwords.globalMatch(m_real); it.hasNext();) {
        QRegularExpressionMatch const match = it.next();
        for (int i = 1; i <= match.lastCapturedIndex(); ++i) {
            if (match.capturedLength(i) > 0)
                m_spans.append({ match.capturedStart(i), match.capturedEnd(i) });
        }
    }
    m_shown = m_real;
    if (!m_revealed) {
        for (auto const& [start, end] : m_spans)
            m_shown.replace(start, end - start, QString(end - start, m_mask));
    }
}

bool PasswdMask::edit(QString const& shown, qsizetype cursor)
{
    // The edited range is what lies between the common head and tail of the
    // old and the new text.  Where that is ambiguous (a character typed next
    // to an equal one) the cursor, which ends the edit, decides.
    QString const& old = m_shown;
    qsizetype const shorter = std::min(old.size(), shown.size());
    qsizetype head = 0;
    while (head < shorter && head < cursor && old[head] == shown[head])
        ++head;
    qsizetype tail = 0;
    while (tail < shorter - head && tail < shown.size() - cursor
        && old[old.size() - 1 - tail] == shown[shown.size() - 1 - tail])
        ++tail;
    qsizetype const removedEnd = old.size() - tail;
    bool const removedMasked = masks(head, removedEnd);
    m_real = m_real.left(head) + shown.mid(head, shown.size() - tail - head) + m_real.mid(removedEnd);
    update();
    return removedMasked || m_shown != shown;
}

QIcon PasswdMask::eyeIcon(bool crossed, QColor const& color)
{
    QIcon icon;
    for (int const size : { 16, 32 }) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(size / 16.0, size / 16.0);
        painter.setPen(QPen(color, 1.2));
        QPainterPath lid;
        lid.moveTo(1.5, 8);
        lid.quadTo(8, 1, 14.5, 8);
        lid.quadTo(8, 15, 1.5, 8);
        painter.drawPath(lid);
        painter.setBrush(color);
        painter.drawEllipse(QPointF(8, 8), 2.2, 2.2);
        if (crossed)
            painter.drawLine(QPointF(2.5, 13.5), QPointF(13.5, 2.5));
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

void PasswdMask::refuseCopy(QMenu* menu)
{
    // The text field's entries are named; the line edit's are known only
    // by their texts, followed by their shortcuts.
    QStringList const names { QStringLiteral("edit-copy"), QStringLiteral("edit-cut") };
    QStringList const texts { QCoreApplication::translate("QLineEdit", "&Copy"),
        QCoreApplication::translate("QLineEdit", "Cu&t") };
    for (QAction* action : menu->actions()) {
        if (names.contains(action->objectName())
            || texts.contains(action->text().section(QLatin1Char('\t'), 0, 0)))
            action->setEnabled(false);
    }
}

// --- PasswdLineEdit -----------------------------------------------------------------

PasswdLineEdit::PasswdLineEdit(QRegularExpression const& passwords, QWidget* parent)
    : QLineEdit(parent)
    , m_mask(passwords)
{
    m_mask.setMaskCharacter(QChar(style()->styleHint(QStyle::SH_LineEdit_PasswordCharacter, nullptr, this)));
    m_reveal = addAction(QIcon(), QLineEdit::TrailingPosition);
    m_reveal->setCheckable(true);
    connect(m_reveal, &QAction::toggled, this, &PasswdLineEdit::setRevealed);
    connect(this, &QLineEdit::textChanged, this, &PasswdLineEdit::shownChanged);
    updateReveal();
}

void PasswdLineEdit::setText(QString const& text)
{
    if (text == m_mask.real())
        return;
    m_mask.setReal(text);
    showMask();
    updateReveal();
    Q_EMIT realTextChanged(text);
}

void PasswdLineEdit::setRevealed(bool revealed)
{
    if (revealed == m_mask.revealed())
        return;
    m_mask.setRevealed(revealed);
    showMask();
    updateReveal();
}

void PasswdLineEdit::shownChanged(QString const& shown)
{
    if (m_updating)
        return;
    QString const before = m_mask.real();
    if (m_mask.edit(shown, cursorPosition()))
        showMask();
    updateReveal();
    if (m_mask.real() != before)
        Q_EMIT realTextChanged(m_mask.real());
}

void PasswdLineEdit::showMask()
{
    int const cursor = cursorPosition();
    int const anchor = !hasSelectedText() ? cursor
        : cursor == selectionStart()      ? selectionEnd()
                                          : selectionStart();
    m_updating = true;
    // Also when the text is the same: setText() clears the undo history,
    // whose mask characters undo could otherwise bring back as real text.
    QLineEdit::setText(m_mask.shown());
    m_updating = false;
    if (anchor != cursor)
        setSelection(anchor, cursor - anchor);
    else
        setCursorPosition(cursor);
}

void PasswdLineEdit::updateReveal()
{
    bool const revealed = m_mask.revealed();
    m_reveal->setVisible(m_mask.hasPasswords() || revealed);
    QSignalBlocker const blocker(m_reveal);
    m_reveal->setChecked(revealed);
    m_reveal->setIcon(PasswdMask::eyeIcon(revealed, palette().color(QPalette::Text)));
    m_reveal->setText(revealed ? tr("Hide password") : tr("Show password"));
    m_reveal->setToolTip(
        revealed ? tr("Hide the password in this URL") : tr("Show the password in this URL"));
}

bool PasswdLineEdit::selectionMasked() const
{
    return hasSelectedText() && m_mask.masks(selectionStart(), selectionEnd());
}

void PasswdLineEdit::keyPressEvent(QKeyEvent* event)
{
    if (selectionMasked() && (event->matches(QKeySequence::Copy) || event->matches(QKeySequence::Cut))) {
        event->accept();
        return;
    }
    int const from = hasSelectedText() ? selectionStart() : cursorPosition();
    int const to = hasSelectedText() ? selectionEnd() : cursorPosition();
    QString const typed = PasswdMask::typed(event);
    if (!typed.isEmpty() && !isReadOnly() && m_mask.typesIntoMask(from, to)) {
        typeReal(from, to, typed);
        event->accept();
        return;
    }
    QLineEdit::keyPressEvent(event);
}

void PasswdLineEdit::typeReal(int from, int to, QString const& text)
{
    m_mask.replace(from, to, text);
    showMask();
    setCursorPosition(from + int(text.size()));
    updateReveal();
    Q_EMIT realTextChanged(m_mask.real());
}

void PasswdLineEdit::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu* menu = createStandardContextMenu();
    if (selectionMasked())
        PasswdMask::refuseCopy(menu);
    if (m_reveal->isVisible()) {
        menu->addSeparator();
        menu->addAction(m_reveal);
    }
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(event->globalPos());
}

void PasswdLineEdit::hideEvent(QHideEvent* event)
{
    setRevealed(false);
    QLineEdit::hideEvent(event);
}

void PasswdLineEdit::changeEvent(QEvent* event)
{
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::StyleChange) {
        m_mask.setMaskCharacter(
            QChar(style()->styleHint(QStyle::SH_LineEdit_PasswordCharacter, nullptr, this)));
        showMask();
    } else if (event->type() == QEvent::PaletteChange) {
        updateReveal();
    }
}
