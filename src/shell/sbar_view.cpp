// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sbar_view.h"

#include "dis_avatar_images.h"
#include "dis_client.h"
#include "dis_manager.h"
#include "global_events.h"
#include "lit_item_accessible.h"
#include "notif_manager.h"
#include "plain_text.h"
#include "preferences.h"
#include "sbar_active.h"
#include "sbar_discord.h"
#include "sbar_input.h"
#include "sbar_kinds.h"
#include "sbar_playlists.h"
#include "sbar_tree.h"
#include "sbar_vis.h"

#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QPainter>
#include <QScrollBar>
#include <QToolTip>

using namespace NakSbar;

namespace {

constexpr int scrollStep = 15;

QString fontKeyOf(QFont const& font)
{
    return font.toString() + QLatin1Char('/') + QString::number(font.styleStrategy());
}

void updateStyleFromPrefs(ViewPriv& d)
{
    QFont const& font = g_preferences->sourceListFont;
    d.fontKey = fontKeyOf(font);
    d.style = NakStyle::makeSbarViewStyle(font, d.view->palette(), d.view->devicePixelRatioF());
}

void updateScrollBarPolicy(ViewPriv& d)
{
    d.view->setVerticalScrollBarPolicy(
        g_preferences->autoHideSidebarScrollbar ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOn);
}

void attachNotifications(ViewPriv& d)
{
    bool const wanted = g_preferences->showNotificationsInSideBar;
    bool const attached = d.view->parent(d.notifications) == d.notificationsHolder;
    if (wanted == attached)
        return;
    if (wanted)
        d.view->appendChild(d.notificationsHolder, d.notifications);
    else
        d.view->detach(d.notifications);
}

// Everything is drawn anew in the fonts and colours of the moment.
void restyle(ViewPriv& d)
{
    d.view->beginEdit();
    updateStyleFromPrefs(d);
    setStyleHeights(d);
    d.view->endEdit();
    rebuildVisibleData(d);
}

void preferencesChanged(ViewPriv& d)
{
    if (fontKeyOf(g_preferences->sourceListFont) != d.fontKey)
        restyle(d);
    attachNotifications(d);
    updateScrollBarPolicy(d);
}

ItemTest ofKind(Kind kind)
{
    return [kind](Item, Info const& info) { return info.kind == kind; };
}

} // namespace

NakSbarView::NakSbarView(QWidget* parent)
    : LitItemView(parent)
    , d(std::make_unique<ViewPriv>(this))
{
    // The mouse leaves the focus where the user types.
    setFocusPolicy(Qt::TabFocus);
    setFrameShape(QFrame::NoFrame);
    setAccessibleName(tr("Conversations"));
    viewport()->setBackgroundRole(QPalette::Window);
    viewport()->setAutoFillBackground(true);
    verticalScrollBar()->setSingleStep(scrollStep);
    updateStyleFromPrefs(*d);
    beginEdit();
    createInitialItemsAndStyles(*d);
    setStyleHeights(*d);
    attachNotifications(*d);
    endEdit();
    updateScrollBarPolicy(*d);
    if (g_disClient)
        d->dis = std::make_unique<DisStmts>(g_disClient->db());
    connectEverything();
    beginEdit();
    createAnyPlaylistItems(*d);
    activeUserIdChanged(*d);
    endEdit();
}

NakSbarView::~NakSbarView() = default;

void NakSbarView::connectEverything()
{
    connect(g_globalEvents, &NakGlobalEvents::preferencesChanged, this,
            [this] { preferencesChanged(*d); });
    if (g_savedData)
        connect(g_savedData, &NakSavedData::playlistsChanged, this,
                [this](auto const& changes) { playlistsChanged(*d, changes); });
    if (NakNotif::g_nakNotifManager)
        connect(NakNotif::g_nakNotifManager, &NakNotifManager::countChanged, this,
                [this] { refreshVisible(*d, ofKind(Kind::Notifications)); });
    if (g_disAvatarImages) {
        connect(g_disAvatarImages, &DisAvatarImages::avatarPresented, this,
                [this] { refreshVisible(*d, ofKind(Kind::VoiceUser)); });
        connect(g_disAvatarImages, &DisAvatarImages::guildIconPresented, this,
                [this] { refreshVisible(*d, ofKind(Kind::Guild)); });
    }
    if (g_disClient && g_disManager)
        connectDiscord();
}

