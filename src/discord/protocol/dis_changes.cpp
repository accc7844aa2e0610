// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_changes.h"

#include <algorithm>

DisChange* addChange(DisChanges* changes, DisChange::ChangeType type)
{
    if (changes->isReload())
        return nullptr;
    if (changes->items.size() >= DisChanges::maxItems) {
        changes->mask |= DisChanges::overflowBit;
        return nullptr;
    }
    changes->mask |= 1U << static_cast<quint32>(type);
    changes->items.append(DisChange());
    DisChange* item = &changes->items.last();
    item->type = type;
    return item;
}

DisChanges DisChanges::reload()
{
    DisChanges changes;
    changes.mask = reloadMask;
    return changes;
}

void DisChanges::add(DisChange::ChangeType type, FlakeId a, FlakeId b, FlakeId c)
{
    DisChange* item = addChange(this, type);
    if (!item)
        return;
    item->words[0] = a;
    item->words[1] = b;
    item->words[2] = c;
}

bool DisChanges::anyRelevantPropertyChangesForUserId(FlakeId user) const
{
    if (isReload())
        return true;
    return std::any_of(items.begin(), items.end(), [&](DisChange const& item) {
        switch (item.type) {
        case DisChange::ChangeType::UserPropertiesChanged:
        case DisChange::ChangeType::UserStatusChanged:
            return item.words[0] == user;
        case DisChange::ChangeType::GuildMemberAdded:
        case DisChange::ChangeType::GuildMemberChanged:
        case DisChange::ChangeType::GuildMemberRemoved:
            return item.words[1] == user;
        default:
            return false;
        }
    });
}
