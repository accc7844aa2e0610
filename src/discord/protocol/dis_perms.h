// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The permission bits of the service, and the summary of them that the client keeps per member and
// channel. Plain values, any thread.

#include <QString>

namespace DisPerms {

// Name, bit, display name; in the order of the bits.
// clang-format off
#define DIS_PERMS_FLAGS(X) \
    X(CreateInstantInvite, 0x1, "Create Instant Invite") \
    X(KickMembers, 0x2, "Kick Members") \
    X(BanMembers, 0x4, "Ban Members") \
    X(Administrator, 0x8, "Administrator") \
    X(ManageChannels, 0x10, "Manage Channels") \
    X(ManageGuild, 0x20, "Manage Guild") \
    X(AddReactions, 0x40, "Add Reactions") \
    X(ViewAuditLog, 0x80, "View Audit Log") \
    X(PrioritySpeaker, 0x100, "Priority Speaker") \
    X(ReadMessages, 0x400, "Read Messages") \
    X(SendMessages, 0x800, "Send Messages") \
    X(SendTtsMessages, 0x1000, "Send TTS Messages") \
    X(ManageMessages, 0x2000, "Manage Messages") \
    X(EmbedLinks, 0x4000, "Embed Links") \
    X(AttachFiles, 0x8000, "Attach Files") \
    X(ReadMessageHistory, 0x10000, "Read Message History") \
    X(MentionEveryone, 0x20000, "Mention Everyone") \
    X(UseExternalEmojis, 0x40000, "Use External Emojis") \
    X(Connect, 0x100000, "Connect") \
    X(Speak, 0x200000, "Speak") \
    X(MuteMembers, 0x400000, "Mute Members") \
    X(DeafenMembers, 0x800000, "Deafen Members") \
    X(MoveMembers, 0x1000000, "Move Members") \
    X(UseVad, 0x2000000, "Use VAD") \
    X(ChangeNickname, 0x4000000, "Change Nickname") \
    X(ManageNicknames, 0x8000000, "Manage Nicknames") \
    X(ManageRoles, 0x10000000, "Manage Roles") \
    X(ManageWebhooks, 0x20000000, "Manage Webhooks") \
    X(ManageEmojis, 0x40000000, "Manage Emojis")
// clang-format on

enum Flag : quint32 {
#define DIS_PERMS_FLAG(name, bit, text) name = (bit),
    DIS_PERMS_FLAGS(DIS_PERMS_FLAG)
#undef DIS_PERMS_FLAG
};

// Empty for a bit that is not in the table.
QString flagDisplayName(Flag flag);

// What a member may do in a channel, as far as screens ask for it often.
enum Cap : quint32 {
    CapAccess = 1,
    CapManageChannel = 2,
    CapEditPermissions = 4,
    CapUseExternalEmoji = 8,
    CapManageMessages = 16,
    CapCreateInvite = 32,
    CapConnectVoice = 64,
    CapsAll = 127,
};

// All levels of overwrites are merged at once, which is coarser than the service's own order: a
// role's allow is not ranked against the everyone role's deny.
constexpr quint32 withOverwrites(quint32 permissions, quint32 allow, quint32 deny)
{
    return (permissions & ~deny) | allow;
}

quint32 capsFromPermissions(quint32 permissions);

} // namespace DisPerms
