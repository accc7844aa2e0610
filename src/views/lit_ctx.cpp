// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "lit_ctx.h"

#include <QBitArray>

namespace Lit {

namespace {

Node& node(Ctx& ctx, quint32 item)
{
    return ctx.nodes[item];
}

Node const& node(Ctx const& ctx, quint32 item)
{
    return ctx.nodes[item];
}

// The deepest item at the end of what begins with the item.
quint32 lastWithin(Ctx const& ctx, quint32 item)
{
    while (node(ctx, item).lastChild != none) {
        item = node(ctx, item).lastChild;
    }
    return item;
}

// A difference below 0 wraps around, as the sum does.
quint32 addLength(Ctx& ctx, quint32 item, quint32 difference)
{
    quint32 top = item;
    for (; item != none; item = node(ctx, item).parent) {
        node(ctx, item).length += difference;
        top = item;
    }
    return top;
}

// Needs the children's lengths.
void sumUp(Ctx& ctx, quint32 item)
{
    quint32 length = headerOf(ctx, item);
    for (quint32 child = node(ctx, item).firstChild; child != none;
         child = node(ctx, child).nextSibling) {
        length += node(ctx, child).length;
    }
    node(ctx, item).length = length;
}

// Children before their parents; visit() may take the item away.
template <typename Visit> void fromTheEnd(Ctx& ctx, quint32 top, Visit&& visit)
{
    quint32 item = lastWithin(ctx, top);
    while (item != top) {
        quint32 const before = prevLinearly(ctx, item);
        visit(item);
        item = before;
    }
    visit(top);
}

} // namespace

quint32 createItem(Ctx& ctx, quint32 style)
{
    quint32 const item = ctx.itemIds.CreateID();
    if (item == none) {
        return none;
    }
    if (item >= ctx.nodes.size()) {
        ctx.nodes.emplace_back();
    }
    if (style != none) {
        node(ctx, item).style = style;
        node(ctx, item).length = headerOf(ctx, item);
    }
    return item;
}

quint32 createStyle(Ctx& ctx, int header)
{
    quint32 const style = ctx.styleIds.CreateID();
    if (style != none && style >= static_cast<quint32>(ctx.style.size())) {
        ctx.style.append(0);
    }
    if (style != none) {
        ctx.style[static_cast<int>(style)] = static_cast<quint32>(qMax(0, header));
    }
    return style;
}

void deleteItem(Ctx& ctx, quint32 item)
{
    detach(ctx, item);
    fromTheEnd(ctx, item, [&ctx](quint32 gone) {
        node(ctx, gone) = Node();
        ctx.itemIds.DestroyID(gone);
    });
}

void deleteStyle(Ctx& ctx, quint32 style)
{
    ctx.styleIds.DestroyID(style);
}

quint32 headerOf(Ctx const& ctx, quint32 item)
{
    quint32 const style = node(ctx, item).style;
    return style == none ? 0 : ctx.style[static_cast<int>(style)];
}

quint32 topOf(Ctx const& ctx, quint32 item)
{
    while (node(ctx, item).parent != none) {
        item = node(ctx, item).parent;
    }
    return item;
}

quint32 detach(Ctx& ctx, quint32 item)
{
    Node& gone = node(ctx, item);
    quint32 const parent = gone.parent;
    if (parent == none) {
        return none;
    }
    quint32& before = gone.prevSibling == none ? node(ctx, parent).firstChild
                                               : node(ctx, gone.prevSibling).nextSibling;
    quint32& after = gone.nextSibling == none ? node(ctx, parent).lastChild
                                              : node(ctx, gone.nextSibling).prevSibling;
    before = gone.nextSibling;
    after = gone.prevSibling;
    gone.parent = gone.prevSibling = gone.nextSibling = none;
    return addLength(ctx, parent, 0 - gone.length);
}

quint32 attach(Ctx& ctx, quint32 parent, quint32 item, quint32 before)
{
    Q_ASSERT(node(ctx, item).parent == none);
    Q_ASSERT(topOf(ctx, parent) != item);
    Q_ASSERT(before == none || node(ctx, before).parent == parent);
    Node& added = node(ctx, item);
    added.parent = parent;
    added.nextSibling = before;
    quint32& toNext = before == none ? node(ctx, parent).lastChild : node(ctx, before).prevSibling;
    added.prevSibling = toNext;
    toNext = item;
    quint32& fromPrev = added.prevSibling == none ? node(ctx, parent).firstChild
                                                  : node(ctx, added.prevSibling).nextSibling;
    fromPrev = item;
    return addLength(ctx, parent, added.length);
}

quint32 setItemStyle(Ctx& ctx, quint32 item, quint32 style)
{
    quint32 const oldHeader = headerOf(ctx, item);
    node(ctx, item).style = style;
    return addLength(ctx, item, headerOf(ctx, item) - oldHeader);
}

bool setStyleHeader(Ctx& ctx, quint32 style, int header)
{
    quint32& height = ctx.style[static_cast<int>(style)];
    quint32 const wanted = static_cast<quint32>(qMax(0, header));
    if (height == wanted) {
        return false;
    }
    height = wanted;
    rebuildAllLengths(ctx);
    return true;
}

quint32 rebuildLengths(Ctx& ctx, quint32 item)
{
    quint32 const oldLength = node(ctx, item).length;
    fromTheEnd(ctx, item, [&ctx](quint32 below) { sumUp(ctx, below); });
    quint32 const parent = node(ctx, item).parent;
    return parent == none ? item : addLength(ctx, parent, node(ctx, item).length - oldLength);
}

void rebuildAllLengths(Ctx& ctx)
{
    int const count = static_cast<int>(ctx.nodes.size());
    QBitArray toDo(count, true);
    for (int i = 0; i < count; ++i) {
        if (!toDo.testBit(i)) {
            continue;
        }
        fromTheEnd(ctx, topOf(ctx, static_cast<quint32>(i)), [&ctx, &toDo](quint32 item) {
            sumUp(ctx, item);
            toDo.clearBit(static_cast<int>(item));
        });
    }
}

quint32 lastDescendant(Ctx const& ctx, quint32 item)
{
    quint32 const last = lastWithin(ctx, item);
    return last == item ? none : last;
}

quint32 nextLinearly(Ctx const& ctx, quint32 item)
{
    return nextDescendant(ctx, item, none);
}

quint32 prevLinearly(Ctx const& ctx, quint32 item)
{
    quint32 const prev = node(ctx, item).prevSibling;
    return prev == none ? node(ctx, item).parent : lastWithin(ctx, prev);
}

quint32 nextDescendant(Ctx const& ctx, quint32 item, quint32 ancestor)
{
    if (node(ctx, item).firstChild != none) {
        return node(ctx, item).firstChild;
    }
    while (item != ancestor && item != none && node(ctx, item).nextSibling == none) {
        item = node(ctx, item).parent;
    }
    return item == ancestor || item == none ? none : node(ctx, item).nextSibling;
}

quint32 prevDescendant(Ctx const& ctx, quint32 item, quint32 ancestor)
{
    if (item == ancestor) {
        return none;
    }
    quint32 const prev = prevLinearly(ctx, item);
    return prev == ancestor ? none : prev;
}

bool isDescendantOf(Ctx const& ctx, quint32 item, quint32 ancestor)
{
    do {
        item = node(ctx, item).parent;
    } while (item != none && item != ancestor);
    return item == ancestor && item != none;
}

Span itemSpan(Ctx const& ctx, quint32 item)
{
    quint32 top = 0;
    quint32 const length = node(ctx, item).length;
    while (node(ctx, item).parent != none) {
        for (quint32 before = node(ctx, item).prevSibling; before != none;
             before = node(ctx, before).prevSibling) {
            top += node(ctx, before).length;
        }
        item = node(ctx, item).parent;
        top += headerOf(ctx, item);
    }
    return { static_cast<int>(top), static_cast<int>(length) };
}

} // namespace Lit
