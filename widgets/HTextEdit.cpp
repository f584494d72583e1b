#include "widgets/HTextEdit.h"

#include <QApplication>
#include <QFocusEvent>
#include <QFontDatabase>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <algorithm>

namespace
{
// Width of a line in columns, tabs advancing to the next multiple of 8.
int columnsOf(QStringView line)
{
    int column = 0;
    for (QChar c : line)
        column = c == u'\t' ? (column / 8 + 1) * 8 : column + 1;
    return column;
}
} // namespace

HTextEdit::HTextEdit(QWidget* parent)
    : QTextEdit(parent)
{
}

HTextEdit::HTextEdit(int columns, int lines, QWidget* parent)
    : QTextEdit(parent)
    , columns(columns)
    , lines(lines)
{
}

HTextEdit* HTextEdit::plainViewer(QString const& text, QWidget* parent)
{
    int widest = 0;
    int count = 0;
    for (QStringView line : QStringView(text).split(u'\n')) {
        widest = std::max(widest, columnsOf(line));
        ++count;
    }
    // Small texts get a comfortable area, long ones scroll inside a window
    // that still fits on a laptop screen.
    auto* area = new HTextEdit(std::clamp(widest + 1, 50, 110), std::clamp(count, 6, 28), parent);
    area->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    area->setTabStopDistance(8 * area->fontMetrics().horizontalAdvance(u' '));
    area->setReadOnly(true);
    area->setPlainText(text);
    return area;
}

void HTextEdit::appendCompact(QString const& text)
{
    append(text);
    QTextCursor cursor(document());
    cursor.beginEditBlock();
    cursor.movePosition(QTextCursor::End);
    QTextBlockFormat format = cursor.blockFormat();
    format.setTopMargin(0);
    format.setBottomMargin(0);
    cursor.setBlockFormat(format);
    cursor.endEditBlock();
}

QSize HTextEdit::sizeHint() const
{
    if (columns <= 0 || lines <= 0)
        return QTextEdit::sizeHint();
    QFontMetricsF const metrics(font());
    // The document lays lines out at fractional heights; round the total, not
    // each line, so that `lines` lines really fit.
    qreal const margins = 2 * frameWidth() + 2 * document()->documentMargin();
    int const width
        = qCeil(columns * metrics.averageCharWidth() + margins) + verticalScrollBar()->sizeHint().width();
    int const height = qCeil(lines * metrics.lineSpacing() + margins);
    return { width, height };
}

void HTextEdit::focusOutEvent(QFocusEvent* event)
{
    // Opening the context menu takes the focus away for a moment; the edit
    // goes on when it closes.
    QWidget const* popup = QApplication::activePopupWidget();
    if (event->reason() != Qt::PopupFocusReason && !(popup && popup->parentWidget() == this))
        Q_EMIT editingFinished();
    QTextEdit::focusOutEvent(event);
}
