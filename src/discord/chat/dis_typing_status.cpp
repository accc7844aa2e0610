// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_typing_status.h"

namespace {

QString subjectAndVerb(QStringList const& names, int maxTracked)
{
    int const count = names.size();
    if (count >= maxTracked) {
        return QStringLiteral("Many users are typing");
    }
    switch (count) {
    case 1:
        return names.at(0) + QStringLiteral(" is typing");
    case 2:
        return names.at(0) + QStringLiteral(" and ") + names.at(1) + QStringLiteral(" are typing");
    case 3:
        return names.at(0) + QStringLiteral(", ") + names.at(1) + QStringLiteral(", and ")
            + names.at(2) + QStringLiteral(" are typing");
    default:
        return QStringLiteral("%1 users are typing").arg(count);
    }
}

} // namespace

QString DisTypingStatus::text(QStringList const& names, int maxTracked)
{
    constexpr ushort ellipsis = 0x2026;
    return names.isEmpty() ? QString() : subjectAndVerb(names, maxTracked) + QChar(ellipsis);
}
