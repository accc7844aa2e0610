// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sbar_listing.h"

#include <algorithm>
#include <iterator>
#include <tuple>

namespace NakSbar {

namespace {

struct Table {
    Stmt all;
    Stmt ofGuild;
    ChanSortType type;
};
constexpr Table tables[] = {
    { Stmt::Categories, Stmt::CategoriesOfGuild, ChanSortType::Categories },
    { Stmt::TextChannels, Stmt::TextChannelsOfGuild, ChanSortType::Text },
    { Stmt::VoiceChannels, Stmt::VoiceChannelsOfGuild, ChanSortType::Voice },
};

constexpr int rowsPerLookAtTheClock = 64;

auto key(ListedChannel const& channel)
{
    // Of no parent is -1 in the store, before all others.
    return std::make_tuple(channel.type != ChanSortType::Categories, channel.type,
                           static_cast<qint64>(channel.parent.value()), channel.position,
                           static_cast<qint64>(channel.id.value()));
}

// Of a row that begins with these columns.
ListedChannel channelOf(NakStmt const& row, ChanSortType type)
{
    return { row.colFlake(0), row.colFlake(1), row.colInt(2), type };
}

} // namespace

bool operator<(ListedChannel const& a, ListedChannel const& b)
{
    return key(a) < key(b);
}

ListedChannels channelsOfGuild(DisStmts& store, FlakeId guild)
{
    ListedChannels channels;
    for (Table const& table : tables)
        store.forEachRow(
            table.ofGuild,
            [&](NakStmt const& row) { channels.push_back(channelOf(row, table.type)); }, guild);
    std::sort(channels.begin(), channels.end());
    return channels;
}

bool Listing::readOn(DisStmts& store, Share const& share)
{
    int toTheClock = rowsPerLookAtTheClock;
    while (m_table < std::size(tables) && !share.isOver()) {
        Table const& table = tables[m_table];
        bool const atEnd = store.forEachRowWhile(
            table.all,
            [&](NakStmt const& row) {
                if (--toTheClock == 0) {
                    toTheClock = rowsPerLookAtTheClock;
                    m_next = row.colInt64(0);
                    if (share.isOver())
                        return false;
                }
                auto const guild = m_guilds.find(row.colFlake(3));
                if (guild == m_guilds.end())
                    return true;
                guild->push_back(channelOf(row, table.type));
                ++m_channelCount;
                return true;
            },
            m_next);
        if (atEnd) {
            ++m_table;
            m_next = std::numeric_limits<qint64>::min();
        }
    }
    return m_table == std::size(tables);
}

ListedChannels Listing::take(FlakeId guild)
{
    ListedChannels channels = m_guilds.take(guild);
    std::sort(channels.begin(), channels.end());
    return channels;
}

} // namespace NakSbar
