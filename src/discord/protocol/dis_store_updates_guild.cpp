// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_db_prepared.h"
#include "dis_store_rows.h"
#include "dis_store_updates.h"

namespace DisClientImpl {

namespace {

void updateWithEmoji(DisDbPrepared& db, Dread::Ctx const& ctx, Dread::VMap const& map,
                     FlakeId guildId)
{
    FlakeId id;
    Dread::find(ctx, map, "id", &id);
    if (!id.isValid())
        return;
    Dread::VString name;
    bool managed = false;
    bool requireColons = false;
    bool animated = false;
    Dread::find(ctx, map, "name", &name);
    Dread::find(ctx, map, "managed", &managed);
    Dread::find(ctx, map, "require_colons", &requireColons);
    Dread::find(ctx, map, "animated", &animated);
    DisSql::run(db[DisStmt::EmojiReplace], id, name, managed, requireColons, animated);

    Dread::VList roles;
    Dread::find(ctx, map, "roles", &roles);
    DisRows::forEachId(ctx, roles, [&](FlakeId role, int) {
        DisSql::run(db[DisStmt::EmojiRoleReplace], id, role);
    });
    if (roles.count == 0)
        DisSql::run(db[DisStmt::EmojiGuildReplace], id, guildId);
}

} // namespace

void updateWithGuildMember(DisDbPrepared& db, FlakeId guildId, Dread::Ctx const& ctx,
                           Dread::VMap const& map)
{
    DisRows::User user;
    DisRows::Member member;
    if (!guildId.isValid() || !DisRows::parseMember(ctx, map, guildId, &user, &member))
        return;
    db.createOrUpdateUser(user.id, user.name, user.discrim, user.avatar, user.bot);
    DisRows::writeMember(db, member);
    DisRows::forEachMemberRole(ctx, map, user.id, [&](DisRows::MemberRole const& role) {
        DisRows::writeMemberRole(db, role);
    });
}

void updateWithGuildRole(DisDbPrepared& db, FlakeId guildId, Dread::Ctx const& ctx,
                         Dread::VMap const& map)
{
    DisRows::Role role;
    if (guildId.isValid() && DisRows::parseRole(ctx, map, guildId, &role))
        DisRows::writeRole(db, role);
}

void updateWithGuildEmojis(DisDbPrepared& db, Dread::Ctx const& ctx, Dread::VList const& list,
                           FlakeId guildId)
{
    if (!guildId.isValid())
        return;
    clearGuildEmojis(db, guildId);
    addGuildEmojis(db, ctx, list, guildId);
}

void clearGuildEmojis(DisDbPrepared& db, FlakeId guildId)
{
    DisSql::run(db[DisStmt::EmojiDeleteOfGuild], guildId);
    DisSql::run(db[DisStmt::EmojiRoleDeleteOfGuild], guildId);
    DisSql::run(db[DisStmt::EmojiGuildDeleteOfGuild], guildId);
}

void addGuildEmojis(DisDbPrepared& db, Dread::Ctx const& ctx, Dread::VList const& list,
                    FlakeId guildId)
{
    DisRows::forEachMap(ctx, list,
                        [&](Dread::VMap const& map) { updateWithEmoji(db, ctx, map, guildId); });
}

void updateVoiceStateWithMap(DisDbPrepared& db, Dread::Ctx const& ctx, Dread::VMap const& map,
                             FlakeId guildId)
{
    DisVoiceState state;
    state.guildId = guildId;
    Dread::find(ctx, map, "session_id", &state.sessionId);
    Dread::find(ctx, map, "user_id", &state.userId);
    Dread::find(ctx, map, "channel_id", &state.channelId);
    Dread::find(ctx, map, "deaf", &state.deaf);
    Dread::find(ctx, map, "mute", &state.mute);
    Dread::find(ctx, map, "self_deaf", &state.selfDeaf);
    Dread::find(ctx, map, "self_mute", &state.selfMute);
    state.remove = !state.channelId.isValid();
    updateVoiceState(db, state);
}

void updateVoiceState(DisDbPrepared& db, DisVoiceState const& state)
{
    if (state.sessionId.length == 0 || !state.userId.isValid())
        return;
    if (state.remove)
        DisSql::run(db[DisStmt::VoiceStateDelete], state.sessionId);
    else
        DisSql::run(db[DisStmt::VoiceStateReplace], state.sessionId, state.userId, state.channelId,
                    DisSql::OrNull{ state.guildId }, state.deaf, state.mute, state.selfDeaf,
                    state.selfMute);
}

} // namespace DisClientImpl
