#pragma once

#include <QAbstractTableModel>

// A table model that can make the proxies above it sort from scratch.
class HAbstractTableModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    using QAbstractTableModel::QAbstractTableModel;

    // Resets the model: every proxy and view re-reads it, and a sorting
    // proxy rebuilds its order instead of patching the old one.
    void forceSortColumnRediscovery();
};
