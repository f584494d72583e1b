#pragma once

#include <QPoint>
#include <QProgressBar>
#include <QString>

// The bar of the total and item progress.  Besides the percentage it shows
// what is being done, and it leaves its tool-tip to its owner: hovering over it
// emits toolTip() instead of showing a fixed text, so that the owner can show
// what is current at that moment.
class HProgressBar : public QProgressBar
{
    Q_OBJECT

public:
    explicit HProgressBar(QWidget* parent = nullptr);

    QString activity() const { return activityText; }
    // Stores the text and repaints, but only when it differs from the one shown.
    void setActivity(QString const& activity);

    // "activity (percentage)", or whichever of the two is not empty.
    QString text() const override;

Q_SIGNALS:
    // Emitted for a tool-tip request over the bar, with the pointer's position
    // in the bar's coordinates.
    void toolTip(QPoint const& pos);

public Q_SLOTS:
    // Clears the activity as well as the value.
    void reset();

protected:
    bool event(QEvent* event) override;

private:
    QString activityText;
};
