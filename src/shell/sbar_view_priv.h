// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What one side bar keeps. Owned by its view; the free functions of NakSbar work on it.
// User-interface thread.

#include "nav_loc.h"
#include "sbar_discord_stmts.h"
#include "sbar_info.h"
#include "sbar_row.h"
#include "sbar_style.h"

#include <QHash>
#include <QSet>

#include <memory>
#include <unordered_map>
#include <vector>

class NakSbarView;

namespace NakSbar {

struct ViewPriv;

// What a row that is on screen shows. The kinds derive from it, each reading its own store.
struct Vis_Base {
    virtual ~Vis_Base();
    virtual RowContent read(ViewPriv const& d, Info const& info) const = 0;

    RowContent shown;
    RowLayout layout;
    bool active = false;
    quint32 seenIn = 0; // the last pass over the visible items that met it
};

class VisDataMap {
public:
    Vis_Base* find(Item item) const; // null if there is none
    void set(Item item, std::unique_ptr<Vis_Base> vis); // in place of another, if any
    void remove(Item item);
    // Lets go of those that the pass did not see.
    void removeUnseen(quint32 pass);
    size_t size() const { return m_map.size(); }

private:
    std::unordered_map<Item, std::unique_ptr<Vis_Base>> m_map;
};

struct StyleIds {
    unsigned int root = noItem;
    unsigned int section = noItem;
    unsigned int group = noItem;
    unsigned int groupEnd = noItem;
    unsigned int groupStart = noItem;
    unsigned int row = noItem;
    unsigned int alone = noItem;
};

// The channels of one kind below one parent, whose order has to be read.
struct ChanSortKey {
    FlakeId guild;
    FlakeId parent; // as the store has it; invalid for none
    ChanSortType type = ChanSortType::Text;
};
inline bool operator==(ChanSortKey const& a, ChanSortKey const& b)
{
    return a.guild == b.guild && a.parent == b.parent && a.type == b.type;
}
inline uint qHash(ChanSortKey const& key, uint seed = 0)
{
    QtPrivate::QHashCombine const combine{};
    return combine(combine(combine(seed, key.guild), key.parent), static_cast<quint32>(key.type));
}

struct ViewPriv {
    explicit ViewPriv(NakSbarView* viewOfThis)
        : view(viewOfThis)
    {
    }

    NakSbarView* const view;
    std::vector<Info> infos; // by item
    VisDataMap vis;
    quint32 visPass = 0;
    int layoutWidth = 0; // that the layouts on screen were made for
    NakStyle::SbarViewStyle style;
    QString fontKey; // of the font that the style was made for
    StyleIds styles;

    // --- the fixed items ---
    Item notificationsHolder = noItem;
    Item notifications = noItem;
    Item bookmarks = noItem;
    Item discord = noItem;

    // --- what is shown where ---
    QSet<Item> pressed;
    Item caret = noItem; // of the keyboard; noItem until it is used
    NakNavLoc activeSource;

    // --- items by what they stand for ---
    QHash<int, Item> playlists;
    QHash<FlakeId, Item> guilds;
    QHash<FlakeId, Item> categories;
    QHash<FlakeId, Item> channels; // of guilds, text and voice
    QHash<FlakeId, Item> privChannels;
    Item privsGroup = noItem;
    QSet<FlakeId> peopledVoiceChannels; // whose items have children

    // --- Discord ---
    std::unique_ptr<DisStmts> dis; // null without a client
    QSet<ChanSortKey> pendingSorts;
    bool sortAllPending = false; // too many to be told one by one
    FlakeId activeUser; // invalid for none
};

} // namespace NakSbar
