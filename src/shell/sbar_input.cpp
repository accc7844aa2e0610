// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sbar_input.h"

#include "sbar_active.h"
#include "sbar_kinds.h"
#include "sbar_menus.h"
#include "sbar_tree.h"
#include "sbar_view.h"
#include "sbar_vis.h"

#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>

namespace NakSbar {

namespace {

bool isRow(ViewPriv const& d, Item item)
{
    return traitsOf(infoOf(d, item)).shape != Shape::None;
}

void pick(ViewPriv& d, Item item, Opening opening)
{
    NakNavLoc const place = placeOf(infoOf(d, item));
    if (place.isNone())
        return;
    playPressedAnim(d, item);
    if (opening == Opening::Here)
        emit d.view->pickedByClicking(place);
    else
        emit d.view->pickedByMiddleClicking(place);
}

void activate(ViewPriv& d, Item item, Opening opening, QPoint const& point)
{
    switch (traitsOf(infoOf(d, item)).click) {
    case Click::Nothing:
        break;
    case Click::Toggle:
        if (opening == Opening::Here)
            toggleCollapsed(d, item);
        break;
    case Click::Pick:
        pick(d, item, opening);
        break;
    case Click::PopUp:
        if (d.vis.find(item))
            popUpMenu(d, item, point);
        break;
    }
}

// The next row in reading order, in either direction; noItem at the end.
Item neighbour(ViewPriv const& d, Item item, bool down)
{
    do
        item = down ? d.view->nextLinearly(item) : d.view->prevLinearly(item);
    while (item != noItem && !isRow(d, item));
    return item;
}

Item rowAbove(ViewPriv const& d, Item item)
{
    do
        item = d.view->parent(item);
    while (item != noItem && !isRow(d, item));
    return item;
}

void moveCaret(ViewPriv& d, bool down, int rows)
{
    Item item = d.caret;
    for (; rows > 0; --rows) {
        Item const next = neighbour(d, item, down);
        if (next == noItem)
            break;
        item = next;
    }
    setCaret(d, item);
}

void moveCaretToEnd(ViewPriv& d, bool last)
{
    Item const root = d.view->rootItem();
    Item item = last ? d.view->lastDescendant(root) : d.view->firstChild(root);
    if (!isRow(d, item))
        item = neighbour(d, item, !last);
    if (item != noItem)
        setCaret(d, item);
}

// Left collapses or goes up, right expands or goes down.
void moveSideways(ViewPriv& d, bool right)
{
    bool const canCollapse = infoOf(d, d.caret).child != noItem;
    if (canCollapse && isCollapsed(d, d.caret) == right) {
        toggleCollapsed(d, d.caret);
    } else if (right && canCollapse) {
        moveCaret(d, true, 1);
    } else if (!right) {
        Item const above = rowAbove(d, d.caret);
        if (above != noItem)
            setCaret(d, above);
    }
}

QPoint caretPoint(ViewPriv const& d)
{
    QRect const rect = headerRect(d, d.caret);
    return { rect.left() + d.style.levelIndent, rect.bottom() };
}

int rowsOfPage(ViewPriv const& d)
{
    return qMax(d.view->viewport()->height() / d.style.rowHeight - 1, 1);
}

} // namespace

Item itemAtPoint(ViewPriv const& d, QPoint const& point)
{
    LitPath const path = d.view->pathAtPoint(point);
    if (path.isEmpty())
        return noItem;
    Item const item = path.last().item;
    return isRow(d, item) ? item : noItem;
}

void handleMouseClickEvent(ViewPriv& d, QMouseEvent const& event)
{
    Item const item = itemAtPoint(d, event.pos());
    if (item == noItem)
        return;
    if (d.caret != noItem)
        setCaret(d, item);
    activate(d, item, event.button() == Qt::LeftButton ? Opening::Here : Opening::InNewTab,
             event.pos());
}

void handleContextMenuRequested(ViewPriv& d, QPoint const& point)
{
    Item const item = itemAtPoint(d, point);
    if (item != noItem)
        popUpMenu(d, item, point);
}

void ensureCaret(ViewPriv& d)
{
    if (d.caret != noItem && d.view->isDescendantOf(d.caret, d.view->rootItem()))
        return;
    Item const active = itemOfPlace(d, d.activeSource);
    if (active != noItem && d.view->isDescendantOf(active, d.view->rootItem()))
        setCaret(d, active);
    else
        moveCaretToEnd(d, false);
}

bool handleKey(ViewPriv& d, QKeyEvent const& event)
{
    ensureCaret(d);
    if (d.caret == noItem)
        return false;
    bool const control = (event.modifiers() & Qt::ControlModifier) != 0;
    switch (event.key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
        moveCaret(d, event.key() == Qt::Key_Down, 1);
        return true;
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        moveCaret(d, event.key() == Qt::Key_PageDown, rowsOfPage(d));
        return true;
    case Qt::Key_Home:
    case Qt::Key_End:
        moveCaretToEnd(d, event.key() == Qt::Key_End);
        return true;
    case Qt::Key_Left:
    case Qt::Key_Right:
        moveSideways(d, event.key() == Qt::Key_Right);
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        activate(d, d.caret, control ? Opening::InNewTab : Opening::Here, caretPoint(d));
        return true;
    case Qt::Key_F10: // the menu key comes as an event of its own
        if ((event.modifiers() & Qt::ShiftModifier) == 0)
            return false;
        showCaretMenu(d);
        return true;
    case Qt::Key_Escape:
        emit d.view->focusGivenBack();
        return true;
    default:
        return false;
    }
}

void showCaretMenu(ViewPriv& d)
{
    ensureCaret(d);
    if (d.caret == noItem)
        return;
    setCaret(d, d.caret); // which brings it into view
    QMenu* const menu = popUpMenu(d, d.caret, caretPoint(d));
    if (menu)
        menu->setActiveAction(menu->actions().value(0));
}

void toggleCollapsed(ViewPriv& d, Item item)
{
    if (d.caret != noItem && d.view->isDescendantOf(d.caret, item))
        setCaret(d, item);
    setCollapsed(d, item, !isCollapsed(d, item));
    layoutAgain(d, item);
}

void setChildrenCollapsed(ViewPriv& d, Item parent, bool collapsed)
{
    d.view->beginEdit();
    for (Item item = d.view->firstChild(parent); item != noItem; item = d.view->nextSibling(item)) {
        if (infoOf(d, item).child != noItem && isCollapsed(d, item) != collapsed)
            toggleCollapsed(d, item);
    }
    d.view->endEdit();
}

} // namespace NakSbar
