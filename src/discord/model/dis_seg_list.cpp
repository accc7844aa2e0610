// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_seg_list.h"

#include <algorithm>
#include <limits>

namespace DisSegLists {

namespace {

// No guild has so many members; rows that moved this far are not counted on.
constexpr int maxRow = 100'000'000;

template <typename Rows> auto firstFrom(Rows& rows, int index)
{
    return std::lower_bound(
        rows.begin(), rows.end(), index,
        [](DisSegList::Row const& row, int wanted) { return row.index < wanted; });
}

void moveFrom(DisSegList* list, int index, int by)
{
    for (auto row = firstFrom(list->rows, index); row != list->rows.end(); ++row)
        row->index += by;
}

void removeRows(DisSegList* list, int first, int last)
{
    if (last >= first)
        list->rows.erase(firstFrom(list->rows, first), firstFrom(list->rows, last + 1));
}

void put(DisSegList* list, int index, DisSeg::Item const& item)
{
    list->rows.insert(firstFrom(list->rows, index), { index, item });
}

void applyOp(DisSegList* list, DisSeg::Op const& op)
{
    switch (op.type) {
    case DisSeg::OpType::Insert:
        moveFrom(list, op.index, 1);
        break;
    case DisSeg::OpType::Update:
        removeRows(list, op.index, op.index);
        break;
    case DisSeg::OpType::Delete:
        removeRows(list, op.index, op.index);
        moveFrom(list, op.index + 1, -1);
        break;
    case DisSeg::OpType::Sync:
        removeRows(list, op.index, op.last); // the list may end within the range
        break;
    }
    for (int i = 0; i < op.items.size(); ++i)
        put(list, op.index + i, op.items[i]);
}

} // namespace

void apply(DisSegList* list, DisSeg::Package const& package)
{
    list->groups = package.groups;
    for (DisSeg::Op const& op : package.ops)
        if (op.index <= maxRow && op.last <= maxRow)
            applyOp(list, op);
}

void keepChunks(DisSegList* list, QVector<int> const& chunks)
{
    auto& rows = list->rows;
    rows.erase(std::remove_if(rows.begin(), rows.end(),
                              [&](DisSegList::Row const& row) {
                                  return !std::binary_search(chunks.cbegin(), chunks.cend(),
                                                             row.index / DisSeg::chunkSize);
                              }),
               rows.end());
}

DisSeg::Item const* find(DisSegList const& list, int index)
{
    auto const row = firstFrom(list.rows, index);
    return row != list.rows.end() && row->index == index ? &row->item : nullptr;
}

int rowCount(DisSegList const& list)
{
    qint64 rows = 0;
    for (DisSeg::Group const& group : list.groups)
        rows += group.count + qint64(1); // with its heading
    return static_cast<int>(std::min<qint64>(rows, std::numeric_limits<int>::max()));
}

} // namespace DisSegLists
