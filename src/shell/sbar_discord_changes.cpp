// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later

// What a record of changes and changed counts do to the Discord half of the tree.

#include "dis_cache.h"
#include "sbar_discord.h"
#include "sbar_kinds.h"
#include "sbar_tree.h"
#include "sbar_view.h"
#include "sbar_vis.h"

namespace NakSbar {

namespace {

using Type = DisChange::ChangeType;

// What a record asks for, however many items ask for it.
struct Wanted {
    bool query = false; // the guilds or private channels may be others
    QSet<FlakeId> guilds; // whose channels may be others, or elsewhere
    bool guildOrder = false;
    bool privOrder = false;
    bool allRows = false; // names, rights, mutes
    QSet<FlakeId> presences;
    QSet<FlakeId> voiceUsers;
};

void want(ViewPriv const& d, DisChange const& change, Wanted* wanted)
{
    FlakeId const* words = change.words;
    switch (change.type) {
    case Type::GuildChanged:
        wanted->query = true;
        wanted->guilds.insert(words[0]);
        break;
    case Type::PrivateRecipientAdded:
    case Type::PrivateRecipientRemoved:
        wanted->query = true;
        break;
    case Type::ChannelChanged:
        wanted->query = true;
        wanted->guilds.insert(DisCache::guildIdOfChannel(words[0]));
        break;
    case Type::GuildMemberAdded:
    case Type::GuildMemberRemoved:
        if (words[1] == d.activeUser) {
            wanted->query = true;
            wanted->guilds.insert(words[0]);
        }
        wanted->allRows = true;
        break;
    case Type::MessageCreated:
        wanted->privOrder |= d.privChannels.contains(words[1]);
        break;
    case Type::UserStatusChanged:
        wanted->presences.insert(words[0]);
        break;
    case Type::UserVoiceStateChanged:
        wanted->voiceUsers.insert(words[0]);
        break;
    case Type::UserSettingsChanged:
        wanted->guildOrder = true;
        break;
    case Type::UserPropertiesChanged:
    case Type::UserGuildSettingsChanged:
    case Type::GuildMemberChanged:
    case Type::GuildRoleCreated:
    case Type::GuildRoleChanged:
    case Type::GuildRoleDeleted:
        wanted->allRows = true;
        break;
    default:
        break;
    }
}

void bringInLine(ViewPriv& d, Wanted const& wanted)
{
    if (wanted.guildOrder)
        sortDiscordGuildsAsUser(d);
    if (wanted.privOrder)
        sortPrivateChans(d);
    QSet<FlakeId> voiceChannels;
    for (FlakeId const user : wanted.voiceUsers)
        voiceChannels += voiceChannelsOfUser(d, user);
    createOrRemoveDiscordVoiceUserItems(d, voiceChannels);
}

void refreshWanted(ViewPriv& d, Wanted const& wanted)
{
    if (wanted.allRows || !wanted.voiceUsers.isEmpty()) {
        refreshVisible(d, [](Item, Info const& info) { return traitsOf(info).showsDiscord; });
    } else if (!wanted.presences.isEmpty()) {
        refreshVisible(d, [](Item, Info const& info) {
            return info.kind == Kind::PrivChannel || info.kind == Kind::PlaylistEntry;
        });
    }
}

} // namespace

void disChanges(ViewPriv& d, DisChanges const& changes)
{
    if (changes.isReload()) {
        queryAndCreateDiscordItems(d);
        return;
    }
    Wanted wanted;
    for (DisChange const& change : changes.items)
        want(d, change, &wanted);
    if (wanted.query) {
        for (FlakeId const guild : qAsConst(wanted.guilds)) {
            if (guild.isValid() && !d.guildsToRead.contains(guild))
                d.guildsToRead.append(guild);
        }
        queryGuildsAndPrivateChannels(d);
        readSomeGuilds(d); // and all rows in view
        return;
    }
    d.view->beginEdit();
    bringInLine(d, wanted);
    d.view->endEdit();
    refreshWanted(d, wanted);
}

namespace {

// The channel's row and those whose numbers it counts in. By the owners, not by the tree, which
// does not hold what is collapsed.
void addOwners(ViewPriv const& d, FlakeId channel, QSet<Item>* owners)
{
    if (d.privChannels.contains(channel)) {
        owners->insert(d.privChannels.value(channel));
        owners->insert(d.privsGroup);
        return;
    }
    Item item = d.channels.value(channel, noItem);
    for (; item != noItem; item = ownerOf(d, item))
        owners->insert(item);
}

} // namespace

void disChanUnreadCountersChanged(ViewPriv& d, QHash<FlakeId, int> const& counts)
{
    QSet<Item> owners;
    for (auto it = counts.keyBegin(); it != counts.keyEnd(); ++it)
        addOwners(d, *it, &owners);
    refreshVisible(d, [&](Item item, Info const& info) {
        return owners.contains(item) || info.kind == Kind::PlaylistEntry;
    });
}

} // namespace NakSbar
