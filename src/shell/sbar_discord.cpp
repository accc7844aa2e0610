// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sbar_discord.h"

#include "dis_cache.h"
#include "dis_manager.h"
#include "sbar_kinds.h"
#include "sbar_tree.h"
#include "sbar_view.h"
#include "sbar_vis.h"

#include <QVarLengthArray>

namespace NakSbar {

namespace {

// What a window shows before it is scrolled; these do not wait until all channels are read.
constexpr int guildsSeenFirst = 8;

// One pass over the store: which items it has met.
class Pass {
public:
    explicit Pass(ViewPriv& d)
        : m_seen(d.infos.size())
    {
    }

    void see(Item item)
    {
        if (item >= m_seen.size())
            m_seen.resize(item + 1);
        m_seen[item] = true;
    }
    bool saw(Item item) const { return item < m_seen.size() && m_seen[item]; }

private:
    std::vector<bool> m_seen;
};

Item createCategory(ViewPriv& d, FlakeId id)
{
    Item const item = createItem(d, Info::of(Kind::Category, id), d.styles.row);
    GuildDirectory const directory = createAndInsertDirectoryItems(d, item, item);
    d.infos[item].setDirectory(directory);
    d.infos[item].child = directory.holder;
    return item;
}

Item createGuild(ViewPriv& d, FlakeId id)
{
    Item const item = createItem(d, Info::of(Kind::Guild, id), noItem);
    setupAsFatGroup(d, item);
    GuildDirectory const directory = createAndInsertDirectoryItems(d, infoOf(d, item).child, item);
    d.infos[item].setDirectory(directory);
    d.view->appendChild(infoOf(d, d.discord).child, item);
    return item;
}

void queryGuilds(ViewPriv& d, Pass& pass)
{
    d.dis->forEachRow(
        Stmt::GuildsOfUser,
        [&](NakStmt const& row) {
            FlakeId const id = row.colFlake(0);
            Item& item = d.guilds[id];
            if (item == 0) { // the root, which is no guild: new in the hash
                item = createGuild(d, id);
                d.guildsToRead.append(id);
            }
            pass.see(item);
        },
        d.activeUser);
}

Item createTextChannel(ViewPriv& d, FlakeId id)
{
    return createItem(d, Info::of(Kind::TextChannel, id), d.styles.row);
}

Item createVoiceChannel(ViewPriv& d, FlakeId id)
{
    return createItem(d, Info::of(Kind::VoiceChannel, id), d.styles.row);
}

// Where the items of one type of channels are kept.
struct ChannelKind {
    Kind kind;
    QHash<FlakeId, Item> ViewPriv::*items;
    Item (*create)(ViewPriv& d, FlakeId id);
};
// By ChanSortType.
constexpr ChannelKind channelKinds[] = {
    { Kind::TextChannel, &ViewPriv::channels, createTextChannel },
    { Kind::VoiceChannel, &ViewPriv::channels, createVoiceChannel },
    { Kind::Category, &ViewPriv::categories, createCategory },
};

// A guild's lists, or a category's, while they are brought in line.
struct Owner {
    FlakeId id; // invalid for the guild
    GuildDirectory directory;
    // Of each list, the last item that the store named.
    std::array<Item, static_cast<size_t>(ChanSortType::Count)> ends{ noItem, noItem, noItem };
};
// The guild comes first.
using Owners = QVarLengthArray<Owner, 32>;

// Channels of categories that the store does not list hang under the guild.
int indexOf(Owners const& owners, FlakeId parent, int lastIndex)
{
    if (!parent.isValid())
        return 0;
    if (owners[lastIndex].id == parent)
        return lastIndex;
    for (int i = owners.size() - 1; i > 0; --i) {
        if (owners[i].id == parent)
            return i;
    }
    return 0;
}

// Channels come in their order, so each goes behind the one before it.
void hangNext(ViewPriv& d, Owner* owner, ChanSortType type, Item item)
{
    NakSbarView& view = *d.view;
    Item const list = owner->directory.list(type);
    Item& end = owner->ends[static_cast<size_t>(type)];
    Item const there = end == noItem ? view.firstChild(list) : view.nextSibling(end);
    if (there != item && end == noItem)
        view.prependChild(list, item);
    else if (there != item)
        view.insertAfter(end, item);
    end = item;
}

// What stands behind the last items that the store named is gone.
void deleteRest(ViewPriv& d, Owner const& owner)
{
    NakSbarView const& view = *d.view;
    for (size_t i = 0; i < owner.ends.size(); ++i) {
        Item const end = owner.ends[i];
        Item gone =
            end == noItem ? view.firstChild(owner.directory.lists[i]) : view.nextSibling(end);
        while (gone != noItem) {
            Item const next = view.nextSibling(gone);
            deleteItemAndVis(d, gone);
            gone = next;
        }
    }
}

void bringGuildInLine(ViewPriv& d, FlakeId id, ListedChannels const& channels)
{
    Item const guild = d.guilds.value(id, noItem);
    if (guild == noItem)
        return;
    Owners owners;
    owners.append({ FlakeId(), infoOf(d, guild).directory() });
    int ownerIndex = 0;
    for (ListedChannel const& channel : channels) {
        ChannelKind const& kind = channelKinds[static_cast<size_t>(channel.type)];
        Item& item = (d.*kind.items)[channel.id];
        if (item == 0) // the root: new in the hash
            item = kind.create(d, channel.id);
        else if (infoOf(d, item).kind != kind.kind)
            continue; // named twice, by a damaged store
        if (kind.kind == Kind::Category) {
            hangNext(d, &owners[0], channel.type, item);
            owners.append({ channel.id, infoOf(d, item).directory() });
        } else {
            ownerIndex = indexOf(owners, channel.parent, ownerIndex);
            hangNext(d, &owners[ownerIndex], channel.type, item);
        }
    }
    for (Owner const& owner : owners)
        deleteRest(d, owner);
}

// Those that wait by themselves. Read now, they are of a later state than what was listed.
void readGuilds(ViewPriv& d, Share const& share)
{
    while (!d.guildsToRead.isEmpty() && !share.isOver()) {
        FlakeId const guild = d.guildsToRead.takeLast();
        d.listing.forget(guild);
        bringGuildInLine(d, guild, channelsOfGuild(*d.dis, guild));
    }
}

// From the top down.
void bringListedGuildsInLine(ViewPriv& d, Share const& share)
{
    for (Item item = d.view->firstChild(infoOf(d, d.discord).child); item != noItem;
         item = d.view->nextSibling(item)) {
        FlakeId const id = infoOf(d, item).id();
        if (infoOf(d, item).kind != Kind::Guild || !d.listing.contains(id))
            continue;
        if (share.isOver())
            return;
        bringGuildInLine(d, id, d.listing.take(id));
    }
    d.listing.clear(); // of guilds that are gone
}

void queryPrivateChannels(ViewPriv& d, Pass& pass)
{
    if (d.privsGroup == noItem) {
        d.privsGroup = createItem(d, Info::of(Kind::PrivsGroup, d.activeUser), noItem);
        setupAsFatGroup(d, d.privsGroup);
        d.view->prependChild(infoOf(d, d.discord).child, d.privsGroup);
    }
    d.dis->forEachRow(
        Stmt::PrivateChannels,
        [&](NakStmt const& row) {
            FlakeId const id = row.colFlake(0);
            Item& item = d.privChannels[id];
            if (item == 0) {
                item = createItem(d, Info::of(Kind::PrivChannel, d.activeUser, id), d.styles.row);
                d.view->appendChild(infoOf(d, d.privsGroup).child, item);
            }
            pass.see(item);
        },
        d.activeUser);
}

void deleteUnseen(ViewPriv& d, Pass const& pass, QHash<FlakeId, Item> const& items)
{
    QVarLengthArray<Item, 64> unseen;
    for (Item const item : items) {
        if (!pass.saw(item))
            unseen.append(item);
    }
    for (Item const item : unseen)
        deleteItemAndVis(d, item);
}

// The items that a statement names, in its order, as far as pick finds them.
template <typename Pick, typename... Values>
void sortAsRead(ViewPriv& d, Stmt stmt, Pick pick, Values const&... values)
{
    QVarLengthArray<Item, 256> order;
    d.dis->forEachRow(
        stmt,
        [&](NakStmt const& row) {
            Item const item = pick(row.colFlake(0));
            if (item != noItem)
                order.append(item);
        },
        values...);
    reorderItems(d, order.constData(), order.size());
}

} // namespace

void activeUserIdChanged(ViewPriv& d)
{
    FlakeId const user = g_disManager ? g_disManager->activeUserId() : FlakeId();
    if (user == d.activeUser)
        return;
    d.view->beginEdit();
    d.activeUser = user;
    // The private channels were those of the user before.
    if (d.privsGroup != noItem)
        deleteItemAndVis(d, d.privsGroup);
    if (user.isValid())
        d.view->insertAfter(d.bookmarks, d.discord);
    else
        d.view->detach(d.discord);
    queryAndCreateDiscordItems(d);
    readSomeGuilds(d); // what is seen first
    d.view->endEdit();
}

void queryAndCreateDiscordItems(ViewPriv& d)
{
    queryGuildsAndPrivateChannels(d);
    d.listing.start(d.guilds.keyBegin(), d.guilds.keyEnd());
    d.guildsToRead.clear();
    for (Item item = d.view->firstChild(infoOf(d, d.discord).child);
         item != noItem && d.guildsToRead.size() < guildsSeenFirst;
         item = d.view->nextSibling(item)) {
        if (infoOf(d, item).kind == Kind::Guild)
            d.guildsToRead.prepend(infoOf(d, item).id());
    }
    d.readTimer.start();
}

void queryGuildsAndPrivateChannels(ViewPriv& d)
{
    if (!d.dis)
        return;
    d.view->beginEdit();
    Pass pass(d);
    {
        HeldStore const held(d.dis.get());
        if (d.activeUser.isValid()) {
            queryPrivateChannels(d, pass);
            queryGuilds(d, pass);
        }
        deleteUnseen(d, pass, d.privChannels);
        deleteUnseen(d, pass, d.guilds);
        sortPrivateChans(d);
        sortDiscordGuildsAsUser(d);
    }
    d.view->endEdit();
}

bool isReading(ViewPriv const& d)
{
    return !d.guildsToRead.isEmpty() || !d.listing.isEmpty();
}

void readSomeGuilds(ViewPriv& d)
{
    if (!d.dis)
        return;
    Share const share;
    d.readTimer.stop();
    d.view->beginEdit();
    {
        HeldStore const held(d.dis.get());
        readGuilds(d, share);
        if (!d.listing.isEmpty() && d.listing.readOn(*d.dis, share)) {
            d.channels.reserve(d.listing.channelCount());
            bringListedGuildsInLine(d, share);
        }
    }
    if (isReading(d))
        d.readTimer.start();
    else
        createOrRemoveDiscordVoiceUserItems(d, voiceChannelsOfAnyone(d));
    d.view->endEdit();
    // Also what a guild's row counts.
    refreshVisible(d, [](Item, Info const& info) { return traitsOf(info).showsDiscord; });
}

void sortDiscordGuildsAsUser(ViewPriv& d)
{
    sortAsRead(
        d, Stmt::GuildsByPosition, [&](FlakeId id) { return d.guilds.value(id, noItem); },
        d.activeUser);
}

void sortPrivateChans(ViewPriv& d)
{
    sortAsRead(
        d, Stmt::PrivateChannelsByActivity,
        [&](FlakeId id) { return d.privChannels.value(id, noItem); }, d.activeUser);
}

// --- people in voice ---

QSet<FlakeId> voiceChannelsOfAnyone(ViewPriv& d)
{
    QSet<FlakeId> channels = d.peopledVoiceChannels;
    d.dis->forEachRow(Stmt::ChannelsWithVoice,
                      [&](NakStmt const& row) { channels.insert(row.colFlake(0)); });
    return channels;
}

QSet<FlakeId> voiceChannelsOfUser(ViewPriv& d, FlakeId user)
{
    QSet<FlakeId> channels;
    d.dis->forEachRow(
        Stmt::VoiceChannelsOfUser, [&](NakStmt const& row) { channels.insert(row.colFlake(0)); },
        user);
    for (FlakeId const channel : qAsConst(d.peopledVoiceChannels)) {
        for (Item item = d.view->firstChild(d.channels.value(channel)); item != noItem;
             item = d.view->nextSibling(item)) {
            if (infoOf(d, item).id() == user)
                channels.insert(channel);
        }
    }
    return channels;
}

namespace {

// Items in the order of the state's users, whose ids grow: a merge of two ordered lists.
void showPeople(ViewPriv& d, FlakeId channel, Item parent)
{
    auto const people = DisCache::userVoiceStateMap(channel);
    Item next = d.view->firstChild(parent);
    for (auto it = people.keyBegin(); it != people.keyEnd(); ++it) {
        while (next != noItem && infoOf(d, next).id() < *it) {
            Item const gone = next;
            next = d.view->nextSibling(next);
            deleteItemAndVis(d, gone);
        }
        if (next != noItem && infoOf(d, next).id() == *it) {
            next = d.view->nextSibling(next);
            continue;
        }
        Item const item = createItem(d, Info::of(Kind::VoiceUser, *it, channel), d.styles.row);
        if (next == noItem)
            d.view->appendChild(parent, item);
        else
            d.view->insertBefore(next, item);
    }
    while (next != noItem) {
        Item const gone = next;
        next = d.view->nextSibling(next);
        deleteItemAndVis(d, gone);
    }
    if (people.isEmpty())
        d.peopledVoiceChannels.remove(channel);
    else
        d.peopledVoiceChannels.insert(channel);
}

} // namespace

void createOrRemoveDiscordVoiceUserItems(ViewPriv& d, QSet<FlakeId> const& channels)
{
    d.view->beginEdit();
    for (FlakeId const channel : channels) {
        Item const item = d.channels.value(channel, noItem);
        if (infoOf(d, item).kind == Kind::VoiceChannel)
            showPeople(d, channel, item);
    }
    d.view->endEdit();
}

} // namespace NakSbar
