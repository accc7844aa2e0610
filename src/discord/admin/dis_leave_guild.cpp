// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_leave_guild.h"

#include "ask_user.h"
#include "dis_admin_words.h"
#include "dis_cache.h"
#include "dis_client.h"
#include "dis_request.h"

#include <QWidget>

bool DisLeaveGuild::isPossible(FlakeId user, FlakeId guild)
{
    return DisCache::guildOwner(guild) != user;
}

void DisLeaveGuild::ask(QWidget* parent, FlakeId user, FlakeId guild)
{
    QString const name = DisCache::guildName(guild);
    NakQuestion const question{
        QStringLiteral("Leave Server"),
        QStringLiteral("Are you sure you want to leave %1?").arg(name),
        QStringLiteral("Leave"),
    };
    NakAsk::ask(parent, question, [=] {
        DisChangeOp* const op = g_disClient->removeMemberFromGuild(user, guild, user, parent);
        QObject::connect(op, &DisRequest::finished, parent, [=] {
            QString const problem = DisAdminWords::problem(*op);
            if (!problem.isEmpty())
                NakAsk::tellProblem(parent, question.title, problem);
            op->deleteLater();
        });
    });
}
