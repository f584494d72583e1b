#include "packagetable/HAbstractTableModel.h"

void HAbstractTableModel::forceSortColumnRediscovery()
{
    beginResetModel();
    endResetModel();
}
