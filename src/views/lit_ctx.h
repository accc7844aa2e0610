// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The tree under a LitItemView, apart from the widget: bare numbers whose lengths in pixels are
// exact after every operation. A plain value that belongs to its view; user-interface thread.
//
// An item is as long as the header of its style and all of its children together. What hangs
// nowhere is the top of a tree of its own. Items and styles that do not exist must not be named.

#include "make_id.h"

#include <QVector>

#include <vector>

namespace Lit {

constexpr quint32 none = MakeID::none; // no item, no style

struct Node {
    quint32 parent = none;
    quint32 prevSibling = none;
    quint32 nextSibling = none;
    quint32 firstChild = none;
    quint32 lastChild = none;
    quint32 style = none;
    quint32 length = 0;
};

using Style = QVector<quint32>; // header heights by style id

struct Ctx {
    std::vector<Node> nodes; // by item id
    Style style;
    MakeID itemIds;
    MakeID styleIds;
};

struct Span {
    int top = 0; // from the top of the item's tree
    int length = 0;
};

// All bits set when there is no number left.
quint32 createItem(Ctx& ctx, quint32 style = none);
quint32 createStyle(Ctx& ctx, int header);
// The item goes with everything below it. Their ids come back.
void deleteItem(Ctx& ctx, quint32 item);
// No item may have the style any more.
void deleteStyle(Ctx& ctx, quint32 style);

quint32 headerOf(Ctx const& ctx, quint32 item);
// The top of the item's tree.
quint32 topOf(Ctx const& ctx, quint32 item);

// These cost the depth. Each returns the top of the tree whose length it touched.
quint32 detach(Ctx& ctx, quint32 item); // none for an item that hangs nowhere
// Hangs a detached item under the parent, before the sibling, or last for none.
quint32 attach(Ctx& ctx, quint32 parent, quint32 item, quint32 before);
quint32 setItemStyle(Ctx& ctx, quint32 item, quint32 style);

// Costs every item, unless the height is the old one. Returns whether it is not.
bool setStyleHeader(Ctx& ctx, quint32 style, int header);
// From the headers alone, and into the lengths of what is above; returns the top of the tree.
quint32 rebuildLengths(Ctx& ctx, quint32 item);
void rebuildAllLengths(Ctx& ctx);

// An item comes before its children. none at the end.
quint32 lastDescendant(Ctx const& ctx, quint32 item);
quint32 nextLinearly(Ctx const& ctx, quint32 item);
quint32 prevLinearly(Ctx const& ctx, quint32 item);
// The same within what is below the ancestor; from the ancestor itself, next gives the first.
quint32 nextDescendant(Ctx const& ctx, quint32 item, quint32 ancestor);
quint32 prevDescendant(Ctx const& ctx, quint32 item, quint32 ancestor);
bool isDescendantOf(Ctx const& ctx, quint32 item, quint32 ancestor);

// Costs the siblings before the item and before each item above it.
Span itemSpan(Ctx const& ctx, quint32 item);

// Calls visit(item, top) for the root and each item below it that has a pixel between the two
// positions, bottom excluded, in order. What ends above is passed over by its length alone.
template <typename Visit>
void walkSpan(Ctx const& ctx, quint32 root, int from, int bottom, Visit&& visit)
{
    quint32 item = root;
    int top = 0;
    while (top < bottom) {
        Node const& node = ctx.nodes[item];
        int const length = static_cast<int>(node.length);
        bool const shown = length > 0 && top + length > from;
        if (shown) {
            visit(item, top);
        }
        if (shown && node.firstChild != none) {
            top += static_cast<int>(headerOf(ctx, item));
            item = node.firstChild;
            continue;
        }
        top += length;
        while (item != root && ctx.nodes[item].nextSibling == none) {
            item = ctx.nodes[item].parent;
        }
        if (item == root) {
            return;
        }
        item = ctx.nodes[item].nextSibling;
    }
}

} // namespace Lit
