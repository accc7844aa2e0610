// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the user is told of: private messages, messages that mention the user, and friend requests.
// One notification a conversation, kept up to date until the channel is read or the user dismisses
// it. User-interface thread only.

#include "flake_id.h"
#include "text_notif.h"

#include <QHash>
#include <QSet>
#include <QVector>

#include <functional>

namespace DisNotifs {

enum class MsgNotifType : qint32 { PrivateMessage = 0, Mention = 1 };

struct MsgNotifParams {
    FlakeId channel;
    FlakeId message;
    FlakeId author;
    FlakeId guild; // invalid in private channels
    MsgNotifType type = MsgNotifType::PrivateMessage;
    QString text; // plain, one line, cut short
};

} // namespace DisNotifs

class DisMsgNotif : public NakTextNotifItem {
    Q_OBJECT
public:
    explicit DisMsgNotif(QObject* parent);

    void setParams(DisNotifs::MsgNotifParams const& params);
    DisNotifs::MsgNotifParams const& params() const { return m_params; }
    // From the tray, and by the window manager's mark on the windows, each if the user wants it.
    void showPopupIfAllowed();

private:
    DisNotifs::MsgNotifParams m_params;
};

namespace DisNotifs {

struct NotifsData {
    QObject* parent = nullptr; // owns the notifications
    // Door: the text of a stored message as a person reads it, names in place of markup.
    std::function<QString(FlakeId message)> readableText;
    QSet<FlakeId> watchedUsers; // own users; nothing is told of while there is none
    QHash<FlakeId, DisMsgNotif*> messages; // by channel
    QHash<FlakeId, NakTextNotifItem*> friendRequests; // by user
};

void addUserChanWatches(NotifsData& data, FlakeId ownUser);
// params: channel, message and author; the rest is filled in from the store.
void addPrivMsgNotif(NotifsData& data, MsgNotifParams const& params);
void addMentionedMsgNotif(NotifsData& data, MsgNotifParams const& params);
void removeMsgNotifsInChannels(NotifsData& data, QSet<FlakeId> const& channels);
// Notifications for those who ask now, and for nobody else; for nobody at all if the user does not
// want them. To be told again when that changes.
void setFriendRequests(NotifsData& data, FlakeId ownUser, QVector<FlakeId> const& users);

} // namespace DisNotifs
