// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The place that a tab or a side bar row points at. Plain value, any thread.

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
    constexpr NakNavLoc() = default;

    static NakNavLoc builtin(NakNav::BuiltinView::Type view);
    static NakNavLoc discordChannel(FlakeId channelId);
    static NakNavLoc discordFriends();
    static NakNavLoc discordMentions();

    NakNav::Type type() const { return m_type; }
    bool isNone() const { return m_type == NakNav::Type::None; }

    // Each asserts that the place is of its type.
    NakNav::BuiltinView::Type builtinView() const;
    NakNav::DiscordKind discordKind() const;
    FlakeId discordChannelId() const; // invalid unless the kind is Channel

    // Equal by type and by what the type's kind tells places apart with.
    friend bool operator==(NakNavLoc const& a, NakNavLoc const& b);
    friend bool operator!=(NakNavLoc const& a, NakNavLoc const& b) { return !(a == b); }

private:
    NakNav::Type m_type = NakNav::Type::None;
    qint32 m_kind = 0; // the built-in view, or the service's kind
    // Discord: the channel. Slack: world, channel and thread time.
    quint64 m_words[3] = {};
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
