#include "widgets/HProgressBar.h"

#include <QHelpEvent>

HProgressBar::HProgressBar(QWidget* parent)
    : QProgressBar(parent)
{
}

void HProgressBar::setActivity(QString const& activity)
{
    if (activity == activityText)
        return;
    activityText = activity;
    update();
}

QString HProgressBar::text() const
{
    QString const percentage = QProgressBar::text();
    if (activityText.isEmpty())
        return percentage;
    if (percentage.isEmpty())
        return activityText;
    return QStringLiteral("%1 (%2)").arg(activityText, percentage);
}

void HProgressBar::reset()
{
    activityText.clear();
    QProgressBar::reset();
}

bool HProgressBar::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip
        && (window()->testAttribute(Qt::WA_AlwaysShowToolTips) || isActiveWindow())) {
        Q_EMIT toolTip(static_cast<QHelpEvent*>(event)->pos());
        event->accept();
        return true;
    }
    return QProgressBar::event(event);
}
