// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_perms.h"

namespace DisPerms {

namespace {

struct CapSource {
    Cap cap;
    Flag flag;
};

constexpr CapSource capSources[] = {
    { CapAccess, ReadMessages },           { CapManageChannel, ManageChannels },
    { CapEditPermissions, ManageRoles },   { CapUseExternalEmoji, UseExternalEmojis },
    { CapManageMessages, ManageMessages }, { CapCreateInvite, CreateInstantInvite },
    { CapConnectVoice, Connect },
};

} // namespace

QString flagDisplayName(Flag flag)
{
    switch (flag) {
#define DIS_PERMS_NAME(name, bit, text)                                                            \
    case name:                                                                                     \
        return QStringLiteral(text);
        DIS_PERMS_FLAGS(DIS_PERMS_NAME)
#undef DIS_PERMS_NAME
    }
    return QString();
}

quint32 capsFromPermissions(quint32 permissions)
{
    quint32 caps = 0;
    for (auto const& source : capSources) {
        if (permissions & source.flag)
            caps |= source.cap;
    }
    return caps;
}

} // namespace DisPerms
