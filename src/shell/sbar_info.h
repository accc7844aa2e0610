// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the side bar keeps of every item of its tree, on screen or not. There can be tens of
// thousands of them, so it is a few plain words in a vector indexed by the item's number.

#include "flake_id.h"

#include <array>
#include <limits>

namespace NakSbar {

using Item = unsigned int; // a number of the item view; lowest free first, used again
constexpr Item noItem = std::numeric_limits<Item>::max();

// Also the index into the table of kinds.
enum class Kind : quint32 {
    Structure = 0, // a spacer or holder, painted as nothing
    BookmarksSection = 1,
    Playlist = 2, // a folder of bookmarks
    PlaylistEntry = 3,
    Notifications = 4,
    DiscordSection = 5,
    Guild = 6,
    TextChannel = 7,
    VoiceChannel = 8,
    Category = 9,
    DirectoryList = 10, // the head of one list of a GuildDirectory
    VoiceUser = 11,
    PrivsGroup = 12, // an account's private channels
    PrivChannel = 13,
    Count
};

// The lists of a GuildDirectory, in their order.
enum class ChanSortType : quint32 { Text = 0, Voice = 1, Categories = 2, Count = 3 };

// A guild and each category own one: a holder with three list heads under it. Channels of a guild
// without a category sit in the guild's.
struct GuildDirectory {
    Item holder = noItem;
    std::array<Item, static_cast<size_t>(ChanSortType::Count)> lists{ noItem, noItem, noItem };

    Item list(ChanSortType type) const { return lists[static_cast<size_t>(type)]; }
};

struct Info {
    // By kind, in this order:
    //   Playlist                     folder id
    //   PlaylistEntry                folder id, index in it
    //   Guild, Category              id, directory
    //   TextChannel, VoiceChannel    channel id
    //   DirectoryList                item that owns the directory
    //   VoiceUser                    user id, channel id
    //   PrivsGroup                   user id
    //   PrivChannel                  user id, channel id
    std::array<quint64, 3> words{};
    Kind kind = Kind::Structure;
    // Of what can be collapsed: the item that leaves the tree then.
    Item child = noItem;

    static Info of(Kind kind, FlakeId first = FlakeId(0), FlakeId second = FlakeId(0))
    {
        Info info;
        info.kind = kind;
        info.words = { first.value(), second.value(), 0 };
        return info;
    }
    static Info entry(int playlist, int index)
    {
        return of(Kind::PlaylistEntry, FlakeId(static_cast<quint64>(playlist)),
                  FlakeId(static_cast<quint64>(index)));
    }

    FlakeId id() const { return FlakeId(words[0]); }
    FlakeId secondId() const { return FlakeId(words[1]); }
    int playlistId() const { return static_cast<int>(words[0]); }
    int entryIndex() const { return static_cast<int>(words[1]); }
    Item owner() const { return static_cast<Item>(words[0]); }

    GuildDirectory directory() const
    {
        auto const low = [](quint64 word) { return static_cast<Item>(word); };
        auto const high = [](quint64 word) { return static_cast<Item>(word >> 32); };
        return { low(words[1]), { high(words[1]), low(words[2]), high(words[2]) } };
    }
    void setDirectory(GuildDirectory const& directory)
    {
        auto const pack = [](Item a, Item b) { return quint64(a) | quint64(b) << 32; };
        words[1] = pack(directory.holder, directory.lists[0]);
        words[2] = pack(directory.lists[1], directory.lists[2]);
    }
};
static_assert(sizeof(Info) == 32);

} // namespace NakSbar
