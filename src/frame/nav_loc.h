// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The place that a tab or a side bar row points at. Plain value, any thread. A field that its
// kind has no use for keeps its default, so places compare field by field.

#include "flake_id.h"

#include <QJsonValue>
#include <QMetaType>
#include <QString>

namespace NakNav {

enum class Type : qint32 { None = 0, Builtin = 1, Discord = 2, Slack = 3 };

namespace BuiltinView {
enum class Type : qint32 { Notifications = 0, Accounts = 1 };
}

enum class DiscordKind : qint32 { Channel = 0, Friends = 1, Mentions = 2 };
enum class SlackKind : qint32 { Channel = 0, Thread = 1, AllThreads = 2 };

} // namespace NakNav

class NakNavLoc {
public:
    NakNavLoc() = default;

    static NakNavLoc builtin(NakNav::BuiltinView::Type view);
    static NakNavLoc discordChannel(FlakeId channelId);
    static NakNavLoc discordFriends();
    static NakNavLoc discordMentions();
    // The ids as the service writes them.
    static NakNavLoc slackChannel(quint64 world, QString const& channelId);
    static NakNavLoc slackThread(quint64 world, QString const& channelId,
                                 QString const& threadTime);
    static NakNavLoc slackAllThreads(quint64 world);

    NakNav::Type type() const { return m_type; }
    bool isNone() const { return m_type == NakNav::Type::None; }

    // Each asserts that the place is of its type.
    NakNav::BuiltinView::Type builtinView() const;
    NakNav::DiscordKind discordKind() const;
    FlakeId discordChannelId() const; // invalid unless the kind is Channel
    NakNav::SlackKind slackKind() const;
    quint64 slackWorld() const;
    QString slackChannelId() const; // empty for AllThreads
    QString slackThreadTime() const; // empty unless the kind is Thread

    // Equal by type and by what the type's kind tells places apart with.
    friend bool operator==(NakNavLoc const& a, NakNavLoc const& b);
    friend bool operator!=(NakNavLoc const& a, NakNavLoc const& b) { return !(a == b); }

private:
    NakNav::Type m_type = NakNav::Type::None;
    qint32 m_kind = 0; // the built-in view, or the service's kind
    quint64 m_word = 0; // Discord: the channel. Slack: the world.
    // Slack: channel and thread time. Empty where the kind does not tell places apart with them.
    QString m_channel;
    QString m_time;
};

Q_DECLARE_METATYPE(NakNavLoc)

namespace NakNav {

QString navTypeToString(Type type);
Type stringToNavType(QString const& text); // unknown text gives None
bool stringToBuiltinView(QString const& text, BuiltinView::Type* out);

QJsonValue saveToJson(NakNavLoc const& place);
// Every missing or invalid piece gives the none place.
NakNavLoc loadFromJson(QJsonValue const& value);
// The form of a tab in version 1 of the stored layout: a bare string.
NakNavLoc loadFromJson_tabs_legacy_v1(QJsonValue const& value);

} // namespace NakNav
