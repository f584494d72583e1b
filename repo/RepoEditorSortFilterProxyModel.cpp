#include "repo/RepoEditorSortFilterProxyModel.h"

#include "repo/RepoEditorModel.h"

namespace RepoEditor
{
namespace
{
bool isDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

// The run from `position` whose characters are digits or not as `digits` says.
QStringView run(QString const& text, qsizetype position, bool digits)
{
    qsizetype end = position;
    while (end < text.size() && isDigit(text.at(end)) == digits)
        ++end;
    return QStringView(text).mid(position, end - position);
}
} // namespace

bool SortFilterProxyModel::naturalLessThan(QString const& left, QString const& right)
{
    qsizetype l = 0;
    qsizetype r = 0;
    for (;;) {
        QStringView const leftText = run(left, l, false);
        QStringView const rightText = run(right, r, false);
        if (int const order = leftText.compare(rightText); order != 0)
            return order < 0;
        l += leftText.size();
        r += rightText.size();
        if (l >= left.size() && r >= right.size())
            return false;

        QStringView const leftDigits = run(left, l, true);
        QStringView const rightDigits = run(right, r, true);
        // An empty run, or one too large to convert, counts as 0.
        qulonglong const leftNumber = leftDigits.toULongLong();
        qulonglong const rightNumber = rightDigits.toULongLong();
        if (leftNumber != rightNumber)
            return leftNumber < rightNumber;
        l += leftDigits.size();
        r += rightDigits.size();
        if (l >= left.size() && r >= right.size())
            return false;
    }
}

bool SortFilterProxyModel::lessThan(QModelIndex const& left, QModelIndex const& right) const
{
    if (left.column() != Model::IdColumn && left.column() != Model::NameColumn)
        return QSortFilterProxyModel::lessThan(left, right);
    if (!left.model() || !right.model())
        return false;
    QVariant const leftValue = left.data(sortRole());
    QVariant const rightValue = right.data(sortRole());
    if (leftValue.typeId() != QMetaType::QString || rightValue.typeId() != QMetaType::QString)
        return QSortFilterProxyModel::lessThan(left, right);
    return naturalLessThan(leftValue.toString(), rightValue.toString());
}

} // namespace RepoEditor
