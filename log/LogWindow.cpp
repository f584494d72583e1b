#include "log/LogWindow.h"

#include "app/Colors.h"
#include "widgets/HTextEdit.h"

#include <QEventLoop>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMutexLocker>
#include <QPushButton>
#include <QScrollBar>
#include <QSpinBox>
#include <QTextCursor>
#include <QVBoxLayout>

namespace Log
{

EntryList::EntryList(QObject* parent)
    : QObject(parent)
{
}

void EntryList::emitAppended()
{
    Q_EMIT appended();
}

void EntryList::append(Kind kind, quint32 level, QString const& text)
{
    {
        QMutexLocker locker(&mutex);
        entries.append(Entry { kind, level, text });
    }
    emitAppended();
}

Window::Window(EntryList& list, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , list(list)
    , area(new HTextEdit(100, 30, this))
    , levelBox(new QSpinBox(this))
{
    setWindowTitle(tr("SORVAN Log"));

    auto* label = new QLabel(tr("Detail level"), this);
    label->setBuddy(levelBox);
    levelBox->setRange(0, maximumLevel);
    levelBox->setValue(defaultLevel);
    levelBox->setToolTip(tr("Threshold beyond which more detailed log messages are omitted.\n"
                            "Higher levels show more detail.\n"
                            "The valid range is 0 .. %1.\n"
                            "The default is %2.\n"
                            "Higher levels contain debug information.\n"
                            "This corresponds to yum's debuglevel (-d) option.")
                             .arg(maximumLevel)
                             .arg(defaultLevel));
    connect(levelBox, &QSpinBox::valueChanged, this, &Window::levelChanged);

    area->setReadOnly(true);
    // The log only grows; an undo history of it would only take memory.
    area->setUndoRedoEnabled(false);
    // yum's and rpm's output comes in columns.
    area->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    area->setTabStopDistance(8 * area->fontMetrics().horizontalAdvance(u' '));
    // The rich-text parser would fold the blanks and tabs that escape() turns
    // into references.
    area->document()->setDefaultStyleSheet(QStringLiteral("font { white-space: pre-wrap; }"));

    auto* close = new QPushButton(tr("&Close"), this);
    close->setToolTip(tr("Close the Log Window"));
    connect(close, &QPushButton::clicked, this, &QWidget::hide);

    auto* top = new QHBoxLayout;
    top->addWidget(label);
    top->addWidget(levelBox);
    top->addStretch(1);
    auto* bottom = new QHBoxLayout;
    bottom->addStretch(1);
    bottom->addWidget(close);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(area, 1);
    layout->addLayout(bottom);
}

int Window::level() const
{
    return levelBox->value();
}

void Window::setLevel(int level)
{
    levelBox->setValue(level);
}

QString Window::escape(QString const& text)
{
    QString safe = text;
    safe.replace(u'<', QLatin1String("&lt;"));
    safe.replace(u'>', QLatin1String("&gt;"));
    safe.replace(u' ', QLatin1String("&#x0020;"));
    safe.replace(u'\t', QLatin1String("&#x0009;"));
    return safe;
}

QString Window::format(Entry const& entry)
{
    QString const text = escape(entry.text);
    switch (entry.kind) {
    case Info:
        if (entry.level <= 9)
            return QStringLiteral("<font>%1</font>").arg(text);
        return QStringLiteral("<font color=\"%1\">%2</font>").arg(Colors::minor(), text);
    case Output:
        return QStringLiteral("<font color=\"%1\">%2</font>").arg(Colors::ok(), text);
    case Warning:
        return QStringLiteral("<font color=\"%1\">%2</font>").arg(Colors::warning(), text);
    case Action:
        return QStringLiteral("<h2><font color=\"%1\">%2</font></h2>").arg(Colors::action(), text);
    case Error:
    default:
        return QStringLiteral("<font color=\"%1\">%2</font>").arg(Colors::error(), text);
    }
}

void Window::appended()
{
    // Take the new entries and let the writers go on: formatting and laying
    // out the text needs no lock.
    QList<Entry> fresh;
    {
        QMutexLocker locker(&list.mutex);
        if (list.entries.size() <= examined)
            return;
        fresh = list.entries.mid(examined);
        examined = list.entries.size();
    }
    quint32 const threshold = quint32(levelBox->value());
    // One edit block around the whole batch lays the document out once, not
    // once per line.
    QTextCursor batch(area->document());
    batch.beginEditBlock();
    for (Entry const& entry : std::as_const(fresh)) {
        if (entry.level <= threshold)
            area->appendCompact(format(entry));
    }
    batch.endEditBlock();
    // Paint the new lines now, even while a long operation keeps the event
    // loop away; user input waits.
    QEventLoop loop;
    loop.processEvents(QEventLoop::ExcludeUserInputEvents);
}

void Window::levelChanged(int)
{
    examined = 0;
    area->clear();
    appended();
}

void Window::setVisible(bool visible)
{
    if (visible && !following) {
        appended();
        following = connect(&list, &EntryList::appended, this, &Window::appended);
    } else if (!visible && following) {
        disconnect(following);
        following = {};
    }
    QWidget::setVisible(visible);
    if (visible) {
        area->moveCursor(QTextCursor::End);
        area->verticalScrollBar()->setValue(area->verticalScrollBar()->maximum());
    }
}

void Window::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape) {
        hide();
        return;
    }
    QWidget::keyPressEvent(event);
}

} // namespace Log
