// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A member list as far as the service has told it: some of its rows and all of its groups. Plain
// values, any thread.

#include "dis_seg.h"

#include <QVector>

struct DisSegList {
    struct Row {
        int index = 0;
        DisSeg::Item item;
    };
    QVector<Row> rows; // ascending
    QVector<DisSeg::Group> groups; // in the order of the list
};

namespace DisSegLists {

void apply(DisSegList* list, DisSeg::Package const& package);
// Forgets the rows that are in none of the chunks, which are ascending.
void keepChunks(DisSegList* list, QVector<int> const& chunks);

DisSeg::Item const* find(DisSegList const& list, int index); // null if it is not told
int rowCount(DisSegList const& list); // members and headings, told or not

} // namespace DisSegLists
