#pragma once

#include <QFrame>
#include <QPointer>
#include <QTimer>
#include <functional>

// A tool-tip window with arbitrary content.  Its owner builds the content with
// a function (typically a grid layout of labels set on the tip), and the tip
// behaves like the toolkit's own: it appears beside the pointer, stays on the
// screen, and goes away when the pointer leaves the widget, on a click or a
// key, or when the widget disappears.  At most one exists at a time.
class GeneralTip : public QFrame
{
    Q_OBJECT

public:
    using Builder = std::function<void(GeneralTip* tip, void* data)>;

    // Milliseconds between rebuilds of a live tip, and how long a tip that is
    // not live stays up.
    static constexpr int refreshInterval = 500;
    static constexpr int showTime = 10000;

    // Shows a new tip for `widget` at the global position `pos` (the pointer),
    // replacing any tip shown before; `build(tip, data)` fills it.  A live tip
    // is built again every refreshInterval milliseconds while it is shown, so
    // it follows what it describes; it stays up as long as the pointer stays
    // over the widget.
    static void showTip(QPoint const& pos, Builder build, void* data, QWidget* widget, bool live);
    static void hideTip();
    // The tip shown now, or null.
    static GeneralTip* current();

    // Throws the content away and builds it again.
    void rebuild();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    GeneralTip(Builder build, void* data, QWidget* widget, bool live);
    void place(QPoint const& pos);

    Builder build;
    void* data;
    QPointer<QWidget> widget;
    QPoint anchor;
    QTimer timer;

    static QPointer<GeneralTip> shown;
};
