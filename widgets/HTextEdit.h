#pragma once

#include <QTextEdit>

// The text area of the log and of the repository dialogs: it appends
// paragraphs without spacing between them, and reports the end of an edit when
// the focus really leaves it (not when its own context menu opens).
class HTextEdit : public QTextEdit
{
    Q_OBJECT

public:
    explicit HTextEdit(QWidget* parent = nullptr);
    // The size hint asks for room for `columns` average characters of the
    // widget's font and `lines` lines of text.
    HTextEdit(int columns, int lines, QWidget* parent = nullptr);

    // A read-only area in the fixed-pitch font showing `text` as it is, with a
    // size hint that fits the text up to a sensible size.  Lines too long for
    // the window wrap rather than hide behind a horizontal scroll bar.
    static HTextEdit* plainViewer(QString const& text, QWidget* parent);

    // Appends one paragraph as append() does, without room above or below it.
    void appendCompact(QString const& text);

    QSize sizeHint() const override;

Q_SIGNALS:
    void editingFinished();

protected:
    void focusOutEvent(QFocusEvent* event) override;

private:
    int columns = 0;
    int lines = 0;
};
