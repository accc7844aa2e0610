// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The tree at the left of a chat window: bookmarks, notifications, the guilds with their channels
// and the people in voice, and private channels. Items are made by asking the stores, not from
// events: after a larger change the store is asked again and the tree brought in line. Only what is
// on screen has text, pictures and numbers. User-interface thread; each window has one, with its
// own collapsed groups and active place. What it shows comes from g_savedData, g_disClient,
// g_disManager, g_disAvatarImages and the notifications; what is not there is left out.

#include "lit_item_view.h"
#include "nav_loc.h"

#include <memory>

namespace NakSbar {
struct ViewPriv;
}

class NakSbarView : public LitItemView {
    Q_OBJECT
public:
    explicit NakSbarView(QWidget* parent);
    ~NakSbarView() override;

    // The place that the window shows; its rows stand out.
    NakNavLoc activeNavLoc() const;
    void setActiveNavLoc(NakNavLoc const& place);
    void clearActiveNavLoc();

    LitSpokenItem spokenItem(unsigned int item) const override;

    // For the functions of NakSbar.
    NakSbar::ViewPriv& priv() const { return *d; }

signals:
    void pickedByClicking(NakNavLoc const& place);
    void pickedByMiddleClicking(NakNavLoc const& place);
    // The keyboard is done here.
    void focusGivenBack();

protected:
    void paintItem(QPainter* painter, unsigned int item, QRect const& itemRect,
                   QRect const& fullRect, QRegion const& region) override;
    void visibleItemsChanged() override;
    bool viewportEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void connectEverything();
    void connectDiscord();

    std::unique_ptr<NakSbar::ViewPriv> d;
};
