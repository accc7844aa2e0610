// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_events.h"

#include "dis_event_handlers.h"
#include "dis_store_rows.h"
#include "dis_store_updates.h"
#include "event_log.h"

namespace DisClientImpl {

namespace {

struct EventHandler {
    char const* name;
    void (*handle)(DisEvent& event);
};

// Other names are ignored, and so are USER_UPDATE and CALL_UPDATE, which tell nothing that is kept.
constexpr EventHandler handlers[] = {
    { "MESSAGE_CREATE", Handle::messageCreate },
    { "PRESENCE_UPDATE", Handle::presenceUpdate },
    { "TYPING_START", Handle::typingStart },
    { "MESSAGE_UPDATE", Handle::messageUpdate },
    { "MESSAGE_DELETE", Handle::messageDelete },
    { "MESSAGE_ACK", Handle::messageAck },
    { "MESSAGE_REACTION_ADD", Handle::messageReactionAdd },
    { "MESSAGE_REACTION_REMOVE", Handle::messageReactionRemove },
    { "VOICE_STATE_UPDATE", Handle::voiceStateUpdate },
    { "VOICE_SERVER_UPDATE", Handle::voiceServerUpdate },
    { "GUILD_MEMBER_ADD", Handle::guildMemberAdd },
    { "GUILD_MEMBER_UPDATE", Handle::guildMemberUpdate },
    { "GUILD_MEMBER_REMOVE", Handle::guildMemberRemove },
    { "GUILD_BAN_ADD", Handle::guildBanAdd },
    { "GUILD_BAN_REMOVE", Handle::guildBanRemove },
    { "GUILD_ROLE_CREATE", Handle::guildRoleCreate },
    { "GUILD_ROLE_UPDATE", Handle::guildRoleUpdate },
    { "GUILD_ROLE_DELETE", Handle::guildRoleDelete },
    { "GUILD_EMOJIS_UPDATE", Handle::guildEmojisUpdate },
    { "GUILD_CREATE", Handle::guildCreate },
    { "GUILD_UPDATE", Handle::guildUpdate },
    { "GUILD_DELETE", Handle::guildDelete },
    { "GUILD_SYNC", Handle::guildSync },
    { "GUILD_MEMBER_LIST_UPDATE", Handle::guildMemberListUpdate },
    { "CHANNEL_CREATE", Handle::channelCreate },
    { "CHANNEL_UPDATE", Handle::channelUpdate },
    { "CHANNEL_DELETE", Handle::channelDelete },
    { "CHANNEL_RECIPIENT_ADD", Handle::channelRecipientAdd },
    { "CHANNEL_RECIPIENT_REMOVE", Handle::channelRecipientRemove },
    { "CALL_CREATE", Handle::callCreate },
    { "CALL_DELETE", Handle::callDelete },
    { "USER_SETTINGS_UPDATE", Handle::userSettingsUpdate },
    { "USER_GUILD_SETTINGS_UPDATE", Handle::userGuildSettingsUpdate },
    { "RELATIONSHIP_ADD", Handle::relationshipAdd },
    { "RELATIONSHIP_REMOVE", Handle::relationshipRemove },
    { "READY", Handle::ready },
    { "RESUMED", Handle::resumed },
};

} // namespace

DisEventOutcome processDispatch(DisEventState& state, DisDbPrepared& prepared,
                                Dread::Ctx const& ctx, Dread::VString name, Dread::VMap const& data)
{
    DisEventOutcome outcome;
    if (name.length == 0) {
        EvLogGlobal::addLogEvent(
            EvLog::Category::Networking, EvLog::Severity::Warn,
            QStringLiteral("Invalid event name when handling dispatch from Discord gateway. "
                           "Event name was: %1")
                .arg(QString()));
        return outcome;
    }
    DisEvent event{ state, prepared, ctx, data, outcome };
    for (auto const& handler : handlers) {
        if (DisRows::equals(name, handler.name)) {
            handler.handle(event);
            break;
        }
    }
    return outcome;
}

QVector<char const*> handledEventNames()
{
    QVector<char const*> names;
    for (auto const& handler : handlers)
        names.append(handler.name);
    return names;
}

int writeHistoryPage(DisDbPrepared& prepared, FlakeId ownUserId, Dread::Ctx const& ctx,
                     Dread::VList const& messages)
{
    int count = 0;
    DisTransaction const transaction(prepared);
    DisRows::forEachMap(ctx, messages, [&](Dread::VMap const& message) {
        updateAllChannelMessageStuff(prepared, ownUserId, ctx, message);
        ++count;
    });
    return count;
}

DisChanges writePinnedMessages(DisDbPrepared& prepared, FlakeId channelId, Dread::Ctx const& ctx,
                               Dread::VList const& messages)
{
    DisChanges changes;
    DisTransaction const transaction(prepared);
    DisSql::run(prepared[DisStmt::PinsDeleteInChannel], channelId);
    DisRows::forEachMap(ctx, messages, [&](Dread::VMap const& message) {
        FlakeId id;
        FlakeId authorId;
        Dread::VMap author;
        Dread::find(ctx, message, "id", &id);
        Dread::find(ctx, message, "author", &author);
        Dread::find(ctx, author, "id", &authorId);
        if (!id.isValid())
            return;
        DisSql::run(prepared[DisStmt::PinReplace], channelId, id);
        changes.add(DisChange::ChangeType::MessageChanged, id, channelId, authorId);
    });
    return changes;
}

DisChanges writeGuildBans(DisDbPrepared& prepared, FlakeId guildId, Dread::Ctx const& ctx,
                          Dread::VList const& bans)
{
    DisChanges changes;
    DisTransaction const transaction(prepared);
    DisSql::run(prepared[DisStmt::GuildBansDeleteOfGuild], guildId);
    DisRows::forEachMap(ctx, bans, [&](Dread::VMap const& ban) {
        FlakeId userId;
        Dread::VMap user;
        Dread::VString reason;
        Dread::find(ctx, ban, "user", &user);
        Dread::find(ctx, user, "id", &userId);
        Dread::find(ctx, ban, "reason", &reason);
        if (!userId.isValid())
            return;
        prepared.createOrUpdateUser(ctx, user);
        DisSql::run(prepared[DisStmt::GuildBanReplaceWithReason], guildId, userId, reason);
        changes.add(DisChange::ChangeType::GuildBanAdded, guildId, userId);
    });
    return changes;
}

} // namespace DisClientImpl
