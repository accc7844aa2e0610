// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The shape of the side bar's tree: fixed items, collapsible groups, directories, order, and the
// deletion of items with all that is known of them. No store is asked here.

#include "sbar_view_priv.h"

namespace NakSbar {

Info const& infoOf(ViewPriv const& d, Item item);
void setInfo(ViewPriv& d, Item item, Info const& info);
// A new item that hangs nowhere.
Item createItem(ViewPriv& d, Info const& info, unsigned int style);
// The item, whatever hangs below it or was collapsed into it, and their records.
void deleteItemAndVis(ViewPriv& d, Item item);

void createInitialItemsAndStyles(ViewPriv& d);
void setStyleHeights(ViewPriv& d);

// Of what can collapse, the items below hang under the child that its info tells: this gives the
// item one. A fat group also gets a spacer behind it.
void setupAsSection(ViewPriv& d, Item item);
void setupAsFatGroup(ViewPriv& d, Item item);
bool isCollapsed(ViewPriv const& d, Item item); // false for what cannot collapse
// A collapsed child is out of the tree, so that there is nothing to lay out. That state is kept
// nowhere else.
void setCollapsed(ViewPriv& d, Item item, bool collapsed);

// The holder goes under the parent; the heads remember the owner.
GuildDirectory createAndInsertDirectoryItems(ViewPriv& d, Item parent, Item ownerItem);

// The guild or category in whose directory the item hangs; noItem for what hangs in none.
Item ownerOf(ViewPriv const& d, Item item);

// Makes siblings follow each other in the given order. What stands right already costs no edit.
void reorderItems(ViewPriv& d, Item const* items, int count);

} // namespace NakSbar
