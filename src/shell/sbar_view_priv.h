// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What one side bar keeps. Owned by its view; the free functions of NakSbar work on it.
// User-interface thread.

#include "nav_loc.h"
#include "sbar_discord_stmts.h"
#include "sbar_info.h"
#include "sbar_listing.h"
#include "sbar_row.h"
#include "sbar_style.h"

#include <QHash>
#include <QSet>
#include <QTimer>
#include <QVector>

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
    // What the channels of guilds may be others than in the tree: the guilds that are read by
    // themselves, which come first, the last of them before all; and those read all at once.
    QVector<FlakeId> guildsToRead;
    Listing listing;
    QTimer readTimer; // 0 ms, until they are read
    FlakeId activeUser; // invalid for none
};

} // namespace NakSbar
