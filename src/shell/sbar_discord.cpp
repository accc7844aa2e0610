// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sbar_discord.h"

#include "dis_cache.h"
#include "dis_manager.h"
#include "nak_sql.h"
#include "sbar_tree.h"
#include "sbar_view.h"
#include "sbar_vis.h"

#include <QVarLengthArray>

namespace NakSbar {

namespace {

constexpr int maxPendingSorts = 32;

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

// A row of a statement that lists channels or categories.
struct ChannelRow {
    FlakeId id;
    FlakeId guild;
    FlakeId parent;
};

ChannelRow channelRow(NakStmt const& row)
{
    return { row.colFlake(0), row.colFlake(1), row.colFlake(2) };
}

// The list that the row belongs in: that of its category if the store still has it, else of its
// guild. noItem for a guild that the user is not in.
Item listFor(ViewPriv const& d, Pass const& pass, ChannelRow const& row, ChanSortType type)
{
    Item const guild = d.guilds.value(row.guild, noItem);
    if (guild == noItem || !pass.saw(guild))
        return noItem;
    Item const category = row.parent.isValid() ? d.categories.value(row.parent, noItem) : noItem;
    bool const inCategory =
        category != noItem && type != ChanSortType::Categories && pass.saw(category);
    return infoOf(d, inCategory ? category : guild).directory().list(type);
}

// Hangs the item under the list unless it is there; its order is read later.
void hangUnder(ViewPriv& d, Item list, Item item, ChanSortKey const& key)
{
    if (d.view->parent(item) == list)
        return;
    d.view->appendChild(list, item);
    pendSort(d, key);
}

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
            if (item == 0) // the root, which is no guild: new in the hash
                item = createGuild(d, id);
            pass.see(item);
        },
        d.activeUser);
}

struct ChannelQuery {
    Stmt stmt;
    ChanSortType type;
    QHash<FlakeId, Item> ViewPriv::*items;
    Item (*create)(ViewPriv& d, FlakeId id);
};

void queryChannels(ViewPriv& d, Pass& pass, ChannelQuery const& query)
{
    auto& items = d.*query.items;
    d.dis->forEachRow(query.stmt, [&](NakStmt const& stmt) {
        ChannelRow const row = channelRow(stmt);
        Item const list = listFor(d, pass, row, query.type);
        if (list == noItem)
            return;
        Item& item = items[row.id];
        if (item == 0)
            item = query.create(d, row.id);
        hangUnder(d, list, item, { row.guild, row.parent, query.type });
        pass.see(item);
    });
}

Item createTextChannel(ViewPriv& d, FlakeId id)
{
    return createItem(d, Info::of(Kind::TextChannel, id), d.styles.row);
}

Item createVoiceChannel(ViewPriv& d, FlakeId id)
{
    return createItem(d, Info::of(Kind::VoiceChannel, id), d.styles.row);
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

void queryStore(ViewPriv& d, Pass& pass)
{
    queryPrivateChannels(d, pass);
    queryGuilds(d, pass);
    queryChannels(
        d, pass,
        { Stmt::Categories, ChanSortType::Categories, &ViewPriv::categories, createCategory });
    queryChannels(
        d, pass,
        { Stmt::TextChannels, ChanSortType::Text, &ViewPriv::channels, createTextChannel });
    queryChannels(
        d, pass,
        { Stmt::VoiceChannels, ChanSortType::Voice, &ViewPriv::channels, createVoiceChannel });
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

Stmt orderStatement(ChanSortType type)
{
    switch (type) {
    case ChanSortType::Text:
        return Stmt::TextChannelsOfParent;
    case ChanSortType::Voice:
        return Stmt::VoiceChannelsOfParent;
    default:
        return Stmt::CategoriesOfParent;
    }
}

Kind kindOf(ChanSortType type)
{
    switch (type) {
    case ChanSortType::Text:
        return Kind::TextChannel;
    case ChanSortType::Voice:
        return Kind::VoiceChannel;
    default:
        return Kind::Category;
    }
}

// All lists that a statement names, list by list: one statement in place of one for each list.
void sortEveryList(ViewPriv& d, Stmt stmt, QHash<FlakeId, Item> const& items)
{
    Item before = noItem;
    d.dis->forEachRow(stmt, [&](NakStmt const& row) {
        Item const item = items.value(row.colFlake(0), noItem);
        if (item == noItem)
            return;
        if (before != noItem && d.view->parent(before) == d.view->parent(item)
            && d.view->nextSibling(before) != item)
            d.view->insertAfter(before, item);
        before = item;
    });
}

void sortPending(ViewPriv& d)
{
    if (d.sortAllPending) {
        sortEveryList(d, Stmt::CategoriesInOrder, d.categories);
        sortEveryList(d, Stmt::TextChannelsInOrder, d.channels);
        sortEveryList(d, Stmt::VoiceChannelsInOrder, d.channels);
    } else {
        for (ChanSortKey const& key : qAsConst(d.pendingSorts))
            sortGuildChannels(d, key);
    }
    d.sortAllPending = false;
    d.pendingSorts.clear();
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
    d.view->endEdit();
}

void queryAndCreateDiscordItems(ViewPriv& d)
{
    if (!d.dis)
        return;
    d.view->beginEdit();
    Pass pass(d);
    {
        NakSqlTransaction const held(d.dis->db());
        if (d.activeUser.isValid())
            queryStore(d, pass);
        deleteUnseen(d, pass, d.privChannels);
        deleteUnseen(d, pass, d.channels);
        deleteUnseen(d, pass, d.categories);
        deleteUnseen(d, pass, d.guilds);
        sortPrivateChans(d);
        sortDiscordGuildsAsUser(d);
        sortPending(d);
    }
    createOrRemoveDiscordVoiceUserItems(d, voiceChannelsOfAnyone(d));
    d.view->endEdit();
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

void pendSort(ViewPriv& d, ChanSortKey const& key)
{
    if (d.sortAllPending)
        return;
    d.pendingSorts.insert(key);
    d.sortAllPending = d.pendingSorts.size() > maxPendingSorts;
}

void sortGuildChannels(ViewPriv& d, ChanSortKey const& key)
{
    Kind const kind = kindOf(key.type);
    auto const& items = kind == Kind::Category ? d.categories : d.channels;
    sortAsRead(
        d, orderStatement(key.type),
        [&](FlakeId id) {
            Item const item = items.value(id, noItem);
            return item != noItem && infoOf(d, item).kind == kind ? item : noItem;
        },
        key.guild, key.parent);
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
