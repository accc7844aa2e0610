// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What differs between the kinds of items, as one table: whatever the side bar does by kind, it
// looks up here.

#include "sbar_view_priv.h"

class QMenu;

namespace NakSbar {

enum class Click : quint8 {
    Nothing,
    Toggle, // the left button collapses and expands
    Pick, // left here, middle in a new tab
    PopUp, // either shows the menu at the point
};

struct KindTraits {
    Shape shape = Shape::None; // None: painted as nothing
    Click click = Click::Nothing;
    bool showsDiscord = false; // follows the Discord store
    // A new record for such an item. Null: painted as nothing.
    std::unique_ptr<Vis_Base> (*makeVis)(Info const& info) = nullptr;
    // The place that the row stands for. Null: none.
    NakNavLoc (*place)(Info const& info) = nullptr;
    // Adds what can be done with the item. Null: nothing.
    void (*fillMenu)(ViewPriv& d, Item item, QMenu* menu) = nullptr;
};

KindTraits const& traitsOf(Kind kind);
inline KindTraits const& traitsOf(Info const& info)
{
    return traitsOf(info.kind);
}

// None for what stands for no place.
NakNavLoc placeOf(Info const& info);

} // namespace NakSbar
