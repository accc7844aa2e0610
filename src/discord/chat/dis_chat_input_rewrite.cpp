// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_chat_input_rewrite.h"

#include "dis_cache.h"
#include "dis_message_parse.h"
#include "dis_utils.h"

#include <algorithm>
#include <optional>

namespace {

using Usable = std::optional<QVector<DisUsableEmoji>>;

void writeShortcode(QString& out, QStringView shortcode, QVector<DisUsableEmoji> const& usable)
{
    auto const found = std::find_if(usable.begin(), usable.end(), [&](DisUsableEmoji const& emoji) {
        return emoji.name == shortcode;
    });
    if (found == usable.end()) {
        out += QLatin1Char(':');
        out.append(shortcode.data(), int(shortcode.size()));
        out += QLatin1Char(':');
        return;
    }
    out += found->animated ? QLatin1String("<a:") : QLatin1String("<:");
    out += found->name;
    out += QLatin1Char(':');
    out += found->id.toString();
    out += QLatin1Char('>');
}

// Any user that the store knows by the name will do, in the channel's guild or not.
void writeUser(QString& out, QStringView name, QStringView discrim)
{
    FlakeId const user = DisUtils::findUserByName(name.toString(), discrim.toString());
    if (user.isValid()) {
        out += QLatin1String("<@");
        out += user.toString();
        out += QLatin1Char('>');
        return;
    }
    out += QLatin1Char('@');
    out.append(name.data(), int(name.size()));
    out += QLatin1Char('#');
    out.append(discrim.data(), int(discrim.size()));
}

QString editableUserMention(FlakeId user)
{
    QString const name = DisCache::userName(user);
    QString const discrim = DisCache::userDiscrimWithHash(user);
    if (name.isEmpty() || discrim.isEmpty()) {
        return QLatin1String("<@") + user.toString() + QLatin1Char('>');
    }
    return QLatin1Char('@') + name + discrim;
}

QString editableChannelMention(FlakeId channel)
{
    QString const name = DisUtils::guildChannelName(channel);
    return QLatin1Char('#') + (name.isEmpty() ? channel.toString() : name);
}

QString editableRoleMention(FlakeId role)
{
    DisRoleNameAndColor const found = DisUtils::findRoleNameAndColor(role);
    return QLatin1Char('@') + (found.name.isEmpty() ? role.toString() : found.name);
}

QString editable(DisplayMessagePiece const& piece)
{
    using Kind = DisplayMessagePiece::Kind;
    switch (piece.kind) {
    case Kind::CustomEmoji:
        return QLatin1Char(':') + piece.text.toString() + QLatin1Char(':');
    case Kind::UserMention:
        return editableUserMention(piece.id);
    case Kind::ChannelMention:
        return editableChannelMention(piece.id);
    case Kind::RoleMention:
        return editableRoleMention(piece.id);
    case Kind::CodeBlock:
        return piece.raw.toString();
    case Kind::InlineCode:
        return QLatin1Char('`') + piece.text.toString() + QLatin1Char('`');
    case Kind::Text:
    case Kind::Url:
        break;
    }
    return piece.text.toString();
}

} // namespace

QString DisUtils::parseChatInputAsUserInChannel(FlakeId userId, FlakeId channelId,
                                                QString const& text)
{
    QString out;
    out.reserve(text.size());
    Usable usable; // fetched for the first shortcode
    for (InputMessagePiece const& piece : DisMessageParse::parseInputMessage(&text)) {
        switch (piece.kind) {
        case InputMessagePiece::Kind::Text:
            out.append(piece.text.data(), int(piece.text.size()));
            break;
        case InputMessagePiece::Kind::Shortcode:
            if (!usable) {
                usable = getUsableEmojiWithNamesForUserInChannel(userId, channelId);
            }
            writeShortcode(out, piece.text, *usable);
            break;
        case InputMessagePiece::Kind::UserWithDiscrim:
        case InputMessagePiece::Kind::UserByName:
            writeUser(out, piece.text, piece.discrim);
            break;
        }
    }
    return out;
}

QString DisUtils::reverseChatParseAsUser(FlakeId, QString const& text)
{
    QString out;
    out.reserve(text.size());
    for (DisplayMessagePiece const& piece : DisMessageParse::parseDisplayMessage(&text)) {
        out += editable(piece);
    }
    return out;
}

QString DisUtils::getCopyableText(FlakeId userId, FlakeId messageId)
{
    return reverseChatParseAsUser(userId, contentOfMessage(messageId));
}
