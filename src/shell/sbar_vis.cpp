// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sbar_vis.h"

#include "sbar_kinds.h"
#include "sbar_tree.h"
#include "sbar_view.h"

#include <QRegion>

namespace NakSbar {

Vis_Base::~Vis_Base() = default;

Vis_Base* VisDataMap::find(Item item) const
{
    auto const found = m_map.find(item);
    return found == m_map.end() ? nullptr : found->second.get();
}

void VisDataMap::set(Item item, std::unique_ptr<Vis_Base> vis)
{
    m_map[item] = std::move(vis);
}

void VisDataMap::remove(Item item)
{
    m_map.erase(item);
}

void VisDataMap::removeUnseen(quint32 pass)
{
    for (auto it = m_map.begin(); it != m_map.end();)
        it = it->second->seenIn == pass ? std::next(it) : m_map.erase(it);
}

namespace {

// How many rows the item stands below, sections aside.
int levelOf(ViewPriv const& d, Item item)
{
    int level = 0;
    for (Item up = d.view->parent(item); up != noItem; up = d.view->parent(up)) {
        Shape const shape = traitsOf(infoOf(d, up)).shape;
        if (shape == Shape::Group || shape == Shape::Row)
            ++level;
    }
    return level;
}

void layOut(ViewPriv const& d, Item item, Vis_Base* vis)
{
    Info const& info = infoOf(d, item);
    RowPlace place;
    place.shape = traitsOf(info).shape;
    place.level = levelOf(d, item);
    place.hasArrow = info.child != noItem;
    place.collapsed = isCollapsed(d, item);
    place.active = vis->active;
    place.width = d.view->viewport()->width();
    vis->layout = layoutRow(vis->shown, place, d.style, &vis->layout);
}

void fill(ViewPriv const& d, Item item, Vis_Base* vis)
{
    Info const& info = infoOf(d, item);
    vis->shown = vis->read(d, info);
    NakNavLoc const place = placeOf(info);
    vis->active = !place.isNone() && place == d.activeSource;
    layOut(d, item, vis);
}

QRect headerOf(ViewPriv const& d, LitVisibleItem const& visible)
{
    QRect rect = visible.rect;
    unsigned int const style = d.view->itemStyle(visible.item);
    rect.setHeight(style == noItem ? 0 : d.view->styleHeader(style));
    return rect;
}

bool anyShown(ViewPriv const& d)
{
    for (LitVisibleItem const& visible : d.view->visibleItems()) {
        if (traitsOf(infoOf(d, visible.item)).makeVis && !d.vis.find(visible.item))
            return true;
    }
    return false;
}

} // namespace

std::unique_ptr<Vis_Base> createVisibleData(ViewPriv const& d, Item item)
{
    Info const& info = infoOf(d, item);
    auto const make = traitsOf(info).makeVis;
    if (!make)
        return nullptr;
    auto vis = make(info);
    fill(d, item, vis.get());
    return vis;
}

void updateVisibleData(ViewPriv& d)
{
    ++d.visPass;
    int const width = d.view->viewport()->width();
    bool const sameWidth = std::exchange(d.layoutWidth, width) == width;
    HeldStore const held(anyShown(d) ? d.dis.get() : nullptr);
    for (LitVisibleItem const& visible : d.view->visibleItems()) {
        Vis_Base* vis = d.vis.find(visible.item);
        if (!vis) {
            auto made = createVisibleData(d, visible.item);
            vis = made.get();
            if (!vis)
                continue;
            d.vis.set(visible.item, std::move(made));
        } else if (!sameWidth) {
            layOut(d, visible.item, vis);
        }
        vis->seenIn = d.visPass;
    }
    d.vis.removeUnseen(d.visPass);
}

void refreshVisible(ViewPriv& d, ItemTest const& test)
{
    QRegion changed;
    HeldStore const held(d.dis.get());
    for (LitVisibleItem const& visible : d.view->visibleItems()) {
        Vis_Base* const vis = d.vis.find(visible.item);
        Info const& info = infoOf(d, visible.item);
        if (!vis || !test(visible.item, info))
            continue;
        RowContent content = vis->read(d, info);
        if (content == vis->shown)
            continue;
        vis->shown = std::move(content);
        layOut(d, visible.item, vis);
        changed += headerOf(d, visible);
    }
    if (!changed.isEmpty())
        d.view->invalidate(changed);
}

void layoutAgain(ViewPriv& d, Item item)
{
    Vis_Base* const vis = d.vis.find(item);
    if (!vis)
        return;
    layOut(d, item, vis);
    invalidateHeader(d, item);
}

void rebuildVisibleData(ViewPriv& d)
{
    HeldStore const held(d.dis.get());
    for (LitVisibleItem const& visible : d.view->visibleItems()) {
        if (d.vis.find(visible.item))
            d.vis.set(visible.item, createVisibleData(d, visible.item));
    }
    d.view->invalidate();
}

QRect headerRect(ViewPriv const& d, Item item)
{
    QRect const rect = d.view->rectForVisibleItem(item);
    return rect.isNull() ? rect : headerOf(d, { item, rect });
}

void invalidateHeader(ViewPriv& d, Item item)
{
    QRect const rect = headerRect(d, item);
    if (!rect.isNull())
        d.view->invalidate(rect);
}

} // namespace NakSbar
