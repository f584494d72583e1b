#pragma once

#include "widgets/PasswdLineEdit.h"

#include <QPlainTextEdit>
#include <QRegularExpression>

class QToolButton;

// The multi-line counterpart of PasswdLineEdit, for a list of URLs one per
// line: the same masking, editing and refusal to copy masked text, with the
// eye in the field's upper right corner.
class PasswdTextEdit : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit PasswdTextEdit(QRegularExpression const& passwords, QWidget* parent = nullptr);

    QString text() const { return m_mask.real(); }
    void setText(QString const& text);

    bool revealed() const { return m_mask.revealed(); }
    void setRevealed(bool revealed);

Q_SIGNALS:
    void realTextChanged(QString const& text);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    // A drag or a copy of masked characters carries nothing.
    QMimeData* createMimeDataFromSelection() const override;

private:
    void shownChanged();
    void typeReal(int from, int to, QString const& text);
    void showMask();
    void updateReveal();
    void placeButton();
    bool selectionMasked() const;

    PasswdMask m_mask;
    QAction* m_reveal;
    QToolButton* m_button;
    bool m_updating = false;
};
