// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_event_handlers.h"
#include "dis_store_updates.h"
#include "event_log.h"

namespace DisClientImpl {

using ChangeType = DisChange::ChangeType;

void Handle::guildCreate(DisEvent& event)
{
    FlakeId const id = event.id("id");
    if (!id.isValid())
        return;
    DisTransaction const transaction(event.db);
    updateWithGuildJson(event.db, event.ctx, event.data);
    FlakeId const ownUserId = event.state.ownUserId;
    if (ownUserId.isValid())
        DisSql::run(event.db[DisStmt::GuildMemberEnsure], id, ownUserId);
    event.changed(ChangeType::GuildChanged, id);
    event.changed(ChangeType::GuildMemberAdded, id, ownUserId);
}

void Handle::guildUpdate(DisEvent& event)
{
    FlakeId const id = event.id("id");
    if (!id.isValid())
        return;
    DisTransaction const transaction(event.db);
    updateWithGuildJson(event.db, event.ctx, event.data);
    event.changed(ChangeType::GuildChanged, id);
}

void Handle::guildDelete(DisEvent&)
{
    EvLogGlobal::addLogEvent(EvLog::Category::Networking, EvLog::Severity::Info,
                             QStringLiteral("Discord indicated guild was deleted (unhandled)"));
}

void Handle::guildSync(DisEvent& event)
{
    if (!event.id("id").isValid())
        return;
    DisTransaction const transaction(event.db);
    updateWithGuildSync(event.db, event.ctx, event.data);
    event.outcome.changes = DisChanges::reload();
}

void Handle::guildMemberAdd(DisEvent& event)
{
    FlakeId const guildId = event.id("guild_id");
    FlakeId const userId = event.id(event.map("user"), "id");
    if (!guildId.isValid() || !userId.isValid())
        return;
    DisTransaction const transaction(event.db);
    updateWithGuildMember(event.db, guildId, event.ctx, event.data);
    event.changed(ChangeType::GuildMemberAdded, guildId, userId);
}

void Handle::guildMemberUpdate(DisEvent& event)
{
    FlakeId const guildId = event.id("guild_id");
    FlakeId const userId = event.id(event.map("user"), "id");
    if (!guildId.isValid() || !userId.isValid())
        return;
    DisTransaction const transaction(event.db);
    DisSql::run(event.db[DisStmt::GuildMemberRolesDelete], userId, guildId);
    updateWithGuildMember(event.db, guildId, event.ctx, event.data);
    event.changed(ChangeType::GuildMemberChanged, guildId, userId);
}

void Handle::guildMemberRemove(DisEvent& event)
{
    FlakeId const guildId = event.id("guild_id");
    FlakeId const userId = event.id(event.map("user"), "id");
    if (!guildId.isValid() || !userId.isValid())
        return;
    DisTransaction const transaction(event.db);
    DisSql::run(event.db[DisStmt::GuildMemberDelete], guildId, userId);
    DisSql::run(event.db[DisStmt::GuildMemberRolesDelete], userId, guildId);
    event.changed(ChangeType::GuildMemberRemoved, guildId, userId);
}

namespace {

void changeBan(DisEvent& event, DisStmt write, ChangeType change)
{
    FlakeId const guildId = event.id("guild_id");
    Dread::VMap const user = event.map("user");
    FlakeId const userId = event.id(user, "id");
    if (!guildId.isValid() || !userId.isValid())
        return;
    DisTransaction const transaction(event.db);
    event.db.createOrUpdateUser(event.ctx, user);
    DisSql::run(event.db[write], guildId, userId);
    event.changed(change, guildId, userId);
}

void changeRole(DisEvent& event, ChangeType change)
{
    FlakeId const guildId = event.id("guild_id");
    Dread::VMap const role = event.map("role");
    FlakeId const roleId = event.id(role, "id");
    if (!guildId.isValid() || !roleId.isValid())
        return;
    updateWithGuildRole(event.db, guildId, event.ctx, role);
    event.changed(change, guildId, roleId);
}

} // namespace

void Handle::guildBanAdd(DisEvent& event)
{
    changeBan(event, DisStmt::GuildBanReplace, ChangeType::GuildBanAdded);
}

void Handle::guildBanRemove(DisEvent& event)
{
    changeBan(event, DisStmt::GuildBanDelete, ChangeType::GuildBanRemoved);
}

void Handle::guildRoleCreate(DisEvent& event)
{
    changeRole(event, ChangeType::GuildRoleCreated);
}

void Handle::guildRoleUpdate(DisEvent& event)
{
    changeRole(event, ChangeType::GuildRoleChanged);
}

void Handle::guildRoleDelete(DisEvent& event)
{
    FlakeId const guildId = event.id("guild_id");
    FlakeId const roleId = event.id("role_id");
    if (!guildId.isValid() || !roleId.isValid())
        return;
    DisSql::run(event.db[DisStmt::RoleDelete], roleId);
    event.changed(ChangeType::GuildRoleDeleted, guildId, roleId);
}

void Handle::guildEmojisUpdate(DisEvent& event)
{
    FlakeId const guildId = event.id("guild_id");
    Dread::VList emojis;
    if (!guildId.isValid() || !Dread::find(event.ctx, event.data, "emojis", &emojis))
        return;
    DisTransaction const transaction(event.db);
    updateWithGuildEmojis(event.db, event.ctx, emojis, guildId);
    event.changed(ChangeType::GuildEmojisChanged, guildId);
}

} // namespace DisClientImpl
