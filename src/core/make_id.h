// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Hands out unsigned numbers, the lowest free one first, so that they stay dense and can index a
// vector. A number comes back after it was destroyed. Plain value, any thread.

#include <QVector>

class MakeID {
public:
    static constexpr quint32 none = 0xFFFFFFFF;

    // Numbers from 0 to lastId.
    explicit MakeID(quint32 lastId = none - 1);

    // none when every number is taken.
    quint32 CreateID();
    // False, and nothing is freed, unless all of the numbers are taken.
    bool DestroyID(quint32 id) { return DestroyRangeID(id, 1); }
    bool DestroyRangeID(quint32 first, quint32 count);
    // Whether the number is taken.
    bool IsID(quint32 id) const;

    int freeRangeCount() const { return m_free.size(); }

private:
    struct Range {
        quint32 first;
        quint32 last;
    };

    // The first range that does not lie wholly above the number.
    int rangeAtOrBelow(quint32 id) const;

    // The free numbers, highest range first: what is handed out next goes from the end.
    QVector<Range> m_free;
    quint32 m_lastId;
};
