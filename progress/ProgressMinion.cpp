#include "progress/ProgressMinion.h"

#include "widgets/GeneralTip.h"
#include "widgets/HProgressBar.h"

#include <QColor>
#include <QGridLayout>
#include <QLabel>
#include <QPalette>
#include <limits>

namespace Progress
{

namespace
{
// The bars take int values; a Steps value is passed truncated.
// A bar counts in int.  Scales past that (a download batch of more than
// 2 GiB, counted in bytes) are shifted down, value and maximum alike, so the
// bar keeps its proportions.
int scaleShift(Steps tail)
{
    int shift = 0;
    while ((tail >> shift) > Steps(std::numeric_limits<int>::max()))
        ++shift;
    return shift;
}

int barValue(Steps value, int shift)
{
    Steps const scaled = value >> shift;
    return scaled > Steps(std::numeric_limits<int>::max()) ? std::numeric_limits<int>::max() : int(scaled);
}

QLabel* plainLabel(QString const& text, QWidget* parent)
{
    QLabel* const label = new QLabel(parent);
    // File names are not markup.
    label->setTextFormat(Qt::PlainText);
    label->setText(text);
    return label;
}

QLabel* stateCell(QString const& text, QColor const& background, bool boxed, QWidget* parent)
{
    QLabel* const cell = plainLabel(text, parent);
    cell->setFrameStyle(QFrame::StyledPanel | QFrame::Plain);
    if (boxed)
        cell->setFrameStyle(QFrame::Box);
    QPalette palette = cell->palette();
    palette.setColor(QPalette::All, QPalette::Window, background);
    palette.setColor(QPalette::All, QPalette::WindowText,
        qGray(background.rgb()) < 124 ? QColor(Qt::white) : QColor(Qt::black));
    cell->setPalette(palette);
    cell->setAutoFillBackground(true);
    return cell;
}

QColor notStartedColor()
{
    return QColor(255, 140, 0);
}
QColor inProgressColor()
{
    return QColor(255, 255, 0);
}
QColor completeColor()
{
    return QColor(144, 238, 144);
}
} // namespace

Minion::Minion(HProgressBar* totalBar_, HProgressBar* itemBar_)
    : totalBar(totalBar_)
    , itemBar(itemBar_)
{
    if (itemBar)
        connect(itemBar, &HProgressBar::toolTip, this, &Minion::itemProgressToolTip);
}

void Minion::startTotal(QString activity, Steps totalTail)
{
    if (totalBar) {
        totalBar->setActivity(activity);
        totalShift = scaleShift(totalTail);
        totalBar->setMaximum(barValue(totalTail, totalShift));
        totalBar->setValue(0);
        totalBar->setEnabled(true);
    }
    if (itemBar) {
        itemBar->reset();
        itemBar->setEnabled(false);
    }
}

void Minion::startItem(QString activity, Steps totalValue, Steps itemTail)
{
    if (totalBar)
        totalBar->setValue(barValue(totalValue, totalShift));
    if (itemBar) {
        itemBar->setActivity(activity);
        itemShift = scaleShift(itemTail);
        itemBar->setMaximum(barValue(itemTail, itemShift));
        itemBar->setValue(0);
        itemBar->setEnabled(true);
    }
}

void Minion::changeItemActivity(QString activity)
{
    if (itemBar)
        itemBar->setActivity(activity);
}

void Minion::changeItemActs(Steps totalValue)
{
    setTotalValue(totalValue);
}

void Minion::setItemValue(Steps totalValue, Steps value)
{
    if (totalBar)
        totalBar->setValue(barValue(totalValue, totalShift));
    if (itemBar)
        itemBar->setValue(barValue(value, itemShift));
}

void Minion::endItemActs(Steps totalValue)
{
    setTotalValue(totalValue);
}

void Minion::setTotalValue(Steps value)
{
    if (totalBar)
        totalBar->setValue(barValue(value, totalShift));
}

Minion::~Minion()
{
    hideOwnTip();
}

void Minion::updateThreadsState(ThreadsState const& threads)
{
    threadsState = threads;
    // A tip left up after its batch would show an empty table.
    if (threadsState.count() == 0)
        hideOwnTip();
}

void Minion::reset()
{
    for (HProgressBar* const bar : { totalBar.data(), itemBar.data() }) {
        if (!bar)
            continue;
        bar->setMinimum(0);
        bar->setMaximum(1);
        bar->reset();
        bar->setEnabled(false);
    }
}

void Minion::itemProgressToolTip(QPoint const& pos)
{
    if (threadsState.count() == 0 || !itemBar)
        return;
    // The tip is live: it is built again from the slots as they change, for
    // as long as the pointer stays over the bar.  It belongs to the bar,
    // which may outlive this minion, so the builder checks that the minion
    // still exists.
    GeneralTip::showTip(
        itemBar->mapToGlobal(pos),
        [minion = QPointer<Minion>(this)](GeneralTip* shown, void*) {
            if (minion)
                fillTip(shown, minion->threadsState);
        },
        this, itemBar, true);
    tip = GeneralTip::current();
}

void Minion::hideOwnTip()
{
    if (tip && tip == GeneralTip::current())
        GeneralTip::hideTip();
    tip = nullptr;
}

void Minion::fillTip(QWidget* area, ThreadsState const& threads)
{
    QGridLayout* const grid = new QGridLayout(area);
    grid->setContentsMargins(4, 4, 4, 4);

    unsigned complete = 0;
    unsigned notStarted = 0;
    for (unsigned i = 0; i < threads.count(); ++i) {
        ThreadState::State const state = threads[i].state;
        if (state == ThreadState::Complete)
            ++complete;
        else if (state == ThreadState::NotStarted || state > ThreadState::Complete)
            ++notStarted;
    }

    int row = 0;
    auto addRow = [&](QString const& left, QLabel* cell) {
        grid->addWidget(plainLabel(left, area), row, 0);
        grid->addWidget(cell, row, 1);
        ++row;
    };

    // A long batch would list its finished files for pages; past 20 they are
    // summed up in one row.
    bool const summed = complete > 20;
    if (summed)
        addRow(tr("%1 downloads").arg(complete), stateCell(tr("Complete"), completeColor(), false, area));

    for (unsigned i = 0; i < threads.count(); ++i) {
        ThreadState const& slot = threads[i];
        switch (slot.state) {
        case ThreadState::InProgress: {
            // A max of 1 means the length is not known.
            QString const text = slot.max == 1 ? tr("In Progress")
                                               : tr("%1 / %2 (%3%%)")
                                                     .arg(slot.value)
                                                     .arg(slot.max)
                                                     .arg(double(slot.value) / double(slot.max));
            addRow(slot.name, stateCell(text, inProgressColor(), false, area));
            break;
        }
        case ThreadState::Complete:
            if (!summed)
                addRow(slot.name, stateCell(tr("Complete"), completeColor(), true, area));
            break;
        case ThreadState::Retrying:
            addRow(slot.name, stateCell(tr("Retrying"), notStartedColor(), true, area));
            break;
        default:
            break;
        }
    }

    if (notStarted != 0)
        addRow(tr("%1 downloads").arg(notStarted),
            stateCell(tr("Not Started Yet"), notStartedColor(), false, area));
}

} // namespace Progress
