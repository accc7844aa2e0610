// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sbar_active.h"

#include "lit_item_accessible.h"
#include "sbar_kinds.h"
#include "sbar_tree.h"
#include "sbar_view.h"
#include "sbar_vis.h"

#include <QScrollBar>
#include <QTimer>

#include <utility>

namespace NakSbar {

namespace {

constexpr int pressedMSecs = 80;

// The header alone: of a group that is higher than the view, not the top of it all.
void ensureHeaderVisible(ViewPriv& d, Item item)
{
    QRect rect = d.view->rectForItem(item);
    if (rect.isNull())
        return;
    rect.setHeight(d.view->styleHeader(d.view->itemStyle(item)));
    QScrollBar* const bar = d.view->verticalScrollBar();
    int const below = rect.bottom() + 1 - d.view->viewport()->height();
    if (rect.top() < 0)
        bar->setValue(bar->value() + rect.top());
    else if (below > 0)
        bar->setValue(bar->value() + below);
}

} // namespace

Item itemOfPlace(ViewPriv const& d, NakNavLoc const& place)
{
    if (place.type() == NakNav::Type::Builtin)
        return placeOf(infoOf(d, d.notifications)) == place ? d.notifications : noItem;
    if (place.type() != NakNav::Type::Discord)
        return noItem;
    FlakeId const channel = place.discordChannelId();
    return d.channels.value(channel, d.privChannels.value(channel, noItem));
}

void setActiveSource(ViewPriv& d, NakNavLoc const& place)
{
    if (place == d.activeSource)
        return;
    d.activeSource = place;
    for (LitVisibleItem const& visible : d.view->visibleItems()) {
        Vis_Base* const vis = d.vis.find(visible.item);
        if (!vis)
            continue;
        NakNavLoc const own = placeOf(infoOf(d, visible.item));
        bool const active = !own.isNone() && own == place;
        if (std::exchange(vis->active, active) != active)
            layoutAgain(d, visible.item);
    }
    // Nothing happens if it is in a collapsed group.
    Item const item = itemOfPlace(d, place);
    if (item != noItem)
        d.view->ensureItemVisibleWithMinimumScrolling(item);
}

void playPressedAnim(ViewPriv& d, Item item)
{
    d.pressed.insert(item);
    invalidateHeader(d, item);
    // The number may stand for another item by then, which then stays as it is.
    QTimer::singleShot(pressedMSecs, d.view, [&d, item] {
        if (d.pressed.remove(item))
            invalidateHeader(d, item);
    });
}

void setCaret(ViewPriv& d, Item item)
{
    if (d.caret != noItem)
        invalidateHeader(d, d.caret);
    d.caret = item;
    if (item == noItem)
        return;
    ensureHeaderVisible(d, item);
    invalidateHeader(d, item);
    if (d.view->hasFocus())
        LitAccessible::focusMoved(*d.view, item);
}

} // namespace NakSbar
