// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_event_handlers.h"
#include "dis_store_rows.h"
#include "dis_store_updates.h"
#include "event_log.h"

namespace DisClientImpl {

namespace {

// Guilds of so many members are never synchronized as a whole.
constexpr qint32 tooLargeMemberCount = 4000;

void logNetworking(QString const& text)
{
    EvLogGlobal::addLogEvent(EvLog::Category::Networking, EvLog::Severity::Info, text);
}

void takeGatewaySessionId(DisEvent& event)
{
    Dread::VString sessionId;
    Dread::find(event.ctx, event.data, "session_id", &sessionId);
    event.state.gatewaySessionId = Dread::toQString(sessionId);
    logNetworking(QStringLiteral("Acquired Discord session ID %1[...]")
                      .arg(event.state.gatewaySessionId.left(6)));
}

void refuseIncompleteReady(DisEvent& event)
{
    EvLogGlobal::addLogEvent(
        EvLog::Category::Networking, EvLog::Severity::Error,
        QStringLiteral("Discord ready event is missing required user or id fields"));
    event.outcome.userMustSee =
        DisUserMustSee{ QStringLiteral("Discord protocol error"),
                        QStringLiteral("Discord protocol error.\n"
                                       "Nakwire did not receive data that is required to operate"),
                        true };
}

// Bot accounts are refused on purpose, for good.
void refuseBotAccount(DisEvent& event)
{
    event.outcome.userMustSee = DisUserMustSee{
        QStringLiteral("No Bot Accounts"),
        QStringLiteral("Connecting with bot accounts using the GUI is not supported"), true
    };
}

void writeOwnUser(DisEvent& event, Dread::VMap const& user)
{
    FlakeId const id = event.state.ownUserId;
    bool premium = false;
    Dread::find(event.ctx, user, "premium", &premium);
    DisSql::run(event.db[DisStmt::LocalUserReplace], id);
    event.db.ensureUserExists(id);
    DisSql::run(event.db[DisStmt::UserStatusAndPremium],
                static_cast<int>(DisUserStatusCode::Online), premium, id);
}

void writeGuilds(DisEvent& event, DisReadyOutcome& ready)
{
    QVector<Dread::VMap> guilds;
    DisRows::forEachMap(event.ctx, event.data, "guilds", [&](Dread::VMap const& guild) {
        guilds.append(guild);
        qint32 memberCount = 0;
        Dread::find(event.ctx, guild, "member_count", &memberCount);
        FlakeId const id = event.id(guild, "id");
        if (memberCount >= tooLargeMemberCount && id.isValid())
            ready.tooLargeGuilds.append(id);
    });
    updateWithGuildJsons(event.db, event.ctx, guilds);
}

void writePrivateChannels(DisEvent& event)
{
    DisRows::forEachMap(event.ctx, event.data, "private_channels", [&](Dread::VMap const& channel) {
        updateWithPrivateChannelData(event.db, event.ctx, event.state.ownUserId, channel);
    });
}

void selectUnreadChannels(DisEvent& event, DisReadyOutcome& ready)
{
    for (auto const which : { DisStmt::UnreadGuildChannels, DisStmt::UnreadPrivateChannels }) {
        auto& stmt = event.db[which];
        DisSql::bindAll(stmt, event.state.ownUserId);
        while (stmt.step())
            ready.unreadChannels.append(stmt.colFlake(0));
        stmt.reset();
    }
}

void writeRelationships(DisEvent& event)
{
    clearUserRelationships(event.db, event.state.ownUserId);
    DisRows::forEachMap(event.ctx, event.data, "relationships", [&](Dread::VMap const& map) {
        updateUserRelationship(event.db, event.state.ownUserId, event.ctx, map);
    });
}

void writeSettings(DisEvent& event)
{
    Dread::VList positions;
    Dread::find(event.ctx, event.map("user_settings"), "guild_positions", &positions);
    DisRows::forEachMap(event.ctx, event.data, "user_guild_settings", [&](Dread::VMap const& map) {
        updateUserGuildSettings(event.db, event.state.ownUserId, event.ctx, map);
    });
    updateUserGuildPositions(event.db, event.state.ownUserId, event.ctx, positions);
}

void tellOwnUser(DisEvent& event, DisRows::User const& user, Dread::VMap const& map,
                 DisReadyOutcome& ready)
{
    Dread::VString email;
    Dread::find(event.ctx, map, "email", &email);
    ready.ownUserId = user.id;
    ready.userName = Dread::toQString(user.name);
    ready.discriminator = Dread::toQString(user.discrim);
    ready.email = Dread::toQString(email);
    ready.avatar = Dread::toQString(user.avatar);
}

} // namespace

void Handle::ready(DisEvent& event)
{
    takeGatewaySessionId(event);
    Dread::VMap const userMap = event.map("user");
    DisRows::User user;
    if (!DisRows::parseUser(event.ctx, userMap, &user)) {
        refuseIncompleteReady(event);
        return;
    }
    event.state.ownUserId = user.id;
    DisReadyOutcome ready;
    DisTransaction const transaction(event.db);
    writeOwnUser(event, userMap);
    writeGuilds(event, ready);
    writePrivateChannels(event);
    updateReadStates(event.db, user.id, event.ctx, event.list("read_state"));
    selectUnreadChannels(event, ready);
    writeRelationships(event);
    writeSettings(event);
    if (user.bot) {
        refuseBotAccount(event);
        return;
    }
    event.db.createOrUpdateUser(user.id, user.name, user.discrim, user.avatar, user.bot);
    tellOwnUser(event, user, userMap, ready);
    event.outcome.changes = DisChanges::reload();
    event.outcome.ready = ready;
    event.outcome.signedIn = true;
}

void Handle::resumed(DisEvent& event)
{
    event.outcome.signedIn = true;
    logNetworking(QStringLiteral("Finished resuming with Discord gateway"));
}

void Handle::userSettingsUpdate(DisEvent& event)
{
    Dread::VList positions;
    if (!event.state.ownUserId.isValid())
        return;
    // An update tells only the settings that changed.
    if (Dread::find(event.ctx, event.data, "guild_positions", &positions)) {
        DisTransaction const transaction(event.db);
        updateUserGuildPositions(event.db, event.state.ownUserId, event.ctx, positions);
    }
    event.changed(DisChange::ChangeType::UserSettingsChanged, event.state.ownUserId);
}

void Handle::userGuildSettingsUpdate(DisEvent& event)
{
    FlakeId const guildId = event.id("guild_id");
    if (!guildId.isValid() || !event.state.ownUserId.isValid())
        return;
    DisTransaction const transaction(event.db);
    updateUserGuildSettings(event.db, event.state.ownUserId, event.ctx, event.data);
    event.changed(DisChange::ChangeType::UserGuildSettingsChanged, event.state.ownUserId, guildId);
}

void Handle::relationshipAdd(DisEvent& event)
{
    FlakeId const userId = event.id("id");
    qint32 type = 0;
    Dread::find(event.ctx, event.data, "type", &type);
    if (!userId.isValid() || !event.state.ownUserId.isValid())
        return;
    DisTransaction const transaction(event.db);
    updateUserRelationship(event.db, event.state.ownUserId, event.ctx, event.data);
    event.changed(DisChange::ChangeType::RelationshipAdded, userId,
                  FlakeId(static_cast<quint64>(type)));
}

void Handle::relationshipRemove(DisEvent& event)
{
    FlakeId const userId = event.id("id");
    qint32 type = 0;
    Dread::find(event.ctx, event.data, "type", &type);
    if (!userId.isValid() || !event.state.ownUserId.isValid())
        return;
    removeUserRelationship(event.db, event.state.ownUserId, userId);
    event.changed(DisChange::ChangeType::RelationshipRemoved, userId,
                  FlakeId(static_cast<quint64>(type)));
}

} // namespace DisClientImpl
