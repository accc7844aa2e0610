// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sbar_discord.h"

#include "dis_cache.h"
#include "dis_manager.h"
#include "nak_sql.h"
#include "sbar_kinds.h"
#include "sbar_tree.h"
#include "sbar_view.h"
#include "sbar_vis.h"

#include <QElapsedTimer>
#include <QVarLengthArray>

namespace NakSbar {

namespace {

// The user-interface thread's share of a frame for reading guilds: of tens of thousands of channels
// the rest is read when the events that came meanwhile are handled.
constexpr int readingMs = 4;

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

// What the store lists of one kind, and where its items are kept.
struct ChannelKind {
    Stmt stmt;
    Kind kind;
    ChanSortType type;
    QHash<FlakeId, Item> ViewPriv::*items;
    Item (*create)(ViewPriv& d, FlakeId id);
};
// Categories come first: the channels of those that the store does not list hang under the guild.
constexpr ChannelKind channelKinds[] = {
    { Stmt::CategoriesOfGuild, Kind::Category, ChanSortType::Categories, &ViewPriv::categories,
      createCategory },
    { Stmt::TextChannelsOfGuild, Kind::TextChannel, ChanSortType::Text, &ViewPriv::channels,
      createTextChannel },
    { Stmt::VoiceChannelsOfGuild, Kind::VoiceChannel, ChanSortType::Voice, &ViewPriv::channels,
      createVoiceChannel },
};

// One guild's lists while they are brought in line.
struct GuildReading {
    FlakeId guildId;
    Item guild = noItem;
    QVarLengthArray<Item, 32> categories;
    QHash<Item, Item> ends; // of each list, the last item that the store named
};

Item listFor(ViewPriv const& d, GuildReading const& reading, FlakeId parent, ChanSortType type)
{
    Item const category = parent.isValid() ? d.categories.value(parent, noItem) : noItem;
    bool const inCategory = category != noItem && reading.categories.contains(category);
    return infoOf(d, inCategory ? category : reading.guild).directory().list(type);
}

// Rows come in their order, so each goes behind the one before it.
void hangNext(ViewPriv& d, GuildReading* reading, Item list, Item item)
{
    NakSbarView& view = *d.view;
    Item const end = reading->ends.value(list, noItem);
    Item const there = end == noItem ? view.firstChild(list) : view.nextSibling(end);
    if (there != item && end == noItem)
        view.prependChild(list, item);
    else if (there != item)
        view.insertAfter(end, item);
    reading->ends.insert(list, item);
}

void readChannels(ViewPriv& d, GuildReading* reading, ChannelKind const& kind)
{
    auto& items = d.*kind.items;
    d.dis->forEachRow(
        kind.stmt,
        [&](NakStmt const& row) {
            FlakeId const id = row.colFlake(0);
            bool const isCategory = kind.type == ChanSortType::Categories;
            Item const list =
                listFor(d, *reading, isCategory ? FlakeId() : row.colFlake(1), kind.type);
            Item& item = items[id];
            if (item == 0) // the root: new in the hash
                item = kind.create(d, id);
            if (infoOf(d, item).kind != kind.kind)
                return; // named twice, by a damaged store
            hangNext(d, reading, list, item);
            if (isCategory)
                reading->categories.append(item);
        },
        reading->guildId);
}

// What stands behind the last item that the store named is gone.
void deleteRest(ViewPriv& d, GuildReading const& reading, Item list)
{
    NakSbarView const& view = *d.view;
    Item const end = reading.ends.value(list, noItem);
    Item gone = end == noItem ? view.firstChild(list) : view.nextSibling(end);
    while (gone != noItem) {
        Item const next = view.nextSibling(gone);
        deleteItemAndVis(d, gone);
        gone = next;
    }
}

void readGuild(ViewPriv& d, FlakeId id)
{
    GuildReading reading;
    reading.guildId = id;
    reading.guild = d.guilds.value(id, noItem);
    if (reading.guild == noItem)
        return;
    for (ChannelKind const& kind : channelKinds)
        readChannels(d, &reading, kind);
    reading.categories.append(reading.guild);
    for (Item const owner : reading.categories) {
        GuildDirectory const directory = infoOf(d, owner).directory();
        for (Item const list : directory.lists)
            deleteRest(d, reading, list);
    }
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
    d.guildsToRead.clear();
    for (Item item = d.view->lastChild(infoOf(d, d.discord).child); item != noItem;
         item = d.view->prevSibling(item)) {
        if (infoOf(d, item).kind == Kind::Guild)
            d.guildsToRead.append(infoOf(d, item).id());
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
        NakSqlTransaction const held(d.dis->db());
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

void readSomeGuilds(ViewPriv& d)
{
    if (!d.dis)
        return;
    QElapsedTimer elapsed;
    elapsed.start();
    d.readTimer.stop();
    d.view->beginEdit();
    {
        NakSqlTransaction const held(d.dis->db());
        while (!d.guildsToRead.isEmpty() && elapsed.elapsed() < readingMs)
            readGuild(d, d.guildsToRead.takeLast());
    }
    if (d.guildsToRead.isEmpty())
        createOrRemoveDiscordVoiceUserItems(d, voiceChannelsOfAnyone(d));
    else
        d.readTimer.start();
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