void NakSbarView::connectDiscord()
{
    d->readTimer.setSingleShot(true);
    connect(&d->readTimer, &QTimer::timeout, this, [this] { readSomeGuilds(*d); });
    connect(g_disClient, &DisClient::disChanges, this,
            [this](DisChanges const& changes) { disChanges(*d, changes); });
    connect(g_disManager, &DisManager::unreadsChanged, this,
            [this](auto const& counts) { disChanUnreadCountersChanged(*d, counts); });
    connect(g_disManager, &DisManager::mutedChannelsChanged, this, [this] {
        refreshVisible(*d, [](Item, Info const& info) { return traitsOf(info).showsDiscord; });
    });
    connect(g_disManager, &DisManager::activeUserIdChanged, this,
            [this] { activeUserIdChanged(*d); });
}

NakNavLoc NakSbarView::activeNavLoc() const
{
    return d->activeSource;
}

void NakSbarView::setActiveNavLoc(NakNavLoc const& place)
{
    setActiveSource(*d, place);
}

void NakSbarView::clearActiveNavLoc()
{
    setActiveSource(*d, NakNavLoc());
}

void NakSbarView::paintItem(QPainter* painter, unsigned int item, QRect const& itemRect,
                            QRect const& fullRect, QRegion const& region)
{
    Vis_Base const* const vis = d->vis.find(item);
    if (!vis)
        return;
    RowPaint paint{ itemRect, fullRect, region };
    paint.active = vis->active;
    paint.pressed = d->pressed.contains(item);
    paint.caret = item == d->caret && hasFocus();
    paintRow(painter, vis->layout, paint, d->style);
}

void NakSbarView::visibleItemsChanged()
{
    updateVisibleData(*d);
}

// A name that is cut off shows in full under the pointer.
bool NakSbarView::viewportEvent(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return LitItemView::viewportEvent(event);
    auto const& help = static_cast<QHelpEvent const&>(*event);
    Item const item = itemAtPoint(*d, help.pos());
    Vis_Base const* const vis = item == noItem ? nullptr : d->vis.find(item);
    if (vis && vis->layout.elided)
        QToolTip::showText(help.globalPos(), NakPlainText::toolTip(vis->shown.text), viewport(),
                           headerRect(*d, item));
    else
        QToolTip::hideText();
    return true;
}

void NakSbarView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::RightButton)
        handleContextMenuRequested(*d, event->pos());
    else if (event->button() == Qt::LeftButton || event->button() == Qt::MiddleButton)
        handleMouseClickEvent(*d, *event);
    viewportMousePositionEvent(event->pos());
}

// A second press like the first: a group is toggled twice and a row picked twice, on purpose.
void NakSbarView::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton || event->button() == Qt::MiddleButton)
        handleMouseClickEvent(*d, *event);
    viewportMousePositionEvent(event->pos());
}

LitSpokenItem NakSbarView::spokenItem(unsigned int item) const
{
    LitSpokenItem spoken;
    Vis_Base const* const vis = d->vis.find(item);
    if (!vis)
        return spoken;
    RowContent const& row = vis->shown;
    spoken.name = row.text;
    if (row.badge == BadgeKind::Number)
        spoken.name = tr("%1, %n unread", nullptr, row.number).arg(row.text);
    else if (row.badge == BadgeKind::Members)
        spoken.name = tr("%1, people: %n", nullptr, row.number).arg(row.text);
    spoken.hasFocus = item == d->caret;
    spoken.isActive = vis->active;
    spoken.isGroup = infoOf(*d, item).child != noItem;
    spoken.isCollapsed = isCollapsed(*d, item);
    return spoken;
}

void NakSbarView::keyPressEvent(QKeyEvent* event)
{
    if (!handleKey(*d, *event))
        LitItemView::keyPressEvent(event);
}

// The mouse's menus come with the press.
void NakSbarView::contextMenuEvent(QContextMenuEvent* event)
{
    if (event->reason() == QContextMenuEvent::Keyboard)
        showCaretMenu(*d);
}

void NakSbarView::focusInEvent(QFocusEvent* event)
{
    LitItemView::focusInEvent(event);
    ensureCaret(*d);
    if (d->caret == noItem)
        return;
    invalidateHeader(*d, d->caret);
    LitAccessible::focusMoved(*this, d->caret);
}

void NakSbarView::focusOutEvent(QFocusEvent* event)
{
    LitItemView::focusOutEvent(event);
    if (d->caret != noItem)
        invalidateHeader(*d, d->caret);
}

void NakSbarView::changeEvent(QEvent* event)
{
    LitItemView::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && d)
        restyle(*d);
}
