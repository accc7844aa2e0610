// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The state of DisChanBuff, for its own source files only.

#include "dis_buff_group_widget.h"
#include "dis_chan_buff.h"

#include <QTimer>

class QLabel;
class ZilDragDial;
class ZilLockButton;

// Where a channel belongs.
struct DisBuffContext {
    enum Kind { Unknown = 0, GuildChannel = 1, PrivateChannel = 2 };

    Kind kind = Unknown;
    FlakeId channelId;
    FlakeId guildId;
};

struct DisBuffGroup {
    DisBuffSpan span;
    DisBuffGroupWidget* widget = nullptr;
};

struct DisChanBuff::Priv {
    explicit Priv(DisBuffItemsSources const& sources);

    DisBuffReads reads;
    DisBuffItems items;
    DisBuffContext context;
    DisChanBuffHighlight highlight;
    // The groups that the view holds; the order has no meaning.
    QVector<DisBuffGroup> groups;
    QTimer oldestCheckTimer;
    DisBuffWidgetsManager* widgets = nullptr;
    QAction* copyAction = nullptr;
    ZilView* view = nullptr;
    ZilDragDial* dial = nullptr;
    ZilLockButton* lockButton = nullptr;
    BuffMidScrollHandler* midScroll = nullptr;
    QLabel* emptyLabel = nullptr;
    bool stuckToEnd = true;
    bool nearEnd = false; // of what the store has
    bool textSelection = false;
    bool resequencePosted = false;
};

// A message that is on screen, and where: what must not move when the sequence around it changes.
struct DisChanBuff::Anchor {
    DisBuffItem item;
    int top = 0; // in view coordinates
};

template <typename Visitor> void DisChanBuff::forEachContent(Visitor visit) const
{
    for (DisBuffGroup const& group : qAsConst(m_priv->groups)) {
        for (DisBuffMsgContentWidget* content : group.widget->contents()) {
            visit(content);
        }
    }
}
