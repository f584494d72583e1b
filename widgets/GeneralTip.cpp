#include "widgets/GeneralTip.h"

#include <QApplication>
#include <QLayout>
#include <QMouseEvent>
#include <QScreen>
#include <QStyleOptionFrame>
#include <QStylePainter>
#include <QToolTip>
#include <algorithm>

QPointer<GeneralTip> GeneralTip::shown;

GeneralTip::GeneralTip(Builder build, void* data, QWidget* widget, bool live)
    // Owned by the widget, so that it never outlives what it describes.
    : QFrame(widget, Qt::ToolTip | Qt::FramelessWindowHint | Qt::BypassGraphicsProxyWidget)
    , build(std::move(build))
    , data(data)
    , widget(widget)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_DeleteOnClose);
    setForegroundRole(QPalette::ToolTipText);
    setBackgroundRole(QPalette::ToolTipBase);
    setPalette(QToolTip::palette());
    setFont(QToolTip::font());
    int const margin = 1 + style()->pixelMetric(QStyle::PM_ToolTipLabelFrameWidth, nullptr, this);
    setContentsMargins(margin, margin, margin, margin);

    if (live) {
        timer.setInterval(refreshInterval);
        connect(&timer, &QTimer::timeout, this, &GeneralTip::rebuild);
    } else {
        timer.setSingleShot(true);
        timer.setInterval(showTime);
        connect(&timer, &QTimer::timeout, this, &GeneralTip::hideTip);
    }
    qApp->installEventFilter(this);
}

void GeneralTip::showTip(QPoint const& pos, Builder build, void* data, QWidget* widget, bool live)
{
    hideTip();
    if (!widget || !build)
        return;
    auto* tip = new GeneralTip(std::move(build), data, widget, live);
    shown = tip;
    tip->anchor = pos;
    tip->rebuild();
    tip->show();
    // Frame margins are known only once the window exists.
    tip->place(pos);
    tip->timer.start();
}

void GeneralTip::hideTip()
{
    if (GeneralTip* tip = shown) {
        shown = nullptr;
        tip->hide();
        tip->deleteLater();
    }
}

GeneralTip* GeneralTip::current()
{
    return shown;
}

void GeneralTip::rebuild()
{
    delete layout();
    for (QWidget* child : findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
        delete child;
    build(this, data);
    adjustSize();
    place(anchor);
}

void GeneralTip::place(QPoint const& pos)
{
    QScreen* screen = QGuiApplication::screenAt(pos);
    if (!screen && widget)
        screen = widget->screen();
    QSize const outer = frameGeometry().size();
    QRect const available = screen ? screen->availableGeometry() : QRect(pos, outer);
    // Below and right of the pointer as the toolkit's tips are; above it when
    // there is no room below, and pushed left when there is none to the right.
    QPoint at = pos + QPoint(2, 16);
    if (at.x() + outer.width() > available.right() + 1)
        at.setX(available.right() + 1 - outer.width());
    if (at.y() + outer.height() > available.bottom() + 1)
        at.setY(pos.y() - 4 - outer.height());
    at.setX(std::max(at.x(), available.left()));
    at.setY(std::max(at.y(), available.top()));
    move(at);
}

bool GeneralTip::eventFilter(QObject* watched, QEvent* event)
{
    if (this != shown)
        return false;
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
    case QEvent::Wheel:
    case QEvent::FocusOut:
    case QEvent::WindowDeactivate:
        hideTip();
        break;
    case QEvent::Leave:
    case QEvent::Hide:
        if (watched == widget || watched == (widget ? widget->window() : nullptr))
            hideTip();
        break;
    case QEvent::MouseMove:
        if (widget) {
            QPoint const global = static_cast<QMouseEvent*>(event)->globalPosition().toPoint();
            if (!widget->rect().contains(widget->mapFromGlobal(global)))
                hideTip();
        }
        break;
    default:
        break;
    }
    return false;
}

void GeneralTip::paintEvent(QPaintEvent*)
{
    QStylePainter painter(this);
    QStyleOptionFrame option;
    option.initFrom(this);
    painter.drawPrimitive(QStyle::PE_PanelTipLabel, option);
}
